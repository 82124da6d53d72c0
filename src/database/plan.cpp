#include "database/plan.h"

#include "base/numbers.h"
#include "base/text.h"
#include "script/smart_string.h"

namespace tidewright {
namespace {

// What encoding gives for a parameter and a value; nothing where it refuses them.
std::optional<Encoded> try_encoding(CmdList& list, const tCmd& command, int index, std::string_view value) {
  try {
    Encoder::Trial trial = Encoder(list).try_parameter(command, index, value);
    const std::string name = trial.pointers.empty() ? "" : SmartNum::pointer_name(trial.pointers[0].value);
    return Encoded{std::move(trial.bytes), name, trial.bound};
  } catch (const RuntimeError&) {
    return {};
  }
}

}  // namespace

bool reads_as_code(const std::string& text) {
  if (text.find_first_of(";\r\n") != std::string::npos) return false;
  // What looks like the reference to a pointer would be replaced.
  for (std::size_t mark = text.find('$'); mark != std::string::npos; mark = text.find('$', mark + 1)) {
    const char next = mark + 1 < text.size() ? text[mark + 1] : '\0';
    if (next >= '0' && next <= '9' && (mark == 0 || text[mark - 1] != ' ')) return false;
  }
  SmartString statement;
  std::string line = text;
  statement.kaTrim(line);
  return statement.vDirective().empty() && statement.vComment().empty() && statement.values(0) == text;
}

Plans::Plans(CmdList& list) : plans_(list.commands_.size()) {
  for (std::size_t position = 1; position <= list.commands_.size(); ++position) {
    const tCmd& command = list.record(position);
    const bool called = !command.alias() && list.find(command.keyword()) == &command;
    if (called && reads_as_code(command.keyword())) by_code_[command.bytecode()].push_back(position);
  }
}

Plan& Plans::plan(CmdList& list, std::size_t position) {
  std::unique_ptr<Plan>& plan = plans_[position - 1];
  if (plan == nullptr) plan = make(list, list.record(position));
  return *plan;
}

std::unique_ptr<Plan> Plans::make(CmdList& list, const tCmd& command) {
  auto plan = std::make_unique<Plan>();
  plan->encodable = !command.alias();
  for (int i = 0; i < command.parmcnt() && plan->encodable; ++i) {
    const std::uint8_t kind = command.Parmsise(i);
    const std::string& description = command.ParmDesc(i);
    Operand operand;
    operand.index = i;
    if (!takes_value(kind, description)) {
      std::optional<Encoded> fixed = try_encoding(list, command, i, "");
      plan->encodable = fixed.has_value();
      operand.form = Operand::Form::fixed;
      if (fixed) operand.fixed = *std::move(fixed);
      plan->operands.push_back(std::move(operand));
      continue;
    }
    if (kind == kEndOfScript) {
      plan->ends_script = true;
      continue;
    }
    operand.kind = kind == kEnum ? static_cast<int>(kByte) : kind;
    operand.width =
        operand.pointer() ? kPointerPlaceholder.size() : static_cast<std::size_t>(SmartNum::width(-operand.kind, 2));
    const std::string_view resolver = Encoder::resolver(description);
    if (resolver == "bind") operand.form = Operand::Form::bind;
    if (resolver == "select") {
      operand.form = Operand::Form::choice;
      for (int number = 0; number < SmartString::kSlots; ++number) {
        std::optional<Encoded> choice = try_encoding(list, command, i, cat({number}));
        if (choice) operand.choices.push_back({cat({number}), *std::move(choice)});
      }
    }
    if (resolver == "mask") plan->encodable = false;  // what the script said is lost in the bytes
    plan->operands.push_back(std::move(operand));
  }
  return plan;
}

const Encoded* Plans::bound(CmdList& list, Plan& plan, const tCmd& command, const Operand& operand,
                            const std::string& text) {
  std::string key = cat({operand.index, " ", text});
  const auto known = plan.binds.find(key);
  if (known != plan.binds.end()) return known->second.bytes.empty() ? nullptr : &known->second;
  std::optional<Encoded> encoded = try_encoding(list, command, operand.index, text);
  const Encoded& kept = plan.binds.emplace(std::move(key), encoded.value_or(Encoded{})).first->second;
  return kept.bytes.empty() ? nullptr : &kept;
}

}  // namespace tidewright
