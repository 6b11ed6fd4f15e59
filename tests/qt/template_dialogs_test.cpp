// The template manager and editor on their Qt views, run modally and played with QTest.

#include <gtest/gtest.h>

#include <QComboBox>
#include <QTemporaryDir>
#include <QTest>

#include "qt_rig.h"
#include "runtime/files.h"
#include "templates/frm_template.h"

namespace kx {
namespace {

using testing::WhenModal;

TEST(QtTemplateDialogs, ManagerAddsThroughTheEditorAndAppliesWithAPickedValue) {
  QTemporaryDir dir;
  const std::string file = (dir.path() + QStringLiteral("/t.tpl")).toStdString();
  WriteWholeFile(file,
                 "@BeginTemplate Trim\r\n  @BeginBody\r\nTrim(<<V>>)\r\n  @EndBody\r\n"
                 "  @BeginParameter\r\n    @Name=V\r\n    @DefaultValue=^c\r\n"
                 "  @EndParameter\r\n@EndTemplate Trim\r\n");
  qt::Environment env;
  ui::RecordingMessageBox box;
  ui::Services services = env.Services();
  services.message_box = &box;
  std::string applied_value;
  frmtemplate manager({services, "P", ""}, [&](const ExprTemplateRef& chosen) {
    applied_value = chosen->ParameterbyName("V")->Value();
    return true;
  });

  WhenModal([&](QWidget* window) {
    qt::QtTemplateManagerView& m = *env.dialogs().TemplateManager();
    ASSERT_EQ(window, m.TopLevel());
    // The editor: the parameter grid follows the body as it is typed.
    WhenModal(
        [&](QWidget*) {
          qt::QtTemplateEditorView& e = *env.dialogs().TemplateEditor();
          QTest::keyClicks(e.txtname().Widget(), "Wrap");
          QTest::keyClicks(e.txtbody().Widget(), "If <<A>> Then <<B");
          EXPECT_EQ(e.ssdgridparams().Rows(), 1);
          QTest::keyClicks(e.txtbody().Widget(), ">>");
          EXPECT_EQ(e.ssdgridparams().Rows(), 2);
          QTest::mouseClick(e.cmdok().Widget(), Qt::LeftButton);
        },
        window);
    QTest::mouseClick(m.cmdadd().Widget(), Qt::LeftButton);
    EXPECT_EQ(m.ssdgridtemplates().Rows(), 2);
    EXPECT_EQ(m.ssdgridtemplates().CellText(m.ssdgridtemplates().CurrentRow()), "Wrap");

    // Back on Trim, its value picked from the value cell's drop-down.
    QTableWidget* list = m.ssdgridtemplates().Widget();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualItemRect(list->item(0, 0)).center());
    ASSERT_EQ(m.ssdgridparams().CellText(0), "V");
    QTableWidget* params = m.ssdgridparams().Widget();
    params->editItem(params->item(0, 2));
    auto* combo = params->viewport()->findChild<QComboBox*>();
    ASSERT_NE(combo, nullptr);
    combo->setCurrentIndex(combo->findText(QStringLiteral("Highlighted Text")));
    QTest::keyClick(combo, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_EQ(m.ssdgridparams().CellText(0, 2), "Highlighted Text");
    QTest::mouseClick(m.cmdapply().Widget(), Qt::LeftButton);
  });
  manager.Show(file, "Trim");

  EXPECT_EQ(applied_value, "^h");
  ASSERT_TRUE(manager.Applied());
  EXPECT_EQ(manager.Applied()->Name(), "Trim");
  ExprTemplates saved;
  ASSERT_TRUE(saved.LoadFrom(file));
  ASSERT_EQ(saved.Count(), 2);
  EXPECT_EQ(saved.Item("Wrap")->Body(), "If <<A>> Then <<B>>");
  EXPECT_TRUE(box.shown.empty());
}

}  // namespace
}  // namespace kx
