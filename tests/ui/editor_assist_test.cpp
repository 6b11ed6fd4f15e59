#include "ui/editor_assist.h"

#include <gtest/gtest.h>

namespace kx::ui {
namespace {

// "|" marks the caret in these texts.
std::pair<std::string, int32_t> Caret(std::string text) {
  const size_t at = text.find('|');
  text.erase(at, 1);
  return {text, static_cast<int32_t>(at + 1)};
}

TEST(EditorAssist, CallsAtTheCaretInnermostFirst) {
  struct Case {
    const char* text;
    std::vector<CallSite> calls;
  };
  const Case cases[] = {
      {"Left$(|", {{"Left$", 6, 0}}},
      {"Left$ ( x, |", {{"Left$", 7, 1}}},
      {"Left$(UCase$(x), |", {{"Left$", 6, 1}}},
      {"Left$(UCase$(x|), 2)", {{"UCase$", 13, 0}, {"Left$", 6, 0}}},
      {"Left$(x, 2)|", {}},
      {"Left$(\"a, (b\", |", {{"Left$", 6, 1}}},  // commas and parentheses in strings
      {"Left$(\"a \"\", b|", {{"Left$", 6, 0}}},  // "" inside a string
      {"Left$(x ' Mid$(a, |", {}},                // in a comment
      {"Left$(x ' c\r\n, |", {{"Left$", 6, 1}}},  // the comment ends with its line
      {"(a, |", {{"", 1, 1}}},
  };
  for (const Case& c : cases) {
    auto [text, caret] = Caret(c.text);
    EXPECT_EQ(CallsAt(text, caret), c.calls) << c.text;
  }
}

TEST(EditorAssist, CompletionSitesAndArgumentSpans) {
  using K = CompletionSite::Kind;
  struct Case {
    const char* text;
    std::optional<CompletionSite> site;
  };
  const Case cases[] = {
      {"x & UCa|", CompletionSite{K::kWord, "UCa", ""}},
      {"Left|$(", CompletionSite{K::kWord, "Left", ""}},
      {"|", CompletionSite{K::kWord, "", ""}},
      {"x + 12|", std::nullopt},
      {"Records(\"Cu|", CompletionSite{K::kRecord, "Cu", ""}},
      {"records ( \"|", CompletionSite{K::kRecord, "", ""}},
      {"Records(\"Customer\").Fields(\"Na|", CompletionSite{K::kField, "Na", "Customer"}},
      {"Targets(0).Records(\"Orders\") . fields(\"|", CompletionSite{K::kField, "", "Orders"}},
      {"Fields(\"Na|", std::nullopt},
      {"Left$(\"Cu|", std::nullopt},
      {"' Records(\"Cu|", std::nullopt},
  };
  for (const Case& c : cases) {
    auto [text, caret] = Caret(c.text);
    EXPECT_EQ(CompletionAt(text, caret), c.site) << c.text;
  }

  const std::string mid = "Mid$(String As String, Start As Long, [Length As Long = -1]) As String";
  auto span = [&](const std::string& prototype, int32_t index) -> std::string {
    auto s = ArgumentSpan(prototype, index);
    return s ? prototype.substr(s->first, s->second - s->first) : "-";
  };
  EXPECT_EQ(span(mid, 0), "String As String");
  EXPECT_EQ(span(mid, 1), "Start As Long");
  EXPECT_EQ(span(mid, 2), "[Length As Long = -1]");
  EXPECT_EQ(span(mid, 3), "-");
  EXPECT_EQ(span("Now() As Date", 0), "-");
  EXPECT_EQ(span("Choose(Index As Long, Values() As Variant)", 1), "Values() As Variant");
}

TEST(EditorAssist, CandidatesStartWithThePrefixSortedWithoutRepeats) {
  struct Fake : EditorAssist {
    std::vector<std::string> Words() override {
      return {"UCase$", "Trim$", "ucount", "If", "UCase$"};
    }
    std::vector<std::string> RecordNames() override { return {"Orders", "Customer", "Header"}; }
    std::vector<std::string> FieldNames(const std::string& record) override {
      asked.push_back(record);
      return {"Name", "CustomerNo", "Country"};
    }
    std::optional<FunctionHelp> Describe(const std::string&) override { return std::nullopt; }
    std::vector<std::string> asked;
  } fake;
  using K = CompletionSite::Kind;
  EXPECT_EQ(Candidates(fake, {K::kWord, "uc", ""}), (std::vector<std::string>{"UCase$", "ucount"}));
  EXPECT_EQ(Candidates(fake, {K::kRecord, "", ""}),
            (std::vector<std::string>{"Customer", "Header", "Orders"}));
  EXPECT_EQ(Candidates(fake, {K::kField, "C", "Customer"}),
            (std::vector<std::string>{"Country", "CustomerNo"}));
  EXPECT_EQ(fake.asked, std::vector<std::string>{"Customer"});  // only the record named
}

}  // namespace
}  // namespace kx::ui
