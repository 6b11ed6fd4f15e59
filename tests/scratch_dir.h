#pragma once
// A folder of its own for one test, removed with everything in it (made writable first, for
// the tests that take its permissions away).

#include <unistd.h>

#include <filesystem>
#include <string>

#include "runtime/files.h"

namespace kx {

struct ScratchDir {
  std::filesystem::path path;

  ScratchDir() {
    static int serial = 0;
    path = std::filesystem::temp_directory_path() /
           ("kx_test_" + std::to_string(::getpid()) + "_" + std::to_string(++serial));
    std::filesystem::remove_all(path);
    std::filesystem::create_directories(path);
  }
  ~ScratchDir() {
    std::error_code ec;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
    std::filesystem::remove_all(path, ec);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  std::string Write(const std::string& name, const std::string& bytes) const {
    WriteWholeFile(path / name, bytes);
    return (path / name).string();
  }
};

}  // namespace kx
