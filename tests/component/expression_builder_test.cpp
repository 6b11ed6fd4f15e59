#include <gtest/gtest.h>

#include "builder_rig.h"
#include "component/registry.h"
#include "host/conversion_document.h"

namespace kx {
namespace {

using View = BuilderRig::View;

constexpr std::string_view kHostLibraryKey =
    "HKEY_LOCAL_MACHINE\\Software\\Classes\\CLSID\\{43A5AC4D-ACB7-11D3-96C0-00104B383C01}"
    "\\InprocServer32";

TEST(ExpressionBuilder, CreationDefaultsAndHostLibraryPath) {
  auto registry = std::make_shared<FileRegistry>();
  registry->SetValue(kHostLibraryKey, "", kRegSz,
                     std::string("C:\\Program Files\\KX\\KX750UI.DLL") + '\0');
  BuilderRig rig([&](ExprBldContext& context) { context.registry = registry; });
  ExpressionBuilder& b = *rig.builder;
  EXPECT_EQ(b.KXTypeLibPath(), "c:\\program files\\kx\\kx750ui.dll");
  EXPECT_FALSE(b.AllowTemplates() || b.AllowValidation() || b.ParameterButtonVisible());
  EXPECT_EQ(*b.Font(), (FontDesc{"MS Sans Serif", 8}));
  EXPECT_EQ(b.Expression() + b.FormTitle() + b.KeywordFile() + std::to_string(b.HelpID()), "0");
  // The window is loaded (its design is in the view) but not shown.
  View& v = rig.view();
  EXPECT_TRUE(v.Frame().Loaded() && !v.Frame().IsShown());
  EXPECT_EQ(v.Menus().size(), 27u);

  // Font and help context reach the window at once; menus and toolbar carry no font.
  b.Font(std::make_shared<FontDesc>(FontDesc{"Arial", 10}));
  b.HelpID(9);
  for (ui::Control* control : v.Controls()) EXPECT_EQ(control->HelpContextID(), 9);
  EXPECT_EQ(v.KXEditor1().FontName() + v.ssdgridtokens().FontName() +
                v.Command("cmdAnd").FontName() + v.Menu("mnuFile").FontName() + v.tbar().FontName(),
            "ArialArialArial");

  EXPECT_EQ(BuilderRig().builder->KXTypeLibPath(), "");  // no registry: no host library
}

TEST(ExpressionBuilder, ShowStartsFromExpressionWithKeywordsTitleAndHelpIds) {
  struct Case {
    std::string expression, keywords, title;
    std::string editor, keyword_file, caption;
  };
  const Case cases[] = {
      {"", "", "", "", "kxsyntax.ini", "Expression Builder"},
      {"A & B", "   ", "Rates", "A & B", "kxsyntax.ini", "Rates"},
      {"x", "mine.ini", "", "x", "mine.ini", "Expression Builder"},
  };
  BuilderRig rig;  // one builder, shown again and again
  rig.builder->HelpID(41);
  for (const Case& c : cases) {  // each Show starts afresh from the properties
    rig.builder->Expression(c.expression);
    rig.builder->KeywordFile(c.keywords);
    rig.builder->FormTitle(c.title);
    rig.ShowModal([&](View& v) {
      EXPECT_EQ(v.KXEditor1().Text(), c.editor);
      EXPECT_EQ(v.KXEditor1().KeywordFile(), c.keyword_file);
      EXPECT_EQ(v.Frame().Caption(), c.caption);
      EXPECT_EQ(v.Frame().HelpContextID(), 41);
      v.Type(" typed");
      v.Press("cmdcancel");
    });
  }
  // Modeless: no one needs to answer, the window stays up.
  rig.builder->Show(0);
  EXPECT_TRUE(rig.view().Frame().IsShown());
  EXPECT_GE(rig.view().Frame().TimesDoEvents(), 1);
}

TEST(ExpressionBuilder, WhicheverSideIsSetLastImportsTheSourceControl) {
  auto doc = host::ConversionDocument::Load(KX_SOURCE_DIR "/data/sample-conversion.json");
  BuilderRig rig;
  rig.builder->TargetControl(doc->Target());
  EXPECT_FALSE(doc->TargetImportedSource());
  rig.builder->SourceControl(doc->Source());
  EXPECT_TRUE(doc->TargetImportedSource());

  doc->SetTargetImportedSource(false);
  rig.builder->SourceControl(nullptr);
  EXPECT_FALSE(doc->TargetImportedSource());
  rig.builder->TargetControl(nullptr);
  rig.builder->SourceControl(doc->Source());
  EXPECT_FALSE(doc->TargetImportedSource());
  rig.builder->TargetControl(doc->Target());
  EXPECT_TRUE(doc->TargetImportedSource());
}

TEST(ExpressionBuilder, UserListsGoIntoTheTreeAndDestructionUnloadsTheWindow) {
  auto doc = host::ConversionDocument::Load(KX_SOURCE_DIR "/data/sample-conversion.json");
  auto registry = std::make_shared<FileRegistry>();
  registry->SetValue(kHostLibraryKey, "", kRegSz, std::string("kx750ui_fn.dll") + '\0');
  BuilderRig rig([&](ExprBldContext& context) {
    context.registry = registry;
    context.library_base = KX_SOURCE_DIR "/data";
  });
  rig.builder->SourceControl(doc->Source());
  rig.builder->TargetControl(doc->Target());
  rig.builder->KXExpressionBuilder_AddList("FN", "States", "st", "NY|NJ");
  rig.builder->KXExpressionBuilder_AddList("FN", "Again", "st", "CA");  // the first one stays
  rig.builder->KXExpressionBuilder_AddList("", "Codes", "cd", "");
  rig.builder->KXExpressionBuilder_BuildTree();
  std::vector<std::string> roots;
  for (const ui::TreeNode& node : rig.view().TreeView1().Nodes()) {
    if (!node.parent.empty()) continue;
    roots.push_back(node.key + ":" + node.text + ":" + node.tag);
  }
  ASSERT_GE(roots.size(), 4u);
  EXPECT_EQ(std::vector<std::string>(roots.begin(), roots.begin() + 4),
            (std::vector<std::string>{"FN:Field Names:", "st:States:user", "cd:Codes:user",
                                      "FNC:Flow Control and Functions:FNC"}));

  ui::headless::HeadlessWindow& frame = rig.view().Frame();
  rig.builder.reset();
  EXPECT_FALSE(frame.Loaded());
  EXPECT_EQ(frame.Events(), nullptr);
  EXPECT_TRUE(rig.env.driver().Messages().empty());
}

TEST(ExpressionBuilder, LoadExpressionBuilderCreatesByProgIdOrReports) {
  BuilderRig rig;
  ClassRegistry classes;
  EXPECT_EQ(LoadExpressionBuilder(classes, rig.env.message_box()), nullptr);
  ASSERT_EQ(rig.env.driver().Messages().size(), 1u);
  EXPECT_EQ(rig.env.driver().Messages()[0].text, "ActiveX component can't create object (429)");

  RegisterExpressionBuilder(classes, rig.context);
  std::shared_ptr<KXExpressionBuilder> made = LoadExpressionBuilder(classes, rig.env.message_box());
  ASSERT_NE(made, nullptr);
  made->Expression("1 + 1");
  rig.env.AnswerExprBld([](View& v) { v.Press("cmdok"); });
  made->Show(-1);
  EXPECT_EQ(made->Expression(), "1 + 1");
  EXPECT_NE(classes.Create("kxexpressionbuilder75.expressionbuilder"), nullptr);
}

}  // namespace
}  // namespace kx
