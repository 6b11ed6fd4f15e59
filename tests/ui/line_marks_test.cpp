#include "ui/line_marks.h"

#include <gtest/gtest.h>

#include <string>

namespace kx::ui {
namespace {

// A control reports only the text before and after an edit, and its caret; the change must
// be found where the edit was, or bookmarks move with the wrong lines.
TEST(LineMarks, ChangeIsFoundWhereTheCaretSaysWhenTheTextCannotTell) {
  struct Case {
    const char* what;
    std::string before, after;
    size_t caret;
    size_t at, removed, inserted;
  } cases[] = {
      {"a line inserted above a line like it", "a\r\nb", "a\r\na\r\nb", 3, 0, 0, 3},
      {"the same insertion, caret after the second", "a\r\nb", "a\r\na\r\nb", 6, 3, 0, 3},
      {"that insertion undone, caret where it was", "a\r\na\r\nb", "a\r\nb", 0, 0, 3, 0},
      {"a letter typed twice over", "aa", "aaa", 1, 0, 0, 1},
      {"a word replaced", "one two", "one six", 7, 4, 3, 3},
      {"a caret that fits no change: the smallest change", "abcd", "abXcd", 5, 2, 0, 1},
      {"everything deleted", "l1\r\nl2", "", 0, 0, 6, 0},
      {"no change: an empty one at the caret", "same", "same", 2, 2, 0, 0},
  };
  for (const Case& c : cases) {
    const TextChange change = ChangeBetween(c.before, c.after, c.caret);
    EXPECT_EQ(change.at, c.at) << c.what;
    EXPECT_EQ(change.removed, c.removed) << c.what;
    EXPECT_EQ(change.inserted, c.inserted) << c.what;
  }
}

}  // namespace
}  // namespace kx::ui
