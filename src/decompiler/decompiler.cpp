#include "decompiler/decompiler.h"

#include <algorithm>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "script/smart_num.h"

namespace tidewright {
namespace {

constexpr std::size_t kBlock = 1000;        // of an image, decoded at a time
constexpr std::size_t kMostOfLine = 65536;  // bytes of a text without an end that one line says
constexpr int kIndent = 4;                  // of the echoed contents of a section
constexpr std::string_view kRawLine = "#raw ";
constexpr std::string_view kInlineLine = "#inline ";
constexpr std::string_view kRecordWarning = "RECORDS NOT IMPLIMENTED. Assumed RAW data";

// Replaces each reference to a pointer that has no name ("$n", n its 1-based place in the chunk) by its number.
void write_numbers(std::string& text, std::string_view chunk, std::span<const NamedPointer> pointers) {
  replace_references(text, [&](std::string_view digits) -> std::string {
    if (!referred_name(cat({"$", digits}), pointers).empty()) return "";
    const auto place = static_cast<std::size_t>(Val(digits)) - 1;
    if (place >= chunk.size()) return "";
    return "&h" + hex(SmartNum::pointer_value(chunk.substr(place, kPointerPlaceholder.size())));
  });
}

// Each command on a line of its own.
std::string in_lines(std::string commands) {
  replace_all(commands, "; ", kLineEnd);
  return commands;
}

}  // namespace

void Decompiler::KaScript() {
  FileBuffer& buffers = o_.buffers;
  std::string script = cat({"//", buffers.bytes(FileBuffer::kTextBuffer)});
  bool has_sections = false;
  for (int k = 0; k < FileBuffer::kLabelSets; ++k) {
    if (buffers.bytes(k).empty() && buffers.count(k) == 0 && buffers.placed_pointers(k).empty()) continue;
    script += sections_of(k);
    has_sections = true;
  }
  if (has_sections) replace_all(script, "&h", "0x");
  buffers.buffer(FileBuffer::kTextBuffer, std::move(script));
}

// The sections of all chunks of a buffer.
std::string Decompiler::sections_of(int buffer) {
  FileBuffer& buffers = o_.buffers;
  FileHandle& files = o_.files;
  std::string script;
  const std::int16_t count = to_integer(buffers.count(buffer));
  const std::vector<const fOffsett*> placed = buffers.placed_pointers(buffer);
  const auto before = [](const fOffsett* pointer, std::int64_t place) { return pointer->Offset < place; };
  std::int64_t reached = 0;  // by the chunks that are written
  std::size_t written = 0;
  for (std::int16_t i = 1; i <= count; ++i) {
    Chunk chunk;
    chunk.bytes = buffers.Get_Data(static_cast<std::size_t>(i), buffer);
    chunk.offset = buffers.inoffsett();
    chunk.mode = buffers.inmode();
    const std::int64_t start = std::int64_t{buffer} * FileBuffer::kBufferSpan + chunk.offset;
    const std::int64_t end = start + static_cast<std::int64_t>(chunk.bytes.size());
    if (chunk.offset < reached && !chunk.bytes.empty()) {
      // Labels of a set that was put together from several files: the same bytes again would be others when compiled.
      files.echo_fault(cat({" - The label ", buffers.inname(), " stands among the bytes of others: it is left out"}));
      continue;
    }
    reached = chunk.offset + static_cast<std::int64_t>(chunk.bytes.size());
    for (auto next = std::lower_bound(placed.begin(), placed.end(), start, before);
         next != placed.end() && (*next)->Offset < end; ++next) {
      chunk.pointers.push_back({static_cast<std::size_t>((*next)->Offset - start), (*next)->name, (*next)->mode});
    }
    files.echo({"READ OFFSETT ", i, " : ", chunk.offset});
    files.echo(cat({"> [", chunk.bytes, "]"}), false, kIndent);
    if (!is_writable_name(buffers.inname())) {
      files.echo_fault(cat({" - No script can say the name of the label ", buffers.inname(), ": it is left out"}));
      continue;
    }
    script += cat({kLineEnd, kLineEnd, "#ORG ", buffers.inname(), " ", buffer, kLineEnd});
    script += body(chunk);
    written += chunk.bytes.size();
  }
  if (const std::size_t size = buffers.bytes(buffer).size(); written < size) {
    files.echo_fault(
        cat({" - ", size - written, " bytes of buffer ", buffer, " belong to no label: they are left out"}));
  }
  const std::int64_t end = std::int64_t{buffer} * FileBuffer::kBufferSpan + std::ssize(buffers.bytes(buffer));
  if (const auto behind = std::lower_bound(placed.begin(), placed.end(), end, before); behind != placed.end()) {
    files.echo_fault(cat(
        {" - ", placed.end() - behind, " pointers stand behind the end of buffer ", buffer, ": they are left out"}));
  }
  return script;
}

std::string Decompiler::body(const Chunk& chunk) {
  switch (chunk.mode) {
    case kCodeMode: {
      std::string lines = code(chunk, 0);
      // A chunk that begins with a "#raw" line would be taken for one of data.
      if (lines.starts_with(kRawLine)) lines.replace(0, kRawLine.size(), kInlineLine);
      return lines;
    }
    case kTextMode:
      return texts(chunk);
    default:
      break;
  }
  if (chunk.mode >= kDataMode) return records(chunk);
  if (!chunk.bytes.empty()) {
    o_.files.echo_fault(cat({" - A chunk of kind ", chunk.mode, ": its ", chunk.bytes.size(), " bytes are left out"}));
  }
  return "";
}

// The command lines of a chunk from position `start` on.
std::string Decompiler::code(const Chunk& chunk, std::size_t start) {
  const std::string_view bytes = chunk.bytes.substr(start);
  std::vector<NamedPointer> pointers;
  for (const NamedPointer& pointer : chunk.pointers) {
    if (pointer.position >= start) pointers.push_back({pointer.position - start, pointer.name, pointer.kind});
  }
  Surroundings around;
  around.defines = &o_.defines;
  around.pointers = pointers;
  std::string data(bytes);
  std::string list;
  o_.commands.decode(data, list, false, around);
  o_.commands.dealias(data, around);
  if (o_.fulllog) o_.files.echo(cat({"= [", data, "]"}), false, kIndent);
  write_numbers(data, bytes, pointers);
  // References count from the current point.
  o_.buffers.inoffsett(chunk.offset + static_cast<std::int32_t>(start));
  o_.buffers.PointerPeek(data, list);
  o_.files.echo(cat({"DEBUNKED: ", data}), false, kIndent);
  return in_lines(std::move(data));
}

// Text lines, each up to and with its terminator, as long as no pointer stands in them; what follows is code.
std::string Decompiler::texts(const Chunk& chunk) {
  const std::size_t limit = chunk.until_pointer();
  std::string lines;
  std::size_t at = 0;
  do {
    const std::size_t length = std::min(o_.texts.length_of_text(chunk.bytes.substr(at)), kMostOfLine);
    const bool whole = at + length <= limit;
    if (at > 0 && !whole) break;
    // The first line makes the chunk one of text, even where nothing of it is.
    if (at > 0) lines += kLineEnd;
    lines += "=";
    if (!whole) break;
    lines += o_.texts.bytes_to_text(chunk.bytes.substr(at, length));
    at += length;
  } while (at < chunk.bytes.size());
  if (at < chunk.bytes.size()) lines.append(kLineEnd).append(code(chunk, at));
  return lines;
}

// "#move" lines up to the first pointer; what follows is code.
std::string Decompiler::records(const Chunk& chunk) {
  o_.files.echo(kRecordWarning);
  const std::size_t limit = chunk.until_pointer();
  std::string lines;
  std::size_t at = 0;
  do {
    std::string data(chunk.bytes.substr(at, limit - at));
    const std::size_t size = o_.record.undraw(data, chunk.mode);
    if (at > 0) lines += kLineEnd;
    lines += data;
    at += size;
  } while (at < limit);
  if (at < chunk.bytes.size()) lines.append(kLineEnd).append(code(chunk, at));
  return lines;
}

void Decompiler::kascriptraw(std::int32_t& offset, std::int16_t& kind) {
  std::int16_t round = 0;
  if (offset != 0) image_length_ = o_.files.length();
  while (offset != 0) {
    round = checked_add(round, 1);
    // A section that does not end within its block goes on in a further one.
    for (std::int32_t at = offset; at != 0 && !sections_.contains(at);) at = write_section(at, kind);
    o_.buffers.get_Point(static_cast<std::size_t>(round), FileBuffer::kLabelSets);
    kind = o_.buffers.inmode();
    offset = o_.buffers.inoffsett();
  }
}

// Writes the section at `offset`; the result is where it goes on, 0 where it ends.
std::int32_t Decompiler::write_section(std::int32_t offset, std::int16_t kind) {
  FileHandle& files = o_.files;
  files.SeekData(offset);
  const std::int64_t left = image_length_ - files.position();
  files.lineno(0);  // it counts the fields read, and an image has any number of blocks
  std::string data = std::get<std::string>(files.getdata("block"));
  data.resize(static_cast<std::size_t>(std::clamp<std::int64_t>(left, 0, kBlock)));
  if (data.empty() || offset < 0) files.echo_fault(cat({" - The file has no place 0x", hex(offset)}));
  const auto next = sections_.upper_bound(offset);
  if (next != sections_.end() && kind != kCodeMode) {
    data.resize(std::min(data.size(), static_cast<std::size_t>(*next - std::int64_t{offset})));
  }
  files.echo(cat({"Pulling Offsett: ", o_.buffers.inname()}));
  Decoded decoded{0, false};
  if (kind == kCodeMode) {
    o_.buffers.inbuffer(0);
    decoded = raw_code(data, offset);
  } else if (kind == kTextMode) {
    o_.buffers.inbuffer(1);
    decoded.bytes = o_.texts.length_of_text(data);
    data = cat({"=", o_.texts.bytes_to_text(std::string_view(data).substr(0, decoded.bytes))});
  } else if (kind > kTextMode) {
    files.echo(kRecordWarning);
    decoded.bytes = o_.record.undraw(data, kind);
  } else {
    data.clear();
  }
  sections_.insert(offset);
  o_.buffers.append(FileBuffer::kTextBuffer, header(offset, decoded.bytes));
  o_.buffers.append(FileBuffer::kTextBuffer, data);
  return decoded.goes_on ? offset + static_cast<std::int32_t>(decoded.bytes) : 0;
}

// The line before a section. A buffer that is full gives way to the next one, where pointers can be registered again.
std::string Decompiler::header(std::int32_t offset, std::size_t size) {
  std::string line = cat({kLineEnd, "#ORG 0x", hex(offset)});
  filled_ += size;
  if (filled_ > static_cast<std::size_t>(FileBuffer::kBufferSpan)) {
    filled_ = size;
    if (++buffer_ < FileBuffer::kLabelSets) line += cat({" ", buffer_});
    if (buffer_ == FileBuffer::kLabelSets)
      o_.files.echo_fault(" - The script is too long to be compiled at once: cut it");
  }
  return line.append(kLineEnd);
}

// Turns the bytes `data` at `offset` into command lines.
Decoded Decompiler::raw_code(std::string& data, std::int32_t offset) {
  Surroundings around;
  around.defines = &o_.defines;
  around.offset = offset;
  around.image_length = image_length_;
  around.sections = &sections_;
  std::string list;
  const Decoded decoded = o_.commands.decode(data, list, true, around);
  if (o_.fulllog) o_.files.echo(cat({"= [", data, "]"}), false, kIndent);
  o_.commands.dealias(data, around);
  o_.files.echo(cat({"DEBUNKED: ", data}), false, kIndent);
  o_.buffers.pointerpoke(list);
  data = in_lines(std::move(data)).append(kLineEnd);
  return decoded;
}

}  // namespace tidewright
