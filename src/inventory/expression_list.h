#pragma once
// The inventory of a conversion's expressions: a keyed, ordered list of ExpressionInfo that
// the walkers fill from the host's source and target sides and from which write-back
// returns replaced texts to the host.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "inventory/dispatch.h"
#include "inventory/expression_info.h"
#include "inventory/host.h"
#include "inventory/record_arena.h"
#include "inventory/record_table.h"

namespace kx {

class ExprTemplate;  // templates/templates.h

// Expression kinds, one per walker.
enum ExpressionKind : int16_t {
  kConversionEventExpression = 0,
  kDataChangeMonitorExpression = 1,
  kSourceEventExpression = 2,
  kTargetEventExpression = 3,
  kSourceRLEventExpression = 4,
  kTargetRLEventExpression = 5,
  kSourceFilterExpression = 6,
  kTargetFilterExpression = 7,
  kTargetFieldExpression = 8,
  kSortFieldExpression = 9,
  kCodeModuleExpression = 10,
};

// Joins the parts of an expression key.
inline constexpr char kKeySeparator = '\x1b';

class ExpressionList {
 public:
  using Record = std::shared_ptr<ExpressionInfo>;

  // Adds `info` under its ExpressionKey unless a record with that key is present; returns
  // the record stored under the key and makes `info` refer to it.
  Record Add(Record& info);

  // Composites: the single walkers in fixed orders.
  void BuildALLActionParametersList();
  void BuildALLActionParametersandALLExpressionsList();
  void BuildCompleteConversionExpressionList();
  // Single walkers. Each appends; a key already present ends the walk with 457 and keeps
  // what was added before.
  void BuildCodeModuleExpressionList();
  void BuildConversionEventExpressionList(bool expressionParametersOnly);
  void BuildDataChangeMonitorExpressionList();
  void BuildSourceEventExpressionList(bool expressionParametersOnly);
  void BuildSortFieldExpressionList();
  void BuildSourceFilterExpressionList();
  void BuildSourceRLEventExpressionList(bool expressionParametersOnly);
  void BuildTargetEventExpressionList(bool expressionParametersOnly);
  void BuildTargetFieldExpressionList();
  void BuildTargetFilterExpressionList();
  void BuildTargetRLEventExpressionList(bool expressionParametersOnly);

  int32_t Count();
  // A 16-bit integer is a 1-based position; any other value is taken as a key text.
  void Delete(const Variant& index);
  // The record at a 1-based position or under a key; null when there is none.
  Record Item(const Variant& index);
  void RemoveAll();

  // Writes the record at 1-based `index` back to where it came from.
  void ReplaceExpressionInVBX(int32_t index);

  const std::shared_ptr<HostTarget>& TargetControl() const { return target_; }
  void SetTargetControl(std::shared_ptr<HostTarget> target) { target_ = std::move(target); }
  const std::shared_ptr<HostSource>& SourceControl() const { return source_; }
  void SetSourceControl(std::shared_ptr<HostSource> source) { source_ = std::move(source); }
  const std::shared_ptr<ExprTemplate>& TemplateToUse() const { return template_; }
  void SetTemplateToUse(std::shared_ptr<ExprTemplate> t) { template_ = std::move(t); }

  // Calls `combo`'s "AddItem" with Records("layout").Fields("field") for every field of
  // every source record layout. Errors are reported, not raised.
  void BuildRecordFieldComboDropDownList(const std::shared_ptr<Dispatch>& combo);

 private:
  // Created on first use; RemoveAll drops it.
  RecordTable& Items();
  bool FindKey(const std::string& key, Record& record);
  void Append(Record record);
  // Called with a record's key as soon as it is known, before the rest of the record is
  // filled: the index slot it will need is then loaded while that work goes on.
  void Expect(std::string_view key) {
    if (items_) items_->Prefetch(key);
  }
  void WalkEvents(int16_t type, const std::shared_ptr<Dispatch>& events, bool parameters_only,
                  int32_t layout, Dispatch* layout_owner);
  void AddModule(const std::string& name, int32_t position);

  std::unique_ptr<RecordTable> items_;
  RecordArena arena_;  // where the walkers' records live
  std::shared_ptr<HostSource> source_;
  std::shared_ptr<HostTarget> target_;
  std::shared_ptr<ExprTemplate> template_;
};

}  // namespace kx
