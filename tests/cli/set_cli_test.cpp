#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/conversion_document.h"
#include "inventory_view.h"
#include "run_cli.h"

namespace kx::cli {
namespace {

class SetCliTest : public SampleTest {
 protected:
  std::shared_ptr<host::ConversionDocument> Reload() {
    return host::ConversionDocument::Load(path_);
  }
};

TEST_F(SetCliTest, ReplacesOneExpressionAndSaves) {
  Result r = RunCli({"set", path_, "8", Shown("trl0|f1"), "CLng(0)"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, "Replaced Target Record (Orders) Field (Line)\n");
  auto doc = Reload();
  EXPECT_EQ(doc->Model().target->layouts[0].fields[1].expression, "CLng(0)");
  EXPECT_EQ(doc->Model().target->layouts[0].fields[0].expression,
            R"(Records("OrderLine").Fields("OrderNo"))");

  // A raw escape in the key works too; a kind-0 parameter is addressable as listed with
  // --all-parameters; TEXT "-" reads standard input, less its trailing line end.
  Result raw = RunCli({"set", path_, "2", Key("se0|a0|p0"), "-"}, "Counter\r\n");
  ASSERT_EQ(raw.code, 0) << raw.err;
  EXPECT_EQ(Reload()->Model().source->events[0].actions[0].parameters[0], "Counter");

  Result filter = RunCli({"set", path_, "7", "sfilt0", "True"});
  ASSERT_EQ(filter.code, 0);
  EXPECT_EQ(Reload()->Model().target->filters[0], "True");
  EXPECT_NE(Reload()->Model().source->filters[0], "True") << "type tells the sides apart";
}

TEST_F(SetCliTest, CodeModulesAreWrittenInPlaceWithAWarningOrTruncated) {
  const std::string module = (dir_ / "modules" / "date_helpers.txt").string();
  const std::string before = ReadWholeFile(module);
  const std::string doc_before = ReadWholeFile(path_);
  Result r = RunCli({"set", path_, "10", module, "' short"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(ReadWholeFile(module), "' short" + before.substr(7));
  EXPECT_EQ(ReadWholeFile(path_), doc_before) << "the document itself is not rewritten";
  EXPECT_EQ(r.err, "kxexpr: set: warning: " + module + " keeps the last " +
                       std::to_string(before.size() - 7) +
                       " bytes of its old text after the new one (a code module is written "
                       "over, not truncated); --truncate writes the new text alone\n");

  // A text as long as the old one or longer needs no warning.
  Result longer = RunCli({"set", path_, "10", module, before + "' more"});
  ASSERT_EQ(longer.code, 0) << longer.err;
  EXPECT_EQ(longer.err, "");

  Result cut = RunCli({"set", "--truncate", path_, "10", module, "-"}, "' only\n");
  ASSERT_EQ(cut.code, 0) << cut.err;
  EXPECT_EQ(cut.err, "");
  EXPECT_EQ(ReadWholeFile(module), "' only");
  EXPECT_EQ(ReadWholeFile(path_), doc_before);
  EXPECT_EQ(RunCli({"set", "--truncate", path_, "6", "sfilt0", "x"}).code, 2)
      << "--truncate is for code modules";
}

TEST(TextFromStandardInputTest, LfBecomesCrLfAndOneTrailingLineEndGoes) {
  const std::pair<std::string, std::string> cases[] = {
      {"CLng(0)\n", "CLng(0)"},
      {"CLng(0)\r\n", "CLng(0)"},
      {"CLng(0)", "CLng(0)"},
      {"If a Then\n  1\nEnd If\n", "If a Then\r\n  1\r\nEnd If"},
      {"If a Then\r\n  1\nEnd If", "If a Then\r\n  1\r\nEnd If"},
      {"a\n\n", "a\r\n"},
      {"\n", ""},
      {"", ""},
      {"a\rb\n", "a\rb"},
  };
  for (const auto& [raw, text] : cases) EXPECT_EQ(TextFromStandardInput(raw), text) << raw;
}

TEST_F(SetCliTest, StandardInputTextsUseTheLanguagesLineBreak) {
  Result r =
      RunCli({"set", path_, "8", Key("trl0|f1"), "-"}, "If x Then\n  1\nElse\n  2\nEnd If\n");
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(Reload()->Model().target->layouts[0].fields[1].expression,
            "If x Then\r\n  1\r\nElse\r\n  2\r\nEnd If");
  // Saved as an array of lines, as every text with line breaks is.
  EXPECT_NE(ReadWholeFile(path_).find("\"If x Then\",\n"), std::string::npos);
}

TEST_F(SetCliTest, CheckRefusesATextWithErrors) {
  const std::string before = ReadWholeFile(path_);
  Result bad = RunCli({"set", "--check", path_, "8", Key("trl0|f1"), "-"}, "If x Then\n  1\n");
  EXPECT_EQ(bad.code, 1);
  EXPECT_EQ(bad.err.substr(0, bad.err.find('\n')),
            "kxexpr: set: the new text has errors; " + path_ + " is left as it is");
  EXPECT_NE(bad.err.find("\n<stdin>:1:1: If without End If"), std::string::npos) << bad.err;
  EXPECT_EQ(ReadWholeFile(path_), before);

  Result arg = RunCli({"set", "--check", path_, "6", "sfilt0", "1 +"});
  EXPECT_EQ(arg.code, 1);
  EXPECT_NE(arg.err.find("\nTEXT:1:4: "), std::string::npos) << arg.err;
  EXPECT_EQ(ReadWholeFile(path_), before);

  Result good = RunCli({"set", "--check", path_, "6", "sfilt0", "1 + 2"});
  EXPECT_EQ(good.code, 0) << good.err;
  EXPECT_EQ(Reload()->Model().source->filters[0], "1 + 2");
  EXPECT_EQ(
      RunCli({"set", "--check", path_, "10", (dir_ / "modules" / "date_helpers.txt").string(), "x"})
          .code,
      2)
      << "the checker reads expressions, not code modules";
}

TEST_F(SetCliTest, ReachesEveryRecordLayout) {
  WriteWholeFile(path_, kThreeLayouts);
  struct Case {
    int type;
    std::string key;       // '|' for the separator
    std::string saved_at;  // where the saved document holds the text
  };
  const Case cases[] = {
      {4, "srl1|e0|a1|p0", "/source/recordLayouts/1/events/0/actions/1/parameters/0"},
      // A kind-1 parameter, listed with --all-parameters.
      {4, "srl1|e0|a1|p1", "/source/recordLayouts/1/events/0/actions/1/parameters/1"},
      {5, "srl1|e0|a0|p0", "/target/recordLayouts/1/events/0/actions/0/parameters/0"},
      {8, "trl1|f1", "/target/recordLayouts/1/fields/1/expression"},
      {8, "trl2|f0", "/target/recordLayouts/2/fields/0/expression"},
      {8, "trl0|f0", "/target/recordLayouts/0/fields/0/expression"},
  };
  auto saved = [&](const std::string& at) {
    return nlohmann::json::parse(ReadWholeFile(path_)).at(nlohmann::json::json_pointer(at));
  };
  int n = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.key);
    const std::string text = "\"new" + std::to_string(++n) + "\"";
    Result r = RunCli({"set", path_, std::to_string(c.type), Key(c.key), text});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(saved(c.saved_at), text);
  }
  // Nothing else moved: layout 0 of the source still says what it said.
  EXPECT_EQ(saved("/source/recordLayouts/0/events/0/actions/0/parameters/0"), "\"a0\"");
  EXPECT_EQ(RunCli({"set", path_, "8", Key("trl3|f0"), "1"}).code, 1);
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
