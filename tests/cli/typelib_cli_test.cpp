#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>

#include "run_cli.h"
#include "runtime/files.h"

namespace kx::cli {
namespace {

namespace fs = std::filesystem;

TEST(TypelibCommand, DumpsEveryTypeMemberAndParameter) {
  Result r = RunCli({"typelib", kLibrary});
  ASSERT_EQ(r.code, 0) << r.err;
  const std::string& out = r.out;
  EXPECT_EQ(out.rfind("library kx750ui_fn\n  guid {43A5AC40-ACB7-11D3-96C0-00104B383C01}\n"
                      "  version 7.5\n",
                      0),
            0u);
  EXPECT_NE(out.find("type 0 Dispatch KXFunction\n"), std::string::npos);
  EXPECT_NE(out.find("  function Mid_Dollar\n    id 0x67\n    invoke func\n    returns String\n"),
            std::string::npos);
  EXPECT_NE(out.find("    param Length As Long [in, optional, default I4 -1]\n"),
            std::string::npos);
  EXPECT_NE(out.find("    param Choices As Variant() [in, paramarray]\n"), std::string::npos);
  EXPECT_NE(out.find("  const kxTextCompare As Int = I4 1\n"), std::string::npos);
  EXPECT_NE(out.find("  implements KXFunction [flags 1]\n"), std::string::npos);
  EXPECT_EQ(RunCli({"typelib", kLibrary + "\\1"}).out, out);  // stable, resource 1
}

TEST(TypelibCommand, JsonCarriesTheSameFacts) {
  Result r = RunCli({"typelib", "--json", kLibrary});
  ASSERT_EQ(r.code, 0) << r.err;
  auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["name"], "kx750ui_fn");
  EXPECT_EQ(j["types"].size(), 9u);
  const auto& all = j["types"][0];
  EXPECT_EQ(all["kind"], "Dispatch");
  EXPECT_EQ(all["functions"].size(), 53u);
  const auto& mid = all["functions"][2];
  EXPECT_EQ(mid["name"], "Mid_Dollar");
  EXPECT_EQ(mid["params"][2]["default"]["vt"], "I4");
  EXPECT_EQ(mid["params"][2]["default"]["value"], "-1");
  EXPECT_EQ(mid["params"][2]["optional"], true);
  EXPECT_EQ(j["types"][7]["variables"][2]["value"]["value"], "2");
}

TEST(TypelibCommand, BadInputGivesAClearErrorAndStatus) {
  Result r = RunCli({"typelib", kLibrary + "\\2"});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find("no TYPELIB resource 2 in this PE image (321)"), std::string::npos) << r.err;
  r = RunCli({"typelib", (kData / "kxexpr.reg").string()});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find("not a type library"), std::string::npos) << r.err;
  r = RunCli({"typelib", (kData / "missing.tlb").string()});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find("(53)"), std::string::npos) << r.err;
  EXPECT_EQ(RunCli({"typelib"}).code, 2);
}

TEST(TypelibCommand, ListsTheRegisteredLibraries) {
  const std::string expected =
      "KX 7.5 UI Function Library\n"
      "  key kx750ui_fn.dll<KX 7.5 UI Function Library{43A5AC40-ACB7-11D3-96C0-00104B383C01}7.5\n";
  Result r = RunCli({"typelib", "--registered", "--registry", (kData / "kxexpr.reg").string()});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, expected);

  // $KXEXPR_REGISTRY comes first when no file is given.
  fs::path file = fs::temp_directory_path() / "kx_cli_registry.reg";
  WriteWholeFile(file,
                 "REGEDIT4\n[HKEY_CLASSES_ROOT\\TypeLib\\{1}\\1.0]\n@=\"Mine\"\n"
                 "[HKEY_CLASSES_ROOT\\TypeLib\\{1}\\1.0\\0\\win32]\n@=\"C:\\\\mine.tlb\"\n");
  setenv("KXEXPR_REGISTRY", file.c_str(), 1);
  r = RunCli({"typelib", "--registered", "--json"});
  unsetenv("KXEXPR_REGISTRY");
  fs::remove(file);
  ASSERT_EQ(r.code, 0) << r.err;
  auto j = nlohmann::json::parse(r.out);
  ASSERT_EQ(j.size(), 1u);
  EXPECT_EQ(j[0]["text"], "Mine");
  EXPECT_EQ(j[0]["key"], "C:\\mine.tlb<Mine{1}1.0");
}

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
