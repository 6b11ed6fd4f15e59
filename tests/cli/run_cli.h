#pragma once
// Runs the kxexpr command line in-process, with `input` as standard input; a scratch folder
// per test for the commands that write.

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "command.h"
#include "runtime/files.h"
#include "runtime/text.h"

namespace kx::cli {

struct Result {
  int code;
  std::string out, err;
};

inline Result RunCli(const std::vector<std::string>& args, const std::string& input = "") {
  std::ostringstream out, err;
  std::istringstream in(input);
  int code = Run(args, out, err, in);
  return {code, out.str(), err.str()};
}

inline const std::filesystem::path kData = std::filesystem::path(KX_SOURCE_DIR) / "data";
inline const std::string kSample = (kData / "sample-conversion.json").string();
inline const std::string kTemplates = (kData / "sample.tpl").string();
inline const std::string kLibrary = (kData / "kx750ui_fn.dll").string();

// An expression key written with '|' for its separator: Key gives it as stored, Shown as
// listed on a terminal.
inline std::string Key(const std::string& bars) {
  return ReplaceAll(bars, "|", "\x1b");
}
inline std::string Shown(const std::string& bars) {
  return ReplaceAll(bars, "|", "\xE2\x90\x9B");
}

// Three record layouts a side, for the commands that reach past layout 0.
inline const char* kThreeLayouts = R"({
  "actionTypes": [{"name": "Log", "parameters": [{"name": "Message", "kind": 2},
                                                 {"name": "Level", "kind": 1}]}],
  "source": {"type": "S", "recordLayouts": [
    {"name": "A", "fields": ["a"],
     "events": [{"name": "E0", "actions": [{"type": "Log", "parameters": ["\"a0\"", "1"]}]}]},
    {"name": "B", "fields": ["b"],
     "events": [{"name": "E1", "actions": [{"type": "Log", "parameters": ["\"b0\""]},
                                           {"type": "Log", "parameters": ["\"b1\"", "2"]}]},
                {"name": "E2", "actions": [{"type": "Log", "parameters": ["\"b2\""]}]}]},
    {"name": "C", "fields": ["c"]}]},
  "target": {"type": "T", "recordLayouts": [
    {"name": "X", "fields": [{"name": "x", "expression": "1"}],
     "events": [{"name": "F0", "actions": [{"type": "Log", "parameters": ["\"x0\""]}]}]},
    {"name": "Y", "fields": ["skip", {"name": "y", "expression": "2"}],
     "events": [{"name": "F1", "actions": [{"type": "Log", "parameters": ["\"y0\"", "7"]}]}]},
    {"name": "Z", "fields": [{"name": "z", "expression": ["3", "4"]}]}]}
})";

class ScratchTest : public testing::Test {
 protected:
  void SetUp() override {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    dir_ = std::filesystem::temp_directory_path() / ("kx_cli_" + std::to_string(::getpid()) + "_" +
                                                     test->test_suite_name() + "_" + test->name());
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  std::string Write(const std::string& name, const std::string& bytes) {
    WriteWholeFile(dir_ / name, bytes);
    return (dir_ / name).string();
  }
  // The sample conversion and its code modules; sets path_ to the copy.
  void CopySample() {
    std::filesystem::copy(kSample, dir_ / "c.json");
    std::filesystem::copy(kData / "modules", dir_ / "modules");
    path_ = (dir_ / "c.json").string();
  }

  std::filesystem::path dir_;
  std::string path_;
};

// A scratch copy of the sample conversion in path_.
class SampleTest : public ScratchTest {
 protected:
  void SetUp() override {
    ScratchTest::SetUp();
    CopySample();
  }
};

}  // namespace kx::cli
