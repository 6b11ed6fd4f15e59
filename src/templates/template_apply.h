#pragma once
// Filling one template in for every record of an expression inventory.
//
// The routine lives here rather than as a member of ExpressionList because it needs the
// template model and the prompt dialog, and inventory/ must not depend on templates/.
// ApplyTemplatetoStrings(list, prompter) is the list's operation with the list passed in.

#include <memory>
#include <optional>
#include <string>

#include "component/kx_expression_builder.h"
#include "inventory/expression_list.h"
#include "templates/templates.h"
#include "ui/services.h"

namespace kx {

class frmprompt;

// What the prompt dialog shows for one "^?" parameter of one record.
struct ValuePromptRequest {
  std::string token;        // "<<Name>>"; an answer containing it is refused
  std::string prompt;       // "Enter a value for: <<Name>>"
  std::string body;         // the template body with every "&" doubled
  std::string description;  // "Parameter (Name), Description - ..."
  std::string target;       // "Target Field: ..." or empty
};

struct ValuePromptAnswer {
  bool ok = false;  // false: Cancel, which ends the whole application
  std::string value;
  bool same_value = false;  // "Use same value in all selected rows"
};

// Asks for a parameter's value: the prompt dialog in the component, the terminal in kxexpr.
class ValuePrompter {
 public:
  virtual ~ValuePrompter() = default;
  // `list` offers BuildRecordFieldComboDropDownList for the value's choices.
  virtual ValuePromptAnswer Ask(const ValuePromptRequest& request, ExpressionList& list) = 0;
  // The application has ended; a dialog is unloaded.
  virtual void Finished() {}
};

// The prompt dialog frmprompt as a prompter: labels filled, the combo given five blanks and
// then the source side's field references.
class DialogPrompter : public ValuePrompter {
 public:
  DialogPrompter(ui::Services services, const KXExpressionBuilder& builder);
  ~DialogPrompter() override;
  ValuePromptAnswer Ask(const ValuePromptRequest& request, ExpressionList& list) override;
  void Finished() override;

 private:
  ui::Services services_;
  std::unique_ptr<frmprompt> dialog_;
};

// True for the values that make application ask: "^?" and, as the template manager shows
// them, "^n" and "^s".
bool IsPromptMarker(std::string_view value);

// Switches prompting on for every parameter whose value asks and forgets earlier answers.
// Callers do this before each application; the application itself only clears it.
void ArmPrompts(ExprTemplate& template_);

// The body as a label shows it: every "&" doubled.
std::string DisplayBody(std::string_view body);

// A parameter value that contains its own "<<Name>>" makes application loop without end.
// Returns the name of the first such parameter of `template_`, or nullopt. With a record,
// "^c" and "^h" are checked against its texts too; answers to prompts are checked by the
// prompters.
std::optional<std::string> SelfReferencingParameter(const ExprTemplate& template_,
                                                    const ExpressionInfo* record = nullptr);

// Why an answer that contains its own token is refused.
std::string SelfReferenceMessage(const std::string& token);

// Fills the list's TemplateToUse in for every record from position 1, writing
// ReplacedSelectedText and ReplacedExpression. Returns false when a prompt was cancelled:
// the record being filled and those after it keep their replacement fields. A run-time
// error is reported (through `box`, else the process's) under the location
// "ApplyTemplatetoStrings(template)" and ends the run too; records done before stay done.
// Callers refuse a template with a SelfReferencingParameter first: it would never end.
bool ApplyTemplatetoStrings(ExpressionList& list, ValuePrompter& prompter,
                            ui::MessageBoxService* box = nullptr);

// The record's ReplacedExpression for a filled-in `working` text: spliced into ExpressionText
// in place of the record's selection when it has one that is not the whole text.
std::string SpliceSelection(const ExpressionInfo& record, const std::string& working);

}  // namespace kx
