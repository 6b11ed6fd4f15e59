#include "win32_views.h"

#include <windows.h>

#include <commdlg.h>
#include <shellapi.h>

#include <algorithm>
#include <iterator>

#include "runtime/error.h"
#include "runtime/text.h"
#include "win32_controls.h"
#include "win32_editor.h"
#include "win32_template_views.h"

namespace kx::com::win32 {

namespace {

template <typename T>
void Add(std::vector<ui::Control*>& controls, const std::unique_ptr<T>& control) {
  controls.push_back(control.get());
}

// ---- menus ----

class Win32MenuItem : public ui::MenuItem {
 public:
  Win32MenuItem(ui::MenuDef def, UINT id, std::function<void()> changed)
      : def_(std::move(def)), caption_(def_.caption), id_(id), changed_(std::move(changed)) {}
  std::string_view Name() const override { return def_.name; }
  void SetVisible(bool visible) override {
    visible_ = visible;
    changed_();
  }
  bool Visible() const override { return visible_; }
  void SetEnabled(bool enabled) override {
    enabled_ = enabled;
    changed_();
  }
  bool Enabled() const override { return enabled_; }
  void SetFontName(const std::string&) override {}
  void SetHelpContextID(int32_t id) override { help_id_ = id; }
  int32_t HelpContextID() const override { return help_id_; }
  void SetFocus() override {}
  void SetBounds(const ui::Rect&) override {}
  ui::Rect Bounds() const override { return {}; }
  void SetCaption(const std::string& caption) override {
    caption_ = caption;
    changed_();
  }
  std::string Caption() const override { return caption_; }

  const ui::MenuDef& Def() const { return def_; }
  UINT Id() const { return id_; }
  HMENU popup = nullptr;  // the menu this item opens, when it has items

 private:
  ui::MenuDef def_;
  std::string caption_;
  UINT id_;
  std::function<void()> changed_;
  bool visible_ = true;
  bool enabled_ = true;
  int32_t help_id_ = 0;
};

// "Ctrl+Shift+F2" as an accelerator; false for what the table cannot hold.
bool ParseShortcut(std::string_view text, ACCEL& accel) {
  accel.fVirt = FVIRTKEY;
  std::string rest(text);
  for (;;) {
    if (rest.rfind("Ctrl+", 0) == 0) {
      accel.fVirt |= FCONTROL;
      rest.erase(0, 5);
    } else if (rest.rfind("Shift+", 0) == 0) {
      accel.fVirt |= FSHIFT;
      rest.erase(0, 6);
    } else if (rest.rfind("Alt+", 0) == 0) {
      accel.fVirt |= FALT;
      rest.erase(0, 4);
    } else {
      break;
    }
  }
  if (rest.size() == 1 && std::isalnum(static_cast<unsigned char>(rest[0]))) {
    accel.key = static_cast<WORD>(std::toupper(static_cast<unsigned char>(rest[0])));
    return true;
  }
  if (rest.size() >= 2 && rest[0] == 'F') {
    const int n = std::atoi(rest.c_str() + 1);
    if (n >= 1 && n <= 24) {
      accel.key = static_cast<WORD>(VK_F1 + n - 1);
      return true;
    }
  }
  return false;
}

// The operator pad's order, two to a row: grouping, arithmetic, text, comparison, logic.
constexpr std::string_view kPadOrder[] = {
    "cmdLParen",     "cmdRParen",    "cmdPlus",      "cmdMinus",        "cmdStar",
    "cmdSlash",      "cmdAmpersand", "cmdLike",      "cmdEqual",        "cmdNotEqual",
    "cmdLess",       "cmdGreater",   "cmdLessEqual", "cmdGreaterEqual", "cmdContains",
    "cmdNotContain", "cmdAnd",       "cmdOr",        "cmdNot"};
// The window's own buttons; the presenter places them. Any other button is an operator.
constexpr std::string_view kWindowButtons[] = {"cmdok", "cmdcancel", "cmdhelp", "cmdParam",
                                               "cmdFilename"};

size_t PadRank(std::string_view name) {
  auto it = std::find(std::begin(kPadOrder), std::end(kPadOrder), name);
  return static_cast<size_t>(it - std::begin(kPadOrder));
}

// A pane that lays out the buttons it holds in two columns whenever it is placed.
class PadPane : public Win32Pane {
 public:
  PadPane(std::string name, HWND parent, std::function<void()> lay_out)
      : Win32Pane(std::move(name), parent), lay_out_(std::move(lay_out)) {}
  void SetBounds(const ui::Rect& r) override {
    Win32Pane::SetBounds(r);
    lay_out_();
  }

 private:
  std::function<void()> lay_out_;
};

constexpr UINT kFirstMenuId = 0x4000;

class Win32ExprBldView : public ui::ExprBldView {
 public:
  explicit Win32ExprBldView(const std::vector<std::filesystem::path>& keyword_dirs) {
    form_ = std::make_unique<Win32Window>("frmExprBld", "", false);
    HWND client = form_->Handle();
    bar_ = CreateMenu();
    SetMenu(client, bar_);
    form_->SetHandler([this](UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
      return OnMessage(message, wparam, lparam, result);
    });
    tbar_ = std::make_unique<Win32Toolbar>("tbar", client, [this](const std::string& key) {
      if (events_) events_->tbar_ButtonClick(key);
    });
    editor_ = std::make_unique<Win32Editor>("KXEditor1", client, keyword_dirs,
                                            Win32Editor::Events{[this] {
                                                                  if (events_)
                                                                    events_->KXEditor1_KeyDown();
                                                                },
                                                                [this] {
                                                                  if (events_)
                                                                    events_->KXEditor1_MouseDown();
                                                                }});
    vselbottom_ = std::make_unique<Win32Pane>("vselbottom", client);
    HWND bottom = vselbottom_->Handle();
    tree_ = std::make_unique<Win32TreeView>("TreeView1", bottom, [this](const std::string& key) {
      if (events_) events_->TreeView1_NodeClick(key);
    });
    grid_ = std::make_unique<Win32Grid>(
        "ssdgridtokens", bottom,
        Win32Grid::Events{[this] {
                            if (events_) events_->ssdgridtokens_BeforeRowColChange();
                          },
                          [this] {
                            if (events_) events_->ssdgridtokens_RowColChange();
                          },
                          [this] {
                            if (events_) events_->ssdgridtokens_DblClick();
                          },
                          [this] {
                            if (events_) events_->ssdgridtokens_BuildFunction();
                          },
                          nullptr, nullptr});
    ListView_SetExtendedListViewStyle(grid_->Handle(), LVS_EX_FULLROWSELECT);
    SetWindowLongW(grid_->Handle(), GWL_STYLE,
                   GetWindowLongW(grid_->Handle(), GWL_STYLE) | LVS_NOCOLUMNHEADER);
    for (int i = 0; i < 2; ++i) proto_[i] = std::make_unique<Win32Label>("txtproto", bottom);
    vselbuttons_ = std::make_unique<PadPane>("vselbuttons", client, [this] { LayOutPad(); });
    lblexprerr_ = std::make_unique<Win32Label>("lblexprerr", client);
  }

  ~Win32ExprBldView() override {
    form_->SetEvents(nullptr);
    form_->SetHandler(nullptr);
    if (accelerators_) DestroyAcceleratorTable(accelerators_);
  }

  void SetEvents(ui::ExprBldEvents* events) override {
    events_ = events;
    form_->SetEvents(events);
  }
  ui::Window& Form() override { return *form_; }
  ui::EditorControl& KXEditor1() override { return *editor_; }
  ui::TreeView& TreeView1() override { return *tree_; }
  ui::Grid& ssdgridtokens() override { return *grid_; }
  ui::Label& txtproto(int index) override {
    if (index < 0 || index > 1) Raise(kErrIndexOutOfBounds);
    return *proto_[index];
  }
  ui::Label& lblexprerr() override { return *lblexprerr_; }

  ui::Button& Command(std::string_view name) override {
    for (auto& button : commands_)
      if (button->Name() == name) return *button;
    const bool own = std::find(std::begin(kWindowButtons), std::end(kWindowButtons), name) !=
                     std::end(kWindowButtons);
    std::string key(name);
    commands_.push_back(std::make_unique<Win32Button>(
        key, own ? form_->Handle() : vselbuttons_->Handle(), [this, key] {
          if (events_) events_->ButtonClick(key);
        }));
    if (!own) LayOutPad();
    return *commands_.back();
  }

  void AddMenu(const ui::MenuDef& def) override {
    for (auto& menu : menus_)
      if (menu->Name() == def.name) Raise(kErrKeyNotUnique);
    Win32MenuItem* parent = nullptr;
    if (!def.parent.empty()) {
      parent = FindMenu(def.parent);
      if (!parent) Raise(kErrElementNotFound);
      if (!parent->popup) parent->popup = CreatePopupMenu();
    }
    const auto id = static_cast<UINT>(kFirstMenuId + menus_.size());
    menus_.push_back(std::make_unique<Win32MenuItem>(def, id, [this] { SyncMenus(); }));
    ACCEL accel{};
    if (!def.shortcut.empty() && ParseShortcut(def.shortcut, accel)) {
      accel.cmd = static_cast<WORD>(id);
      accels_.push_back(accel);
      if (accelerators_) DestroyAcceleratorTable(accelerators_);
      accelerators_ = CreateAcceleratorTableW(accels_.data(), static_cast<int>(accels_.size()));
      form_->SetAccelerators(accelerators_);
    }
    SyncMenus();
  }

  ui::MenuItem& Menu(std::string_view name) override {
    if (Win32MenuItem* item = FindMenu(name)) return *item;
    Raise(kErrElementNotFound);
  }
  ui::Toolbar& tbar() override { return *tbar_; }
  ui::Pane& vselbottom() override { return *vselbottom_; }
  ui::Pane& vselbuttons() override { return *vselbuttons_; }

  std::vector<ui::Control*> Controls() override {
    std::vector<ui::Control*> controls = {editor_.get(),   tree_.get(),       grid_.get(),
                                          proto_[0].get(), proto_[1].get(),   lblexprerr_.get(),
                                          tbar_.get(),     vselbottom_.get(), vselbuttons_.get()};
    for (auto& button : commands_) controls.push_back(button.get());
    for (auto& menu : menus_) controls.push_back(menu.get());
    return controls;
  }

 private:
  Win32MenuItem* FindMenu(std::string_view name) {
    for (auto& menu : menus_)
      if (menu->Name() == name) return menu.get();
    return nullptr;
  }

  // Win32 menus cannot hide an item: each menu is filled again with the visible ones.
  void SyncMenus() {
    auto append = [](HMENU menu, const Win32MenuItem& item) {
      const UINT grey = item.Enabled() ? 0 : MF_GRAYED;
      if (item.Caption() == "-")
        AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
      else if (item.popup)
        AppendMenuA(menu, MF_POPUP | grey, reinterpret_cast<UINT_PTR>(item.popup),
                    item.Caption().c_str());
      else
        AppendMenuA(
            menu, MF_STRING | grey, item.Id(),
            (item.Caption() + (item.Def().shortcut.empty() ? "" : "\t" + item.Def().shortcut))
                .c_str());
    };
    for (auto& holder : menus_) {
      if (!holder->popup) continue;
      while (GetMenuItemCount(holder->popup) > 0) RemoveMenu(holder->popup, 0, MF_BYPOSITION);
      for (auto& item : menus_)
        if (item->Def().parent == holder->Name() && item->Visible()) append(holder->popup, *item);
    }
    std::string signature;
    for (auto& item : menus_)
      if (item->Def().parent.empty())
        signature += item->Caption() + (item->Visible() ? "+" : "-") +
                     (item->Enabled() ? "+" : "-") + (item->popup ? "p|" : "|");
    if (signature == bar_signature_) return;
    bar_signature_ = signature;
    while (GetMenuItemCount(bar_) > 0) RemoveMenu(bar_, 0, MF_BYPOSITION);
    for (auto& item : menus_)
      if (item->Def().parent.empty() && item->Visible()) append(bar_, *item);
    DrawMenuBar(form_->Handle());
  }

  // A command reaches the presenter only through a menu the user can see and use.
  bool Usable(const Win32MenuItem& item) {
    for (const Win32MenuItem* at = &item; at; at = FindMenu(at->Def().parent))
      if (!at->Visible() || !at->Enabled()) return false;
    return true;
  }

  bool OnMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT& result) {
    if (message == WM_COMMAND && lparam == 0) {
      const UINT id = LOWORD(wparam);
      for (auto& item : menus_) {
        if (item->Id() != id) continue;
        if (events_ && Usable(*item)) {
          std::string name = item->Def().name;
          Fire([&] { events_->MenuClick(name); });
        }
        result = 0;
        return true;
      }
      return false;
    }
    if (message == WM_INITMENUPOPUP) {
      for (auto& item : menus_) {
        if (item->popup != reinterpret_cast<HMENU>(wparam)) continue;
        if (events_) {
          std::string name = item->Def().name;
          Fire([&] { events_->MenuClick(name); });
        }
        result = 0;
        return true;
      }
    }
    return false;
  }

  // Operators the pad knows go in its order, others after them as they were named.
  void LayOutPad() {
    if (!vselbuttons_) return;
    std::vector<std::pair<size_t, Win32Button*>> pad;
    size_t made = 0;
    for (auto& button : commands_)
      if (GetParent(button->Handle()) == vselbuttons_->Handle())
        pad.emplace_back(PadRank(button->Name()) * 1000 + made++, button.get());
    std::stable_sort(pad.begin(), pad.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    RECT area;
    GetClientRect(vselbuttons_->Handle(), &area);
    const int width = std::max<int>(1, (area.right - 2) / 2);
    const int rows = static_cast<int>((pad.size() + 1) / 2);
    const int height = rows ? std::clamp<int>((area.bottom - 2 * rows) / rows, 14, 24) : 24;
    int at = 0;
    for (const auto& [rank, button] : pad) {
      MoveWindow(button->Handle(), (at % 2) * (width + 2), (at / 2) * (height + 2), width, height,
                 TRUE);
      ++at;
    }
  }

  ui::ExprBldEvents* events_ = nullptr;
  std::unique_ptr<Win32Window> form_;
  std::unique_ptr<Win32Toolbar> tbar_;
  std::unique_ptr<Win32Editor> editor_;
  std::unique_ptr<Win32Pane> vselbottom_;
  std::unique_ptr<Win32TreeView> tree_;
  std::unique_ptr<Win32Grid> grid_;
  std::unique_ptr<Win32Label> proto_[2];
  std::unique_ptr<PadPane> vselbuttons_;
  std::unique_ptr<Win32Label> lblexprerr_;
  std::vector<std::unique_ptr<Win32Button>> commands_;
  std::vector<std::unique_ptr<Win32MenuItem>> menus_;
  HMENU bar_ = nullptr;
  std::string bar_signature_;
  std::vector<ACCEL> accels_;
  HACCEL accelerators_ = nullptr;
};

// ---- dialogs ----

void Place(HWND window, int x, int y, int width, int height) {
  MoveWindow(window, x, y, width, height, FALSE);
}

class Win32FunctionView : public ui::FunctionView {
 public:
  Win32FunctionView() {
    form_ = std::make_unique<Win32Window>("frmFunction", "Build Function", true);
    form_->SetClientSize(460, 380);
    HWND dialog = form_->Handle();
    lblfuncname_ = std::make_unique<Win32Label>("lblfuncname", dialog);
    lbldescription_ = std::make_unique<Win32Label>("lbldescription", dialog);
    grid_ = std::make_unique<Win32Grid>("ssdgridargs", dialog,
                                        Win32Grid::Events{nullptr,
                                                          [this] {
                                                            if (events_)
                                                              events_->ssdgridargs_RowColChange();
                                                          },
                                                          nullptr, nullptr,
                                                          [this](int key) {
                                                            if (events_ && key != 0)
                                                              events_->ssdgridargs_KeyDown(key);
                                                          },
                                                          [this] { ShowValue(); }});
    grid_->SetColumns(2);
    // The current argument's value is edited below the list: the list view cannot edit cells.
    value_ = std::make_unique<Win32ReportingTextBox>("txtValue", dialog,
                                                     [this](const std::string& text) {
                                                       const int32_t row = grid_->CurrentRow();
                                                       if (row < 0) return;
                                                       grid_->SetCellText(row, 1, text);
                                                       if (events_)
                                                         events_->ssdgridargs_Change(text);
                                                     });
    txtParameters_ = std::make_unique<Win32TextBox>("txtParameters", dialog, true);
    auto button = [&](const char* name, const char* caption,
                      void (ui::FunctionEvents::*handler)()) {
      auto made = std::make_unique<Win32Button>(name, dialog, [this, handler] {
        if (events_) (events_->*handler)();
      });
      made->SetCaption(caption);
      return made;
    };
    cmdok_ = button("cmdok", "OK", &ui::FunctionEvents::cmdok_Click);
    cmdcancel_ = button("cmdcancel", "Cancel", &ui::FunctionEvents::cmdcancel_Click);
    cmdhelp_ = button("cmdhelp", "&Help", &ui::FunctionEvents::cmdhelp_Click);
    form_->SetDefaultButtons(cmdok_->Handle(), cmdcancel_->Handle());
    SendMessageW(lblfuncname_->Handle(), WM_SETFONT,
                 reinterpret_cast<WPARAM>(GetStockObject(SYSTEM_FONT)), FALSE);
    Place(lblfuncname_->Handle(), 10, 10, 440, 20);
    Place(lbldescription_->Handle(), 10, 34, 440, 44);
    Place(grid_->Handle(), 10, 82, 440, 180);
    Place(value_->Handle(), 10, 268, 440, 22);
    Place(txtParameters_->Handle(), 10, 298, 440, 22);
    Place(cmdok_->Handle(), 200, 340, 80, 26);
    Place(cmdcancel_->Handle(), 285, 340, 80, 26);
    Place(cmdhelp_->Handle(), 370, 340, 80, 26);
  }
  ~Win32FunctionView() override { form_->SetEvents(nullptr); }

  void SetEvents(ui::FunctionEvents* events) override {
    events_ = events;
    form_->SetEvents(events);
  }
  ui::Window& Form() override { return *form_; }
  ui::Label& lblfuncname() override { return *lblfuncname_; }
  ui::Label& lbldescription() override { return *lbldescription_; }
  ui::TextBox& txtParameters() override { return *txtParameters_; }
  ui::Grid& ssdgridargs() override { return *grid_; }
  ui::Button& cmdok() override { return *cmdok_; }
  ui::Button& cmdcancel() override { return *cmdcancel_; }
  ui::Button& cmdhelp() override { return *cmdhelp_; }
  int32_t TextWidth(const std::string& text) const override {
    HDC dc = GetDC(grid_->Handle());
    HGDIOBJ old = SelectObject(
        dc, reinterpret_cast<HGDIOBJ>(SendMessageW(grid_->Handle(), WM_GETFONT, 0, 0)));
    SIZE size{0, 0};
    GetTextExtentPoint32A(dc, text.c_str(), static_cast<int>(text.size()), &size);
    SelectObject(dc, old);
    ReleaseDC(grid_->Handle(), dc);
    // The cells have a margin on either side of the text.
    return TwipsX(size.cx + 12);
  }
  std::vector<ui::Control*> Controls() override {
    std::vector<ui::Control*> controls;
    Add(controls, lblfuncname_);
    Add(controls, lbldescription_);
    Add(controls, txtParameters_);
    Add(controls, grid_);
    Add(controls, cmdok_);
    Add(controls, cmdcancel_);
    Add(controls, cmdhelp_);
    return controls;
  }

 private:
  void ShowValue() {
    if (!value_) return;
    const int32_t row = grid_->CurrentRow();
    value_->Show(row >= 0 ? grid_->CellText(row, 1) : std::string());
    value_->SetEnabled(row >= 0);
  }

  ui::FunctionEvents* events_ = nullptr;
  std::unique_ptr<Win32Window> form_;
  std::unique_ptr<Win32Label> lblfuncname_;
  std::unique_ptr<Win32Label> lbldescription_;
  std::unique_ptr<Win32Grid> grid_;
  std::unique_ptr<Win32ReportingTextBox> value_;
  std::unique_ptr<Win32TextBox> txtParameters_;
  std::unique_ptr<Win32Button> cmdok_;
  std::unique_ptr<Win32Button> cmdcancel_;
  std::unique_ptr<Win32Button> cmdhelp_;
};

class Win32PromptView : public ui::PromptView {
 public:
  Win32PromptView() {
    form_ = std::make_unique<Win32Window>("frmprompt", "", true);
    form_->SetClientSize(420, 250);
    HWND dialog = form_->Handle();
    lbltemplate_ = std::make_unique<Win32Label>("lbltemplate", dialog);
    lblprompt_ = std::make_unique<Win32Label>("lblprompt", dialog);
    lbltrgfld_ = std::make_unique<Win32Label>("lbltrgfld", dialog);
    lbldesc_ = std::make_unique<Win32Label>("lbldesc", dialog);
    ssdcbovalue_ = std::make_unique<Win32Combo>("ssdcbovalue", dialog, [this] {
      if (events_) events_->ssdcbovalue_DropDown();
    });
    ssdchk3dsame_ = std::make_unique<Win32CheckBox>("ssdchk3dsame", dialog);
    cmdok_ = std::make_unique<Win32Button>("cmdok", dialog, [this] {
      if (events_) events_->cmdok_Click();
    });
    cmdcancel_ = std::make_unique<Win32Button>("cmdcancel", dialog, [this] {
      if (events_) events_->cmdcancel_Click();
    });
    form_->SetDefaultButtons(cmdok_->Handle(), cmdcancel_->Handle());
    Place(lbltemplate_->Handle(), 10, 10, 400, 32);
    Place(lblprompt_->Handle(), 10, 44, 400, 32);
    Place(lbltrgfld_->Handle(), 10, 78, 400, 18);
    Place(lbldesc_->Handle(), 10, 98, 400, 40);
    ssdcbovalue_->SetBounds({TwipsX(10), TwipsY(144), TwipsX(400), TwipsY(24)});
    Place(ssdchk3dsame_->Handle(), 10, 176, 400, 20);
    Place(cmdok_->Handle(), 245, 214, 80, 26);
    Place(cmdcancel_->Handle(), 330, 214, 80, 26);
  }
  ~Win32PromptView() override { form_->SetEvents(nullptr); }

  void SetEvents(ui::PromptEvents* events) override {
    events_ = events;
    form_->SetEvents(events);
  }
  ui::Window& Form() override { return *form_; }
  ui::Combo& ssdcbovalue() override { return *ssdcbovalue_; }
  ui::CheckBox& ssdchk3dsame() override { return *ssdchk3dsame_; }
  ui::Label& lbldesc() override { return *lbldesc_; }
  ui::Label& lbltrgfld() override { return *lbltrgfld_; }
  ui::Label& lbltemplate() override { return *lbltemplate_; }
  ui::Label& lblprompt() override { return *lblprompt_; }
  ui::Button& cmdok() override { return *cmdok_; }
  ui::Button& cmdcancel() override { return *cmdcancel_; }
  std::vector<ui::Control*> Controls() override {
    std::vector<ui::Control*> controls;
    Add(controls, ssdcbovalue_);
    Add(controls, ssdchk3dsame_);
    Add(controls, lbldesc_);
    Add(controls, lbltrgfld_);
    Add(controls, lbltemplate_);
    Add(controls, lblprompt_);
    Add(controls, cmdok_);
    Add(controls, cmdcancel_);
    return controls;
  }

 private:
  ui::PromptEvents* events_ = nullptr;
  std::unique_ptr<Win32Window> form_;
  std::unique_ptr<Win32Label> lbltemplate_;
  std::unique_ptr<Win32Label> lblprompt_;
  std::unique_ptr<Win32Label> lbltrgfld_;
  std::unique_ptr<Win32Label> lbldesc_;
  std::unique_ptr<Win32Combo> ssdcbovalue_;
  std::unique_ptr<Win32CheckBox> ssdchk3dsame_;
  std::unique_ptr<Win32Button> cmdok_;
  std::unique_ptr<Win32Button> cmdcancel_;
};

// The input line reports every character typed, Enter included, before it takes it.
LRESULT CALLBACK InputSubclass(HWND window, UINT message, WPARAM wparam, LPARAM lparam, UINT_PTR,
                               DWORD_PTR data) {
  auto* key_press = reinterpret_cast<std::function<void(int)>*>(data);
  if (message == WM_GETDLGCODE && lparam && reinterpret_cast<MSG*>(lparam)->message == WM_KEYDOWN &&
      reinterpret_cast<MSG*>(lparam)->wParam == VK_RETURN)
    return DLGC_WANTALLKEYS;
  if (message == WM_CHAR) {
    Fire([&] { (*key_press)(static_cast<int>(wparam & 0xFF)); });
    if (wparam == VK_RETURN) return 0;
  }
  return DefSubclassProc(window, message, wparam, lparam);
}

class Win32InputBoxView : public ui::InputBoxView {
 public:
  Win32InputBoxView() {
    form_ = std::make_unique<Win32Window>("frminputbox", "", true);
    form_->SetClientSize(380, 140);
    HWND dialog = form_->Handle();
    lbltext_ = std::make_unique<Win32Label>("lbltext", dialog);
    txtinput_ = std::make_unique<Win32TextBox>("txtinput", dialog);
    key_press_ = [this](int key) {
      if (events_) events_->txtinput_KeyPress(key);
    };
    SetWindowSubclass(txtinput_->Handle(), InputSubclass, 3,
                      reinterpret_cast<DWORD_PTR>(&key_press_));
    OKButton_ = std::make_unique<Win32Button>("OKButton", dialog, [this] {
      if (events_) events_->OKButton_Click();
    });
    CancelButton_ = std::make_unique<Win32Button>("CancelButton", dialog, [this] {
      if (events_) events_->CancelButton_Click();
    });
    form_->SetDefaultButtons(nullptr, CancelButton_->Handle());
    Place(lbltext_->Handle(), 10, 10, 360, 40);
    Place(txtinput_->Handle(), 10, 56, 360, 22);
    Place(OKButton_->Handle(), 205, 100, 80, 26);
    Place(CancelButton_->Handle(), 290, 100, 80, 26);
  }
  ~Win32InputBoxView() override {
    form_->SetEvents(nullptr);
    RemoveWindowSubclass(txtinput_->Handle(), InputSubclass, 3);
  }

  void SetEvents(ui::InputBoxEvents* events) override {
    events_ = events;
    form_->SetEvents(events);
  }
  ui::Window& Form() override { return *form_; }
  ui::TextBox& txtinput() override { return *txtinput_; }
  ui::Label& lbltext() override { return *lbltext_; }
  ui::Button& OKButton() override { return *OKButton_; }
  ui::Button& CancelButton() override { return *CancelButton_; }
  std::vector<ui::Control*> Controls() override {
    std::vector<ui::Control*> controls;
    Add(controls, txtinput_);
    Add(controls, lbltext_);
    Add(controls, OKButton_);
    Add(controls, CancelButton_);
    return controls;
  }

 private:
  ui::InputBoxEvents* events_ = nullptr;
  std::function<void(int)> key_press_;
  std::unique_ptr<Win32Window> form_;
  std::unique_ptr<Win32Label> lbltext_;
  std::unique_ptr<Win32TextBox> txtinput_;
  std::unique_ptr<Win32Button> OKButton_;
  std::unique_ptr<Win32Button> CancelButton_;
};

}  // namespace

std::unique_ptr<ui::ExprBldView> Win32DialogFactory::NewExprBldView() {
  return std::make_unique<Win32ExprBldView>(keyword_dirs_);
}
std::unique_ptr<ui::FunctionView> Win32DialogFactory::NewFunctionView() {
  return std::make_unique<Win32FunctionView>();
}
std::unique_ptr<ui::PromptView> Win32DialogFactory::NewPromptView() {
  return std::make_unique<Win32PromptView>();
}
std::unique_ptr<ui::InputBoxView> Win32DialogFactory::NewInputBoxView() {
  return std::make_unique<Win32InputBoxView>();
}

std::unique_ptr<ui::TemplateManagerView> Win32DialogFactory::NewTemplateManagerView() {
  return NewWin32TemplateManagerView();
}
std::unique_ptr<ui::TemplateEditorView> Win32DialogFactory::NewTemplateEditorView() {
  return NewWin32TemplateEditorView();
}

std::optional<std::string> Win32FileDialog::ShowOpen(const ui::FileDialogRequest& request) {
  // "Text Files (*.txt)|*.txt" becomes the dialog's pairs of NUL-ended strings.
  std::string filter = request.filter;
  std::replace(filter.begin(), filter.end(), '|', '\0');
  filter.append(2, '\0');
  std::string file(MAX_PATH * 4, '\0');
  OPENFILENAMEA dialog{};
  dialog.lStructSize = sizeof(dialog);
  dialog.hwndOwner = GetActiveWindow();
  dialog.lpstrFilter = request.filter.empty() ? nullptr : filter.c_str();
  dialog.lpstrFile = file.data();
  dialog.nMaxFile = static_cast<DWORD>(file.size());
  dialog.lpstrTitle = request.title.empty() ? nullptr : request.title.c_str();
  dialog.Flags = static_cast<DWORD>(request.flags) | OFN_EXPLORER;
  if (!GetOpenFileNameA(&dialog)) return std::nullopt;
  file.resize(file.find('\0'));
  return file;
}

// A .chm file opens in the HTML help viewer on its map number; anything else is a WinHelp
// file and opens on its context.
void Win32HelpViewer::ShowContext(const std::string& help_file, int32_t context) {
  const std::string file(Trim(help_file));
  if (file.empty()) return;
  HWND owner = GetActiveWindow();
  if (EqualsIgnoreCase(file.size() > 4 ? file.substr(file.size() - 4) : file, ".chm")) {
    const std::string arguments = "-mapid " + std::to_string(context) + " \"" + file + "\"";
    const auto result = reinterpret_cast<INT_PTR>(
        ShellExecuteA(owner, "open", "hh.exe", arguments.c_str(), nullptr, SW_SHOWNORMAL));
    if (result <= 32) Raise(kErrFileNotFound, "File not found: " + file);
    return;
  }
  if (!WinHelpA(owner, file.c_str(), HELP_CONTEXT, static_cast<ULONG_PTR>(context)))
    Raise(kErrFileNotFound, "File not found: " + file);
}

}  // namespace kx::com::win32
