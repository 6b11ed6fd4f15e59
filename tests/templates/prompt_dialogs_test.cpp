#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "dialog_builder.h"
#include "runtime/error.h"
#include "templates/frm_inputbox.h"
#include "templates/frm_prompt.h"
#include "ui/headless/headless.h"
#include "ui/unanswered.h"

namespace kx {
namespace {

using ui::headless::HeadlessInputBoxView;
using ui::headless::HeadlessPromptView;

// A host record reached by name: `missing` raises 438, fieldname fails at `bad_field`.
struct Record : Dispatch {
  Variant Get(std::string_view name, const Arguments&) override {
    if (IsMember(name, missing)) RaiseNoMember(name);
    if (IsMember(name, "FieldCount")) return static_cast<int16_t>(fields.size());
    if (IsMember(name, "FieldPos")) return pos;
    if (pos == bad_field) Raise(5);
    return fields.at(static_cast<size_t>(pos));
  }
  void Put(std::string_view name, const Arguments&, const Variant& value) override {
    if (IsMember(name, missing)) RaiseNoMember(name);
    pos = value.ToInt16();
  }
  std::vector<std::string> fields;
  int16_t pos = 0;
  std::string missing;
  int bad_field = -1;
};

struct PromptTest : ::testing::Test {
  ui::headless::Environment env;
  StoredBuilder builder;
};

TEST_F(PromptTest, SourceFieldListStepsOverFailures) {
  frmprompt prompt(env.Services(), builder);
  prompt.Load();
  ui::Combo& combo = env.Prompt()->ssdcbovalue();
  const struct {
    std::vector<std::string> fields;
    std::string missing;
    int bad_field;
    std::vector<std::string> rows;
  } cases[] = {
      {{"a", "b", "c"}, "", -1, {"[a]", "[b]", "[c]"}},
      {{}, "", -1, {}},
      {{"a", "b", "c"}, "", 1, {"[a]", "[c]"}},
      {{"a", "b", "c"}, "FieldCount", -1, {}},
      {{"a", "b", "c"}, "fieldname", -1, {}},
      {{"a", "b", "c"}, "FieldPos", -1, {"[b]", "[b]", "[b]"}},  // cannot move
  };
  for (const auto& c : cases) {
    auto record = std::make_shared<Record>();
    record->fields = c.fields;
    record->pos = c.fields.empty() ? 7 : 1;  // restored, or untouched when there are none
    record->missing = c.missing;
    record->bad_field = c.bad_field;
    combo.AddItem("stale");
    prompt.BuildSourceFieldList(record);
    std::vector<std::string> rows;
    for (int32_t i = 0; i < combo.Rows(); ++i) rows.push_back(combo.Item(i));
    EXPECT_EQ(rows, c.rows) << c.missing << c.bad_field;
    EXPECT_EQ(record->pos, c.fields.empty() ? 7 : 1) << c.missing;
  }
  EXPECT_TRUE(env.driver().Messages().empty());
}

TEST_F(PromptTest, PromptOutcomes) {
  frmprompt prompt(env.Services(), builder);
  prompt.Load();
  HeadlessPromptView& view = *env.Prompt();
  EXPECT_EQ(view.lbldesc().FontName(), "Tahoma");  // the builder's font
  view.ssdcbovalue().SetBounds({0, 0, 3000, 300});
  view.DropDown();
  EXPECT_EQ(view.ssdcbovalue().ListWidth(), 2900);

  env.AnswerPrompt([](HeadlessPromptView& v) {
    v.EnterValue("[b]");
    v.CheckSame(true);
    v.Press("cmdok");
  });
  prompt.Show();
  EXPECT_EQ(prompt.Outcome(), "-1");
  EXPECT_EQ(prompt.Value(), "[b]");  // hidden, not unloaded: still readable
  EXPECT_TRUE(prompt.SameValue());

  env.AnswerPrompt([](HeadlessPromptView& v) {
    v.EnterValue("typed");
    v.Press("cmdcancel");
  });
  prompt.Show();
  EXPECT_EQ(prompt.Outcome(), "0");
  prompt.Unload();
  EXPECT_FALSE(prompt.IsLoaded());
  EXPECT_THROW(frmprompt(env.Services(), builder).Show(), ui::Unanswered);
}

TEST_F(PromptTest, InputBoxResults) {
  builder.title = "Conversion 1";
  const struct {
    std::string typed, button, result;  // no button: Enter ends the typing
  } cases[] = {
      {"Rate", "OKButton", "Rate"},
      {"Rate", "CancelButton", ""},
      {"\r", "", ""},
      {"Rate\r", "", "Rate"},
  };
  for (const auto& c : cases) {
    env.AnswerInputBox([&](HeadlessInputBoxView& v) {
      EXPECT_EQ(v.Form().Caption(), "Conversion 1");
      EXPECT_EQ(v.lbltext().Caption(), "Name:");
      EXPECT_EQ(v.txtinput().FontName(), "Tahoma");
      v.TypeInput(c.typed);
      if (!c.button.empty()) v.Press(c.button);
      EXPECT_FALSE(v.Form().Loaded()) << c.typed;
    });
    EXPECT_EQ(AskInputBox(env.Services(), builder, "Name:"), c.result) << c.typed;
  }
  try {
    AskInputBox(env.Services(), builder, "Name:");
    ADD_FAILURE() << "the input box ran without an answer";
  } catch (const ui::Unanswered& e) {
    EXPECT_NE(std::string(e.what()).find("frminputbox"), std::string::npos) << e.what();
  }
}

}  // namespace
}  // namespace kx
