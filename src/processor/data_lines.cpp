// Labels and the data that stands between code lines: org, inline and "$" lines, raw data.
#include <algorithm>
#include <vector>

#include "base/errors.h"
#include "base/nearest.h"
#include "base/numbers.h"
#include "base/text.h"
#include "processor/shared.h"
#include "script/token_walk.h"

namespace tidewright {
namespace {

// The kind, and so the width, that the digits of a literal want.
Kind literal_kind(std::string_view literal) {
  const std::size_t digits = SmartNum::digits(literal, whole_number_text(literal));
  if (digits > 8) raise(ErrorNumber::overflow, literal);
  return digits <= 2 ? kByte : digits <= 4 ? kWord : kDword;
}

Kind inline_kind(std::string_view word) {
  if (word.size() > 1 && word[0] == '$' && word.find(',') == std::string_view::npos) return kPointer;
  if (is_value(word, false)) return literal_kind(word);
  raise(ErrorNumber::type_mismatch, cat({"\"", word, "\" is neither a number nor a $name"}));
}

bool is_hexadecimal(std::string_view word) {
  if (word.starts_with("&h")) word.remove_prefix(2);
  return !word.empty() && std::all_of(word.begin(), word.end(), [](char c) { return hex_digit(c) >= 0; });
}

}  // namespace

void Control::org(Directive& directive, std::string_view /*detail*/) {
  FileBuffer& buffers = shared_.file_buffer;
  if (!directive.has(1)) raise(ErrorNumber::invalid_call, "org wants the name of a label");
  std::uint8_t buffer = buffers.default_buffer;
  if (directive.has(2)) buffer = to_byte(whole_number_text(directive.argument(2)));
  if (buffer >= FileBuffer::kLabelSets) {
    raise(ErrorNumber::subscript_out_of_range, cat({"buffer ", buffer, " cannot hold labels"}));
  }
  buffers.place_waiting_label();
  const std::string name = directive.argument(1);
  if (buffers.has_label(name, buffer)) {
    raise(ErrorNumber::duplicate_key, cat({"the label ", name, " in buffer ", buffer}));
  }
  buffers.default_buffer = buffer;
  buffers.inbuffer(buffer);
  buffers.inname(name);
  shared_.file_handle.echo(" ");
  shared_.file_handle.echo({"#OFFSET: ", buffers.inname(), ", ", buffers.inbuffer()});
}

void Control::inline_data(Directive& directive, std::string_view /*detail*/) {
  std::vector<std::string> words;
  split(directive.text, ' ', words);
  std::string values;
  std::string kinds;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const char* const separator = i > 1 ? " " : "";
    values += cat({separator, words[i]});
    kinds += cat({i > 1 ? "," : "", inline_kind(words[i])});
  }
  const std::size_t blank = directive.text.find(' ');
  const std::string_view text = directive.text;
  shared_.file_handle.echo({"#INLINE: ", blank == std::string::npos ? "" : text.substr(blank + 1)});
  FileBuffer& buffers = shared_.file_buffer;
  buffers.inbuffer(buffers.default_buffer);
  buffers.inmode(kCodeMode);  // it belongs to the code around it
  buffers.add_Value(values, kinds);
}

void Control::raw_data(Directive& directive, std::string_view /*detail*/) {
  std::vector<std::string> words;
  if (!directive.text.empty()) split(directive.text, ' ', words);
  std::string bytes;
  if (!words.empty() && Record::is_type(words[0])) {
    bytes = shared_.record.Draw(directive.text);
  } else {
    const SmartNum num(shared_.bank);
    for (const std::string& word : words) {
      if (!is_hexadecimal(word)) {
        const std::string near = &word == words.data() ? did_you_mean(directives_near(word), "#") : "";
        raise(ErrorNumber::type_mismatch, cat({"\"", word, "\" is neither a directive nor hexadecimal data", near}));
      }
      bytes += num.numberpush(word, 1);
    }
  }
  FileHandle& files = shared_.file_handle;
  files.echo({files.lineno(), ": RAW DATA - ", directive.text});
  if (fulllog_) files.echo({"Raw Data: ", hex_bytes(bytes)});
  write(bytes, {}, kDataMode);
}

}  // namespace tidewright
