#include "component/expression_builder.h"

#include "runtime/error.h"
#include "runtime/text.h"
#include "ui/report.h"

namespace kx {

namespace {

void Report(ui::MessageBoxService* box, std::string_view location) {
  if (box)
    ReportError(*box, location);
  else
    ReportError(location);
}

constexpr int32_t kValidateButton = 23;
constexpr int32_t kTemplateButton = 25;

}  // namespace

ExpressionBuilder::ExpressionBuilder(std::shared_ptr<Registry> registry,
                                     const BuilderWindowFactory& window_factory,
                                     ui::MessageBoxService* box)
    : box_(box), lists_(box) {
  parameter_button_ = false;
  allow_validation_ = false;
  allow_templates_ = false;
  if (!font_) font_ = std::make_shared<FontDesc>();
  if (registry) typelib_path_ = GetKXTypeLibPath(*registry);
  window_ = window_factory(*this);
  window_->Load();
}

ExpressionBuilder::~ExpressionBuilder() {
  Terminate();
}

void ExpressionBuilder::Terminate() {
  try {
    if (const auto& entries = lists_.Entries())
      for (int32_t i = entries->Count(); i >= 1; --i) entries->Delete(i);
    source_.reset();
    target_.reset();
    if (window_) {
      window_->Unload();
      window_.reset();
    }
    font_.reset();
  } catch (...) {
    Report(box_, "Class_Terminate(ExpressionBuilder)");
  }
}

BuilderWindow& ExpressionBuilder::Window() {
  if (!window_) Raise(kErrObjectNotSet);
  if (!window_->IsLoaded()) window_->Load();
  return *window_;
}

void ExpressionBuilder::Font(std::shared_ptr<FontDesc> value) {
  font_ = std::move(value);
  if (!font_) Raise(kErrObjectNotSet);
  Window().SetGeneralFont(font_->Name);
}

void ExpressionBuilder::HelpID(int32_t value) {
  help_id_ = value;
  Window().SetHelpFileIDs(value);
}

void ExpressionBuilder::SourceControl(std::shared_ptr<HostSource> value) {
  source_ = std::move(value);
  ImportControl();
}

void ExpressionBuilder::TargetControl(std::shared_ptr<HostTarget> value) {
  target_ = std::move(value);
  ImportControl();
}

// Whichever side is set last hands the source's control to the target.
void ExpressionBuilder::ImportControl() {
  if (!source_ || !target_) return;
  Variant handle = source_->Get("ControlHandle");
  target_->Call("ImportControl", {handle});
}

void ExpressionBuilder::Show(int16_t modal) {
  using ui::IgnoringErrors;
  const bool is_modal = modal != 0;
  auto view = [&]() -> ui::ExprBldView& { return Window().View(); };
  IgnoringErrors([&] {
    if (!view().KXEditor1().Empty()) view().KXEditor1().Clear();
  });
  IgnoringErrors([&] { view().KXEditor1().InsertText(expression_); });
  IgnoringErrors([&] {
    if (parameter_button_) view().Command("cmdParam").SetVisible(true);
  });
  if (allow_validation_) {
    IgnoringErrors([&] { view().Menu("mnuToolsValidate").SetVisible(true); });
    IgnoringErrors([&] { view().tbar().Button(kValidateButton).SetEnabled(true); });
  }
  // Offered whatever AllowTemplates says; the first activation takes it back.
  IgnoringErrors([&] { view().Menu("mnuToolsTemplate").SetVisible(true); });
  IgnoringErrors([&] { view().tbar().Button(kTemplateButton).SetEnabled(true); });
  IgnoringErrors([&] {
    if (Trim(keyword_file_).empty()) view().KXEditor1().SetKeywordFile("kxsyntax.ini");
  });
  IgnoringErrors([&] { view().KXEditor1().ReloadKeywords(); });
  // The window reads HelpFile itself when Help is pressed; there is no application-wide
  // help file to set.
  IgnoringErrors([&] { view().Form().SetHelpContextID(help_id_); });
  IgnoringErrors([&] {
    if (!form_title_.empty()) view().Form().SetCaption(form_title_);
  });
  IgnoringErrors([&] {
    for (ui::Control* control : view().Controls()) control->SetHelpContextID(help_id_);
  });
  IgnoringErrors([&] { view().Form().Show(is_modal); });
  IgnoringErrors([&] { view().Form().DoEvents(); });
}

void ExpressionBuilder::KXExpressionBuilder_AddList(const std::string& parent_key,
                                                    const std::string& name, const std::string& key,
                                                    const std::string& thelist) {
  lists_.KXExpressionBuilder_AddList(parent_key, name, key, thelist);
}

void ExpressionBuilder::BuildUserTree() {
  try {
    ui::TreeView& tree = Window().View().TreeView1();
    lists_.BuildUserTree(
        [&](const std::string& key, const std::string& text, const std::string& tag) {
          tree.AddNode({key, text, tag, "", false});
        });
  } catch (...) {
    Report(box_, "BuildUserTree(ExpressionBuilder)");
  }
}

void ExpressionBuilder::KXExpressionBuilder_BuildTree() {
  Window().BuildTreeView([this] { BuildUserTree(); });
}

void ClassRegistry::Register(std::string_view prog_id, Factory factory) {
  classes_.emplace_back(std::string(prog_id), std::move(factory));
}

std::shared_ptr<KXExpressionBuilder> ClassRegistry::Create(std::string_view prog_id) const {
  for (const auto& [id, factory] : classes_)
    if (EqualsIgnoreCase(id, prog_id)) return factory();
  Raise(429);
}

std::shared_ptr<KXExpressionBuilder> LoadExpressionBuilder(const ClassRegistry& classes,
                                                           ui::MessageBoxService& box) {
  try {
    return classes.Create(kExpressionBuilderProgID);
  } catch (const ui::Unanswered&) {
    throw;
  } catch (...) {
    ReportError(box, "LoadExpressionBuilder(x_expressn)");
    return nullptr;
  }
}

}  // namespace kx
