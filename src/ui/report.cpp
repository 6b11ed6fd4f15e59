#include "ui/report.h"

#include "ui/message_box.h"

namespace kx {

std::string ErrorReportText(const Error& error) {
  return error.Description() + " (" + std::to_string(error.Number()) + ")";
}

void ReportError(std::string_view location) {
  ReportError(location, CurrentError());
}

void ReportError(std::string_view /*location*/, const Error& error) {
  try {
    ui::CurrentMessageBox().Show(ErrorReportText(error), ui::kMbCritical, "");
  } catch (...) {
  }
}

}  // namespace kx
