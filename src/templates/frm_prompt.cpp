#include "templates/frm_prompt.h"

#include "runtime/error.h"
#include "ui/general_font.h"
#include "ui/report.h"
#include "ui/unanswered.h"

namespace kx {

namespace {

// The list stays clear of the combo's drop-down button.
constexpr int32_t kListWidthMargin = 100;

}  // namespace

frmprompt::frmprompt(ui::Services services, const KXExpressionBuilder& builder)
    : services_(services), builder_(builder) {}

frmprompt::~frmprompt() = default;

void frmprompt::Load() {
  if (loaded_) return;
  if (!view_) {
    if (services_.dialogs == nullptr) Raise(kErrObjectNotSet);
    view_ = services_.dialogs->NewPromptView();
    view_->SetEvents(this);
  }
  loaded_ = true;
  Form_Load();
}

void frmprompt::Show() {
  Load();
  view_->Form().Show(true);
}

void frmprompt::Unload() {
  if (loaded_) view_->Form().Unload();
}

void frmprompt::Form_Load() {
  Guarded(Box(), "Form_Load(frmprompt)", [&] {
    outcome_.clear();
    view_->Form().SetCaption(std::string(kPromptCaption));
    view_->ssdchk3dsame().SetCaption(std::string(kPromptSameValueCaption));
    view_->cmdok().SetCaption("OK");
    view_->cmdcancel().SetCaption("&Cancel");
    if (std::shared_ptr<FontDesc> font = builder_.Font())
      ui::ApplyGeneralFont(view_->Controls(), font->Name);
  });
}

void frmprompt::BuildSourceFieldList(const std::shared_ptr<Dispatch>& record) {
  ui::Combo& combo = view_->ssdcbovalue();
  // Every statement stands alone: a failing one leaves its variable as it was. A record
  // whose count cannot be read lists nothing.
  ui::IgnoringErrors([&] { combo.RemoveAll(); });
  int32_t last = -1;
  ui::IgnoringErrors([&] { last = GetValue(record, "FieldCount").ToInt16() - 1; });
  if (last < 0) return;
  Variant saved(int16_t{0});
  ui::IgnoringErrors([&] { saved = GetValue(record, "FieldPos"); });
  for (int32_t i = 0; i <= last; ++i) {
    ui::IgnoringErrors([&] { record->Put("FieldPos", {}, Variant(static_cast<int16_t>(i))); });
    ui::IgnoringErrors([&] { combo.AddItem("[" + GetValue(record, "fieldname").ToText() + "]"); });
  }
  ui::IgnoringErrors([&] { record->Put("FieldPos", {}, saved); });
}

std::string frmprompt::Value() {
  return view_->ssdcbovalue().Text();
}

bool frmprompt::SameValue() {
  return view_->ssdchk3dsame().Value();
}

void frmprompt::cmdok_Click() {
  Guarded(Box(), "cmdok_Click(frmprompt)", [&] {
    outcome_ = "-1";
    view_->Form().Hide();
  });
}

void frmprompt::cmdcancel_Click() {
  Guarded(Box(), "cmdcancel_Click(frmprompt)", [&] {
    outcome_ = "0";
    view_->Form().Hide();
  });
}

void frmprompt::ssdcbovalue_DropDown() {
  Guarded(Box(), "ssdcbovalue_DropDown(frmprompt)", [&] {
    ui::Combo& combo = view_->ssdcbovalue();
    combo.SetListWidth(combo.Bounds().width - kListWidthMargin);
  });
}

}  // namespace kx
