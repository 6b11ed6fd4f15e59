// The save routine, its lock and the interrupt clean-up on POSIX systems.
#ifndef _WIN32

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <random>
#include <vector>

#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/files_detail.h"

namespace kx {

namespace fs = std::filesystem;
using detail::RaiseIo;

// The one place outside FileLock that touches its descriptor.
struct FileLockAccess {
  static int& Fd(FileLock& lock) { return lock.fd_; }
  static void Forget(FileLock& lock) {
    if (lock.fd_ >= 0) ::close(lock.fd_);
    lock.fd_ = -1;
  }
};

namespace {

// Writes every byte to `fd`; false (errno set) when the system refuses.
bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

// ---- Temporaries the signal handler removes -------------------------------------------
//
// A fixed table, so that the handler touches nothing but atomics, bytes and unlink().
// Slot states: 0 free, 1 being filled or emptied, 2 holds a path.

constexpr int kTemporarySlots = 64;
constexpr int kInterruptSignals[] = {SIGINT, SIGTERM, SIGHUP};

struct TemporarySlot {
  std::atomic<int> state{0};
  char path[PATH_MAX];
};
TemporarySlot g_temporaries[kTemporarySlots];
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler needs lock-free atomics");

extern "C" void RemoveTemporariesAndDie(int signal_number) {
  const int saved = errno;
  for (TemporarySlot& slot : g_temporaries)
    if (slot.state.load(std::memory_order_acquire) == 2) ::unlink(slot.path);
  // Ends the process as the signal would have: it is blocked while this handler runs and
  // is delivered, with its default action, as soon as the handler returns.
  struct sigaction dfl {};
  dfl.sa_handler = SIG_DFL;
  sigemptyset(&dfl.sa_mask);
  ::sigaction(signal_number, &dfl, nullptr);
  ::raise(signal_number);
  errno = saved;
}

void InstallInterruptHandler() {
  static std::once_flag once;
  std::call_once(once, [] {
    for (int sig : kInterruptSignals) {
      struct sigaction old {};
      if (::sigaction(sig, nullptr, &old) != 0) continue;
      // An ignored signal stays ignored (nohup); one the program handles is its own.
      if ((old.sa_flags & SA_SIGINFO) || old.sa_handler != SIG_DFL) continue;
      struct sigaction ours {};
      ours.sa_handler = RemoveTemporariesAndDie;
      sigemptyset(&ours.sa_mask);
      for (int other : kInterruptSignals) sigaddset(&ours.sa_mask, other);
      ::sigaction(sig, &ours, nullptr);
    }
  });
}

// Blocks the interrupt signals in this thread while it lives, so that a file is never
// created without being registered, nor renamed while still registered.
class InterruptsHeld {
 public:
  InterruptsHeld() {
    sigset_t set;
    sigemptyset(&set);
    for (int sig : kInterruptSignals) sigaddset(&set, sig);
    pthread_sigmask(SIG_BLOCK, &set, &old_);
  }
  ~InterruptsHeld() { pthread_sigmask(SIG_SETMASK, &old_, nullptr); }
  InterruptsHeld(const InterruptsHeld&) = delete;
  InterruptsHeld& operator=(const InterruptsHeld&) = delete;

 private:
  sigset_t old_;
};

// ---- Locks this process holds ------------------------------------------------------------

std::mutex g_locks_mutex;
std::vector<FileLock*>& HeldLocks() {
  static std::vector<FileLock*> locks;
  return locks;
}

// A child made by fork() owns neither its parent's locks nor its temporaries: its copies of
// the lock descriptors would keep the parent's locks held after the parent let go, and an
// interrupt of the child would remove files the parent is still writing.
void ForgetParentsFilesInChild() {
  for (FileLock* lock : HeldLocks()) FileLockAccess::Forget(*lock);
  HeldLocks().clear();
  for (TemporarySlot& slot : g_temporaries) slot.state.store(0, std::memory_order_relaxed);
}

void WatchForks() {
  static std::once_flag once;
  std::call_once(once, [] {
    pthread_atfork([] { g_locks_mutex.lock(); }, [] { g_locks_mutex.unlock(); },
                   [] {
                     ForgetParentsFilesInChild();
                     g_locks_mutex.unlock();
                   });
  });
}

bool SameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

std::string RandomSuffix() {
  static thread_local std::mt19937_64 generator{std::random_device{}() ^
                                                (static_cast<uint64_t>(::getpid()) << 32)};
  char buf[17];
  std::snprintf(buf, sizeof buf, "%016llx", static_cast<unsigned long long>(generator()));
  return buf;
}

}  // namespace

void RegisterTemporary(const fs::path& path) {
  WatchForks();
  InstallInterruptHandler();
  const std::string& text = path.native();
  if (text.size() >= PATH_MAX) return;
  for (TemporarySlot& slot : g_temporaries) {
    int expected = 0;
    if (!slot.state.compare_exchange_strong(expected, 1, std::memory_order_acq_rel)) continue;
    std::memcpy(slot.path, text.c_str(), text.size() + 1);
    slot.state.store(2, std::memory_order_release);
    return;
  }
  // A full table only costs the clean-up on an interrupt; errors still remove the file.
}

void UnregisterTemporary(const fs::path& path) {
  for (TemporarySlot& slot : g_temporaries) {
    int expected = 2;
    if (slot.state.load(std::memory_order_acquire) != 2 || path.native() != slot.path) continue;
    if (!slot.state.compare_exchange_strong(expected, 1, std::memory_order_acq_rel)) continue;
    slot.state.store(0, std::memory_order_release);
    return;
  }
}

fs::path ResolveLinks(const fs::path& path) {
  fs::path p = path;
  for (int hops = 0;; ++hops) {
    struct stat st;
    if (::lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return p;
    if (hops == 40) RaiseIo(path, ELOOP);
    std::error_code ec;
    fs::path link = fs::read_symlink(p, ec);
    if (ec) RaiseIo(p, ec.value());
    p = link.is_absolute() ? link : p.parent_path() / link;
  }
}

// ---- FileLock ----------------------------------------------------------------------------

FileLock::FileLock(const fs::path& path) : target_(ResolveLinks(path)) {
  WatchForks();
  for (;;) {
    int fd = ::open(target_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0 && errno == EACCES) fd = ::open(target_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) RaiseIo(target_, errno);
    struct stat held;
    if (::fstat(fd, &held) != 0 || !S_ISREG(held.st_mode)) {
      ::close(fd);
      throw Error(kErrPathFileAccess,
                  "Path/File access error: " + target_.string() + " is not a regular file");
    }
    {
      std::lock_guard<std::mutex> guard(g_locks_mutex);
      for (FileLock* other : HeldLocks()) {
        struct stat st;
        if (::fstat(FileLockAccess::Fd(*other), &st) == 0 && SameFile(st, held)) {
          ::close(fd);
          throw Error(kErrFileAlreadyOpen,
                      "File already open: " + target_.string() + " is locked by this process");
        }
      }
    }
    while (::flock(fd, LOCK_EX) != 0) {
      if (errno == EINTR) continue;
      const int err = errno;
      ::close(fd);
      RaiseIo(target_, err);
    }
    // Another writer may have renamed a new file over the one we waited for: lock that one.
    struct stat now;
    if (::stat(target_.c_str(), &now) == 0 && SameFile(now, held)) {
      fd_ = fd;
      break;
    }
    ::close(fd);
  }
  std::lock_guard<std::mutex> guard(g_locks_mutex);
  HeldLocks().push_back(this);
}

FileLock::~FileLock() {
  {
    std::lock_guard<std::mutex> guard(g_locks_mutex);
    auto& locks = HeldLocks();
    locks.erase(std::remove(locks.begin(), locks.end(), this), locks.end());
  }
  if (fd_ >= 0) ::close(fd_);
}

// ---- AtomicFileWriter --------------------------------------------------------------------

struct AtomicFileWriter::State {
  fs::path target;
  fs::path temporary;
  int fd = -1;
  FileLock* outer = nullptr;      // this process's lock on the target, if any
  std::unique_ptr<FileLock> own;  // else the lock taken for this save
  bool committed = false;

  // Also runs when the constructor fails part way, so the temporary never outlives a throw.
  ~State() {
    if (fd >= 0) ::close(fd);
    if (!committed && !temporary.empty()) {
      InterruptsHeld held;
      ::unlink(temporary.c_str());
      UnregisterTemporary(temporary);
    }
  }

  [[noreturn]] void Fail(int32_t number, const std::string& why) { throw Error(number, why); }
};

AtomicFileWriter::AtomicFileWriter(const fs::path& path) : state_(std::make_unique<State>()) {
  State& s = *state_;
  s.target = ResolveLinks(path);
  struct stat st;
  bool existed = ::stat(s.target.c_str(), &st) == 0;
  if (!existed && errno != ENOENT) RaiseIo(s.target, errno);
  if (existed) {
    if (!S_ISREG(st.st_mode))
      s.Fail(kErrPathFileAccess,
             "Path/File access error: " + s.target.string() + " is not a regular file");
    // The superuser may write anything, so the mode's write bits count as well.
    if (::access(s.target.c_str(), W_OK) != 0 || (st.st_mode & 0222) == 0) {
      if (errno == EROFS)
        s.Fail(kErrPermissionDenied,
               "Permission denied: " + s.target.string() + " is on a read-only file system");
      s.Fail(kErrPermissionDenied, "Permission denied: " + s.target.string() +
                                       " is read-only (no write permission); it is left as it is");
    }
    {
      std::lock_guard<std::mutex> guard(g_locks_mutex);
      for (FileLock* lock : HeldLocks()) {
        struct stat held;
        if (::fstat(FileLockAccess::Fd(*lock), &held) == 0 && SameFile(held, st)) s.outer = lock;
      }
    }
    if (!s.outer) {
      s.own = std::make_unique<FileLock>(s.target);
      // What we waited for may have been replaced: keep the owner and mode of the current.
      existed = ::stat(s.target.c_str(), &st) == 0;
    }
  }

  fs::path dir = s.target.parent_path();
  const mode_t mode = existed ? (st.st_mode & 07777) : 0666;
  int err = 0;
  for (int attempt = 0; attempt < 100 && s.fd < 0; ++attempt) {
    fs::path name = (dir.empty() ? fs::path(".") : dir) /
                    ("." + s.target.filename().string() + "." + RandomSuffix() + ".tmp");
    InterruptsHeld held;
    // Created with the final mode: never more open than the file it replaces.
    s.fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
    if (s.fd >= 0) {
      s.temporary = std::move(name);
      RegisterTemporary(s.temporary);
    } else {
      err = errno;
      if (err != EEXIST) break;
    }
  }
  if (s.fd < 0) {
    const std::string where =
        "cannot create a temporary file beside " + s.target.string() + ": " + std::strerror(err);
    if (err == EACCES || err == EPERM) s.Fail(kErrPermissionDenied, "Permission denied: " + where);
    if (err == ENOENT) s.Fail(kErrPathNotFound, "Path not found: " + where);
    s.Fail(kErrPathFileAccess, "Path/File access error: " + where);
  }
  if (existed) {
    struct stat made;
    if (::fstat(s.fd, &made) == 0 && (made.st_uid != st.st_uid || made.st_gid != st.st_gid) &&
        ::fchown(s.fd, st.st_uid, st.st_gid) != 0) {
      const int e = errno;
      s.Fail(kErrPermissionDenied, "Permission denied: cannot keep the owner and group of " +
                                       s.target.string() + " (" + std::to_string(st.st_uid) + ":" +
                                       std::to_string(st.st_gid) + "): " + std::strerror(e) +
                                       "; it is left as it is");
    }
    // The umask may have taken bits the file has (never added any); give them back.
    if (::fstat(s.fd, &made) == 0 && (made.st_mode & 07777) != mode && ::fchmod(s.fd, mode) != 0)
      RaiseIo(s.temporary, errno);
  }
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
  if (s.committed || s.fd < 0) Raise(kErrBadFileMode);
  if (!WriteAll(s.fd, bytes)) RaiseIo(s.target, errno);
}

void AtomicFileWriter::Commit() {
  State& s = *state_;
  if (s.committed || s.fd < 0) Raise(kErrBadFileMode);
  if (::fsync(s.fd) != 0) RaiseIo(s.target, errno);
  // The new file is locked before anyone can see it, so the lock never lapses.
  const bool locked = (s.outer || s.own) && ::flock(s.fd, LOCK_EX | LOCK_NB) == 0;
  {
    InterruptsHeld held;
    if (::rename(s.temporary.c_str(), s.target.c_str()) != 0) RaiseIo(s.target, errno);
    UnregisterTemporary(s.temporary);
    s.committed = true;
  }
  fs::path dir = s.target.parent_path();
  const int dir_fd = ::open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir_fd >= 0) {
    ::fsync(dir_fd);  // makes the rename durable; a failure here loses nothing written
    ::close(dir_fd);
  }
  if (s.outer && locked) {
    // The caller's lock now holds the new file; the old one is released, and whoever
    // waited for it moves on to the new one.
    ::close(FileLockAccess::Fd(*s.outer));
    FileLockAccess::Fd(*s.outer) = s.fd;
    s.fd = -1;
  }
}

// ---- ScratchFile -------------------------------------------------------------------------

ScratchFile::ScratchFile(std::string_view bytes, std::string_view suffix) {
  std::error_code ec;
  fs::path dir = fs::temp_directory_path(ec);
  if (ec) dir = "/tmp";
  std::string name = (dir / ("kxexpr-XXXXXX" + std::string(suffix))).string();
  int fd;
  {
    InterruptsHeld held;
    fd = ::mkstemps(name.data(), static_cast<int>(suffix.size()));
    if (fd >= 0) RegisterTemporary(name);
  }
  if (fd < 0) RaiseIo(name, errno);
  path_ = name;
  const bool ok = WriteAll(fd, bytes);
  const int err = errno;
  ::close(fd);
  if (!ok) {
    InterruptsHeld held;
    ::unlink(path_.c_str());
    UnregisterTemporary(path_);
    RaiseIo(path_, err);
  }
}

ScratchFile::~ScratchFile() {
  InterruptsHeld held;
  ::unlink(path_.c_str());
  UnregisterTemporary(path_);
}

}  // namespace kx

#endif  // !_WIN32
