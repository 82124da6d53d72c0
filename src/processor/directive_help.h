// What a person is told of a directive. Control makes these from its table; "#help", the tables of the manual, the man
// page, and the words that editors and shells know, are all made from them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tidewright {

struct DirectiveHelp {
  std::string_view group;
  std::vector<std::string_view> words;  // without "#"; those behind the first mean the same
  std::string_view arguments;           // "FILE [PREFIX]": capitals stand for something, brackets can be left out
  std::string_view at_start;            // of a setting: "on" or "off"
  std::string_view description;         // sentences in plain text; the first says what it does

  /// "#include FILE, #kacode": the arguments stand behind the first word only.
  std::string usage() const;

  /// The first sentence of the description, without its full stop.
  std::string_view summary() const;
};

}  // namespace tidewright
