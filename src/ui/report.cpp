#include "ui/report.h"

namespace kx {

std::string ErrorReportText(const Error& error) {
  return error.Description() + " (" + std::to_string(error.Number()) + ")";
}

void ReportError(ui::MessageBoxService& box, std::string_view location) {
  ReportError(box, location, CurrentError());
}

void ReportError(ui::MessageBoxService& box, std::string_view /*location*/, const Error& error) {
  try {
    box.Show(ErrorReportText(error), ui::kMbCritical, "");
  } catch (...) {
  }
}

void ReportError(std::string_view location) {
  ReportError(ui::CurrentMessageBox(), location, CurrentError());
}

void ReportError(std::string_view location, const Error& error) {
  ReportError(ui::CurrentMessageBox(), location, error);
}

}  // namespace kx
