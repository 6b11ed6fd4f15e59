#include "templates/frm_inputbox.h"

#include "runtime/error.h"
#include "ui/general_font.h"
#include "ui/report.h"

namespace kx {

frminputbox::frminputbox(ui::Services services, const KXExpressionBuilder& builder)
    : services_(services), builder_(builder) {}

frminputbox::~frminputbox() = default;

void frminputbox::Load() {
  if (loaded_) return;
  if (!view_) {
    if (services_.dialogs == nullptr) Raise(kErrObjectNotSet);
    view_ = services_.dialogs->NewInputBoxView();
    view_->SetEvents(this);
  }
  loaded_ = true;
  Form_Load();
}

void frminputbox::SetPrompt(const std::string& text) {
  Load();
  view_->lbltext().SetCaption(text);
}

void frminputbox::Show() {
  Load();
  view_->Form().Show(true);
}

void frminputbox::Form_Load() {
  Guarded(Box(), "Form_Load(frminputbox)", [&] {
    result_.clear();
    view_->Form().SetCaption(builder_.FormTitle());
    view_->OKButton().SetCaption("OK");
    view_->CancelButton().SetCaption("Cancel");
    if (std::shared_ptr<FontDesc> font = builder_.Font())
      ui::ApplyGeneralFont(view_->Controls(), font->Name);
  });
}

void frminputbox::OKButton_Click() {
  Guarded(Box(), "OKButton_Click(frminputbox)", [&] {
    result_ = view_->txtinput().Text();
    view_->Form().Unload();
  });
}

void frminputbox::CancelButton_Click() {
  Guarded(Box(), "CancelButton_Click(frminputbox)", [&] { view_->Form().Unload(); });
}

void frminputbox::txtinput_KeyPress(int key_ascii) {
  Guarded(Box(), "txtinput_KeyPress(frminputbox)", [&] {
    if (key_ascii == kKeyEnter) OKButton_Click();
  });
}

std::string AskInputBox(const ui::Services& services, const KXExpressionBuilder& builder,
                        const std::string& prompt) {
  frminputbox box(services, builder);
  box.Load();
  box.SetPrompt(prompt);
  box.Show();
  return box.Result();
}

}  // namespace kx
