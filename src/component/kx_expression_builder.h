#pragma once
// The host-defined interface of the expression builder. Every window of the component
// holds its builder through it and reads the builder's properties back.

#include <cstdint>
#include <memory>
#include <string>

#include "inventory/host.h"

namespace kx {

// The font the builder applies to its windows.
struct FontDesc {
  std::string Name = "MS Sans Serif";
  double Size = 8;
  bool operator==(const FontDesc&) const = default;
};

class KXExpressionBuilder {
 public:
  virtual ~KXExpressionBuilder() = default;
  // Members in the order of the host's interface.
  virtual bool AllowTemplates() const = 0;
  virtual void AllowTemplates(bool value) = 0;
  virtual bool AllowValidation() const = 0;
  virtual void AllowValidation(bool value) = 0;
  virtual std::string KXTypeLibPath() const = 0;
  virtual std::string Expression() const = 0;
  virtual void Expression(const std::string& value) = 0;
  virtual std::shared_ptr<FontDesc> Font() const = 0;
  virtual void Font(std::shared_ptr<FontDesc> value) = 0;
  virtual std::string FormTitle() const = 0;
  virtual void FormTitle(const std::string& value) = 0;
  virtual std::string HelpFile() const = 0;
  virtual void HelpFile(const std::string& value) = 0;
  virtual int32_t HelpID() const = 0;
  virtual void HelpID(int32_t value) = 0;
  virtual std::string KeywordFile() const = 0;
  virtual void KeywordFile(const std::string& value) = 0;
  virtual bool ParameterButtonVisible() const = 0;
  virtual void ParameterButtonVisible(bool value) = 0;
  virtual std::string ProductName() const = 0;
  virtual void ProductName(const std::string& value) = 0;
  virtual void Show(int16_t modal) = 0;
  virtual std::shared_ptr<HostSource> SourceControl() const = 0;
  virtual void SourceControl(std::shared_ptr<HostSource> value) = 0;
  virtual std::shared_ptr<HostTarget> TargetControl() const = 0;
  virtual void TargetControl(std::shared_ptr<HostTarget> value) = 0;
  virtual std::string TemplateFile() const = 0;
  virtual void TemplateFile(const std::string& value) = 0;
  virtual std::string TemplateName() const = 0;
  virtual void TemplateName(const std::string& value) = 0;
};

}  // namespace kx
