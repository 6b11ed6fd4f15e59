#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "runtime/files.h"
#include "scratch_dir.h"
#include "templates/frm_template.h"
#include "ui/headless/headless.h"

namespace kx {
namespace {

namespace fs = std::filesystem;
using Manager = ui::headless::HeadlessTemplateManagerView;
using Editor = ui::headless::HeadlessTemplateEditorView;
using Names = std::vector<std::string>;

constexpr std::string_view kTwo =
    "@BeginTemplate IfBlank\r\n  @BeginBody\r\nIf <<F>> = \"\" Then <<D>> Else <<F>>\r\n"
    "  @EndBody\r\n  @BeginParameter\r\n    @Name=F\r\n    @DefaultValue=^f\r\n"
    "  @EndParameter\r\n  @BeginParameter\r\n    @Name=D\r\n    @DefaultValue=0\r\n"
    "  @EndParameter\r\n@EndTemplate IfBlank\r\n"
    "@BeginTemplate Trim\r\n  @BeginDescription\r\n    Trims\r\n  @EndDescription\r\n"
    "  @BeginBody\r\nTrim(<<V>>)\r\n  @EndBody\r\n  @BeginParameter\r\n    @Name=V\r\n"
    "    @DefaultValue=^c\r\n  @EndParameter\r\n@EndTemplate Trim\r\n";

struct TemplateDialogs : ::testing::Test {
  ui::headless::Environment env;
  ScratchDir scratch;
  const fs::path& dir = scratch.path;
  std::string file = scratch.Write("t.tpl", std::string(kTwo));

  TemplateDialogContext Context() { return {env.Services(), "Product", ""}; }
  // The names of the templates in the file as it is now.
  Names OnDisk() {
    ExprTemplates set;
    EXPECT_TRUE(set.LoadFrom(file));
    Names names;
    for (const ExprTemplateRef& t : set) names.push_back(t->Name());
    return names;
  }
  std::string LastMessage() {
    return env.driver().Messages().empty() ? "" : env.driver().Messages().back().text;
  }
  // Runs the manager on the file; `user` acts and must close it.
  void RunManager(std::function<void(Manager&)> user, frmtemplate::ApplyTemplate apply = {}) {
    env.AnswerTemplateManager(std::move(user));
    frmtemplate manager(Context(), std::move(apply));
    manager.Show(file, "trim");
  }
};

TEST_F(TemplateDialogs, AddEditAndRemoveAreSavedAtOnceInPlace) {
  env.AnswerTemplateEditor([](Editor& e) {
    e.EnterName("  Wrap ");
    e.EnterDescription("Wraps\r\ntwice");
    e.ReplaceBody("<<A>> & <<B>>");
    e.EditParameter("A", 2, "Highlighted Text");
    e.EditParameter("B", 1, "the b");
    e.Press("cmdok");
  });
  env.AnswerTemplateEditor([](Editor& e) {
    EXPECT_EQ(e.txtname().Text(), "IfBlank");
    EXPECT_EQ(e.ssdgridparams().CellText(0, 2), "First Source Field");
    e.EnterName("Blank");
    e.ReplaceBody("<<D>> + <<N>>");
    e.Press("cmdok");
  });
  env.driver().QueueMessageAnswer(ui::kAnswerNo);
  env.driver().QueueMessageAnswer(ui::kAnswerYes);
  RunManager([&](Manager& m) {
    EXPECT_EQ(m.ssdgridtemplates().CurrentRow(), 1);  // "trim" chosen, case ignored
    EXPECT_EQ(m.ssdgridtemplates().CellText(1, 1), "Trims");
    EXPECT_EQ(m.ssdgridparams().CellText(0, 2), "Current Contents");
    m.Press("cmdadd");
    EXPECT_EQ(OnDisk(), (Names{"IfBlank", "Trim", "Wrap"}));
    EXPECT_EQ(m.ssdgridtemplates().CurrentRow(), 2);
    EXPECT_EQ(m.ssdgridparams().CellText(0, 2), "Highlighted Text");
    m.DoubleClickTemplate(0);  // edits
    EXPECT_EQ(OnDisk(), (Names{"Blank", "Trim", "Wrap"}));
    m.Press("cmdremove");  // No
    m.ChooseTemplate("Trim");
    m.Press("cmdremove");  // Yes
    EXPECT_EQ(m.Names(), (Names{"Blank", "Wrap"}));
    EXPECT_EQ(m.ssdgridtemplates().CurrentRow(), 1);
    m.Press("cmdclose");
  });
  ExprTemplates set;
  ASSERT_TRUE(set.LoadFrom(file));
  ASSERT_EQ(set.Count(), 2);
  ExprTemplateRef blank = set.Item("Blank"), wrap = set.Item("Wrap");
  ASSERT_EQ(blank->ParameterCount(), 2);
  EXPECT_EQ(blank->ParameterbyName("D")->DefaultValue(), "0");  // kept from the old D
  EXPECT_EQ(blank->ParameterbyName("N")->DefaultValue(), "");
  EXPECT_EQ(wrap->Description(), "Wraps\r\ntwice");
  EXPECT_EQ(wrap->ParameterbyName("A")->DefaultValue(), "^h");
  EXPECT_EQ(wrap->ParameterbyName("B")->Description(), "the b");
  EXPECT_EQ(env.driver().Messages()[0].text, "Remove the template \"Blank\" from " + file + "?");
  EXPECT_TRUE(env.driver().Unused().empty());
}

TEST_F(TemplateDialogs, TheEditorRefusesWhatCannotBeKeptAndCancelChangesNothing) {
  const struct {
    std::string name, body, default_value, message;
  } cases[] = {
      {" ", "x", "", "Enter a name for the template."},
      {"trim", "x", "", "A template named \"Trim\" already exists. Choose another name."},
      {"New", "a <<b>> <<c", "", "The body has a \"<<\" that no \">>\" follows."},
      {"New", "<<a>> <<A>>", "", "Two parameters of the body differ only in letter case."},
      {"New", "x\r\n @EndBody", "", "A line that reads only @EndBody or @EndDescription"},
      {"New", "<<a>>", "<<a>>", "The value may not contain <<a>>"},
  };
  const std::string before = ReadWholeFile(file);
  for (const auto& c : cases) {
    env.AnswerTemplateEditor([&](Editor& e) {
      e.EnterName(c.name);
      e.ReplaceBody(c.body);
      if (!c.default_value.empty()) e.EditParameter(0, 2, c.default_value);
      e.Press("cmdok");
      EXPECT_TRUE(e.Form().IsShown()) << c.message;
      EXPECT_EQ(LastMessage().substr(0, c.message.size()), c.message);
      e.Press("cmdcancel");
    });
    RunManager([](Manager& m) {
      m.Press("cmdadd");
      m.Press("cmdclose");
    });
    EXPECT_EQ(ReadWholeFile(file), before) << c.message;
  }
  // Renaming a template to its own name in other letters is no clash.
  env.AnswerTemplateEditor([](Editor& e) {
    e.EnterName("TRIM");
    e.Press("cmdok");
  });
  RunManager([](Manager& m) {
    m.Press("cmdedit");
    m.Press("cmdclose");
  });
  EXPECT_EQ(OnDisk(), (Names{"IfBlank", "TRIM"}));
  EXPECT_NE(ReadWholeFile(file), before);
}

TEST_F(TemplateDialogs, TheParameterGridFollowsTheBodyAsItIsTyped) {
  env.AnswerTemplateEditor([](Editor& e) {
    const struct {
      std::string typed;
      Names names;
    } steps[] = {
        {"If <<Fie", {}},
        {"ld>> = <<", {"Field"}},
        {"Def", {"Field"}},
        {"ault>> Then <<x <<Field>>", {"Field", "Default"}},
    };
    for (const auto& step : steps) {
      e.TypeBody(step.typed);
      EXPECT_EQ(e.Names(), step.names) << e.txtbody().Text();
    }
    EXPECT_EQ(e.ValueChoices(), (Names{"Current Contents", "First Source Field", "Highlighted Text",
                                       "Prompt for Value"}));
    e.EditParameter("Default", 2, "Prompt for Value");
    e.EditParameter("Default", 1, "what to put");
    e.ReplaceBody("<<Field>>");
    EXPECT_EQ(e.Names(), Names{"Field"});
    e.ReplaceBody("<<Field>> <<Default>>");  // what was entered comes back
    EXPECT_EQ(e.ssdgridparams().CellText(1, 1), "what to put");
    EXPECT_EQ(e.ssdgridparams().CellText(1, 2), "Prompt for Value");
    e.EditParameter("Field", 2, "^h");  // a marker typed shows as its label
    EXPECT_EQ(e.ssdgridparams().CellText(0, 2), "Highlighted Text");
    e.EnterName("Typed");
    e.Press("cmdok");
  });
  ExprTemplates set;
  frmtempladd editor(Context());
  ExprTemplateRef made = editor.Edit(nullptr, set);
  ASSERT_TRUE(made);
  EXPECT_EQ(made->Body(), "<<Field>> <<Default>>");
  EXPECT_EQ(made->ParameterbyName("Field")->Value(), "^h");
  EXPECT_EQ(made->ParameterbyName("Default")->DefaultValue(), "^?");
  EXPECT_EQ(set.Count(), 0);
}

TEST_F(TemplateDialogs, ValuesTakeTheMarkerLabelsAndApplyClosesOnlyWhenApplied) {
  std::vector<std::string> applied;
  int refusals = 1;
  RunManager(
      [&](Manager& m) {
        EXPECT_EQ(m.ValueChoices(),
                  (Names{"Current Contents", "First Field Name", "Highlighted Text",
                         "Prompt for Value", "Use Default Value"}));
        m.ChooseTemplate("IfBlank");
        EXPECT_EQ(m.lblbody().Caption(), "If <<F>> = \"\" Then <<D>> Else <<F>>");
        const struct {
          std::string picked, value, shown;
        } steps[] = {
            {"Prompt for Value", "^?", "Prompt for Value"},
            {"First Field Name", "^f", "First Field Name"},
            {"literal", "literal", "literal"},
            {"x<<D>>", "literal", "literal"},  // refused: it names itself
            {"Use Default Value", "0", "0"},
        };
        for (const auto& s : steps) {
          m.EditValue("D", s.picked);
          EXPECT_EQ(m.ssdgridparams().CellText(1, 2), s.shown) << s.picked;
        }
        EXPECT_EQ(LastMessage(), "The value may not contain <<D>>: filling it in would never end.");
        m.Press("cmdapply");  // refused by the caller: stays open
        EXPECT_TRUE(m.Form().IsShown());
        m.EditValue("D", "^h");
        m.Press("cmdapply");
      },
      [&](const ExprTemplateRef& chosen) {
        applied.push_back(chosen->ParameterbyName("D")->Value());
        return refusals-- == 0;
      });
  EXPECT_EQ(applied, (Names{"0", "^h"}));
  EXPECT_EQ(OnDisk(), (Names{"IfBlank", "Trim"}));  // values are not saved
}

TEST_F(TemplateDialogs, AFailedSaveLeavesTheFileAndTheListAsTheyWere) {
  const std::string before = ReadWholeFile(file);
  ASSERT_EQ(::chmod(file.c_str(), 0444), 0);
  env.AnswerTemplateEditor([](Editor& e) {
    e.EnterName("New");
    e.Press("cmdok");
  });
  env.driver().QueueMessageAnswer(ui::kAnswerYes);
  RunManager([&](Manager& m) {
    m.Press("cmdadd");
    EXPECT_EQ(m.Names(), (Names{"IfBlank", "Trim"}));
    EXPECT_NE(LastMessage().find("could not be saved to " + file), std::string::npos);
    m.Press("cmdremove");
    EXPECT_EQ(m.Names(), (Names{"IfBlank", "Trim"}));
    EXPECT_EQ(m.ssdgridtemplates().CurrentRow(), 1);
    m.Press("cmdclose");
  });
  EXPECT_EQ(ReadWholeFile(file), before);

  // A file that did not load completely is not overwritten with what was read of it.
  ::chmod(file.c_str(), 0600);
  WriteWholeFile(file, std::string(kTwo) + "garbage\r\n");
  RunManager([&](Manager& m) {
    EXPECT_EQ(m.Names(), (Names{"IfBlank", "Trim"}));
    m.Press("cmdadd");
    EXPECT_NE(LastMessage().find("could not be read completely"), std::string::npos);
    m.Press("cmdclose");
  });
  EXPECT_EQ(env.driver().Messages()[3].text, "Template file: " + file + " is invalid.");
  EXPECT_EQ(ReadWholeFile(file), std::string(kTwo) + "garbage\r\n");
}

TEST_F(TemplateDialogs, AnotherFileIsChosenThroughTheFileDialog) {
  const std::string other = (dir / "new.tpl").string();
  env.driver().QueueFile(std::nullopt);
  env.driver().QueueFile(other);
  env.AnswerTemplateEditor([](Editor& e) {
    e.EnterName("Only");
    e.Press("cmdok");
  });
  RunManager([&](Manager& m) {
    m.Press("cmdfile");  // cancelled
    EXPECT_EQ(m.lblfile().Caption(), file);
    m.Press("cmdfile");
    EXPECT_EQ(m.lblfile().Caption(), other);
    EXPECT_TRUE(m.Names().empty());
    EXPECT_FALSE(m.cmdapply().Enabled());
    m.Press("cmdadd");
    m.Press("cmdclose");
  });
  EXPECT_EQ(env.driver().FileRequests()[0].filter,
            "Template Files (*.tpl)|*.tpl|All Files (*.*)|*.*");
  EXPECT_EQ(OnDisk(), (Names{"IfBlank", "Trim"}));
  file = other;
  EXPECT_EQ(OnDisk(), Names{"Only"});
}

}  // namespace
}  // namespace kx
