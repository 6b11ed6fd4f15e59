#pragma once
// A host wrapper that logs every member the component touches and can make any member
// fail on its n-th call, to show what walkers and write-back do with host failures.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/conversion_document.h"
#include "inventory/expression_list.h"
#include "inventory/host.h"
#include "runtime/error.h"

namespace kx::testing {

constexpr int32_t kHostFailure = 1001;

struct CallLog {
  std::vector<std::string> calls;
  std::map<std::string, int> fail_on;  // member -> 1-based call that fails
  std::map<std::string, int> counts;

  void Touch(const std::string& member) {
    calls.push_back(member);
    auto it = fail_on.find(member);
    if (++counts[member] == (it == fail_on.end() ? 0 : it->second))
      throw Error(kHostFailure, "host failed in " + member);
  }
  int Count(const std::string& member) const {
    auto it = counts.find(member);
    return it == counts.end() ? 0 : it->second;
  }
};

class FaultyDispatch : public Dispatch {
 public:
  FaultyDispatch(std::shared_ptr<Dispatch> inner, std::shared_ptr<CallLog> log)
      : inner_(std::move(inner)), log_(std::move(log)) {}
  static Variant Wrap(Variant v, const std::shared_ptr<CallLog>& log) {
    if (v.IsObject() && v.ToObject())
      return std::shared_ptr<Dispatch>(std::make_shared<FaultyDispatch>(v.ToObject(), log));
    return v;
  }
  static std::shared_ptr<Dispatch> Wrap(std::shared_ptr<Dispatch> d,
                                        const std::shared_ptr<CallLog>& log) {
    return d ? std::make_shared<FaultyDispatch>(std::move(d), log) : nullptr;
  }
  Variant Get(std::string_view name, const Arguments& args) override {
    log_->Touch(name.empty() ? "(default)" : std::string(name));
    return Wrap(inner_->Get(name, args), log_);
  }
  void Put(std::string_view name, const Arguments& args, const Variant& value) override {
    log_->Touch(std::string(name) + "=");
    inner_->Put(name, args, value);
  }
  Variant Call(std::string_view name, const Arguments& args) override {
    log_->Touch(std::string(name) + "()");
    return Wrap(inner_->Call(name, args), log_);
  }

 private:
  std::shared_ptr<Dispatch> inner_;
  std::shared_ptr<CallLog> log_;
};

#define KX_FORWARD(Type, Member) \
  Type Member() override {       \
    log_->Touch(#Member);        \
    return inner_->Member();     \
  }
#define KX_FORWARD_EVENTS(Member)                        \
  std::shared_ptr<Dispatch> Member() override {          \
    log_->Touch(#Member);                                \
    return FaultyDispatch::Wrap(inner_->Member(), log_); \
  }
#define KX_FORWARD_SET(Arg, Member, Setter) \
  void Setter(Arg value) override {         \
    log_->Touch(#Member "=");               \
    inner_->Setter(value);                  \
  }

// What both sides have.
#define KX_FORWARD_SIDE                                                     \
  KX_FORWARD(std::string, SpokeTypeName)                                    \
  KX_FORWARD(int32_t, FieldCount)                                           \
  KX_FORWARD(std::string, fieldname)                                        \
  KX_FORWARD_SET(int16_t, FieldPos, SetFieldPos)                            \
  KX_FORWARD(int32_t, FilterCount)                                          \
  KX_FORWARD(std::string, FilterExpression)                                 \
  KX_FORWARD_SET(const std::string&, FilterExpression, SetFilterExpression) \
  KX_FORWARD_SET(int16_t, FilterPos, SetFilterPos)                          \
  KX_FORWARD(int32_t, RecordLayoutCount)                                    \
  KX_FORWARD_EVENTS(RecordLayoutEvents)                                     \
  KX_FORWARD(std::string, RecordLayoutName)                                 \
  KX_FORWARD_SET(int16_t, RecordLayoutPos, SetRecordLayoutPos)              \
  std::string RecordLayoutList(int16_t position) override {                 \
    log_->Touch("RecordLayoutList");                                        \
    return inner_->RecordLayoutList(position);                              \
  }

class FaultySource : public HostSource {
 public:
  FaultySource(std::shared_ptr<HostSource> inner, std::shared_ptr<CallLog> log)
      : inner_(std::move(inner)), log_(std::move(log)) {}
  KX_FORWARD_EVENTS(SourceEvents)
  std::string DataChangeMonitor(int16_t position) override {
    log_->Touch("DataChangeMonitor");
    return inner_->DataChangeMonitor(position);
  }
  void SetDataChangeMonitor(int16_t position, const std::string& text) override {
    log_->Touch("DataChangeMonitor=");
    inner_->SetDataChangeMonitor(position, text);
  }
  KX_FORWARD_SIDE
  KX_FORWARD(int32_t, RecordLayoutIndex)
  KX_FORWARD(int32_t, SortFieldCount)
  KX_FORWARD(std::string, SortFieldExpression)
  KX_FORWARD_SET(const std::string&, SortFieldExpression, SetSortFieldExpression)
  KX_FORWARD_SET(int16_t, SortFieldPos, SetSortFieldPos)
  KX_FORWARD(bool, SupportsMultipleRecordLayouts)
  KX_FORWARD(bool, DefinesMultipleRecordLayouts)

 private:
  std::shared_ptr<HostSource> inner_;
  std::shared_ptr<CallLog> log_;
};

class FaultyTarget : public HostTarget {
 public:
  FaultyTarget(std::shared_ptr<HostTarget> inner, std::shared_ptr<CallLog> log)
      : inner_(std::move(inner)), log_(std::move(log)) {}
  KX_FORWARD_SIDE
  KX_FORWARD(std::string, CodeModuleList)
  KX_FORWARD(std::string, FieldExpression)
  KX_FORWARD_SET(const std::string&, FieldExpression, SetFieldExpression)
  KX_FORWARD_EVENTS(ConversionEvents)
  KX_FORWARD_EVENTS(TargetEvents)

 private:
  std::shared_ptr<HostTarget> inner_;
  std::shared_ptr<CallLog> log_;
};

#undef KX_FORWARD
#undef KX_FORWARD_EVENTS
#undef KX_FORWARD_SET
#undef KX_FORWARD_SIDE

// A document from JSON text, its sides wrapped so that every call is logged.
struct LoggedHost {
  std::shared_ptr<host::ConversionDocument> doc;
  std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
  std::shared_ptr<HostSource> source;
  std::shared_ptr<HostTarget> target;

  explicit LoggedHost(const std::string& json, const std::string& base_dir = {}) {
    doc = host::ConversionDocument::Parse(json, "test.json", base_dir);
    if (auto s = doc->Source()) source = std::make_shared<FaultySource>(s, log);
    if (auto t = doc->Target()) target = std::make_shared<FaultyTarget>(t, log);
  }
  // An empty list over both sides.
  ExpressionList List() const {
    ExpressionList list;
    list.SetSourceControl(source);
    list.SetTargetControl(target);
    return list;
  }
};

}  // namespace kx::testing
