#include "qt/find_replace.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "qt/cp1252.h"
#include "qt/editor.h"

namespace kx::qt {

FindReplaceDialog::FindReplaceDialog(QtEditor& editor, bool replace, QWidget* parent)
    : QDialog(parent), editor_(editor) {
  setWindowTitle(replace ? QStringLiteral("Replace") : QStringLiteral("Find"));
  auto* form = new QFormLayout;
  find_ = new QLineEdit(this);
  form->addRow(QStringLiteral("Fi&nd what:"), find_);
  if (replace) {
    with_ = new QLineEdit(this);
    form->addRow(QStringLiteral("Re&place with:"), with_);
  }
  match_case_ = new QCheckBox(QStringLiteral("Match &case"), this);
  form->addRow(QString(), match_case_);
  status_ = new QLabel(this);
  form->addRow(QString(), status_);

  auto* buttons = new QVBoxLayout;
  find_next_ = new QPushButton(QStringLiteral("&Find Next"), this);
  find_next_->setDefault(true);
  buttons->addWidget(find_next_);
  if (replace) {
    replace_ = new QPushButton(QStringLiteral("&Replace"), this);
    replace_all_ = new QPushButton(QStringLiteral("Replace &All"), this);
    buttons->addWidget(replace_);
    buttons->addWidget(replace_all_);
  }
  auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
  buttons->addWidget(cancel);
  buttons->addStretch();

  auto* layout = new QHBoxLayout(this);
  layout->addLayout(form, 1);
  layout->addLayout(buttons);

  auto what = [this] { return FromQt(find_->text()); };
  auto with = [this] { return with_ ? FromQt(with_->text()) : std::string(); };
  connect(find_next_, &QPushButton::clicked, this,
          [=, this] { Report(editor_.FindNext(what(), match_case_->isChecked()), -1); });
  if (replace) {
    connect(replace_, &QPushButton::clicked, this, [=, this] {
      editor_.ReplaceNext(what(), with(), match_case_->isChecked());
      Report(editor_.LastSearchFound(), -1);
    });
    connect(replace_all_, &QPushButton::clicked, this, [=, this] {
      Report(true, editor_.ReplaceAll(what(), with(), match_case_->isChecked()));
    });
  }
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  auto enable = [this] {
    bool any = !find_->text().isEmpty();
    find_next_->setEnabled(any);
    if (replace_) replace_->setEnabled(any);
    if (replace_all_) replace_all_->setEnabled(any);
  };
  connect(find_, &QLineEdit::textChanged, this, enable);
  enable();
}

void FindReplaceDialog::Report(bool found, int replaced) {
  if (replaced >= 0)
    status_->setText(replaced == 1 ? QStringLiteral("Replaced 1 occurrence.")
                                   : QStringLiteral("Replaced %1 occurrences.").arg(replaced));
  else
    status_->setText(found ? QString() : QStringLiteral("Cannot find \"%1\".").arg(find_->text()));
}

namespace {

void Run(QtEditor& editor, bool replace) {
  FindReplaceDialog dialog(editor, replace, editor.Widget()->window());
  // A one-line selection is what the user wants to look for.
  int32_t length = editor.SelectionLength();
  if (length > 0) {
    std::string selected = editor.Text().substr(static_cast<size_t>(editor.SelectionStart() - 1),
                                                static_cast<size_t>(length));
    if (selected.find_first_of("\r\n") == std::string::npos)
      dialog.FindText()->setText(ToQt(selected));
  }
  dialog.FindText()->selectAll();
  dialog.exec();
}

}  // namespace

void RunFindDialog(QtEditor& editor) {
  Run(editor, false);
}

void RunReplaceDialog(QtEditor& editor) {
  Run(editor, true);
}

}  // namespace kx::qt
