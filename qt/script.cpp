#include "qt/script.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QKeyEvent>
#include <QMenu>

#include <filesystem>

#include "qt/cp1252.h"
#include "runtime/error.h"
#include "ui/unanswered.h"

namespace kx::qt {

namespace {

template <typename Control>
bool Usable(const Control& control) {
  return control.Visible() && control.Enabled();
}

void SendKey(QWidget* widget, int key, const QString& text = QString()) {
  QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, text);
  QApplication::sendEvent(widget, &press);
  QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, text);
  QApplication::sendEvent(widget, &release);
}

}  // namespace

// ---- The editor window's gestures ----

template <typename Gesture>
bool QtGestures::Act(Gesture&& gesture) {
  gesture();
  if (std::exception_ptr escaped = TakeEscaped()) std::rethrow_exception(escaped);
  return true;
}

bool QtGestures::ClickNode(std::string_view key) {
  QtTreeView& tree = view_.TreeView1();
  if (!Usable(tree)) return false;
  const QModelIndex item = tree.Item(key);
  if (!item.isValid())
    throw ui::NoSuchGesture("TreeView1 has no node \"" + std::string(key) + "\"");
  return Act([&] {
    tree.Widget()->setCurrentIndex(item);
    tree.Widget()->scrollTo(item);
    emit tree.Widget()->nodeClicked(item);
  });
}

bool QtGestures::MoveToRow(int32_t row) {
  QtTokenGrid& grid = view_.ssdgridtokens();
  if (!Usable(grid)) return false;
  if (row < 0 || row >= grid.Rows())
    throw ui::NoSuchGesture("ssdgridtokens has no row " + std::to_string(row));
  if (row == grid.CurrentRow()) return true;
  return Act([&] { grid.Widget()->SetCurrentRow(row); });
}

bool QtGestures::EnsureRow(int32_t row) {
  QtTokenGrid& grid = view_.ssdgridtokens();
  return row == grid.CurrentRow() && Usable(grid) ? true : MoveToRow(row);
}

bool QtGestures::DoubleClickRow(int32_t row) {
  if (!EnsureRow(row)) return false;
  return Act([&] { emit view_.ssdgridtokens().Widget()->rowDoubleClicked(); });
}

bool QtGestures::BuildFunction(int32_t row) {
  if (!EnsureRow(row)) return false;
  return Act([&] { SendKey(view_.ssdgridtokens().Widget(), Qt::Key_F4); });
}

bool QtGestures::Press(std::string_view name) {
  for (QtButton* button : view_.Commands()) {
    if (button->Name() != name) continue;
    if (!Usable(*button)) return false;
    return Act([&] { button->Widget()->click(); });
  }
  throw ui::NoSuchGesture("frmExprBld has no button " + std::string(name));
}

bool QtGestures::ChooseMenu(std::string_view name) {
  std::vector<QtMenuItem*> menus = view_.Menus();
  auto find = [&](std::string_view wanted) -> QtMenuItem* {
    for (QtMenuItem* menu : menus)
      if (menu->Name() == wanted) return menu;
    return nullptr;
  };
  QtMenuItem* item = find(name);
  if (!item) throw ui::NoSuchGesture("frmExprBld has no menu item " + std::string(name));
  // An item is reachable only while every menu above it is.
  for (QtMenuItem* at = item; at; at = at->Def().parent.empty() ? nullptr : find(at->Def().parent))
    if (!Usable(*at)) return false;
  return Act([&] {
    if (item->Def().parent.empty())
      emit view_.MenuWidget(item->Name())->aboutToShow();
    else
      item->Action()->trigger();
  });
}

bool QtGestures::ClickToolbar(std::string_view key) {
  QtToolbar& bar = view_.tbar();
  QtToolbarButton* button = nullptr;
  for (int32_t i = 1; i <= bar.ButtonCount(); ++i)
    if (bar.Button(i).Key() == key && !key.empty())
      button = static_cast<QtToolbarButton*>(&bar.Button(i));
  if (!button) throw ui::NoSuchGesture("tbar has no button with key " + std::string(key));
  if (!Usable(bar) || !button->Enabled()) return false;
  return Act([&] { button->Action()->trigger(); });
}

bool QtGestures::Type(const std::string& text) {
  QtEditor& editor = view_.KXEditor1();
  if (!Usable(editor)) return false;
  return Act([&] {
    emit editor.Widget()->keyDown();
    editor.InsertText(text);
  });
}

bool QtGestures::ClickEditor(int32_t position) {
  QtEditor& editor = view_.KXEditor1();
  if (!Usable(editor)) return false;
  return Act([&] {
    emit editor.Widget()->mouseDown();
    editor.SetCaretPosition(position);
  });
}

void QtGestures::Resize(int32_t width, int32_t height) {
  QWidget* window = view_.Main();
  QWidget* client = view_.Main()->centralWidget();
  const QSize wanted(PixelsX(width, client), PixelsY(height, client));
  Act([&] {
    window->resize(window->size() + wanted - client->size());
    // A window manager answers in its own time.
    QElapsedTimer waited;
    waited.start();
    while (client->size() != wanted && waited.elapsed() < 2000)
      QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
  });
}

bool QtGestures::CloseBox() {
  Act([&] { view_.Main()->close(); });
  return !view_.Form().IsShown();
}

std::vector<ui::MenuItem*> QtGestures::Menus() {
  std::vector<ui::MenuItem*> menus;
  for (QtMenuItem* menu : view_.Menus()) menus.push_back(menu);
  return menus;
}

std::vector<ui::Button*> QtGestures::Commands() {
  std::vector<ui::Button*> buttons;
  for (QtButton* button : view_.Commands()) buttons.push_back(button);
  return buttons;
}

// ---- Dialog gestures ----

bool EditArgument(QtFunctionView& view, int32_t row, const std::string& text) {
  QtGrid& grid = view.ssdgridargs();
  if (row < 0 || row >= grid.Rows() || grid.Widget()->columnCount() < 2) return false;
  grid.Widget()->setCurrentCell(row, 1);
  grid.Widget()->item(row, 1)->setText(ToQt(text));
  return true;
}

void TypeInput(QtInputBoxView& view, const std::string& text) {
  for (char byte : text) SendKey(view.txtinput().Widget(), 0, ToQt(std::string(1, byte)));
}

// ---- The desktop with its player ----

Desktop::Desktop(bool scripted) : scripted_(scripted) {
  if (scripted_)
    env_.SetEditorDialogs(
        [this](QtEditor& editor) { editor.FindNext(driver_.AnswerFind(), false); },
        [this](QtEditor& editor) {
          ui::headless::ReplaceAnswer answer = driver_.AnswerReplace();
          if (answer.all)
            editor.ReplaceAll(answer.find, answer.replacement, false);
          else
            editor.ReplaceNext(answer.find, answer.replacement, false);
        });
  // A check that fires when the clock says would make a script's result depend on its speed.
  if (scripted_) env_.SetLiveCheck({});
  QtWindow::SetModalHook([this](QtWindow& window) { OnModal(window); });
}

Desktop::~Desktop() {
  QtWindow::SetModalHook(nullptr);
}

ui::Services Desktop::Services() {
  ui::Services services = env_.Services();
  if (scripted_) {
    services.message_box = &message_box_;
    services.file_dialog = &file_dialog_;
  }
  return services;
}

void Desktop::WhenBuilderShown(std::function<void(ui::ExprBldGestures&)> play) {
  play_ = std::move(play);
}

void Desktop::AnswerFunction(std::function<void(QtFunctionView&)> answer) {
  functions_.push_back(std::move(answer));
}

void Desktop::AnswerPrompt(std::function<void(QtPromptView&)> answer) {
  prompts_.push_back(std::move(answer));
}

void Desktop::AnswerInputBox(std::function<void(QtInputBoxView&)> answer) {
  inputs_.push_back(std::move(answer));
}

void Desktop::AnswerFunction(const std::string& how, const std::vector<std::string>& values) {
  AnswerFunction([this, how, values](QtFunctionView& dialog) {
    if (how == "close") {
      dialog.TopLevel()->close();
      return;
    }
    if (how == "ok")
      for (size_t i = 0; i < values.size(); ++i)
        if (!EditArgument(dialog, static_cast<int32_t>(i), values[i]))
          throw ui::Unanswered("frmFunction has no argument row " + std::to_string(i) +
                               " for the value \"" + values[i] + "\"");
    DialogPicture(dialog.TopLevel(), "frmFunction");
    (how == "ok" ? dialog.cmdok() : dialog.cmdcancel()).Widget()->click();
  });
}

void Desktop::AnswerPrompt(const std::string& how, bool same, const std::string& text) {
  AnswerPrompt([this, how, same, text](QtPromptView& prompt) {
    if (how == "ok") {
      prompt.ssdcbovalue().Widget()->setEditText(ToQt(text));
      prompt.ssdchk3dsame().Widget()->setChecked(same);
    }
    DialogPicture(prompt.TopLevel(), "frmprompt");
    (how == "ok" ? prompt.cmdok() : prompt.cmdcancel()).Widget()->click();
  });
}

void Desktop::AnswerInput(const std::string& text) {
  AnswerInputBox([this, text](QtInputBoxView& box) {
    TypeInput(box, text);
    DialogPicture(box.TopLevel(), "frminputbox");
    box.OKButton().Widget()->click();
  });
}

std::vector<std::string> Desktop::Unused() const {
  std::vector<std::string> unused = driver_.Unused();
  for (size_t i = 0; i < functions_.size(); ++i) unused.push_back("an answer for frmFunction");
  for (size_t i = 0; i < prompts_.size(); ++i) unused.push_back("an answer for frmprompt");
  for (size_t i = 0; i < inputs_.size(); ++i) unused.push_back("an answer for frminputbox");
  return unused;
}

namespace {

template <typename View>
bool Answer(std::deque<std::function<void(View&)>>& answers, View* view, bool scripted,
            const std::string& name) {
  if (answers.empty()) {
    if (scripted) throw ui::Unanswered("nobody answered the modal window " + name);
    return false;  // the user answers it
  }
  auto answer = std::move(answers.front());
  answers.pop_front();
  if (view) answer(*view);
  return true;
}

}  // namespace

// Runs inside the window's modal loop: the window is up, whoever plays acts on it now.
void Desktop::OnModal(QtWindow& window) {
  const std::string name(window.Name());
  bool played = false;
  try {
    if (name == "frmExprBld") {
      if (QtExprBldView* view = env_.dialogs().ExprBld(); view && play_) {
        QtGestures gestures(*view);
        play_(gestures);
        played = true;
      } else if (scripted_) {
        throw ui::Unanswered("nobody plays the modal window frmExprBld");
      }
    } else if (name == "frmFunction") {
      played = Answer(functions_, env_.dialogs().Function(), scripted_, name);
    } else if (name == "frmprompt") {
      played = Answer(prompts_, env_.dialogs().Prompt(), scripted_, name);
    } else if (name == "frminputbox") {
      played = Answer(inputs_, env_.dialogs().InputBox(), scripted_, name);
    } else if (scripted_) {
      // A scripted run cannot answer this window here, so it fails instead of waiting.
      throw ui::Unanswered("the modal window " + name + " cannot be played in a desktop run");
    }
    if (played && window.IsShown())
      throw ui::Unanswered("the modal window " + name + " is still open: nobody closed it");
  } catch (...) {
    // The run fails where it stands; the window must not wait for a user who never comes.
    if (window.IsShown()) window.CloseBox();
    if (window.IsShown()) window.Hide();
    throw;
  }
}

void Desktop::DialogPicture(QWidget* dialog, const std::string& name) {
  if (picture_.empty() || !dialog) return;
  std::filesystem::path path(picture_);
  path.replace_filename(path.stem().string() + "-" + name + path.extension().string());
  QCoreApplication::processEvents();  // the values just typed are painted
  if (!dialog->grab().save(QFile::decodeName(QByteArray::fromStdString(path.string())), "PNG") &&
      picture_error_.empty())
    picture_error_ = "cannot write " + path.string();
}

bool Desktop::Screenshot(const std::string& path, std::string& error) {
  picture_ = path;
  if (!picture_error_.empty()) {
    error = picture_error_;
    return false;
  }
  QtExprBldView* view = env_.dialogs().ExprBld();
  if (!view) {
    error = "there is no editor window to take a picture of";
    return false;
  }
  QString file = QFile::decodeName(QByteArray::fromStdString(path));
  if (!view->Main()->grab().save(file, "PNG")) {
    error = "cannot write " + path;
    return false;
  }
  return true;
}

}  // namespace kx::qt
