// Writes decoded commands as the alias phrases that stand for them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "database/encoder.h"
#include "database/surroundings.h"

namespace tidewright {

/// What an alias makes of its phrase, found by following it with marked values. An alias that passes a value through a
/// select or mask, or drops one, has no such form.
struct AliasForm {
  /// A word, or the place of value `slot` (0-based); -1 for a word.
  struct Part {
    std::string word;
    int slot = -1;
    std::optional<double> number = {};  // of a word that is one as a whole
  };
  std::vector<Part> phrase;   // the alias as a script writes it
  std::vector<Part> command;  // the values of the command it stands for
  int fixed_parts = 0;        // words among those values
};

/// The forms of a database, by the keyword of their command. They hold as long as no command is added or removed.
class Dealiaser {
 public:
  explicit Dealiaser(CmdList& list);

  /// See CmdList::dealias.
  void dealias(CmdList& list, std::string& commands, const Surroundings& around) const;

 private:
  void add_forms(CmdList& list, const tCmd& alias);
  std::string phrase_for(CmdList& list, const std::vector<std::string>& tokens, const Surroundings& around) const;

  std::unordered_map<std::string, std::vector<AliasForm>> forms_;  // most fixed parts first
};

}  // namespace tidewright
