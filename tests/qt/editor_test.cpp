#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <filesystem>

#include "editor_contract.h"
#include "qt/cp1252.h"
#include "qt/editor.h"
#include "qt/find_replace.h"
#include "qt_rig.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "ui/keyword_file.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

struct Editor {
  Editor() : widget(new qt::EditorWidget), control("KXEditor1", widget, &dirs) {}
  ~Editor() { delete widget; }
  std::vector<fs::path> dirs;
  qt::EditorWidget* widget;
  qt::QtEditor control;
};

std::string AllBytes() {
  std::string bytes;
  for (int b = 1; b < 256; ++b) bytes.push_back(static_cast<char>(b));
  return bytes;
}

TEST(QtEditor, KeepsTheEditorContract) {
  Editor e;
  QTemporaryDir dir;
  testing::ExpectEditorContract(e.control, dir.path().toStdString());
}

TEST(QtEditor, BytesRoundTripAndPositionsCountBytes) {
  EXPECT_EQ(qt::FromQt(qt::ToQt(AllBytes())), AllBytes());
  EXPECT_EQ(qt::ToQt("\x80\x81\x9f"), QString::fromUtf8("\u20ac\u0081\u0178"));

  // "\x80" is three bytes inside the widget and one here.
  Editor e;
  const std::string text =
      "a\x80\x80"
      "bc\r\nd";
  e.control.InsertText(text);
  EXPECT_EQ(e.control.CaretPosition(), 9);
  e.control.Select(3, 3);
  EXPECT_EQ(std::pair(e.control.SelectionStart(), e.control.SelectionLength()), std::pair(3, 3));
  EXPECT_EQ(qt::FromQt(e.widget->selectedText()),
            "\x80"
            "bc");
  e.control.Select(0, 100);  // clipped to the text
  EXPECT_EQ(std::pair(e.control.SelectionStart(), e.control.SelectionLength()), std::pair(1, 8));
  e.control.SetCaretPosition(50);
  EXPECT_EQ(e.control.CaretPosition(), 9);
  e.control.Select(2, 2);
  e.control.InsertText("XYZ");
  EXPECT_EQ(e.control.Text(), "aXYZbc\r\nd");
  EXPECT_EQ(e.control.CaretPosition(), 5);
  e.control.Undo();
  EXPECT_EQ(e.control.Text(), text);

  // Files keep every byte.
  QTemporaryDir dir;
  const std::string path = dir.filePath("x.txt").toStdString();
  e.control.Clear();
  e.control.InsertText(AllBytes());
  EXPECT_EQ(e.control.Text(), AllBytes());
  e.control.SaveFile(path);
  EXPECT_EQ(ReadWholeFile(path), AllBytes());
  e.control.Clear();
  e.control.LoadFile(path);
  EXPECT_EQ(e.control.Text(), AllBytes());
}

TEST(QtEditor, LineNumberMarginFitsTheWidestNumber) {
  Editor e;
  auto margin = [&] { return e.widget->marginWidth(0); };
  // The number is drawn 3 pixels in from the margin's right edge.
  auto text_width = [&](const char* digits) {
    return 3 + static_cast<int>(e.widget->SendScintilla(QsciScintilla::SCI_TEXTWIDTH,
                                                        QsciScintilla::STYLE_LINENUMBER, digits));
  };
  const int narrow = margin();
  EXPECT_GE(narrow, text_width("999"));
  std::string text;
  for (int line = 1; line < 2000; ++line) text += "x\r\n";
  e.control.InsertText(text);
  EXPECT_GE(margin(), text_width("2000"));
  EXPECT_GT(margin(), narrow);
  // Each way the line count comes back down narrows it again.
  e.control.Clear();
  EXPECT_EQ(margin(), narrow);
  e.control.Undo();
  EXPECT_GE(margin(), text_width("2000"));
  e.control.Select(1, 1 << 20);
  e.control.InsertText("a\r\nb");
  EXPECT_EQ(margin(), narrow);
}

TEST(QtEditor, FindAndReplaceAllIsOneUndoStepAndCannotLoop) {
  Editor e;
  e.control.InsertText("Ab ab AB\r\nab");
  e.control.SetCaretPosition(2);
  EXPECT_TRUE(e.control.FindNext("ab", false));
  EXPECT_EQ(e.control.SelectionStart(), 4);
  EXPECT_TRUE(e.control.FindNext("AB", true));
  EXPECT_EQ(e.control.SelectionStart(), 7);
  EXPECT_TRUE(e.control.FindNext("Ab", true));  // wraps to the top
  EXPECT_EQ(e.control.SelectionStart(), 1);
  EXPECT_FALSE(e.control.FindNext("zz", false));
  EXPECT_EQ(e.control.SelectionStart(), 1);

  // A replacement holding the text sought: every match once, one undo step.
  EXPECT_EQ(e.control.ReplaceAll("ab", "xabx", false), 4);
  EXPECT_EQ(e.control.Text(), "xabx xabx xabx\r\nxabx");
  e.control.Undo();
  EXPECT_EQ(e.control.Text(), "Ab ab AB\r\nab");
  EXPECT_EQ(e.control.ReplaceAll("ab", "", true), 2);
  EXPECT_EQ(e.control.Text(), "Ab  AB\r\n");
  EXPECT_EQ(e.control.ReplaceAll("nothing", "x", false), 0);

  // One at a time: the selected match is replaced and the next one selected.
  e.control.SetCaretPosition(1);
  EXPECT_FALSE(e.control.ReplaceNext("ab", "Q", false));  // finds the first
  EXPECT_TRUE(e.control.ReplaceNext("ab", "Q", false));
  EXPECT_EQ(e.control.Text(), "Q  AB\r\n");
  EXPECT_EQ(e.control.SelectionStart(), 4);
  EXPECT_EQ(e.control.SelectionLength(), 2);

  // The control's own replace dialog: Replace All from its button, then Cancel.
  e.control.Clear();
  e.control.InsertText("ab AB\r\nab");
  e.control.Select(1, 2);
  testing::WhenModal([](QWidget* window) {
    auto* dialog = qobject_cast<qt::FindReplaceDialog*>(window);
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->FindText()->text(), QStringLiteral("ab"));  // the selection
    QTest::keyClicks(dialog->ReplaceText(), "[ab]");
    QTest::mouseClick(dialog->ReplaceAllButton(), Qt::LeftButton);
    EXPECT_EQ(dialog->Status()->text(), QStringLiteral("Replaced 3 occurrences."));
    dialog->reject();
  });
  e.control.Replace();
  EXPECT_EQ(e.control.Text(), "[ab] [ab]\r\n[ab]");
  e.control.Undo();
  EXPECT_EQ(e.control.Text(), "ab AB\r\nab");

  // The commands open the control's dialogs (replaced here, as scripts do).
  int finds = 0, replaces = 0;
  e.control.find_dialog = [&](qt::QtEditor&) { ++finds; };
  e.control.replace_dialog = [&](qt::QtEditor&) { ++replaces; };
  e.control.Find();
  e.control.Replace();
  e.control.Replace();
  EXPECT_EQ(finds * 10 + replaces, 12);
}

TEST(QtEditor, KeywordFileColoursCategoriesStringsCommentsNumbersAndFields) {
  QTemporaryDir dir;
  const fs::path folder = dir.path().toStdString();
  WriteWholeFile(folder / "words.ini",
                 "[Settings]\nCaseSensitive = no\n[Constructs]\nIf Then Else\n"
                 "[Operators]\nAnd <> &\n[Functions]\nLeft$\n");
  Editor e;
  e.dirs = {folder};
  e.control.SetKeywordFile("words.ini");
  e.control.ReloadKeywords();
  ASSERT_NE(e.control.Keywords(), nullptr);
  EXPECT_EQ(e.control.KeywordPath(), folder / "words.ini");

  const std::string text =
      "if [Amount] <> 1.5E3 Then Left$(\"a \"\"b\"\"\", &HFF) ' note\r\n"
      "Records(\"In\").Fields(\"Name\") And x Rem done";
  e.control.InsertText(text);
  e.widget->SendScintilla(QsciScintilla::SCI_COLOURISE, 0UL, -1L);
  auto style = [&](std::string_view what) {
    size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return e.control.StyleAt(static_cast<int32_t>(at) + 1);
  };
  using L = qt::KeywordLexer;
  const int constructs = L::CategoryStyle(0), operators = L::CategoryStyle(1),
            functions = L::CategoryStyle(2);
  // Case does not matter; doubled quotes stay inside a string.
  const std::pair<const char*, int> styles[] = {
      {"if", constructs},      {"Then", constructs},      {"[Amount]", L::kField},
      {"Amount]", L::kField},  {"<>", operators},         {"1.5E3", L::kNumber},
      {"E3", L::kNumber},      {"Left$", functions},      {"\"a ", L::kString},
      {"b\"\"\"", L::kString}, {"&HFF", L::kNumber},      {"' note", L::kComment},
      {"Records(", L::kField}, {"Name\")", L::kField},    {"And", operators},
      {"x Rem", L::kDefault},  {"Rem done", L::kComment},
  };
  for (const auto& [what, want] : styles) EXPECT_EQ(style(what), want) << what;

  // A malformed file raises and keeps the words in use; a missing one turns colouring off.
  WriteWholeFile(folder / "bad.ini", "If\n");
  e.control.SetKeywordFile("bad.ini");
  EXPECT_THROW(e.control.ReloadKeywords(), Error);
  EXPECT_NE(e.control.Keywords(), nullptr);
  e.control.SetKeywordFile("missing.ini");
  e.control.ReloadKeywords();
  EXPECT_EQ(e.control.Keywords(), nullptr);
  e.widget->SendScintilla(QsciScintilla::SCI_COLOURISE, 0UL, -1L);
  EXPECT_EQ(style("Then"), L::kDefault);

  // On a long text a reload styles what is shown, the rest as it comes into view; a reload
  // of an unchanged file leaves the styles alone.
  e.control.Clear();
  std::string many;
  for (int i = 0; i < 3000; ++i) many += "If x Then\r\n";
  e.control.InsertText(many);
  e.control.SetCaretPosition(1);
  e.widget->resize(400, 200);
  e.widget->show();
  e.control.SetKeywordFile("words.ini");
  e.control.ReloadKeywords();
  e.widget->grab();  // paints
  const long styled = e.widget->SendScintilla(QsciScintilla::SCI_GETENDSTYLED);
  EXPECT_GT(styled, 0);
  EXPECT_LT(styled, static_cast<long>(many.size()) / 10);
  EXPECT_EQ(e.control.StyleAt(1), constructs);
  e.control.ReloadKeywords();
  EXPECT_EQ(e.widget->SendScintilla(QsciScintilla::SCI_GETENDSTYLED), styled);

  // Shown from its end, a long text gets the lines in view styled, not those above them,
  // which are styled as they come into view (or when asked about).
  auto raw = [&](long at) { return e.widget->SendScintilla(QsciScintilla::SCI_GETSTYLEAT, at); };
  e.control.Clear();
  e.control.InsertText(many);  // the caret, and the view, at the end
  e.widget->grab();
  const long last_if = static_cast<long>(many.size()) - 10;
  EXPECT_EQ(raw(last_if), constructs);
  EXPECT_EQ(raw(0), L::kDefault);
  EXPECT_EQ(raw(static_cast<long>(many.size()) / 2), L::kDefault);
  EXPECT_EQ(e.control.StyleAt(12), constructs);  // line 2, asked about
  e.control.SetCaretPosition(1);
  e.widget->grab();
  EXPECT_EQ(raw(0), constructs);
  EXPECT_EQ(raw(last_if), constructs);

  // Editors share the words of a file they read alike, and a changed file is read anew:
  // the first editor keeps its words until it reloads.
  Editor other;
  other.dirs = {folder};
  other.control.SetKeywordFile("words.ini");
  other.control.ReloadKeywords();
  EXPECT_EQ(other.control.Keywords(), e.control.Keywords());
  WriteWholeFile(folder / "words.ini", "[Constructs]\nWhile\n");
  other.control.ReloadKeywords();
  ASSERT_NE(other.control.Keywords(), e.control.Keywords());
  EXPECT_NE(other.control.Keywords()->CategoryOf("while"), nullptr);
  EXPECT_NE(e.control.Keywords()->CategoryOf("if"), nullptr);
}

}  // namespace
}  // namespace kx
