#include "win32_template_views.h"

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "win32_controls.h"

namespace kx::com::win32 {

namespace {

template <typename T>
void Add(std::vector<ui::Control*>& controls, const std::unique_ptr<T>& control) {
  controls.push_back(control.get());
}

void Place(HWND window, int x, int y, int width, int height) {
  MoveWindow(window, x, y, width, height, FALSE);
}

// A text box of several lines. The edit control keeps CR LF line breaks itself; what the
// presenter writes is not reported as the user's change.
class TextArea : public Win32Control<ui::TextBox>, public Notified {
 public:
  TextArea(std::string name, HWND parent, std::function<void()> changed)
      : Win32Control(std::move(name),
                     MakeChild(L"EDIT",
                               WS_TABSTOP | WS_VSCROLL | WS_HSCROLL | ES_MULTILINE |
                                   ES_AUTOVSCROLL | ES_AUTOHSCROLL | ES_WANTRETURN,
                               parent, WS_EX_CLIENTEDGE)),
        changed_(std::move(changed)) {
    Attach(window_, this);
  }
  void SetText(const std::string& text) override {
    writing_ = true;
    SetWindowTextA(window_, text.c_str());
    writing_ = false;
  }
  std::string Text() const override { return WindowText(window_); }
  bool Notify(UINT message, WPARAM wparam, LPARAM, LRESULT& result) override {
    if (message != WM_COMMAND || HIWORD(wparam) != EN_CHANGE) return false;
    if (!writing_ && changed_) Fire(changed_);
    result = 0;
    return true;
  }

 private:
  std::function<void()> changed_;
  bool writing_ = false;
};

// A label of several lines (the template's body).
class LinesLabel : public Win32Label {
 public:
  LinesLabel(std::string name, HWND parent) : Win32Label(std::move(name), parent) {
    SendMessageW(window_, WM_SETFONT, reinterpret_cast<WPARAM>(FontNamed("Courier New")), FALSE);
  }
};

// The list view cannot edit its cells: the current row's cell is edited in a box beside it.
// Typing reports each change; picking from the drop-down reports the item picked.
class CellCombo : public Win32Combo {
 public:
  CellCombo(std::string name, HWND parent, std::function<void(const std::string&)> changed)
      : Win32Combo(std::move(name), parent, nullptr), changed_(std::move(changed)) {}
  // Rewriting the same text would put the caret back at the start while the user types.
  void Show(const std::string& text) {
    if (text == Text()) return;
    writing_ = true;
    SetText(text);
    writing_ = false;
  }
  void SetChoices(const std::vector<std::string>& choices) {
    writing_ = true;
    RemoveAll();
    for (const std::string& choice : choices) AddItem(choice);
    writing_ = false;
  }
  bool Notify(UINT message, WPARAM wparam, LPARAM, LRESULT& result) override {
    if (message != WM_COMMAND) return false;
    std::string text;
    if (HIWORD(wparam) == CBN_EDITCHANGE) {
      text = Text();
    } else if (HIWORD(wparam) == CBN_SELCHANGE) {
      // The edit part still shows the old text when the selection changes.
      const auto picked = SendMessageW(window_, CB_GETCURSEL, 0, 0);
      if (picked == CB_ERR) return false;
      text = Item(static_cast<int32_t>(picked));
    } else {
      return false;
    }
    if (!writing_) Fire([&] { changed_(text); });
    result = 0;
    return true;
  }

 private:
  std::function<void(const std::string&)> changed_;
  bool writing_ = false;
};

// Writes the user's cell text into the current row, then tells the presenter.
void EditCurrent(Win32Grid& grid, int32_t column, const std::string& text,
                 const std::function<void(int32_t)>& report) {
  const int32_t row = grid.CurrentRow();
  if (row < 0 || row >= grid.Rows()) return;
  grid.SetCellText(row, column, text);
  report(row);
}

// ---- frmtemplate ----

class Win32TemplateManagerView : public ui::TemplateManagerView {
 public:
  Win32TemplateManagerView() {
    form_ = std::make_unique<Win32Window>("frmtemplate", "", true);
    form_->SetClientSize(600, 500);
    HWND dialog = form_->Handle();
    lblfile_ = std::make_unique<Win32Label>("lblfile", dialog);
    templates_ =
        std::make_unique<Win32Grid>("ssdgridtemplates", dialog,
                                    Win32Grid::Events{nullptr,
                                                      [this] {
                                                        if (events_)
                                                          events_->ssdgridtemplates_RowColChange();
                                                      },
                                                      [this] {
                                                        if (events_)
                                                          events_->ssdgridtemplates_DblClick();
                                                      },
                                                      nullptr, nullptr, nullptr});
    lblbody_ = std::make_unique<LinesLabel>("lblbody", dialog);
    params_ = std::make_unique<Win32Grid>(
        "ssdgridparams", dialog,
        Win32Grid::Events{nullptr, nullptr, nullptr, nullptr, nullptr, [this] { ShowValue(); }});
    value_ = std::make_unique<CellCombo>("cboValue", dialog, [this](const std::string& text) {
      EditCurrent(*params_, 2, text, [&](int32_t row) {
        if (events_) events_->ssdgridparams_Change(row, text);
      });
    });
    auto button = [&](const char* name, void (ui::TemplateManagerEvents::*handler)()) {
      return std::make_unique<Win32Button>(name, dialog, [this, handler] {
        if (events_) (events_->*handler)();
      });
    };
    cmdadd_ = button("cmdadd", &ui::TemplateManagerEvents::cmdadd_Click);
    cmdedit_ = button("cmdedit", &ui::TemplateManagerEvents::cmdedit_Click);
    cmdremove_ = button("cmdremove", &ui::TemplateManagerEvents::cmdremove_Click);
    cmdfile_ = button("cmdfile", &ui::TemplateManagerEvents::cmdfile_Click);
    cmdapply_ = button("cmdapply", &ui::TemplateManagerEvents::cmdapply_Click);
    cmdclose_ = button("cmdclose", &ui::TemplateManagerEvents::cmdclose_Click);
    form_->SetDefaultButtons(nullptr, cmdclose_->Handle());
    Place(lblfile_->Handle(), 10, 10, 580, 18);
    Place(templates_->Handle(), 10, 32, 470, 150);
    Place(cmdadd_->Handle(), 490, 32, 100, 26);
    Place(cmdedit_->Handle(), 490, 62, 100, 26);
    Place(cmdremove_->Handle(), 490, 92, 100, 26);
    Place(cmdfile_->Handle(), 490, 132, 100, 26);
    Place(lblbody_->Handle(), 10, 190, 580, 80);
    Place(params_->Handle(), 10, 278, 580, 130);
    value_->SetBounds({TwipsX(10), TwipsY(414), TwipsX(580), TwipsY(24)});
    Place(cmdapply_->Handle(), 400, 462, 90, 26);
    Place(cmdclose_->Handle(), 500, 462, 90, 26);
    ShowValue();
  }
  ~Win32TemplateManagerView() override { form_->SetEvents(nullptr); }

  void SetEvents(ui::TemplateManagerEvents* events) override {
    events_ = events;
    form_->SetEvents(events);
  }
  ui::Window& Form() override { return *form_; }
  ui::Label& lblfile() override { return *lblfile_; }
  ui::Grid& ssdgridtemplates() override { return *templates_; }
  ui::Label& lblbody() override { return *lblbody_; }
  ui::Grid& ssdgridparams() override { return *params_; }
  void SetValueChoices(const std::vector<std::string>& choices) override {
    value_->SetChoices(choices);
    ShowValue();
  }
  ui::Button& cmdadd() override { return *cmdadd_; }
  ui::Button& cmdedit() override { return *cmdedit_; }
  ui::Button& cmdremove() override { return *cmdremove_; }
  ui::Button& cmdfile() override { return *cmdfile_; }
  ui::Button& cmdapply() override { return *cmdapply_; }
  ui::Button& cmdclose() override { return *cmdclose_; }
  std::vector<ui::Control*> Controls() override {
    std::vector<ui::Control*> controls;
    Add(controls, lblfile_);
    Add(controls, templates_);
    Add(controls, lblbody_);
    Add(controls, params_);
    Add(controls, cmdadd_);
    Add(controls, cmdedit_);
    Add(controls, cmdremove_);
    Add(controls, cmdfile_);
    Add(controls, cmdapply_);
    Add(controls, cmdclose_);
    return controls;
  }

 private:
  void ShowValue() {
    if (!value_) return;
    const int32_t row = params_->CurrentRow();
    const bool on_row = row >= 0 && row < params_->Rows();
    value_->Show(on_row ? params_->CellText(row, 2) : std::string());
    value_->SetEnabled(on_row);
  }

  ui::TemplateManagerEvents* events_ = nullptr;
  std::unique_ptr<Win32Window> form_;
  std::unique_ptr<Win32Label> lblfile_;
  std::unique_ptr<Win32Grid> templates_;
  std::unique_ptr<LinesLabel> lblbody_;
  std::unique_ptr<Win32Grid> params_;
  std::unique_ptr<CellCombo> value_;
  std::unique_ptr<Win32Button> cmdadd_;
  std::unique_ptr<Win32Button> cmdedit_;
  std::unique_ptr<Win32Button> cmdremove_;
  std::unique_ptr<Win32Button> cmdfile_;
  std::unique_ptr<Win32Button> cmdapply_;
  std::unique_ptr<Win32Button> cmdclose_;
};

// ---- frmtempladd ----

class Win32TemplateEditorView : public ui::TemplateEditorView {
 public:
  Win32TemplateEditorView() {
    form_ = std::make_unique<Win32Window>("frmtempladd", "", true);
    form_->SetClientSize(560, 500);
    HWND dialog = form_->Handle();
    auto caption = [&](const char* text, int x, int y, int width) {
      labels_.push_back(std::make_unique<Win32Label>("", dialog));
      labels_.back()->SetCaption(text);
      Place(labels_.back()->Handle(), x, y, width, 18);
    };
    caption("&Name:", 10, 12, 90);
    caption("&Description:", 10, 40, 90);
    caption("&Body (parameters as <<Name>>):", 10, 104, 300);
    txtname_ = std::make_unique<Win32TextBox>("txtname", dialog);
    txtdescription_ = std::make_unique<TextArea>("txtdescription", dialog, nullptr);
    txtbody_ = std::make_unique<TextArea>("txtbody", dialog, [this] {
      if (events_) events_->txtbody_Change();
    });
    SendMessageW(txtbody_->Handle(), WM_SETFONT, reinterpret_cast<WPARAM>(FontNamed("Courier New")),
                 FALSE);
    params_ = std::make_unique<Win32Grid>(
        "ssdgridparams", dialog,
        Win32Grid::Events{nullptr, nullptr, nullptr, nullptr, nullptr, [this] { ShowCells(); }});
    description_ = std::make_unique<Win32ReportingTextBox>(
        "txtParamDescription", dialog, [this](const std::string& text) { Edit(1, text); });
    default_ = std::make_unique<CellCombo>("cboDefault", dialog,
                                           [this](const std::string& text) { Edit(2, text); });
    cmdok_ = std::make_unique<Win32Button>("cmdok", dialog, [this] {
      if (events_) events_->cmdok_Click();
    });
    cmdcancel_ = std::make_unique<Win32Button>("cmdcancel", dialog, [this] {
      if (events_) events_->cmdcancel_Click();
    });
    // Enter belongs to the body's lines; only Escape has a button.
    form_->SetDefaultButtons(nullptr, cmdcancel_->Handle());
    Place(txtname_->Handle(), 100, 10, 450, 22);
    Place(txtdescription_->Handle(), 100, 38, 450, 60);
    Place(txtbody_->Handle(), 10, 124, 540, 150);
    Place(params_->Handle(), 10, 282, 540, 120);
    Place(description_->Handle(), 10, 410, 300, 22);
    default_->SetBounds({TwipsX(320), TwipsY(410), TwipsX(230), TwipsY(24)});
    Place(cmdok_->Handle(), 370, 462, 85, 26);
    Place(cmdcancel_->Handle(), 465, 462, 85, 26);
    ShowCells();
  }
  ~Win32TemplateEditorView() override { form_->SetEvents(nullptr); }

  void SetEvents(ui::TemplateEditorEvents* events) override {
    events_ = events;
    form_->SetEvents(events);
  }
  ui::Window& Form() override { return *form_; }
  ui::TextBox& txtname() override { return *txtname_; }
  ui::TextBox& txtdescription() override { return *txtdescription_; }
  ui::TextBox& txtbody() override { return *txtbody_; }
  ui::Grid& ssdgridparams() override { return *params_; }
  void SetValueChoices(const std::vector<std::string>& choices) override {
    default_->SetChoices(choices);
    ShowCells();
  }
  ui::Button& cmdok() override { return *cmdok_; }
  ui::Button& cmdcancel() override { return *cmdcancel_; }
  std::vector<ui::Control*> Controls() override {
    std::vector<ui::Control*> controls;
    Add(controls, txtname_);
    Add(controls, txtdescription_);
    Add(controls, txtbody_);
    Add(controls, params_);
    Add(controls, cmdok_);
    Add(controls, cmdcancel_);
    return controls;
  }

 private:
  void Edit(int32_t column, const std::string& text) {
    EditCurrent(*params_, column, text, [&](int32_t row) {
      if (events_) events_->ssdgridparams_Change(row, column, text);
    });
  }
  void ShowCells() {
    if (!description_ || !default_) return;
    const int32_t row = params_->CurrentRow();
    const bool on_row = row >= 0 && row < params_->Rows();
    description_->Show(on_row ? params_->CellText(row, 1) : std::string());
    default_->Show(on_row ? params_->CellText(row, 2) : std::string());
    description_->SetEnabled(on_row);
    default_->SetEnabled(on_row);
  }

  ui::TemplateEditorEvents* events_ = nullptr;
  std::unique_ptr<Win32Window> form_;
  std::vector<std::unique_ptr<Win32Label>> labels_;
  std::unique_ptr<Win32TextBox> txtname_;
  std::unique_ptr<TextArea> txtdescription_;
  std::unique_ptr<TextArea> txtbody_;
  std::unique_ptr<Win32Grid> params_;
  std::unique_ptr<Win32ReportingTextBox> description_;
  std::unique_ptr<CellCombo> default_;
  std::unique_ptr<Win32Button> cmdok_;
  std::unique_ptr<Win32Button> cmdcancel_;
};

}  // namespace

std::unique_ptr<ui::TemplateManagerView> NewWin32TemplateManagerView() {
  return std::make_unique<Win32TemplateManagerView>();
}
std::unique_ptr<ui::TemplateEditorView> NewWin32TemplateEditorView() {
  return std::make_unique<Win32TemplateEditorView>();
}

}  // namespace kx::com::win32
