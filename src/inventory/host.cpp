#include "inventory/host.h"

#include "runtime/error.h"

namespace kx {

namespace {

// Positions passed by name arrive as any numeric variant; the host's cursors are 16-bit.
int16_t Position(std::string_view name, const Arguments& args) {
  ExpectArguments(name, args, 1);
  return args[0].ToInt16();
}

// A member without arguments: given some, it raises 450 as dispatch does.
bool NoArgs(std::string_view name, const Arguments& args, std::string_view member) {
  if (!IsMember(name, member)) return false;
  ExpectArguments(name, args, 0);
  return true;
}

}  // namespace

std::string HostSource::RecordLayoutList(int16_t) {
  RaiseNoMember("RecordLayoutList");
}
bool HostSource::SupportsMultipleRecordLayouts() {
  RaiseNoMember("SupportsMultipleRecordLayouts");
}
bool HostSource::DefinesMultipleRecordLayouts() {
  RaiseNoMember("DefinesMultipleRecordLayouts");
}
Variant HostSource::ControlHandle() {
  RaiseNoMember("ControlHandle");
}

Variant HostSource::Get(std::string_view name, const Arguments& args) {
  if (IsMember(name, "DataChangeMonitor")) return DataChangeMonitor(Position(name, args));
  if (IsMember(name, "RecordLayoutList")) return RecordLayoutList(Position(name, args));
  if (NoArgs(name, args, "SourceEvents")) return SourceEvents();
  if (NoArgs(name, args, "SpokeTypeName")) return SpokeTypeName();
  if (NoArgs(name, args, "FieldCount")) return FieldCount();
  if (NoArgs(name, args, "fieldname")) return fieldname();
  if (NoArgs(name, args, "FilterCount")) return FilterCount();
  if (NoArgs(name, args, "FilterExpression")) return FilterExpression();
  if (NoArgs(name, args, "RecordLayoutCount")) return RecordLayoutCount();
  if (NoArgs(name, args, "RecordLayoutEvents")) return RecordLayoutEvents();
  if (NoArgs(name, args, "RecordLayoutName")) return RecordLayoutName();
  if (NoArgs(name, args, "RecordLayoutIndex")) return RecordLayoutIndex();
  if (NoArgs(name, args, "SortFieldCount")) return SortFieldCount();
  if (NoArgs(name, args, "SortFieldExpression")) return SortFieldExpression();
  if (NoArgs(name, args, "SupportsMultipleRecordLayouts")) return SupportsMultipleRecordLayouts();
  if (NoArgs(name, args, "DefinesMultipleRecordLayouts")) return DefinesMultipleRecordLayouts();
  if (NoArgs(name, args, "ControlHandle")) return ControlHandle();
  RaiseNoMember(name);
}

void HostSource::Put(std::string_view name, const Arguments& args, const Variant& value) {
  if (IsMember(name, "DataChangeMonitor"))
    return SetDataChangeMonitor(Position(name, args), value.ToText());
  if (NoArgs(name, args, "FieldPos")) return SetFieldPos(value.ToInt16());
  if (NoArgs(name, args, "FilterExpression")) return SetFilterExpression(value.ToText());
  if (NoArgs(name, args, "FilterPos")) return SetFilterPos(value.ToInt16());
  if (NoArgs(name, args, "RecordLayoutPos")) return SetRecordLayoutPos(value.ToInt16());
  if (NoArgs(name, args, "SortFieldExpression")) return SetSortFieldExpression(value.ToText());
  if (NoArgs(name, args, "SortFieldPos")) return SetSortFieldPos(value.ToInt16());
  RaiseNoMember(name);
}

std::string HostTarget::RecordLayoutList(int16_t) {
  RaiseNoMember("RecordLayoutList");
}
void HostTarget::ImportControl(const Variant&) {
  RaiseNoMember("ImportControl");
}

namespace {

// A checker reached by name, as a host's scripting object would be.
class CheckerObject : public Dispatch {
 public:
  explicit CheckerObject(std::shared_ptr<ExpressionChecker> checker)
      : checker_(std::move(checker)) {}
  Variant Get(std::string_view name, const Arguments& args) override {
    if (NoArgs(name, args, "ErrorText")) return checker_->ErrorText();
    if (NoArgs(name, args, "ErrorStart")) return checker_->ErrorStart();
    if (NoArgs(name, args, "ErrorLength")) return checker_->ErrorLength();
    RaiseNoMember(name);
  }
  Variant Call(std::string_view name, const Arguments& args) override {
    if (!IsMember(name, "Check")) RaiseNoMember(name);
    ExpectArguments(name, args, 1);
    checker_->Check(args[0].ToText());
    return {};
  }

 private:
  std::shared_ptr<ExpressionChecker> checker_;
};

}  // namespace

std::shared_ptr<ExpressionChecker> HostTarget::BasicCompiler() {
  RaiseNoMember("BasicCompiler");
}

Variant HostTarget::Get(std::string_view name, const Arguments& args) {
  if (NoArgs(name, args, "BasicCompiler")) {
    auto checker = BasicCompiler();
    if (!checker) return std::shared_ptr<Dispatch>();
    return std::shared_ptr<Dispatch>(std::make_shared<CheckerObject>(std::move(checker)));
  }
  if (IsMember(name, "RecordLayoutList")) return RecordLayoutList(Position(name, args));
  if (NoArgs(name, args, "CodeModuleList")) return CodeModuleList();
  if (NoArgs(name, args, "SpokeTypeName")) return SpokeTypeName();
  if (NoArgs(name, args, "FieldCount")) return FieldCount();
  if (NoArgs(name, args, "FieldExpression")) return FieldExpression();
  if (NoArgs(name, args, "fieldname")) return fieldname();
  if (NoArgs(name, args, "FilterCount")) return FilterCount();
  if (NoArgs(name, args, "FilterExpression")) return FilterExpression();
  if (NoArgs(name, args, "RecordLayoutCount")) return RecordLayoutCount();
  if (NoArgs(name, args, "RecordLayoutEvents")) return RecordLayoutEvents();
  if (NoArgs(name, args, "RecordLayoutName")) return RecordLayoutName();
  if (NoArgs(name, args, "ConversionEvents")) return ConversionEvents();
  if (NoArgs(name, args, "TargetEvents")) return TargetEvents();
  RaiseNoMember(name);
}

void HostTarget::Put(std::string_view name, const Arguments& args, const Variant& value) {
  if (NoArgs(name, args, "FieldExpression")) return SetFieldExpression(value.ToText());
  if (NoArgs(name, args, "FieldPos")) return SetFieldPos(value.ToInt16());
  if (NoArgs(name, args, "FilterExpression")) return SetFilterExpression(value.ToText());
  if (NoArgs(name, args, "FilterPos")) return SetFilterPos(value.ToInt16());
  if (NoArgs(name, args, "RecordLayoutPos")) return SetRecordLayoutPos(value.ToInt16());
  RaiseNoMember(name);
}

Variant HostTarget::Call(std::string_view name, const Arguments& args) {
  if (IsMember(name, "ImportControl")) {
    ExpectArguments(name, args, 1);
    ImportControl(args[0]);
    return {};
  }
  RaiseNoMember(name);
}

}  // namespace kx
