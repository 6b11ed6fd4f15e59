#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "host/conversion_document.h"
#include "run_cli.h"

namespace kx::cli {
namespace {

namespace fs = std::filesystem;

class ApplyCliTest : public ScratchTest {
 protected:
  void SetUp() override {
    ScratchTest::SetUp();
    CopySample();
    original_ = ReadWholeFile(path_);
  }
  void TearDown() override {
    ::unsetenv("KXEXPR_INTERACTIVE");
    ScratchTest::TearDown();
  }
  std::vector<std::string> Args(std::vector<std::string> extra) {
    std::vector<std::string> args = {"apply", path_, tpl_};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
  }
  std::vector<std::string> Fields() {
    std::vector<std::string> out;
    auto doc = host::ConversionDocument::Load(path_);
    for (const auto& layout : doc->Model().target->layouts)
      for (const auto& field : layout.fields) out.push_back(field.expression);
    return out;
  }

  std::string original_;
  std::string tpl_ = kTemplates;
};

TEST_F(ApplyCliTest, AppliesShowsWritesAndUndoes) {
  const std::vector<std::string> before = Fields();
  // Current contents into every field of the first target layout.
  Result r = RunCli(Args({"trimfield", "--type", "8", "--key", Shown("trl0|*"), "--yes"}));
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("-Records(\"OrderLine\").Fields(\"OrderNo\")\n"
                       "+Trim(Records(\"OrderLine\").Fields(\"OrderNo\"))\n"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("@@ -1,1 +1,1 @@\n"), std::string::npos);
  const std::vector<std::string> after = Fields();
  ASSERT_EQ(after.size(), before.size());
  int changed = 0;
  for (size_t i = 0; i < after.size(); ++i) {
    if (after[i] == before[i]) continue;
    EXPECT_EQ(after[i], "Trim(" + before[i] + ")");
    ++changed;
  }
  EXPECT_GT(changed, 1);
  EXPECT_LT(changed, static_cast<int>(after.size()));  // the key picked one layout only
  EXPECT_NE(r.out.find(std::to_string(changed) + " of "), std::string::npos);

  Result undo = RunCli({"apply", "--undo", path_});
  ASSERT_EQ(undo.code, 0) << undo.err;
  EXPECT_EQ(ReadWholeFile(path_), original_);
  EXPECT_EQ(RunCli({"apply", "--undo", path_}).code, 1);  // one step only

  Result quiet = RunCli(Args({"trimfield", "--type", "8", "--yes", "--quiet"}));
  ASSERT_EQ(quiet.code, 0) << quiet.err;
  EXPECT_EQ(quiet.out.find("@@"), std::string::npos) << "--quiet shows no diff";
  EXPECT_NE(quiet.out.find(" changed\n"), std::string::npos);
  EXPECT_NE(Fields(), before) << "and still writes";
}

TEST_F(ApplyCliTest, RefusesWithoutWriting) {
  const struct {
    std::vector<std::string> args;
    int code;
    std::string message;
  } cases[] = {
      {{"DateFromParts", "--type", "8", "--yes"}, 1, "no terminal to ask on"},
      {{"TrimField", "--type", "8"}, 1, "pass --yes"},
      {{"TrimField", "--dry-run"}, 0, ""},  // every walk, kept whole
      {{"TrimField", "--set", "Field=<<Field>>", "--yes"}, 2, "would never end"},
      {{"TrimField", "--set", "Nope=1", "--yes"}, 2, "no such parameter"},
      {{"TrimField", "--set", "Field=(", "--check", "--yes"}, 1, "check failed for 8 "},
      {{"TrimField", "--type", "10"}, 2, "code modules"},
      {{"TrimField", "--key", "nothing*"}, 1, "no expression selected"},
      {{"Missing", "--yes"}, 1, "no template \"Missing\""},
  };
  for (const auto& c : cases) {
    Result r = RunCli(Args(c.args));
    EXPECT_EQ(r.code, c.code) << c.args[0] << c.args.back() << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    EXPECT_EQ(ReadWholeFile(path_), original_) << c.args.back();
    EXPECT_FALSE(fs::exists(path_ + ".kxundo"));
  }
}

TEST_F(ApplyCliTest, PromptsOnTheTerminalAndTakesSetValues) {
  ::setenv("KXEXPR_INTERACTIVE", "1", 1);
  const std::vector<std::string> select = {"--type", "8", "--key", Shown("trl0|*")};
  std::vector<std::string> args = Args({"DateFromParts", "--set", "Year=2024"});
  args.insert(args.end(), select.begin(), select.end());
  // Month once for all; Day per expression, the first by picking field 1; then confirm.
  size_t records = 0;  // the walker skips empty field expressions
  auto document = host::ConversionDocument::Load(path_);
  for (const auto& f : document->Model().target->layouts[0].fields)
    records += !f.expression.empty();
  std::string input = "7\ny\n#1\nn\n";
  for (size_t i = 1; i < records; ++i) input += "15\nn\n";
  Result cancelled = RunCli(args, "7\ny\n\n");  // an empty answer cancels
  EXPECT_EQ(cancelled.code, 1);
  EXPECT_NE(cancelled.err.find("cancelled"), std::string::npos);
  EXPECT_EQ(ReadWholeFile(path_), original_);

  Result r = RunCli(args, input + "y\n");
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.err.find("Enter a value for: <<Month>>"), std::string::npos);
  EXPECT_EQ(r.err.find("<<Year>>"), std::string::npos);
  EXPECT_NE(r.err.find("  #1 Records(\"Header\").Fields(\"RecordType\")"), std::string::npos);
  const std::vector<std::string> fields = Fields();
  EXPECT_EQ(fields[0], "DateSerial(2024, 7, Records(\"Header\").Fields(\"RecordType\"))");
  EXPECT_EQ(fields[1], "DateSerial(2024, 7, 15)");
}

}  // namespace
}  // namespace kx::cli
