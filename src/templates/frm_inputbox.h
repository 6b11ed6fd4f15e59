#pragma once
// frminputbox: the one-line input box. It unloads itself on either button and keeps its
// result, so a caller cannot tell Cancel from OK with an empty text; an empty result means
// there is nothing to do.

#include <memory>
#include <string>

#include "component/kx_expression_builder.h"
#include "ui/services.h"
#include "ui/views.h"

namespace kx {

inline constexpr int kKeyEnter = 13;

class frminputbox : public ui::InputBoxEvents {
 public:
  // `builder` (not owned) gives the font and the caption (its FormTitle).
  frminputbox(ui::Services services, const KXExpressionBuilder& builder);
  ~frminputbox() override;

  // Creates the view and runs Form_Load.
  void Load();
  bool IsLoaded() const { return loaded_; }
  // The text of lbltext, the prompt above the input line.
  void SetPrompt(const std::string& text);
  // Shows the dialog modally; returns once it has unloaded itself.
  void Show();
  ui::InputBoxView& View() { return *view_; }

  const std::string& Result() const { return result_; }

  void Form_Load();

  // ui::InputBoxEvents
  void Form_Activate() override {}
  void Form_Resize() override {}
  bool Form_QueryUnload(int /*unload_mode*/) override { return false; }
  void Form_Unload() override { loaded_ = false; }
  void OKButton_Click() override;
  void CancelButton_Click() override;
  void txtinput_KeyPress(int key_ascii) override;

 private:
  ui::MessageBoxService& Box() { return *services_.message_box; }

  ui::Services services_;
  const KXExpressionBuilder& builder_;
  std::unique_ptr<ui::InputBoxView> view_;
  std::string result_;
  bool loaded_ = false;
};

// Asks for one line: `prompt` above the input, the builder's FormTitle as caption. Returns
// the text typed, or "" after Cancel.
std::string AskInputBox(const ui::Services& services, const KXExpressionBuilder& builder,
                        const std::string& prompt);

}  // namespace kx
