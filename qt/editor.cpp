#include "qt/editor.h"

#include <Qsci/qscicommand.h>
#include <Qsci/qscicommandset.h>

#include <QFontDatabase>
#include <QKeyEvent>

#include <algorithm>
#include <cctype>
#include <set>

#include "qt/cp1252.h"
#include "qt/find_replace.h"
#include "runtime/files.h"
#include "runtime/text.h"

namespace kx::qt {

namespace {

constexpr int kBookmark = 1;        // marker number
constexpr int kErrorIndicator = 8;  // the first indicator free for containers
// A fixed number: asking QScintilla for a fresh one per editor runs its numbers out.
constexpr int kLiveCheckStyle = 250;
constexpr int kLineMargin = 0;
constexpr int kBookmarkMargin = 1;
// Scintilla draws a line number this far in from the margin's right edge; as much again
// on the left keeps the widest number off the window's frame.
constexpr int kNumberPadding = 3;

QByteArray Utf8(const std::string& bytes) {
  return ToQt(bytes).toUtf8();
}

}  // namespace

EditorWidget::EditorWidget(QWidget* parent) : QsciScintilla(parent) {}

void EditorWidget::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Space && event->modifiers() == Qt::ControlModifier) {
    emit completionRequested();
    return;
  }
  emit keyDown();
  QsciScintilla::keyPressEvent(event);
}

void EditorWidget::mousePressEvent(QMouseEvent* event) {
  emit mouseDown();
  QsciScintilla::mousePressEvent(event);
}

QtEditor::QtEditor(std::string name, EditorWidget* editor,
                   const std::vector<std::filesystem::path>* keyword_dirs)
    : QtControl(std::move(name), editor),
      keyword_dirs_(keyword_dirs),
      lexer_(new KeywordLexer(editor)) {
  editor->setUtf8(true);
  editor->setEolMode(QsciScintilla::EolWindows);
  editor->setLexer(lexer_);
  lexer_->SetKeywords(nullptr);
  editor->setAutoIndent(true);
  editor->setTabWidth(4);
  editor->setWrapMode(QsciScintilla::WrapNone);
  // The horizontal scroll bar appears once a line is wider than the view.
  editor->SendScintilla(QsciScintilla::SCI_SETSCROLLWIDTH, 1);
  editor->SendScintilla(QsciScintilla::SCI_SETSCROLLWIDTHTRACKING, 1);

  editor->setMarginType(kLineMargin, QsciScintilla::NumberMargin);
  editor->setMarginLineNumbers(kLineMargin, true);
  FitLineMargin();
  // The count changes with whole lines only, and its digits more rarely still.
  QObject::connect(editor, &QsciScintilla::linesChanged, Guard(), [this] { FitLineMargin(); });
  editor->setMarginType(kBookmarkMargin, QsciScintilla::SymbolMargin);
  editor->setMarginWidth(kBookmarkMargin, 14);
  editor->setMarginSensitivity(kBookmarkMargin, true);
  editor->setMarginMarkerMask(kBookmarkMargin, 1 << kBookmark);
  editor->markerDefine(QsciScintilla::Rectangle, kBookmark);
  editor->setMarkerBackgroundColor(QColor(0x30, 0x70, 0xD0), kBookmark);
  editor->setMarkerForegroundColor(QColor(0x10, 0x30, 0x80), kBookmark);
  QObject::connect(editor, &QsciScintilla::marginClicked, Guard(),
                   [this](int, int line, Qt::KeyboardModifiers) {
                     Widget()->setCursorPosition(line, 0);
                     ToggleBookmark();
                   });

  // The window's menus own these keys, so that they reach the presenter as commands.
  QsciCommandSet* commands = editor->standardCommands();
  for (QKeyCombination combination :
       {Qt::CTRL | Qt::Key_Z, Qt::CTRL | Qt::Key_Y, Qt::CTRL | Qt::Key_X, Qt::CTRL | Qt::Key_C,
        Qt::CTRL | Qt::Key_V, Qt::CTRL | Qt::SHIFT | Qt::Key_Z}) {
    const int key = combination.toCombined();
    if (QsciCommand* command = commands->boundTo(key)) {
      if (command->key() == key) command->setKey(0);
      if (command->alternateKey() == key) command->setAlternateKey(0);
    }
  }

  find_dialog = [](QtEditor& e) { RunFindDialog(e); };
  replace_dialog = [](QtEditor& e) { RunReplaceDialog(e); };

  editor->indicatorDefine(QsciScintilla::SquiggleLowIndicator, kErrorIndicator);
  editor->setIndicatorForegroundColor(QColor(0xE0, 0x00, 0x00), kErrorIndicator);
  editor->setAnnotationDisplay(QsciScintilla::AnnotationBoxed);
  live_style_ = QsciStyle(kLiveCheckStyle, QStringLiteral("live check"), QColor(0xA0, 0x00, 0x00),
                          QColor(0xFF, 0xF0, 0xF0), editor->font());
  live_timer_ = new QTimer(editor);
  live_timer_->setSingleShot(true);
  QObject::connect(live_timer_, &QTimer::timeout, Guard(), [this] { RunLiveCheck(); });
  QObject::connect(editor, &EditorWidget::completionRequested, Guard(),
                   [this] { ShowCompletion(false); });
  QObject::connect(editor, &QsciScintillaBase::SCN_CHARADDED, Guard(), [this](int c) {
    if (!assist_) return;
    if (c == '(' || c == ',' || c == ')')
      UpdateCallTip();
    else if (c == '"' || c == '_' || c == '$' || (c < 128 && std::isalnum(c)))
      ShowCompletion(true);
  });
  QObject::connect(editor, &QsciScintilla::cursorPositionChanged, Guard(), [this](int, int) {
    if (assist_) UpdateCallTip();
  });
  QObject::connect(editor, &QsciScintilla::textChanged, Guard(), [this] {
    if (error_mark_.first > 0 || !live_message_.empty()) ClearErrorMark();
    if (live_check_) live_timer_->start();
  });
}

// The widget may outlive its adapter for a moment; its lexer must not read our keywords.
QtEditor::~QtEditor() {
  if (lexer_) lexer_->SetKeywords(nullptr);
}

void QtEditor::FitLineMargin() {
  int digits = 1;
  for (int lines = Widget()->lines(); lines >= 10; lines /= 10) ++digits;
  digits = std::max(digits, 3);
  if (digits == margin_digits_) return;
  margin_digits_ = digits;
  const QByteArray widest(digits, '9');
  const long width = Widget()->SendScintilla(QsciScintilla::SCI_TEXTWIDTH,
                                             QsciScintilla::STYLE_LINENUMBER, widest.constData());
  Widget()->setMarginWidth(kLineMargin, static_cast<int>(width) + 2 * kNumberPadding);
}

long QtEditor::Length() const {
  return Widget()->SendScintilla(QsciScintilla::SCI_GETLENGTH);
}

long QtEditor::ToSci(int32_t position) const {
  if (position <= 1) return 0;
  long at = Widget()->SendScintilla(QsciScintilla::SCI_POSITIONRELATIVE, 0UL,
                                    static_cast<long>(position - 1));
  // Past the end Scintilla answers 0.
  return at == 0 ? Length() : at;
}

int32_t QtEditor::FromSci(long position) const {
  return static_cast<int32_t>(
             Widget()->SendScintilla(QsciScintilla::SCI_COUNTCHARACTERS, 0UL, position)) +
         1;
}

std::string QtEditor::Text() const {
  return FromQt(Widget()->text());
}

void QtEditor::InsertText(const std::string& text) {
  Widget()->beginUndoAction();
  Widget()->replaceSelectedText(ToQt(text));
  Widget()->endUndoAction();
}

void QtEditor::Clear() {
  Widget()->SendScintilla(QsciScintilla::SCI_CLEARALL);
}

int32_t QtEditor::CaretPosition() const {
  return FromSci(Widget()->SendScintilla(QsciScintilla::SCI_GETCURRENTPOS));
}

void QtEditor::SetCaretPosition(int32_t position) {
  Widget()->SendScintilla(QsciScintilla::SCI_GOTOPOS, ToSci(position));
}

int32_t QtEditor::SelectionStart() const {
  return FromSci(Widget()->SendScintilla(QsciScintilla::SCI_GETSELECTIONSTART));
}

int32_t QtEditor::SelectionLength() const {
  long start = Widget()->SendScintilla(QsciScintilla::SCI_GETSELECTIONSTART);
  long end = Widget()->SendScintilla(QsciScintilla::SCI_GETSELECTIONEND);
  return static_cast<int32_t>(
      Widget()->SendScintilla(QsciScintilla::SCI_COUNTCHARACTERS, start, end));
}

void QtEditor::Select(int32_t start, int32_t length) {
  long from = ToSci(start);
  long to = length <= 0 ? from : ToSci(std::max(start, 1) + length);
  Widget()->SendScintilla(QsciScintilla::SCI_SETSEL, from, to);
}

void QtEditor::Copy() {
  Widget()->copy();
}

void QtEditor::Cut() {
  Widget()->cut();
}

void QtEditor::Paste() {
  Widget()->paste();
}

void QtEditor::Undo() {
  Widget()->undo();
}

void QtEditor::Redo() {
  Widget()->redo();
}

bool QtEditor::CanUndo() const {
  return Widget()->isUndoAvailable();
}

bool QtEditor::CanRedo() const {
  return Widget()->isRedoAvailable();
}

void QtEditor::Find() {
  if (find_dialog) find_dialog(*this);
}

void QtEditor::Replace() {
  if (replace_dialog) replace_dialog(*this);
}

std::optional<std::pair<long, long>> QtEditor::Search(const std::string& what, long from, long to,
                                                      bool match_case) const {
  QByteArray sought = Utf8(what);
  if (sought.isEmpty()) return std::nullopt;
  QsciScintilla* sci = Widget();
  sci->SendScintilla(QsciScintilla::SCI_SETSEARCHFLAGS,
                     match_case ? QsciScintilla::SCFIND_MATCHCASE : 0);
  sci->SendScintilla(QsciScintilla::SCI_SETTARGETRANGE, from, to);
  long at = sci->SendScintilla(QsciScintilla::SCI_SEARCHINTARGET,
                               static_cast<unsigned long>(sought.size()), sought.constData());
  if (at < 0) return std::nullopt;
  return std::make_pair(at, sci->SendScintilla(QsciScintilla::SCI_GETTARGETEND));
}

bool QtEditor::FindNext(const std::string& what, bool match_case) {
  long caret = Widget()->SendScintilla(QsciScintilla::SCI_GETCURRENTPOS);
  auto match = Search(what, caret, Length(), match_case);
  if (!match) match = Search(what, 0, Length(), match_case);
  last_found_ = match.has_value();
  if (match) {
    Widget()->SendScintilla(QsciScintilla::SCI_SETSEL, match->first, match->second);
    Widget()->ensureCursorVisible();
  }
  return last_found_;
}

bool QtEditor::ReplaceNext(const std::string& what, const std::string& with, bool match_case) {
  QsciScintilla* sci = Widget();
  long start = sci->SendScintilla(QsciScintilla::SCI_GETSELECTIONSTART);
  long end = sci->SendScintilla(QsciScintilla::SCI_GETSELECTIONEND);
  auto match = start < end ? Search(what, start, end, match_case) : std::nullopt;
  bool replaced = match && match->first == start && match->second == end;
  if (replaced) InsertText(with);
  FindNext(what, match_case);
  return replaced;
}

int QtEditor::ReplaceAll(const std::string& what, const std::string& with, bool match_case) {
  QsciScintilla* sci = Widget();
  const QByteArray replacement = Utf8(with);
  int count = 0;
  long from = 0;
  bool began = false;
  while (auto match = Search(what, from, Length(), match_case)) {
    if (!began) {
      sci->beginUndoAction();
      began = true;
    }
    sci->SendScintilla(QsciScintilla::SCI_SETTARGETRANGE, match->first, match->second);
    long put =
        sci->SendScintilla(QsciScintilla::SCI_REPLACETARGET,
                           static_cast<unsigned long>(replacement.size()), replacement.constData());
    from = match->first + put;
    ++count;
  }
  if (began) {
    sci->SendScintilla(QsciScintilla::SCI_GOTOPOS, from);
    sci->endUndoAction();
  }
  last_found_ = count > 0;
  return count;
}

void QtEditor::ToggleBookmark() {
  int line = 0, index = 0;
  Widget()->getCursorPosition(&line, &index);
  if (Widget()->markersAtLine(line) & (1 << kBookmark))
    Widget()->markerDelete(line, kBookmark);
  else
    Widget()->markerAdd(line, kBookmark);
}

void QtEditor::DeleteAllBookmarks() {
  Widget()->markerDeleteAll(kBookmark);
}

void QtEditor::NextBookmark() {
  int line = 0, index = 0;
  Widget()->getCursorPosition(&line, &index);
  int next = Widget()->markerFindNext(line + 1, 1 << kBookmark);
  if (next < 0) next = Widget()->markerFindNext(0, 1 << kBookmark);
  if (next >= 0) Widget()->setCursorPosition(next, 0);
}

void QtEditor::PrevBookmark() {
  int line = 0, index = 0;
  Widget()->getCursorPosition(&line, &index);
  int prev = line > 0 ? Widget()->markerFindPrevious(line - 1, 1 << kBookmark) : -1;
  if (prev < 0) prev = Widget()->markerFindPrevious(Widget()->lines() - 1, 1 << kBookmark);
  if (prev >= 0) Widget()->setCursorPosition(prev, 0);
}

std::vector<int32_t> QtEditor::Bookmarks() const {
  std::vector<int32_t> lines;
  for (int line = Widget()->markerFindNext(0, 1 << kBookmark); line >= 0;
       line = Widget()->markerFindNext(line + 1, 1 << kBookmark))
    lines.push_back(line + 1);
  return lines;
}

namespace {

// Every opening of the window makes an editor that reads the same file: the words of the
// last one read are kept for the next editor while its bytes stay the same.
std::shared_ptr<const ui::KeywordSet> SharedKeywords(const std::filesystem::path& path,
                                                     const std::string& bytes) {
  struct Parsed {
    std::filesystem::path path;
    std::string bytes;
    std::shared_ptr<const ui::KeywordSet> keywords;
  };
  thread_local Parsed last;
  if (!last.keywords || last.path != path || last.bytes != bytes)
    last = {path, bytes,
            std::make_shared<const ui::KeywordSet>(ui::ParseKeywordFile(bytes, path.string()))};
  return last.keywords;
}

}  // namespace

void QtEditor::ReloadKeywords() {
  std::filesystem::path name(std::string(Trim(keyword_file_)));
  std::filesystem::path found;
  if (!name.empty()) {
    std::vector<std::filesystem::path> candidates;
    if (name.is_relative() && keyword_dirs_)
      for (const auto& dir : *keyword_dirs_) candidates.push_back(dir / name);
    candidates.push_back(name);
    for (const auto& candidate : candidates) {
      std::error_code ec;
      if (std::filesystem::is_regular_file(candidate, ec)) {
        found = candidate;
        break;
      }
    }
  }
  if (found.empty()) {
    lexer_->SetKeywords(nullptr);
    keywords_.reset();
    keyword_path_.clear();
    keyword_bytes_.clear();
    return;
  }
  std::string bytes = ReadWholeFile(found);
  // The window reloads on every opening; restyling a long text for nothing holds it up.
  if (keywords_ && found == keyword_path_ && bytes == keyword_bytes_) return;
  std::shared_ptr<const ui::KeywordSet> keywords = SharedKeywords(found, bytes);
  lexer_->SetKeywords(nullptr);
  keywords_ = std::move(keywords);
  keyword_path_ = found;
  keyword_bytes_ = std::move(bytes);
  lexer_->SetKeywords(keywords_.get());
}

void QtEditor::LoadFile(const std::string& path) {
  std::string bytes = ReadWholeFile(path);
  Widget()->setText(ToQt(bytes));
  Widget()->SendScintilla(QsciScintilla::SCI_EMPTYUNDOBUFFER);
  Widget()->markerDeleteAll(kBookmark);
  Widget()->SendScintilla(QsciScintilla::SCI_GOTOPOS, 0L);
}

void QtEditor::MarkError(int32_t start, int32_t length) {
  ClearErrorMark();
  const int32_t end = FromSci(Length());  // one past the last character
  start = std::clamp(start, 1, end);
  length = std::clamp(length, 0, end - start);
  error_mark_ = {start, length};
  // An empty range would draw nothing: the error is then shown on a character beside it.
  int32_t from = start, to = start + length;
  if (length == 0) {
    if (start < end)
      to = start + 1;
    else if (start > 1)
      from = start - 1;
  }
  Widget()->SendScintilla(QsciScintilla::SCI_SETINDICATORCURRENT, kErrorIndicator);
  Widget()->SendScintilla(QsciScintilla::SCI_INDICATORFILLRANGE, ToSci(from),
                          ToSci(to) - ToSci(from));
}

void QtEditor::ClearErrorMark() {
  error_mark_ = {0, 0};
  Widget()->SendScintilla(QsciScintilla::SCI_SETINDICATORCURRENT, kErrorIndicator);
  Widget()->SendScintilla(QsciScintilla::SCI_INDICATORCLEARRANGE, 0L, Length());
  if (!live_message_.empty()) {
    live_message_.clear();
    Widget()->clearAnnotations();
  }
}

void QtEditor::SetLiveCheck(LiveCheck check, int delay_ms) {
  live_check_ = std::move(check);
  live_timer_->setInterval(delay_ms);
  if (!live_check_) live_timer_->stop();
}

void QtEditor::RunLiveCheck() {
  live_timer_->stop();
  if (!live_check_) return;
  std::optional<LiveError> error = live_check_(Text());
  if (!error) return ClearErrorMark();
  MarkError(error->start, error->length);
  live_message_ = error->message;
  int line = 0, index = 0;
  Widget()->lineIndexFromPosition(static_cast<int>(ToSci(error_mark_.first)), &line, &index);
  Widget()->annotate(line, ToQt(live_message_), live_style_);
}

void QtEditor::SetAssist(ui::EditorAssist* assist) {
  assist_ = assist;
  if (!assist_) {
    Widget()->SendScintilla(QsciScintilla::SCI_CALLTIPCANCEL);
    call_tip_.clear();
  }
}

bool QtEditor::ShowCompletion(bool typed) {
  if (!assist_) return false;
  std::optional<ui::CompletionSite> site = ui::CompletionAt(Text(), CaretPosition());
  if (!site || (typed && site->kind == ui::CompletionSite::kWord && site->prefix.size() < 3))
    return false;
  std::vector<std::string> candidates = ui::Candidates(*assist_, *site);
  QsciScintilla* w = Widget();
  // A word typed out has nothing to add; a list still open from its first letters would
  // take the next Enter.
  if (typed && candidates.size() == 1 && EqualsIgnoreCase(candidates[0], site->prefix)) {
    w->SendScintilla(QsciScintilla::SCI_AUTOCCANCEL);
    return false;
  }
  if (candidates.empty()) return false;
  QByteArray list;
  for (const std::string& candidate : candidates) {
    if (!list.isEmpty()) list += '\n';
    list += Utf8(candidate);
  }
  w->SendScintilla(QsciScintilla::SCI_AUTOCSETSEPARATOR, static_cast<long>('\n'));
  w->SendScintilla(QsciScintilla::SCI_AUTOCSETIGNORECASE, 1L);
  w->SendScintilla(QsciScintilla::SCI_AUTOCSETORDER, 2L);  // as given: already sorted
  w->SendScintilla(QsciScintilla::SCI_AUTOCSETCANCELATSTART, 0L);
  w->SendScintilla(QsciScintilla::SCI_AUTOCSHOW,
                   static_cast<unsigned long>(Utf8(site->prefix).size()), list.constData());
  return true;
}

void QtEditor::UpdateCallTip() {
  if (!assist_) return;
  // An argument list does not go past its line, and a long text must not be read for each
  // caret move.
  QsciScintilla* w = Widget();
  const long caret = w->SendScintilla(QsciScintilla::SCI_GETCURRENTPOS);
  const long line_start =
      w->SendScintilla(QsciScintilla::SCI_POSITIONFROMLINE,
                       w->SendScintilla(QsciScintilla::SCI_LINEFROMPOSITION, caret));
  QByteArray utf8(static_cast<qsizetype>(caret - line_start) + 1, '\0');
  w->SendScintilla(QsciScintilla::SCI_GETTEXTRANGE, line_start, caret, utf8.data());
  const std::string text = FromQt(QString::fromUtf8(utf8.constData(), utf8.size() - 1));
  for (const ui::CallSite& call : ui::CallsAt(text, static_cast<int32_t>(text.size()) + 1)) {
    if (call.name.empty()) continue;
    std::optional<ui::FunctionHelp> help = assist_->Describe(call.name);
    if (!help) continue;
    std::string tip = help->prototype;
    if (!help->description.empty()) tip += "\n" + help->description;
    if (tip != call_tip_ || !w->SendScintilla(QsciScintilla::SCI_CALLTIPACTIVE)) {
      call_tip_ = tip;
      const size_t name_start = static_cast<size_t>(call.paren - 1) - call.name.size();
      const long at = line_start + Utf8(text.substr(0, name_start)).size();
      w->SendScintilla(QsciScintilla::SCI_CALLTIPSHOW, static_cast<unsigned long>(at),
                       Utf8(tip).constData());
    }
    if (auto span = ui::ArgumentSpan(help->prototype, call.argument))
      w->SendScintilla(
          QsciScintilla::SCI_CALLTIPSETHLT,
          static_cast<unsigned long>(Utf8(help->prototype.substr(0, span->first)).size()),
          static_cast<long>(Utf8(help->prototype.substr(0, span->second)).size()));
    else
      w->SendScintilla(QsciScintilla::SCI_CALLTIPSETHLT, 0UL, 0L);
    return;
  }
  if (!call_tip_.empty()) {
    w->SendScintilla(QsciScintilla::SCI_CALLTIPCANCEL);
    call_tip_.clear();
  }
}

std::string QtEditor::CallTip() const {
  return Widget()->SendScintilla(QsciScintilla::SCI_CALLTIPACTIVE) ? call_tip_ : std::string();
}

void QtEditor::SaveFile(const std::string& path) {
  WriteFileAtomic(path, Text());
}

void QtEditor::SetStyle(const std::string& name) {
  const QPalette& palette = Widget()->palette();
  if (name == "style_winhighlight") {
    Widget()->setSelectionBackgroundColor(palette.color(QPalette::Active, QPalette::Highlight));
    Widget()->setSelectionForegroundColor(
        palette.color(QPalette::Active, QPalette::HighlightedText));
  } else if (name == "style_tokennormal") {
    lexer_->setDefaultPaper(palette.color(QPalette::Active, QPalette::Base));
    lexer_->setPaper(palette.color(QPalette::Active, QPalette::Base), -1);
  }
}

void QtEditor::SetFontName(const std::string& name) {
  font_name_ = name;
  QFont font(ToQt(name));
  if (!QFontInfo(font).fixedPitch()) return;
  for (int style = 0; style < KeywordLexer::kFirstCategory + KeywordLexer::kCategoryStyles;
       ++style) {
    QFont styled = lexer_->font(style);
    styled.setFamily(font.family());
    lexer_->setFont(styled, style);
  }
}

int QtEditor::StyleAt(int32_t position) const {
  // The lexer styles lines as they are shown: this one may not have been yet.
  const long at = ToSci(position);
  if (at >= Widget()->SendScintilla(QsciScintilla::SCI_GETENDSTYLED)) {
    const long line = Widget()->SendScintilla(QsciScintilla::SCI_LINEFROMPOSITION, at);
    Widget()->SendScintilla(QsciScintilla::SCI_COLOURISE,
                            Widget()->SendScintilla(QsciScintilla::SCI_POSITIONFROMLINE, line),
                            Widget()->SendScintilla(QsciScintilla::SCI_GETLINEENDPOSITION, line));
  }
  return static_cast<int>(Widget()->SendScintilla(QsciScintilla::SCI_GETSTYLEAT, at));
}

}  // namespace kx::qt
