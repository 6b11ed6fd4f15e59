#include "qt/template_dialogs.h"

#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QSplitter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>

#include "qt/cp1252.h"

namespace kx::qt {

namespace {

// Cells the user only reads.
class ReadOnlyDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  QWidget* createEditor(QWidget*, const QStyleOptionViewItem&, const QModelIndex&) const override {
    return nullptr;
  }
};

// A value cell: an editable drop-down of the presenter's choices.
class ChoiceDelegate : public QStyledItemDelegate {
 public:
  ChoiceDelegate(std::shared_ptr<QStringList> choices, QObject* parent)
      : QStyledItemDelegate(parent), choices_(std::move(choices)) {}
  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                        const QModelIndex&) const override {
    auto* combo = new QComboBox(parent);
    combo->setEditable(true);
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->addItems(*choices_);
    return combo;
  }
  void setEditorData(QWidget* editor, const QModelIndex& index) const override {
    static_cast<QComboBox*>(editor)->setEditText(index.data(Qt::EditRole).toString());
  }
  void setModelData(QWidget* editor, QAbstractItemModel* model,
                    const QModelIndex& index) const override {
    model->setData(index, static_cast<QComboBox*>(editor)->currentText(), Qt::EditRole);
  }

 private:
  std::shared_ptr<QStringList> choices_;
};

GridWidget* NewGrid(QWidget* parent, const QStringList& headers) {
  auto* grid = new GridWidget(parent);
  grid->setColumnCount(static_cast<int>(headers.size()));
  grid->setHorizontalHeaderLabels(headers);
  grid->setSelectionBehavior(QAbstractItemView::SelectRows);
  grid->setSelectionMode(QAbstractItemView::SingleSelection);
  return grid;
}

// Parameter grids: every column read-only but `editable` ones; `choice` drops down.
void SetUpParameterGrid(GridWidget* grid, std::initializer_list<int> editable, int choice,
                        std::shared_ptr<QStringList> choices) {
  grid->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                        QAbstractItemView::AnyKeyPressed | QAbstractItemView::SelectedClicked);
  for (int column = 0; column < grid->columnCount(); ++column) {
    bool user = std::find(editable.begin(), editable.end(), column) != editable.end();
    if (column == choice)
      grid->setItemDelegateForColumn(column, new ChoiceDelegate(choices, grid));
    else if (!user)
      grid->setItemDelegateForColumn(column, new ReadOnlyDelegate(grid));
  }
}

QStringList ToQtList(const std::vector<std::string>& items) {
  QStringList list;
  for (const std::string& item : items) list << ToQt(item);
  return list;
}

QHBoxLayout* ButtonColumnRow(std::initializer_list<QPushButton*> buttons) {
  auto* row = new QHBoxLayout;
  row->addStretch();
  for (QPushButton* button : buttons) row->addWidget(button);
  return row;
}

// A label of several lines: the presenter's CR LF line breaks shown as lines.
class LinesLabel : public QtLabel {
 public:
  using QtLabel::QtLabel;
  void SetCaption(const std::string& caption) override {
    QtLabel::SetCaption(caption);
    Widget()->setText(Widget()->text().replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
  }
};

template <typename T>
void Add(std::vector<ui::Control*>& controls, const std::unique_ptr<T>& control) {
  controls.push_back(control.get());
}

}  // namespace

// ---- A text box of several lines ----

QtTextArea::QtTextArea(std::string name, QPlainTextEdit* edit) : QtControl(std::move(name), edit) {
  edit->setTabChangesFocus(true);
}

void QtTextArea::SetText(const std::string& text) {
  ++writing_;
  QString shown = ToQt(text);
  shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  Widget()->setPlainText(shown);
  --writing_;
}

std::string QtTextArea::Text() const {
  QString text = Widget()->toPlainText();
  text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
  return FromQt(text);
}

// ---- frmtemplate ----

QtTemplateManagerView::QtTemplateManagerView() : QtView(new FormDialog) {
  auto* dialog = static_cast<FormDialog*>(top_);
  dialog->resize(640, 520);
  window_ = std::make_unique<QtWindow>("frmtemplate", dialog, dialog);

  auto* file = new QLabel(dialog);
  file->setTextInteractionFlags(Qt::TextSelectableByMouse);
  lblfile_ = std::make_unique<QtLabel>("lblfile", file);

  auto* list = NewGrid(dialog, {QStringLiteral("Template"), QStringLiteral("Description")});
  list->setEditTriggers(QAbstractItemView::NoEditTriggers);
  templates_ = std::make_unique<QtGrid>("ssdgridtemplates", list);
  templates_->Follow(nullptr, [this] {
    if (events_) Fire([&] { events_->ssdgridtemplates_RowColChange(); });
  });
  QObject::connect(list, &GridWidget::rowDoubleClicked, guard_.get(), [this] {
    if (events_) Fire([&] { events_->ssdgridtemplates_DblClick(); });
  });

  auto* body = new QLabel(dialog);
  body->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  body->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  body->setTextInteractionFlags(Qt::TextSelectableByMouse);
  lblbody_ = std::make_unique<LinesLabel>("lblbody", body);
  auto* body_area = new QScrollArea(dialog);
  body_area->setWidget(body);
  body_area->setWidgetResizable(true);

  auto* params = NewGrid(dialog, {QStringLiteral("Parameter"), QStringLiteral("Description"),
                                  QStringLiteral("Value")});
  SetUpParameterGrid(params, {}, 2, choices_);
  params_ = std::make_unique<QtGrid>("ssdgridparams", params);
  QObject::connect(params, &QTableWidget::itemChanged, guard_.get(),
                   [this](QTableWidgetItem* item) {
                     if (!events_ || params_->Writing() || item->column() != 2) return;
                     const int32_t row = item->row();
                     std::string text = FromQt(item->text());
                     Fire([&] { events_->ssdgridparams_Change(row, text); });
                   });

  auto button = [&](const char* name, void (ui::TemplateManagerEvents::*handler)()) {
    auto* widget = new QPushButton(dialog);
    widget->setAutoDefault(false);
    QObject::connect(widget, &QPushButton::clicked, guard_.get(), [this, handler] {
      if (events_) Fire([&] { (events_->*handler)(); });
    });
    return std::make_unique<QtButton>(name, widget);
  };
  cmdadd_ = button("cmdadd", &ui::TemplateManagerEvents::cmdadd_Click);
  cmdedit_ = button("cmdedit", &ui::TemplateManagerEvents::cmdedit_Click);
  cmdremove_ = button("cmdremove", &ui::TemplateManagerEvents::cmdremove_Click);
  cmdfile_ = button("cmdfile", &ui::TemplateManagerEvents::cmdfile_Click);
  cmdapply_ = button("cmdapply", &ui::TemplateManagerEvents::cmdapply_Click);
  cmdclose_ = button("cmdclose", &ui::TemplateManagerEvents::cmdclose_Click);
  QObject::connect(dialog, &FormDialog::escapePressed, guard_.get(), [this] {
    if (events_) Fire([&] { events_->cmdclose_Click(); });
  });

  auto* side = new QVBoxLayout;
  for (QPushButton* b : {cmdadd_->Widget(), cmdedit_->Widget(), cmdremove_->Widget()})
    side->addWidget(b);
  side->addSpacing(12);
  side->addWidget(cmdfile_->Widget());
  side->addStretch();
  auto* top = new QHBoxLayout;
  top->addWidget(list, 1);
  top->addLayout(side);

  auto* layout = new QVBoxLayout(dialog);
  layout->addWidget(file);
  layout->addLayout(top, 3);
  layout->addWidget(body_area, 2);
  layout->addWidget(params, 2);
  layout->addLayout(ButtonColumnRow({cmdapply_->Widget(), cmdclose_->Widget()}));
}

QtTemplateManagerView::~QtTemplateManagerView() = default;

void QtTemplateManagerView::SetEvents(ui::TemplateManagerEvents* events) {
  events_ = events;
  window_->SetEvents(events);
}

void QtTemplateManagerView::SetValueChoices(const std::vector<std::string>& choices) {
  *choices_ = ToQtList(choices);
}

std::vector<ui::Control*> QtTemplateManagerView::Controls() {
  std::vector<ui::Control*> controls;
  Add(controls, lblfile_);
  Add(controls, templates_);
  Add(controls, lblbody_);
  Add(controls, params_);
  Add(controls, cmdadd_);
  Add(controls, cmdedit_);
  Add(controls, cmdremove_);
  Add(controls, cmdfile_);
  Add(controls, cmdapply_);
  Add(controls, cmdclose_);
  return controls;
}

// ---- frmtempladd ----

QtTemplateEditorView::QtTemplateEditorView() : QtView(new FormDialog) {
  auto* dialog = static_cast<FormDialog*>(top_);
  dialog->resize(560, 520);
  window_ = std::make_unique<QtWindow>("frmtempladd", dialog, dialog);

  txtname_ = std::make_unique<QtTextBox>("txtname", new QLineEdit(dialog));
  auto* description = new QPlainTextEdit(dialog);
  description->setMaximumHeight(description->fontMetrics().height() * 4);
  txtdescription_ = std::make_unique<QtTextArea>("txtdescription", description);
  auto* body = new QPlainTextEdit(dialog);
  body->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  body->setLineWrapMode(QPlainTextEdit::NoWrap);
  txtbody_ = std::make_unique<QtTextArea>("txtbody", body);
  QObject::connect(body, &QPlainTextEdit::textChanged, guard_.get(), [this] {
    if (events_ && !txtbody_->Writing()) Fire([&] { events_->txtbody_Change(); });
  });

  auto* params = NewGrid(dialog, {QStringLiteral("Parameter"), QStringLiteral("Description"),
                                  QStringLiteral("Default Value")});
  SetUpParameterGrid(params, {1}, 2, choices_);
  params_ = std::make_unique<QtGrid>("ssdgridparams", params);
  QObject::connect(params, &QTableWidget::itemChanged, guard_.get(),
                   [this](QTableWidgetItem* item) {
                     if (!events_ || params_->Writing() || item->column() < 1) return;
                     const int32_t row = item->row(), column = item->column();
                     std::string text = FromQt(item->text());
                     Fire([&] { events_->ssdgridparams_Change(row, column, text); });
                   });

  auto button = [&](const char* name, void (ui::TemplateEditorEvents::*handler)()) {
    auto* widget = new QPushButton(dialog);
    widget->setAutoDefault(false);
    QObject::connect(widget, &QPushButton::clicked, guard_.get(), [this, handler] {
      if (events_) Fire([&] { (events_->*handler)(); });
    });
    return std::make_unique<QtButton>(name, widget);
  };
  cmdok_ = button("cmdok", &ui::TemplateEditorEvents::cmdok_Click);
  cmdcancel_ = button("cmdcancel", &ui::TemplateEditorEvents::cmdcancel_Click);
  QObject::connect(dialog, &FormDialog::escapePressed, guard_.get(), [this] {
    if (events_) Fire([&] { events_->cmdcancel_Click(); });
  });

  auto* form = new QFormLayout;
  form->addRow(QStringLiteral("&Name:"), txtname_->Widget());
  form->addRow(QStringLiteral("&Description:"), description);
  auto* layout = new QVBoxLayout(dialog);
  layout->addLayout(form);
  auto* body_label = new QLabel(QStringLiteral("&Body (parameters as <<Name>>):"), dialog);
  body_label->setBuddy(body);
  layout->addWidget(body_label);
  layout->addWidget(body, 3);
  layout->addWidget(params, 2);
  layout->addLayout(ButtonColumnRow({cmdok_->Widget(), cmdcancel_->Widget()}));
}

QtTemplateEditorView::~QtTemplateEditorView() = default;

void QtTemplateEditorView::SetEvents(ui::TemplateEditorEvents* events) {
  events_ = events;
  window_->SetEvents(events);
}

void QtTemplateEditorView::SetValueChoices(const std::vector<std::string>& choices) {
  *choices_ = ToQtList(choices);
}

std::vector<ui::Control*> QtTemplateEditorView::Controls() {
  std::vector<ui::Control*> controls;
  Add(controls, txtname_);
  Add(controls, txtdescription_);
  Add(controls, txtbody_);
  Add(controls, params_);
  Add(controls, cmdok_);
  Add(controls, cmdcancel_);
  return controls;
}

}  // namespace kx::qt
