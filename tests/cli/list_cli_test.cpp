#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "inventory_view.h"
#include "run_cli.h"
#include "runtime/files.h"

namespace kx::cli {
namespace {

namespace fs = std::filesystem;

const std::string kSample = (fs::path(KX_SOURCE_DIR) / "data" / "sample-conversion.json").string();

TEST(ListCliTest, DefaultListingShowsEveryExpressionWithVisibleKeys) {
  Result r = RunCli({"list", kSample});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out.find('\x1b'), std::string::npos) << "never a raw escape on a terminal";
  EXPECT_NE(r.out.find("ce0\xE2\x90\x9B"
                       "a0\xE2\x90\x9B"
                       "p0"),
            std::string::npos);
  EXPECT_NE(r.out.find("Target Record (Orders), Event1: BeforeInsert, Action1: Skip Record, "
                       "Parameter1: &7"),
            std::string::npos);
  // Both sides' filter 0 show although they share their key.
  EXPECT_NE(r.out.find("Source Filter(0)"), std::string::npos);
  EXPECT_NE(r.out.find("Target Filter(0)"), std::string::npos);
  EXPECT_NE(r.out.find("End Function"), std::string::npos) << "code modules in full";
  EXPECT_NE(r.out.find("\n27 expressions\n"), std::string::npos);
  EXPECT_EQ(r.err, "");

  Result all = RunCli({"list", "--all-parameters", kSample});
  EXPECT_NE(all.out.find("\n36 expressions\n"), std::string::npos) << all.out;
}

TEST(ListCliTest, JsonListsTheSameRecordsWithEscapedKeys) {
  Result r = RunCli({"list", "--json", kSample});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out.find('\x1b'), std::string::npos);
  auto records = nlohmann::json::parse(r.out);
  ASSERT_EQ(records.size(), 27u);
  std::vector<int> types;
  for (const auto& rec : records) types.push_back(rec["ExpressionType"].get<int>());
  EXPECT_TRUE(std::is_sorted(types.begin(), types.end())) << "one walker after the other";
  EXPECT_EQ(types.front(), 0);
  EXPECT_EQ(types.back(), 10);
  const auto& field = records[21];
  EXPECT_EQ(field["ExpressionKey"],
            "trl0\x1b"
            "f4");
  EXPECT_EQ(field["ExpressionName"], "Amount");
  EXPECT_EQ(field["OrdinalPosition"], 4);
  EXPECT_EQ(field["ExpressionText"].get<std::string>().substr(0, 8), "If Recor");
  EXPECT_NE(r.out.find("\\u001b"), std::string::npos);
}

TEST(ListCliTest, ANamedCompositeStopsAtTheDuplicateKeyAfterListing) {
  Result r = RunCli({"list", "--walk", "complete", kSample});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.out.find("\n19 expressions\n"), std::string::npos) << r.out;
  EXPECT_EQ(r.err,
            "kxexpr: list: BuildCompleteConversionExpressionList stopped: This key is already "
            "associated with an element of this collection (457)\n");
  Result j = RunCli({"list", "--json", "--walk", "BuildCompleteConversionExpressionList", kSample});
  EXPECT_EQ(j.code, 1);
  EXPECT_EQ(nlohmann::json::parse(j.out).size(), 19u);

  Result one = RunCli({"list", "--walk", "sort-fields", kSample});
  EXPECT_EQ(one.code, 0);
  EXPECT_NE(one.out.find("\n2 expressions\n"), std::string::npos);
}

TEST(ListCliTest, BadArgumentsAndBadDocuments) {
  Result unknown = RunCli({"list", "--walk", "nope", kSample});
  EXPECT_EQ(unknown.code, 2);
  EXPECT_NE(unknown.err.find("sort-fields"), std::string::npos);
  Result flag = RunCli({"list", "--walk", "sort-fields", "--all-parameters", kSample});
  EXPECT_EQ(flag.code, 2);

  auto dir = fs::temp_directory_path() / "kx_list_cli";
  fs::remove_all(dir);
  fs::create_directories(dir);
  WriteWholeFile(dir / "bad.json", "{\n  \"source\": {\"filters\": [true]}\n}\n");
  Result bad = RunCli({"list", (dir / "bad.json").string()});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("bad.json:2:26: source.filters[0]: expected a text"), std::string::npos)
      << bad.err;
  Result missing = RunCli({"list", (dir / "none.json").string()});
  EXPECT_EQ(missing.code, 1);
  EXPECT_NE(missing.err.find("(53)"), std::string::npos);

  // A walker that fails part way: what came before is printed, then the error.
  WriteWholeFile(dir / "mods.json",
                 R"({"source": {"type": "S", "filters": ["f"]},
                     "target": {"type": "T", "codeModules": ["a.txt", "gone.txt"]}})");
  WriteWholeFile(dir / "a.txt", "module a");
  Result partial = RunCli({"list", (dir / "mods.json").string()});
  EXPECT_EQ(partial.code, 1);
  EXPECT_NE(partial.out.find("module a"), std::string::npos);
  EXPECT_NE(partial.out.find("\n2 expressions\n"), std::string::npos);
  EXPECT_NE(partial.err.find("BuildCodeModuleExpressionList stopped: File not found"),
            std::string::npos);
  fs::remove_all(dir);
}

TEST(InventoryViewTest, ControlCharactersAndForeignBytesAreShownNotSent) {
  EXPECT_EQ(Visible("a\x1b"
                    "b\tc\x01\x7f"),
            "a\xE2\x90\x9B"
            "b c\xE2\x90\x81\xE2\x90\xA1");
  EXPECT_EQ(Visible("caf\xe9 \x80"), "caf\xC3\xA9 \xE2\x82\xAC") << "not UTF-8: Windows-1252";
  EXPECT_EQ(Visible("caf\xC3\xA9"), "caf\xC3\xA9");
  EXPECT_EQ(KeyFromVisible("se0\xE2\x90\x9B"
                           "a1"),
            "se0\x1b"
            "a1");
  EXPECT_EQ(JsonString("q\"\\\r\n\x1b\xe9"), "\"q\\\"\\\\\\r\\n\\u001b\xC3\xA9\"");
  EXPECT_EQ(FindWalk("buildsortfieldexpressionlist"), FindWalk("sort-fields"));
  EXPECT_EQ(WalkForType(5)->member, "BuildTargetRLEventExpressionList");
  EXPECT_EQ(WalkForType(11), nullptr);
}

}  // namespace
}  // namespace kx::cli
