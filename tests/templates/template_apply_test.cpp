#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "dialog_builder.h"
#include "host/conversion_document.h"
#include "templates/template_apply.h"
#include "ui/headless/headless.h"
#include "ui/unanswered.h"

namespace kx {
namespace {

using ui::headless::HeadlessPromptView;

struct Param {
  std::string name, value;
};

struct ApplyTest : ::testing::Test {
  ui::headless::Environment env;
  StoredBuilder builder;
  ExpressionList list;

  std::shared_ptr<ExprTemplate> Use(const std::string& body, const std::vector<Param>& params) {
    auto t = std::make_shared<ExprTemplate>();
    t->Name("T");
    t->Body(body);
    for (const Param& p : params) t->ParameterValuebyName(p.name, p.value);
    t->ExtractandAddParams();
    ArmPrompts(*t);
    list.SetTemplateToUse(t);
    return t;
  }
  ExpressionList::Record AddRecord(const std::string& text, const std::string& name = "") {
    auto r = std::make_shared<ExpressionInfo>();
    r->ExpressionKey = "k" + std::to_string(list.Count() + 1);
    r->ExpressionText = text;
    r->ExpressionName = name;
    r->ReplacedExpression = "old";
    r->ReplacedSelectedText = "old";
    return list.Add(r);
  }
  // Queues one OK answer per value ("!" suffix ticks "same value").
  void Answer(const std::vector<std::string>& values) {
    for (std::string v : values) {
      const bool same = !v.empty() && v.back() == '!';
      if (same) v.pop_back();
      env.AnswerPrompt([v, same](HeadlessPromptView& view) {
        view.EnterValue(v);
        view.CheckSame(same);
        view.Press("cmdok");
      });
    }
  }
  bool Apply() {
    DialogPrompter prompter(env.Services(), builder);
    return ApplyTemplatetoStrings(list, prompter, &env.message_box());
  }
};

TEST_F(ApplyTest, FillsInLiteralsAndMarkers) {
  const struct {
    std::string body;
    std::vector<Param> params;
    std::string text, selected, filled;
  } cases[] = {
      // Parameters in collection order, each searched again from the start: A's value
      // brings in B, which is then replaced too.
      {"<<A>>-<<B>>", {{"A", "<<B>>"}, {"B", "b"}}, "x", "", "b-b"},
      {"<<B>>-<<A>>", {{"A", "<<B>>"}, {"B", "b"}}, "x", "", "b-b"},
      {"<<A>> & <<A>>", {{"A", "a&b"}}, "x", "", "a&b & a&b"},
      {"f(<<H>>, <<C>>)", {{"H", "^h"}, {"C", "^c"}}, "whole", "part", "f(part, whole)"},
      {"<<F>>", {{"F", "^f"}}, "x", "", ""},  // no source side: no first field
      {"<<N>><<S>>", {{"N", "^C"}, {"S", ""}}, "x", "", "^C"},
      {"no parameters", {}, "x", "", "no parameters"},
  };
  for (const auto& c : cases) {
    list.RemoveAll();
    Use(c.body, c.params);
    auto r = AddRecord(c.text);
    r->SelectedText = c.selected;
    EXPECT_TRUE(Apply());
    EXPECT_EQ(r->ReplacedSelectedText, c.filled) << c.body;
    EXPECT_EQ(r->ReplacedExpression, c.filled) << c.body;
  }
  // Nothing to do: no template name, no records.
  list.RemoveAll();
  Use("<<A>>", {{"A", "a"}})->Name("");
  auto r = AddRecord("x");
  EXPECT_TRUE(Apply());
  EXPECT_EQ(r->ReplacedExpression, "old");

  // The first field comes from the source side.
  auto doc = host::ConversionDocument::Load(KX_SOURCE_DIR "/data/sample-conversion.json");
  list.SetSourceControl(doc->Source());
  Use("<<F>>", {{"F", "^f"}});
  EXPECT_TRUE(Apply());
  EXPECT_EQ(r->ReplacedExpression, "[RecordType]");
}

TEST_F(ApplyTest, PromptsOncePerParameterAndRecordUntilSameValue) {
  auto doc = host::ConversionDocument::Load(KX_SOURCE_DIR "/data/sample-conversion.json");
  list.SetSourceControl(doc->Source());
  Use("<<P>> & <<Q>> & <<P>>", {{"P", "^?"}, {"Q", "^s"}});
  auto r1 = AddRecord("one", "Amount");
  auto r2 = AddRecord("two");
  auto r3 = AddRecord("three");
  // Record 1 asks P and Q, Q with "same value"; records 2 and 3 ask P only.
  std::vector<std::string> prompts, targets;
  env.AnswerPrompt([&](HeadlessPromptView& v) {
    EXPECT_EQ(v.lbltemplate().Caption(), "<<P>> && <<Q>> && <<P>>");
    EXPECT_EQ(v.lbldesc().Caption(), "Parameter (P), Description - ");
    ASSERT_GT(v.ssdcbovalue().Rows(), 1);
    EXPECT_EQ(v.ssdcbovalue().Item(0), "     ");
    EXPECT_EQ(v.ssdcbovalue().Item(1).rfind("Records(\"", 0), 0u);
    prompts.push_back(v.lblprompt().Caption());
    targets.push_back(v.lbltrgfld().Caption());
    v.EnterValue("p1");
    v.Press("cmdok");
  });
  env.AnswerPrompt([&](HeadlessPromptView& v) {
    prompts.push_back(v.lblprompt().Caption());
    v.EnterValue("q");
    v.CheckSame(true);
    v.Press("cmdok");
  });
  Answer({"p2", "p3!"});
  EXPECT_TRUE(Apply());
  EXPECT_EQ(prompts,
            (std::vector<std::string>{"Enter a value for: <<P>>", "Enter a value for: <<Q>>"}));
  EXPECT_EQ(targets, std::vector<std::string>{"Target Field: Amount"});
  EXPECT_EQ(r1->ReplacedExpression, "p1 & q & p1");
  EXPECT_EQ(r2->ReplacedExpression, "p2 & q & p2");
  EXPECT_EQ(r3->ReplacedExpression, "p3 & q & p3");
  EXPECT_EQ(env.Prompt()->lbltrgfld().Caption(), "");  // records 2, 3 have no name
  EXPECT_TRUE(env.driver().Unused().empty());

  // Everything was answered with "same value": a further run asks nothing (an unanswered
  // prompt would throw) until the prompts are armed again.
  auto again = AddRecord("four");
  EXPECT_TRUE(Apply());
  EXPECT_EQ(again->ReplacedExpression, "p3 & q & p3");
  ArmPrompts(*list.TemplateToUse());
  EXPECT_THROW(Apply(), ui::Unanswered);
}

TEST_F(ApplyTest, CancelLeavesTheRestUntouched) {
  Use("<<P>>", {{"P", "^?"}});
  auto r1 = AddRecord("one");
  auto r2 = AddRecord("two");
  auto r3 = AddRecord("three");
  Answer({"p1"});
  env.AnswerPrompt([](HeadlessPromptView& v) {
    v.EnterValue("typed");
    v.Press("cmdcancel");
  });
  EXPECT_FALSE(Apply());
  EXPECT_EQ(r1->ReplacedExpression, "p1");
  for (const auto& r : {r2, r3}) {
    EXPECT_EQ(r->ReplacedExpression, "old");
    EXPECT_EQ(r->ReplacedSelectedText, "old");
  }
  EXPECT_TRUE(env.driver().Messages().empty());
}

TEST_F(ApplyTest, SplicesAroundTheSelection) {
  Use("[<<H>>]", {{"H", "^h"}});
  const struct {
    std::string text;
    int32_t row, col_start, col_end;
    std::string expression;
  } cases[] = {
      {"abcdef", 1, 2, 4, "ab[cd]ef"},
      {"abcdef", 1, 0, 6, "[cd]"},  // the whole text
      {"abcdef", 1, 0, 2, "[cd]cdef"},
      {"abcdef", 1, 4, 9, "abcd[cd]"},
      {"ab\r\ncdef", 2, 1, 3, "ab\r\nc[cd]f"},
      {"ab\r\ncdef", 2, -1, 1, "ab\r\n[cd]ef"},  // a line's first character
      {"abcdef", 0, 0, 0, "[cd]"},               // no selection
      {"abcdef", 3, 1, 2, "[cd]"},               // no such row
  };
  for (const auto& c : cases) {
    list.RemoveAll();
    auto r = AddRecord(c.text);
    r->SelectedText = "cd";
    r->SelRowStart = r->SelRowEnd = c.row;
    r->SelColStart = c.col_start;
    r->SelColEnd = c.col_end;
    EXPECT_TRUE(Apply());
    EXPECT_EQ(r->ReplacedSelectedText, "[cd]");
    EXPECT_EQ(r->ReplacedExpression, c.expression) << c.text << ' ' << c.col_start;
  }
}

TEST_F(ApplyTest, SelfReferenceIsFoundBeforeApplying) {
  auto t = Use("<<A>><<B>>", {{"A", "x<<A>>"}, {"B", "^?"}});
  EXPECT_EQ(SelfReferencingParameter(*t), "A");
  t->ParameterValuebyName("A", "<<B>>");
  EXPECT_EQ(SelfReferencingParameter(*t), std::nullopt);
  ExpressionInfo record;
  record.ExpressionText = "f(<<C>>)";
  auto c = Use("<<C>><<H>>", {{"C", "^c"}, {"H", "^h"}});
  EXPECT_EQ(SelfReferencingParameter(*c), std::nullopt);
  EXPECT_EQ(SelfReferencingParameter(*c, &record), "C");
  record.ExpressionText = "x";
  record.SelectedText = "<<H>>";
  EXPECT_EQ(SelfReferencingParameter(*c, &record), "H");
  EXPECT_EQ(DisplayBody("a & b && c"), "a && b &&&& c");

  // The dialog refuses an answer that contains its own token and asks again.
  Use("<<P>>", {{"P", "^?"}});
  auto r = AddRecord("x");
  Answer({"a<<P>>", "b"});
  EXPECT_TRUE(Apply());
  EXPECT_EQ(r->ReplacedExpression, "b");
  ASSERT_EQ(env.driver().Messages().size(), 1u);
  EXPECT_EQ(env.driver().Messages()[0].text,
            "The value may not contain <<P>>: filling it in would never end.");
}

}  // namespace
}  // namespace kx
