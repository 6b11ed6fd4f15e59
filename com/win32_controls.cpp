#include "win32_controls.h"

#include <richedit.h>

#include <algorithm>

#include "com_support.h"
#include "runtime/error.h"

namespace kx::com::win32 {

namespace {

constexpr double kTwipsPerInch = 1440.0;

int Dpi(int axis) {
  static const int dpi[2] = {[] {
                               HDC dc = GetDC(nullptr);
                               int d = dc ? GetDeviceCaps(dc, LOGPIXELSX) : 96;
                               if (dc) ReleaseDC(nullptr, dc);
                               return d > 0 ? d : 96;
                             }(),
                             [] {
                               HDC dc = GetDC(nullptr);
                               int d = dc ? GetDeviceCaps(dc, LOGPIXELSY) : 96;
                               if (dc) ReleaseDC(nullptr, dc);
                               return d > 0 ? d : 96;
                             }()};
  return dpi[axis];
}

int ToPixels(int32_t twips, int axis) {
  return MulDiv(twips, Dpi(axis), static_cast<int>(kTwipsPerInch));
}
int32_t ToTwips(int pixels, int axis) {
  return MulDiv(pixels, static_cast<int>(kTwipsPerInch), Dpi(axis));
}

std::map<HWND, Notified*>& Attached() {
  static std::map<HWND, Notified*> attached;
  return attached;
}

LRESULT CALLBACK PaneProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  LRESULT result = 0;
  if ((message == WM_COMMAND || message == WM_NOTIFY) &&
      RouteToChild(message, wparam, lparam, result))
    return result;
  return DefWindowProcW(window, message, wparam, lparam);
}

LRESULT CALLBACK FormProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_NCCREATE) {
    auto* create = reinterpret_cast<CREATESTRUCTW*>(lparam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  auto* form = reinterpret_cast<Win32Window*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (form && form->Handle() == window) return form->Procedure(message, wparam, lparam);
  return DefWindowProcW(window, message, wparam, lparam);
}

// The thread's windows that a modal window disables while it runs.
BOOL CALLBACK CollectEnabled(HWND other, LPARAM list) {
  auto& windows = *reinterpret_cast<std::vector<HWND>*>(list);
  if (IsWindowVisible(other) && IsWindowEnabled(other)) windows.push_back(other);
  return TRUE;
}

}  // namespace

const wchar_t kFormClass[] = L"KXExprForm";
const wchar_t kPaneClass[] = L"KXExprPane";

void Fire(const std::function<void()>& handler) {
  try {
    handler();
  } catch (...) {
  }
}

int PixelsX(int32_t twips) {
  return ToPixels(twips, 0);
}
int PixelsY(int32_t twips) {
  return ToPixels(twips, 1);
}
int32_t TwipsX(int pixels) {
  return ToTwips(pixels, 0);
}
int32_t TwipsY(int pixels) {
  return ToTwips(pixels, 1);
}

std::string WindowText(HWND window) {
  const int length = GetWindowTextLengthA(window);
  std::string text(static_cast<size_t>(length) + 1, '\0');
  const int got = GetWindowTextA(window, text.data(), length + 1);
  text.resize(static_cast<size_t>(std::max(got, 0)));
  return text;
}

HFONT FontNamed(const std::string& name) {
  static std::map<std::string, HFONT> fonts;
  auto it = fonts.find(name);
  if (it != fonts.end()) return it->second;
  HDC dc = GetDC(nullptr);
  const int height = -MulDiv(8, dc ? GetDeviceCaps(dc, LOGPIXELSY) : 96, 72);
  if (dc) ReleaseDC(nullptr, dc);
  HFONT font = CreateFontA(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                           OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                           DEFAULT_PITCH | FF_DONTCARE, name.c_str());
  fonts[name] = font;
  return font;
}

void EnsureClasses() {
  static const bool done = [] {
    INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES |
                                                        ICC_BAR_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    LoadLibraryW(L"riched20.dll");
    WNDCLASSEXW form{};
    form.cbSize = sizeof(form);
    form.lpfnWndProc = FormProcedure;
    form.hInstance = g_module;
    form.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    form.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    form.lpszClassName = kFormClass;
    RegisterClassExW(&form);
    WNDCLASSEXW pane = form;
    pane.lpfnWndProc = PaneProcedure;
    pane.lpszClassName = kPaneClass;
    RegisterClassExW(&pane);
    return true;
  }();
  (void)done;
}

void Attach(HWND window, Notified* control) {
  if (control)
    Attached()[window] = control;
  else
    Attached().erase(window);
}

Notified* AttachedTo(HWND window) {
  auto it = Attached().find(window);
  return it == Attached().end() ? nullptr : it->second;
}

bool RouteToChild(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
  HWND from = nullptr;
  if (message == WM_COMMAND)
    from = reinterpret_cast<HWND>(lparam);
  else if (message == WM_NOTIFY)
    from = reinterpret_cast<NMHDR*>(lparam)->hwndFrom;
  Notified* control = from ? AttachedTo(from) : nullptr;
  return control && control->Notify(message, wparam, lparam, result);
}

HWND MakeChild(const wchar_t* window_class, DWORD style, HWND parent, DWORD ex_style) {
  EnsureClasses();
  HWND child = CreateWindowExW(ex_style, window_class, L"", WS_CHILD | WS_VISIBLE | style, 0, 0, 10,
                               10, parent, nullptr, g_module, nullptr);
  if (!child) Raise(kErrCantCreateObject, "The window's controls could not be created");
  SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)),
               FALSE);
  return child;
}

// ---- Simple controls ----

Win32Label::Win32Label(std::string name, HWND parent)
    : Win32Control(std::move(name), MakeChild(L"STATIC", SS_LEFT | SS_NOPREFIX, parent)) {}

Win32TextBox::Win32TextBox(std::string name, HWND parent, bool read_only)
    : Win32Control(std::move(name),
                   MakeChild(L"EDIT", WS_TABSTOP | ES_AUTOHSCROLL | (read_only ? ES_READONLY : 0),
                             parent, WS_EX_CLIENTEDGE)) {}

Win32Button::Win32Button(std::string name, HWND parent, std::function<void()> on_click)
    : Win32Control(std::move(name), MakeChild(L"BUTTON", WS_TABSTOP | BS_PUSHBUTTON, parent)),
      on_click_(std::move(on_click)) {
  Attach(window_, this);
}

bool Win32Button::Notify(UINT message, WPARAM wparam, LPARAM, LRESULT& result) {
  if (message != WM_COMMAND || HIWORD(wparam) != BN_CLICKED) return false;
  if (on_click_) Fire(on_click_);
  result = 0;
  return true;
}

Win32CheckBox::Win32CheckBox(std::string name, HWND parent)
    : Win32Control(std::move(name), MakeChild(L"BUTTON", WS_TABSTOP | BS_AUTOCHECKBOX, parent)) {}

Win32Combo::Win32Combo(std::string name, HWND parent, std::function<void()> on_drop_down)
    : Win32Control(
          std::move(name),
          MakeChild(L"COMBOBOX", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWN | CBS_AUTOHSCROLL, parent)),
      on_drop_down_(std::move(on_drop_down)) {
  Attach(window_, this);
}

void Win32Combo::RemoveAll() {
  const std::string text = Text();
  SendMessageW(window_, CB_RESETCONTENT, 0, 0);
  SetText(text);
}

void Win32Combo::AddItem(const std::string& text) {
  SendMessageA(window_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

int32_t Win32Combo::Rows() const {
  return static_cast<int32_t>(SendMessageW(window_, CB_GETCOUNT, 0, 0));
}

std::string Win32Combo::Item(int32_t row) const {
  if (row < 0 || row >= Rows()) Raise(kErrIndexOutOfBounds);
  const auto length = SendMessageA(window_, CB_GETLBTEXTLEN, static_cast<WPARAM>(row), 0);
  std::string text(static_cast<size_t>(std::max<LRESULT>(length, 0)) + 1, '\0');
  SendMessageA(window_, CB_GETLBTEXT, static_cast<WPARAM>(row),
               reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<size_t>(std::max<LRESULT>(length, 0)));
  return text;
}

void Win32Combo::SetListWidth(int32_t twips) {
  SendMessageW(window_, CB_SETDROPPEDWIDTH, static_cast<WPARAM>(PixelsX(twips)), 0);
}

// The height a combo is given is its closed height; the list drops below it.
void Win32Combo::SetBounds(const ui::Rect& r) {
  MoveWindow(window_, PixelsX(r.left), PixelsY(r.top), PixelsX(r.width), PixelsY(r.height) + 200,
             TRUE);
}

bool Win32Combo::Notify(UINT message, WPARAM wparam, LPARAM, LRESULT& result) {
  if (message != WM_COMMAND || HIWORD(wparam) != CBN_DROPDOWN) return false;
  if (on_drop_down_) Fire(on_drop_down_);
  result = 0;
  return true;
}

Win32Pane::Win32Pane(std::string name, HWND parent)
    : Win32Control(std::move(name),
                   MakeChild(kPaneClass, WS_CLIPCHILDREN, parent, WS_EX_CONTROLPARENT)) {}

// ---- Tree view ----

Win32TreeView::Win32TreeView(std::string name, HWND parent,
                             std::function<void(const std::string&)> on_click)
    : Win32Control(std::move(name), MakeChild(WC_TREEVIEWW,
                                              WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES |
                                                  TVS_LINESATROOT | TVS_SHOWSELALWAYS,
                                              parent, WS_EX_CLIENTEDGE)),
      on_click_(std::move(on_click)) {
  Attach(window_, this);
}

void Win32TreeView::Clear() {
  selecting_ = true;
  TreeView_DeleteAllItems(window_);
  selecting_ = false;
  entries_.clear();
  roots_.clear();
  keys_.clear();
}

void Win32TreeView::AddNode(const ui::TreeNode& node) {
  if (entries_.count(node.key)) Raise(kErrKeyNotUnique);
  Entry* parent = nullptr;
  if (!node.parent.empty()) parent = &Find(node.parent);
  TVINSERTSTRUCTA insert{};
  insert.hParent = parent ? parent->item : TVI_ROOT;
  insert.hInsertAfter = TVI_LAST;
  insert.item.mask = TVIF_TEXT;
  std::string text = node.text;
  insert.item.pszText = text.data();
  auto item = reinterpret_cast<HTREEITEM>(
      SendMessageA(window_, TVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&insert)));
  if (!item) Raise(kErrOutOfMemory);
  Entry entry{node, item, {}};
  entry.node.expanded = false;
  entries_.emplace(node.key, std::move(entry));
  keys_[item] = node.key;
  (parent ? parent->children : roots_).push_back(node.key);
  if (node.expanded) SetExpanded(node.key, true);
  // A node is marked expanded before it has children, which the control cannot show open.
  if (parent && parent->node.expanded) TreeView_Expand(window_, parent->item, TVE_EXPAND);
}

Win32TreeView::Entry& Win32TreeView::Find(std::string_view key) {
  auto it = entries_.find(key);
  if (it == entries_.end()) Raise(kErrElementNotFound);
  return it->second;
}

const Win32TreeView::Entry* Win32TreeView::FindOrNull(std::string_view key) const {
  auto it = entries_.find(key);
  return it == entries_.end() ? nullptr : &it->second;
}

std::optional<ui::TreeNode> Win32TreeView::Node(std::string_view key) const {
  if (const Entry* entry = FindOrNull(key)) return entry->node;
  return std::nullopt;
}

void Win32TreeView::SetTag(std::string_view key, const std::string& tag) {
  Find(key).node.tag = tag;
}

void Win32TreeView::SetExpanded(std::string_view key, bool expanded) {
  Entry& entry = Find(key);
  entry.node.expanded = expanded;
  TreeView_Expand(window_, entry.item, expanded ? TVE_EXPAND : TVE_COLLAPSE);
}

int32_t Win32TreeView::ChildCount(std::string_view key) const {
  const Entry* entry = FindOrNull(key);
  if (!entry) Raise(kErrElementNotFound);
  return static_cast<int32_t>(entry->children.size());
}

void Win32TreeView::SelectNode(std::string_view key) {
  selecting_ = true;
  if (key.empty())
    TreeView_SelectItem(window_, nullptr);
  else
    TreeView_SelectItem(window_, Find(key).item);
  selecting_ = false;
}

std::string Win32TreeView::SelectedKey() const {
  HTREEITEM item = TreeView_GetSelection(window_);
  auto it = keys_.find(item);
  return it == keys_.end() ? std::string() : it->second;
}

void Win32TreeView::Walk(const std::vector<std::string>& keys,
                         std::vector<ui::TreeNode>& out) const {
  for (const std::string& key : keys) {
    const Entry& entry = entries_.find(key)->second;
    out.push_back(entry.node);
    Walk(entry.children, out);
  }
}

std::vector<ui::TreeNode> Win32TreeView::Nodes() const {
  std::vector<ui::TreeNode> nodes;
  Walk(roots_, nodes);
  return nodes;
}

bool Win32TreeView::Notify(UINT message, WPARAM, LPARAM lparam, LRESULT& result) {
  if (message != WM_NOTIFY) return false;
  auto* header = reinterpret_cast<NMHDR*>(lparam);
  if (header->code == TVN_ITEMEXPANDEDW || header->code == TVN_ITEMEXPANDEDA) {
    auto* change = reinterpret_cast<NMTREEVIEWW*>(lparam);
    auto it = keys_.find(change->itemNew.hItem);
    if (it != keys_.end())
      entries_.find(it->second)->second.node.expanded = (change->action & TVE_EXPAND) != 0;
    result = 0;
    return true;
  }
  if (header->code == TVN_SELCHANGEDW || header->code == TVN_SELCHANGEDA) {
    auto* change = reinterpret_cast<NMTREEVIEWW*>(lparam);
    if (!selecting_ && change->action != TVC_UNKNOWN) {
      auto it = keys_.find(change->itemNew.hItem);
      if (it != keys_.end() && on_click_) {
        std::string key = it->second;
        Fire([&] { on_click_(key); });
      }
    }
    result = 0;
    return true;
  }
  return false;
}

// ---- Grid ----

Win32Grid::Win32Grid(std::string name, HWND parent, Events events)
    : Win32Control(std::move(name), MakeChild(WC_LISTVIEWW,
                                              WS_TABSTOP | LVS_REPORT | LVS_SINGLESEL |
                                                  LVS_SHOWSELALWAYS | LVS_NOSORTHEADER,
                                              parent, WS_EX_CLIENTEDGE)),
      events_(std::move(events)) {
  ListView_SetExtendedListViewStyle(window_, LVS_EX_FULLROWSELECT);
  Attach(window_, this);
  SetColumns(1);
}

void Win32Grid::SetColumns(int32_t count) {
  if (count < 1) Raise(kErrInvalidCall);
  while (ListView_DeleteColumn(window_, 0)) {
  }
  for (int32_t c = 0; c < count; ++c) {
    LVCOLUMNA column{};
    column.mask = LVCF_WIDTH | LVCF_SUBITEM;
    column.cx = c == 0 ? 200 : 150;
    column.iSubItem = c;
    SendMessageA(window_, LVM_INSERTCOLUMNA, static_cast<WPARAM>(c),
                 reinterpret_cast<LPARAM>(&column));
  }
  columns_ = count;
  for (auto& row : cells_) row.resize(static_cast<size_t>(count));
}

void Win32Grid::SetColumnWidth(int32_t column, int32_t twips) {
  if (column < 0 || column >= columns_) Raise(kErrIndexOutOfBounds);
  ListView_SetColumnWidth(window_, column, PixelsX(twips));
}

void Win32Grid::SetRedraw(bool redraw) {
  SendMessageW(window_, WM_SETREDRAW, redraw, 0);
  if (redraw) InvalidateRect(window_, nullptr, TRUE);
}

void Win32Grid::RemoveAll() {
  writing_ = true;
  ListView_DeleteAllItems(window_);
  writing_ = false;
  cells_.clear();
  styles_.clear();
  current_row_ = -1;
  if (events_.current_changed) events_.current_changed();
}

void Win32Grid::AddRow(const std::string& text) {
  LVITEMA item{};
  item.mask = LVIF_TEXT;
  item.iItem = Rows();
  std::string copy = text;
  item.pszText = copy.data();
  writing_ = true;
  SendMessageA(window_, LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item));
  writing_ = false;
  std::vector<std::string> row(static_cast<size_t>(columns_));
  row[0] = text;
  cells_.push_back(std::move(row));
  styles_.emplace_back();
}

void Win32Grid::CheckRow(int32_t row) const {
  if (row < 0 || row >= Rows()) Raise(kErrIndexOutOfBounds);
}

std::string Win32Grid::CellText(int32_t row, int32_t column) const {
  CheckRow(row);
  if (column < 0 || column >= columns_) Raise(kErrIndexOutOfBounds);
  return cells_[static_cast<size_t>(row)][static_cast<size_t>(column)];
}

void Win32Grid::SetCellText(int32_t row, int32_t column, const std::string& text) {
  CheckRow(row);
  if (column < 0 || column >= columns_) Raise(kErrIndexOutOfBounds);
  cells_[static_cast<size_t>(row)][static_cast<size_t>(column)] = text;
  LVITEMA item{};
  item.iSubItem = column;
  std::string copy = text;
  item.pszText = copy.data();
  SendMessageA(window_, LVM_SETITEMTEXTA, static_cast<WPARAM>(row),
               reinterpret_cast<LPARAM>(&item));
  if (row == current_row_ && events_.current_changed) events_.current_changed();
}

void Win32Grid::Select(int32_t row) {
  writing_ = true;
  ListView_SetItemState(window_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  if (row >= 0)
    ListView_SetItemState(window_, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
  writing_ = false;
}

void Win32Grid::SetCurrentRow(int32_t row) {
  if (row != -1) CheckRow(row);
  current_row_ = row;
  Select(row);
  if (events_.current_changed) events_.current_changed();
}

void Win32Grid::SetCurrentColumn(int32_t column) {
  if (column < 0 || column >= columns_) Raise(kErrIndexOutOfBounds);
  current_column_ = column;
}

void Win32Grid::SetRowStyle(int32_t row, const std::string& style) {
  CheckRow(row);
  styles_[static_cast<size_t>(row)] = style;
  ListView_RedrawItems(window_, row, row);
}

std::string Win32Grid::RowStyle(int32_t row) const {
  CheckRow(row);
  return styles_[static_cast<size_t>(row)];
}

void Win32Grid::ScrollTo(int32_t row) {
  CheckRow(row);
  ListView_EnsureVisible(window_, row, FALSE);
  BringToFront();
}

void Win32Grid::BringToFront() {
  SetWindowPos(window_, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
}

bool Win32Grid::Notify(UINT message, WPARAM, LPARAM lparam, LRESULT& result) {
  if (message != WM_NOTIFY) return false;
  auto* header = reinterpret_cast<NMHDR*>(lparam);
  switch (header->code) {
    case LVN_ITEMCHANGED: {
      auto* change = reinterpret_cast<NMLISTVIEW*>(lparam);
      if (writing_ || !(change->uChanged & LVIF_STATE) || !(change->uNewState & LVIS_SELECTED) ||
          change->iItem == current_row_)
        return false;
      // The old row is still current while the presenter is told of the move.
      if (events_.before_row_change) Fire(events_.before_row_change);
      current_row_ = change->iItem;
      if (events_.current_changed) events_.current_changed();
      if (events_.row_change) Fire(events_.row_change);
      result = 0;
      return true;
    }
    case NM_DBLCLK:
      if (current_row_ < 0) return false;
      if ((GetKeyState(VK_CONTROL) & 0x8000) && events_.build_function)
        Fire(events_.build_function);
      else if (events_.double_click)
        Fire(events_.double_click);
      result = 0;
      return true;
    case LVN_KEYDOWN: {
      const int key = reinterpret_cast<NMLVKEYDOWN*>(lparam)->wVKey;
      if (events_.key_down) Fire([&] { events_.key_down(key); });
      if (key == VK_F4 && current_row_ >= 0 && events_.build_function)
        Fire(events_.build_function);
      else if (key == VK_RETURN && current_row_ >= 0 && events_.double_click)
        Fire(events_.double_click);
      result = 0;
      return true;
    }
    case NM_CUSTOMDRAW: {
      auto* draw = reinterpret_cast<NMLVCUSTOMDRAW*>(lparam);
      if (draw->nmcd.dwDrawStage == CDDS_PREPAINT) {
        result = CDRF_NOTIFYITEMDRAW;
        return true;
      }
      if (draw->nmcd.dwDrawStage == CDDS_ITEMPREPAINT) {
        const auto row = static_cast<size_t>(draw->nmcd.dwItemSpec);
        if (row < styles_.size() && styles_[row] == "style_winhighlight") {
          draw->clrText = GetSysColor(COLOR_HIGHLIGHTTEXT);
          draw->clrTextBk = GetSysColor(COLOR_HIGHLIGHT);
        }
        result = CDRF_DODEFAULT;
        return true;
      }
      return false;
    }
    default:
      return false;
  }
}

// ---- Toolbar ----

namespace {

// The system's standard small pictures for the commands it has them for; -1 for others,
// which show their text instead.
int StandardImage(std::string_view image) {
  static const std::pair<std::string_view, int> kImages[] = {
      {"Open", STD_FILEOPEN}, {"Save", STD_FILESAVE},   {"Properties", STD_PROPERTIES},
      {"Cut", STD_CUT},       {"Copy", STD_COPY},       {"Paste", STD_PASTE},
      {"Find", STD_FIND},     {"Replace", STD_REPLACE}, {"Undo", STD_UNDO},
      {"Redo", STD_REDOW}};
  for (const auto& [name, index] : kImages)
    if (name == image) return index;
  return -1;
}

class Win32ToolbarButton : public ui::ToolbarButton {
 public:
  Win32ToolbarButton(HWND toolbar, int id, std::string key)
      : toolbar_(toolbar), id_(id), key_(std::move(key)) {}
  std::string Key() const override { return key_; }
  void SetEnabled(bool enabled) override {
    SendMessageW(toolbar_, TB_ENABLEBUTTON, static_cast<WPARAM>(id_), MAKELONG(enabled, 0));
  }
  bool Enabled() const override {
    return SendMessageW(toolbar_, TB_ISBUTTONENABLED, static_cast<WPARAM>(id_), 0) != 0;
  }
  void SetToolTip(const std::string& text) override { tooltip_ = text; }
  std::string ToolTip() const override { return tooltip_; }
  void SetImage(const std::string& image) override {
    image_ = image;
    const int index = StandardImage(image);
    if (index >= 0)
      SendMessageW(toolbar_, TB_CHANGEBITMAP, static_cast<WPARAM>(id_), MAKELPARAM(index, 0));
  }
  std::string Image() const override { return image_; }
  int Id() const { return id_; }

 private:
  HWND toolbar_;
  int id_;
  std::string key_;
  std::string tooltip_;
  std::string image_;
};

constexpr int kFirstToolId = 0x7000;

}  // namespace

Win32Toolbar::Win32Toolbar(std::string name, HWND parent,
                           std::function<void(const std::string&)> on_click)
    : Win32Control(std::move(name), MakeChild(TOOLBARCLASSNAMEW,
                                              TBSTYLE_FLAT | TBSTYLE_LIST | TBSTYLE_TOOLTIPS |
                                                  CCS_NORESIZE | CCS_NODIVIDER,
                                              parent)),
      on_click_(std::move(on_click)) {
  SendMessageW(window_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
  SendMessageW(window_, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_MIXEDBUTTONS);
  SendMessageW(window_, TB_LOADIMAGES, IDB_STD_SMALL_COLOR,
               reinterpret_cast<LPARAM>(HINST_COMMCTRL));
  Attach(window_, this);
  // The tips ask the toolbar's parent for their texts, in the tip window's name.
  tips_ = reinterpret_cast<HWND>(SendMessageW(window_, TB_GETTOOLTIPS, 0, 0));
  if (tips_) Attach(tips_, this);
}

Win32Toolbar::~Win32Toolbar() {
  if (tips_) Attach(tips_, nullptr);
}

void Win32Toolbar::AddButton(const ui::ToolbarButtonDef& def) {
  const int id = kFirstToolId + static_cast<int>(buttons_.size());
  TBBUTTON button{};
  const int image = StandardImage(def.image);
  button.iBitmap = image >= 0 ? image : I_IMAGENONE;
  button.idCommand = id;
  button.fsState = TBSTATE_ENABLED;
  button.fsStyle =
      def.separator ? BTNS_SEP : (BTNS_BUTTON | BTNS_AUTOSIZE | (image >= 0 ? 0 : BTNS_SHOWTEXT));
  std::string caption = def.tooltip.empty() ? def.key : def.tooltip;
  caption.push_back('\0');
  if (!def.separator)
    button.iString =
        SendMessageA(window_, TB_ADDSTRINGA, 0, reinterpret_cast<LPARAM>(caption.c_str()));
  SendMessageA(window_, TB_ADDBUTTONSA, 1, reinterpret_cast<LPARAM>(&button));
  auto made = std::make_unique<Win32ToolbarButton>(window_, id, def.key);
  made->SetToolTip(def.tooltip);
  made->SetImage(def.image);
  buttons_.push_back(std::move(made));
}

ui::ToolbarButton& Win32Toolbar::Button(int32_t position) {
  if (position < 1 || position > ButtonCount()) Raise(kErrIndexOutOfBounds);
  return *buttons_[static_cast<size_t>(position - 1)];
}

ui::ToolbarButton& Win32Toolbar::Button(std::string_view key) {
  for (auto& button : buttons_)
    if (!button->Key().empty() && button->Key() == key) return *button;
  Raise(kErrElementNotFound);
}

void Win32Toolbar::SetBounds(const ui::Rect& r) {
  Win32Control::SetBounds(r);
  SendMessageW(window_, TB_AUTOSIZE, 0, 0);
}

bool Win32Toolbar::Notify(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
  if (message == WM_NOTIFY) {
    auto* info = reinterpret_cast<NMTTDISPINFOW*>(lparam);
    if (info->hdr.code != TTN_GETDISPINFOW) return false;
    const auto index = static_cast<size_t>(info->hdr.idFrom - kFirstToolId);
    if (index >= buttons_.size()) return false;
    const std::string tip = buttons_[index]->ToolTip();
    tip_.assign(tip.size() + 1, L'\0');
    MultiByteToWideChar(CP_ACP, 0, tip.c_str(), -1, tip_.data(), static_cast<int>(tip_.size()));
    info->lpszText = tip_.data();
    result = 0;
    return true;
  }
  if (message != WM_COMMAND) return false;
  const auto index = static_cast<size_t>(LOWORD(wparam) - kFirstToolId);
  if (index >= buttons_.size()) return false;
  std::string key = buttons_[index]->Key();
  if (on_click_) Fire([&] { on_click_(key); });
  result = 0;
  return true;
}

// ---- Windows ----

Win32Window::Win32Window(std::string name, const std::string& caption, bool dialog_frame)
    : Win32Control(std::move(name), nullptr) {
  EnsureClasses();
  const DWORD style = dialog_frame ? (WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_DLGFRAME)
                                   : (WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN);
  window_ = CreateWindowExW(
      dialog_frame ? WS_EX_DLGMODALFRAME | WS_EX_CONTROLPARENT : WS_EX_CONTROLPARENT, kFormClass,
      L"", style, CW_USEDEFAULT, CW_USEDEFAULT, 640, 480, nullptr, nullptr, g_module, this);
  if (!window_) Raise(kErrCantCreateObject, "The window could not be created: no desktop");
  SetCaption(caption);
}

Win32Window::~Win32Window() {
  *alive_ = false;
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  DestroyWindow(window_);
}

void Win32Window::SetClientSize(int width, int height) {
  RECT r{0, 0, width, height};
  AdjustWindowRectEx(&r, static_cast<DWORD>(GetWindowLongW(window_, GWL_STYLE)),
                     GetMenu(window_) != nullptr,
                     static_cast<DWORD>(GetWindowLongW(window_, GWL_EXSTYLE)));
  SetWindowPos(window_, nullptr, 0, 0, r.right - r.left, r.bottom - r.top,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void Win32Window::SetVisible(bool visible) {
  if (visible)
    Show(false);
  else
    Hide();
}

// Only the size is taken: a top-level window opens centred.
void Win32Window::SetBounds(const ui::Rect& r) {
  SetWindowPos(window_, nullptr, 0, 0, PixelsX(r.width), PixelsY(r.height),
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

ui::Rect Win32Window::Bounds() const {
  RECT r;
  GetWindowRect(window_, &r);
  return {TwipsX(r.left), TwipsY(r.top), TwipsX(r.right - r.left), TwipsY(r.bottom - r.top)};
}

int32_t Win32Window::ScaleWidth() const {
  RECT r;
  GetClientRect(window_, &r);
  return TwipsX(r.right);
}

int32_t Win32Window::ScaleHeight() const {
  RECT r;
  GetClientRect(window_, &r);
  return TwipsY(r.bottom);
}

void Win32Window::Show(bool modal) {
  loaded_ = true;
  if (!centred_) {
    RECT frame, area;
    GetWindowRect(window_, &frame);
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    const int x = std::max<int>(0, (area.left + area.right - (frame.right - frame.left)) / 2);
    const int y = std::max<int>(0, (area.top + area.bottom - (frame.bottom - frame.top)) / 2);
    SetWindowPos(window_, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    centred_ = true;
  }
  ShowWindow(window_, SW_SHOW);
  SetForegroundWindow(window_);
  shown_ = true;
  std::shared_ptr<bool> alive = alive_;
  if (events_) Fire([&] { events_->Form_Activate(); });
  if (!*alive || !modal || !shown_) return;
  // The caller's thread runs the dialog: its message loop ends when the window is hidden.
  // Its other windows wait meanwhile.
  std::vector<HWND> disabled;
  EnumThreadWindows(GetCurrentThreadId(), CollectEnabled, reinterpret_cast<LPARAM>(&disabled));
  std::erase(disabled, window_);
  for (HWND other : disabled) EnableWindow(other, FALSE);
  ++modal_depth_;
  MSG msg;
  while (*alive && shown_) {
    const BOOL got = GetMessageW(&msg, nullptr, 0, 0);
    if (got == 0) {
      PostQuitMessage(static_cast<int>(msg.wParam));
      break;
    }
    if (got < 0) break;
    if (PreTranslate(msg)) continue;
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  for (HWND other : disabled)
    if (IsWindow(other)) EnableWindow(other, TRUE);
  if (*alive) --modal_depth_;
}

bool Win32Window::PreTranslate(MSG& msg) {
  if (!IsWindow(window_) || (msg.hwnd != window_ && !IsChild(window_, msg.hwnd))) return false;
  if (accelerators_ && TranslateAcceleratorW(window_, accelerators_, &msg)) return true;
  if (msg.message == WM_KEYDOWN && (msg.wParam == VK_RETURN || msg.wParam == VK_ESCAPE)) {
    wchar_t cls[32] = {};
    GetClassNameW(msg.hwnd, cls, 32);
    const bool multiline = (GetWindowLongW(msg.hwnd, GWL_STYLE) & ES_MULTILINE) &&
                           (lstrcmpiW(cls, L"EDIT") == 0 || lstrcmpiW(cls, L"RichEdit20A") == 0 ||
                            lstrcmpiW(cls, L"RichEdit20W") == 0);
    HWND button = msg.wParam == VK_RETURN ? ok_ : cancel_;
    if (button && !(multiline && msg.wParam == VK_RETURN) && lstrcmpiW(cls, WC_LISTVIEWW) != 0 &&
        IsWindowEnabled(button)) {
      SendMessageW(button, BM_CLICK, 0, 0);
      return true;
    }
  }
  return IsDialogMessageW(window_, &msg) != FALSE;
}

void Win32Window::Hide() {
  shown_ = false;
  ShowWindow(window_, SW_HIDE);
  // Wakes a modal loop that waits for its next message.
  PostMessageW(window_, WM_NULL, 0, 0);
}

void Win32Window::DoEvents() {
  MSG msg;
  std::shared_ptr<bool> alive = alive_;
  while (*alive && PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    if (msg.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(msg.wParam));
      break;
    }
    if (PreTranslate(msg)) continue;
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
}

bool Win32Window::Unload() {
  return Close(ui::kUnloadCode);
}

bool Win32Window::Close(int unload_mode) {
  std::shared_ptr<bool> alive = alive_;
  if (events_) {
    bool cancel = false;
    Fire([&] { cancel = events_->Form_QueryUnload(unload_mode); });
    if (cancel || !*alive) return false;
  }
  Hide();
  loaded_ = false;
  if (events_) Fire([&] { events_->Form_Unload(); });
  return true;
}

LRESULT Win32Window::Procedure(UINT message, WPARAM wparam, LPARAM lparam) {
  LRESULT result = 0;
  switch (message) {
    case WM_CLOSE:
      Close(ui::kUnloadCloseBox);
      return 0;
    case WM_SIZE:
      if (events_ && loaded_ && wparam != SIZE_MINIMIZED) Fire([&] { events_->Form_Resize(); });
      return 0;
    case WM_COMMAND:
    case WM_NOTIFY:
      if (RouteToChild(message, wparam, lparam, result)) return result;
      break;
    default:
      break;
  }
  if (handler_ && handler_(message, wparam, lparam, result)) return result;
  return DefWindowProcW(window_, message, wparam, lparam);
}

}  // namespace kx::com::win32
