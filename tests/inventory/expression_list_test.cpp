#include <gtest/gtest.h>

#include "error_of.h"

#include <limits>

#include "inventory/expression_list.h"
#include "runtime/error.h"

namespace kx {
namespace {

std::shared_ptr<ExpressionInfo> Rec(const std::string& key) {
  auto r = std::make_shared<ExpressionInfo>();
  r->ExpressionKey = key;
  return r;
}

TEST(ExpressionListTest, AddKeepsFirstRecordUnderAKeyAndHandsItBack) {
  ExpressionList list;
  auto first = Rec("k");
  auto second = Rec("k");
  EXPECT_EQ(list.Add(first), first);
  auto passed = second;
  EXPECT_EQ(list.Add(passed), first);
  EXPECT_EQ(passed, first) << "the caller's reference is replaced by the stored record";
  EXPECT_EQ(list.Count(), 1);
  auto upper = Rec("K");
  EXPECT_EQ(list.Add(upper), upper) << "keys compare case-sensitively";
  EXPECT_EQ(list.Count(), 2);
  std::shared_ptr<ExpressionInfo> none;
  EXPECT_EQ(ErrorOf([&] { list.Add(none); }), kErrObjectNotSet);
}

TEST(ExpressionListTest, ItemByPositionOrKeyAndNullOtherwise) {
  ExpressionList list;
  EXPECT_EQ(list.Item(Variant(int16_t{1})), nullptr);
  EXPECT_EQ(list.Item("a"), nullptr);
  auto a = Rec("a"), b = Rec("3");
  list.Add(a);
  list.Add(b);
  EXPECT_EQ(list.Item(Variant(int16_t{2})), b);
  EXPECT_EQ(list.Item(Variant(int32_t{1})), a);
  EXPECT_EQ(list.Item("3"), b);
  EXPECT_EQ(list.Item(""), nullptr);
  EXPECT_EQ(list.Item("A"), nullptr);
  EXPECT_EQ(list.Item(Variant(int16_t{3})), nullptr);
  EXPECT_EQ(list.Item(Variant::Null()), nullptr);
}

TEST(ExpressionListTest, DeleteTakesSixteenBitPositionsOrTheRecordsCurrentKey) {
  ExpressionList list;
  for (const char* k : {"x", "y", "z", "3"}) {
    auto r = Rec(k);
    list.Add(r);
  }
  list.Delete(Variant(int32_t{3}));  // the key "3", not the third record
  ASSERT_EQ(list.Count(), 3);
  EXPECT_EQ(list.Item(Variant(int16_t{3}))->ExpressionKey, "z");
  list.Delete(Variant(int16_t{1}));
  EXPECT_EQ(list.Item(Variant(int16_t{1}))->ExpressionKey, "y");
  list.Delete("Y");  // case differs: nothing
  list.Delete("");
  list.Delete(Variant::Null());
  EXPECT_EQ(list.Count(), 2);
  list.Delete("y");
  EXPECT_EQ(list.Count(), 1);
  EXPECT_EQ(ErrorOf([&] { list.Delete(Variant(int16_t{5})); }), kErrSubscript);

  // A renamed record is found under its new key only.
  list.Item(Variant(int16_t{1}))->ExpressionKey = "new";
  list.Delete("z");
  EXPECT_EQ(list.Count(), 1);
  list.Delete("new");
  EXPECT_EQ(list.Count(), 0);

  auto r = Rec("a");
  list.Add(r);
  list.RemoveAll();
  EXPECT_EQ(list.Count(), 0);
  auto again = Rec("a");
  EXPECT_EQ(list.Add(again), again) << "the list is usable again";
}

struct ColRow {
  int32_t start, row, column;
};

TEST(ExpressionInfoTest, SetColRowFromInstrWorkedCases) {
  ExpressionInfo info;
  info.ReplacedExpression = "ab\r\ncd";
  info.ExpressionText = "unrelated";  // the other text must not be used
  for (ColRow c : {ColRow{1, 1, 0}, ColRow{2, 1, 0}, ColRow{3, 1, 2}, ColRow{4, 1, 3},
                   ColRow{5, 2, -1}, ColRow{6, 2, 1}}) {
    info.InstrStart = c.start;
    info.InstrLength = 2;
    info.SetColRowFromInstr();
    EXPECT_EQ(info.SelRowStart, c.row) << "start " << c.start;
    EXPECT_EQ(info.SelRowEnd, c.row) << "start " << c.start;
    EXPECT_EQ(info.SelColStart, c.column) << "start " << c.start;
    EXPECT_EQ(info.SelColEnd, c.column + 2) << "start " << c.start;
  }
  // Past the end, and a lone line feed is an ordinary character.
  info.ReplacedExpression = "a\nb\r\n\r\nc";
  info.InstrStart = 8;
  info.InstrLength = 0;
  info.SetColRowFromInstr();
  EXPECT_EQ(info.SelRowStart, 3);
  EXPECT_EQ(info.SelColStart, -1);
  info.InstrStart = 40;
  info.SetColRowFromInstr();
  EXPECT_EQ(info.SelRowStart, 3);
  EXPECT_EQ(info.SelColStart, 32);

  info.InstrLength = std::numeric_limits<int32_t>::max();
  info.ReplacedExpression = "abc";
  info.InstrStart = 3;
  EXPECT_EQ(ErrorOf([&] { info.SetColRowFromInstr(); }), kErrOverflow);
}

TEST(ExpressionInfoTest, SetInstrStartFromColRowWorkedCases) {
  struct Case {
    std::string text;
    int32_t col_start, row_start, col_end, start, length;
  };
  const Case cases[] = {
      {"ab\r\ncd", 1, 2, 1, 4, 1},  {"ab\r\ncd", 0, 1, 3, 0, 4},
      {"ab\r\ncd", 9, 1, 3, 5, -5},  // no match: the loop runs out at the text's length
      {"", 9, 1, 3, 0, -5},         {"x", 9, 1, 3, 0, -5},
  };
  ExpressionInfo info;
  info.ReplacedExpression = "zzzzzzzzzzzzzzz";  // the other text must not be used
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text + " " + std::to_string(c.col_start));
    info.ExpressionText = c.text;
    info.SelColStart = c.col_start;
    info.SelRowStart = c.row_start;
    info.SelColEnd = c.col_end;
    info.SetInstrStartFromColRow();
    EXPECT_EQ(info.InstrStart, c.start);
    EXPECT_EQ(info.InstrLength, c.length);
  }
  info.SelColStart = std::numeric_limits<int32_t>::min();
  info.SelColEnd = 1;
  EXPECT_EQ(ErrorOf([&] { info.SetInstrStartFromColRow(); }), kErrOverflow);
}

}  // namespace
}  // namespace kx
