// The walkers: each collects the expressions of one region of the conversion.

#include <string>
#include <string_view>

#include "inventory/expression_list.h"
#include "runtime/files.h"
#include "runtime/format.h"
#include "runtime/narrow.h"
#include "runtime/text.h"

namespace kx {

namespace {

constexpr int32_t kExpressionParameterKind = 2;

std::string Num(int64_t n) {
  return std::to_string(n);
}

// A key part: a tag and a number.
std::string Tagged(std::string_view tag, int64_t n) {
  std::string part(tag);
  part += std::to_string(n);
  return part;
}

std::string Key(std::initializer_list<std::string> parts) {
  std::string key;
  for (const std::string& part : parts) {
    if (!key.empty()) key += kKeySeparator;
    key += part;
  }
  return key;
}

const char* EventFormat(int16_t type) {
  switch (type) {
    case kConversionEventExpression:
      return "Conversion Event%1: %2, Action%3: %4, Parameter%5: %6";
    case kSourceEventExpression:
      return "Source Event%1: %2, Action%3: %4, Parameter%5: %6";
    case kTargetEventExpression:
      return "Target Event%1: %2, Action%3: %4, Parameter%5: %6";
    case kSourceRLEventExpression:
      return "Source Record (%1), Event%2: %3, Action%4: %5, Parameter%6: %7";
    default:
      // Hosts match on this text as it has always been, "&7" included.
      return "Target Record (%1), Event%2: %3, Action%4: %5, Parameter%6: &7";
  }
}

// The side's walkers do nothing when it is not set or defines no layout.
template <typename Side>
bool HasLayout(const std::shared_ptr<Side>& side) {
  return side && !side->SpokeTypeName().empty();
}

}  // namespace

// Every slot asks the host again for its event, action and descriptor (nothing is kept
// from one slot to the next): hosts answer repeated reads cheaply, and nothing goes stale.
void ExpressionList::WalkEvents(int16_t type, const std::shared_ptr<Dispatch>& events,
                                bool parameters_only, int32_t layout, Dispatch* layout_owner) {
  const int32_t event_count = GetValue(events, "Count").ToInt32();
  for (int32_t e = 0; e < event_count; ++e) {
    const Variant ev(CheckedInt16(e));
    const int32_t action_count =
        GetValue(GetObjectMember(GetObjectMember(events, kDefaultMember, {ev}), "Actions"), "Count")
            .ToInt32();
    for (int32_t a = 0; a < action_count; ++a) {
      const Variant av(CheckedInt16(a));
      const int32_t slots =
          GetValue(GetObjectMember(GetObjectMember(GetObjectMember(events, kDefaultMember, {ev}),
                                                   "Actions", {av}),
                                   "Info"),
                   "MaxParameterCount")
              .ToInt32();
      for (int32_t p = 0; p < slots; ++p) {
        const Variant pv(CheckedInt16(p));
        auto event = GetObjectMember(events, kDefaultMember, {ev});
        auto action = GetObjectMember(event, "Actions", {av});
        auto info = GetObjectMember(action, "Info");
        if (parameters_only &&
            GetValue(info, "ParameterType", {pv}).ToInt32() != kExpressionParameterKind)
          continue;
        std::string text = GetValue(action, "Parameter", {pv}).ToText();
        if (text.empty()) continue;

        auto record = arena_.NewRecord();
        record->ExpressionType = type;
        const std::string tail = Key({Tagged("a", a), Tagged("p", p)});
        switch (type) {
          case kConversionEventExpression:
            record->ExpressionKey = Key({Tagged("ce", e), tail});
            break;
          case kSourceEventExpression:
          case kTargetEventExpression:
            record->ExpressionKey = Key({Tagged("se", e), tail});
            break;
          default:
            record->ExpressionKey = Key({Tagged("srl", layout), Tagged("e", e), tail});
            break;
        }
        Expect(record->ExpressionKey);
        std::vector<std::string> args;
        std::string layout_name;
        if (layout_owner) {
          layout_name = layout_owner->Get("RecordLayoutName").ToText();
          args.push_back(layout_name);
        }
        args.push_back(Num(e + 1));
        args.push_back(GetValue(GetObjectMember(event, "Info"), "Name").ToText());
        args.push_back(Num(a + 1));
        args.push_back(GetValue(info, "Name").ToText());
        args.push_back(Num(p + 1));
        args.push_back(GetValue(info, "ParameterName", {pv}).ToText());
        record->Description = FormatMessageText(EventFormat(type), args);
        record->ExpressionText = text;
        record->ReplacedExpression = std::move(text);
        record->OrdinalPosition = p;
        record->EventOrdinalPosition = e;
        record->ActionOrdinalPosition = a;
        if (layout_owner) {
          record->RLName = std::move(layout_name);
          record->RLOrdinalPosition = layout;
        }
        Append(std::move(record));
      }
    }
  }
}

void ExpressionList::BuildConversionEventExpressionList(bool expressionParametersOnly) {
  if (!HasLayout(target_)) return;
  WalkEvents(kConversionEventExpression, target_->ConversionEvents(), expressionParametersOnly, 0,
             nullptr);
}

void ExpressionList::BuildSourceEventExpressionList(bool expressionParametersOnly) {
  if (!HasLayout(source_)) return;
  WalkEvents(kSourceEventExpression, source_->SourceEvents(), expressionParametersOnly, 0, nullptr);
}

void ExpressionList::BuildTargetEventExpressionList(bool expressionParametersOnly) {
  if (!HasLayout(target_)) return;
  WalkEvents(kTargetEventExpression, target_->TargetEvents(), expressionParametersOnly, 0, nullptr);
}

// Only record layout 0 is walked, even when the side has none or several: hosts rely on it.
void ExpressionList::BuildSourceRLEventExpressionList(bool expressionParametersOnly) {
  if (!HasLayout(source_)) return;
  (void)source_->RecordLayoutCount();
  source_->SetRecordLayoutPos(0);
  WalkEvents(kSourceRLEventExpression, source_->RecordLayoutEvents(), expressionParametersOnly, 0,
             source_.get());
}

void ExpressionList::BuildTargetRLEventExpressionList(bool expressionParametersOnly) {
  if (!HasLayout(target_)) return;
  (void)target_->RecordLayoutCount();
  target_->SetRecordLayoutPos(0);
  WalkEvents(kTargetRLEventExpression, target_->RecordLayoutEvents(), expressionParametersOnly, 0,
             target_.get());
}

void ExpressionList::BuildDataChangeMonitorExpressionList() {
  if (!HasLayout(source_)) return;
  const int32_t layouts = source_->RecordLayoutCount();
  for (int32_t r = 0; r < layouts; ++r) {
    source_->SetRecordLayoutPos(CheckedInt16(r));
    for (int16_t m = 0; m <= 4; ++m) {
      std::string text = source_->DataChangeMonitor(m);
      if (text.empty()) continue;
      auto record = arena_.NewRecord();
      record->ExpressionType = kDataChangeMonitorExpression;
      record->ExpressionKey = Key({"s0", Tagged("rl", r), Tagged("dcm", m)});
      Expect(record->ExpressionKey);
      record->Description =
          FormatMessageText("Record (%1), Data Change Monitor (%2)", {Num(r), Num(m)});
      record->ExpressionText = text;
      record->ReplacedExpression = std::move(text);
      record->OrdinalPosition = m;
      record->RLName = source_->RecordLayoutName();
      record->RLOrdinalPosition = source_->RecordLayoutIndex();
      Append(std::move(record));
    }
  }
}

namespace {

// Sort fields and filters: a count, a cursor and a text.
template <typename Count, typename Select, typename Text, typename Add>
void WalkList(Count count, Select select, Text text_of, Add add) {
  const int32_t n_items = count();
  for (int32_t n = 0; n < n_items; ++n) {
    select(CheckedInt16(n));
    std::string text = text_of();
    if (!text.empty()) add(n, std::move(text));
  }
}

std::shared_ptr<ExpressionInfo> Simple(RecordArena& arena, int16_t type, std::string description,
                                       std::string key, std::string text, int32_t position) {
  auto record = arena.NewRecord();
  record->ExpressionType = type;
  record->Description = std::move(description);
  record->ExpressionKey = std::move(key);
  record->ExpressionText = text;
  record->ReplacedExpression = std::move(text);
  record->OrdinalPosition = position;
  return record;
}

}  // namespace

void ExpressionList::BuildSortFieldExpressionList() {
  if (!HasLayout(source_)) return;
  HostSource& s = *source_;
  WalkList(
      [&] { return s.SortFieldCount(); }, [&](int16_t n) { s.SetSortFieldPos(n); },
      [&] { return s.SortFieldExpression(); },
      [&](int32_t n, std::string text) {
        std::string key = Tagged("ssort", n);
        Expect(key);
        Append(Simple(arena_, kSortFieldExpression, FormatMessageText("Sort Field (%1)", {Num(n)}),
                      std::move(key), std::move(text), n));
      });
}

void ExpressionList::BuildSourceFilterExpressionList() {
  if (!HasLayout(source_)) return;
  HostSource& s = *source_;
  WalkList([&] { return s.FilterCount(); }, [&](int16_t n) { s.SetFilterPos(n); },
           [&] { return s.FilterExpression(); },
           [&](int32_t n, std::string text) {
             std::string key = Tagged("sfilt", n);
             Expect(key);
             Append(Simple(arena_, kSourceFilterExpression,
                           FormatMessageText("Source Filter(%1)", {Num(n)}), std::move(key),
                           std::move(text), n));
           });
}

void ExpressionList::BuildTargetFilterExpressionList() {
  if (!HasLayout(target_)) return;
  HostTarget& t = *target_;
  WalkList([&] { return t.FilterCount(); }, [&](int16_t n) { t.SetFilterPos(n); },
           [&] { return t.FilterExpression(); },
           [&](int32_t n, std::string text) {
             // Same key prefix as the source's filters, as hosts have always seen it.
             std::string key = Tagged("sfilt", n);
             Expect(key);
             Append(Simple(arena_, kTargetFilterExpression,
                           FormatMessageText("Target Filter(%1)", {Num(n)}), std::move(key),
                           std::move(text), n));
           });
}

void ExpressionList::BuildTargetFieldExpressionList() {
  if (!HasLayout(target_)) return;
  HostTarget& t = *target_;
  (void)t.RecordLayoutCount();
  t.SetRecordLayoutPos(0);
  const int32_t fields = t.FieldCount();
  for (int32_t f = 0; f < fields; ++f) {
    t.SetFieldPos(CheckedInt16(f));
    std::string text = t.FieldExpression();
    if (text.empty()) continue;
    const std::string layout = t.RecordLayoutName();
    const std::string field = t.fieldname();
    std::string key = Key({"trl0", Tagged("f", f)});
    Expect(key);
    auto record = Simple(arena_, kTargetFieldExpression,
                         FormatMessageText("Target Record (%1) Field (%2)", {layout, field}),
                         std::move(key), std::move(text), f);
    record->RLName = layout;
    record->RLOrdinalPosition = 0;
    record->ExpressionName = field;
    Append(std::move(record));
  }
}

void ExpressionList::AddModule(const std::string& name, int32_t position) {
  std::string content = ReadWholeFile(name);
  auto record = Simple(arena_, kCodeModuleExpression,
                       FormatMessageText("Expression Code Module (%1)", {name}), name,
                       std::move(content), position);
  record->ExpressionName = name;
  Append(std::move(record));
}

void ExpressionList::BuildCodeModuleExpressionList() {
  if (!HasLayout(target_)) return;
  std::string rest = target_->CodeModuleList();
  int32_t position = 0;
  for (size_t k = rest.find('\n'); k != std::string::npos; k = rest.find('\n')) {
    AddModule(rest.substr(0, k), position++);
    rest.erase(0, k + 1);
  }
  if (!Trim(rest).empty()) AddModule(rest, position);
}

void ExpressionList::BuildALLActionParametersList() {
  BuildConversionEventExpressionList(false);
  BuildSourceEventExpressionList(false);
  BuildSourceRLEventExpressionList(false);
  BuildTargetEventExpressionList(false);
  BuildTargetRLEventExpressionList(false);
}

void ExpressionList::BuildALLActionParametersandALLExpressionsList() {
  BuildALLActionParametersList();
  BuildDataChangeMonitorExpressionList();
  BuildSortFieldExpressionList();
  BuildSourceFilterExpressionList();
  BuildTargetFilterExpressionList();
  BuildTargetFieldExpressionList();
  BuildCodeModuleExpressionList();
}

void ExpressionList::BuildCompleteConversionExpressionList() {
  BuildConversionEventExpressionList(true);
  BuildDataChangeMonitorExpressionList();
  BuildSortFieldExpressionList();
  BuildSourceEventExpressionList(true);
  BuildSourceRLEventExpressionList(true);
  BuildSourceFilterExpressionList();
  BuildTargetEventExpressionList(true);
  BuildTargetRLEventExpressionList(true);
  BuildTargetFilterExpressionList();
  BuildTargetFieldExpressionList();
  BuildCodeModuleExpressionList();
}

}  // namespace kx
