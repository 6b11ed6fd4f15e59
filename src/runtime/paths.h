#pragma once
// Paths as the registry or a host names them, made usable here: Windows drive paths map into
// a Wine prefix, backslashes become slashes, and a path that does not exist as written is
// looked up component by component ignoring case (registry paths often arrive lower-cased).

#include <filesystem>
#include <string>
#include <string_view>

namespace kx {

// The Wine prefix in use: $WINEPREFIX, else ~/.wine; empty when neither is set.
std::filesystem::path WinePrefix();

// Resolves `path`. `base` is the folder that relative paths and drive letters are resolved
// against: a drive letter X: maps to base/dosdevices/x: or, for C:, base/drive_c when they
// exist, else the same folders of WinePrefix(). A path that exists as written is returned as
// written (after the slash conversion).
std::string ResolvePath(std::string_view path, const std::filesystem::path& base = {});

// The existing path that matches `path` ignoring case, component by component; `path` itself
// when it exists or nothing matches.
std::filesystem::path FindIgnoringCase(const std::filesystem::path& path);

}  // namespace kx
