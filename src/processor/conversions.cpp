// Directives that make one kind of file of another: scripts of buffer files and of images, and buffer files of scripts.
#include <utility>

#include "base/errors.h"
#include "base/numbers.h"
#include "base/text.h"
#include "decompiler/decompiler.h"
#include "files/names.h"
#include "processor/shared.h"

namespace tidewright {
namespace {

constexpr std::string_view kScriptEnding = ".psc";
constexpr std::string_view kBufferEnding = ".buf";

// While it lives, the session works on buffers of its own; its former ones are put back then.
class OwnBuffers {
 public:
  explicit OwnBuffers(Shared& shared)
      : buffers_(shared.file_buffer),
        kept_(std::exchange(shared.file_buffer, FileBuffer(shared.file_handle, shared.bank))) {}
  ~OwnBuffers() {
    if (put_back_) buffers_ = std::move(kept_);
  }
  OwnBuffers(const OwnBuffers&) = delete;
  OwnBuffers& operator=(const OwnBuffers&) = delete;

  const FileBuffer& former() const { return kept_; }

  /// Leaves the new buffers in place where there was nothing in the former ones, and nothing on its way into them.
  void stay_if_blank() { put_back_ = !kept_.blank() || kept_.label_waits(); }

 private:
  FileBuffer& buffers_;
  FileBuffer kept_;
  bool put_back_ = true;
};

// While it lives, another folder is the current one.
class Visit {
 public:
  Visit(Files& files, const std::string& folder) : files_(files), home_(files.current_folder()) {
    files_.change_folder(folder);
  }
  ~Visit() {
    try {
      files_.change_folder(home_);
    } catch (const RuntimeError&) {
      // The folder went away meanwhile: there is none to return to.
    }
  }
  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;

 private:
  Files& files_;
  std::string home_;
};

// The whole path of a file as the platform knows it; it need not be there.
std::string whole_name(Files& files, const std::string& name) {
  std::string path = actual_path(files, name);
  return is_absolute(path) ? path : joined(files, files.current_folder(), path);
}

// The number an argument is; an empty one, as of a cancelled box, is 0.
double number_of(const std::string& argument) {
  return argument.empty() ? 0 : whole_number_text(argument);
}

Decompiler decompiler(Shared& shared, bool fulllog) {
  return Decompiler({shared.file_handle, shared.cmd_list, shared.file_buffer, shared.text_table, shared.define_table,
                     shared.record, fulllog});
}

}  // namespace

void Control::KaScript() {
  decompiler(shared_, fulllog_).KaScript();
}

void Control::kascriptraw(std::int32_t& offset, std::int16_t& kind) {
  decompiler(shared_, fulllog_).kascriptraw(offset, kind);
}

void Control::encode(Directive& directive, std::string_view /*detail*/) {
  if (directive.name_dropped) return;
  FileHandle& files = shared_.file_handle;
  std::string name = directive.argument(1);
  std::string mode = "input";
  if (files.OpenFile(name, mode).empty()) return;
  const std::string script = whole_name(files.host().files, name);
  const std::string path = with_ending(script, kBufferEnding);
  if (same_text(path, script)) raise(ErrorNumber::path_access, cat({script, " would be replaced by its buffer file"}));
  {
    // What the script includes is looked for beside it. The runner closes it at its end.
    const Visit visit(files.host().files, folder_of(script));
    run_files();
  }
  std::string document = path;
  if (write_buffers(path)) files.Dos("shell", document);
}

// Writes the session's buffers into a buffer file. False, and told, where the user keeps the file that is there.
bool Control::write_buffers(const std::string& path) {
  FileHandle& files = shared_.file_handle;
  shared_.file_buffer.check_writable();
  std::string name = literal_name(path);
  std::string mode = "write";
  if (files.OpenFile(name, mode, true).empty()) {
    files.echo_fault(cat({" - ", path.empty() ? "No file" : path, path.empty() ? " is chosen" : " is left as it is"}));
    return false;
  }
  shared_.file_buffer.writebuffer();
  files.closefile();
  return true;
}

void Control::decode(Directive& directive, std::string_view /*detail*/) {
  if (directive.name_dropped || !directive.words.docount(1) || directive.argument(1).empty()) return;
  FileHandle& files = shared_.file_handle;
  std::string name = directive.argument(1);
  std::string mode = "read";
  if (files.OpenFile(name, mode).empty()) return;
  const std::string path = whole_name(files.host().files, name);
  OwnBuffers own(shared_);
  own.stay_if_blank();
  FileBuffer& buffers = shared_.file_buffer;
  std::string prefix;
  if (buffers.readbuffer(prefix)) {
    // Each line of the comment becomes a comment line: KaScript marks the first.
    std::string comment(buffers.bytes(FileBuffer::kTextBuffer));
    replace_all(comment, kLineEnd, "\n");
    replace_all(comment, "\r", "\n");
    while (comment.ends_with('\n')) comment.pop_back();
    replace_all(comment, "\n", cat({kLineEnd, "//"}));
    buffers.buffer(FileBuffer::kTextBuffer, std::move(comment));
    KaScript();
    write_script(with_ending(path, kScriptEnding));
  }
  files.closefile();
}

void Control::rawdecode(Directive& directive, std::string_view /*detail*/) {
  if (directive.name_dropped) return;
  FileHandle& files = shared_.file_handle;
  std::string place = directive.argument(2);
  std::string mode_text = directive.argument(3);
  if (!directive.has(2)) place = files.input_box("Please Enter Offsett:", "Insufficient Data");
  if (!directive.has(3)) mode_text = files.input_box("Please Enter mode:", "Insufficient Data");
  replace_all(place, "0x", "&h");
  std::int32_t offset = to_long(number_of(place));
  std::int16_t kind = to_integer(number_of(mode_text));
  // An empty script is no reason to replace one that is there.
  if (offset == 0 || mode_text.empty()) {
    return files.echo_fault(cat({" - There is nothing to decode at offset 0x", hex(offset), " as kind ", kind}));
  }
  std::string name = directive.argument(1);
  std::string mode = "read";
  if (files.OpenFile(name, mode).empty()) return;
  const std::string path = whole_name(files.host().files, name);
  const OwnBuffers own(shared_);
  const std::string ending = hex(offset);
  kascriptraw(offset, kind);
  write_script(with_ending(path, cat({ending, kScriptEnding})));
  files.closefile();
}

// Writes the text of buffer 16 as a script, and shows it where the user wants to see such scripts.
void Control::write_script(const std::string& path) {
  FileHandle& files = shared_.file_handle;
  std::string name = literal_name(path);
  std::string mode = "output";
  if (files.OpenFile(name, mode, true).empty()) return files.echo_fault(cat({" - ", path, " is left as it is"}));
  files.echo("DROPPING SCRIPT");
  files.putdata("line", std::string(shared_.file_buffer.bytes(FileBuffer::kTextBuffer)));
  files.closefile();
  script_written_ = path;
  if (autopop_) files.host().desktop.edit_text(path);
}

void Control::kapoke(Directive& directive, std::string_view /*detail*/) {
  if (directive.name_dropped) return;
  const std::string name = directive.argument(1);
  write_buffers(name.empty() ? name : whole_name(shared_.file_handle.host().files, name));
}

// A second argument stands before the names that are read.
void Control::kapeek(Directive& directive, std::string_view /*detail*/) {
  if (directive.name_dropped) return;
  FileHandle& files = shared_.file_handle;
  std::string name = directive.argument(1);
  std::string mode = "read";
  if (files.OpenFile(name, mode).empty()) return;
  std::string prefix = directive.argument(2);
  shared_.file_buffer.readbuffer(prefix);
  files.closefile();
}

// Shows what decoding gives: of the buffers, or of the file that #file names, at an offset. Neither is changed.
void Control::kascript(Directive& directive, std::string_view /*detail*/) {
  FileHandle& files = shared_.file_handle;
  FileBuffer& buffers = shared_.file_buffer;
  if (!directive.has(1)) {
    const OwnBuffers own(shared_);
    buffers = own.former();
    buffers.place_waiting_label();
    KaScript();
    echo_script();
    return;
  }
  std::int32_t offset = to_long(number_of(directive.argument(1)));
  std::int16_t kind = directive.has(2) ? to_integer(number_of(directive.argument(2))) : kCodeMode;
  std::string name = files.filename("fullpath");
  if (name.empty()) raise(ErrorNumber::invalid_call, "kascript wants a file, which the directive file sets");
  std::string mode = "read";
  if (files.OpenFile(name, mode).empty()) return;
  const OwnBuffers own(shared_);
  kascriptraw(offset, kind);
  echo_script();
  files.closefile();
}

// Echoes the text of buffer 16, a line in each.
void Control::echo_script() {
  for (std::string_view left = shared_.file_buffer.bytes(FileBuffer::kTextBuffer); !left.empty();) {
    const std::size_t end = std::min(left.find(kLineEnd), left.size());
    const std::string_view line = left.substr(0, end);
    shared_.file_handle.echo(line.empty() ? " " : line);
    left.remove_prefix(std::min(end + kLineEnd.size(), left.size()));
  }
}

}  // namespace tidewright
