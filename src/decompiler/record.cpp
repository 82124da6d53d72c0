#include "decompiler/record.h"

#include <algorithm>

#include "base/numbers.h"
#include "base/text.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

struct TypeWord {
  std::string_view word;
  Kind kind;
};

constexpr TypeWord kTypeWords[] = {
    {"b", kByte},  {"byte", kByte},   {"char", kByte},  {"i", kWord},    {"word", kWord},       {"int", kWord},
    {"l", kDword}, {"dword", kDword}, {"long", kDword}, {"p", kPointer}, {"pointer", kPointer}, {"ptr", kPointer},
};

constexpr std::size_t kBytesOfFirstLine = 6;
constexpr std::size_t kLongestMovement = 256;
constexpr unsigned char kEndOfMovement = 0xFF;

constexpr std::string_view kRecordTypes[] = {"move", "binary", "raw"};

}  // namespace

bool Record::is_type(std::string_view word) {
  return std::find(std::begin(kRecordTypes), std::end(kRecordTypes), word) != std::end(kRecordTypes);
}

std::string Record::Draw(std::string_view line) const {
  TokenWalk walk(line, ' ');
  std::string token;
  walk.next(token);
  if (!is_type(token)) {
    files_->echo("not implimented");
    return "";
  }
  std::string values;
  std::string kinds;
  Kind kind = kByte;
  while (walk.next(token)) {
    const auto* const type = std::find_if(std::begin(kTypeWords), std::end(kTypeWords),
                                          [&](const TypeWord& row) { return row.word == token; });
    if (type != std::end(kTypeWords)) {
      kind = type->kind;
      continue;
    }
    if (!values.empty()) {
      values += ' ';
      kinds += ',';
    }
    if (!token.starts_with("&h")) values += "&h";
    values += token;
    append_number(kinds, kind);
  }
  return num_.kaCodevals(values, kinds);
}

std::size_t Record::undraw(std::string& data, std::int16_t stop) const {
  files_->echo(" - MOVEMENT DATA ASSUMED");
  std::string text = "#move ";
  std::size_t count = 0;
  while (count < data.size()) {
    const auto byte = static_cast<unsigned char>(data[count]);
    // One break, behind the sixth byte: the second line may be long.
    if (count == kBytesOfFirstLine) text.append(kLineEnd).append("#move ");
    text.append("&h").append(hex(byte)).append(" ");
    ++count;
    if ((stop != 0 && byte == kEndOfMovement) || count == kLongestMovement) break;
  }
  data = std::move(text);
  return count;
}

}  // namespace tidewright
