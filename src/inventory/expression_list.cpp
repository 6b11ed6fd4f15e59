#include "inventory/expression_list.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "runtime/error.h"
#include "runtime/narrow.h"
#include "ui/report.h"

namespace kx {

RecordTable& ExpressionList::Items() {
  if (!items_) items_ = std::make_unique<RecordTable>();
  return *items_;
}

bool ExpressionList::FindKey(const std::string& key, Record& record) {
  // Compares the records' current keys, which a host may have changed since adding.
  RecordTable& items = Items();
  for (int32_t position = 1; position <= items.Count(); ++position) {
    const Record& r = items.Item(position);
    if (r && r->ExpressionKey == key) {
      record = r;
      return true;
    }
  }
  return false;
}

void ExpressionList::Append(Record record) {
  // The table copies the key; the view stays valid while the record lives in it.
  const std::string_view key = record->ExpressionKey;
  Items().Add(std::move(record), key);
}

ExpressionList::Record ExpressionList::Add(Record& info) {
  if (!info) Raise(kErrObjectNotSet);
  Record found;
  if (FindKey(info->ExpressionKey, found)) {
    info = found;
    return found;
  }
  Items().Add(info, info->ExpressionKey);
  return info;
}

int32_t ExpressionList::Count() {
  return Items().Count();
}

void ExpressionList::Delete(const Variant& index) {
  RecordTable& items = Items();
  if (items.Empty() || index.IsNull()) return;
  if (index.IsString() && index.ToText().empty()) return;
  if (index.IsInt16()) {
    items.Remove(index.ToInt16());
    return;
  }
  const std::string key = index.ToText();
  for (int32_t position = 1; position <= items.Count(); ++position) {
    const Record& r = items.Item(position);
    if (r && r->ExpressionKey == key) {
      items.Remove(position);
      return;
    }
  }
}

ExpressionList::Record ExpressionList::Item(const Variant& index) {
  try {
    RecordTable& items = Items();
    if (items.Empty()) return nullptr;
    if (index.IsString()) {
      const std::string key = index.ToText();
      if (key.empty()) return nullptr;
      const Record* found = items.Find(key);
      return found ? *found : nullptr;
    }
    return items.Item(index.ToInt32());
  } catch (...) {
    return nullptr;
  }
}

void ExpressionList::RemoveAll() {
  // Releasing every record at once is what removing them last to first amounts to.
  if (items_) items_->Clear();
  items_.reset();
}

namespace {

[[noreturn]] void RaiseModuleWrite(const std::string& name, int err) {
  if (err == ENOENT) throw Error(kErrPathNotFound, "Path not found: " + name);
  if (err == EACCES || err == EPERM)
    throw Error(kErrPermissionDenied, "Permission denied: " + name);
  throw Error(kErrPathFileAccess, "Path/File access error: " + name + ": " + std::strerror(err));
}

// Writes `text` over the start of the file without truncating it: a shorter text leaves
// the old tail in place, which hosts depend on.
void WriteCodeModule(const std::string& name, const std::string& text) {
  if (name.empty()) Raise(kErrBadFileNameOrNumber);
  std::FILE* f = std::fopen(name.c_str(), "r+b");
  if (!f && errno == ENOENT) f = std::fopen(name.c_str(), "wb");
  if (!f) RaiseModuleWrite(name, errno);
  bool ok = text.empty() || std::fwrite(text.data(), 1, text.size(), f) == text.size();
  ok = std::fflush(f) == 0 && ok;
  int err = errno;
  if (std::fclose(f) != 0 && ok) {
    ok = false;
    err = errno;
  }
  if (!ok) RaiseModuleWrite(name, err ? err : EIO);
}

// Stores the text in "Parameter"(slot) of action a of event e, unless e or a is beyond the
// host's current counts.
void WriteParameter(const std::shared_ptr<Dispatch>& events, const ExpressionInfo& record) {
  const int16_t e = CheckedInt16(record.EventOrdinalPosition);
  const int16_t a = CheckedInt16(record.ActionOrdinalPosition);
  if (e >= GetValue(events, "Count").ToInt32()) return;
  auto actions = GetObjectMember(GetObjectMember(events, kDefaultMember, {e}), "Actions");
  if (a >= GetValue(actions, "Count").ToInt32()) return;
  auto action = GetObjectMember(GetObjectMember(events, kDefaultMember, {e}), "Actions", {a});
  if (!action) Raise(kErrObjectNotSet);
  action->Put("Parameter", {CheckedInt16(record.OrdinalPosition)}, record.ReplacedExpression);
}

template <typename Side>
Side& Require(const std::shared_ptr<Side>& side) {
  if (!side) Raise(kErrObjectNotSet);
  return *side;
}

}  // namespace

void ExpressionList::ReplaceExpressionInVBX(int32_t index) {
  Record record = Items().Item(index);
  if (!record) return;
  const ExpressionInfo& r = *record;
  switch (r.ExpressionType) {
    case kConversionEventExpression:
      WriteParameter(Require(target_).ConversionEvents(), r);
      break;
    case kDataChangeMonitorExpression: {
      HostSource& source = Require(source_);
      source.SetRecordLayoutPos(CheckedInt16(r.RLOrdinalPosition));
      source.SetDataChangeMonitor(CheckedInt16(r.OrdinalPosition), r.ReplacedExpression);
      break;
    }
    case kSourceEventExpression:
      WriteParameter(Require(source_).SourceEvents(), r);
      break;
    case kTargetEventExpression:
      WriteParameter(Require(target_).TargetEvents(), r);
      break;
    case kSourceRLEventExpression: {
      HostSource& source = Require(source_);
      source.SetRecordLayoutPos(CheckedInt16(r.RLOrdinalPosition));
      WriteParameter(source.RecordLayoutEvents(), r);
      break;
    }
    case kTargetRLEventExpression: {
      HostTarget& target = Require(target_);
      target.SetRecordLayoutPos(CheckedInt16(r.RLOrdinalPosition));
      WriteParameter(target.RecordLayoutEvents(), r);
      break;
    }
    case kSourceFilterExpression: {
      HostSource& source = Require(source_);
      source.SetFilterPos(CheckedInt16(r.OrdinalPosition));
      source.SetFilterExpression(r.ReplacedExpression);
      break;
    }
    case kTargetFilterExpression: {
      HostTarget& target = Require(target_);
      target.SetFilterPos(CheckedInt16(r.OrdinalPosition));
      target.SetFilterExpression(r.ReplacedExpression);
      break;
    }
    case kTargetFieldExpression: {
      HostTarget& target = Require(target_);
      target.SetRecordLayoutPos(CheckedInt16(r.RLOrdinalPosition));
      target.SetFieldPos(CheckedInt16(r.OrdinalPosition));
      target.SetFieldExpression(r.ReplacedExpression);
      break;
    }
    case kSortFieldExpression: {
      HostSource& source = Require(source_);
      source.SetSortFieldPos(CheckedInt16(r.OrdinalPosition));
      source.SetSortFieldExpression(r.ReplacedExpression);
      break;
    }
    case kCodeModuleExpression:
      WriteCodeModule(r.ExpressionName, r.ReplacedExpression);
      break;
    default:
      break;
  }
}

void ExpressionList::BuildRecordFieldComboDropDownList(const std::shared_ptr<Dispatch>& combo) {
  try {
    if (!source_ || source_->SpokeTypeName().empty()) return;
    const int32_t selected = source_->RecordLayoutIndex();
    const int32_t layouts = source_->RecordLayoutCount();
    if (layouts < 1) return;
    for (int32_t r = 0; r < layouts; ++r) {
      source_->SetRecordLayoutPos(CheckedInt16(r));
      const int32_t fields = source_->FieldCount();
      for (int32_t f = 0; f < fields; ++f) {
        source_->SetFieldPos(CheckedInt16(f));
        const std::string layout = source_->RecordLayoutName();
        const std::string field = source_->fieldname();
        if (!combo) Raise(kErrObjectNotSet);
        combo->Call("AddItem", {"Records(\"" + layout + "\").Fields(\"" + field + "\")"});
      }
    }
    if (selected < source_->RecordLayoutCount())
      source_->SetRecordLayoutPos(CheckedInt16(selected));
  } catch (...) {
    ReportError("BuildRecordFieldComboDropDownList(rectype)");
  }
}

}  // namespace kx
