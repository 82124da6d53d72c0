// File names as directives write them, and the names that the platform knows. A name that a script gives has been cut
// at blanks, partly lower-cased and rewritten ("#" and "0x" became "&h"); here it is turned back into the name of a
// file.
#pragma once

#include <string>
#include <string_view>

#include "platform/host.h"

namespace tidewright {

/// Position of the last '\\' or '/' in `path`; npos when there is none.
std::size_t last_separator(std::string_view path);

/// Whether `path` says by itself where it starts: a drive, a root.
bool is_absolute(std::string_view path);

/// `folder` and `name` with the host's separator between them, which is not doubled.
std::string joined(Files& files, std::string_view folder, std::string_view name);

/// The folder of a path, where its last separator stands; a root keeps its separator. Empty for a bare name.
std::string folder_of(const std::string& path);

/// `path` without the extension of its last part, and with `ending` in its place.
std::string with_ending(const std::string& path, std::string_view ending);

/// A form of `name` that survives the cut at blanks and the rewriting of "#" and "0x": each character that would not is
/// written "%" and two hexadecimal digits, and so is a "%" that could be taken for one.
std::string blank_free(std::string_view name);

/// The same with every character written so: a form that is the literal name of no other file.
std::string all_escaped(std::string_view name);

/// A form of the path of a file to be made by which just this name is meant, whatever "%" stands in it.
std::string literal_name(std::string_view path);

/// `name` with every "%" and two hexadecimal digits turned back into its character.
std::string with_blanks(std::string_view name);

/// The path as the platform knows it: as it is typed when that exists; else each part that is not there is looked for
/// with the other separator, without regard to letter case, and in its blank-free and rewritten forms. Parts that match
/// nothing are taken with_blanks(), as the name of something to be made. Wildcards in the last part are left alone.
std::string actual_path(Files& files, const std::string& path);

}  // namespace tidewright
