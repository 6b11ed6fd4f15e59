#include "host/conversion_document.h"

#include "host/checker_object.h"

#include "runtime/error.h"
#include "runtime/files.h"

namespace kx::host {

namespace {

using Doc = std::shared_ptr<ConversionDocument>;

[[noreturn]] void RaiseRange(const std::string& what, int64_t position, size_t count) {
  Raise(kErrSubscript, "Subscript out of range: " + what + " " + std::to_string(position) +
                           " does not exist (there are " + std::to_string(count) + ")");
}

template <typename T>
T& At(std::vector<T>& items, int64_t position, const std::string& what) {
  if (position < 0 || static_cast<size_t>(position) >= items.size())
    RaiseRange(what, position, items.size());
  return items[static_cast<size_t>(position)];
}

int32_t Count(size_t n) {
  return static_cast<int32_t>(n);
}

int32_t Position(std::string_view name, const Arguments& args) {
  ExpectArguments(name, args, 1);
  return args[0].ToInt32();
}

bool NoArgs(std::string_view name, const Arguments& args, std::string_view member) {
  if (!IsMember(name, member)) return false;
  ExpectArguments(name, args, 0);
  return true;
}

// "Info" of an event: its name.
class EventInfo : public Dispatch {
 public:
  EventInfo(Doc doc, const Event* event) : doc_(std::move(doc)), event_(event) {}
  Variant Get(std::string_view name, const Arguments& args) override {
    if (NoArgs(name, args, "Name")) return event_->name;
    RaiseNoMember(name);
  }

 private:
  Doc doc_;
  const Event* event_;
};

// "Info" of an action: its type's name and parameter slots.
class ActionInfo : public Dispatch {
 public:
  ActionInfo(Doc doc, const ActionType* type) : doc_(std::move(doc)), type_(type) {}
  Variant Get(std::string_view name, const Arguments& args) override {
    if (NoArgs(name, args, "Name")) return type_->name;
    if (NoArgs(name, args, "MaxParameterCount")) return Count(type_->parameters.size());
    if (IsMember(name, "ParameterType")) return Slot(Position(name, args)).kind;
    if (IsMember(name, "ParameterName")) return Slot(Position(name, args)).name;
    RaiseNoMember(name);
  }

 private:
  const ParameterSlot& Slot(int32_t p) {
    if (p < 0 || static_cast<size_t>(p) >= type_->parameters.size())
      RaiseRange("parameter slot of \"" + type_->name + "\"", p, type_->parameters.size());
    return type_->parameters[static_cast<size_t>(p)];
  }
  Doc doc_;
  const ActionType* type_;
};

class ActionObject : public Dispatch {
 public:
  ActionObject(Doc doc, Action* action) : doc_(std::move(doc)), action_(action) {}
  Variant Get(std::string_view name, const Arguments& args) override {
    if (NoArgs(name, args, "Info"))
      return std::shared_ptr<Dispatch>(
          std::make_shared<ActionInfo>(doc_, &doc_->Model().action_types[action_->type]));
    if (IsMember(name, "Parameter"))
      return At(action_->parameters, Position(name, args), "parameter slot");
    RaiseNoMember(name);
  }
  void Put(std::string_view name, const Arguments& args, const Variant& value) override {
    if (!IsMember(name, "Parameter")) RaiseNoMember(name);
    std::string text = value.ToText();
    ConversionDocument::CheckStorable(text);
    At(action_->parameters, Position(name, args), "parameter slot") = std::move(text);
  }

 private:
  Doc doc_;
  Action* action_;
};

class ActionCollection : public Dispatch {
 public:
  ActionCollection(Doc doc, Event* event) : doc_(std::move(doc)), event_(event) {}
  Variant Get(std::string_view name, const Arguments& args) override {
    if (NoArgs(name, args, "Count")) return Count(event_->actions.size());
    if (name == kDefaultMember || IsMember(name, "Item"))
      return std::shared_ptr<Dispatch>(std::make_shared<ActionObject>(
          doc_, &At(event_->actions, Position(name, args), "action")));
    RaiseNoMember(name);
  }

 private:
  Doc doc_;
  Event* event_;
};

class EventObject : public Dispatch {
 public:
  EventObject(Doc doc, Event* event) : doc_(std::move(doc)), event_(event) {}
  Variant Get(std::string_view name, const Arguments& args) override {
    if (NoArgs(name, args, "Info"))
      return std::shared_ptr<Dispatch>(std::make_shared<EventInfo>(doc_, event_));
    if (IsMember(name, "Actions")) {
      if (args.empty())
        return std::shared_ptr<Dispatch>(std::make_shared<ActionCollection>(doc_, event_));
      return std::shared_ptr<Dispatch>(std::make_shared<ActionObject>(
          doc_, &At(event_->actions, Position(name, args), "action")));
    }
    RaiseNoMember(name);
  }

 private:
  Doc doc_;
  Event* event_;
};

class EventCollection : public Dispatch {
 public:
  EventCollection(Doc doc, std::vector<Event>* events) : doc_(std::move(doc)), events_(events) {}
  Variant Get(std::string_view name, const Arguments& args) override {
    if (NoArgs(name, args, "Count")) return Count(events_->size());
    if (name == kDefaultMember || IsMember(name, "Item"))
      return std::shared_ptr<Dispatch>(
          std::make_shared<EventObject>(doc_, &At(*events_, Position(name, args), "event")));
    RaiseNoMember(name);
  }

 private:
  Doc doc_;
  std::vector<Event>* events_;
};

std::shared_ptr<Dispatch> Events(const Doc& doc, std::vector<Event>* events) {
  return std::make_shared<EventCollection>(doc, events);
}

// The record-layout cursor may point past the layouts (walkers select layout 0 of a side
// that has none): reads then see an empty layout, writes fail.
RecordLayout* SelectedLayout(Side& side) {
  if (side.layout_pos < 0 || static_cast<size_t>(side.layout_pos) >= side.layouts.size())
    return nullptr;
  return &side.layouts[static_cast<size_t>(side.layout_pos)];
}

RecordLayout& SelectedLayoutForWrite(Side& side) {
  RecordLayout* layout = SelectedLayout(side);
  if (!layout) RaiseRange("record layout", side.layout_pos, side.layouts.size());
  return *layout;
}

Field& SelectedField(Side& side) {
  return At(SelectedLayoutForWrite(side).fields, side.field_pos, "field");
}

std::string LayoutName(Side& side, int64_t position) {
  return At(side.layouts, position, "record layout").name;
}

// Members both sides share.
class SideBase {
 protected:
  SideBase(Doc doc, Side* side) : doc_(std::move(doc)), side_(side) {}
  Doc doc_;
  Side* side_;

  std::string TypeName() const { return side_->type; }
  int32_t Fields() const {
    RecordLayout* layout = SelectedLayout(*side_);
    return layout ? Count(layout->fields.size()) : 0;
  }
  std::string FieldName() const { return SelectedField(*side_).name; }
  int32_t Filters() const { return Count(side_->filters.size()); }
  std::string Filter() const { return At(side_->filters, side_->filter_pos, "filter"); }
  void SetFilter(const std::string& text) {
    ConversionDocument::CheckStorable(text);
    At(side_->filters, side_->filter_pos, "filter") = text;
  }
  int32_t Layouts() const { return Count(side_->layouts.size()); }
  std::shared_ptr<Dispatch> LayoutEvents() {
    RecordLayout* layout = SelectedLayout(*side_);
    if (!layout) {
      static std::vector<Event> none;
      return Events(doc_, &none);
    }
    return Events(doc_, &layout->events);
  }
  std::string CurrentLayoutName() const {
    RecordLayout* layout = SelectedLayout(*side_);
    return layout ? layout->name : std::string();
  }
};

class SourceSide : public HostSource, SideBase {
 public:
  SourceSide(Doc doc, Side* side) : SideBase(std::move(doc), side) {}

  std::shared_ptr<Dispatch> SourceEvents() override { return Events(doc_, &side_->events); }
  std::string DataChangeMonitor(int16_t position) override {
    CheckMonitor(position);
    RecordLayout* layout = SelectedLayout(*side_);
    return layout ? layout->monitors[static_cast<size_t>(position)] : std::string();
  }
  void SetDataChangeMonitor(int16_t position, const std::string& text) override {
    CheckMonitor(position);
    ConversionDocument::CheckStorable(text);
    SelectedLayoutForWrite(*side_).monitors[static_cast<size_t>(position)] = text;
  }
  std::string SpokeTypeName() override { return TypeName(); }
  int32_t FieldCount() override { return Fields(); }
  std::string fieldname() override { return FieldName(); }
  void SetFieldPos(int16_t position) override { side_->field_pos = position; }
  int32_t FilterCount() override { return Filters(); }
  std::string FilterExpression() override { return Filter(); }
  void SetFilterExpression(const std::string& text) override { SetFilter(text); }
  void SetFilterPos(int16_t position) override { side_->filter_pos = position; }
  int32_t RecordLayoutCount() override { return Layouts(); }
  std::shared_ptr<Dispatch> RecordLayoutEvents() override { return LayoutEvents(); }
  std::string RecordLayoutName() override { return CurrentLayoutName(); }
  int32_t RecordLayoutIndex() override { return side_->layout_pos; }
  void SetRecordLayoutPos(int16_t position) override { side_->layout_pos = position; }
  int32_t SortFieldCount() override { return Count(side_->sort_fields.size()); }
  std::string SortFieldExpression() override {
    return At(side_->sort_fields, side_->sort_pos, "sort field");
  }
  void SetSortFieldExpression(const std::string& text) override {
    ConversionDocument::CheckStorable(text);
    At(side_->sort_fields, side_->sort_pos, "sort field") = text;
  }
  void SetSortFieldPos(int16_t position) override { side_->sort_pos = position; }

  std::string RecordLayoutList(int16_t position) override { return LayoutName(*side_, position); }
  bool SupportsMultipleRecordLayouts() override { return side_->supports_multiple_layouts; }
  bool DefinesMultipleRecordLayouts() override { return side_->defines_multiple_layouts; }
  Variant ControlHandle() override { return side_->control_handle; }

 private:
  static void CheckMonitor(int16_t position) {
    if (position < 0 || position >= kMonitorCount)
      RaiseRange("data change monitor", position, kMonitorCount);
  }
};

class TargetSide : public HostTarget, SideBase {
 public:
  TargetSide(Doc doc, Side* side) : SideBase(std::move(doc), side) {}

  std::string CodeModuleList() override { return doc_->CodeModuleList(); }
  std::string SpokeTypeName() override { return TypeName(); }
  int32_t FieldCount() override { return Fields(); }
  std::string FieldExpression() override { return SelectedField(*side_).expression; }
  void SetFieldExpression(const std::string& text) override {
    ConversionDocument::CheckStorable(text);
    SelectedField(*side_).expression = text;
  }
  std::string fieldname() override { return FieldName(); }
  void SetFieldPos(int16_t position) override { side_->field_pos = position; }
  int32_t FilterCount() override { return Filters(); }
  std::string FilterExpression() override { return Filter(); }
  void SetFilterExpression(const std::string& text) override { SetFilter(text); }
  void SetFilterPos(int16_t position) override { side_->filter_pos = position; }
  int32_t RecordLayoutCount() override { return Layouts(); }
  std::shared_ptr<Dispatch> RecordLayoutEvents() override { return LayoutEvents(); }
  std::string RecordLayoutName() override { return CurrentLayoutName(); }
  void SetRecordLayoutPos(int16_t position) override { side_->layout_pos = position; }
  std::shared_ptr<Dispatch> ConversionEvents() override {
    return Events(doc_, &side_->conversion_events);
  }
  std::shared_ptr<Dispatch> TargetEvents() override { return Events(doc_, &side_->events); }

  std::string RecordLayoutList(int16_t position) override { return LayoutName(*side_, position); }
  // Links the target to the document's source; the handle must be the source's.
  void ImportControl(const Variant& control_handle) override {
    const auto& source = doc_->Model().source;
    if (!source || control_handle.ToInt32() != source->control_handle)
      Raise(kErrInvalidCall, "ImportControl: " + control_handle.ToText() +
                                 " is not the handle of this conversion's source");
    doc_->SetTargetImportedSource(true);
  }
  std::shared_ptr<ExpressionChecker> BasicCompiler() override {
    return std::make_shared<host::BasicCompiler>();
  }
};

}  // namespace

std::shared_ptr<HostSource> ConversionDocument::Source() {
  if (!model_.source) return nullptr;
  return std::make_shared<SourceSide>(shared_from_this(), &*model_.source);
}

std::shared_ptr<HostTarget> ConversionDocument::Target() {
  if (!model_.target) return nullptr;
  return std::make_shared<TargetSide>(shared_from_this(), &*model_.target);
}

void ConversionDocument::ResolveModules() {
  module_list_.clear();
  if (!model_.target) return;
  bool first = true;
  for (const std::string& name : model_.target->code_modules) {
    if (!first) module_list_ += '\n';
    first = false;
    std::filesystem::path p(name);
    if (p.is_relative() && !base_dir_.empty())
      module_list_ += (base_dir_ / p).lexically_normal().string();
    else
      module_list_ += name;
  }
}

void ConversionDocument::Save(const std::filesystem::path& path) const {
  WriteFileAtomic(path, ToJson());
}

}  // namespace kx::host
