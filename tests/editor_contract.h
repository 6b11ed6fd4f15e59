#pragma once
// What the presenters rely on from any editor control, checked on each implementation:
// positions clipped to the text, edits as undo steps, cut and paste, bookmarks that follow
// their lines and wrap, files loaded without history. `e` starts empty; `dir` is scratch.

// Clients built without gtest define its checks first (tests/com/client/checks.h).
#ifndef EXPECT_EQ
#include <gtest/gtest.h>
#endif

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "error_of.h"
#include "runtime/files.h"
#include "ui/editor_control.h"

namespace kx::testing {

inline void ExpectEditorContract(ui::EditorControl& e, const std::filesystem::path& dir) {
  using Lines = std::vector<int32_t>;
  auto selection = [&] { return std::pair(e.SelectionStart(), e.SelectionLength()); };
  auto fresh = [&](const std::string& text) {
    e.DeleteAllBookmarks();
    e.Clear();
    e.InsertText(text);
  };

  // Insertion replaces the selection and leaves the caret after it; each edit, Clear too,
  // is one undo step, and a new edit drops what could be redone.
  e.InsertText("hello world");
  EXPECT_EQ(e.CaretPosition(), 12);
  e.Select(7, 5);
  EXPECT_EQ(selection(), std::pair(7, 5));
  e.InsertText("there");
  EXPECT_EQ(e.Text(), "hello there");
  EXPECT_EQ(selection(), std::pair(12, 0));
  e.Undo();
  EXPECT_EQ(e.Text(), "hello world");
  e.Undo();
  EXPECT_EQ(e.Text(), "");
  EXPECT_FALSE(e.CanUndo());
  e.Redo();
  e.Redo();
  EXPECT_EQ(e.Text(), "hello there");
  EXPECT_FALSE(e.CanRedo());
  e.Undo();
  EXPECT_TRUE(e.CanRedo());
  e.SetCaretPosition(1);
  e.InsertText(">");
  EXPECT_FALSE(e.CanRedo());
  EXPECT_EQ(e.Text(), ">hello world");
  e.Clear();
  EXPECT_EQ(e.Text(), "");
  e.Undo();
  EXPECT_EQ(e.Text(), ">hello world");

  // Caret and selection are clipped to the text.
  fresh("abcdef");
  const std::pair<std::pair<int, int>, std::pair<int, int>> selections[] = {
      {{3, 2}, {3, 2}},   {{0, 2}, {1, 2}},  {{-5, 1}, {1, 1}}, {{5, 100}, {5, 2}},
      {{100, 3}, {7, 0}}, {{3, -1}, {3, 0}}, {{7, 0}, {7, 0}},
  };
  for (const auto& [given, want] : selections) {
    e.Select(given.first, given.second);
    EXPECT_EQ(selection(), want) << given.first << "," << given.second;
  }
  for (auto [given, want] : {std::pair{0, 1}, {4, 4}, {99, 7}, {-2, 1}}) {
    e.SetCaretPosition(given);
    EXPECT_EQ(selection(), std::pair(want, 0)) << given;
    EXPECT_EQ(e.CaretPosition(), want) << given;
  }

  // Cut and paste; a copy of nothing keeps what the clipboard had.
  fresh("one two");
  e.Select(5, 3);
  e.Cut();
  EXPECT_EQ(e.Text(), "one ");
  e.SetCaretPosition(1);
  e.Copy();
  e.Paste();
  e.Paste();
  EXPECT_EQ(e.Text(), "twotwoone ");

  // Bookmarks follow their lines through edits. Lines: 1 "l1", 2 "l2", 3 "l3", 4 "l4",
  // 5 "" (positions 1, 5, 9, 13, 17).
  const std::string text = "l1\r\nl2\r\nl3\r\nl4\r\n";
  struct Edit {
    const char* what;
    int start, length;
    std::string insert;
    Lines want;
  } edits[] = {
      {"line inserted at the top", 1, 0, "x\r\n", {3, 4, 5}},
      {"line inserted at a bookmarked line's start", 5, 0, "x\r\n", {3, 4, 5}},
      {"text within a line", 6, 0, "x", {2, 3, 4}},
      {"line split inside a bookmarked line", 6, 0, "\r\n", {2, 4, 5}},
      {"a whole line deleted", 9, 4, "", {2, 3}},
      {"two lines joined", 6, 4, "", {2, 3}},
      {"a block replaced by text", 5, 8, "y", {2}},
      {"everything deleted", 1, 16, "", {}},
  };
  for (const Edit& c : edits) {
    fresh(text);
    for (int position : {5, 9, 13}) {
      e.SetCaretPosition(position);
      e.ToggleBookmark();
    }
    ASSERT_EQ(e.Bookmarks(), (Lines{2, 3, 4}));
    e.Select(c.start, c.length);
    e.InsertText(c.insert);
    EXPECT_EQ(e.Bookmarks(), c.want) << c.what;
  }
  // Next and previous go to a line's start and wrap; a toggle on a marked line removes it.
  fresh(text);
  for (int position : {5, 13}) {
    e.SetCaretPosition(position);
    e.ToggleBookmark();
  }
  e.SetCaretPosition(14);
  e.NextBookmark();
  EXPECT_EQ(e.CaretPosition(), 5);
  e.NextBookmark();
  EXPECT_EQ(e.CaretPosition(), 13);
  e.SetCaretPosition(2);
  e.PrevBookmark();
  EXPECT_EQ(e.CaretPosition(), 13);
  e.PrevBookmark();
  EXPECT_EQ(e.CaretPosition(), 5);
  e.ToggleBookmark();
  EXPECT_EQ(e.Bookmarks(), Lines{4});
  e.SetCaretPosition(1);
  e.InsertText("new\r\n");
  EXPECT_EQ(e.Bookmarks(), Lines{5});
  e.Undo();
  EXPECT_EQ(e.Bookmarks(), Lines{4});
  e.DeleteAllBookmarks();
  EXPECT_TRUE(e.Bookmarks().empty());

  // Files: saved whole; a load replaces the text and forgets undo and bookmarks; a missing
  // file raises and leaves the text.
  fresh("If a Then\r\n  b\r\nEnd If");
  e.SaveFile((dir / "out.txt").string());
  EXPECT_EQ(ReadWholeFile(dir / "out.txt"), "If a Then\r\n  b\r\nEnd If");
  e.ToggleBookmark();
  WriteWholeFile(dir / "in.txt", "x = 1");
  e.LoadFile((dir / "in.txt").string());
  EXPECT_EQ(e.Text(), "x = 1");
  EXPECT_EQ(e.CaretPosition(), 1);
  EXPECT_FALSE(e.CanUndo());
  EXPECT_TRUE(e.Bookmarks().empty());
  EXPECT_EQ(ErrorOf([&] { e.LoadFile((dir / "missing.txt").string()); }), kErrFileNotFound);
  EXPECT_EQ(e.Text(), "x = 1");
}

}  // namespace kx::testing
