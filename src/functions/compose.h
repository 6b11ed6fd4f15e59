#pragma once
// What the function argument dialog does with a filled record, without the window.

#include <string>
#include <string_view>

#include "functions/function_info.h"

namespace kx {

// The name as shown and as called: a name with "_" loses its last seven characters and
// gains "$" (Left_Dollar -> Left$); otherwise a trailing "KX" is dropped.
std::string AdjustFunctionName(std::string_view name);

// The description before the first ";" and the parameters text after it (empty without ";").
struct DescriptionParts {
  std::string description;
  std::string parameters;
};
DescriptionParts SplitDescription(std::string_view description);

// The piece of the parameters text that belongs to argument `row` (0-based): the text cut
// at ";" and the row-th piece, or "" past the last piece.
std::string ParameterTextForRow(std::string_view parameters, int row);

// The dialog's result on OK. A call: the adjusted name up to its "(", then required values
// and the optional values that are set, stopping at the first optional one left empty or
// equal to its name. A construct: its snippet; other names with "..." give "".
std::string ComposeFunctionResult(const FunctionInfo& info);

}  // namespace kx
