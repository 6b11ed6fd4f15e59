#include "runtime/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "runtime/error.h"
#include "runtime/files_detail.h"

namespace kx {

namespace fs = std::filesystem;

namespace detail {

void RaiseIo(const fs::path& path, int err) {
  if (err == ENOENT) throw Error(kErrFileNotFound, "File not found: " + path.string());
  if (err == EACCES || err == EPERM)
    throw Error(kErrPermissionDenied, "Permission denied: " + path.string());
#ifdef EDQUOT
  if (err == EDQUOT) throw Error(kErrDiskFull, "Disk full: " + path.string());
#endif
  if (err == ENOSPC) throw Error(kErrDiskFull, "Disk full: " + path.string());
  throw Error(kErrPathFileAccess,
              "Path/File access error: " + path.string() + ": " + std::strerror(err));
}

}  // namespace detail

using detail::RaiseIo;

namespace {

// Writes and closes `f`; raises after closing when either fails.
void WriteAndClose(std::FILE* f, const fs::path& path, std::string_view bytes) {
  bool ok = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  ok = ok && std::fflush(f) == 0;
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
  WriteAndClose(f, path, bytes);
}

void WriteFileAtomic(const fs::path& path, std::string_view bytes) {
  AtomicFileWriter writer(path);
  writer.Write(bytes);
  writer.Commit();
}

void LockedUpdate(const fs::path& path,
                  const std::function<std::string(const std::string& old_bytes)>& change) {
  FileLock lock(path);
  const std::string old_bytes = ReadWholeFile(lock.Target());
  WriteFileAtomic(lock.Target(), change(old_bytes));
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
