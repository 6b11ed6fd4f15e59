#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

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

TEST_F(EditorTest, InsertReplacesTheSelectionAndEachEditIsOneUndoStep) {
  HeadlessEditor& e = Editor();
  e.InsertText("hello world");
  EXPECT_EQ(e.CaretPosition(), 12);
  e.Select(7, 5);
  EXPECT_EQ(e.SelectionStart(), 7);
  EXPECT_EQ(e.SelectionLength(), 5);
  e.InsertText("there");
  EXPECT_EQ(e.Text(), "hello there");
  EXPECT_EQ(e.CaretPosition(), 12);
  EXPECT_EQ(e.SelectionLength(), 0);

  e.Undo();
  EXPECT_EQ(e.Text(), "hello world");
  EXPECT_EQ(e.SelectionStart(), 7);  // the selection comes back with the text
  EXPECT_EQ(e.SelectionLength(), 5);
  e.Undo();
  EXPECT_EQ(e.Text(), "");
  EXPECT_FALSE(e.CanUndo());
  e.Redo();
  e.Redo();
  EXPECT_EQ(e.Text(), "hello there");
  EXPECT_FALSE(e.CanRedo());

  e.Undo();
  e.SetCaretPosition(1);
  e.InsertText(">");  // a new edit drops what could be redone
  EXPECT_FALSE(e.CanRedo());
  EXPECT_EQ(e.Text(), ">hello world");

  e.Clear();
  EXPECT_EQ(e.Text(), "");
  e.Undo();
  EXPECT_EQ(e.Text(), ">hello world");
}

TEST_F(EditorTest, CaretAndSelectionAreClippedToTheText) {
  HeadlessEditor& e = Fresh("abcdef");
  struct Case {
    int start, length, want_start, want_length;
  } cases[] = {
      {3, 2, 3, 2},   {0, 2, 1, 2},  {-5, 1, 1, 1}, {5, 100, 5, 2},
      {100, 3, 7, 0}, {3, -1, 3, 0}, {7, 0, 7, 0},
  };
  for (const Case& c : cases) {
    e.Select(c.start, c.length);
    EXPECT_EQ(e.SelectionStart(), c.want_start) << c.start << "," << c.length;
    EXPECT_EQ(e.SelectionLength(), c.want_length) << c.start << "," << c.length;
  }
  for (auto [given, want] : std::vector<std::pair<int, int>>{{0, 1}, {4, 4}, {99, 7}, {-2, 1}}) {
    e.SetCaretPosition(given);
    EXPECT_EQ(e.CaretPosition(), want) << given;
    EXPECT_EQ(e.SelectionLength(), 0);
  }
}

TEST_F(EditorTest, ClipboardIsSharedAcrossTheEnvironment) {
  HeadlessEditor& e = Fresh("one two");
  e.Copy();  // nothing selected: the clipboard keeps what it had
  EXPECT_EQ(env_.clipboard(), "");
  e.Select(5, 3);
  e.Cut();
  EXPECT_EQ(e.Text(), "one ");
  EXPECT_EQ(env_.clipboard(), "two");

  auto other = env_.Services().dialogs->NewExprBldView();
  other->KXEditor1().Paste();
  other->KXEditor1().Paste();
  EXPECT_EQ(other->KXEditor1().Text(), "twotwo");
  e.Undo();
  EXPECT_EQ(e.Text(), "one two");
}

TEST_F(EditorTest, BookmarksFollowTheirLines) {
  // Lines: 1 "l1", 2 "l2", 3 "l3", 4 "l4", 5 "" (positions 1, 5, 9, 13, 17).
  const std::string text = "l1\r\nl2\r\nl3\r\nl4\r\n";
  struct Case {
    const char* what;
    int start, length;
    std::string insert;
    std::vector<int32_t> want;
  } cases[] = {
      {"line inserted at the top", 1, 0, "x\r\n", {3, 4, 5}},
      {"line inserted at a bookmarked line's start", 5, 0, "x\r\n", {3, 4, 5}},
      {"text within a line", 6, 0, "x", {2, 3, 4}},
      {"line split inside a bookmarked line", 6, 0, "\r\n", {2, 4, 5}},
      {"a whole line deleted", 9, 4, "", {2, 3}},
      {"two lines joined", 6, 4, "", {2, 3}},
      {"a block replaced by text", 5, 8, "y", {2}},
      {"everything deleted", 1, 16, "", {}},
  };
  for (const Case& c : cases) {
    HeadlessEditor& e = Fresh(text);
    for (int line : {2, 3, 4}) {
      e.SetCaretPosition(text.find("l" + std::to_string(line)) + 1);
      e.ToggleBookmark();
    }
    ASSERT_EQ(e.Bookmarks(), (std::vector<int32_t>{2, 3, 4}));
    e.Select(c.start, c.length);
    e.InsertText(c.insert);
    EXPECT_EQ(e.Bookmarks(), c.want) << c.what;
  }

  HeadlessEditor& e = Fresh(text);
  for (int position : {5, 13}) {
    e.SetCaretPosition(position);
    e.ToggleBookmark();
  }
  e.SetCaretPosition(14);  // on line 4
  e.NextBookmark();
  EXPECT_EQ(e.CaretPosition(), 5);  // wraps to line 2
  e.NextBookmark();
  EXPECT_EQ(e.CaretPosition(), 13);
  e.SetCaretPosition(2);
  e.PrevBookmark();
  EXPECT_EQ(e.CaretPosition(), 13);  // wraps to line 4
  e.PrevBookmark();
  EXPECT_EQ(e.CaretPosition(), 5);
  e.ToggleBookmark();
  EXPECT_EQ(e.Bookmarks(), std::vector<int32_t>{4});
  e.SetCaretPosition(1);
  e.InsertText("new\r\n");
  e.Undo();  // undoing moves them back
  EXPECT_EQ(e.Bookmarks(), std::vector<int32_t>{4});
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

TEST_F(EditorTest, FilesLoadWithoutHistoryAndSaveWhole) {
  ScratchDir scratch;
  const fs::path& dir = scratch.path;
  HeadlessEditor& e = Fresh("If a Then\r\n  b\r\nEnd If");
  e.SaveFile((dir / "out.txt").string());
  EXPECT_EQ(ReadWholeFile(dir / "out.txt"), "If a Then\r\n  b\r\nEnd If");

  e.ToggleBookmark();
  WriteWholeFile(dir / "in.txt", "x = 1");
  e.LoadFile((dir / "in.txt").string());
  EXPECT_EQ(e.Text(), "x = 1");
  EXPECT_FALSE(e.CanUndo());
  EXPECT_TRUE(e.Bookmarks().empty());
  EXPECT_EQ(ErrorOf([&] { e.LoadFile((dir / "missing.txt").string()); }), kErrFileNotFound);
  EXPECT_EQ(e.Text(), "x = 1");

  // Keyword files: found in the environment's folders; a missing one turns colouring off.
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
