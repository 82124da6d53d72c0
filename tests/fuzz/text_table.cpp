// Any bytes as a text, with a table whose entries stand before the line "----": the text of bytes, and the same as a
// line of a script, is those bytes again.
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tidewright::fuzz::promise;
  const auto [entries, bytes] = tidewright::fuzz::halves({reinterpret_cast<const char*>(data), size}, "\n----\n");
  tidewright::fuzz::Trial trial;
  if (!trial.script(entries)) return 0;
  const tidewright::TextTable& table = trial.shared->text_table;
  const std::string text = table.bytes_to_text(bytes);
  promise(table.text_to_bytes(text) == bytes, "the text of bytes is other bytes", text);
  promise(table.length_of_text(bytes) <= bytes.size(), "a text is longer than its bytes");
  const std::string read = table.text_to_bytes(bytes);
  promise(table.text_to_bytes(table.bytes_to_text(read)) == read, "a text is read as other bytes");

  tidewright::fuzz::Trial writer(trial);
  writer.script("#org here\n=" + text + "\n");
  promise(writer.bytes(0) == bytes || bytes.empty(), "a text changes in a script", text);
  return 0;
}
