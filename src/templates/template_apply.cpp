#include "templates/template_apply.h"

#include <algorithm>
#include <vector>

#include "runtime/error.h"
#include "runtime/format.h"
#include "templates/frm_prompt.h"
#include "ui/report.h"

namespace kx {

namespace {

constexpr std::string_view kLocation = "ApplyTemplatetoStrings(template)";
constexpr std::string_view kPromptPrefix = "Enter a value for: ";
constexpr std::string_view kDescriptionText = "Parameter (%1), Description - %2";
constexpr std::string_view kTargetPrefix = "Target Field: ";
constexpr std::string_view kBlankRow = "     ";

// The value combo seen through the late-bound AddItem the inventory calls.
class ComboItems : public Dispatch {
 public:
  explicit ComboItems(ui::Combo& combo) : combo_(combo) {}
  Variant Call(std::string_view name, const Arguments& args) override {
    if (!IsMember(name, "AddItem")) RaiseNoMember(name);
    ExpectArguments(name, args, 1);
    combo_.AddItem(args[0].ToText());
    return {};
  }

 private:
  ui::Combo& combo_;
};

// "[" through the first "]" of the first-field text; empty when a bracket is missing.
std::string BracketedPart(const std::string& text) {
  const size_t open = text.find('[');
  const size_t close = text.find(']');
  if (open == std::string::npos || close == std::string::npos || close < open) return {};
  return text.substr(open, close - open + 1);
}

// The first field of the source side's selected record layout, as the prompt dialog lists
// fields ("[name]"). The source has no field cursor to read back, so it is left on field 0.
std::string FirstFieldText(ExpressionList& list) {
  const std::shared_ptr<HostSource>& source = list.SourceControl();
  if (!source || source->SpokeTypeName().empty() || source->FieldCount() < 1) return {};
  source->SetFieldPos(0);
  return "[" + source->fieldname() + "]";
}

}  // namespace

std::string SelfReferenceMessage(const std::string& token) {
  return "The value may not contain " + token + ": filling it in would never end.";
}

bool IsPromptMarker(std::string_view value) {
  return value == kMarkerPrompt || value == kMarkerPromptN || value == kMarkerPromptS;
}

void ArmPrompts(ExprTemplate& template_) {
  for (int32_t i = 1; i <= template_.Parameters().Count(); ++i) {
    ExprParameter& p = *template_.Parameters().Item(i);
    if (!IsPromptMarker(p.Value())) continue;
    p.PromptEveryRow(true);
    p.PromptValue({});
  }
}

std::string DisplayBody(std::string_view body) {
  std::string out;
  out.reserve(body.size());
  for (char c : body) {
    out += c;
    if (c == '&') out += '&';
  }
  return out;
}

std::optional<std::string> SelfReferencingParameter(const ExprTemplate& template_,
                                                    const ExpressionInfo* record) {
  for (int32_t i = 1; i <= template_.Parameters().Count(); ++i) {
    const ExprParameter& p = *template_.Parameters().Item(i);
    const std::string token = "<<" + p.Name() + ">>";
    const std::string* text = &p.Value();
    if (p.Value() == kMarkerCurrentContents)
      text = record ? &record->ExpressionText : nullptr;
    else if (p.Value() == kMarkerHighlighted)
      text = record ? &record->SelectedText : nullptr;
    else if (p.Value() == kMarkerFirstField || IsPromptMarker(p.Value()))
      text = nullptr;
    if (text && text->find(token) != std::string::npos) return p.Name();
  }
  return std::nullopt;
}

std::string SpliceSelection(const ExpressionInfo& record, const std::string& working) {
  // Columns count from 0 within the start row (the -1 that SetColRowFromInstr gives for a
  // line's first character counts as 0); the selection never spans rows.
  if (record.SelRowStart < 1 || record.SelColEnd <= record.SelColStart) return working;
  const std::string& text = record.ExpressionText;
  size_t row_start = 0;
  for (int32_t row = 1; row < record.SelRowStart; ++row) {
    const size_t brk = text.find("\r\n", row_start);
    if (brk == std::string::npos) return working;  // no such row: nothing to keep
    row_start = brk + 2;
  }
  const size_t column = static_cast<size_t>(std::max(record.SelColStart, 0));
  const size_t start = std::min(text.size(), row_start + column);
  const size_t length = static_cast<size_t>(record.SelColEnd - record.SelColStart);
  const size_t end = std::min(text.size(), start + length);
  if (start == 0 && end == text.size()) return working;
  return text.substr(0, start) + working + text.substr(end);
}

bool ApplyTemplatetoStrings(ExpressionList& list, ValuePrompter& prompter,
                            ui::MessageBoxService* box) {
  const std::shared_ptr<ExprTemplate> tpl = list.TemplateToUse();
  if (!tpl || tpl->Name().empty() || list.Count() == 0) return true;
  bool completed = false;
  try {
    const std::string display = DisplayBody(tpl->Body());
    const Collection<ExprParameterRef>& parameters = tpl->Parameters();
    std::vector<std::string> tokens;
    bool wants_first_field = false;
    for (int32_t i = 1; i <= parameters.Count(); ++i) {
      tokens.push_back("<<" + parameters.Item(i)->Name() + ">>");
      wants_first_field |= parameters.Item(i)->Value() == kMarkerFirstField;
    }
    const std::string first_field =
        wants_first_field ? BracketedPart(FirstFieldText(list)) : std::string();

    std::vector<bool> asked(tokens.size());
    bool cancelled = false;
    const int32_t count = list.Count();
    for (int32_t r = 1; r <= count && !cancelled; ++r) {
      ExpressionList::Record record = list.Item(Variant(r));
      const std::string& current = record->ExpressionText;
      std::string working = tpl->Body();
      std::fill(asked.begin(), asked.end(), false);
      for (int32_t i = 1; i <= parameters.Count() && !cancelled; ++i) {
        ExprParameter& p = *parameters.Item(i);
        const std::string& token = tokens[static_cast<size_t>(i - 1)];
        for (size_t at = working.find(token); at != std::string::npos; at = working.find(token)) {
          const std::string& value = p.Value();
          std::string replacement;
          if (value == kMarkerHighlighted) {
            replacement = record->SelectedText;
          } else if (value == kMarkerCurrentContents) {
            replacement = current;
          } else if (value == kMarkerFirstField) {
            replacement = first_field;
          } else if (IsPromptMarker(value)) {
            if (p.PromptEveryRow() && !asked[static_cast<size_t>(i - 1)]) {
              asked[static_cast<size_t>(i - 1)] = true;
              ValuePromptRequest request;
              request.token = token;
              request.prompt = std::string(kPromptPrefix) + token;
              request.body = display;
              request.description =
                  FormatMessageText(kDescriptionText, {p.Name(), p.Description()});
              if (!record->ExpressionName.empty())
                request.target = std::string(kTargetPrefix) + record->ExpressionName;
              ValuePromptAnswer answer = prompter.Ask(request, list);
              if (!answer.ok) {
                cancelled = true;
                break;
              }
              p.PromptEveryRow(!answer.same_value);
              p.PromptValue(std::move(answer.value));
            }
            replacement = p.PromptValue();
          } else {
            replacement = value;
          }
          working.replace(at, token.size(), replacement);
        }
      }
      if (cancelled) break;
      record->ReplacedSelectedText = working;
      record->ReplacedExpression = SpliceSelection(*record, working);
    }
    completed = !cancelled;
  } catch (const ui::Unanswered&) {
    prompter.Finished();
    throw;
  } catch (...) {
    if (box)
      ReportError(*box, kLocation);
    else
      ReportError(kLocation);
  }
  prompter.Finished();
  return completed;
}

DialogPrompter::DialogPrompter(ui::Services services, const KXExpressionBuilder& builder)
    : services_(services), dialog_(std::make_unique<frmprompt>(services, builder)) {}

DialogPrompter::~DialogPrompter() = default;

ValuePromptAnswer DialogPrompter::Ask(const ValuePromptRequest& request, ExpressionList& list) {
  frmprompt& dialog = *dialog_;
  dialog.Load();
  ui::PromptView& view = dialog.View();
  view.lblprompt().SetCaption(request.prompt);
  view.lbltemplate().SetCaption(request.body);
  view.lbldesc().SetCaption(request.description);
  view.lbltrgfld().SetCaption(request.target);
  ui::Combo& combo = view.ssdcbovalue();
  combo.RemoveAll();
  combo.AddItem(std::string(kBlankRow));
  list.BuildRecordFieldComboDropDownList(std::make_shared<ComboItems>(combo));
  ValuePromptAnswer answer;
  for (;;) {
    dialog.Show();
    answer.ok = dialog.Accepted();
    if (!answer.ok) return answer;
    answer.value = dialog.Value();
    answer.same_value = dialog.SameValue();
    if (answer.value.find(request.token) == std::string::npos) return answer;
    services_.message_box->Show(SelfReferenceMessage(request.token), ui::kMbOk, "");
  }
}

void DialogPrompter::Finished() {
  dialog_->Unload();
}

}  // namespace kx
