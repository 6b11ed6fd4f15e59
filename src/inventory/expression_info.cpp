#include "inventory/expression_info.h"

#include "runtime/narrow.h"

namespace kx {

namespace {

// Whether the two characters at 1-based position i are a carriage return + line feed.
bool IsLineBreakAt(const std::string& text, int64_t i) {
  return i >= 1 && static_cast<size_t>(i) + 1 <= text.size() &&
         text[static_cast<size_t>(i - 1)] == '\r' && text[static_cast<size_t>(i)] == '\n';
}

}  // namespace

void ExpressionInfo::SetColRowFromInstr() {
  int32_t row = 1;
  int32_t column = 0;
  int64_t last_break = 0;
  const int64_t stop = static_cast<int64_t>(InstrStart) - 2;
  for (int64_t i = 1; i <= stop; ++i) {
    if (IsLineBreakAt(ReplacedExpression, i)) {
      row = CheckedInt32(int64_t{row} + 1);
      column = -1;
      last_break = i;
    } else {
      column = CheckedInt32(int64_t{column} + 1);
    }
  }
  if (!(last_break == stop || InstrStart == 1)) column = CheckedInt32(int64_t{column} + 1);
  SelColStart = column;
  SelColEnd = CheckedInt32(int64_t{column} + InstrLength);
  SelRowStart = row;
  SelRowEnd = row;
}

void ExpressionInfo::SetInstrStartFromColRow() {
  int32_t column = 0;
  int32_t row = 1;
  const int64_t length = static_cast<int64_t>(ExpressionText.size());
  int64_t i = 1;
  bool matched = false;
  for (; i <= length - 1; ++i) {
    if (column == SelColStart && row == SelRowStart) {
      matched = true;
      break;
    }
    if (IsLineBreakAt(ExpressionText, i)) {
      row = CheckedInt32(int64_t{row} + 1);
      column = 0;
    } else {
      column = CheckedInt32(int64_t{column} + 1);
    }
  }
  if (!matched) i = length > 1 ? length : 1;
  InstrStart = CheckedInt32(i - 1);
  InstrLength = CheckedInt32(int64_t{SelColEnd} - SelColStart + 1);
}

}  // namespace kx
