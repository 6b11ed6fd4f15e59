#pragma once
// The shared error reporter of every routine that has an error location.

#include <string_view>

#include "runtime/error.h"

namespace kx {

// Shows "description (number)" with the critical-stop icon and the default title through
// the message-box service. The location ("Routine(unit)") is accepted but not shown, as the
// component has always done. Errors while reporting are ignored. Call it inside a catch
// block for the error in flight, or pass the error.
void ReportError(std::string_view location);
void ReportError(std::string_view location, const Error& error);

// The text ReportError shows for an error.
std::string ErrorReportText(const Error& error);

}  // namespace kx
