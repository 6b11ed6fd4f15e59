#pragma once
// The host's conversion as the component sees it: a source side and a target side, each a
// typed interface (called directly) that is also reachable by member name. Record layouts,
// fields, filters and sort fields are addressed through cursors: writing a position selects
// the item that the dependent members then refer to. Positions start at 0. Event and action
// collections are reached by name only (see EventCollection helpers in walkers).

#include <cstdint>
#include <memory>
#include <string>

#include "inventory/dispatch.h"
#include "inventory/expression_checker.h"

namespace kx {

class HostSource : public Dispatch {
 public:
  // Typed members, in the order of the host's member table.
  virtual std::shared_ptr<Dispatch> SourceEvents() = 0;
  virtual std::string DataChangeMonitor(int16_t position) = 0;  // position 0-4
  virtual void SetDataChangeMonitor(int16_t position, const std::string& text) = 0;
  virtual std::string SpokeTypeName() = 0;  // empty: the side defines no layout
  virtual int32_t FieldCount() = 0;
  virtual std::string fieldname() = 0;
  virtual void SetFieldPos(int16_t position) = 0;
  virtual int32_t FilterCount() = 0;
  virtual std::string FilterExpression() = 0;
  virtual void SetFilterExpression(const std::string& text) = 0;
  virtual void SetFilterPos(int16_t position) = 0;
  virtual int32_t RecordLayoutCount() = 0;
  virtual std::shared_ptr<Dispatch> RecordLayoutEvents() = 0;
  virtual std::string RecordLayoutName() = 0;
  virtual int32_t RecordLayoutIndex() = 0;
  virtual void SetRecordLayoutPos(int16_t position) = 0;
  virtual int32_t SortFieldCount() = 0;
  virtual std::string SortFieldExpression() = 0;
  virtual void SetSortFieldExpression(const std::string& text) = 0;
  virtual void SetSortFieldPos(int16_t position) = 0;

  // Members other parts reach by name only; a host without them answers 438.
  virtual std::string RecordLayoutList(int16_t position);
  virtual bool SupportsMultipleRecordLayouts();
  virtual bool DefinesMultipleRecordLayouts();
  virtual Variant ControlHandle();

  // By name: every member above ("RecordLayoutPos", "fieldname" ...); others raise 438.
  Variant Get(std::string_view name, const Arguments& args = {}) override;
  void Put(std::string_view name, const Arguments& args, const Variant& value) override;
};

class HostTarget : public Dispatch {
 public:
  // Typed members, in the order of the host's member table.
  virtual std::string CodeModuleList() = 0;  // file names separated by line feeds
  virtual std::string SpokeTypeName() = 0;
  virtual int32_t FieldCount() = 0;
  virtual std::string FieldExpression() = 0;
  virtual void SetFieldExpression(const std::string& text) = 0;
  virtual std::string fieldname() = 0;
  virtual void SetFieldPos(int16_t position) = 0;
  virtual int32_t FilterCount() = 0;
  virtual std::string FilterExpression() = 0;
  virtual void SetFilterExpression(const std::string& text) = 0;
  virtual void SetFilterPos(int16_t position) = 0;
  virtual int32_t RecordLayoutCount() = 0;
  virtual std::shared_ptr<Dispatch> RecordLayoutEvents() = 0;
  virtual std::string RecordLayoutName() = 0;
  virtual void SetRecordLayoutPos(int16_t position) = 0;
  virtual std::shared_ptr<Dispatch> ConversionEvents() = 0;
  virtual std::shared_ptr<Dispatch> TargetEvents() = 0;

  // Members other parts reach by name only; a host without them answers 438.
  virtual std::string RecordLayoutList(int16_t position);
  virtual void ImportControl(const Variant& control_handle);
  // The host's syntax checker for Validate. By name it is an object with the method "Check"
  // (text) and the properties "ErrorText", "ErrorStart" and "ErrorLength".
  virtual std::shared_ptr<ExpressionChecker> BasicCompiler();

  Variant Get(std::string_view name, const Arguments& args = {}) override;
  void Put(std::string_view name, const Arguments& args, const Variant& value) override;
  Variant Call(std::string_view name, const Arguments& args = {}) override;
};

}  // namespace kx
