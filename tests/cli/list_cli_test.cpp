#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "inventory_view.h"
#include "run_cli.h"

namespace kx::cli {
namespace {

TEST(ListCliTest, DefaultListingShowsEveryExpressionWithVisibleKeys) {
  Result r = RunCli({"list", kSample});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out.find('\x1b'), std::string::npos) << "never a raw escape on a terminal";
  EXPECT_NE(r.out.find(Shown("ce0|a0|p0")), std::string::npos);
  EXPECT_NE(r.out.find("Target Record (Orders), Event1: BeforeInsert, Action1: Skip Record, "
                       "Parameter1: &7"),
            std::string::npos);
  // Both sides' filter 0 show although they share their key.
  EXPECT_NE(r.out.find("Source Filter(0)"), std::string::npos);
  EXPECT_NE(r.out.find("Target Filter(0)"), std::string::npos);
  EXPECT_NE(r.out.find("End Function"), std::string::npos) << "code modules in full";
  // Record layout 1 of the target ("Rejects") too, although the component walks layout 0.
  EXPECT_NE(r.out.find(Shown("trl1|f1")), std::string::npos);
  EXPECT_NE(r.out.find("Target Record (Rejects) Field (Reason)"), std::string::npos);
  EXPECT_NE(r.out.find("\n29 expressions\n"), std::string::npos);
  EXPECT_EQ(r.err, "");

  Result all = RunCli({"list", "--all-parameters", kSample});
  EXPECT_NE(all.out.find("\n38 expressions\n"), std::string::npos) << all.out;
}

TEST(ListCliTest, JsonListsTheSameRecordsWithEscapedKeys) {
  Result r = RunCli({"list", "--json", kSample});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out.find('\x1b'), std::string::npos);
  auto records = nlohmann::json::parse(r.out);
  ASSERT_EQ(records.size(), 29u);
  std::vector<int> types;
  for (const auto& rec : records) types.push_back(rec["ExpressionType"].get<int>());
  EXPECT_TRUE(std::is_sorted(types.begin(), types.end())) << "one walker after the other";
  EXPECT_EQ(types.front(), 0);
  EXPECT_EQ(types.back(), 10);
  const auto& field = records[21];
  EXPECT_EQ(field["ExpressionKey"], Key("trl0|f4"));
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
            "associated with an element of this collection: \"sfilt0\" (457)\n");
  Result j = RunCli({"list", "--json", "--walk", "BuildCompleteConversionExpressionList", kSample});
  EXPECT_EQ(j.code, 1);
  EXPECT_EQ(nlohmann::json::parse(j.out).size(), 19u);

  Result one = RunCli({"list", "--walk", "sort-fields", kSample});
  EXPECT_EQ(one.code, 0);
  EXPECT_NE(one.out.find("\n2 expressions\n"), std::string::npos);
}

class ListFilesTest : public ScratchTest {};

TEST_F(ListFilesTest, BadArgumentsAndBadDocuments) {
  Result unknown = RunCli({"list", "--walk", "nope", kSample});
  EXPECT_EQ(unknown.code, 2);
  EXPECT_NE(unknown.err.find("sort-fields"), std::string::npos);
  Result flag = RunCli({"list", "--walk", "sort-fields", "--all-parameters", kSample});
  EXPECT_EQ(flag.code, 2);

  Result bad = RunCli({"list", Write("bad.json", "{\n  \"source\": {\"filters\": [true]}\n}\n")});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("bad.json:2:26: source.filters[0]: expected a text"), std::string::npos)
      << bad.err;
  Result missing = RunCli({"list", (dir_ / "none.json").string()});
  EXPECT_EQ(missing.code, 1);
  EXPECT_NE(missing.err.find("(53)"), std::string::npos);

  // A walker that fails part way: what came before is printed, then the error.
  Write("a.txt", "module a");
  Result partial = RunCli({"list", Write("mods.json", R"({"source": {"type": "S", "filters": ["f"]},
                     "target": {"type": "T", "codeModules": ["a.txt", "gone.txt"]}})")});
  EXPECT_EQ(partial.code, 1);
  EXPECT_NE(partial.out.find("module a"), std::string::npos);
  EXPECT_NE(partial.out.find("\n2 expressions\n"), std::string::npos);
  EXPECT_NE(partial.err.find("BuildCodeModuleExpressionList stopped: File not found"),
            std::string::npos);
}

TEST_F(ListFilesTest, EveryRecordLayoutIsListedAsTheComponentWouldListItAsLayoutZero) {
  const std::string path = Write("c.json", kThreeLayouts);
  for (bool all : {false, true}) {
    std::vector<std::string> args = {"list", "--json"};
    if (all) args.push_back("--all-parameters");
    args.push_back(path);
    Result r = RunCli(args);
    ASSERT_EQ(r.code, 0) << r.err;
    auto ours = nlohmann::json::parse(r.out);
    struct Case {
      int type;
      const char* walk;
      const char* side;
      int layouts;
    };
    for (const Case& c :
         {Case{4, "source-layout-events", "source", 3},
          Case{5, "target-layout-events", "target", 3}, Case{8, "target-fields", "target", 3}}) {
      for (int k = 0; k < c.layouts; ++k) {
        SCOPED_TRACE(std::string(c.walk) + " layout " + std::to_string(k) + (all ? " all" : ""));
        // The document with layout k moved to the front, walked by the component alone.
        auto doc = nlohmann::ordered_json::parse(kThreeLayouts);
        auto& layouts = doc[c.side]["recordLayouts"];
        std::swap(layouts[0], layouts[static_cast<size_t>(k)]);
        const std::string swapped = Write("swapped.json", doc.dump());
        std::vector<std::string> walk_args = {"list", "--json", "--walk", c.walk};
        if (all && c.type != 8) walk_args.push_back("--all-parameters");
        walk_args.push_back(swapped);
        Result component = RunCli(walk_args);
        ASSERT_EQ(component.code, 0) << component.err;
        nlohmann::json expected = nlohmann::json::array();
        for (auto record : nlohmann::json::parse(component.out)) {
          std::string key = record["ExpressionKey"];
          key.replace(key.find('0'), 1, std::to_string(k));
          record["ExpressionKey"] = key;
          record["RLOrdinalPosition"] = k;
          expected.push_back(record);
        }
        nlohmann::json listed = nlohmann::json::array();
        for (const auto& record : ours)
          if (record["ExpressionType"] == c.type && record["RLOrdinalPosition"] == k)
            listed.push_back(record);
        EXPECT_EQ(listed, expected);
        if (c.type == 4 && k == 1) {
          EXPECT_EQ(listed.size(), all ? 4u : 3u);
        }
        if (c.type == 8 && k == 2) {
          EXPECT_EQ(listed.size(), 1u);
        }
      }
    }
  }
  // --walk keeps to the component's layout 0.
  Result walk = RunCli({"list", "--walk", "source-layout-events", path});
  EXPECT_NE(walk.out.find("\n1 expression\n"), std::string::npos) << walk.out;
  Result table = RunCli({"list", path});
  EXPECT_NE(table.out.find("Source Record (B), Event2: E2, Action1: Log, Parameter1: Message"),
            std::string::npos)
      << table.out;
}

TEST(InventoryViewTest, ControlCharactersAndForeignBytesAreShownNotSent) {
  EXPECT_EQ(Visible(Key("a|b\tc\x01\x7f")), Shown("a|b c\xE2\x90\x81\xE2\x90\xA1"));
  EXPECT_EQ(Visible("caf\xe9 \x80"), "caf\xC3\xA9 \xE2\x82\xAC") << "not UTF-8: Windows-1252";
  EXPECT_EQ(Visible("caf\xC3\xA9"), "caf\xC3\xA9");
  EXPECT_EQ(KeyFromVisible(Shown("se0|a1")), Key("se0|a1"));
  EXPECT_EQ(JsonString("q\"\\\r\n\x1b\xe9"), "\"q\\\"\\\\\\r\\n\\u001b\xC3\xA9\"");
  EXPECT_EQ(FindWalk("buildsortfieldexpressionlist"), FindWalk("sort-fields"));
  EXPECT_EQ(WalkForType(5)->member, "BuildTargetRLEventExpressionList");
  EXPECT_EQ(WalkForType(11), nullptr);
}

}  // namespace
}  // namespace kx::cli
