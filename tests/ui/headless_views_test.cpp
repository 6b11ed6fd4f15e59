#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "error_of.h"
#include "ui/headless/headless.h"
#include "ui/unanswered.h"

namespace kx::ui::headless {
namespace {

// A presenter that writes down every event, in order.
struct Recorder : ExprBldEvents, FunctionEvents {
  std::vector<std::string> log;
  bool cancel_close = false;
  Window* close_on_activate = nullptr;

  void Form_Activate() override {
    log.push_back("Activate");
    if (close_on_activate) close_on_activate->Hide();
  }
  void Form_Resize() override { log.push_back("Resize"); }
  bool Form_QueryUnload(int mode) override {
    log.push_back("QueryUnload " + std::to_string(mode));
    return cancel_close;
  }
  void Form_Unload() override { log.push_back("Unload"); }
  void ButtonClick(std::string_view name) override { log.push_back("Button " + std::string(name)); }
  void MenuClick(std::string_view name) override { log.push_back("Menu " + std::string(name)); }
  void tbar_ButtonClick(std::string_view key) override {
    log.push_back("Toolbar " + std::string(key));
  }
  void TreeView1_NodeClick(std::string_view key) override {
    log.push_back("Node " + std::string(key));
  }
  void ssdgridtokens_BeforeRowColChange() override { log.push_back("Before"); }
  void ssdgridtokens_RowColChange() override { log.push_back("RowCol"); }
  void ssdgridtokens_DblClick() override { log.push_back("DblClick"); }
  void ssdgridtokens_BuildFunction() override { log.push_back("Build"); }
  void KXEditor1_KeyDown() override { log.push_back("KeyDown"); }
  void KXEditor1_MouseDown() override { log.push_back("MouseDown"); }
  void cmdok_Click() override { log.push_back("cmdok"); }
  void cmdcancel_Click() override { log.push_back("cmdcancel"); }
  void cmdhelp_Click() override { log.push_back("cmdhelp"); }
  void ssdgridargs_Change(const std::string& text) override { log.push_back("Change " + text); }
  void ssdgridargs_KeyDown(int key) override { log.push_back("ArgKey " + std::to_string(key)); }
  void ssdgridargs_RowColChange() override { log.push_back("ArgRowCol"); }
};

using Log = std::vector<std::string>;

TEST(HeadlessDriver, ModalWindowsNeedAnAnswerAndSomeoneToCloseThem) {
  Environment env;
  Recorder presenter;
  auto view = env.Services().dialogs->NewFunctionView();
  view->SetEvents(&presenter);

  // Nobody scripted the dialog: the error names it.
  try {
    view->Form().Show(true);
    FAIL() << "no Unanswered";
  } catch (const Unanswered& e) {
    EXPECT_NE(std::string(e.what()).find("frmFunction"), std::string::npos) << e.what();
  }

  // An answer that leaves the window open is an error too.
  env.AnswerFunction([](HeadlessFunctionView& dialog) { dialog.Press("cmdok"); });
  try {
    view->Form().Show(true);
    FAIL() << "no Unanswered";
  } catch (const Unanswered& e) {
    EXPECT_NE(std::string(e.what()).find("nobody closed it"), std::string::npos) << e.what();
  }

  // One-shot answers go first, then the standing handler.
  presenter.log.clear();
  env.AnswerFunction([](HeadlessFunctionView& dialog) { dialog.Form().CloseBox(); });
  env.driver().SetStandingHandler("frmFunction", [](HeadlessWindow& window) { window.Unload(); });
  view->Form().Show(true);
  view->Form().Show(true);
  EXPECT_EQ(presenter.log,
            (Log{"Activate", "QueryUnload 0", "Unload", "Activate", "QueryUnload 1", "Unload"}));
  EXPECT_TRUE(env.driver().Unused().empty());

  // A window its activation closed is not run at all.
  presenter.log.clear();
  env.driver().SetStandingHandler("frmFunction", nullptr);
  presenter.close_on_activate = &view->Form();
  view->Form().Show(true);
  EXPECT_EQ(presenter.log, Log{"Activate"});
}

TEST(HeadlessDriver, MessageBoxesOkOnlyAreRecordedOthersNeedAFittingAnswer) {
  Environment env;
  MessageBoxService& box = *env.Services().message_box;
  EXPECT_EQ(box.Show("Saved.", kMbOk | kMbInformation, "kx"), kAnswerOk);
  EXPECT_THROW(box.Show("Replace it?", kMbYesNo, ""), Unanswered);
  env.driver().QueueMessageAnswer(kAnswerNo);
  EXPECT_EQ(box.Show("Replace it?", kMbYesNo | kMbQuestion, ""), kAnswerNo);
  env.driver().QueueMessageAnswer(kAnswerYes);
  EXPECT_THROW(box.Show("Go on?", kMbOkCancel, ""), Unanswered);  // no Yes on that box
  EXPECT_EQ(env.driver().Messages(),
            (std::vector<ShownMessage>{{"Saved.", kMbOk | kMbInformation, "kx"},
                                       {"Replace it?", kMbYesNo, ""},
                                       {"Replace it?", kMbYesNo | kMbQuestion, ""},
                                       {"Go on?", kMbOkCancel, ""}}));

  // The recording box of the command line is as strict.
  RecordingMessageBox recording;
  EXPECT_EQ(recording.Show("Done", kMbCritical, ""), kAnswerOk);
  try {
    recording.Show("Overwrite?", kMbYesNoCancel, "");
    FAIL() << "no Unanswered";
  } catch (const Unanswered& e) {
    EXPECT_NE(std::string(e.what()).find("Overwrite?"), std::string::npos);
  }
  recording.answers.push_back(kAnswerCancel);
  EXPECT_EQ(recording.Show("Overwrite?", kMbYesNoCancel, ""), kAnswerCancel);
  EXPECT_EQ(recording.shown.size(), 3u);
}

TEST(HeadlessDriver, FileDialogFindAndReplaceTakeQueuedAnswers) {
  Environment env;
  FileDialog& files = *env.Services().file_dialog;
  EXPECT_THROW(files.ShowOpen({"Text Files (*.txt)|*.txt", "Open Expression file", 0}), Unanswered);
  env.driver().QueueFile("a.txt");
  env.driver().QueueFile(std::nullopt);
  EXPECT_EQ(files.ShowOpen({"", "one", 0}), "a.txt");
  EXPECT_EQ(files.ShowOpen({"", "two", 0}), std::nullopt);
  ASSERT_EQ(env.driver().FileRequests().size(), 3u);
  EXPECT_EQ(env.driver().FileRequests()[0].title, "Open Expression file");

  env.driver().QueueFind("x");
  EXPECT_EQ(env.driver().Unused(), std::vector<std::string>{"find x"});
  EXPECT_THROW(env.driver().AnswerReplace(), Unanswered);

  env.Services().help->ShowContext("kx.hlp", 1123);
  EXPECT_EQ(env.help().Requests(), (std::vector<HeadlessHelpViewer::Opened>{{"kx.hlp", 1123}}));
}

TEST(HeadlessExprBld, GesturesFireTheEventsOfARealWindowInOrder) {
  Environment env;
  Recorder presenter;
  auto handle = env.Services().dialogs->NewExprBldView();
  handle->SetEvents(&presenter);
  HeadlessExprBldView& view = *env.ExprBld();

  handle->TreeView1().AddNode({"All", "All", "", "", false});
  for (const char* row : {"a", "b", "c"}) handle->ssdgridtokens().AddRow(row);
  handle->Command("cmdok");
  handle->Command("cmdParam").SetVisible(false);
  handle->AddMenu({"mnuEdit", "", "&Edit", ""});
  handle->AddMenu({"mnuEditUndo", "mnuEdit", "&Undo", "Ctrl+Z"});
  handle->tbar().AddButton({"Validate", "Validate", "Validate", false});
  handle->tbar().Button("Validate").SetEnabled(false);
  handle->tbar().AddButton({"Undo", "Undo", "Undo", false});

  EXPECT_TRUE(view.ClickNode("All"));
  EXPECT_TRUE(view.MoveToRow(1));
  EXPECT_TRUE(view.MoveToRow(1));  // already current: no events
  EXPECT_TRUE(view.DoubleClickRow(2));
  EXPECT_TRUE(view.BuildFunction(2));
  EXPECT_TRUE(view.Press("cmdok"));
  EXPECT_FALSE(view.Press("cmdParam"));
  EXPECT_TRUE(view.ChooseMenu("mnuEditUndo"));
  handle->Menu("mnuEdit").SetEnabled(false);
  EXPECT_FALSE(view.ChooseMenu("mnuEditUndo"));
  EXPECT_FALSE(view.ClickToolbar("Validate"));
  EXPECT_TRUE(view.ClickToolbar("Undo"));
  EXPECT_TRUE(view.Type("abc"));
  EXPECT_TRUE(view.ClickEditor(2));
  view.Form().Resize(12000, 9000);
  EXPECT_EQ(presenter.log, (Log{"Node All", "Before", "RowCol", "Before", "RowCol", "DblClick",
                                "Build", "Button cmdok", "Menu mnuEditUndo", "Toolbar Undo",
                                "KeyDown", "MouseDown", "Resize"}));
  EXPECT_EQ(handle->TreeView1().SelectedKey(), "All");
  EXPECT_EQ(handle->ssdgridtokens().CurrentRow(), 2);
  EXPECT_EQ(handle->KXEditor1().Text(), "abc");
  EXPECT_EQ(handle->KXEditor1().CaretPosition(), 2);
  EXPECT_EQ(handle->Form().ScaleWidth(), 12000);

  // What the user cannot do at all is an error of the script.
  EXPECT_THROW(view.ClickNode("Nope"), GestureError);
  EXPECT_THROW(view.MoveToRow(3), GestureError);
  EXPECT_THROW(view.Press("cmdNever"), GestureError);
  EXPECT_THROW(view.ChooseMenu("mnuNever"), GestureError);

  // The close box can be refused; Unload then goes through.
  presenter.log.clear();
  handle->Form().Show(false);
  presenter.cancel_close = true;
  EXPECT_FALSE(view.Form().CloseBox());
  EXPECT_TRUE(view.Form().IsShown());
  presenter.cancel_close = false;
  EXPECT_TRUE(handle->Form().Unload());
  EXPECT_FALSE(view.Form().IsShown());
  EXPECT_FALSE(view.Form().Loaded());
  EXPECT_EQ(presenter.log, (Log{"Activate", "QueryUnload 0", "QueryUnload 1", "Unload"}));

  // The view outlives its presenter's handle; its events stop.
  handle.reset();
  EXPECT_EQ(env.ExprBld(), &view);
  EXPECT_EQ(view.KXEditor1().Text(), "abc");
  EXPECT_THROW(view.Press("cmdok"), GestureError);
}

TEST(HeadlessControls, TreeKeysToolbarAndGridBounds) {
  std::string focus;
  HeadlessTreeView tree("TreeView1", &focus);
  tree.AddNode({"R", "Root", "", "", true});
  tree.AddNode({"A", "a", "", "R", false});
  tree.AddNode({"S", "Second", "", "", false});
  tree.AddNode({"B", "b", "t", "R", false});
  tree.AddNode({"A1", "a1", "", "A", false});
  std::vector<std::string> order;
  for (const TreeNode& node : tree.Nodes()) order.push_back(node.key);
  EXPECT_EQ(order, (std::vector<std::string>{"R", "A", "A1", "B", "S"}));
  EXPECT_EQ(tree.ChildCount("R"), 2);
  EXPECT_EQ(ErrorOf([&] { tree.AddNode({"A", "again", "", "", false}); }), kErrKeyNotUnique);
  EXPECT_EQ(ErrorOf([&] { tree.AddNode({"C", "c", "", "Nowhere", false}); }), kErrElementNotFound);
  EXPECT_EQ(ErrorOf([&] { tree.SetTag("Nowhere", "x"); }), kErrElementNotFound);
  EXPECT_EQ(ErrorOf([&] { tree.SelectNode("Nowhere"); }), kErrElementNotFound);
  tree.SelectNode("B");
  tree.Clear();
  EXPECT_EQ(tree.SelectedKey(), "");
  EXPECT_TRUE(tree.Nodes().empty());

  HeadlessToolbar bar("tbar", &focus);
  bar.AddButton({"Open", "Open", "Open", false});
  bar.AddButton({"", "", "", true});
  bar.AddButton({"Save", "Save", "Save", false});
  EXPECT_EQ(bar.Button(3).Key(), "Save");
  EXPECT_EQ(ErrorOf([&] { bar.Button(4); }), kErrIndexOutOfBounds);
  EXPECT_EQ(ErrorOf([&] { bar.Button(0); }), kErrIndexOutOfBounds);
  EXPECT_EQ(ErrorOf([&] { bar.Button(""); }), kErrElementNotFound);
  EXPECT_EQ(ErrorOf([&] { bar.AddButton({"Open", "", "", false}); }), kErrKeyNotUnique);

  HeadlessGrid grid("ssdgridtokens", &focus);
  grid.AddRow("x");
  grid.AddRow("y");
  grid.SetRowStyle(1, "style_winhighlight");
  EXPECT_EQ(grid.Styles(), (std::vector<std::string>{"", "style_winhighlight"}));
  EXPECT_EQ(grid.CurrentRow(), -1);
  EXPECT_EQ(ErrorOf([&] { grid.SetCurrentRow(2); }), kErrIndexOutOfBounds);
  EXPECT_EQ(ErrorOf([&] { grid.CellText(0, 1); }), kErrIndexOutOfBounds);
  grid.SetColumns(2);
  grid.SetCellText(0, 1, "v");
  EXPECT_EQ(grid.CellText(0, 1), "v");
  grid.SetCurrentRow(1);
  grid.RemoveAll();
  EXPECT_EQ(grid.CurrentRow(), -1);
  EXPECT_EQ(ErrorOf([&] { grid.RowStyle(0); }), kErrIndexOutOfBounds);

  tree.SetFocus();
  EXPECT_TRUE(tree.HasFocus());
  grid.SetFocus();
  EXPECT_FALSE(tree.HasFocus());
}

}  // namespace
}  // namespace kx::ui::headless
