#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "host/conversion_document.h"
#include "run_cli.h"
#include "runtime/files.h"

namespace kx::cli {
namespace {

namespace fs = std::filesystem;

class SetCliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("kx_set_cli_" + std::to_string(::getpid()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
    fs::copy(fs::path(KX_SOURCE_DIR) / "data" / "sample-conversion.json", dir_ / "c.json");
    fs::copy(fs::path(KX_SOURCE_DIR) / "data" / "modules", dir_ / "modules");
    path_ = (dir_ / "c.json").string();
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::shared_ptr<host::ConversionDocument> Reload() {
    return host::ConversionDocument::Load(path_);
  }

  fs::path dir_;
  std::string path_;
};

TEST_F(SetCliTest, ReplacesOneExpressionAndSaves) {
  Result r = RunCli({"set", path_, "8",
                     "trl0\xE2\x90\x9B"
                     "f1",
                     "CLng(0)"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, "Replaced Target Record (Orders) Field (Line)\n");
  auto doc = Reload();
  EXPECT_EQ(doc->Model().target->layouts[0].fields[1].expression, "CLng(0)");
  EXPECT_EQ(doc->Model().target->layouts[0].fields[0].expression,
            R"(Records("OrderLine").Fields("OrderNo"))");

  // A raw escape in the key works too; a kind-0 parameter is addressable as listed with
  // --all-parameters; TEXT "-" reads standard input.
  Result raw = RunCli({"set", path_, "2",
                       "se0\x1b"
                       "a0\x1b"
                       "p0",
                       "-"},
                      "Counter\r\n");
  ASSERT_EQ(raw.code, 0) << raw.err;
  EXPECT_EQ(Reload()->Model().source->events[0].actions[0].parameters[0], "Counter\r\n");

  Result rl = RunCli({"set", path_, "5",
                      "srl0\xE2\x90\x9B"
                      "e0\xE2\x90\x9B"
                      "a1\xE2\x90\x9B"
                      "p0",
                      "\"x\""});
  ASSERT_EQ(rl.code, 0) << rl.err;
  EXPECT_EQ(Reload()->Model().target->layouts[0].events[0].actions[1].parameters[0], "\"x\"");

  Result filter = RunCli({"set", path_, "7", "sfilt0", "True"});
  ASSERT_EQ(filter.code, 0);
  EXPECT_EQ(Reload()->Model().target->filters[0], "True");
  EXPECT_NE(Reload()->Model().source->filters[0], "True") << "type tells the sides apart";
}

TEST_F(SetCliTest, CodeModulesAreWrittenInPlace) {
  const std::string module = (dir_ / "modules" / "date_helpers.txt").string();
  const std::string before = ReadWholeFile(module);
  const std::string doc_before = ReadWholeFile(path_);
  Result r = RunCli({"set", path_, "10", module, "' short"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(ReadWholeFile(module), "' short" + before.substr(7));
  EXPECT_EQ(ReadWholeFile(path_), doc_before) << "the document itself is not rewritten";
}

TEST_F(SetCliTest, UnknownAddressesChangeNothing) {
  const std::string before = ReadWholeFile(path_);
  Result r = RunCli({"set", path_, "6", "sfilt9", "x"});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find("no expression of type 6 with key \"sfilt9\""), std::string::npos);
  Result t = RunCli({"set", path_, "11", "sfilt0", "x"});
  EXPECT_EQ(t.code, 2);
  Result utf = RunCli({"set", path_, "6", "sfilt0", "\xff"});
  EXPECT_EQ(utf.code, 1);
  EXPECT_NE(utf.err.find("not valid UTF-8"), std::string::npos);
  EXPECT_EQ(ReadWholeFile(path_), before);
}

}  // namespace
}  // namespace kx::cli
