#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "editor_contract.h"
#include "error_of.h"
#include "runtime/files.h"
#include "scratch_dir.h"
#include "ui/headless/headless.h"
#include "ui/unanswered.h"

namespace kx::ui::headless {
namespace {

namespace fs = std::filesystem;

class EditorTest : public ::testing::Test {
 protected:
  HeadlessEditor& Editor() {
    if (!view_) {
      handle_ = env_.Services().dialogs->NewExprBldView();
      view_ = env_.ExprBld();
    }
    return view_->KXEditor1();
  }
  HeadlessEditor& Fresh(const std::string& text) {
    HeadlessEditor& editor = Editor();
    editor.DeleteAllBookmarks();
    editor.Clear();
    editor.InsertText(text);
    return editor;
  }
  Environment env_;
  std::unique_ptr<ExprBldView> handle_;
  HeadlessExprBldView* view_ = nullptr;
};

TEST_F(EditorTest, KeepsTheEditorContract) {
  ScratchDir scratch;
  testing::ExpectEditorContract(Editor(), scratch.path);
  // Here the selection comes back with the text an undo restores.
  HeadlessEditor& e = Fresh("hello world");
  e.Select(7, 5);
  e.InsertText("there");
  e.Undo();
  EXPECT_EQ(std::pair(e.SelectionStart(), e.SelectionLength()), std::pair(7, 5));
}

TEST_F(EditorTest, ClipboardIsSharedAcrossTheEnvironment) {
  HeadlessEditor& e = Fresh("one two");
  e.Select(5, 3);
  e.Cut();
  EXPECT_EQ(env_.clipboard(), "two");
  auto other = env_.Services().dialogs->NewExprBldView();
  other->KXEditor1().Paste();
  EXPECT_EQ(other->KXEditor1().Text(), "two");
}

TEST_F(EditorTest, FindSelectsTheNextMatchWrappingWithoutCase) {
  HeadlessEditor& e = Fresh("a cat, a Cat, a dog");
  e.SetCaretPosition(1);
  for (int want : {3, 10, 3}) {
    env_.driver().QueueFind("CAT");
    e.Find();
    EXPECT_TRUE(e.LastSearchFound());
    EXPECT_EQ(e.SelectionStart(), want);
    EXPECT_EQ(e.SelectionLength(), 3);
  }
  env_.driver().QueueFind("zebra");
  e.Find();
  EXPECT_FALSE(e.LastSearchFound());
  EXPECT_EQ(e.SelectionStart(), 3);
  EXPECT_THROW(e.Find(), Unanswered);
  EXPECT_THROW(e.Replace(), Unanswered);
}

TEST_F(EditorTest, ReplaceAllIsOneUndoStepAndNeverRescansItsOwnText) {
  for (bool with_bookmark : {false, true}) {
    HeadlessEditor& e = Fresh("a-A\r\na");
    if (with_bookmark) {
      e.SetCaretPosition(6);
      e.ToggleBookmark();
    }
    env_.driver().QueueReplace("a", "aXa");
    e.Replace();
    EXPECT_EQ(e.Text(), "aXa-aXa\r\naXa") << with_bookmark;
    EXPECT_EQ(e.CaretPosition(), 13);
    if (with_bookmark) {
      EXPECT_EQ(e.Bookmarks(), std::vector<int32_t>{2});
    }
    e.Undo();
    EXPECT_EQ(e.Text(), "a-A\r\na");
    e.Redo();
    EXPECT_EQ(e.Text(), "aXa-aXa\r\naXa");
  }

  HeadlessEditor& e = Fresh("one two one");
  e.SetCaretPosition(3);  // after the first match's start: the next one is replaced
  env_.driver().QueueReplace("ONE", "1", false);
  e.Replace();
  EXPECT_EQ(e.Text(), "one two 1");
  env_.driver().QueueReplace("one", "1", false);
  e.Replace();  // wraps to the top
  EXPECT_EQ(e.Text(), "1 two 1");
  EXPECT_EQ(e.CaretPosition(), 2);
  env_.driver().QueueReplace("one", "1", false);
  e.Replace();
  EXPECT_FALSE(e.LastSearchFound());
  e.Undo();
  EXPECT_EQ(e.Text(), "one two 1");
}

TEST_F(EditorTest, KeywordFilesAreFoundInTheEnvironmentsFolders) {
  ScratchDir scratch;
  const fs::path& dir = scratch.path;
  HeadlessEditor& e = Editor();
  // A missing one turns colouring off; a malformed one raises.
  WriteWholeFile(dir / "kw.ini", "[Keywords]\nIf, Then\n");
  env_.SetKeywordDirs({dir});
  e.SetKeywordFile("kw.ini");
  e.ReloadKeywords();
  ASSERT_NE(e.Keywords(), nullptr);
  EXPECT_EQ(e.KeywordPath(), dir / "kw.ini");
  EXPECT_EQ(e.Keywords()->CategoryOf("then")->name, "Keywords");
  e.SetKeywordFile("nowhere.ini");
  EXPECT_EQ(ErrorOf([&] { e.ReloadKeywords(); }), 0);
  EXPECT_EQ(e.Keywords(), nullptr);
  WriteWholeFile(dir / "bad.ini", "If\n");
  e.SetKeywordFile((dir / "bad.ini").string());
  EXPECT_EQ(ErrorOf([&] { e.ReloadKeywords(); }), kErrInvalidFileFormat);
}

}  // namespace
}  // namespace kx::ui::headless
