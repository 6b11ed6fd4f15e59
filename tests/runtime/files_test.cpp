// The save routine every file a user owns goes through: links, owner, group and mode kept,
// read-only files refused, temporaries removed on interrupts, a second writer kept waiting.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "error_of.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "scratch_dir.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

class FilesTest : public testing::Test {
 protected:
  // Every name in the folder, so that a temporary left behind shows.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir_)) names.push_back(e.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
  static mode_t ModeOf(const fs::path& p) {
    struct stat st;
    EXPECT_EQ(::stat(p.c_str(), &st), 0);
    return st.st_mode & 07777;
  }

  ScratchDir scratch_;
  const fs::path& dir_ = scratch_.path;
};

class Umask {
 public:
  explicit Umask(mode_t mask) : old_(::umask(mask)) {}
  ~Umask() { ::umask(old_); }

 private:
  mode_t old_;
};

TEST_F(FilesTest, ASymbolicLinkStaysALinkAndItsFileIsReplaced) {
  WriteWholeFile(dir_ / "real.json", "old");
  fs::create_directories(dir_ / "sub");
  fs::create_symlink("../real.json", dir_ / "sub" / "hop.json");  // relative, via a folder
  fs::create_symlink("sub/hop.json", dir_ / "doc.json");          // a link to a link
  WriteFileAtomic(dir_ / "doc.json", "new");
  EXPECT_TRUE(fs::is_symlink(dir_ / "doc.json"));
  EXPECT_TRUE(fs::is_symlink(dir_ / "sub" / "hop.json"));
  EXPECT_EQ(fs::read_symlink(dir_ / "doc.json"), "sub/hop.json");
  EXPECT_EQ(ReadWholeFile(dir_ / "real.json"), "new");
  EXPECT_EQ(Names(), (std::vector<std::string>{"doc.json", "real.json", "sub"}));

  // A link to a file that does not exist yet creates that file.
  fs::create_symlink("later.txt", dir_ / "dangling");
  WriteFileAtomic(dir_ / "dangling", "made");
  EXPECT_TRUE(fs::is_symlink(dir_ / "dangling"));
  EXPECT_EQ(ReadWholeFile(dir_ / "later.txt"), "made");

  fs::create_symlink("loop2", dir_ / "loop1");
  fs::create_symlink("loop1", dir_ / "loop2");
  EXPECT_EQ(ErrorOf([&] { WriteFileAtomic(dir_ / "loop1", "x"); }), kErrPathFileAccess);
}

TEST_F(FilesTest, ModeIsKeptWhateverTheUmask) {
  struct Case {
    mode_t mode;
    mode_t mask;
  };
  for (const Case& c : {Case{0600, 022}, Case{0640, 077}, Case{0664, 022}, Case{0755, 077},
                        Case{0620, 0}, Case{0604, 0}}) {
    SCOPED_TRACE(testing::Message() << std::oct << "mode " << c.mode << " umask " << c.mask);
    Umask umask(c.mask);
    const fs::path file = dir_ / "f.txt";
    fs::remove(file);
    WriteWholeFile(file, "old");
    ASSERT_EQ(::chmod(file.c_str(), c.mode), 0);
    {
      // The temporary has the file's mode from the start: never more open than the file.
      AtomicFileWriter writer(file);
      EXPECT_EQ(ModeOf(writer.TemporaryPath()), c.mode);
      writer.Write("new");
      writer.Commit();
    }
    EXPECT_EQ(ModeOf(file), c.mode);
    EXPECT_EQ(ReadWholeFile(file), "new");
  }
  // A new file gets what the umask gives any new file.
  Umask umask(027);
  WriteFileAtomic(dir_ / "fresh.txt", "x");
  EXPECT_EQ(ModeOf(dir_ / "fresh.txt"), 0640u);
}

TEST_F(FilesTest, OwnerAndGroupAreKept) {
  if (::geteuid() != 0) GTEST_SKIP() << "giving a file to another user needs the superuser";
  const fs::path file = dir_ / "theirs.txt";
  WriteWholeFile(file, "old");
  ASSERT_EQ(::chown(file.c_str(), 65534, 65534), 0);
  WriteFileAtomic(file, "new");
  struct stat st;
  ASSERT_EQ(::stat(file.c_str(), &st), 0);
  EXPECT_EQ(st.st_uid, 65534u);
  EXPECT_EQ(st.st_gid, 65534u);
  EXPECT_EQ(ReadWholeFile(file), "new");
}

TEST_F(FilesTest, AReadOnlyFileIsRefusedNotReplaced) {
  for (mode_t mode : {0444, 0400, 0555, 0}) {
    SCOPED_TRACE(testing::Message() << std::oct << "mode " << mode);
    const fs::path file = dir_ / "ro.txt";
    std::error_code ec;
    fs::permissions(file, fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove(file, ec);
    WriteWholeFile(file, "keep");
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
    EXPECT_THAT(ErrorTextOf([&] { WriteFileAtomic(file, "lost"); }),
                testing::MatchesRegex(std::to_string(kErrPermissionDenied) + ": .*" +
                                      file.string() + ".*read-only.*"));
    EXPECT_EQ(ModeOf(file), mode);
    ::chmod(file.c_str(), 0600);
    EXPECT_EQ(ReadWholeFile(file), "keep");
    EXPECT_EQ(Names(), std::vector<std::string>{"ro.txt"});
  }
}

TEST_F(FilesTest, FailuresLeaveTheOldFileAndNoTemporary) {
  const std::string bytes("a\r\nb\0c\xff\n", 8);
  WriteWholeFile(dir_ / "f.txt", bytes);
  EXPECT_EQ(ReadWholeFile(dir_ / "f.txt"), bytes);
  WriteFileAtomic(dir_ / "f.txt", "old");
  EXPECT_EQ(ErrorOf([&] { ReadWholeFile(dir_ / "nope.txt"); }), 53);
  EXPECT_EQ(ErrorOf([&] { ReadWholeFile(dir_); }), 75);
  EXPECT_NE(ErrorOf([&] { WriteFileAtomic(dir_ / "missing" / "x", "y"); }), 0);
  fs::create_directories(dir_ / "folder");
  EXPECT_EQ(ErrorOf([&] { WriteFileAtomic(dir_ / "folder", "y"); }), kErrPathFileAccess);
  {
    AtomicFileWriter abandoned(dir_ / "f.txt");
    abandoned.Write("half");
  }
  EXPECT_EQ(ReadWholeFile(dir_ / "f.txt"), "old");
  EXPECT_EQ(Names(), (std::vector<std::string>{"f.txt", "folder"}));
}

// A child that starts a save (or makes a scratch file) and waits to be interrupted.
pid_t StartInterruptedChild(const std::function<void()>& begin, int ready_fd) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    begin();
    (void)!::write(ready_fd, "r", 1);
    for (;;) ::pause();
  }
  return pid;
}

TEST_F(FilesTest, AnInterruptRemovesTheTemporaryAndEndsTheProcessBySignal) {
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
    SCOPED_TRACE(testing::Message() << "signal " << sig);
    const fs::path file = dir_ / "doc.json";
    WriteWholeFile(file, "old");
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t pid = StartInterruptedChild(
        [&] {
          static std::unique_ptr<AtomicFileWriter> writer;
          static std::unique_ptr<ScratchFile> scratch;
          writer = std::make_unique<AtomicFileWriter>(file);
          writer->Write("half written");
          scratch = std::make_unique<ScratchFile>("scratch", ".kxtest");
          WriteWholeFile(dir_ / "scratch-name", scratch->Path().string());
        },
        ready[1]);
    char c;
    ASSERT_EQ(::read(ready[0], &c, 1), 1);
    ::close(ready[0]);
    ::close(ready[1]);
    EXPECT_EQ(Names().size(), 3u) << "the temporary exists while the save runs";
    const fs::path scratch = ReadWholeFile(dir_ / "scratch-name");
    EXPECT_TRUE(fs::exists(scratch));
    ASSERT_EQ(::kill(pid, sig), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << "status " << status;
    EXPECT_EQ(Names(), (std::vector<std::string>{"doc.json", "scratch-name"}));
    EXPECT_FALSE(fs::exists(scratch));
    EXPECT_EQ(ReadWholeFile(file), "old");
    fs::remove(dir_ / "scratch-name");
  }
}

TEST_F(FilesTest, ASecondWriterWaitsForTheLockAndSeesTheFirstWritersEdit) {
  const fs::path file = dir_ / "doc.txt";
  WriteWholeFile(file, "0");
  std::optional<FileLock> lock;
  lock.emplace(file);
  const pid_t pid = ::fork();
  if (pid == 0) {
    // The child's own read-change-write: it must read what the parent wrote.
    try {
      LockedUpdate(file, [](const std::string& old) { return old + "B"; });
    } catch (...) {
      ::_exit(3);
    }
    ::_exit(0);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  int status = 0;
  EXPECT_EQ(::waitpid(pid, &status, WNOHANG), 0) << "the second writer did not wait";
  // The parent's edit under its lock; WriteFileAtomic writes under the lock already held.
  WriteFileAtomic(file, ReadWholeFile(file) + "A");
  // The lock now holds the new file: still nobody else may write.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(::waitpid(pid, &status, WNOHANG), 0) << "the lock lapsed at the rename";
  EXPECT_EQ(ReadWholeFile(file), "0A");
  lock.reset();
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  EXPECT_EQ(ReadWholeFile(file), "0AB") << "neither edit is lost";
}

TEST_F(FilesTest, LocksAreOnePerFileAndProcessAndFollowLinks) {
  const fs::path file = dir_ / "doc.txt";
  WriteWholeFile(file, "x");
  fs::create_symlink("doc.txt", dir_ / "link");
  FileLock lock(dir_ / "link");
  EXPECT_EQ(lock.Target(), dir_ / "doc.txt");
  EXPECT_EQ(ErrorOf([&] { FileLock again(file); }), kErrFileAlreadyOpen);
  EXPECT_EQ(ErrorOf([&] { FileLock none(dir_ / "none"); }), kErrFileNotFound);
  // Writing through the link under the lock does not wait for the lock itself.
  WriteFileAtomic(dir_ / "link", "y");
  EXPECT_EQ(ReadWholeFile(file), "y");
  EXPECT_EQ(ErrorOf([&] {
              LockedUpdate(dir_ / "other", [](const std::string&) { return std::string(); });
            }),
            kErrFileNotFound);
}

}  // namespace
}  // namespace kx
