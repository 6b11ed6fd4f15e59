#pragma once
// Whole-file reading and writing, byte for byte, and the one save routine for every file a
// user owns (WriteFileAtomic), with the lock that makes a read-change-write safe against a
// second writer (FileLock, LockedUpdate).

#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace kx {

// Reads every byte of a file. A missing file raises 53, a directory or unreadable file 75.
std::string ReadWholeFile(const std::filesystem::path& path);

// Writes the bytes in place (creating or truncating the file); failures raise 75. For
// scratch files only: a user's files are saved with WriteFileAtomic.
void WriteWholeFile(const std::filesystem::path& path, std::string_view bytes);

// The file `path` names once symbolic links are followed (`path` itself when it is no
// link). A link that leads nowhere yields the path it names; a loop raises 75.
std::filesystem::path ResolveLinks(const std::filesystem::path& path);

// Saves a user's file so that nothing can leave it half written or lose it:
//  - a symbolic link is followed: the file it names is replaced, the link stays a link;
//  - the bytes go to a temporary file beside that file, created with the file's mode
//    (never more open than the file) and given its owner and group, then renamed over it;
//    the old file stays as it was when anything fails;
//  - the temporary is removed when SIGINT, SIGTERM or SIGHUP ends the process meanwhile;
//  - a file without write permission is refused (70), not replaced; so is one whose owner
//    and group cannot be kept (70);
//  - it waits for a FileLock another process holds on the file; inside a FileLock of this
//    process on the same file it writes under that lock (which then holds the new file).
// Failures raise 75 (or 53/70/76) with the file and the reason.
void WriteFileAtomic(const std::filesystem::path& path, std::string_view bytes);

// The same save, written in pieces: the temporary is created by the constructor, Commit
// renames it over the file, and destruction without Commit removes it.
class AtomicFileWriter {
 public:
  explicit AtomicFileWriter(const std::filesystem::path& path);
  ~AtomicFileWriter();
  AtomicFileWriter(const AtomicFileWriter&) = delete;
  AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

  void Write(std::string_view bytes);
  void Commit();

  // The file being replaced (links followed) and the temporary beside it.
  const std::filesystem::path& Target() const;
  const std::filesystem::path& TemporaryPath() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// An exclusive advisory lock (flock) on an existing file, held until destruction: another
// FileLock or WriteFileAtomic on the same file, in any process, waits for it. Held from
// reading a file to renaming its new version over it, no second writer's edit is lost. The
// lock follows the file through this process's WriteFileAtomic. One FileLock per file and
// process: a second one raises 55. A missing file raises 53. A child made by fork() does
// not inherit it (nor the parent's registered temporaries).
class FileLock {
 public:
  explicit FileLock(const std::filesystem::path& path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  // The locked file (links followed).
  const std::filesystem::path& Target() const { return target_; }

 private:
  friend struct FileLockAccess;
  std::filesystem::path target_;
  int fd_ = -1;
};

// Reads the file, passes its bytes to `change` and saves what it returns with
// WriteFileAtomic, all under one FileLock.
void LockedUpdate(const std::filesystem::path& path,
                  const std::function<std::string(const std::string& old_bytes)>& change);

// A private scratch file (mode 0600, a name no one else can have chosen) in the system's
// temporary folder, removed on destruction and when SIGINT, SIGTERM or SIGHUP ends the
// process.
class ScratchFile {
 public:
  explicit ScratchFile(std::string_view bytes = {}, std::string_view suffix = {});
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// The registry of temporary files the signal handler removes (SIGINT, SIGTERM, SIGHUP; a
// signal the process ignores stays ignored, one it handles itself is left to its handler).
// The handler unlinks every registered file, then ends the process by the same signal.
// Registering installs the handler once. Both are safe to call from several threads.
void RegisterTemporary(const std::filesystem::path& path);
void UnregisterTemporary(const std::filesystem::path& path);

bool FileExists(const std::filesystem::path& path);

// fopen with the path in the platform's own form (wide characters on Windows). Null and errno
// set on failure.
std::FILE* OpenFile(const std::filesystem::path& path, const char* mode);

// A directory lookup's pattern match: "*" stands for any run of characters, "?" for one;
// everything else, brackets included, stands for itself.
bool MatchesWildcard(std::string_view pattern, std::string_view name);

}  // namespace kx
