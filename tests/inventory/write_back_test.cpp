#include <gtest/gtest.h>

#include "error_of.h"

#include <filesystem>

#include "faulty_host.h"
#include "inventory/expression_list.h"
#include "runtime/files.h"
#include "ui/message_box.h"

namespace kx {
namespace {

using testing::LoggedHost;

const char* kConversion = R"({
  "actionTypes": [{"name": "T", "parameters": [{"name": "A", "kind": 2}, {"name": "B", "kind": 2}]}],
  "source": {"type": "S",
    "recordLayouts": [
      {"name": "Orders", "fields": ["Id", "Total"], "dataChangeMonitors": ["m0", "m1"],
       "events": [{"name": "LE", "actions": [{"type": "T", "parameters": ["l0", "l1"]}]}]},
      {"name": "Lines", "fields": ["No", "Qty"], "dataChangeMonitors": ["", "n1"],
       "events": [{"name": "LE2", "actions": [{"type": "T", "parameters": ["k0"]}]}]}],
    "filters": ["f0", "f1"], "sortFields": ["s0"],
    "events": [{"name": "E", "actions": [{"type": "T", "parameters": ["p0", "p1"]}]},
               {"name": "E2", "actions": [{"type": "T", "parameters": ["q0", "q1"]}]}]},
  "target": {"type": "T",
    "recordLayouts": [{"name": "TL", "fields": [{"name": "F", "expression": "x"},
                                                {"name": "G", "expression": "y"}],
      "events": [{"name": "TE", "actions": [{"type": "T", "parameters": ["t0"]}]}]}],
    "filters": ["tf"],
    "events": [{"name": "TE0", "actions": [{"type": "T", "parameters": ["u0"]}]}],
    "conversionEvents": [{"name": "C", "actions": [{"type": "T", "parameters": ["c0", "c1"]}]}]}
})";

// Replaces every record's text with "<old>!" and writes all back; returns the new inventory.
std::vector<std::string> RewriteAll(LoggedHost& host) {
  ExpressionList list = host.List();
  list.BuildALLActionParametersandALLExpressionsList();
  for (int32_t i = 1; i <= list.Count(); ++i) {
    auto r = list.Item(Variant(i));
    r->ReplacedExpression = r->ExpressionText + "!";
    list.ReplaceExpressionInVBX(i);
    EXPECT_EQ(r->ExpressionText + "!", r->ReplacedExpression) << "the record keeps its old text";
  }
  ExpressionList after = host.List();
  after.BuildALLActionParametersandALLExpressionsList();
  std::vector<std::string> texts;
  for (int32_t i = 1; i <= after.Count(); ++i)
    texts.push_back(after.Item(Variant(i))->ExpressionText);
  return texts;
}

// One record of `type` with `replaced` to write back, added to `list`.
std::shared_ptr<ExpressionInfo> AddRecord(ExpressionList& list, int type, std::string replaced) {
  auto r = std::make_shared<ExpressionInfo>();
  r->ExpressionType = type;
  r->ReplacedExpression = std::move(replaced);
  list.Add(r);
  return r;
}

TEST(WriteBackTest, EveryKindGoesBackToWhereItCameFrom) {
  // Source RL and target RL events share keys, so walk a source-only and a target-only copy.
  LoggedHost host(kConversion);
  host.target = nullptr;
  EXPECT_EQ(RewriteAll(host), (std::vector<std::string>{"p0!", "p1!", "q0!", "q1!", "l0!", "l1!",
                                                        "m0!", "m1!", "n1!", "s0!", "f0!", "f1!"}));
  LoggedHost target(kConversion);
  target.source = nullptr;
  EXPECT_EQ(RewriteAll(target),
            (std::vector<std::string>{"c0!", "c1!", "u0!", "t0!", "tf!", "x!", "y!"}));
  // The document itself changed, not a copy.
  EXPECT_EQ(target.doc->Model().target->layouts[0].fields[1].expression, "y!");
}

TEST(WriteBackTest, PositionsComeFromTheRecordNotTheHostsCursors) {
  LoggedHost host(kConversion);
  ExpressionList list = host.List();
  auto r = AddRecord(list, 4, "new");  // source layout event
  r->RLOrdinalPosition = 1;
  r->OrdinalPosition = 1;
  list.ReplaceExpressionInVBX(1);
  EXPECT_EQ(host.doc->Model().source->layouts[1].events[0].actions[0].parameters[1], "new");

  r->ExpressionType = 1;
  r->OrdinalPosition = 4;
  list.ReplaceExpressionInVBX(1);
  EXPECT_EQ(host.doc->Model().source->layouts[1].monitors[4], "new");

  // An unknown type writes nothing; a type-8 record moves layout and field cursors.
  r->ExpressionType = 11;
  host.log->calls.clear();
  list.ReplaceExpressionInVBX(1);
  EXPECT_TRUE(host.log->calls.empty());
  r->ExpressionType = 8;
  r->RLOrdinalPosition = 0;
  r->OrdinalPosition = 0;
  list.ReplaceExpressionInVBX(1);
  EXPECT_EQ(host.log->calls,
            (std::vector<std::string>{"RecordLayoutPos=", "FieldPos=", "FieldExpression="}));
}

TEST(WriteBackTest, PositionsBeyondTheHostsEventsAreSilentlySkipped) {
  LoggedHost host(kConversion);
  ExpressionList list = host.List();
  auto r = AddRecord(list, 2, "zzz");
  r->EventOrdinalPosition = 2;  // the source has two events
  list.ReplaceExpressionInVBX(1);
  r->EventOrdinalPosition = 1;
  r->ActionOrdinalPosition = 1;  // event 1 has one action
  list.ReplaceExpressionInVBX(1);
  EXPECT_EQ(host.log->Count("Parameter="), 0);
  // The slot is not checked against the action's slots: the host decides.
  r->ActionOrdinalPosition = 0;
  r->OrdinalPosition = 7;
  EXPECT_EQ(ErrorOf([&] { list.ReplaceExpressionInVBX(1); }), kErrSubscript);
  // Positions beyond 16 bits overflow before anything is written.
  r->EventOrdinalPosition = 40000;
  EXPECT_EQ(ErrorOf([&] { list.ReplaceExpressionInVBX(1); }), kErrOverflow);
  // A record position past the list's end is the collection's range error.
  EXPECT_EQ(ErrorOf([&] { list.ReplaceExpressionInVBX(2); }), kErrSubscript);
  ExpressionList empty;
  EXPECT_EQ(ErrorOf([&] { empty.ReplaceExpressionInVBX(1); }), kErrSubscript);
  // A record for a side that is not set.
  r->ExpressionType = 7;
  list.SetTargetControl(nullptr);
  EXPECT_EQ(ErrorOf([&] { list.ReplaceExpressionInVBX(1); }), kErrObjectNotSet);
}

TEST(WriteBackTest, HostFailureStopsTheWriteAndEarlierWritesStay) {
  LoggedHost host(kConversion);
  host.log->fail_on["FieldExpression="] = 1;
  ExpressionList list = host.List();
  AddRecord(list, 8, "new")->OrdinalPosition = 1;
  EXPECT_EQ(ErrorOf([&] { list.ReplaceExpressionInVBX(1); }), testing::kHostFailure);
  EXPECT_EQ(host.log->Count("FieldPos="), 1);
  EXPECT_EQ(host.doc->Model().target->layouts[0].fields[1].expression, "y");
  EXPECT_EQ(host.doc->Model().target->field_pos, 1) << "cursor moves stay";
}

TEST(WriteBackTest, CodeModulesAreOverwrittenWithoutTruncation) {
  auto path = std::filesystem::temp_directory_path() / "kx_write_back_module.txt";
  WriteWholeFile(path, "0123456789");
  ExpressionList list;
  auto r = AddRecord(list, 10, "abc");
  r->ExpressionName = path.string();
  list.ReplaceExpressionInVBX(1);
  EXPECT_EQ(ReadWholeFile(path), "abc3456789");
  r->ReplacedExpression = std::string("longer than before\0\xff", 20);
  list.ReplaceExpressionInVBX(1);
  EXPECT_EQ(ReadWholeFile(path), r->ReplacedExpression);
  std::filesystem::remove(path);
  list.ReplaceExpressionInVBX(1);  // a missing file is created
  EXPECT_EQ(ReadWholeFile(path), r->ReplacedExpression);
  std::filesystem::remove(path);
  r->ExpressionName = (path / "no" / "such").string();
  EXPECT_NE(ErrorOf([&] { list.ReplaceExpressionInVBX(1); }), 0);
}

class Combo : public Dispatch {
 public:
  std::vector<std::string> items;
  int fail_at = 0;
  Variant Call(std::string_view name, const Arguments& args) override {
    if (!IsMember(name, "AddItem")) RaiseNoMember(name);
    if (static_cast<int>(items.size()) + 1 == fail_at) Raise(kErrInvalidCall, "combo is full");
    items.push_back(args.at(0).ToText());
    return {};
  }
};

TEST(RecordFieldComboTest, OneItemPerFieldLayoutByLayoutAndCursorRestored) {
  LoggedHost host(kConversion);
  ExpressionList list = host.List();
  auto combo = std::make_shared<Combo>();
  host.source->SetRecordLayoutPos(1);
  list.BuildRecordFieldComboDropDownList(combo);
  EXPECT_EQ(combo->items,
            (std::vector<std::string>{
                R"(Records("Orders").Fields("Id"))", R"(Records("Orders").Fields("Total"))",
                R"(Records("Lines").Fields("No"))", R"(Records("Lines").Fields("Qty"))"}));
  EXPECT_EQ(host.doc->Model().source->layout_pos, 1);

  // The remembered layout is restored only when it is still a valid position.
  host.source->SetRecordLayoutPos(5);
  list.BuildRecordFieldComboDropDownList(std::make_shared<Combo>());
  EXPECT_EQ(host.doc->Model().source->layout_pos, 1);
}

TEST(RecordFieldComboTest, ErrorsAreReportedAndItemsAddedSoFarStay) {
  LoggedHost host(kConversion);
  ExpressionList list = host.List();
  auto combo = std::make_shared<Combo>();
  combo->fail_at = 3;
  ui::RecordingMessageBox box;
  ui::ScopedMessageBox scoped(box);
  list.BuildRecordFieldComboDropDownList(combo);
  EXPECT_EQ(combo->items.size(), 2u);
  ASSERT_EQ(box.shown.size(), 1u);
  EXPECT_EQ(box.shown[0].text, "combo is full (5)");
  EXPECT_EQ(box.shown[0].flags, ui::kMbCritical);
  EXPECT_EQ(host.doc->Model().source->layout_pos, 1) << "not restored after a failure";

  // Nothing to do: no source, a source without layout, an object without AddItem.
  ExpressionList none;
  none.BuildRecordFieldComboDropDownList(combo);
  LoggedHost empty(R"({"source": {"type": "S"}})");
  ExpressionList no_layouts = empty.List();
  no_layouts.BuildRecordFieldComboDropDownList(combo);
  EXPECT_EQ(box.shown.size(), 1u);
  list.BuildRecordFieldComboDropDownList(std::make_shared<Dispatch>());
  ASSERT_EQ(box.shown.size(), 2u);
  EXPECT_EQ(box.shown[1].text, "Object doesn't support this property or method (438)");
}

}  // namespace
}  // namespace kx
