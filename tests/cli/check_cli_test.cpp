// kxexpr check on files and standard input, in process and as a real program.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "run_cli.h"

namespace kx::cli {
namespace {

Result RunCheck(const std::vector<std::string>& args, const std::string& input = {}) {
  std::vector<std::string> all{"check"};
  all.insert(all.end(), args.begin(), args.end());
  return RunCli(all, input);
}

class CheckCli : public ScratchTest {};

TEST_F(CheckCli, PrintsOneCompilerStyleLinePerErrorAndFailsOnAny) {
  std::string bad = Write("bad.txt", "If a\r\n  x = 1\r\nEnd If\r\ny = (2\r\n");
  Result r = RunCheck({bad});
  EXPECT_EQ(r.code, 1);
  EXPECT_EQ(r.out, bad + ":1:5: Expected Then after the If condition, found end of line\n" + bad +
                       ":4:7: Expected \")\" to close the \"(\" at column 5, found end of line\n");

  std::string good = Write("good.txt", "If Fields(\"a\") = \"\" Then \"none\" Else Fields(\"a\")");
  r = RunCheck({good});
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, "");

  // Several files: each error under its own file's name; one bad file fails the whole run.
  std::string other = Write("other.txt", "Sub s\n");
  r = RunCheck({good, other, bad});
  EXPECT_EQ(r.code, 1);
  EXPECT_EQ(r.out,
            other + ":1:1: Sub without End Sub: expected End Sub before the end of the text\n" +
                bad + ":1:5: Expected Then after the If condition, found end of line\n" + bad +
                ":4:7: Expected \")\" to close the \"(\" at column 5, found end of line\n");
}

TEST_F(CheckCli, SampleModulesPass) {
  std::vector<std::string> modules;
  for (const auto& entry : std::filesystem::directory_iterator(kData / "modules"))
    modules.push_back(entry.path().string());
  ASSERT_GE(modules.size(), 2u);
  Result r = RunCheck(modules);
  EXPECT_EQ(r.code, 0) << r.out;
  EXPECT_EQ(r.out, "");
}

TEST_F(CheckCli, ReadsStandardInputForDashOrNoFile) {
  for (auto args : {std::vector<std::string>{"-"}, std::vector<std::string>{}}) {
    Result r = RunCheck(args, "x = 1 +\n");
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.out, "<stdin>:1:8: Expected an expression after \"+\", found end of line\n");
    EXPECT_EQ(RunCheck(args, "x = 1\n").code, 0);
  }
}

TEST_F(CheckCli, JsonForTools) {
  Result r = RunCheck({"--json", "-"}, "x = \"abc\r\nWend");
  EXPECT_EQ(r.code, 1);
  auto doc = nlohmann::json::parse(r.out);
  EXPECT_EQ(doc["file"], "<stdin>");
  EXPECT_EQ(doc["valid"], false);
  ASSERT_EQ(doc["errors"].size(), 2u);
  EXPECT_EQ(doc["errors"][0]["line"], 1);
  EXPECT_EQ(doc["errors"][0]["column"], 5);
  EXPECT_EQ(doc["errors"][0]["start"], 5);
  EXPECT_EQ(doc["errors"][0]["length"], 4);
  EXPECT_EQ(doc["errors"][1]["message"], "Wend without While");

  // Bytes of a single-byte code page in a message still give valid JSON.
  r = RunCheck({"--json"}, "x = caf\xe9 b");
  EXPECT_TRUE(nlohmann::json::accept(r.out));

  r = RunCheck({"--json"}, "x = 1");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(nlohmann::json::parse(r.out)["valid"], true);

  // One line per file; columns count characters, start counts bytes.
  std::string a = Write("a.txt", "x = 1");
  std::string b = Write("b.txt", "x = \"\xc3\xa9\" +");
  r = RunCheck({"--json", a, b});
  EXPECT_EQ(r.code, 1);
  std::istringstream lines(r.out);
  std::string line;
  std::vector<nlohmann::json> docs;
  while (std::getline(lines, line)) docs.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(docs.size(), 2u);
  EXPECT_EQ(docs[0]["file"], a);
  EXPECT_EQ(docs[0]["valid"], true);
  EXPECT_EQ(docs[1]["file"], b);
  EXPECT_EQ(docs[1]["errors"][0]["column"], 10);
  EXPECT_EQ(docs[1]["errors"][0]["start"], 11);
}

TEST_F(CheckCli, MissingFileIsAUsageFailure) {
  Result r = RunCheck({(dir_ / "absent.txt").string()});
  EXPECT_EQ(r.code, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_NE(r.err.find("File not found"), std::string::npos);
  EXPECT_NE(r.err.find("absent.txt (53)"), std::string::npos);

  // The files after it are still checked; the failure to read decides the status.
  std::string bad = Write("bad.txt", "Next\n");
  r = RunCheck({(dir_ / "absent.txt").string(), bad});
  EXPECT_EQ(r.code, 2);
  EXPECT_EQ(r.out, bad + ":1:1: Next without For\n");
}

}  // namespace
}  // namespace kx::cli
