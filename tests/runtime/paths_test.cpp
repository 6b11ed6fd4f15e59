#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "runtime/files.h"
#include "runtime/paths.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

TEST(ResolvePath, MapsRegistryPathsOntoThisMachine) {
  fs::path prefix = fs::temp_directory_path() / "kx_paths_prefix";
  fs::remove_all(prefix);
  fs::create_directories(prefix / "drive_c" / "Windows" / "System32");
  WriteWholeFile(prefix / "drive_c" / "Windows" / "System32" / "StdOle2.tlb", "x");
  fs::create_directories(prefix / "dosdevices");
  fs::create_directory_symlink("/", prefix / "dosdevices" / "z:");

  // Drive letters map into the prefix, ignoring case where the path does not exist as written.
  EXPECT_EQ(ResolvePath("C:\\windows\\system32\\stdole2.tlb", prefix),
            (prefix / "drive_c/Windows/System32/StdOle2.tlb").string());
  EXPECT_EQ(ResolvePath("z:\\tmp", prefix), (prefix / "dosdevices/z:/tmp").string());
  // Relative paths are taken from the base folder.
  EXPECT_EQ(ResolvePath("windows\\SYSTEM32\\stdole2.TLB", prefix / "drive_c"),
            (prefix / "drive_c/Windows/System32/StdOle2.tlb").string());
  // What cannot be found stays as written, with slashes.
  EXPECT_EQ(ResolvePath("C:\\nowhere\\x.dll", prefix), (prefix / "drive_c/nowhere/x.dll").string());
  EXPECT_EQ(ResolvePath("/abs/Path"), "/abs/Path");
  EXPECT_EQ(ResolvePath(""), "");

  setenv("WINEPREFIX", prefix.c_str(), 1);
  EXPECT_EQ(WinePrefix(), prefix);
  EXPECT_EQ(ResolvePath("C:\\WINDOWS\\system32"), (prefix / "drive_c/Windows/System32").string());
  unsetenv("WINEPREFIX");
  fs::remove_all(prefix);
}

}  // namespace
}  // namespace kx
