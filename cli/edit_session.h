#pragma once
// The windows `kxexpr edit` runs on: the headless views, or the desktop's when kxexpr was
// built with them and a display is there. A script plays either through the same gestures.

#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ui/gestures.h"
#include "ui/headless/driver.h"
#include "ui/services.h"

namespace kx::cli {

class EditSession {
 public:
  virtual ~EditSession() = default;
  virtual ui::Services Services() = 0;
  virtual void SetKeywordDirs(std::vector<std::filesystem::path> dirs) = 0;
  // `play` runs once the builder's window is up and modal, and acts on it through the
  // gestures. Without it the user plays (desktop only).
  virtual void WhenBuilderShown(std::function<void(ui::ExprBldGestures&)> play) = 0;

  // The answers of the dialogs a script's actions open, each for the next one shown.
  virtual void AnswerFile(std::optional<std::string> name) = 0;
  virtual void AnswerMessage(int button) = 0;
  virtual void AnswerFind(std::string text) = 0;
  virtual void AnswerReplace(std::string find, std::string with) = 0;
  virtual void AnswerInput(std::string text) = 0;
  // `how`: "ok" (after typing `values` into the argument rows in order), "cancel", "close".
  virtual void AnswerFunction(std::string how, std::vector<std::string> values) = 0;
  // `how`: "ok" (after typing `text` and setting the "same value" box) or "cancel".
  virtual void AnswerPrompt(std::string how, bool same, std::string text) = 0;
  // The template manager and template editor, played step by step (docs/automation.md).
  // Sessions that cannot play them refuse the answer when it is queued.
  virtual void AnswerTemplateManager(std::vector<std::string> steps);
  virtual void AnswerTemplateEditor(std::vector<std::string> steps);
  // Answers queued and never asked for, one line each.
  virtual std::vector<std::string> Unused() const = 0;
  // The message boxes shown so far (scripted runs).
  virtual const std::vector<ui::headless::ShownMessage>& Messages() const = 0;

  // Writes a PNG of the builder's window as it is now; false with `error` set when it
  // cannot (the headless window has no picture).
  virtual bool Screenshot(const std::string& path, std::string& error) = 0;
  // What failed while the windows ran on their own (a dialog nobody answered), taken once.
  virtual std::exception_ptr TakeFailure() { return nullptr; }
};

std::unique_ptr<EditSession> NewHeadlessSession();

// The desktop's session: null, with `why` saying what is missing, when kxexpr has no
// desktop views or there is no display. `scripted`: a script plays the user, so message
// boxes and file dialogs take the script's answers instead of appearing.
std::unique_ptr<EditSession> NewDesktopSession(bool scripted, std::string& why);

// How the desktop views make their session; kxexpr registers it when it has them.
using DesktopSessionFactory =
    std::function<std::unique_ptr<EditSession>(bool scripted, std::string& why)>;
struct DesktopSessionRegistrar {
  explicit DesktopSessionRegistrar(DesktopSessionFactory factory);
};

}  // namespace kx::cli
