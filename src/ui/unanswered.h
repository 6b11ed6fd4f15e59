#pragma once
// A dialog or question that nobody answered. Headless views raise it when a script gave
// no answer; it is never reported as a run-time error of the routine it interrupts (the
// error reporter lets it through), so a test or script fails and names the dialog.

#include <stdexcept>
#include <string>

namespace kx::ui {

class Unanswered : public std::logic_error {
 public:
  explicit Unanswered(const std::string& what) : std::logic_error(what) {}
};

// Runs `step` ignoring its errors, as routines that go on step by step do; an unanswered
// dialog still ends the run.
template <typename Step>
void IgnoringErrors(Step&& step) {
  try {
    step();
  } catch (const Unanswered&) {
    throw;
  } catch (...) {
  }
}

}  // namespace kx::ui
