// Control: the command processor. Every line, whatever its source, enters through `pending` and is run at once.
//
// control.cpp takes lines in and compiles code lines; directive_table.cpp lists the directives; directives.cpp finds
// them there and carries out the settings and the small ones; help.cpp tells about them; definitions.cpp loads command
// databases; data_lines.cpp writes labels, inline and raw data; runs.cpp includes scripts and burns; conversions.cpp
// makes scripts of buffer files and images, and back.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "database/encoder.h"
#include "processor/directive_help.h"
#include "script/smart_string.h"
#include "tables/text_table.h"

namespace tidewright {

struct Shared;

/// Thrown by "#exit" through everything, to whoever started the program.
struct ExitProgram {};

class Control {
 public:
  /// `shared` holds the objects that lines work on, this one among them. Switches autobank on.
  explicit Control(Shared& shared);

  /// Runs one line: statements separated by ";". An error that nothing else catches ends here, when this is the
  /// outermost write: it is shown with file, line and statement, every data file is closed, and the session goes on.
  void pending(std::string line);

  /// A text kept for later; nothing ever stores one.
  const std::string& pending() const { return pending_text_; }

  /// Clears that text. The result is always empty.
  std::string clear_pendng();

  /// Does `work` as the outermost line does its own: errors end here.
  void guarded(const std::function<void()>& work);

  /// Runs the script file `name` as "#include" does. Errors end here as in pending().
  void run_file(std::string name);

  /// The whole name of the script that a directive wrote last; empty when none was written since it was asked for.
  std::string take_script_written() { return std::exchange(script_written_, {}); }

  /// Compiles or carries out one line. A "//" line replaces `line` by its text.
  void KaCode(std::string& line);

  /// See Decompiler. Both work on the session's buffers.
  void KaScript();
  void kascriptraw(std::int32_t& offset, std::int16_t& kind);

  /// Carries out one directive: its text without the "#", and the line's comment.
  void ProcessDirective(const std::string& text, const std::string& comment);

  /// The directives, in the order of a manual.
  static std::vector<DirectiveHelp> directives();

 private:
  /// A directive on its way: its words (word 0 in any case), its text with file names in short form.
  struct Directive {
    SmartString words;
    std::string text;
    std::string comment;
    bool name_dropped = false;  // a quoted file name that named nothing

    bool has(int argument) const { return argument <= words.last(); }
    /// Argument 1 to 15; empty when it is not there.
    std::string argument(int index) const { return has(index) ? words.values(index) : std::string(); }
    /// Whether the first argument is exactly this word, as typed.
    bool says(std::string_view word) const { return argument(1) == word; }
  };

  /// A row of the directive table: its word, what carries it out, what tells rows of one operation apart, and the help
  /// for it (see DirectiveHelp).
  struct Row {
    std::string_view word;
    void (Control::*run)(Directive&, std::string_view detail);
    std::string_view detail = {};
    std::string_view group = {};
    std::string_view arguments = {};
    std::string_view description = {};
    std::string_view at_start = {};
  };
  static const Row kDirectives[];
  static const Row* find_directive(std::string_view word);
  static std::vector<std::string_view> directives_near(std::string_view word);

  // control.cpp
  void report(std::string_view description, int number);
  void cut(const std::string& line, SmartString& statement);
  void skip_in_block(const std::string& line);
  void run_statement(SmartString& statement, std::string& line, const std::string& text);
  void comment_block(const SmartString& statement, std::string& line);
  void comment(const SmartString& statement);
  void text_line(const std::string& text);
  void code_line(const std::string& code, const std::string& text);
  void write(std::string_view bytes, std::span<const CodedPointer> pointers, std::int16_t mode);
  void run_files();
  void advance_lineno();
  void keep_counting();

  // directives.cpp
  void nothing(Directive&, std::string_view);
  void lock(Directive&, std::string_view state);
  void dos(Directive&, std::string_view command);
  void file(Directive&, std::string_view);
  void whoami(Directive&, std::string_view);
  void fulllog(Directive&, std::string_view);
  void autopop(Directive&, std::string_view);
  void silent(Directive&, std::string_view);
  void autobank(Directive&, std::string_view);
  void autobuffer(Directive&, std::string_view);
  void f_echo(Directive&, std::string_view);
  void cls(Directive&, std::string_view);
  void kapow(Directive&, std::string_view);
  void kableewy(Directive&, std::string_view);
  void exit(Directive&, std::string_view);
  void echo_setting(std::string_view name, bool on);

  // help.cpp
  void help(Directive&, std::string_view);

  // file_types.cpp
  void file_type(Directive&, std::string_view);
  void unregister(Directive&, std::string_view);
  void own_file_type(Directive&, std::string_view);
  bool has_file_types();
  void register_type(std::string_view extension_text, std::string_view kind);
  void unregister_type(std::string_view extension_text);
  void list_types();

  // definitions.cpp
  void complete_definition();
  void install(Directive&, std::string_view);
  void boot(Directive&, std::string_view);
  void codeset(Directive&, std::string_view);
  void addtext(Directive&, std::string_view kind);
  void addcmmd(Directive&, std::string_view);
  void alias(Directive&, std::string_view);
  void addparm(Directive&, std::string_view);
  void define(Directive&, std::string_view);
  void renew_database();
  void load_definitions(Directive&);
  void open_and_run(std::string name);

  // data_lines.cpp
  void org(Directive&, std::string_view);
  void inline_data(Directive&, std::string_view);
  void raw_data(Directive&, std::string_view);

  // runs.cpp and conversions.cpp
  void include(Directive&, std::string_view);
  void endfile(Directive&, std::string_view);
  void encode(Directive&, std::string_view);
  void decode(Directive&, std::string_view);
  void rawdecode(Directive&, std::string_view);
  void kapoke(Directive&, std::string_view);
  void kapeek(Directive&, std::string_view);
  void kascript(Directive&, std::string_view);
  bool write_buffers(const std::string& path);
  void write_script(const std::string& path);
  void echo_script();
  void kapop(Directive&, std::string_view);
  void unburn(Directive&, std::string_view);
  void burns(Directive&, std::string_view);
  void journal(Directive&, std::string_view);
  bool open_image(Directive&, std::string_view failure);
  bool mend_image();
  void kapush(Directive&, std::string_view);

  Shared& shared_;
  bool f_echo_ = false;
  bool fulllog_ = false;
  bool block_comment_ = false;
  bool autopop_ = false;
  bool lock_ = false;
  bool journal_ = true;
  std::string pending_text_;
  std::string script_written_;
  std::string definition_;  // "addcmmd" or "alias" while one is being collected

  bool guarded_ = false;          // inside the outermost line
  bool running_ = false;          // the file-line runner is at work
  std::string failed_statement_;  // where an error is on its way out

  // Of one KaCode and one code line; members only to keep their memory.
  std::unique_ptr<SmartString> spare_statement_;
  Encoder encoder_;
};

}  // namespace tidewright
