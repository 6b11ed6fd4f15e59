#include "functions/frm_function.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "dialog_builder.h"
#include "ui/headless/headless.h"

namespace kx {
namespace {

using ui::headless::HeadlessFunctionView;
using Edits = std::vector<std::pair<int, std::string>>;

struct DialogTest : ::testing::Test {
  DialogTest() { builder.type_lib_path = KX_SOURCE_DIR "/data/kx750ui_fn.dll"; }

  // Runs the dialog for the gesture's text: the user types `edits`, then `act`.
  std::string Build(const std::string& text, Edits edits,
                    std::function<void(HeadlessFunctionView&)> act = nullptr) {
    env.AnswerFunction([=](HeadlessFunctionView& view) {
      for (const auto& [row, value] : edits) view.EditValue(row, value);
      if (act) act(view);
      view.Press("cmdok");
    });
    return LoadFunctionBuilder(env.Services(), builder, text, help_file);
  }

  ui::headless::Environment env;
  StoredBuilder builder;
  std::string help_file;
};

TEST_F(DialogTest, ComposesWhatTheUserFilledIn) {
  const struct {
    std::string text;
    Edits edits;
    std::string result;
  } cases[] = {
      // Bare constructs are calls; a required value stays even when left as its name.
      {"[GoTo]GoTo label", {}, "GoTo(label)"},
      {"[On Error GoTo]On Error GoTo errlabel", {{0, "fail"}}, "On Error GoTo(fail)"},
      {"[Resume Next]Resume Next", {}, "Resume Next()"},
      {"[Return]Return value", {}, "Return()"},  // optional and equal to its name
      {"[Return]Return value", {{0, "5"}}, "Return(5)"},
      {"[If...Then...Else]If condition then",
       {{0, "a = 1"}, {2, ""}},
       "If a = 1 Then\r\n  [statement block1]\r\nElse\r\nEnd if"},
      {"[For...Next]For counter = start to end [Step incr]",
       {{0, "i"}, {3, ""}, {4, ""}},
       "For i = 1 to 100\r\nNext 'i"},
      {"[Select Case...End Select]",
       {{0, "x"}, {1, "1"}, {3, "2"}, {4, "y"}},
       "Select Case x\r\n  Case 1\r\n    [statement block1]\r\n  Case 2\r\n    y\r\nEnd Select"},
      // Host library members: "_Dollar" becomes "$"; their arguments start empty and
      // optional, so the first one empty or equal to its name ends the list.
      {"[Left_Dollar]Left$(String, Length)", {{0, "s"}, {1, "3"}}, "Left$(s, 3)"},
      {"[Mid_Dollar]", {{0, "s"}, {1, "2"}, {2, "Length"}}, "Mid$(s, 2)"},
      {"[InStr]", {{0, "a"}, {2, "5"}}, "InStr(a)"},
      {"  Len ", {}, "Len()"},
  };
  for (const auto& c : cases) EXPECT_EQ(Build(c.text, c.edits), c.result) << c.text;
  EXPECT_TRUE(env.driver().Messages().empty());
}

TEST_F(DialogTest, ShowsTheFunctionAndTheParameterTextOfEachRow) {
  std::vector<std::string> per_row;
  Build("[Mid_Dollar]", {}, [&](HeadlessFunctionView& view) {
    for (int row : {1, 2, 0}) {
      view.MoveToRow(row);
      EXPECT_EQ(view.ssdgridargs().ScrolledTo(), row);
      per_row.push_back(view.txtParameters().Text());
    }
  });
  // A ";" inside an argument's own text cuts it short.
  EXPECT_EQ(per_row, (std::vector<std::string>{
                         "Character position at which the part to be taken begins.",
                         "Number of characters to return",
                         "String expression from which characters are returned.",
                     }));
  HeadlessFunctionView& view = *env.Function();
  EXPECT_EQ(view.lblfuncname().Caption(), "Mid$");
  EXPECT_EQ(view.lbldescription().Caption().substr(0, 5), "Mid$(");
  EXPECT_EQ(view.ssdgridargs().CellText(2, 0), "Length");
  EXPECT_EQ(view.ssdgridargs().ColumnWidth(0), view.TextWidth("strConversionName"));
  EXPECT_EQ(view.ssdgridargs().ColumnWidth(1), view.TextWidth("AAAAA"));
  EXPECT_EQ(view.cmdok().FontName(), "Tahoma");

  Build("[For...Next]", {});
  HeadlessFunctionView& construct = *env.Function();
  EXPECT_EQ(construct.ssdgridargs().CellText(4, 1), "[statement block]");
  EXPECT_EQ(construct.txtParameters().Text(), "");
  EXPECT_EQ(construct.cmdhelp().HelpContextID(), 4058);
}

TEST_F(DialogTest, CancelCloseBoxHelpAndTheNamesColumn) {
  env.AnswerFunction([](HeadlessFunctionView& view) {
    view.EditValue(0, "5");
    view.Press("cmdhelp");
    auto& grid = view.ssdgridargs();
    grid.SetCurrentColumn(0);
    view.KeyDown(65);
    EXPECT_EQ(grid.CurrentColumn(), 0);
    view.KeyDown(kArgumentGridKey);
    EXPECT_EQ(grid.CurrentColumn(), 1);
    view.Press("cmdcancel");
  });
  EXPECT_EQ(LoadFunctionBuilder(env.Services(), builder, "[Return]", ""), "");
  ASSERT_EQ(env.driver().Messages().size(), 1u);
  EXPECT_EQ(env.driver().Messages()[0].text, "No help file provided.");

  // The close box cancels the unload: the dialog stays loaded and hidden.
  env.AnswerFunction([](HeadlessFunctionView& view) {
    view.EditValue(0, "5");
    view.Press("cmdhelp");
    EXPECT_FALSE(view.Form().CloseBox());
    EXPECT_TRUE(view.Form().Loaded());
  });
  EXPECT_EQ(LoadFunctionBuilder(env.Services(), builder, "[GoTo]", "kx.hlp"), "");
  ASSERT_EQ(env.help().Requests().size(), 1u);
  EXPECT_EQ(env.help().Requests()[0].context, 4064);
  EXPECT_EQ(env.help().Requests()[0].help_file, "kx.hlp");
}

}  // namespace
}  // namespace kx
