#include "database/dealiaser.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "database/plan.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

// A value of a phrase while its alias is followed. No script can hold the character.
constexpr std::string_view kSlotMark = "$\x01";

// Where an alias passes on all that it is given, forms are made for this many values, for a command that binds to
// others, which may take any number.
constexpr int kMostValues = 48;

int slot_of(std::string_view token) {
  if (!token.starts_with(kSlotMark)) return -1;
  int slot = -1;
  std::from_chars(token.data() + kSlotMark.size(), token.data() + token.size(), slot);
  return slot;
}

std::string slot_token(int slot) {
  return cat({kSlotMark, slot});
}

bool binds(const tCmd& command) {
  for (int i = 0; i < command.parmcnt(); ++i) {
    if (Encoder::resolver(command.ParmDesc(i)) == "bind") return true;
  }
  return false;
}

// The command at the end of the aliases that these tokens call, which become what it is given. Null where that fails,
// or where it is not `first` that they call.
const tCmd* end_of(CmdList& list, std::vector<std::string>& tokens, const tCmd* first = nullptr) {
  try {
    if (first != nullptr && Encoder(list).find_called(tokens) != first) return nullptr;
    return Encoder(list).follow_aliases(tokens);
  } catch (const RuntimeError&) {
    return nullptr;
  }
}

// The number that is all of `word`; nothing where there is none, or one that no value can be.
std::optional<double> number_of(std::string_view word) {
  try {
    const NumberPrefix number = number_prefix(word);
    if (number.length > 0 && number.length == word.size()) return number.value;
  } catch (const RuntimeError&) {
  }
  return {};
}

// The form of an alias whose phrase becomes these tokens; nothing where a value gets lost.
std::optional<AliasForm> form_of(const std::vector<std::string>& phrase, const std::vector<std::string>& tokens) {
  AliasForm form;
  int slots = 0;
  for (const std::string& token : phrase) {
    form.phrase.push_back({token, slot_of(token)});
    slots += slot_of(token) >= 0 ? 1 : 0;
  }
  for (std::size_t i = 1; i < tokens.size(); ++i) {
    form.command.push_back({tokens[i], slot_of(tokens[i]), number_of(tokens[i])});
    slots -= slot_of(tokens[i]) >= 0 ? 1 : 0;
    form.fixed_parts += slot_of(tokens[i]) < 0 ? 1 : 0;
  }
  if (slots != 0) return {};
  return form;
}

// A value of a decoded command, looked at once for all forms.
struct DecodedValue {
  const std::string& text;
  std::string_view name;         // of the registered pointer that it refers to
  std::optional<double> number;  // that is all of it
};

// Whether a fixed word of an alias encodes as the decoded value beside it does.
bool same_value(const AliasForm::Part& fixed, const DecodedValue& value) {
  const std::string_view word = fixed.word;
  if (value.text.starts_with('$')) return !value.name.empty() && same_text(SmartNum::pointer_name(word), value.name);
  if (!fixed.number || fixed.number != value.number) return false;
  // Of a number with too many digits the leading ones would be kept.
  return !word.starts_with("&h") || !value.text.starts_with("&h") || word.size() <= value.text.size();
}

// Whether the phrase, run through a script, still becomes the command: a name that is no value makes another phrase of
// it, or of what an alias passes it on to, and a define another word.
bool still_gives(CmdList& list, const AliasForm& form, const std::string& keyword, std::string_view phrase,
                 const DefineTable* defines) {
  std::vector<std::string> tokens;
  split(phrase, ' ', tokens);
  if (defines != nullptr && !defines->empty()) {
    for (const std::string& token : tokens) {
      if (defines->find(token) != nullptr) return false;
    }
  }
  if (tokens.size() != form.phrase.size()) return false;
  std::vector<const std::string*> values;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (form.phrase[i].slot >= 0) values.push_back(&tokens[i]);
  }
  // The form was found with values, so with nothing but values it holds.
  if (std::all_of(values.begin(), values.end(), [](const std::string* value) { return is_value(*value, true); })) {
    return true;
  }
  std::vector<std::string> given = tokens;
  const tCmd* const command = end_of(list, given);
  if (command == nullptr || command->keyword() != keyword || given.size() != form.command.size() + 1) return false;
  for (std::size_t i = 0; i < form.command.size(); ++i) {
    const AliasForm::Part& part = form.command[i];
    if (given[i + 1] != (part.slot >= 0 ? *values[static_cast<std::size_t>(part.slot)] : part.word)) return false;
  }
  return true;
}

}  // namespace

Dealiaser::Dealiaser(CmdList& list) {
  for (const tCmd& record : list.NewEnum()) {
    if (record.alias() && reads_as_code(record.keyword())) add_forms(list, record);
  }
  for (auto& [keyword, forms] : forms_) {
    std::stable_sort(forms.begin(), forms.end(),
                     [](const AliasForm& a, const AliasForm& b) { return a.fixed_parts > b.fixed_parts; });
  }
}

void Dealiaser::add_forms(CmdList& list, const tCmd& alias) {
  std::vector<std::string> phrase;
  split(alias.keyword(), ' ', phrase);
  int slots = 0;
  for (std::string& token : phrase) {
    if (is_value(token, true)) token = slot_token(slots++);
  }
  // One word may pass on any number of values; a phrase says where its values stand.
  const bool one_word = phrase.size() == 1;
  for (bool found = false; slots <= kMostValues; phrase.push_back(slot_token(slots++))) {
    std::vector<std::string> tokens = phrase;
    const tCmd* const command = end_of(list, tokens, &alias);
    std::optional<AliasForm> form;
    if (command != nullptr) form = form_of(phrase, tokens);
    if (found && !form) return;  // it takes no more values
    found = form.has_value();
    if (found) forms_[command->keyword()].push_back(*std::move(form));
    if (!one_word) return;
    if (command != nullptr && tokens.size() > command->parmcnt() && !binds(*command)) return;
  }
}

// The phrase that gives just this command, empty for none.
std::string Dealiaser::phrase_for(CmdList& list, const std::vector<std::string>& tokens,
                                  const Surroundings& around) const {
  const auto forms = forms_.find(tokens[0]);
  if (forms == forms_.end()) return "";
  std::vector<DecodedValue> decoded;
  for (std::size_t i = 1; i < tokens.size(); ++i) {
    decoded.push_back({tokens[i], referred_name(tokens[i], around.pointers), number_of(tokens[i])});
  }
  std::vector<const std::string*> values;
  for (const AliasForm& form : forms->second) {
    if (form.command.size() != decoded.size()) continue;
    values.assign(tokens.size(), nullptr);
    bool fits = true;
    for (std::size_t i = 0; i < form.command.size() && fits; ++i) {
      const AliasForm::Part& part = form.command[i];
      if (part.slot >= 0) {
        values[static_cast<std::size_t>(part.slot)] = &decoded[i].text;
      } else {
        fits = same_value(part, decoded[i]);
      }
    }
    if (!fits) continue;
    std::string phrase;
    for (const AliasForm::Part& part : form.phrase) {
      if (!phrase.empty()) phrase += ' ';
      phrase += part.slot >= 0 ? *values[static_cast<std::size_t>(part.slot)] : part.word;
    }
    const std::string named = with_pointer_names(phrase, around.pointers);
    if (still_gives(list, form, tokens[0], named, around.defines)) return phrase;
  }
  return "";
}

void Dealiaser::dealias(CmdList& list, std::string& commands, const Surroundings& around) const {
  if (forms_.empty()) return;
  std::string output;
  std::vector<std::string> tokens;
  for (std::string_view left = commands; !left.empty();) {
    const std::size_t end = std::min(left.find("; "), left.size());
    const std::string_view command = left.substr(0, end);
    if (!output.empty()) output += "; ";
    // Data records and comments are no commands; looking up the first word tells.
    const std::string keyword(command.substr(0, command.find(' ')));
    std::string phrase;
    if (forms_.contains(keyword)) {
      tokens.clear();
      for (std::string_view word = command; !word.empty();) {
        const std::size_t blank = std::min(word.find(' '), word.size());
        tokens.emplace_back(word.substr(0, blank));
        word.remove_prefix(std::min(blank + 1, word.size()));
      }
      phrase = phrase_for(list, tokens, around);
    }
    output += phrase.empty() ? command : std::string_view(phrase);
    left.remove_prefix(std::min(end + 2, left.size()));
  }
  commands = std::move(output);
}

}  // namespace tidewright
