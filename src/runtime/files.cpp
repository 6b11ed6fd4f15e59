#include "runtime/files.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>

#include "runtime/error.h"

namespace kx {

namespace fs = std::filesystem;

namespace {

bool SyncToDisk(std::FILE* f) {
#ifdef _WIN32
  return ::_commit(::_fileno(f)) == 0;
#else
  return ::fsync(fileno(f)) == 0;
#endif
}

[[noreturn]] void RaiseIo(const fs::path& path, int err) {
  if (err == ENOENT) throw Error(kErrFileNotFound, "File not found: " + path.string());
  if (err == EACCES || err == EPERM)
    throw Error(kErrPermissionDenied, "Permission denied: " + path.string());
  throw Error(kErrPathFileAccess,
              "Path/File access error: " + path.string() + ": " + std::strerror(err));
}

// Writes and closes `f`; raises after closing when either fails.
void WriteAndClose(std::FILE* f, const fs::path& path, std::string_view bytes, bool sync) {
  bool ok = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  ok = ok && std::fflush(f) == 0 && (!sync || SyncToDisk(f));
  int err = errno;
  if (std::fclose(f) != 0 && ok) {
    ok = false;
    err = errno;
  }
  if (!ok) RaiseIo(path, err ? err : EIO);
}

}  // namespace

std::string ReadWholeFile(const fs::path& path) {
  std::error_code ec;
  if (fs::is_directory(path, ec))
    throw Error(kErrPathFileAccess, "Path/File access error: " + path.string() + " is a folder");
  std::FILE* f = OpenFile(path, "rb");
  if (!f) RaiseIo(path, errno);
  std::string out;
  char buf[1 << 16];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
  bool failed = std::ferror(f);
  std::fclose(f);
  if (failed) RaiseIo(path, EIO);
  return out;
}

void WriteWholeFile(const fs::path& path, std::string_view bytes) {
  std::FILE* f = OpenFile(path, "wb");
  if (!f) RaiseIo(path, errno);
  WriteAndClose(f, path, bytes, false);
}

void WriteFileAtomic(const fs::path& path, std::string_view bytes) {
  fs::path dir = path.parent_path();
  if (dir.empty()) dir = ".";
  std::random_device rd;
  // Built by appending: GCC 12 misreads "." + name as an overlapping copy (-Wrestrict).
  std::string name = ".";
  name += path.filename().string();
  name += ".tmp";
  name += std::to_string(rd() % 1000000);
  fs::path tmp = dir / name;
  std::FILE* f = OpenFile(tmp, "wb");
  if (!f) RaiseIo(tmp, errno);
  try {
    WriteAndClose(f, tmp, bytes, true);
    // Keep the permissions of the file being replaced.
    std::error_code ec;
    auto perms = fs::status(path, ec).permissions();
    if (!ec) fs::permissions(tmp, perms, ec);
    std::error_code rename_error;
    fs::rename(tmp, path, rename_error);
    if (rename_error) RaiseIo(path, rename_error.default_error_condition().value());
  } catch (...) {
    std::error_code ec;
    fs::remove(tmp, ec);
    throw;
  }
}

bool FileExists(const fs::path& path) {
  std::error_code ec;
  return fs::is_regular_file(path, ec);
}

std::FILE* OpenFile(const fs::path& path, const char* mode) {
#ifdef _WIN32
  std::wstring wide_mode(mode, mode + std::strlen(mode));
  return ::_wfopen(path.c_str(), wide_mode.c_str());
#else
  return std::fopen(path.c_str(), mode);
#endif
}

bool MatchesWildcard(std::string_view pattern, std::string_view name) {
  // Greedy match with one backtrack point: the last "*" seen.
  size_t p = 0, n = 0, star = std::string_view::npos, resume = 0;
  while (n < name.size()) {
    if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = n;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      n = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

}  // namespace kx
