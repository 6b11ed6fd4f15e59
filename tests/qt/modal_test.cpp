// Real modal runs: the window's own event loop, the user played by QTest once it is up.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>

#include "functions/frm_function.h"
#include "qt/cp1252.h"
#include "qt_rig.h"
#include "templates/frm_inputbox.h"
#include "templates/frm_prompt.h"

namespace kx {
namespace {

using testing::QtRig;
using testing::WhenModal;

QPushButton* ButtonNamed(QWidget* window, const QString& text) {
  for (QPushButton* button : window->findChildren<QPushButton*>())
    if (button->text() == text) return button;
  ADD_FAILURE() << "no button " << text.toStdString();
  return nullptr;
}

// The user edits a cell as in any grid: click it, F2, replace the text, Enter.
void TypeIntoCell(QTableWidget* grid, int row, int column, const QString& text) {
  QRect cell = grid->visualItemRect(grid->item(row, column));
  QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, cell.center());
  QTest::keyClick(grid, Qt::Key_F2);
  QLineEdit* editor = nullptr;  // closed editors are hidden until they are deleted
  for (QLineEdit* open : grid->viewport()->findChildren<QLineEdit*>())
    if (open->isVisible()) editor = open;
  ASSERT_NE(editor, nullptr);
  editor->selectAll();
  if (text.isEmpty())
    QTest::keyClick(editor, Qt::Key_Delete);
  else
    QTest::keyClicks(editor, text);
  QTest::keyClick(editor, Qt::Key_Return);
  QCoreApplication::processEvents();  // the delegate commits from the event loop
  EXPECT_EQ(grid->item(row, column)->text(), text);
}

TEST(QtModal, BuilderShowReturnsOnOkCancelAndTheCloseBox) {
  QtRig rig;
  rig.builder->Expression("Trim$(x)");
  WhenModal([&](QWidget* window) {
    EXPECT_EQ(window, rig.view().Main());
    EXPECT_EQ(rig.view().KXEditor1().Text(), "Trim$(x)");
    QTest::keyClicks(rig.view().KXEditor1().Widget(), " & ");
    QKeyEvent accent(QEvent::KeyPress, 0, Qt::NoModifier, QStringLiteral("\u00e9"));
    QApplication::sendEvent(rig.view().KXEditor1().Widget(), &accent);
    QTest::mouseClick(rig.view().Command("cmdok").Widget(), Qt::LeftButton);
  });
  rig.builder->Show(1);
  EXPECT_FALSE(rig.view().Main()->isVisible());
  EXPECT_EQ(rig.builder->Expression(), "Trim$(x) & \xe9");

  for (bool close_box : {false, true}) {
    WhenModal([&](QWidget* window) {
      QTest::keyClicks(rig.view().KXEditor1().Widget(), "lost");
      if (close_box)
        window->close();
      else
        QTest::mouseClick(rig.view().Command("cmdcancel").Widget(), Qt::LeftButton);
    });
    rig.builder->Show(1);
    EXPECT_EQ(rig.builder->Expression(), "Trim$(x) & \xe9") << close_box;
  }
}

TEST(QtModal, FunctionDialogFromTheGridComposesWhatTheUserTyped) {
  QtRig rig;
  WhenModal([&](QWidget* builder) {
    qt::QtExprBldView& view = rig.view();
    QTest::mouseClick(view.TreeView1().Widget()->viewport(), Qt::LeftButton, {},
                      view.TreeView1().Widget()->visualRect(view.TreeView1().Item("FC")).center());
    qt::TokenListWidget* grid = view.ssdgridtokens().Widget();
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {},
                      grid->visualRect(grid->model()->index(2, 0)).center());  // If...Then...Else
    WhenModal(
        [&](QWidget* dialog) {
          auto* args = dialog->findChild<QTableWidget*>();
          ASSERT_NE(args, nullptr);
          EXPECT_EQ(args->rowCount(), 3);
          EXPECT_FALSE(args->item(0, 0)->flags() & Qt::ItemIsEditable);  // names stay
          EXPECT_EQ(args->item(0, 0)->text(), QStringLiteral("condition"));
          TypeIntoCell(args, 0, 1, QStringLiteral("a = 1"));
          TypeIntoCell(args, 2, 1, QString());
          QTest::mouseClick(ButtonNamed(dialog, QStringLiteral("OK")), Qt::LeftButton);
        },
        builder);
    QTest::keyClick(grid, Qt::Key_F4);  // the function-builder gesture: a nested modal run
    EXPECT_EQ(view.KXEditor1().Text(), "If a = 1 Then\r\n  [statement block1]\r\nElse\r\nEnd if");
    QTest::mouseClick(view.Command("cmdok").Widget(), Qt::LeftButton);
  });
  rig.builder->Show(1);
  EXPECT_EQ(rig.builder->Expression(), "If a = 1 Then\r\n  [statement block1]\r\nElse\r\nEnd if");

  // Escape is the dialog's Cancel; the close box too: nothing comes back.
  for (bool close_box : {false, true}) {
    WhenModal([&](QWidget* dialog) {
      if (close_box)
        dialog->close();
      else
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    EXPECT_EQ(LoadFunctionBuilder(rig.context.services, *rig.builder, "[While...Wend]", ""), "");
  }
  EXPECT_TRUE(rig.box.shown.empty());
}

TEST(QtModal, PromptAndInputBoxHandBackWhatWasTyped) {
  QtRig rig;
  WhenModal([](QWidget* dialog) {
    QTest::keyClicks(dialog->findChild<QLineEdit*>(), "rate");
    QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Return);  // Enter is OK
  });
  EXPECT_EQ(AskInputBox(rig.context.services, *rig.builder, "Enter parameter name"), "rate");

  frmprompt prompt(rig.context.services, *rig.builder);
  prompt.Load();
  prompt.View().ssdcbovalue().AddItem("[CustomerNo]");
  WhenModal([](QWidget* dialog) {
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Enter or Select Value"));
    auto* combo = dialog->findChild<QComboBox*>();
    combo->setCurrentIndex(0);
    QTest::keyClicks(combo->lineEdit(), "!");
    auto* same = dialog->findChild<QCheckBox*>();
    QTest::mouseClick(same, Qt::LeftButton, {}, QPoint(8, same->height() / 2));
    QTest::mouseClick(ButtonNamed(dialog, QStringLiteral("OK")), Qt::LeftButton);
  });
  prompt.Show();
  EXPECT_TRUE(prompt.Accepted());
  EXPECT_EQ(prompt.Value(), "[CustomerNo]!");
  EXPECT_TRUE(prompt.SameValue());
  prompt.Unload();
}

TEST(QtModal, MessageBoxAnswersWithThePlatformsNumbers) {
  qt::QtMessageBox box;
  struct Case {
    int flags;
    QMessageBox::StandardButton press;  // NoButton: the close box
    int answer;
  };
  const Case cases[] = {
      {ui::kMbYesNo | ui::kMbQuestion, QMessageBox::No, ui::kAnswerNo},
      {ui::kMbYesNoCancel, QMessageBox::Yes, ui::kAnswerYes},
      {ui::kMbOkCancel | ui::kMbExclamation, QMessageBox::NoButton, ui::kAnswerCancel},
      {ui::kMbOk | ui::kMbCritical, QMessageBox::NoButton, ui::kAnswerOk},
  };
  for (const Case& c : cases) {
    WhenModal([&](QWidget* window) {
      auto* message = qobject_cast<QMessageBox*>(window);
      ASSERT_NE(message, nullptr);
      EXPECT_EQ(message->text(), QStringLiteral("Sure \u20ac?"));
      if (c.press == QMessageBox::NoButton)
        message->close();
      else
        message->button(c.press)->click();
    });
    EXPECT_EQ(box.Show("Sure \x80?", c.flags, "Title"), c.answer) << c.flags;
  }
}

TEST(QtServices, FileFiltersAndHelp) {
  EXPECT_EQ(qt::QtFilter("Text Files (*.txt)|*.txt").toStdString(), "Text Files (*.txt)");
  EXPECT_EQ(qt::QtFilter("Text (*.txt)|*.txt;*.text|All Files (*.*)|*.*").toStdString(),
            "Text (*.txt *.text);;All Files (*.*)");
  EXPECT_EQ(qt::QtFilter("Initialization Files|*.ini").toStdString(),
            "Initialization Files (*.ini)");

  QStringList opened;
  qt::QtHelpViewer help([&](const QString& path) {
    opened << path;
    return true;
  });
  help.ShowContext("/tmp/kx help.chm", 1123);
  EXPECT_EQ(opened, QStringList{QStringLiteral("/tmp/kx help.chm")});
}

}  // namespace
}  // namespace kx
