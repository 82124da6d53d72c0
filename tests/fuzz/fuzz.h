// What the fuzz targets share: sessions on an in-memory machine that no input can fill, and the road back, which must
// hold for whatever was compiled or read. A target ends a run that breaks a promise as it would end in a crash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "tests/session.h"

namespace tidewright::fuzz {

/// A promise: the input that breaks it is a find.
inline void promise(bool kept, std::string_view what, std::string_view details = {}) {
  if (kept) return;
  std::fprintf(stderr, "BROKEN: %.*s\n%.*s\n", static_cast<int>(what.size()), what.data(),
               static_cast<int>(details.size()), details.data());
  std::abort();
}

/// The pieces of `input` before and behind the first line `mark`; the second is empty where there is none.
inline std::pair<std::string_view, std::string_view> halves(std::string_view input, std::string_view mark) {
  const std::size_t at = input.find(mark);
  if (at == std::string_view::npos) return {input, {}};
  return {input.substr(0, at), input.substr(at + mark.size())};
}

/// A session whose machine has little room.
struct Trial : Session {
  static constexpr std::size_t kRoom = std::size_t{4} << 20;  // bytes that fit on the machine

  Trial() { machine.disk_full_after(kRoom); }

  /// With the database and the settings of another trial.
  explicit Trial(const Trial& like) : Trial() {
    shared->bank = like.shared->bank;
    shared->text_table = like.shared->text_table;
    shared->define_table = like.shared->define_table;
    for (const tCmd& command : like.shared->cmd_list.NewEnum()) {
      shared->cmd_list.newcmd() = command;
      shared->cmd_list.add();
    }
  }

  /// Runs lines as a script file; false where one of them left the program. Nothing stays open.
  bool script(std::string_view lines) {
    machine.add_file("/desk/main.psc", lines);
    return carry_out("#include main.psc");
  }

  bool carry_out(const std::string& line) {
    try {
      run(line);
    } catch (const ExitProgram&) {
      return false;
    }
    promise(shared->file_handle.level() == FileHandle::kLogFile, "a file is still open");
    return true;
  }

  FileBuffer& buffers() { return shared->file_buffer; }
  bool troubled() const { return shared->file_handle.troubled(); }

  /// The buffer file that the buffers give; empty where they are more than one can hold.
  std::string buffer_file() {
    machine.disk_full_after(kRoom);
    machine.add_folder("/made");
    std::string name = "/made/made.buf";
    if (machine.exists(name)) machine.files().remove_file(name);
    std::string mode = "write";
    try {
      buffers().check_writable();
      shared->file_handle.OpenFile(name, mode);
      buffers().writebuffer();
      shared->file_handle.closefile();
    } catch (const RuntimeError&) {
      shared->file_handle.close_all();
      return "";
    }
    return machine.bytes("/made/made.buf");
  }
};

/// What a buffer says, however it was compiled: its bytes, with the numbers that pointers have, and the names of the
/// other pointers by their places.
struct Sense {
  std::string bytes;
  std::map<std::int32_t, std::string> names;
  bool operator==(const Sense&) const = default;
};

inline Sense sense(Trial& trial, int buffer) {
  const SmartNum num(trial.shared->bank);
  Sense sense{std::string(trial.buffers().bytes(buffer)), {}};
  for (const fOffsett* const pointer : trial.buffers().placed_pointers(buffer)) {
    const std::int32_t place = pointer->Offset - buffer * FileBuffer::kBufferSpan;
    const std::string name = lowered(pointer->name);
    const bool number = number_prefix(name).length == name.size() && !name.empty();
    if (!number) sense.names[place] = name.starts_with('$') ? name.substr(1) : name;
    // A burn may have patched it, which is no matter of the script.
    const std::string bytes = number ? SmartNum::pointer_bytes(num.CPtr(name)) : std::string(kPointerPlaceholder);
    sense.bytes.replace(std::min(static_cast<std::size_t>(place), sense.bytes.size()), bytes.size(), bytes);
  }
  return sense;
}

/// What `trial` has in its buffers must come back from a buffer file, once numbers have one form byte for byte, and
/// from its script in sense.
inline void come_back(Trial& trial) {
  const std::string file = trial.buffer_file();
  if (file.empty()) return;
  Trial reader(trial);
  reader.machine.add_file("/desk/in.buf", file);
  reader.carry_out("#kapeek in.buf");
  // Names that no script can say may be in the buffers; reading refuses them, with a word.
  if (reader.troubled()) return;
  const std::string again = reader.buffer_file();  // numbers have one form now
  Trial second(trial);
  second.machine.add_file("/desk/in.buf", again);
  second.carry_out("#kapeek in.buf");
  promise(second.buffer_file() == again, "a buffer file is read and written as another", second.log());

  Trial decoder(trial);
  decoder.machine.add_file("/desk/in.buf", file);
  decoder.carry_out("#decode in.buf");
  if (decoder.troubled()) return;  // what was left out is told
  const std::string script = decoder.machine.bytes("/desk/in.psc");
  Trial compiler(trial);
  compiler.script(script);
  promise(!compiler.troubled(), "a decoded script has a fault", script + "\n----\n" + compiler.log());
  compiler.buffers().place_waiting_label();
  for (int buffer = 0; buffer < FileBuffer::kLabelSets; ++buffer) {
    const Sense before = sense(trial, buffer);
    const Sense after = sense(compiler, buffer);
    promise(before == after, cat({"buffer ", buffer, " has changed on the road back"}),
            cat({hex_bytes(before.bytes), "\n", hex_bytes(after.bytes), "\n", script}));
  }
}

}  // namespace tidewright::fuzz
