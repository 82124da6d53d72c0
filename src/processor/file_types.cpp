// Which files the desktop opens with the program: for the current user, and taken back as they were found.
#include <algorithm>
#include <array>
#include <optional>

#include "base/errors.h"
#include "base/text.h"
#include "files/names.h"
#include "processor/shared.h"

namespace tidewright {
namespace {

constexpr std::string_view kClasses = "Software\\Classes\\";
// Of each extension that was registered: its kind, and what opened such files before.
constexpr std::string_view kRegistered = "Software\\Tidewright\\File types";
constexpr std::string_view kKind = "kind";
constexpr std::string_view kFormer = "former";
constexpr std::string_view kCreated = "created";  // the extension had no key of its own

struct FileType {
  std::string_view kind;
  std::string_view extension;  // of the system's own files
  std::string_view description;
  std::string_view line;  // what runs, before the name of the file
};

constexpr std::array kFileTypes{
    FileType{"source", "source", "Game image", "#boot ;#rawdecode"},
    FileType{"script", "script", "Tidewright script", "#boot ;#encode"},
    FileType{"header", "header", "Tidewright definitions", "#include"},
    FileType{"buffer", "buf", "Tidewright buffer file", "#boot ;#decode"},
};

// The tool that writes buffer files into images, where it stands beside the program.
constexpr std::string_view kWriterTool = "platten.exe";

const FileType& type_of(std::string_view kind) {
  const auto* const found = std::find_if(kFileTypes.begin(), kFileTypes.end(),
                                         [&](const FileType& type) { return same_text(type.kind, kind); });
  if (found == kFileTypes.end()) {
    raise(ErrorNumber::invalid_call, cat({"\"", kind, "\" is no kind of file: source, script, header or buffer"}));
  }
  return *found;
}

std::string class_key(const FileType& type) {
  return cat({kClasses, "Tidewright.", type.kind});
}

std::string extension_key(std::string_view extension) {
  return cat({kClasses, ".", extension});
}

std::string record_key(std::string_view extension) {
  return cat({kRegistered, "\\", extension});
}

// An extension as a script writes it, with or without its dot.
std::string without_dot(std::string_view text) {
  if (text.starts_with('.')) text.remove_prefix(1);
  if (text.empty() || text.find_first_of(".\\/:*?\"<>|") != std::string_view::npos) {
    raise(ErrorNumber::invalid_call, cat({"\"", text, "\" is no extension"}));
  }
  return lowered(text);
}

void write_class(const Host& host, const FileType& type) {
  const std::string key = class_key(type);
  const std::string folder = host.program.folder();
  const std::string program = joined(host.files, folder, "tidewright.exe");
  host.registry.text(key, "", std::string(type.description));
  host.registry.text(key + "\\DefaultIcon", "", program + ",0");
  host.registry.text(key + "\\shell\\open\\command", "", cat({"\"", program, "\" ", type.line, " \"%1\""}));
  const std::string writer = joined(host.files, folder, kWriterTool);
  if (type.kind == "buffer" && host.files.find(writer)) {
    host.registry.text(key + "\\shell\\write", "", "Write with Platten");
    host.registry.text(key + "\\shell\\write\\command", "", cat({"\"", writer, "\" \"%1\""}));
  }
}

}  // namespace

void Control::register_type(std::string_view extension_text, std::string_view kind) {
  const Host& host = shared_.file_handle.host();
  const FileType& type = type_of(kind);
  const std::string extension = without_dot(extension_text);
  const std::string own = cat({"Tidewright.", type.kind});
  const std::string record = record_key(extension);
  if (!host.registry.has(record)) {
    // What was there is kept, to be put back.
    const std::string key = extension_key(extension);
    const std::optional<std::string> former = host.registry.text(key, "");
    if (former) host.registry.text(record, std::string(kFormer), *former);
    if (!host.registry.has(key)) host.registry.text(record, std::string(kCreated), "yes");
  }
  host.registry.text(record, std::string(kKind), std::string(type.kind));
  write_class(host, type);
  host.registry.text(extension_key(extension), "", own);
  host.registry.announce();
  shared_.file_handle.echo({" - Files .", extension, " are opened as ", type.kind});
}

// Takes back what was registered for an extension, and nothing that another program changed since.
void Control::unregister_type(std::string_view extension_text) {
  FileHandle& files = shared_.file_handle;
  Registry& registry = files.host().registry;
  const std::string extension = without_dot(extension_text);
  const std::string record = record_key(extension);
  const std::optional<std::string> kind = registry.text(record, std::string(kKind));
  if (!kind) return files.echo_fault(cat({" - Files .", extension, " are not registered"}));
  const FileType& type = type_of(*kind);
  const std::string key = extension_key(extension);
  if (registry.text(key, "") == cat({"Tidewright.", type.kind})) {
    const std::optional<std::string> former = registry.text(record, std::string(kFormer));
    if (former) {
      registry.text(key, "", *former);
    } else {
      registry.remove_text(key, "");
      if (registry.text(record, std::string(kCreated)) && registry.below(key).empty()) registry.remove(key);
    }
  }
  registry.remove(record);
  const std::vector<std::string> left = registry.below(std::string(kRegistered));
  const bool used = std::any_of(left.begin(), left.end(), [&](const std::string& other) {
    return registry.text(record_key(other), std::string(kKind)) == *kind;
  });
  if (!used) registry.remove(class_key(type));
  registry.announce();
  files.echo({" - Files .", extension, " are no longer registered"});
}

void Control::list_types() {
  FileHandle& files = shared_.file_handle;
  Registry& registry = files.host().registry;
  const std::vector<std::string> extensions = registry.below(std::string(kRegistered));
  if (extensions.empty()) files.echo(" - No file types are registered");
  for (const std::string& extension : extensions) {
    files.echo({".", extension, " as ", registry.text(record_key(extension), std::string(kKind)).value_or("")});
  }
}

bool Control::has_file_types() {
  if (shared_.file_handle.host().registry.available()) return true;
  shared_.file_handle.echo(" - File types are registered on Windows");
  return false;
}

// "EXT as KIND", or "?" for what is registered.
void Control::file_type(Directive& directive, std::string_view /*detail*/) {
  if (!has_file_types()) return;
  if (directive.says("?")) return list_types();
  if (directive.argument(2) != "as" || !directive.words.docount(3)) {
    raise(ErrorNumber::invalid_call, "register wants an extension, \"as\" and a kind, or \"?\"");
  }
  register_type(directive.argument(1), directive.argument(3));
}

void Control::unregister(Directive& directive, std::string_view /*detail*/) {
  if (has_file_types()) unregister_type(directive.argument(1));
}

void Control::own_file_type(Directive& directive, std::string_view /*detail*/) {
  if (!has_file_types()) return;
  const FileType& type = type_of(directive.argument(1));
  register_type(type.extension, type.kind);
}

}  // namespace tidewright
