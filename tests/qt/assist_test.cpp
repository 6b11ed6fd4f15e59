// What the editor adds to the window as described: the error squiggle, the check while
// typing, completion and call tips.

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>

#include "qt/cp1252.h"
#include "qt/script.h"
#include "qt_rig.h"

namespace kx {
namespace {

using testing::QtRig;

constexpr int kErrorIndicator = 8;

// Whether the squiggle is under the character at a 1-based byte position (ASCII text).
bool Squiggled(qt::QtEditor& editor, int32_t position) {
  return editor.Widget()->SendScintilla(QsciScintilla::SCI_INDICATORVALUEAT, kErrorIndicator,
                                        static_cast<long>(position - 1)) != 0;
}

TEST(QtEditorChecks, ValidateSquigglesTheErrorUntilTheNextEdit) {
  QtRig rig;
  rig.builder->Expression("x = 1\r\nIf x Then\r\n  y = 2\r\n");
  rig.builder->Show(0);
  qt::QtEditor& editor = rig.view().KXEditor1();
  editor.SetLiveCheck({});  // Validate's mark alone
  qt::QtGestures(rig.view()).ClickToolbar("Validate");

  // The mark is where Validate selects, and it is drawn there.
  const auto [start, length] = editor.ErrorMark();
  ASSERT_GT(length, 0);
  EXPECT_EQ(start, editor.SelectionStart());
  EXPECT_EQ(length, editor.SelectionLength());
  EXPECT_TRUE(Squiggled(editor, start));
  EXPECT_TRUE(Squiggled(editor, start + length - 1));
  EXPECT_FALSE(Squiggled(editor, start + length));
  EXPECT_FALSE(Squiggled(editor, 1));
  EXPECT_TRUE(rig.box.shown.empty());

  editor.SetCaretPosition(1);
  editor.InsertText("' ");
  EXPECT_EQ(editor.ErrorMark(), std::make_pair(0, 0));
  EXPECT_FALSE(Squiggled(editor, start + 2));

  // An empty range at the end still shows: on the last character.
  editor.MarkError(1000, 5);
  EXPECT_EQ(editor.ErrorMark().second, 0);
  EXPECT_TRUE(Squiggled(editor, editor.ErrorMark().first - 1));
  editor.InsertText("x");
  EXPECT_EQ(editor.ErrorMark(), std::make_pair(0, 0));
}

TEST(QtEditorChecks, TypingIsCheckedOncePausedFirstErrorOnlyNeverABox) {
  QtRig rig;
  rig.builder->Show(0);
  qt::QtEditor& editor = rig.view().KXEditor1();

  // The window's own check: the bundled checker, after the pause.
  editor.InsertText("If x Then\r\n  y = (1 +\r\n");
  EXPECT_TRUE(editor.LiveCheckPending());
  EXPECT_EQ(editor.ErrorMark(), std::make_pair(0, 0));
  QTRY_VERIFY_WITH_TIMEOUT(!editor.LiveCheckPending(), 5000);
  ASSERT_FALSE(editor.LiveMessage().empty());
  EXPECT_GT(editor.ErrorMark().first, 0);
  EXPECT_TRUE(Squiggled(editor, editor.ErrorMark().first));
  int line = 0, index = 0;
  editor.Widget()->lineIndexFromPosition(editor.ErrorMark().first - 1, &line, &index);
  EXPECT_EQ(qt::FromQt(editor.Widget()->annotation(line)), editor.LiveMessage());
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
  EXPECT_TRUE(rig.box.shown.empty());
  EXPECT_EQ(rig.view().lblexprerr().Caption(), "");  // Validate's label is left alone

  // Typing takes the message away at once; a correct text gets none back.
  editor.Clear();
  EXPECT_EQ(editor.LiveMessage(), "");
  editor.InsertText("If x Then\r\n  y = (1 + 2)\r\nEnd If");
  QTRY_VERIFY_WITH_TIMEOUT(!editor.LiveCheckPending(), 5000);
  EXPECT_EQ(editor.LiveMessage(), "");
  EXPECT_EQ(editor.ErrorMark(), std::make_pair(0, 0));
  EXPECT_EQ(qt::FromQt(editor.Widget()->annotation(0)), "");

  // A burst of keystrokes is checked once, on the text they left.
  std::vector<std::string> checked;
  editor.SetLiveCheck(
      [&](const std::string& text) -> std::optional<qt::LiveError> {
        checked.push_back(text);
        return std::nullopt;
      },
      50);
  editor.Clear();
  for (const char* key : {"a", "b", "c"}) editor.InsertText(key);
  QTRY_VERIFY_WITH_TIMEOUT(!editor.LiveCheckPending(), 5000);
  EXPECT_EQ(checked, std::vector<std::string>{"abc"});
}

TEST(QtEditorAssist, CompletesFromThePaletteAndTipsTheCallTheCaretIsIn) {
  QtRig rig;
  rig.builder->Show(0);
  qt::QtEditor& editor = rig.view().KXEditor1();
  editor.SetLiveCheck({});
  QsciScintilla* w = editor.Widget();

  // Typed key by key; the list's first offer taken.
  const struct {
    const char* typed;
    const char* completed;
  } cases[] = {
      {"x & UCa", "x & UCase$"},
      {"Sel", "Select Case"},
      {"Records(\"Cu", "Records(\"Customer"},
      {"Records(\"Customer\").Fields(\"Cou", "Records(\"Customer\").Fields(\"Country"},
      {"Targets(0).Records(\"Orders\").Fields(\"Am",
       "Targets(0).Records(\"Orders\").Fields(\"Amount"},
      {"UC", nullptr},      // two letters are not enough
      {"x Then", nullptr},  // typed out: the list opened at "The" is gone
      {"x = 120", nullptr},
      {"' UCa", nullptr},  // a comment
  };
  for (const auto& c : cases) {
    editor.Clear();
    QTest::keyClicks(w, c.typed);
    const bool shown = w->SendScintilla(QsciScintilla::SCI_AUTOCACTIVE) != 0;
    EXPECT_EQ(shown, c.completed != nullptr) << c.typed;
    if (!shown) continue;
    w->SendScintilla(QsciScintilla::SCI_AUTOCCOMPLETE);
    EXPECT_EQ(editor.Text(), c.completed);
  }
  // Ctrl+Space offers every record's name at an empty string.
  editor.Clear();
  editor.InsertText("Records(\"");
  QTest::keyClick(w, Qt::Key_Space, Qt::ControlModifier);
  EXPECT_TRUE(w->SendScintilla(QsciScintilla::SCI_AUTOCACTIVE));
  w->SendScintilla(QsciScintilla::SCI_AUTOCCANCEL);

  // The call tip says what the palette says for the function.
  qt::QtGestures gestures(rig.view());
  gestures.ClickNode("Text");
  gestures.MoveToRow(2);
  const std::string prototype = rig.view().txtproto(0).Caption();
  ASSERT_EQ(prototype.substr(0, 5), "Mid$(");
  const std::string tip = prototype + "\n" + rig.view().txtproto(1).Caption();
  editor.Clear();
  QTest::keyClicks(w, "Mid$(Records(\"Customer\").Fields(\"Name\"), ");
  EXPECT_EQ(editor.CallTip(), tip);
  editor.SetCaretPosition(14);  // inside Records(: not a library function, Mid$ is
  EXPECT_EQ(editor.CallTip(), tip);
  editor.SetCaretPosition(1000);
  QTest::keyClicks(w, "1)");
  EXPECT_EQ(editor.CallTip(), "");
  EXPECT_TRUE(rig.box.shown.empty());
}

}  // namespace
}  // namespace kx
