#include <gtest/gtest.h>

#include <set>

#include "builder_rig.h"
#include "host/conversion_document.h"
#include "runtime/files.h"
#include "ui/unanswered.h"

namespace kx {
namespace {

using View = BuilderRig::View;
using Messages = std::vector<ui::headless::ShownMessage>;

TEST(ExprBldWindow, FlagsDecideTemplateValidationAndParameterCommandsOnEveryShow) {
  for (int first = 0; first < 8; first += 3) {  // 000, 011, 110 and their opposites
    BuilderRig rig;
    for (int flags : {first, 7 - first}) {  // the second Show reuses the window
      bool validation = flags & 1, templates = flags & 2, parameter = flags & 4;
      rig.builder->AllowValidation(validation);
      rig.builder->AllowTemplates(templates);
      rig.builder->ParameterButtonVisible(parameter);
      rig.ShowModal([&](View& v) {
        EXPECT_EQ(v.tbar().Button(23).Key() + v.tbar().Button(25).Key(), "ValidateTemplate");
        EXPECT_EQ(v.Menu("mnuToolsValidate").Visible(), validation) << flags;
        EXPECT_EQ(v.tbar().Button(23).Enabled(), validation) << flags;
        EXPECT_EQ(v.Menu("mnuToolsTemplate").Visible(), templates) << flags;
        EXPECT_EQ(v.tbar().Button(25).Enabled(), templates) << flags;
        EXPECT_EQ(v.Command("cmdParam").Visible(), parameter) << flags;
        v.Press("cmdcancel");
      });
    }
  }
}

TEST(ExprBldWindow, OkWritesTheTextCancelAndCloseBoxKeepExpression) {
  const std::pair<std::function<void(View&)>, std::string> cases[] = {
      {[](View& v) { v.Press("cmdok"); }, "Old And (1)"},
      {[](View& v) { v.Press("cmdcancel"); }, "Old"},
      {[](View& v) { v.Frame().CloseBox(); }, "Old"},
  };
  for (const auto& [close, expected] : cases) {
    BuilderRig rig;
    rig.builder->Expression("Old");
    rig.ShowModal([&](View& v) {
      for (const char* op : {"cmdAnd", "cmdLParen"}) v.Press(op);
      v.Type("1");
      v.Press("cmdRParen");
      close(v);
    });
    EXPECT_EQ(rig.builder->Expression(), expected);
    EXPECT_FALSE(rig.view().Frame().Loaded());
    EXPECT_TRUE(rig.env.driver().Messages().empty());
  }
  BuilderRig rig;
  EXPECT_EQ(rig.view().Command("cmdAmpersand").Caption(), "&&");
}

TEST(ExprBldWindow, CommentsHintOnlyForAnEmptyExpressionAndGoneAtTheFirstAction) {
  struct Case {
    std::string expression;
    std::function<void(View&)> act;
    std::string result;
  };
  const std::string hint = "' Write the expression here\r\n";
  const Case cases[] = {
      {"", [](View&) {}, ""},
      {"", [](View& v) { v.Type("X"); }, "X"},
      {"", [](View& v) { v.Press("cmdOr"); }, " Or "},
      {"", [](View& v) { v.ClickToolbar("Template"); }, ""},
      {"A", [](View&) {}, "A"},
  };
  for (const Case& c : cases) {
    BuilderRig rig;
    rig.env.driver().SetStandingHandler("frmtemplate", [](auto& w) { w.CloseBox(); });
    rig.Write("comments.txt", hint);
    rig.builder->Expression(c.expression);
    rig.builder->AllowTemplates(true);
    rig.ShowModal([&](View& v) {
      EXPECT_EQ(v.KXEditor1().Text(), c.expression.empty() ? hint : c.expression);
      c.act(v);
      v.Press("cmdok");
    });
    EXPECT_EQ(rig.builder->Expression(), c.result) << c.expression;
  }
}

TEST(ExprBldWindow, BottomPaneToggleAndResizeArithmeticInTwips) {
  BuilderRig rig;
  rig.builder->Show(0);
  View& v = rig.view();
  v.Frame().Resize(9000, 7000);
  const int32_t top = 7000 - 3200 - 600, usable = 9000 - 1600, tree = usable / 3;
  EXPECT_EQ(v.vselbuttons().Bounds().left, 9000 - 1400);
  EXPECT_EQ(v.vselbottom().Bounds(), (ui::Rect{0, top, 9000, 3200}));
  EXPECT_EQ(v.KXEditor1().Bounds().height, top - 550);
  EXPECT_EQ(v.TreeView1().Bounds(), (ui::Rect{100, 100, tree, 3200 - 600}));
  EXPECT_EQ(v.ssdgridtokens().Bounds(), (ui::Rect{200 + tree, 100, usable - tree - 100, 2600}));

  auto state = [&] {
    auto& toggle = v.tbar().Button("Toggle");
    return v.Menu("mnuViewHideBottom").Caption() + "|" + toggle.Image() + "|" + toggle.ToolTip() +
           "|" + std::to_string(v.vselbottom().Visible());
  };
  const std::string shown = "&Hide Bottom Pane|NoBottom|Hide Bottom Pane|1";
  EXPECT_EQ(state(), shown);
  v.ClickToolbar("Toggle");
  EXPECT_EQ(state(), "S&how Bottom Pane|HasBottom|Show Bottom Pane|0");
  EXPECT_EQ(v.KXEditor1().Bounds().height, 7000 - 1200);
  v.Frame().Resize(8000, 6000);
  EXPECT_EQ(v.KXEditor1().Bounds().height, 6000 - 550);
  v.ChooseMenu("mnuViewHideBottom");
  EXPECT_EQ(state(), shown);
  EXPECT_EQ(v.vselbottom().Bounds().top, 6000 - 3200 - 600);
  EXPECT_EQ(v.KXEditor1().Bounds().height, 6000 - 3200 - 600 - 520);

  v.Frame().Minimize(true);
  v.Frame().Resize(3000, 2000);
  EXPECT_EQ(v.vselbuttons().Bounds().left, 8000 - 1400);  // minimised: nothing moves
  v.Frame().Minimize(false);
  v.Frame().Resize(50, 6000);  // too narrow for the pane: its width stays
  EXPECT_EQ(v.vselbottom().Bounds().width, 3000);
}

// Everything a command can change, as one string.
std::string Fingerprint(BuilderRig& r) {
  auto& e = r.editor();
  auto& d = r.env.driver();
  std::string s = e.Text() + "|" + std::to_string(e.SelectionStart()) + "," +
                  std::to_string(e.SelectionLength()) + "|" + r.env.clipboard() + "|" +
                  e.KeywordFile() + "|" + r.view().lblexprerr().Caption() + "|" +
                  std::to_string(r.view().vselbottom().Visible()) + "|";
  for (int32_t line : e.Bookmarks()) s += std::to_string(line) + ",";
  for (const auto& m : d.Messages()) s += "|" + m.text;
  for (const auto& f : d.FileRequests()) s += "|" + f.title + " " + f.filter;
  return s + "|" + std::to_string(d.Unused().size());
}

// Runs `act` on a window in one fixed state in which every command changes something of
// its own (undo and redo both possible, a selection, bookmarks on lines 1 and 3).
std::string RunCommand(const std::function<void(BuilderRig&)>& act) {
  BuilderRig r;
  r.builder->AllowValidation(true);
  r.builder->AllowTemplates(true);
  r.builder->FormTitle("Rates");
  r.builder->Show(0);
  auto& e = r.editor();
  e.InsertText("one\r\ntwo\r\nsix\r\n");
  e.InsertText("end");
  e.Undo();
  for (int32_t line_start : {1, 11}) {
    e.SetCaretPosition(line_start);
    e.ToggleBookmark();
  }
  e.Select(7, 2);
  r.env.clipboard() = "P";
  r.env.driver().QueueFile(std::nullopt);
  r.env.driver().QueueFind("six");
  r.env.driver().QueueReplace("o", "0");
  act(r);
  return Fingerprint(r);
}

TEST(ExprBldWindow, MenuAndToolbarReachTheSameCommandAndUnknownKeysNothing) {
  struct Row {
    const char* menu;
    const char* key;
    void (frmExprBld::*handler)();
    std::string shows;  // part of what the command leaves
  };
  const std::string txt = " Text Files (*.txt)|*.txt";
  const Row rows[] = {
      {"mnuFileOpen", "Open", &frmExprBld::HandleFileOpen, "|Open Expression file" + txt},
      {"mnuFileSave", "Save", &frmExprBld::HandleFileSave, "|Save Expression file" + txt},
      {"mnuEditUndo", "Undo", &frmExprBld::HandleEditUndo, ""},
      {"mnuEditRedo", "Redo", &frmExprBld::HandleEditRedo, "six\r\nend|"},
      {"mnuEditCut", "Cut", &frmExprBld::HandleEditCut, "t\r\nsix\r\n|7,0|wo|"},
      {"mnuEditCopy", "Copy", &frmExprBld::HandleEditCopy, "|7,2|wo|"},
      {"mnuEditPaste", "Paste", &frmExprBld::HandleEditPaste, "one\r\ntP\r\n"},
      {"mnuEditFind", "Find", &frmExprBld::HandleEditFind, "|11,3|"},
      {"mnuEditReplace", "Replace", &frmExprBld::HandleEditReplace, "0ne\r\ntw0\r\n"},
      {"mnuViewProperties", "Properties", &frmExprBld::HandleViewProperties,
       "|Title: Rates\r\nProduct: (none)\r\nFont: MS Sans Serif 8\r\n"},
      {"mnuViewHideBottom", "Toggle", &frmExprBld::HandleViewHideBottom, "|0|"},
      {"mnuToolsValidate", "Validate", &frmExprBld::HandleToolsValidate, ""},
      {"mnuToolsKeywords", "Keywords", &frmExprBld::HandleToolsKeywords,
       "|Open Keyword file Initialization Files (*.ini)|*.ini"},
      {"mnuToolsSaveGrid", nullptr, &frmExprBld::HandleToolsSaveExpression,
       "|Save Expression As" + txt},
      {"mnuToolsToggleBookmark", "SetBookmark", &frmExprBld::HandleToolsToggleBookmark, "|1,2,3,"},
      {"mnuToolsDelBookmarks", "DeleteBookmark", &frmExprBld::HandleToolsDeleteBookmarks, "|1||3"},
      {"mnuToolsNextBookmark", "NextBookmark", &frmExprBld::HandleToolsNextBookmark, "|11,0|"},
      {"mnuToolsPrevBookmark", "PrevBookmark", &frmExprBld::HandleToolsPrevBookmark, "|1,0|"},
  };
  const std::string nothing = RunCommand([](BuilderRig&) {});
  std::set<std::string> seen = {nothing};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.menu);
    std::string direct = RunCommand([&](BuilderRig& r) { (r.window().*row.handler)(); });
    EXPECT_TRUE(seen.insert(direct).second) << "no effect of its own: " << direct;
    EXPECT_NE(direct.find(row.shows), std::string::npos) << direct;
    EXPECT_EQ(RunCommand([&](BuilderRig& r) { EXPECT_TRUE(r.view().ChooseMenu(row.menu)); }),
              direct);
    if (row.key) {
      EXPECT_EQ(RunCommand([&](BuilderRig& r) { EXPECT_TRUE(r.view().ClickToolbar(row.key)); }),
                direct);
    }
  }
  EXPECT_EQ(RunCommand([](BuilderRig& r) {
              for (const char* key : {"validate", "Validate ", "Nope", ""})
                r.window().tbar_ButtonClick(key);
              r.window().MenuClick("mnuNope");
            }),
            nothing);
}

TEST(ExprBldWindow, SaveAsKeywordsAndAFailedOpen) {
  BuilderRig rig;
  rig.builder->Expression("kept");
  rig.builder->Show(0);
  for (const char* file : {"as.txt", " k.ini ", "missing.txt"})
    rig.env.driver().QueueFile(*file == ' ' ? file : (rig.dir / file).string());
  for (const char* menu : {"mnuToolsSaveGrid", "mnuToolsKeywords", "mnuFileOpen"})
    rig.view().ChooseMenu(menu);
  EXPECT_EQ(ReadWholeFile(rig.dir / "as.txt") + rig.editor().KeywordFile(), "keptk.ini");
  EXPECT_EQ(rig.editor().Text(), "kept");  // the failed open left it
  ASSERT_EQ(rig.env.driver().Messages().size(), 1u);
  EXPECT_EQ(rig.env.driver().Messages()[0].flags, ui::kMbCritical);
  EXPECT_TRUE(rig.env.driver().Messages()[0].text.ends_with(" (53)"));
}

struct FakeChecker : ExpressionChecker {
  int32_t start = 0, length = 0;
  void Check(const std::string&) override {}
  std::string ErrorText() const override { return "Expected: expression"; }
  int32_t ErrorStart() const override { return start; }
  int32_t ErrorLength() const override { return length; }
};

TEST(ExprBldWindow, ValidateSelectsTheErrorClippedOrSaysThereIsNone) {
  // "1 + 2" has five characters: positions run 1 to 6.
  for (auto [start, length, selected] : {std::tuple{2, 2, "2,2"}, std::tuple{4, 10, "4,2"},
                                         std::tuple{50, 3, "6,0"}, std::tuple{0, 2, "1,2"}}) {
    auto fake = std::make_shared<FakeChecker>();
    fake->start = start;
    fake->length = length;
    BuilderRig rig([&](ExprBldContext& context) { context.new_checker = [fake] { return fake; }; });
    rig.builder->AllowValidation(true);
    rig.builder->Expression("1 + 2");
    rig.builder->Show(0);
    rig.view().ClickToolbar("Validate");
    EXPECT_EQ(std::to_string(rig.editor().SelectionStart()) + "," +
                  std::to_string(rig.editor().SelectionLength()),
              selected);
    EXPECT_EQ(rig.view().lblexprerr().Caption(), "Expected: expression");
    EXPECT_TRUE(rig.env.driver().Messages().empty());
    // The error is also marked, where it is selected.
    const auto [mark, marked] = rig.editor().ErrorMark();
    EXPECT_EQ(std::to_string(mark) + "," + std::to_string(marked), selected);

    // With a target its checker is used; a clean check clears the label and says so.
    auto doc = host::ConversionDocument::Load(KX_SOURCE_DIR "/data/sample-conversion.json");
    rig.builder->TargetControl(doc->Target());
    rig.view().ClickToolbar("Validate");
    EXPECT_EQ(rig.view().lblexprerr().Caption(), "");
    EXPECT_EQ(rig.editor().ErrorMark().first, 0);
    EXPECT_EQ(rig.env.driver().Messages(),
              (Messages{{"Expression contains no syntax errors.", 0, ""}}));
  }
}

TEST(ExprBldWindow, HelpFileNameAndParameterButtons) {
  BuilderRig rig;
  rig.builder->ParameterButtonVisible(true);
  rig.builder->Expression("x");
  rig.builder->Show(0);
  rig.view().Press("cmdhelp");
  rig.builder->HelpFile("rates.hlp");
  rig.view().Press("cmdhelp");
  EXPECT_EQ(rig.env.driver().Messages(), (Messages{{"No help file provided.", 0, ""}}));
  EXPECT_EQ(rig.env.help().Requests(),
            (std::vector<ui::headless::HeadlessHelpViewer::Opened>{{"rates.hlp", 1123}}));

  rig.env.driver().QueueFile("C:\\My Files\\rates 2.txt");
  rig.env.driver().QueueFile(std::nullopt);
  rig.view().Press("cmdFilename");
  rig.view().Press("cmdFilename");  // cancelled: nothing
  EXPECT_EQ(rig.env.driver().FileRequests()[0].title + rig.env.driver().FileRequests()[0].filter,
            "Get filenameAll Files (*.*)|*.*");
  rig.env.AnswerInputBox([](ui::headless::HeadlessInputBoxView& box) {
    EXPECT_EQ(box.lbltext().Caption(), "Enter parameter name");
    box.TypeInput("Rate");
    box.Press("OKButton");
  });
  rig.env.AnswerInputBox([](ui::headless::HeadlessInputBoxView& box) {
    box.TypeInput("Lost");
    box.Press("CancelButton");
  });
  rig.view().Press("cmdParam");
  rig.view().Press("cmdParam");
  EXPECT_EQ(rig.editor().Text(), "x \"C:\\My Files\\rates 2.txt\" <<Rate>>");
}

TEST(ExprBldWindow, DialogsLeftUnansweredFailTheRun) {
  BuilderRig rig;
  rig.builder->ParameterButtonVisible(true);
  EXPECT_THROW(rig.builder->Show(1), ui::Unanswered);  // nobody plays the window
  rig.builder->Show(0);
  for (const char* button : {"cmdFilename", "cmdParam"})
    EXPECT_THROW(rig.view().Press(button), ui::Unanswered) << button;
  for (const char* menu : {"mnuFileOpen", "mnuFileSave", "mnuToolsKeywords", "mnuEditFind"})
    EXPECT_THROW(rig.view().ChooseMenu(menu), ui::Unanswered) << menu;
  EXPECT_TRUE(rig.env.driver().Messages().empty());  // never reported as run-time errors
}

TEST(ExprBldWindow, TemplateCommandAppliesTheManagersChoiceToTheSelectionInOneUndoStep) {
  BuilderRig rig;
  rig.builder->AllowTemplates(true);
  rig.builder->TemplateFile(rig.Write("t.tpl",
                                      "@BeginTemplate Other\r\n  @BeginBody\r\nx\r\n"
                                      "  @EndBody\r\n@EndTemplate Other\r\n"
                                      "@BeginTemplate Wrap\r\n  @BeginBody\r\n"
                                      "If <<X>> & <<X>> Then <<H>>\r\n  @EndBody\r\n"
                                      "  @BeginParameter\r\n    @Name=X\r\n"
                                      "    @DefaultValue=lit\r\n  @EndParameter\r\n"
                                      "  @BeginParameter\r\n    @Name=H\r\n"
                                      "    @DefaultValue=^h\r\n  @EndParameter\r\n"
                                      "@EndTemplate Wrap\r\n"));
  rig.builder->TemplateName("wrap");
  rig.builder->Expression("a = b\r\nc + d");
  rig.builder->Show(0);
  rig.editor().Select(8, 1);
  rig.env.AnswerTemplateManager([](ui::headless::HeadlessTemplateManagerView& m) {
    EXPECT_EQ(m.ssdgridtemplates().CurrentRow(), 1);
    m.EditValue("X", "Prompt for Value");
    m.Press("cmdapply");
  });
  rig.env.AnswerPrompt([](ui::headless::HeadlessPromptView& v) {
    EXPECT_EQ(v.lbltemplate().Caption(), "If <<X>> && <<X>> Then <<H>>");
    v.EnterValue("v");
    v.Press("cmdok");
  });
  EXPECT_TRUE(rig.view().ChooseMenu("mnuToolsTemplate"));
  EXPECT_EQ(rig.editor().Text(), "a = b\r\nIf v & v Then c + d");
  EXPECT_EQ(rig.builder->TemplateName(), "Wrap");
  rig.editor().Undo();
  EXPECT_EQ(rig.editor().Text(), "a = b\r\nc + d");

  // A selection that holds the parameter's own reference cannot be filled in; Cancel in the
  // prompt leaves the text too, and the manager open.
  rig.editor().Select(1, 100);
  rig.editor().InsertText("<<H>>");
  rig.editor().Select(1, 5);
  rig.env.driver().QueueAnswer("frmprompt", [](auto& w) { w.CloseBox(); });
  rig.env.AnswerTemplateManager([](ui::headless::HeadlessTemplateManagerView& m) {
    m.Press("cmdapply");
    m.EditValue("H", "Prompt for Value");
    m.Press("cmdapply");
    EXPECT_TRUE(m.Form().IsShown());
    m.Press("cmdclose");
  });
  EXPECT_TRUE(rig.view().ChooseMenu("mnuToolsTemplate"));
  EXPECT_EQ(rig.editor().Text(), "<<H>>");
  ASSERT_EQ(rig.env.driver().Messages().size(), 1u);
  EXPECT_EQ(rig.env.driver().Messages()[0].text, "Template invalid or incomplete.");
  EXPECT_TRUE(rig.env.driver().Unused().empty());
}

}  // namespace
}  // namespace kx
