#pragma once
// One expression of a conversion: where it lives, what it says now, what it is to say after
// a template has been applied, and which part of it is selected. Plain values, no checks.

#include <cstdint>
#include <string>

namespace kx {

class ExpressionInfo {
 public:
  int32_t ActionOrdinalPosition = 0;
  std::string EventKey;
  std::string EventName;
  int32_t EventOrdinalPosition = 0;
  int32_t InstrStart = 0;
  int32_t InstrLength = 0;
  bool IsSelected = false;
  std::string RLKey;
  std::string RLName;
  int32_t RLOrdinalPosition = 0;
  std::string SrcTrgKey;
  std::string SrcTrgName;
  int32_t SrcTrgOrdinalPosition = 0;
  std::string ReplacedExpression;
  std::string ReplacedSelectedText;
  std::string ExpressionKey;
  int32_t OrdinalPosition = 0;
  int32_t SelRowEnd = 0;
  int32_t SelRowStart = 0;
  int32_t SelColEnd = 0;
  int32_t SelColStart = 0;
  std::string SelectedText;
  int16_t ExpressionType = 0;
  std::string ExpressionText;
  std::string Description;
  std::string ExpressionName;

  // Selection rows and columns from InstrStart/InstrLength over ReplacedExpression. The
  // column quirks (column 0 at position 2, -1 at the start of a later line) are relied on.
  void SetColRowFromInstr();
  // InstrStart/InstrLength from the selection columns and start row over ExpressionText.
  // Not the inverse of SetColRowFromInstr, on purpose.
  void SetInstrStartFromColRow();
};

}  // namespace kx
