// The save routine on Windows: the same temporary-and-rename save, without the POSIX
// extras. Windows has no advisory lock that survives the rename, so FileLock only checks
// the file; console interrupts are not hooked, so an interrupted save can leave its
// dot-named temporary beside the file.
#ifdef _WIN32

#include <io.h>

#include <cerrno>
#include <cstdio>
#include <random>

#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/files_detail.h"

namespace kx {

namespace fs = std::filesystem;
using detail::RaiseIo;

namespace {

std::string RandomSuffix() {
  static thread_local std::mt19937_64 generator{std::random_device{}()};
  return std::to_string(generator() % 1000000000ULL);
}

void RequireRegularFile(const fs::path& path) {
  std::error_code ec;
  const fs::file_status st = fs::status(path, ec);
  if (!fs::exists(st)) RaiseIo(path, ENOENT);
  if (!fs::is_regular_file(st))
    throw Error(kErrPathFileAccess,
                "Path/File access error: " + path.string() + " is not a regular file");
}

}  // namespace

void RegisterTemporary(const fs::path&) {}
void UnregisterTemporary(const fs::path&) {}

fs::path ResolveLinks(const fs::path& path) {
  fs::path p = path;
  for (int hops = 0;; ++hops) {
    std::error_code ec;
    if (!fs::is_symlink(fs::symlink_status(p, ec))) return p;
    if (hops == 40) RaiseIo(path, ELOOP);
    fs::path link = fs::read_symlink(p, ec);
    if (ec) RaiseIo(p, ec.value());
    p = link.is_absolute() ? link : p.parent_path() / link;
  }
}

FileLock::FileLock(const fs::path& path) : target_(ResolveLinks(path)) {
  RequireRegularFile(target_);
}

FileLock::~FileLock() = default;

struct AtomicFileWriter::State {
  fs::path target;
  fs::path temporary;
  std::FILE* file = nullptr;
  bool committed = false;

  ~State() {
    if (file) std::fclose(file);
    if (!committed && !temporary.empty()) {
      std::error_code ec;
      fs::remove(temporary, ec);
    }
  }
};

AtomicFileWriter::AtomicFileWriter(const fs::path& path) : state_(std::make_unique<State>()) {
  State& s = *state_;
  s.target = ResolveLinks(path);
  std::error_code ec;
  const fs::file_status st = fs::status(s.target, ec);
  if (fs::exists(st)) {
    if (!fs::is_regular_file(st))
      throw Error(kErrPathFileAccess,
                  "Path/File access error: " + s.target.string() + " is not a regular file");
    if ((st.permissions() & fs::perms::owner_write) == fs::perms::none)
      throw Error(kErrPermissionDenied,
                  "Permission denied: " + s.target.string() + " is read-only; it is left as it is");
  }
  fs::path dir = s.target.parent_path();
  if (dir.empty()) dir = ".";
  for (int attempt = 0; attempt < 100 && !s.file; ++attempt) {
    fs::path name = dir / ("." + s.target.filename().string() + "." + RandomSuffix() + ".tmp");
    if (fs::exists(name, ec)) continue;
    s.file = OpenFile(name, "wb");
    if (!s.file) RaiseIo(name, errno);
    s.temporary = std::move(name);
  }
  if (!s.file) RaiseIo(s.target, EEXIST);
}

AtomicFileWriter::~AtomicFileWriter() = default;

const fs::path& AtomicFileWriter::Target() const {
  return state_->target;
}
const fs::path& AtomicFileWriter::TemporaryPath() const {
  return state_->temporary;
}

void AtomicFileWriter::Write(std::string_view bytes) {
  State& s = *state_;
  if (s.committed || !s.file) Raise(kErrBadFileMode);
  if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), s.file) != bytes.size())
    RaiseIo(s.temporary, errno);
}

void AtomicFileWriter::Commit() {
  State& s = *state_;
  if (s.committed || !s.file) Raise(kErrBadFileMode);
  const bool ok = std::fflush(s.file) == 0 && ::_commit(::_fileno(s.file)) == 0;
  const int err = errno;
  const bool closed = std::fclose(s.file) == 0;
  s.file = nullptr;
  if (!ok || !closed) RaiseIo(s.temporary, ok ? errno : err);
  std::error_code ec;
  const auto perms = fs::status(s.target, ec).permissions();
  if (!ec) fs::permissions(s.temporary, perms, ec);
  fs::rename(s.temporary, s.target, ec);
  if (ec) RaiseIo(s.target, ec.default_error_condition().value());
  s.committed = true;
}

ScratchFile::ScratchFile(std::string_view bytes, std::string_view suffix) {
  std::error_code ec;
  fs::path dir = fs::temp_directory_path(ec);
  for (int attempt = 0; attempt < 100 && path_.empty(); ++attempt) {
    fs::path name = dir / ("kxexpr-" + RandomSuffix() + std::string(suffix));
    if (!fs::exists(name, ec)) path_ = std::move(name);
  }
  if (path_.empty()) RaiseIo(dir, EEXIST);
  WriteWholeFile(path_, bytes);
}

ScratchFile::~ScratchFile() {
  std::error_code ec;
  fs::remove(path_, ec);
}

}  // namespace kx

#endif  // _WIN32
