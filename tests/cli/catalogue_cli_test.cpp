#include <gtest/gtest.h>

#include "run_cli.h"

namespace kx::cli {
namespace {

TEST(CatalogueCli, ListsEveryConstructAndAnswersForOneName) {
  Result all = RunCli({"catalogue"});
  ASSERT_EQ(all.code, 0) << all.err;
  for (const char* name : {"For...Next", "GoTo", "Select Case...End Select", "While...Wend"})
    EXPECT_NE(all.out.find(std::string(name) + "\n"), std::string::npos) << name;
  EXPECT_NE(all.out.find("      statement block\n"), std::string::npos);

  Result one = RunCli({"catalogue", "Return"});
  ASSERT_EQ(one.code, 0);
  EXPECT_NE(one.out.find("Help topic:  4106"), std::string::npos);
  EXPECT_NE(one.out.find("1. value (optional, kind 0, default \"value\")"), std::string::npos);

  Result unknown = RunCli({"catalogue", "while...wend"});
  EXPECT_EQ(unknown.code, 0);
  EXPECT_NE(unknown.out.find("<Unknown>"), std::string::npos);
  EXPECT_NE(unknown.out.find("while...wend(???)"), std::string::npos);
}

TEST(Cli, HelpVersionAndBadUsage) {
  Result help = RunCli({"--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_NE(help.out.find("catalogue"), std::string::npos);
  Result version = RunCli({"--version"});
  EXPECT_EQ(version.code, 0);
  EXPECT_NE(version.out.find("kxexpr "), std::string::npos);
  Result bad = RunCli({"no-such-command"});
  EXPECT_EQ(bad.code, 2);
  EXPECT_NE(bad.err.find("kxexpr --help"), std::string::npos);
}

}  // namespace
}  // namespace kx::cli
