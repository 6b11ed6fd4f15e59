#pragma once
// ExpressionBuilder: the component's creatable class. It keeps what the host sets, owns its
// editor window for its whole life and shows it on request.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "component/builder_window.h"
#include "component/kx_expression_builder.h"
#include "component/registry.h"
#include "component/usertree.h"
#include "ui/message_box.h"

namespace kx {

inline constexpr std::string_view kExpressionBuilderProgID =
    "KXExpressionBuilder75.ExpressionBuilder";

class ExpressionBuilder : public KXExpressionBuilder {
 public:
  // `registry` (may be null: no host library) gives KXTypeLibPath; `box` (not owned; null
  // for the process's) receives the builder's own error reports; the window comes from
  // `window_factory` and is loaded, not shown.
  ExpressionBuilder(std::shared_ptr<Registry> registry, const BuilderWindowFactory& window_factory,
                    ui::MessageBoxService* box);
  ~ExpressionBuilder() override;
  ExpressionBuilder(const ExpressionBuilder&) = delete;
  ExpressionBuilder& operator=(const ExpressionBuilder&) = delete;

  bool AllowTemplates() const override { return allow_templates_; }
  void AllowTemplates(bool value) override { allow_templates_ = value; }
  bool AllowValidation() const override { return allow_validation_; }
  void AllowValidation(bool value) override { allow_validation_ = value; }
  std::string KXTypeLibPath() const override { return typelib_path_; }
  std::string Expression() const override { return expression_; }
  void Expression(const std::string& value) override {
    expression_ = value;
    if (on_expression_written_) on_expression_written_();
  }
  std::shared_ptr<FontDesc> Font() const override { return font_; }
  void Font(std::shared_ptr<FontDesc> value) override;
  std::string FormTitle() const override { return form_title_; }
  void FormTitle(const std::string& value) override { form_title_ = value; }
  std::string HelpFile() const override { return help_file_; }
  void HelpFile(const std::string& value) override { help_file_ = value; }
  int32_t HelpID() const override { return help_id_; }
  void HelpID(int32_t value) override;
  std::string KeywordFile() const override { return keyword_file_; }
  void KeywordFile(const std::string& value) override { keyword_file_ = value; }
  bool ParameterButtonVisible() const override { return parameter_button_; }
  void ParameterButtonVisible(bool value) override { parameter_button_ = value; }
  std::string ProductName() const override { return product_name_; }
  void ProductName(const std::string& value) override { product_name_ = value; }
  // Any non-zero `modal` shows the window modally.
  void Show(int16_t modal) override;
  std::shared_ptr<HostSource> SourceControl() const override { return source_; }
  void SourceControl(std::shared_ptr<HostSource> value) override;
  std::shared_ptr<HostTarget> TargetControl() const override { return target_; }
  void TargetControl(std::shared_ptr<HostTarget> value) override;
  std::string TemplateFile() const override { return template_file_; }
  void TemplateFile(const std::string& value) override { template_file_ = value; }
  std::string TemplateName() const override { return template_name_; }
  void TemplateName(const std::string& value) override { template_name_ = value; }

  // The published members beside the interface.
  void BuildUserTree();
  void KXExpressionBuilder_AddList(const std::string& parent_key, const std::string& name,
                                   const std::string& key, const std::string& thelist);
  void KXExpressionBuilder_BuildTree();

  const UserLists& Lists() const { return lists_; }
  // Called whenever Expression is written, by the host or by the window's OK: a program
  // that sets Expression before Show learns from it that OK was pressed.
  void OnExpressionWritten(std::function<void()> observer) {
    on_expression_written_ = std::move(observer);
  }
  // The editor window, loaded on the way as any use of it does.
  BuilderWindow& Window();

 private:
  ui::MessageBoxService* box_;
  bool parameter_button_ = false;
  bool allow_validation_ = false;
  bool allow_templates_ = false;
  std::shared_ptr<FontDesc> font_;
  std::string typelib_path_;
  std::string expression_;
  std::string form_title_;
  std::string help_file_;
  int32_t help_id_ = 0;
  std::string keyword_file_;
  std::string product_name_;
  std::string template_file_;
  std::string template_name_;
  std::shared_ptr<HostSource> source_;
  std::shared_ptr<HostTarget> target_;
  UserLists lists_;
  std::unique_ptr<BuilderWindow> window_;
  std::function<void()> on_expression_written_;

  void ImportControl();
  void Terminate();
};

// Creatable classes by programmatic identifier (compared ignoring case, as the registry
// does), so that parts of the component can create a builder the way a host does.
class ClassRegistry {
 public:
  using Factory = std::function<std::shared_ptr<KXExpressionBuilder>()>;
  void Register(std::string_view prog_id, Factory factory);
  // Raises 429 ("ActiveX component can't create object") for an unknown identifier.
  std::shared_ptr<KXExpressionBuilder> Create(std::string_view prog_id) const;

 private:
  std::vector<std::pair<std::string, Factory>> classes_;
};

// A new builder by its identifier; failures are reported ("LoadExpressionBuilder(x_expressn)")
// and give null.
std::shared_ptr<KXExpressionBuilder> LoadExpressionBuilder(const ClassRegistry& classes,
                                                           ui::MessageBoxService& box);

}  // namespace kx
