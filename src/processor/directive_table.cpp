// The table of directives: every word, what carries it out, and what a person is told of it. Nothing else in the
// program, its manual or its editors' files lists them.
#include "base/nearest.h"
#include "base/text.h"
#include "processor/control.h"

namespace tidewright {
namespace {

constexpr std::string_view kBurning = "Burning";
constexpr std::string_view kData = "Labels and data";
constexpr std::string_view kRunning = "Running files";
constexpr std::string_view kWholeFiles = "Whole files and back";
constexpr std::string_view kDefinitions = "Definitions";
constexpr std::string_view kSettings = "Settings";
constexpr std::string_view kFolders = "Files and folders";
constexpr std::string_view kProgram = "The program";
constexpr std::string_view kFileTypes = "File types";

}  // namespace

// A row without a description is another word for the one above it. A description is plain text of whole sentences, the
// first of which is all that a list shows.
constexpr Control::Row Control::kDirectives[] = {
    {"kapop", &Control::kapop, "", kBurning, "[FILE]",
     "Burns the buffers into the image FILE. Every label gets a position, every pointer is patched, every chunk is "
     "written. The image must exist. Without FILE it is the file set by #file; without that, the user is asked."},
    {"unburn", &Control::unburn, "", kBurning, "[FILE]",
     "Takes back the last burn of the image FILE. The bytes that stood there before are put back, and the file gets "
     "its former length, unless it has changed since. Without FILE it is the file set by #file."},
    {"burns", &Control::burns, "", kBurning, "[FILE]",
     "Tells what the last burn of the image FILE wrote. Its labels, places and lengths are in the journal beside it."},
    {"kapush", &Control::kapush, "", kBurning, "NAME OFFSET",
     "Gives a label its position in the image. NAME is a label or a floating pointer."},
    {"kableewy", &Control::kableewy, "", kBurning, "", "Forgets all buffers, labels, pointers and pushed positions."},

    {"org", &Control::org, "", kData, "NAME [BUFFER]",
     "Starts the label NAME. Its buffer is 0 to 15; without BUFFER the one used last."},
    {"inline", &Control::inline_data, "", kData, "VALUE...",
     "Writes numbers and $name pointers. A number is as wide as its digits. A line that begins with $name does the "
     "same."},
    {"move", &Control::raw_data, "", kData, "VALUE...",
     "Writes a data record. Its numbers are hexadecimal, bytes at first; a word b, i, l or p makes what follows bytes, "
     "words, dwords or pointers."},
    {"binary", &Control::raw_data},
    {"raw", &Control::raw_data},

    {"include", &Control::include, "", kRunning, "FILE",
     "Runs the lines of a script. Inside a running script the rest of the including line runs first, then the included "
     "file, then the outer one goes on. Fourteen files can be nested."},
    {"kacode", &Control::include},
    {"endfile", &Control::endfile, "", kRunning, "", "Ends the file it stands in."},
    {"boot", &Control::boot, "", kRunning, "[FOLDER]",
     "Forgets everything and loads the command database. Gone are buffers, pushed positions and the database; read are "
     "base\\includes.psh and FOLDER's includes.psh. The console is cleared."},
    {"codeset", &Control::codeset, "", kRunning, "[FOLDER]",
     "Loads the command database anew, as #boot does. The buffers are not forgotten and the console is not cleared."},
    {"install", &Control::install, "", kRunning, "FOLDER", "Runs FOLDER's install.psc."},

    {"encode", &Control::encode, "", kWholeFiles, "SCRIPT",
     "Compiles a script into a buffer file. It runs the script, with its folder as the current one, writes the buffers "
     "into the buffer file of its name, SCRIPT.buf beside it, and opens that as the desktop opens buffer files."},
    {"decode", &Control::decode, "", kWholeFiles, "FILE",
     "Writes the script of a buffer file. It lands beside it, with the ending .psc. With further arguments nothing is "
     "done."},
    {"rawdecode", &Control::rawdecode, "", kWholeFiles, "IMAGE OFFSET KIND",
     "Writes the script of a place in an image. It is that of what stands at OFFSET, and of all that its pointers lead "
     "to. It lands beside the image; its name is the image's with the offset behind it. KIND is 3 for code, 8 for "
     "text, above 8 for movement data. What is missing is asked for."},
    {"kapoke", &Control::kapoke, "", kWholeFiles, "FILE", "Writes the buffers into a buffer file."},
    {"kapeek", &Control::kapeek, "", kWholeFiles, "FILE [PREFIX]",
     "Adds what a buffer file holds to the buffers. PREFIX and a dot are put before each name."},
    {"kascript", &Control::kascript, "", kWholeFiles, "[OFFSET [KIND]]",
     "Shows the script of the buffers. With OFFSET it shows what #rawdecode would write of the file that #file names; "
     "KIND is 3 when it is left out."},

    {"addcmmd", &Control::addcmmd, "", kDefinitions, "KEYWORD CODE",
     "Begins a command of the database. KEYWORD is its word, CODE its byte code, 0 to 255. A comment behind it says "
     "what it is for."},
    {"addparm", &Control::addparm, "", kDefinitions, "KIND [DESCRIPTION]",
     "Adds a parameter to what was begun last. A command or an alias has sixteen at most."},
    {"alias", &Control::alias, "", kDefinitions, "PHRASE",
     "Begins a phrase that stands for a command. Its words may be mixed with $1, $2, ... for values."},
    {"define", &Control::define, "", kDefinitions, "NAME VALUE", "Makes a word of code lines stand for another."},
    {"addtext", &Control::addtext, "text", kDefinitions, "CHARACTERS VALUE",
     "Adds a text entry, written as these characters."},
    {"addhash", &Control::addtext, "hash", kDefinitions, "NAME VALUE", "Adds a text entry, written as # and its name."},
    {"addctrl", &Control::addtext, "ctrl", kDefinitions, "NAME VALUE",
     "Adds a text entry, written as \\ and its name. The one named end ends a text."},
    {"do", &Control::nothing, "", kDefinitions, "", "Does nothing. The end of a definition file wants that."},

    {"fulllog", &Control::fulllog, "", kSettings, "[on]", "Echoes what each line became.", "off"},
    {"f.echo", &Control::f_echo, "", kSettings, "[on]", "Echoes an empty line for each ' comment.", "off"},
    {"autobank", &Control::autobank, "", kSettings, "[off]",
     "Adds &h08000000 to pointers. It counts for all those of a burn, as it stands then.", "on"},
    {"autobuffer", &Control::autobuffer, "", kSettings, "[on]",
     "Says \"Autobank True\" or \"False\", and sets nothing."},
    {"autopop", &Control::autopop, "", kSettings, "[on]",
     "Opens each script that is decoded. Those of #decode and #rawdecode are opened as the desktop opens texts (on "
     "Windows in Notepad).",
     "off"},
    {"journal", &Control::journal, "", kSettings, "[off]",
     "Keeps what each burn overwrites. It stands in a journal beside the image, from which a burn that was cut short "
     "is "
     "undone, and #unburn takes one back.",
     "on"},
    {"lock", &Control::lock, "on", kSettings, "", "Takes code lines as directives, until #unlock.", "off"},
    {"unlock", &Control::lock, "off"},
    {"silent", &Control::silent, "", kSettings, "[on]", "Hides the console. Nothing is echoed but to the log.", "off"},

    {"file", &Control::file, "", kFolders, "NAME",
     "Sets the current file, and makes its folder the current one. A name without a dot is taken as a folder. Where "
     "the "
     "folder is not there, no file is set. The file is found in the current folder when it is used, so a later #cd "
     "moves it."},
    {"cd", &Control::dos, "cd", kFolders, "FOLDER",
     "Changes the current folder and says which it is. A path like d:\\desk changes the drive, too; #cd.. goes to the "
     "folder above."},
    {"cd..", &Control::dos, "cd.."},
    {"dir", &Control::dos, "dir", kFolders, "[PATTERN]",
     "Lists files and folders. Their short form stands behind, where it differs."},
    {"delete", &Control::dos, "delete", kFolders, "PATTERN",
     "Deletes the files that match, and names them. They are those of the current folder: a pattern with a folder "
     "looks there, and deletes those of the same names here."},
    {"del", &Control::dos, "delete"},
    {"rmdir", &Control::dos, "rmdir", kFolders, "FOLDER",
     "Removes a folder that holds no files. For one that does it does nothing, and says nothing."},
    {"rd", &Control::dos, "rmdir"},
    {"mkdir", &Control::dos, "mkdir", kFolders, "FOLDER",
     "Makes no folder. It only tries where something of that name is there already, and fails."},
    {"md", &Control::dos, "mkdir"},
    {"start", &Control::dos, "shell", kFolders, "FILE",
     "Opens a file with the desktop's own program. That is not waited for. Without a desktop nothing happens."},
    {"run", &Control::dos, "shell"},

    {"help", &Control::help, "", kProgram, "[WORD]",
     "Lists the directives, or tells about one. WORD may also be a command of the database, or the first words of an "
     "alias."},
    {"whoami", &Control::whoami, "", kProgram, "", "Says the program's name and version."},
    {"cls", &Control::cls, "", kProgram, "", "Clears the console."},
    {"kapow", &Control::kapow, "", kProgram, "", "Crashes on purpose. The box of a crash is shown."},
    {"exit", &Control::exit, "", kProgram, "", "Ends the program at once."},

    {"register", &Control::file_type, "", kFileTypes, "EXT as KIND",
     "Has files .EXT opened by the program. A source is decoded with #rawdecode, a script compiled with #encode, a "
     "header included into the session, a buffer decoded with #decode. With ? alone it lists what is registered."},
    {"regext", &Control::own_file_type, "", kFileTypes, "KIND",
     "Registers the program's own extension of a kind. They are .source, .script, .header and .buf."},
    {"unregister", &Control::unregister, "", kFileTypes, "EXT",
     "Takes back what was registered. What opened such files before opens them again, unless another program took the "
     "extension meanwhile."},
};

const Control::Row* Control::find_directive(std::string_view word) {
  for (const Row& row : kDirectives) {
    if (row.word == word) return &row;
  }
  return nullptr;
}

std::vector<DirectiveHelp> Control::directives() {
  std::vector<DirectiveHelp> all;
  for (const Row& row : kDirectives) {
    if (!row.description.empty()) all.push_back({row.group, {}, row.arguments, row.at_start, row.description});
    all.back().words.push_back(row.word);
  }
  return all;
}

std::vector<std::string_view> Control::directives_near(std::string_view word) {
  std::vector<std::string_view> words;
  for (const Row& row : kDirectives) words.push_back(row.word);
  return nearest(word, words);
}

std::string DirectiveHelp::usage() const {
  std::string usage = cat({"#", words[0], arguments.empty() ? "" : " ", arguments});
  for (std::size_t i = 1; i < words.size(); ++i) usage += cat({", #", words[i]});
  return usage;
}

std::string_view DirectiveHelp::summary() const {
  const std::size_t stop = description.find(". ");
  return description.substr(0, stop == std::string_view::npos ? description.size() - 1 : stop);
}

}  // namespace tidewright
