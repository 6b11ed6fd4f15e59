#pragma once
// The editor control's own find and replace dialogs.

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace kx::qt {

class QtEditor;

// Find: "Find Next" selects the next match (wrapping); the dialog stays until closed.
// Replace: "Replace" replaces the selected match and finds the next, "Replace All" every
// match as one undo step.
class FindReplaceDialog : public QDialog {
  Q_OBJECT
 public:
  FindReplaceDialog(QtEditor& editor, bool replace, QWidget* parent);

  QLineEdit* FindText() const { return find_; }
  QLineEdit* ReplaceText() const { return with_; }
  QCheckBox* MatchCase() const { return match_case_; }
  QPushButton* FindNextButton() const { return find_next_; }
  QPushButton* ReplaceButton() const { return replace_; }
  QPushButton* ReplaceAllButton() const { return replace_all_; }
  // What the last action found, for the user ("Replaced 3 occurrences.").
  QLabel* Status() const { return status_; }

 private:
  void Report(bool found, int replaced);

  QtEditor& editor_;
  QLineEdit* find_;
  QLineEdit* with_ = nullptr;
  QCheckBox* match_case_;
  QPushButton* find_next_;
  QPushButton* replace_ = nullptr;
  QPushButton* replace_all_ = nullptr;
  QLabel* status_;
};

// The dialogs the editor opens by default; the selection seeds the text sought.
void RunFindDialog(QtEditor& editor);
void RunReplaceDialog(QtEditor& editor);

}  // namespace kx::qt
