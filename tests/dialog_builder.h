#pragma once
// A builder with plain stored properties, for the dialogs that only read it back.

#include <memory>
#include <string>

#include "component/kx_expression_builder.h"

namespace kx {

class StoredBuilder : public KXExpressionBuilder {
 public:
  bool AllowTemplates() const override { return false; }
  void AllowTemplates(bool) override {}
  bool AllowValidation() const override { return false; }
  void AllowValidation(bool) override {}
  std::string KXTypeLibPath() const override { return type_lib_path; }
  std::string Expression() const override { return {}; }
  void Expression(const std::string&) override {}
  std::shared_ptr<FontDesc> Font() const override { return font; }
  void Font(std::shared_ptr<FontDesc> value) override { font = std::move(value); }
  std::string FormTitle() const override { return title; }
  void FormTitle(const std::string& value) override { title = value; }
  std::string HelpFile() const override { return {}; }
  void HelpFile(const std::string&) override {}
  int32_t HelpID() const override { return 0; }
  void HelpID(int32_t) override {}
  std::string KeywordFile() const override { return {}; }
  void KeywordFile(const std::string&) override {}
  bool ParameterButtonVisible() const override { return false; }
  void ParameterButtonVisible(bool) override {}
  std::string ProductName() const override { return {}; }
  void ProductName(const std::string&) override {}
  void Show(int16_t) override {}
  std::shared_ptr<HostSource> SourceControl() const override { return source; }
  void SourceControl(std::shared_ptr<HostSource> value) override { source = std::move(value); }
  std::shared_ptr<HostTarget> TargetControl() const override { return target; }
  void TargetControl(std::shared_ptr<HostTarget> value) override { target = std::move(value); }
  std::string TemplateFile() const override { return {}; }
  void TemplateFile(const std::string&) override {}
  std::string TemplateName() const override { return {}; }
  void TemplateName(const std::string&) override {}

  std::shared_ptr<FontDesc> font = std::make_shared<FontDesc>(FontDesc{"Tahoma", 8});
  std::string type_lib_path;
  std::string title;
  std::shared_ptr<HostSource> source;
  std::shared_ptr<HostTarget> target;
};

}  // namespace kx
