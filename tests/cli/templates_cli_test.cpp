#include <gtest/gtest.h>

#include <filesystem>

#include "run_cli.h"

namespace kx::cli {
namespace {

namespace fs = std::filesystem;

Result RunTemplates(std::vector<std::string> args) {
  args.insert(args.begin(), "templates");
  return RunCli(args);
}

class TemplatesCliTest : public ScratchTest {
 protected:
  std::string Write(const std::string& bytes) { return ScratchTest::Write("t.tpl", bytes); }
  const std::string sample_ = kTemplates;
};

TEST_F(TemplatesCliTest, ListShowAndCheckTheSampleFile) {
  Result list = RunTemplates({"list", sample_});
  EXPECT_EQ(list.code, 0) << list.err;
  EXPECT_EQ(list.err, "");
  EXPECT_NE(list.out.find("IfBlank  - Use a default when a value is blank\n"
                          "    <<Field>>  default: ^f (First Field Name)\n"
                          "    <<Default>>  default: \"\"\n"),
            std::string::npos)
      << list.out;
  EXPECT_NE(list.out.find("<<Format>>  default: ^? (Prompt for Value)"), std::string::npos);
  EXPECT_NE(list.out.find("<<Default>>  default: ^h (Highlighted Text)"), std::string::npos);

  Result show = RunTemplates({"show", sample_, "dateconvert"});
  EXPECT_EQ(show.code, 0) << show.err;
  EXPECT_NE(show.out.find("Template: DateConvert\nDescription:\n"
                          "  Convert a date text to another format\n"
                          "  Empty or invalid dates give the fallback\nBody:\n"
                          "  If IsDate(<<Field>>) Then\n"),
            std::string::npos)
      << show.out;
  EXPECT_NE(show.out.find("  3. Fallback\n     Default: \"\"\n"), std::string::npos);

  Result missing = RunTemplates({"show", sample_, "NoSuch"});
  EXPECT_EQ(missing.code, 1);
  EXPECT_NE(missing.err.find("no template named \"NoSuch\""), std::string::npos);

  Result check = RunTemplates({"check", sample_});
  EXPECT_EQ(check.code, 0);
  EXPECT_NE(check.out.find(": 7 templates, OK"), std::string::npos) << check.out;
}

TEST_F(TemplatesCliTest, MalformedFilesFailWithTheReadersMessage) {
  std::string path =
      Write("@BeginTemplate A\r\n@BeginBody\r\n<<a>> <<b\r\n@EndBody\r\n@EndTemplate A\r\n");
  Result check = RunTemplates({"check", path});
  EXPECT_EQ(check.code, 1);
  EXPECT_EQ(check.err, "kxexpr: Template file: " + path +
                           " is invalid. Problem with template: A, on line: 4.\n");
  EXPECT_EQ(check.out, "");

  Result absent = RunTemplates({"check", (dir_ / "absent.tpl").string()});
  EXPECT_EQ(absent.code, 1);
  EXPECT_NE(absent.err.find("no template file at"), std::string::npos);
}

TEST_F(TemplatesCliTest, RewriteWritesTheCanonicalFormOnlyForFilesThatLoad) {
  std::string loose =
      "@BeginTemplate T\n@BeginBody\n   Trim(<<F>>)  \n@EndBody\n@BeginParameter\n@Name=F\n"
      "@DefaultValue=^c\n@EndParameter\n@EndTemplate\n";
  std::string path = Write(loose);
  Result rewrite = RunTemplates({"rewrite", path});
  EXPECT_EQ(rewrite.code, 0) << rewrite.err;
  EXPECT_EQ(ReadWholeFile(path),
            "@BeginTemplate T\r\n  @BeginDescription\r\n    \r\n  @EndDescription\r\n"
            "  @BeginBody\r\nTrim(<<F>>)\r\n  @EndBody\r\n  @BeginParameter\r\n    @Name=F\r\n"
            "    @BeginDescription\r\n      \r\n    @EndDescription\r\n    @DefaultValue=^c\r\n"
            "  @EndParameter\r\n@EndTemplate T\r\n");

  std::string bad = loose + "junk\n";
  Write(bad);
  Result refused = RunTemplates({"rewrite", path});
  EXPECT_EQ(refused.code, 1);
  EXPECT_EQ(refused.err, "Template file: " + path + " is invalid.\n");
  EXPECT_EQ(ReadWholeFile(path), bad);
  // No temporary file is left behind.
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_), fs::directory_iterator()), 1);

  // A name that would turn its own end line into a parameter block is not written.
  std::string trap = "@BeginTemplate x@BeginParameter\r\n@EndTemplate\r\n";
  Write(trap);
  EXPECT_EQ(RunTemplates({"check", path}).code, 0);
  Result kept = RunTemplates({"rewrite", path});
  EXPECT_EQ(kept.code, 1);
  EXPECT_NE(kept.err.find("is left as it is"), std::string::npos) << kept.err;
  EXPECT_EQ(ReadWholeFile(path), trap);
}

}  // namespace
}  // namespace kx::cli
