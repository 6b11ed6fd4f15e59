#pragma once
// The shared error reporter of every routine that has an error location.

#include <string>
#include <string_view>
#include <utility>

#include "runtime/error.h"
#include "ui/message_box.h"
#include "ui/unanswered.h"

namespace kx {

// Shows "description (number)" with the critical-stop icon and the default title. The
// location ("Routine(unit)") is accepted but not shown, as the component has always done.
// Errors while reporting are ignored. Call it inside a catch block for the error in
// flight, or pass the error. Presenters pass their own message-box service; the overloads
// without one use the process's (for the public classes, which have no window).
void ReportError(ui::MessageBoxService& box, std::string_view location);
void ReportError(ui::MessageBoxService& box, std::string_view location, const Error& error);
void ReportError(std::string_view location);
void ReportError(std::string_view location, const Error& error);

// The text ReportError shows for an error.
std::string ErrorReportText(const Error& error);

// Runs `body` as a routine with an error location: any error ends it and is reported.
// Returns false when the body failed.
template <typename Body>
bool Guarded(ui::MessageBoxService& box, std::string_view location, Body&& body) {
  try {
    std::forward<Body>(body)();
    return true;
  } catch (const ui::Unanswered&) {
    throw;
  } catch (...) {
    ReportError(box, location);
    return false;
  }
}

}  // namespace kx
