#include "win32_editor.h"

#include <commdlg.h>
#include <richedit.h>

#include <algorithm>
#include <cstring>

#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/text.h"
#include "ui/line_marks.h"

namespace kx::com::win32 {

namespace {

LRESULT CALLBACK EditorSubclass(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR,
                                DWORD_PTR data) {
  auto* editor = reinterpret_cast<Win32Editor*>(data);
  if (editor) return editor->Procedure(message, wparam, lparam);
  return DefSubclassProc(window, message, wparam, lparam);
}

}  // namespace

Win32Editor::Win32Editor(std::string name, HWND parent,
                         std::vector<std::filesystem::path> keyword_dirs, Events events)
    : Win32Control(std::move(name),
                   MakeChild(L"RichEdit20A",
                             WS_TABSTOP | WS_VSCROLL | WS_HSCROLL | ES_MULTILINE | ES_AUTOVSCROLL |
                                 ES_AUTOHSCROLL | ES_WANTRETURN | ES_NOHIDESEL,
                             parent, WS_EX_CLIENTEDGE)),
      keyword_dirs_(std::move(keyword_dirs)),
      events_(std::move(events)) {
  // The text mode can only be set with no history, which setting the font may have made.
  SendMessageW(window_, EM_EMPTYUNDOBUFFER, 0, 0);
  SendMessageW(window_, EM_SETTEXTMODE, TM_PLAINTEXT | TM_MULTILEVELUNDO | TM_MULTICODEPAGE, 0);
  SendMessageW(window_, EM_SETEVENTMASK, 0, ENM_CHANGE);
  SendMessageW(window_, EM_EXLIMITTEXT, 0, 0x7FFFFFFE);
  SetWindowSubclass(window_, EditorSubclass, 1, reinterpret_cast<DWORD_PTR>(this));
  Attach(window_, this);
}

Win32Editor::~Win32Editor() {
  RemoveWindowSubclass(window_, EditorSubclass, 1);
}

LRESULT Win32Editor::Procedure(UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_KEYDOWN && events_.key_down) Fire(events_.key_down);
  if ((message == WM_LBUTTONDOWN || message == WM_RBUTTONDOWN) && events_.mouse_down)
    Fire(events_.mouse_down);
  return DefSubclassProc(window_, message, wparam, lparam);
}

bool Win32Editor::Notify(UINT message, WPARAM wparam, LPARAM, LRESULT& result) {
  if (message != WM_COMMAND || HIWORD(wparam) != EN_CHANGE) return false;
  Follow();
  result = 0;
  return true;
}

void Win32Editor::Follow() const {
  std::string text = Text();
  if (text == seen_) return;
  if (!bookmarks_.empty()) {
    const ui::TextChange change =
        ui::ChangeBetween(seen_, text, FromRich(text, RichSelection().end));
    bookmarks_ = ui::MoveLineMarks(bookmarks_, seen_, change,
                                   std::string_view(text).substr(change.at, change.inserted));
  }
  seen_ = std::move(text);
}

std::string Win32Editor::Text() const {
  GETTEXTLENGTHEX length{GTL_USECRLF | GTL_NUMBYTES, CP_ACP};
  const auto size = SendMessageA(window_, EM_GETTEXTLENGTHEX, reinterpret_cast<WPARAM>(&length), 0);
  std::string text(static_cast<size_t>(std::max<LRESULT>(size, 0)) + 2, '\0');
  GETTEXTEX get{static_cast<DWORD>(text.size()), GT_USECRLF, CP_ACP, nullptr, nullptr};
  const auto got = SendMessageA(window_, EM_GETTEXTEX, reinterpret_cast<WPARAM>(&get),
                                reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<size_t>(std::max<LRESULT>(got, 0)));
  return text;
}

long Win32Editor::ToRich(const std::string& text, size_t offset) const {
  offset = std::min(offset, text.size());
  long index = 0;
  for (size_t i = 0; i < offset; ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    ++index;
  }
  return index;
}

size_t Win32Editor::FromRich(const std::string& text, long index) const {
  size_t i = 0;
  for (long n = 0; n < index && i < text.size(); ++n) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    ++i;
  }
  return i;
}

Win32Editor::Range Win32Editor::RichSelection() const {
  CHARRANGE range{0, 0};
  SendMessageW(window_, EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&range));
  return {std::min(range.cpMin, range.cpMax), std::max(range.cpMin, range.cpMax)};
}

void Win32Editor::MarkError(int32_t start, int32_t length) {
  std::string text = Text();
  const int32_t end = static_cast<int32_t>(text.size()) + 1;
  start = std::clamp(start, 1, end);
  mark_ = {start, std::clamp(length, 0, end - start)};
  marked_text_ = std::move(text);
}

std::pair<int32_t, int32_t> Win32Editor::ErrorMark() const {
  if (!marked_text_ || *marked_text_ != Text()) return {0, 0};
  return mark_;
}

void Win32Editor::InsertText(const std::string& text) {
  // Each insertion is an undo step of its own, not merged with typing around it.
  SendMessageW(window_, EM_STOPGROUPTYPING, 0, 0);
  SendMessageA(window_, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text.c_str()));
  SendMessageW(window_, EM_STOPGROUPTYPING, 0, 0);
}

void Win32Editor::Clear() {
  SendMessageW(window_, EM_SETSEL, 0, -1);
  InsertText("");
}

int32_t Win32Editor::CaretPosition() const {
  CHARRANGE range{0, 0};
  SendMessageW(window_, EM_EXGETSEL, 0, reinterpret_cast<LPARAM>(&range));
  return static_cast<int32_t>(FromRich(Text(), range.cpMax)) + 1;
}

void Win32Editor::SetCaretPosition(int32_t position) {
  Select(position, 0);
}

int32_t Win32Editor::SelectionStart() const {
  return static_cast<int32_t>(FromRich(Text(), RichSelection().start)) + 1;
}

int32_t Win32Editor::SelectionLength() const {
  const std::string text = Text();
  const Range range = RichSelection();
  return static_cast<int32_t>(FromRich(text, range.end) - FromRich(text, range.start));
}

void Win32Editor::Select(int32_t start, int32_t length) {
  const std::string text = Text();
  const auto size = static_cast<int64_t>(text.size());
  const int64_t from = std::clamp<int64_t>(start, 1, size + 1) - 1;
  const int64_t to = std::clamp<int64_t>(from + std::max(length, 0), from, size);
  CHARRANGE range{ToRich(text, static_cast<size_t>(from)), ToRich(text, static_cast<size_t>(to))};
  SendMessageW(window_, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
  SendMessageW(window_, EM_SCROLLCARET, 0, 0);
}

// A copy of nothing leaves the clipboard as it was (some rich edits would empty it).
void Win32Editor::Copy() {
  const Range selection = RichSelection();
  if (selection.end > selection.start) SendMessageW(window_, WM_COPY, 0, 0);
}

// The clipboard's text goes in as an insertion: a rich format would bring its fonts along,
// and some rich edits paste over all of a plain-text control's text.
void Win32Editor::Paste() {
  if (!IsClipboardFormatAvailable(CF_TEXT) || !OpenClipboard(window_)) return;
  std::string text;
  if (HANDLE data = GetClipboardData(CF_TEXT)) {
    if (const auto* bytes = static_cast<const char*>(GlobalLock(data))) {
      text.assign(bytes, strnlen(bytes, GlobalSize(data)));
      GlobalUnlock(data);
    }
  }
  CloseClipboard();
  if (!text.empty()) InsertText(text);
}

void Win32Editor::Redo() {
  SendMessageW(window_, EM_REDO, 0, 0);
}

bool Win32Editor::CanRedo() const {
  return SendMessageW(window_, EM_CANREDO, 0, 0) != 0;
}

int32_t Win32Editor::LineOfRich(long index) const {
  return static_cast<int32_t>(SendMessageW(window_, EM_EXLINEFROMCHAR, 0, index)) + 1;
}

void Win32Editor::GoToLine(int32_t line) {
  const auto index = SendMessageW(window_, EM_LINEINDEX, static_cast<WPARAM>(line - 1), 0);
  if (index < 0) return;
  CHARRANGE range{static_cast<LONG>(index), static_cast<LONG>(index)};
  SendMessageW(window_, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
  SendMessageW(window_, EM_SCROLLCARET, 0, 0);
}

void Win32Editor::ToggleBookmark() {
  Follow();
  const int32_t line = LineOfRich(RichSelection().end);
  if (!bookmarks_.erase(line)) bookmarks_.insert(line);
}

void Win32Editor::DeleteAllBookmarks() {
  bookmarks_.clear();
}

void Win32Editor::NextBookmark() {
  Follow();
  if (bookmarks_.empty()) return;
  auto it = bookmarks_.upper_bound(LineOfRich(RichSelection().end));
  if (it == bookmarks_.end()) it = bookmarks_.begin();
  GoToLine(*it);
}

void Win32Editor::PrevBookmark() {
  Follow();
  if (bookmarks_.empty()) return;
  auto it = bookmarks_.lower_bound(LineOfRich(RichSelection().end));
  it = it == bookmarks_.begin() ? std::prev(bookmarks_.end()) : std::prev(it);
  GoToLine(*it);
}

std::vector<int32_t> Win32Editor::Bookmarks() const {
  Follow();
  return {bookmarks_.begin(), bookmarks_.end()};
}

void Win32Editor::ReloadKeywords() {
  std::filesystem::path name(std::string(Trim(keyword_file_)));
  keywords_.reset();
  if (!name.empty()) {
    std::vector<std::filesystem::path> candidates;
    if (name.is_relative())
      for (const auto& dir : keyword_dirs_) candidates.push_back(dir / name);
    candidates.push_back(name);
    for (const auto& candidate : candidates) {
      std::error_code ec;
      if (std::filesystem::is_regular_file(candidate, ec)) {
        keywords_ = ui::ReadKeywordFile(candidate);
        break;
      }
    }
  }
}

void Win32Editor::LoadFile(const std::string& path) {
  std::string text = ReadWholeFile(path);
  bookmarks_.clear();
  SetWindowTextA(window_, text.c_str());
  SendMessageW(window_, EM_SETSEL, 0, 0);
  SendMessageW(window_, EM_EMPTYUNDOBUFFER, 0, 0);
  seen_ = Text();
}

void Win32Editor::SaveFile(const std::string& path) {
  WriteFileAtomic(path, Text());
}

void Win32Editor::Find() {
  RunSearchDialog(false);
}

void Win32Editor::Replace() {
  RunSearchDialog(true);
}

namespace {

struct SearchState {
  Win32Editor* editor;
  HWND dialog = nullptr;
  UINT message = 0;
  std::function<void(const FINDREPLACEA&)> act;
};

LRESULT CALLBACK OwnerSubclass(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR,
                               DWORD_PTR data) {
  auto* state = reinterpret_cast<SearchState*>(data);
  if (message == state->message) {
    const auto& request = *reinterpret_cast<FINDREPLACEA*>(lparam);
    if (request.Flags & FR_DIALOGTERM)
      state->dialog = nullptr;
    else
      Fire([&] { state->act(request); });
    return 0;
  }
  return DefSubclassProc(window, message, wparam, lparam);
}

}  // namespace

// The common find and replace dialogs are modeless; the control runs them as its own modal
// dialog, with a loop that ends when the user closes them.
void Win32Editor::RunSearchDialog(bool replace) {
  HWND owner = GetAncestor(window_, GA_ROOT);
  static char find_text[256];
  static char replace_text[256];
  const Range selection = RichSelection();
  if (selection.end > selection.start && selection.end - selection.start < 255) {
    const std::string text = Text();
    const size_t from = FromRich(text, selection.start);
    const std::string picked = text.substr(from, FromRich(text, selection.end) - from);
    if (picked.find('\r') == std::string::npos) lstrcpynA(find_text, picked.c_str(), 256);
  }
  FINDREPLACEA request{};
  request.lStructSize = sizeof(request);
  request.hwndOwner = owner;
  request.Flags = FR_DOWN | FR_HIDEUPDOWN;
  request.lpstrFindWhat = find_text;
  request.wFindWhatLen = sizeof(find_text);
  request.lpstrReplaceWith = replace_text;
  request.wReplaceWithLen = sizeof(replace_text);

  SearchState state{this, nullptr, 0, nullptr};
  state.message = RegisterWindowMessageA(FINDMSGSTRINGA);
  // Finds from the caret on, wrapping once; returns the byte offset of the match.
  auto search = [this](const std::string& what, size_t from, bool match_case) {
    std::string text = Text();
    std::string hay = match_case ? text : LowerCase(text);
    std::string needle = match_case ? what : LowerCase(what);
    size_t at = hay.find(needle, std::min(from, hay.size()));
    if (at == std::string::npos) at = hay.find(needle);
    return at;
  };
  state.act = [&](const FINDREPLACEA& r) {
    const std::string what = r.lpstrFindWhat;
    if (what.empty()) return;
    const bool match_case = (r.Flags & FR_MATCHCASE) != 0;
    if (r.Flags & FR_REPLACEALL) {
      Follow();
      std::string text = Text();
      std::string hay = match_case ? text : LowerCase(text);
      std::string needle = match_case ? what : LowerCase(what);
      const std::string with = r.lpstrReplaceWith;
      std::vector<size_t> matches;
      for (size_t at = hay.find(needle); at != std::string::npos;
           at = hay.find(needle, at + needle.size()))
        matches.push_back(at);
      if (matches.empty()) return;
      // Match by match, last first so that the offsets before stay, for bookmarks between
      // matches keep their lines; the text then goes in whole, as one undo step.
      for (auto at = matches.rbegin(); at != matches.rend(); ++at) {
        if (!bookmarks_.empty())
          bookmarks_ = ui::MoveLineMarks(bookmarks_, text, {*at, what.size(), with.size()}, with);
        text.replace(*at, what.size(), with);
      }
      seen_ = text;
      SendMessageW(window_, EM_SETSEL, 0, -1);
      InsertText(text);
      return;
    }
    const int32_t start = SelectionStart();
    const int32_t length = SelectionLength();
    if (r.Flags & FR_REPLACE) {
      const std::string text = Text();
      const std::string picked =
          text.substr(static_cast<size_t>(start - 1), static_cast<size_t>(length));
      if (match_case ? picked == what : EqualsIgnoreCase(picked, what)) {
        InsertText(r.lpstrReplaceWith);
      }
    }
    const size_t at = search(
        what, static_cast<size_t>(SelectionStart() - 1 + (r.Flags & FR_REPLACE ? 0 : length)),
        match_case);
    if (at == std::string::npos) {
      MessageBeep(MB_ICONASTERISK);
      return;
    }
    Select(static_cast<int32_t>(at) + 1, static_cast<int32_t>(what.size()));
  };
  SetWindowSubclass(owner, OwnerSubclass, 2, reinterpret_cast<DWORD_PTR>(&state));
  state.dialog = replace ? ReplaceTextA(&request) : FindTextA(&request);
  MSG msg;
  while (state.dialog && IsWindow(state.dialog)) {
    if (GetMessageW(&msg, nullptr, 0, 0) <= 0) {
      PostQuitMessage(0);
      break;
    }
    if (IsDialogMessageW(state.dialog, &msg)) continue;
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  RemoveWindowSubclass(owner, OwnerSubclass, 2);
  if (state.dialog && IsWindow(state.dialog)) DestroyWindow(state.dialog);
}

}  // namespace kx::com::win32
