#include "runtime/files.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>

#include "runtime/error.h"

namespace kx {

namespace fs = std::filesystem;

namespace {

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
  ok = ok && std::fflush(f) == 0 && (!sync || ::fsync(fileno(f)) == 0);
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
  std::FILE* f = std::fopen(path.c_str(), "rb");
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
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) RaiseIo(path, errno);
  WriteAndClose(f, path, bytes, false);
}

void WriteFileAtomic(const fs::path& path, std::string_view bytes) {
  fs::path dir = path.parent_path();
  if (dir.empty()) dir = ".";
  std::random_device rd;
  fs::path tmp = dir / ("." + path.filename().string() + ".tmp" + std::to_string(rd() % 1000000));
  std::FILE* f = std::fopen(tmp.c_str(), "wb");
  if (!f) RaiseIo(tmp, errno);
  try {
    WriteAndClose(f, tmp, bytes, true);
    // Keep the permissions of the file being replaced.
    std::error_code ec;
    auto perms = fs::status(path, ec).permissions();
    if (!ec) fs::permissions(tmp, perms, ec);
    if (std::rename(tmp.c_str(), path.c_str()) != 0) RaiseIo(path, errno);
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

}  // namespace kx
