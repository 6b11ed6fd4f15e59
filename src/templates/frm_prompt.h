#pragma once
// frmprompt: the value prompt shown while a template is applied. The caller fills the
// labels, shows it modally, reads the combo's text, the check box and the outcome, and then
// unloads it; the buttons only hide it.

#include <memory>
#include <string>

#include "component/kx_expression_builder.h"
#include "inventory/dispatch.h"
#include "ui/services.h"
#include "ui/views.h"

namespace kx {

inline constexpr std::string_view kPromptCaption = "Enter or Select Value";
inline constexpr std::string_view kPromptSameValueCaption = "Use same value in all selected rows";

class frmprompt : public ui::PromptEvents {
 public:
  // `builder` (not owned) gives the font.
  frmprompt(ui::Services services, const KXExpressionBuilder& builder);
  ~frmprompt() override;

  // Creates the view and runs Form_Load.
  void Load();
  bool IsLoaded() const { return loaded_; }
  // Shows the dialog modally; returns once a button has hidden it (or it was closed).
  void Show();
  void Unload();
  ui::PromptView& View() { return *view_; }

  // Fills ssdcbovalue with "[" + fieldname + "]" for every field of a host record (a
  // late-bound object with FieldCount, FieldPos and fieldname) and puts the record's
  // FieldPos back. Each step goes on after an error, so a record lacking a member gives a
  // partial or empty list.
  void BuildSourceFieldList(const std::shared_ptr<Dispatch>& record);

  // "-1" after OK, "0" after Cancel, "" while neither was pressed.
  const std::string& Outcome() const { return outcome_; }
  bool Accepted() const { return outcome_ == "-1"; }
  // The answer: the combo's text.
  std::string Value();
  // The "same value in all selected rows" box.
  bool SameValue();

  void Form_Load();

  // ui::PromptEvents
  void Form_Activate() override {}
  void Form_Resize() override {}
  bool Form_QueryUnload(int /*unload_mode*/) override { return false; }
  void Form_Unload() override { loaded_ = false; }
  void cmdok_Click() override;
  void cmdcancel_Click() override;
  void ssdcbovalue_DropDown() override;

 private:
  ui::MessageBoxService& Box() { return *services_.message_box; }

  ui::Services services_;
  const KXExpressionBuilder& builder_;
  std::unique_ptr<ui::PromptView> view_;
  std::string outcome_;
  bool loaded_ = false;
};

}  // namespace kx
