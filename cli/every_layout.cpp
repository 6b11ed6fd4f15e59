// The record layouts the component's walkers leave out. Its record-layout event walkers and
// its target-field walker keep to record layout 0, as hosts rely on; the command walks the
// other layouts by running the same walkers against a view of the side in which layout k
// is layout 0, then renumbers what they found. Keys and descriptions are therefore exactly
// the component's, with k in place of 0.

#include <functional>
#include <string>
#include <type_traits>
#include <utility>

#include "inventory/host.h"
#include "inventory_view.h"
#include "runtime/narrow.h"

namespace kx::cli {

namespace {

// The source with its record layouts counted from `shift`.
class ShiftedSource : public HostSource {
 public:
  explicit ShiftedSource(std::shared_ptr<HostSource> side) : s_(std::move(side)) {}
  int32_t shift = 0;

  std::shared_ptr<Dispatch> SourceEvents() override { return s_->SourceEvents(); }
  std::string DataChangeMonitor(int16_t p) override { return s_->DataChangeMonitor(p); }
  void SetDataChangeMonitor(int16_t p, const std::string& t) override {
    s_->SetDataChangeMonitor(p, t);
  }
  std::string SpokeTypeName() override { return s_->SpokeTypeName(); }
  int32_t FieldCount() override { return s_->FieldCount(); }
  std::string fieldname() override { return s_->fieldname(); }
  void SetFieldPos(int16_t p) override { s_->SetFieldPos(p); }
  int32_t FilterCount() override { return s_->FilterCount(); }
  std::string FilterExpression() override { return s_->FilterExpression(); }
  void SetFilterExpression(const std::string& t) override { s_->SetFilterExpression(t); }
  void SetFilterPos(int16_t p) override { s_->SetFilterPos(p); }
  int32_t RecordLayoutCount() override { return s_->RecordLayoutCount() - shift; }
  std::shared_ptr<Dispatch> RecordLayoutEvents() override { return s_->RecordLayoutEvents(); }
  std::string RecordLayoutName() override { return s_->RecordLayoutName(); }
  int32_t RecordLayoutIndex() override { return s_->RecordLayoutIndex() - shift; }
  void SetRecordLayoutPos(int16_t p) override { s_->SetRecordLayoutPos(CheckedInt16(p + shift)); }
  int32_t SortFieldCount() override { return s_->SortFieldCount(); }
  std::string SortFieldExpression() override { return s_->SortFieldExpression(); }
  void SetSortFieldExpression(const std::string& t) override { s_->SetSortFieldExpression(t); }
  void SetSortFieldPos(int16_t p) override { s_->SetSortFieldPos(p); }
  std::string RecordLayoutList(int16_t p) override {
    return s_->RecordLayoutList(CheckedInt16(p + shift));
  }
  bool SupportsMultipleRecordLayouts() override { return s_->SupportsMultipleRecordLayouts(); }
  bool DefinesMultipleRecordLayouts() override { return s_->DefinesMultipleRecordLayouts(); }
  Variant ControlHandle() override { return s_->ControlHandle(); }

 private:
  std::shared_ptr<HostSource> s_;
};

// The target with its record layouts counted from `shift`.
class ShiftedTarget : public HostTarget {
 public:
  explicit ShiftedTarget(std::shared_ptr<HostTarget> side) : t_(std::move(side)) {}
  int32_t shift = 0;

  std::string CodeModuleList() override { return t_->CodeModuleList(); }
  std::string SpokeTypeName() override { return t_->SpokeTypeName(); }
  int32_t FieldCount() override { return t_->FieldCount(); }
  std::string FieldExpression() override { return t_->FieldExpression(); }
  void SetFieldExpression(const std::string& t) override { t_->SetFieldExpression(t); }
  std::string fieldname() override { return t_->fieldname(); }
  void SetFieldPos(int16_t p) override { t_->SetFieldPos(p); }
  int32_t FilterCount() override { return t_->FilterCount(); }
  std::string FilterExpression() override { return t_->FilterExpression(); }
  void SetFilterExpression(const std::string& t) override { t_->SetFilterExpression(t); }
  void SetFilterPos(int16_t p) override { t_->SetFilterPos(p); }
  int32_t RecordLayoutCount() override { return t_->RecordLayoutCount() - shift; }
  std::shared_ptr<Dispatch> RecordLayoutEvents() override { return t_->RecordLayoutEvents(); }
  std::string RecordLayoutName() override { return t_->RecordLayoutName(); }
  void SetRecordLayoutPos(int16_t p) override { t_->SetRecordLayoutPos(CheckedInt16(p + shift)); }
  std::shared_ptr<Dispatch> ConversionEvents() override { return t_->ConversionEvents(); }
  std::shared_ptr<Dispatch> TargetEvents() override { return t_->TargetEvents(); }
  std::string RecordLayoutList(int16_t p) override {
    return t_->RecordLayoutList(CheckedInt16(p + shift));
  }
  void ImportControl(const Variant& handle) override { t_->ImportControl(handle); }
  std::shared_ptr<ExpressionChecker> BasicCompiler() override { return t_->BasicCompiler(); }

 private:
  std::shared_ptr<HostTarget> t_;
};

// "srl0<ESC>e1..." becomes "srl<k><ESC>e1...".
void Renumber(ExpressionInfo& record, int32_t layout) {
  std::string& key = record.ExpressionKey;
  const size_t end = key.find(kKeySeparator);
  if (end != std::string::npos && end >= 1 && key[end - 1] == '0')
    key.replace(end - 1, 1, std::to_string(layout));
  record.RLOrdinalPosition = layout;
}

template <typename Side, typename Shifted>
void WalkLaterLayouts(const Walk& walk, const std::shared_ptr<Side>& side, bool parameters_only,
                      const std::function<void(Record)>& more) {
  if (!side || side->SpokeTypeName().empty()) return;
  const int32_t layouts = side->RecordLayoutCount();
  if (layouts < 2) return;
  auto shifted = std::make_shared<Shifted>(side);
  ExpressionList scratch;  // one list, so that the records of every layout share its blocks
  if constexpr (std::is_same_v<Side, HostSource>)
    scratch.SetSourceControl(shifted);
  else
    scratch.SetTargetControl(shifted);
  for (int32_t k = 1; k < layouts; ++k) {
    shifted->shift = k;
    walk.run(scratch, parameters_only);
    for (int32_t i = 1; i <= scratch.Count(); ++i) {
      Record record = scratch.Item(Variant(i));
      Renumber(*record, k);
      more(std::move(record));
    }
    scratch.RemoveAll();
  }
}

}  // namespace

bool WalksLayoutZeroOnly(int type) {
  return type == kSourceRLEventExpression || type == kTargetRLEventExpression ||
         type == kTargetFieldExpression;
}

void WalkEveryLayout(const Walk& walk, ExpressionList& list, bool parameters_only,
                     const std::function<void(Record)>& more) {
  walk.run(list, parameters_only);
  if (!WalksLayoutZeroOnly(walk.type)) return;
  if (walk.type == kSourceRLEventExpression)
    WalkLaterLayouts<HostSource, ShiftedSource>(walk, list.SourceControl(), parameters_only, more);
  else
    WalkLaterLayouts<HostTarget, ShiftedTarget>(walk, list.TargetControl(), parameters_only, more);
}

}  // namespace kx::cli
