#include <gtest/gtest.h>

#include "error_of.h"

#include <filesystem>
#include <fstream>

#include "faulty_host.h"
#include "inventory/expression_list.h"
#include "runtime/files.h"

namespace kx {
namespace {

using testing::CallLog;
using testing::LoggedHost;

const char* kConversion = R"({
  "actionTypes": [
    {"name": "T2", "parameters": [{"name": "A", "kind": 2}, {"name": "B", "kind": 0}]},
    {"name": "T1", "parameters": [{"name": "X", "kind": 2}]}
  ],
  "source": {
    "type": "S",
    "recordLayouts": [
      {"name": "L0", "fields": ["a"], "dataChangeMonitors": ["m00", "", "m02"],
       "events": [{"name": "LE", "actions": [{"type": "T2", "parameters": ["la", "lb"]}]}]},
      {"name": "L1", "events": [{"name": "L1E", "actions": [{"type": "T1", "parameters": ["zz"]}]}]},
      {"name": "L2", "dataChangeMonitors": ["", "", "", "", "m24"]}
    ],
    "filters": ["f0", "", "f2"],
    "sortFields": ["s0", "s1"],
    "events": [
      {"name": "E0", "actions": [{"type": "T2", "parameters": ["p0"]},
                                 {"type": "T2", "parameters": ["", "q1"]}]},
      {"name": "E1"},
      {"name": "E2", "actions": [{"type": "T1", "parameters": ["r0"]}]}
    ]
  },
  "target": {
    "type": "T",
    "recordLayouts": [
      {"name": "TL0", "fields": [{"name": "F0", "expression": "x0"}, "F1",
                                 {"name": "F2", "expression": "x2"}],
       "events": [{"name": "TE", "actions": [{"type": "T2", "parameters": ["t0", "t1"]}]}]},
      {"name": "TL1", "fields": [{"name": "G0", "expression": "g"}]}
    ],
    "filters": ["tf0"],
    "events": [{"name": "TE0", "actions": [{"type": "T1", "parameters": ["te"]}]}],
    "conversionEvents": [{"name": "CE", "actions": [{"type": "T2", "parameters": ["c0", "c1"]}]}]
  }
})";

std::string K(std::initializer_list<const char*> parts) {
  std::string key;
  for (const char* p : parts) key += (key.empty() ? "" : "\x1b") + std::string(p);
  return key;
}

struct Walked {
  std::vector<std::shared_ptr<ExpressionInfo>> records;
  std::vector<std::string> keys;
  std::vector<int> types;
};

// A record as one line: type, description, text, then the ordinal, event, action and layout
// positions, the layout's name and the expression's name.
std::string Line(const ExpressionInfo& r) {
  return std::to_string(r.ExpressionType) + "|" + r.Description + "|" + r.ExpressionText + "|" +
         std::to_string(r.OrdinalPosition) + "," + std::to_string(r.EventOrdinalPosition) + "," +
         std::to_string(r.ActionOrdinalPosition) + "," + std::to_string(r.RLOrdinalPosition) + "|" +
         r.RLName + "|" + r.ExpressionName;
}

Walked Contents(ExpressionList& list) {
  Walked w;
  for (int32_t i = 1; i <= list.Count(); ++i) {
    auto r = list.Item(Variant(i));
    w.records.push_back(r);
    w.keys.push_back(r->ExpressionKey);
    w.types.push_back(r->ExpressionType);
  }
  return w;
}

TEST(WalkersTest, EventWalkersKeysDescriptionsAndPositions) {
  LoggedHost host(kConversion);
  ExpressionList list = host.List();
  list.BuildSourceEventExpressionList(false);
  Walked w = Contents(list);
  ASSERT_EQ(w.keys, (std::vector<std::string>{K({"se0", "a0", "p0"}), K({"se0", "a1", "p1"}),
                                              K({"se2", "a0", "p0"})}));
  EXPECT_EQ(Line(*w.records[1]), "2|Source Event1: E0, Action2: T2, Parameter2: B|q1|1,0,1,0||");
  EXPECT_EQ(w.records[1]->ReplacedExpression, "q1");
  EXPECT_EQ(Line(*w.records[2]), "2|Source Event3: E2, Action1: T1, Parameter1: X|r0|0,2,0,0||");

  // Only kind 2 with the flag; the text of a skipped slot is never read.
  ExpressionList only = host.List();
  host.log->counts.clear();
  only.BuildSourceEventExpressionList(true);
  EXPECT_EQ(Contents(only).keys,
            (std::vector<std::string>{K({"se0", "a0", "p0"}), K({"se2", "a0", "p0"})}));
  EXPECT_EQ(host.log->Count("ParameterType"), 5);
  EXPECT_EQ(host.log->Count("Parameter"), 3);

  ExpressionList conv = host.List();
  conv.BuildConversionEventExpressionList(false);
  Walked c = Contents(conv);
  ASSERT_EQ(c.keys, (std::vector<std::string>{K({"ce0", "a0", "p0"}), K({"ce0", "a0", "p1"})}));
  EXPECT_EQ(Line(*c.records[1]),
            "0|Conversion Event1: CE, Action1: T2, Parameter2: B|c1|1,0,0,0||");

  ExpressionList target = host.List();
  target.BuildTargetEventExpressionList(true);
  Walked t = Contents(target);
  ASSERT_EQ(t.keys, (std::vector<std::string>{K({"se0", "a0", "p0"})}));
  EXPECT_EQ(Line(*t.records[0]), "3|Target Event1: TE0, Action1: T1, Parameter1: X|te|0,0,0,0||");
}

TEST(WalkersTest, RecordLayoutEventWalkersTakeLayoutZeroOnly) {
  LoggedHost host(kConversion);
  ExpressionList list = host.List();
  host.source->SetRecordLayoutPos(2);
  list.BuildSourceRLEventExpressionList(false);
  Walked w = Contents(list);
  ASSERT_EQ(w.keys, (std::vector<std::string>{K({"srl0", "e0", "a0", "p0"}),
                                              K({"srl0", "e0", "a0", "p1"})}));
  EXPECT_EQ(Line(*w.records[1]),
            "4|Source Record (L0), Event1: LE, Action1: T2, Parameter2: B|lb|1,0,0,0|L0|");

  ExpressionList target = host.List();
  target.BuildTargetRLEventExpressionList(false);
  Walked t = Contents(target);
  ASSERT_EQ(t.records.size(), 2u);
  // The parameter name is never put in: the text ends in "&7".
  EXPECT_EQ(t.records[0]->ExpressionKey, K({"srl0", "e0", "a0", "p0"}));
  EXPECT_EQ(Line(*t.records[0]),
            "5|Target Record (TL0), Event1: TE, Action1: T2, Parameter1: &7|t0|0,0,0,0|TL0|");

  // A side with a type but no layouts: layout 0 is still selected and its events asked for.
  LoggedHost bare(R"({"target": {"type": "T"}})");
  ExpressionList none = bare.List();
  none.BuildTargetRLEventExpressionList(false);
  none.BuildTargetFieldExpressionList();
  EXPECT_EQ(none.Count(), 0);
  EXPECT_EQ(bare.log->Count("RecordLayoutCount"), 2);
  EXPECT_EQ(bare.log->Count("RecordLayoutPos="), 2);
  EXPECT_EQ(bare.log->Count("RecordLayoutEvents"), 1);
}

TEST(WalkersTest, MonitorsFiltersSortFieldsAndTargetFields) {
  LoggedHost host(kConversion);
  ExpressionList dcm = host.List();
  dcm.BuildDataChangeMonitorExpressionList();
  Walked d = Contents(dcm);
  ASSERT_EQ(d.keys, (std::vector<std::string>{K({"s0", "rl0", "dcm0"}), K({"s0", "rl0", "dcm2"}),
                                              K({"s0", "rl2", "dcm4"})}));
  EXPECT_EQ(Line(*d.records[2]), "1|Record (2), Data Change Monitor (4)|m24|4,0,0,2|L2|");
  EXPECT_EQ(host.log->Count("RecordLayoutPos="), 3);

  ExpressionList filters = host.List();
  filters.BuildSourceFilterExpressionList();
  Walked f = Contents(filters);
  ASSERT_EQ(f.keys, (std::vector<std::string>{"sfilt0", "sfilt2"}));
  EXPECT_EQ(Line(*f.records[1]), "6|Source Filter(2)|f2|2,0,0,0||");

  ExpressionList target_filters = host.List();
  target_filters.BuildTargetFilterExpressionList();
  ASSERT_EQ(target_filters.Count(), 1);
  EXPECT_EQ(Line(*target_filters.Item("sfilt0")), "7|Target Filter(0)|tf0|0,0,0,0||");

  ExpressionList sorts = host.List();
  sorts.BuildSortFieldExpressionList();
  EXPECT_EQ(Contents(sorts).keys, (std::vector<std::string>{"ssort0", "ssort1"}));
  EXPECT_EQ(Line(*sorts.Item("ssort1")), "9|Sort Field (1)|s1|1,0,0,0||");
  // A second run fails on its first record and keeps the first run's.
  EXPECT_EQ(ErrorOf([&] { sorts.BuildSortFieldExpressionList(); }), kErrDuplicateKey);
  EXPECT_EQ(sorts.Count(), 2);

  ExpressionList fields = host.List();
  host.target->SetRecordLayoutPos(1);
  fields.BuildTargetFieldExpressionList();
  Walked t = Contents(fields);
  ASSERT_EQ(t.keys, (std::vector<std::string>{K({"trl0", "f0"}), K({"trl0", "f2"})}));
  EXPECT_EQ(Line(*t.records[1]), "8|Target Record (TL0) Field (F2)|x2|2,0,0,0|TL0|F2");
}

TEST(WalkersTest, SidesWithoutLayoutOrObjectAreNotTouchedFurther) {
  LoggedHost host(R"({"source": {"type": "", "filters": ["f"], "sortFields": ["s"]},
                      "target": {"type": "", "filters": ["f"], "codeModules": ["x"],
                                 "conversionEvents": [{"name": "e"}]}})");
  ExpressionList list = host.List();
  list.BuildALLActionParametersandALLExpressionsList();
  list.BuildCompleteConversionExpressionList();
  EXPECT_EQ(list.Count(), 0);
  for (const std::string& call : host.log->calls) EXPECT_EQ(call, "SpokeTypeName");

  ExpressionList unset;  // no objects at all
  unset.BuildALLActionParametersandALLExpressionsList();
  unset.BuildCompleteConversionExpressionList();
  EXPECT_EQ(unset.Count(), 0);
}

TEST(WalkersTest, CodeModulesAreReadWholeAndKeyedByName) {
  auto dir = std::filesystem::temp_directory_path() / "kx_walkers_modules";
  std::filesystem::create_directories(dir);
  const std::string bytes("one\r\ntwo\0\xe9\n", 11);
  WriteWholeFile(dir / "m1.txt", bytes);
  WriteWholeFile(dir / "m2.txt", "second");
  LoggedHost host(R"({"target": {"type": "T", "codeModules": ["m1.txt", "m2.txt"]}})",
                  dir.string());
  ExpressionList list = host.List();
  list.BuildCodeModuleExpressionList();
  Walked w = Contents(list);
  const std::string m1 = (dir / "m1.txt").string(), m2 = (dir / "m2.txt").string();
  ASSERT_EQ(w.keys, (std::vector<std::string>{m1, m2}));
  EXPECT_EQ(Line(*w.records[0]),
            "10|Expression Code Module (" + m1 + ")|" + bytes + "|0,0,0,0||" + m1);
  EXPECT_EQ(Line(*w.records[1]), "10|Expression Code Module (" + m2 + ")|second|1,0,0,0||" + m2);

  // The list's own rules: a trailing line feed adds nothing, a carriage return stays in
  // the name, a missing file ends the walk with what was read so far.
  struct ListTarget : testing::FaultyTarget {
    using FaultyTarget::FaultyTarget;
    std::string list;
    std::string CodeModuleList() override { return list; }
  };
  auto t = std::make_shared<ListTarget>(host.doc->Target(), host.log);
  const std::string missing = (dir / "missing.txt").string();
  const std::tuple<std::string, int32_t, std::vector<std::string>> lists[] = {
      {m1 + "\n" + m2 + "\n", 0, {m1, m2}},
      {m2 + "\n   ", 0, {m2}},
      {m1 + "\r\n" + m2, kErrFileNotFound, {}},
      {m2 + "\n" + missing + "\n" + m1, kErrFileNotFound, {m2}},
  };
  for (const auto& [text, error, keys] : lists) {
    ExpressionList custom;
    custom.SetTargetControl(t);
    t->list = text;
    EXPECT_EQ(ErrorOf([&] { custom.BuildCodeModuleExpressionList(); }), error) << text;
    EXPECT_EQ(Contents(custom).keys, keys) << text;
  }
  std::filesystem::remove_all(dir);
}

TEST(WalkersTest, CompositesRunTheWalkersInTheirOrder) {
  // No shared positions between the sides here, so every composite runs to the end.
  LoggedHost host(R"({
    "actionTypes": [{"name": "T", "parameters": [{"name": "A", "kind": 2}, {"name": "B", "kind": 1}]}],
    "source": {"type": "S",
      "recordLayouts": [{"name": "L", "dataChangeMonitors": ["m"]}],
      "filters": ["f"], "sortFields": ["s"],
      "events": [{"name": "E", "actions": [{"type": "T", "parameters": ["a", "b"]}]}]},
    "target": {"type": "T",
      "recordLayouts": [{"name": "TL", "fields": [{"name": "F", "expression": "x"}],
        "events": [{"name": "TE", "actions": [{"type": "T", "parameters": ["c", "d"]}]}]}],
      "conversionEvents": [{"name": "C", "actions": [{"type": "T", "parameters": ["e", "f"]}]}]}
  })");
  ExpressionList complete = host.List();
  complete.BuildCompleteConversionExpressionList();
  EXPECT_EQ(Contents(complete).types, (std::vector<int>{0, 1, 9, 2, 6, 5, 8}));

  ExpressionList all = host.List();
  all.BuildALLActionParametersandALLExpressionsList();
  EXPECT_EQ(Contents(all).types, (std::vector<int>{0, 0, 2, 2, 5, 5, 1, 9, 6, 8}));

  ExpressionList params = host.List();
  params.BuildALLActionParametersList();
  EXPECT_EQ(Contents(params).types, (std::vector<int>{0, 0, 2, 2, 5, 5}));
}

TEST(WalkersTest, SharedKeyPrefixesStopACompositeAndKeepWhatWasListed) {
  LoggedHost host(kConversion);
  ExpressionList list = host.List();
  EXPECT_EQ(ErrorOf([&] { list.BuildALLActionParametersList(); }), kErrDuplicateKey);
  // Conversion events, source events, source layout events; the target events' first key
  // is the source events' first.
  EXPECT_EQ(Contents(list).types, (std::vector<int>{0, 0, 2, 2, 2, 4, 4}));

  ExpressionList complete = host.List();
  EXPECT_EQ(ErrorOf([&] { complete.BuildCompleteConversionExpressionList(); }), kErrDuplicateKey);
  EXPECT_EQ(Contents(complete).types, (std::vector<int>{0, 1, 1, 1, 9, 9, 2, 2, 4, 6, 6}));
}

TEST(WalkersTest, HostFailuresPassThroughAndKeepWhatWasAdded) {
  LoggedHost host(kConversion);
  host.log->fail_on["Parameter"] = 3;
  ExpressionList list = host.List();
  EXPECT_EQ(ErrorOf([&] { list.BuildSourceEventExpressionList(false); }), testing::kHostFailure);
  EXPECT_EQ(Contents(list).keys, (std::vector<std::string>{K({"se0", "a0", "p0"})}));

  LoggedHost monitors(kConversion);
  monitors.log->fail_on["RecordLayoutPos="] = 3;
  ExpressionList dcm = monitors.List();
  EXPECT_EQ(ErrorOf([&] { dcm.BuildDataChangeMonitorExpressionList(); }), testing::kHostFailure);
  EXPECT_EQ(dcm.Count(), 2);

  LoggedHost names(kConversion);
  names.log->fail_on["Name"] = 1;
  ExpressionList conv = names.List();
  EXPECT_EQ(ErrorOf([&] { conv.BuildConversionEventExpressionList(false); }),
            testing::kHostFailure);
  EXPECT_EQ(conv.Count(), 0);
}

}  // namespace
}  // namespace kx
