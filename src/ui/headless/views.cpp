#include "ui/headless/views.h"

#include "runtime/error.h"

namespace kx::ui::headless {

namespace {

constexpr int32_t kFrameWidth = 120;
constexpr int32_t kFrameHeight = 480;

}  // namespace

HeadlessWindow::HeadlessWindow(std::string name, std::string* focus, Driver& driver,
                               HeadlessView& view)
    : ControlOf(std::move(name), focus), driver_(driver), view_(view) {
  ControlOf::SetBounds({0, 0, client_width_ + kFrameWidth, client_height_ + kFrameHeight});
}

void HeadlessWindow::SetBounds(const Rect& bounds) {
  ControlOf::SetBounds(bounds);
  client_width_ = std::max(0, bounds.width - kFrameWidth);
  client_height_ = std::max(0, bounds.height - kFrameHeight);
}

void HeadlessWindow::Show(bool modal) {
  loaded_ = true;
  shown_ = true;
  ++activations_;
  if (events_) events_->Form_Activate();
  // A window its activation already closed needs nobody to answer it.
  if (modal && shown_) driver_.RunModal(*this);
}

bool HeadlessWindow::Close(int unload_mode) {
  if (events_ && events_->Form_QueryUnload(unload_mode)) return false;
  shown_ = false;
  loaded_ = false;
  if (events_) events_->Form_Unload();
  return true;
}

void HeadlessWindow::Resize(int32_t width, int32_t height) {
  Rect bounds = Bounds();
  ControlOf::SetBounds({bounds.left, bounds.top, width + kFrameWidth, height + kFrameHeight});
  client_width_ = width;
  client_height_ = height;
  if (events_) events_->Form_Resize();
}

void HeadlessWindow::Minimize(bool minimized) {
  minimized_ = minimized;
  if (events_) events_->Form_Resize();
}

HeadlessView::HeadlessView(std::string window_name, Driver& driver)
    : window_(std::move(window_name), &focus_, driver, *this) {}

// ---- frmExprBld ----

HeadlessExprBldView::HeadlessExprBldView(Driver& driver, EditorContext editor)
    : HeadlessView("frmExprBld", driver),
      editor_("KXEditor1", &focus_, editor),
      tree_("TreeView1", &focus_),
      grid_("ssdgridtokens", &focus_),
      proto_{HeadlessLabel("txtproto", &focus_), HeadlessLabel("txtproto", &focus_)},
      lblexprerr_("lblexprerr", &focus_),
      tbar_("tbar", &focus_),
      vselbottom_("vselbottom", &focus_),
      vselbuttons_("vselbuttons", &focus_) {}

HeadlessLabel& HeadlessExprBldView::txtproto(int index) {
  if (index < 0 || index > 1) Raise(kErrIndexOutOfBounds);
  return proto_[index];
}

HeadlessButton& HeadlessExprBldView::Command(std::string_view name) {
  for (auto& button : commands_)
    if (button->Name() == name) return *button;
  commands_.push_back(std::make_unique<HeadlessButton>(std::string(name), &focus_));
  return *commands_.back();
}

void HeadlessExprBldView::AddMenu(const MenuDef& def) {
  for (auto& menu : menus_)
    if (menu->Name() == def.name) Raise(kErrKeyNotUnique);
  menus_.push_back(std::make_unique<HeadlessMenuItem>(def, &focus_));
}

HeadlessMenuItem& HeadlessExprBldView::Menu(std::string_view name) {
  for (auto& menu : menus_)
    if (menu->Name() == name) return *menu;
  Raise(kErrElementNotFound);
}

std::vector<Control*> HeadlessExprBldView::Controls() {
  std::vector<Control*> controls = {&editor_,     &tree_, &grid_,       &proto_[0],   &proto_[1],
                                    &lblexprerr_, &tbar_, &vselbottom_, &vselbuttons_};
  for (auto& button : commands_) controls.push_back(button.get());
  for (auto& menu : menus_) controls.push_back(menu.get());
  return controls;
}

std::vector<HeadlessMenuItem*> HeadlessExprBldView::Menus() {
  std::vector<HeadlessMenuItem*> menus;
  for (auto& menu : menus_) menus.push_back(menu.get());
  return menus;
}

std::vector<HeadlessButton*> HeadlessExprBldView::Commands() {
  std::vector<HeadlessButton*> buttons;
  for (auto& button : commands_) buttons.push_back(button.get());
  return buttons;
}

bool HeadlessExprBldView::ClickNode(std::string_view key) {
  if (!Usable(tree_)) return false;
  std::string clicked(key);
  if (!tree_.Node(clicked)) throw GestureError("TreeView1 has no node \"" + clicked + "\"");
  auto& events = Sink<ExprBldEvents>();
  tree_.SelectNode(clicked);
  events.TreeView1_NodeClick(clicked);
  return true;
}

bool HeadlessExprBldView::MoveToRow(int32_t row) {
  if (!Usable(grid_)) return false;
  if (row < 0 || row >= grid_.Rows())
    throw GestureError("ssdgridtokens has no row " + std::to_string(row));
  auto& events = Sink<ExprBldEvents>();
  if (row == grid_.CurrentRow()) return true;
  events.ssdgridtokens_BeforeRowColChange();
  grid_.SetCurrentRow(row);
  events.ssdgridtokens_RowColChange();
  return true;
}

bool HeadlessExprBldView::EnsureRow(int32_t row) {
  return row == grid_.CurrentRow() && Usable(grid_) ? true : MoveToRow(row);
}

bool HeadlessExprBldView::DoubleClickRow(int32_t row) {
  if (!EnsureRow(row)) return false;
  Sink<ExprBldEvents>().ssdgridtokens_DblClick();
  return true;
}

bool HeadlessExprBldView::BuildFunction(int32_t row) {
  if (!EnsureRow(row)) return false;
  Sink<ExprBldEvents>().ssdgridtokens_BuildFunction();
  return true;
}

bool HeadlessExprBldView::Press(std::string_view name) {
  HeadlessButton* button = nullptr;
  for (auto& command : commands_)
    if (command->Name() == name) button = command.get();
  if (!button) throw GestureError("frmExprBld has no button " + std::string(name));
  if (!Usable(*button)) return false;
  Sink<ExprBldEvents>().ButtonClick(std::string(name));
  return true;
}

bool HeadlessExprBldView::ChooseMenu(std::string_view name) {
  HeadlessMenuItem* item = nullptr;
  for (auto& menu : menus_)
    if (menu->Name() == name) item = menu.get();
  if (!item) throw GestureError("frmExprBld has no menu item " + std::string(name));
  // A menu's items are reachable only while every menu above it is.
  for (HeadlessMenuItem* at = item; at;) {
    if (!Usable(*at)) return false;
    HeadlessMenuItem* parent = nullptr;
    for (auto& menu : menus_)
      if (menu->Name() == at->Parent()) parent = menu.get();
    at = at->Parent().empty() ? nullptr : parent;
  }
  Sink<ExprBldEvents>().MenuClick(std::string(name));
  return true;
}

bool HeadlessExprBldView::ClickToolbar(std::string_view key) {
  HeadlessToolbarButton* button = tbar_.Find(key);
  if (!button) throw GestureError("tbar has no button with key " + std::string(key));
  if (!Usable(tbar_) || !button->Enabled()) return false;
  Sink<ExprBldEvents>().tbar_ButtonClick(std::string(key));
  return true;
}

bool HeadlessExprBldView::Type(const std::string& text) {
  if (!Usable(editor_)) return false;
  Sink<ExprBldEvents>().KXEditor1_KeyDown();
  editor_.InsertText(text);
  return true;
}

bool HeadlessExprBldView::ClickEditor(int32_t position) {
  if (!Usable(editor_)) return false;
  Sink<ExprBldEvents>().KXEditor1_MouseDown();
  editor_.SetCaretPosition(position);
  return true;
}

// ---- frmFunction ----

HeadlessFunctionView::HeadlessFunctionView(Driver& driver)
    : HeadlessView("frmFunction", driver),
      lblfuncname_("lblfuncname", &focus_),
      lbldescription_("lbldescription", &focus_),
      txtParameters_("txtParameters", &focus_),
      grid_("ssdgridargs", &focus_),
      cmdok_("cmdok", &focus_),
      cmdcancel_("cmdcancel", &focus_),
      cmdhelp_("cmdhelp", &focus_) {}

int32_t HeadlessFunctionView::TextWidth(const std::string& text) const {
  return static_cast<int32_t>(text.size()) * 105;
}

std::vector<Control*> HeadlessFunctionView::Controls() {
  return {&lblfuncname_, &lbldescription_, &txtParameters_, &grid_,
          &cmdok_,       &cmdcancel_,      &cmdhelp_};
}

bool HeadlessFunctionView::Press(std::string_view name) {
  return PressButton<FunctionEvents>(name, {{&cmdok_, &FunctionEvents::cmdok_Click},
                                            {&cmdcancel_, &FunctionEvents::cmdcancel_Click},
                                            {&cmdhelp_, &FunctionEvents::cmdhelp_Click}});
}

bool HeadlessFunctionView::MoveToRow(int32_t row) {
  if (!Usable(grid_)) return false;
  if (row < 0 || row >= grid_.Rows())
    throw GestureError("ssdgridargs has no row " + std::to_string(row));
  auto& events = Sink<FunctionEvents>();
  int32_t column = grid_.Columns() > 1 ? 1 : 0;
  if (row == grid_.CurrentRow() && column == grid_.CurrentColumn()) return true;
  grid_.SetCurrentRow(row);
  grid_.SetCurrentColumn(column);
  events.ssdgridargs_RowColChange();
  return true;
}

bool HeadlessFunctionView::EditValue(int32_t row, const std::string& text) {
  if (grid_.Columns() < 2) throw GestureError("ssdgridargs has no value column");
  if (!MoveToRow(row)) return false;
  grid_.SetCellText(row, 1, text);
  Sink<FunctionEvents>().ssdgridargs_Change(text);
  return true;
}

bool HeadlessFunctionView::KeyDown(int key_code) {
  if (!Usable(grid_)) return false;
  Sink<FunctionEvents>().ssdgridargs_KeyDown(key_code);
  return true;
}

// ---- frmprompt ----

HeadlessPromptView::HeadlessPromptView(Driver& driver)
    : HeadlessView("frmprompt", driver),
      ssdcbovalue_("ssdcbovalue", &focus_),
      ssdchk3dsame_("ssdchk3dsame", &focus_),
      lbldesc_("lbldesc", &focus_),
      lbltrgfld_("lbltrgfld", &focus_),
      lbltemplate_("lbltemplate", &focus_),
      lblprompt_("lblprompt", &focus_),
      cmdok_("cmdok", &focus_),
      cmdcancel_("cmdcancel", &focus_) {}

std::vector<Control*> HeadlessPromptView::Controls() {
  return {&ssdcbovalue_, &ssdchk3dsame_, &lbldesc_, &lbltrgfld_,
          &lbltemplate_, &lblprompt_,    &cmdok_,   &cmdcancel_};
}

bool HeadlessPromptView::Press(std::string_view name) {
  return PressButton<PromptEvents>(
      name, {{&cmdok_, &PromptEvents::cmdok_Click}, {&cmdcancel_, &PromptEvents::cmdcancel_Click}});
}

bool HeadlessPromptView::DropDown() {
  if (!Usable(ssdcbovalue_)) return false;
  Sink<PromptEvents>().ssdcbovalue_DropDown();
  return true;
}

bool HeadlessPromptView::EnterValue(const std::string& text) {
  if (!Usable(ssdcbovalue_)) return false;
  ssdcbovalue_.SetText(text);
  return true;
}

bool HeadlessPromptView::ChooseItem(int32_t row) {
  if (!DropDown()) return false;
  if (row < 0 || row >= ssdcbovalue_.Rows())
    throw GestureError("ssdcbovalue has no row " + std::to_string(row));
  ssdcbovalue_.SetText(ssdcbovalue_.Item(row));
  return true;
}

bool HeadlessPromptView::CheckSame(bool checked) {
  if (!Usable(ssdchk3dsame_)) return false;
  ssdchk3dsame_.SetValue(checked);
  return true;
}

// ---- frminputbox ----

HeadlessInputBoxView::HeadlessInputBoxView(Driver& driver)
    : HeadlessView("frminputbox", driver),
      txtinput_("txtinput", &focus_),
      lbltext_("lbltext", &focus_),
      OKButton_("OKButton", &focus_),
      CancelButton_("CancelButton", &focus_) {}

std::vector<Control*> HeadlessInputBoxView::Controls() {
  return {&txtinput_, &lbltext_, &OKButton_, &CancelButton_};
}

bool HeadlessInputBoxView::Press(std::string_view name) {
  return PressButton<InputBoxEvents>(name, {{&OKButton_, &InputBoxEvents::OKButton_Click},
                                            {&CancelButton_, &InputBoxEvents::CancelButton_Click}});
}

bool HeadlessInputBoxView::TypeInput(const std::string& text) {
  if (!Usable(txtinput_)) return false;
  auto& events = Sink<InputBoxEvents>();
  for (char c : text) {
    events.txtinput_KeyPress(static_cast<unsigned char>(c));
    // A one-line box takes no line break; the key still reaches the presenter.
    if (c != '\r' && c != '\n') txtinput_.SetText(txtinput_.Text() + c);
  }
  return true;
}

}  // namespace kx::ui::headless
