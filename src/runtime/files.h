#pragma once
// Whole-file reading and writing, byte for byte.

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace kx {

// Reads every byte of a file. A missing file raises 53, a directory or unreadable file 75.
std::string ReadWholeFile(const std::filesystem::path& path);

// Writes the bytes in place (creating or truncating the file); failures raise 75.
void WriteWholeFile(const std::filesystem::path& path, std::string_view bytes);

// Writes the bytes to a temporary file beside `path`, then renames it over `path`, so a
// failure leaves the old file as it was. Failures raise 75 with the reason.
void WriteFileAtomic(const std::filesystem::path& path, std::string_view bytes);

bool FileExists(const std::filesystem::path& path);

// fopen with the path in the platform's own form (wide characters on Windows). Null and errno
// set on failure.
std::FILE* OpenFile(const std::filesystem::path& path, const char* mode);

// A directory lookup's pattern match: "*" stands for any run of characters, "?" for one;
// everything else, brackets included, stands for itself.
bool MatchesWildcard(std::string_view pattern, std::string_view name);

}  // namespace kx
