#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <tuple>

#include "dialog_builder.h"
#include "editor/frm_expr_bld.h"
#include "functions/tlb_browse.h"
#include "inventory/faulty_host.h"
#include "runtime/files.h"
#include "runtime/text.h"
#include "scratch_dir.h"
#include "typelib/typelib.h"
#include "ui/headless/headless.h"
#include "ui/unanswered.h"

#if __has_include("functions/frm_function.h")
#include "functions/frm_function.h"
#define KX_HAVE_FUNCTION_DIALOG 1
#endif

namespace kx {
namespace {

namespace fs = std::filesystem;
using ui::headless::HeadlessExprBldView;

const fs::path kData = fs::path(KX_SOURCE_DIR) / "data";
const std::string kParams = std::string(KX_SOURCE_DIR) + "/tests/editor/data/params.tlb";
const std::string kRegisterParams =
    "REGEDIT4\n[HKEY_CLASSES_ROOT\\TypeLib\\{P}\\1.0]\n@=\"Params\"\n"
    "[HKEY_CLASSES_ROOT\\TypeLib\\{P}\\1.0\\0\\win32]\n@=\"" +
    kParams + "\"\n";

// A source with three layouts (the last without fields) and a target with one.
std::string HostJson(bool supports = false, bool defines = false) {
  std::string json = R"({"source": {"type": "Delimited ASCII", "supportsMultipleRecordLayouts": S,
    "definesMultipleRecordLayouts": D,
    "recordLayouts": [{"name": "Customer", "fields": ["CustomerNo", "Name", "Country"]},
                      {"name": "Invoice", "fields": ["InvoiceNo", "Total"]}, {"name": "Empty"}]},
  "target": {"type": "ODBC Table",
             "recordLayouts": [{"name": "Orders", "fields": ["Customer", "Loaded"]}]}})";
  json = ReplaceAll(json, ": S,", supports ? ": true," : ": false,");
  return ReplaceAll(json, ": D,", defines ? ": true," : ": false,");
}

// One editor window over a crafted host with the tree built as the builder builds it: a user
// list "Colours", the bundled registry, and a stand-in for the function argument dialog.
struct Palette {
  explicit Palette(const std::string& json = HostJson(), bool build_tree = true,
                   fs::path current_dir = {})
      : host(json) {
    builder.type_lib_path = "kx750ui_fn.dll";  // as the bundled registry names it
    builder.source = host.source;
    builder.target = host.target;
    lists.KXExpressionBuilder_AddList("", "Colours", "colours", "red|  two |blue");
    ExprBldContext context;
    context.services = env.Services();
    context.registry = registry;
    context.current_dir = std::move(current_dir);
    context.library_base = kData;
    context.user_lists = [this] { return lists.Entries(); };
    context.function_builder = [this](const std::string& text) { return dialog(text); };
    window = std::make_unique<frmExprBld>(std::move(context), &builder);
    window->Load();
    if (build_tree) BuildTree();
  }
  void BuildTree() {
    window->BuildTreeView([this] {
      lists.BuildUserTree(
          [this](const std::string& key, const std::string& text, const std::string& tag) {
            view().TreeView1().AddNode({key, text, tag, "", false});
          });
    });
  }
  HeadlessExprBldView& view() { return *env.ExprBld(); }
  // Each node as parent/key=text#tag, "+" when expanded.
  std::string Tree() {
    std::vector<std::string> nodes;
    for (const ui::TreeNode& n : view().TreeView1().Nodes())
      nodes.push_back(n.parent + "/" + n.key + "=" + n.text + (n.tag.empty() ? "" : "#" + n.tag) +
                      (n.expanded ? "+" : ""));
    return Join(nodes, "; ");
  }
  std::string Rows() {
    std::vector<std::string> rows;
    for (int32_t i = 0; i < view().ssdgridtokens().Rows(); ++i)
      rows.push_back(view().ssdgridtokens().CellText(i));
    return Join(rows, "|");
  }
  std::string Messages() {
    std::string texts;
    for (const ui::headless::ShownMessage& m : env.driver().Messages()) texts += m.text + "\n";
    return texts;
  }
  std::string Labels() {
    return view().txtproto(0).Caption() + "\n" + view().txtproto(1).Caption();
  }
  // What a double-click on `row` under `node` puts into an empty editor.
  std::string Inserted(const std::string& node, int32_t row) {
    view().KXEditor1().Clear();
    EXPECT_TRUE(view().ClickNode(node) && view().DoubleClickRow(row)) << node << " " << row;
    return view().KXEditor1().Text();
  }

  ui::headless::Environment env;
  testing::LoggedHost host;
  StoredBuilder builder;
  UserLists lists;
  std::shared_ptr<FileRegistry> registry = FileRegistry::Load(kData / "kxexpr.reg");
  // The dialog's stand-in answers from a strict queue, as headless dialogs do.
  std::deque<std::string> dialog_answers;
  std::vector<std::string> dialog_texts;
  std::function<std::string(const std::string&)> dialog = [this](const std::string& text) {
    dialog_texts.push_back(text);
    if (dialog_answers.empty()) throw ui::Unanswered("frmFunction");
    std::string answer = dialog_answers.front();
    dialog_answers.pop_front();
    return answer;
  };
  std::unique_ptr<frmExprBld> window;
};

TEST(TokenTree, FieldNamesUserListsFunctionsAndLibrariesInOrder) {
  const std::string functions =
      "/colours=Colours#user; /FNC=Flow Control and Functions#FNC+; FNC/FC=Flow Control; "
      "FNC/All=<All Functions>; FNC/FileFunctions=File; FNC/DateTime=Date/Time; FNC/Math=Math; "
      "FNC/Text=Text; FNC/TypeConversion=Conversion; FNC/Parse=Parse; /OTL=Type Libraries#OTL+";
  const std::pair<std::string, std::string> cases[] = {
      {R"({"source": {"type": "S"}, "target": {"type": "T"}})",
       "/FN=Field Names+; FN/SRC=Source+; FN/TRG=Target+; "},
      {R"({"source": {"type": "S", "recordLayouts": [{"name": "A"}]},
           "target": {"type": "T", "recordLayouts": [{"name": "Out"}]}})",
       "/FN=Field Names+; FN/SRC=Source+; SRC/rs0=A#record; FN/TRG=Target+; "
       "TRG/rt0=Out#record; "},
      {R"({"source": {"type": "S", "recordLayouts": [{"name": "C"}, {"name": "A"}, {"name": "B"}]}})",
       "/FN=Field Names+; FN/SRC=Source+; SRC/rs0=C#record; SRC/rs1=A#record; SRC/rs2=B#record; "},
      {R"({"target": {"type": "T", "recordLayouts": [{"name": "X"}, {"name": "Y"}]}})",
       "/FN=Field Names+; FN/TRG=Target+; TRG/rt0=X#record; TRG/rt1=Y#record; "},
      {R"({"source": {"type": ""}, "target": {"type": "T", "recordLayouts": [{"name": "X"}]}})",
       "/FN=Field Names+; FN/TRG=Target+; TRG/rt0=X#record; "},
      {"{}", ""},
  };
  for (const auto& [json, field_names] : cases) {
    Palette p(json);
    EXPECT_EQ(p.Tree(), field_names + functions);
    EXPECT_EQ(p.Messages(), "");
    // Only the layout names are read; fields wait for a click.
    EXPECT_EQ(p.host.log->Count("FieldCount") + p.host.log->Count("fieldname"), 0);
    ASSERT_NE(p.window->HostLibrary(), nullptr);
    EXPECT_EQ(p.window->HostLibrary()->name, "kx750ui_fn");
  }
}

TEST(TokenTree, AFailureKeepsTheNodesAddedBeforeIt) {
  Palette p(HostJson(), false);
  p.host.log->fail_on["RecordLayoutList"] = 2;
  p.BuildTree();
  EXPECT_EQ(p.Tree(), "/FN=Field Names+; FN/SRC=Source+; SRC/rs0=Customer#record");
  EXPECT_EQ(p.Messages(), "host failed in RecordLayoutList (1001)\n");

  // A host library that cannot be opened ends the tree after "FNC".
  Palette q("{}", false);
  q.builder.type_lib_path = "missing_fn.dll";
  q.BuildTree();
  EXPECT_EQ(q.Tree(), "/colours=Colours#user; /FNC=Flow Control and Functions#FNC+");
  EXPECT_TRUE(q.Messages().ends_with("(53)\n")) << q.Messages();
  EXPECT_EQ(q.window->HostLibrary(), nullptr);

  // No host library registered at all is no failure: the tree has no categories.
  Palette r("{}", false);
  r.builder.type_lib_path = "";
  r.BuildTree();
  EXPECT_EQ(r.Tree(),
            "/colours=Colours#user; /FNC=Flow Control and Functions#FNC+; FNC/FC=Flow Control; "
            "FNC/All=<All Functions>; FNC/FileFunctions=File; /OTL=Type Libraries#OTL+");
  ASSERT_TRUE(r.view().ClickNode("All"));
  EXPECT_EQ(r.Rows(), "");
  EXPECT_EQ(r.Messages(), "");

  // Building again rebuilds instead of failing on the keys already there.
  const std::string first = r.Tree();
  r.BuildTree();
  EXPECT_EQ(r.Tree(), first);
  EXPECT_EQ(r.Messages(), "");
}

TEST(TokenGrid, EachNodeFillsTheGridWithItsTokens) {
  const std::pair<std::string, std::string> cases[] = {
      {"FC",
       "For...Next|GoTo|If...Then...Else|On Error GoTo|On Error Resume Next|Resume|Resume Next|"
       "Return|Select Case...End Select|While...Wend|"},  // and a blank last row
      {"Math", "Abs|Int|Fix|Round|Sqr|Sgn"},
      {"FileFunctions", "FileExists|FileLen|Dir$|CurDir$|GetObject"},
      {"Parse", "IIf|Choose|Parse$|ParseCount|IsNull|IsNumeric|Nz"},
      {"rs0", "CustomerNo|Name|Country"},
      {"rs1", "InvoiceNo|Total"},
      {"rs2", ""},
      {"rt0", "Customer|Loaded"},
      {"colours", "red|  two |blue"},
      {"FNC", ""},  // any other node: its own key as a category, which has no functions
  };
  Palette p;
  HeadlessExprBldView& v = p.view();
  for (const auto& [key, rows] : cases) {
    SCOPED_TRACE(key);
    v.KXEditor1().SetFocus();
    ASSERT_TRUE(v.ClickNode(key));
    EXPECT_EQ(p.Rows(), rows);
    EXPECT_TRUE(v.ssdgridtokens().Redraw());
    // The first row is current, highlighted and focused; an empty grid takes no focus.
    bool empty = v.ssdgridtokens().Rows() == 0;
    EXPECT_EQ(v.ssdgridtokens().CurrentRow(), empty ? -1 : 0);
    EXPECT_EQ(v.Focused() == "ssdgridtokens", !empty);
    EXPECT_TRUE(empty || v.ssdgridtokens().RowStyle(0) == "style_winhighlight");
  }
  // "<All Functions>" and the key "KXFunction", which no node has, list the whole library.
  v.ClickNode("All");
  std::string all = p.Rows();
  EXPECT_EQ(Split(all, "|").size(), 53u);
  EXPECT_TRUE(all.ends_with("|GetObject"));
  v.ssdgridtokens().RemoveAll();
  p.window->TreeView1_NodeClick("KXFunction");
  EXPECT_EQ(p.Rows(), all);
  EXPECT_EQ(p.Messages(), "");
}

TEST(TokenGrid, RowStylesFollowTheCurrentRowAndTheLabelsDescribeIt) {
  Palette p;
  HeadlessExprBldView& v = p.view();
  v.ClickNode("Text");
  v.MoveToRow(3);
  v.MoveToRow(5);
  std::vector<std::string> styles = v.ssdgridtokens().Styles();
  EXPECT_EQ(styles[0] + styles[3], "style_tokennormalstyle_tokennormal");
  EXPECT_EQ(styles[5], "style_winhighlight");
  EXPECT_EQ(std::count(styles.begin(), styles.end(), "style_winhighlight"), 1);
  // The documentation after six characters, cut at its first ";".
  EXPECT_EQ(p.Labels(),
            "RTrim$(String As String) As String\nReturns a copy of a string without trailing "
            "spaces.");
  v.ClickNode("FC");
  v.MoveToRow(2);
  EXPECT_EQ(p.Labels(),
            "If condition then\nExpression language construct used for conditional execution of "
            "one or more statements.  See on-line help for more details.");
  // The blank row is not highlighted and empties both labels.
  v.MoveToRow(10);
  EXPECT_EQ(v.ssdgridtokens().RowStyle(10) + p.Labels(), "\n");
  // Field and user-list rows leave the labels as they were.
  v.MoveToRow(1);
  for (const char* key : {"rs0", "colours"}) {
    v.ClickNode(key);
    v.MoveToRow(1);
    EXPECT_EQ(v.ssdgridtokens().RowStyle(1), "style_winhighlight");
    EXPECT_EQ(p.Labels(),
              "GoTo label\nFlow control statement that forces code execution to the "
              "string label name.");
  }
  EXPECT_EQ(p.Messages(), "");
}

TEST(UserLists, AClickListsTheItemsFoundByTextAndAMissingListIsAnnounced) {
  Palette p;
  p.view().TreeView1().AddNode({"other", "Colours", "user", "", false});
  p.view().ClickNode("other");
  EXPECT_EQ(p.Rows(), "red|  two |blue");
  EXPECT_EQ(p.Messages(), "");
  // A builder whose lists are gone: the grid is emptied and the handler stops there.
  p.lists = UserLists();
  p.view().ClickNode("colours");
  EXPECT_EQ(p.Rows(), "");
  EXPECT_EQ(p.Messages(), "Trying to add an empty list.  Quitting.\n");
  EXPECT_EQ(p.env.driver().Messages()[0].flags, ui::kMbOk);
}

TEST(TokenInsertion, EachKindOfNodeInsertsItsOwnText) {
  struct Case {
    bool supports, defines;
    std::string node;
    int32_t row;
    std::string text;
  };
  const Case cases[] = {
      {false, false, "rs0", 1, "Fields(\"Name\") "},
      {true, false, "rs0", 1, "Records(\"Customer\").Fields(\"Name\") "},
      {false, true, "rs1", 0, "Records(\"Invoice\").Fields(\"InvoiceNo\") "},
      {true, true, "rt0", 1, "Targets(0).Records(\"Orders\").Fields(\"Loaded\") "},
      {false, false, "rt0", 0, "Targets(0).Records(\"Orders\").Fields(\"Customer\") "},
      {false, false, "Text", 0, "Left$(String As String, Length As Long) "},
      {false, false, "Math", 3, "Round(Number As Double, [NumDigitsAfterDecimal As Integer = 0]) "},
      {false, false, "All", 52,
       "GetObject([PathName As String = \"\"], [Class As String = \"\"]) "},
      {false, false, "DateTime", 0, "Now() "},
      {false, false, "FC", 1, "GoTo label "},
      {false, false, "FC", 2,
       "If condition then\r\n  statement block1\r\nElse\r\n  statement block2\r\nEnd if "},
      {false, false, "colours", 1, " two "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.node + " " + std::to_string(c.row));
    Palette p(HostJson(c.supports, c.defines));
    EXPECT_EQ(p.Inserted(c.node, c.row), c.text);
    EXPECT_EQ(p.view().Focused(), "KXEditor1");
    EXPECT_EQ(p.Messages(), "");
  }
  // At the caret, into what the editor holds.
  Palette p;
  p.view().Type("If  Then");
  p.view().KXEditor1().SetCaretPosition(4);
  p.view().ClickNode("rt0");
  p.view().DoubleClickRow(0);
  EXPECT_EQ(p.view().KXEditor1().Text(),
            "If Targets(0).Records(\"Orders\").Fields(\"Customer\")  Then");
  // A host that cannot tell whether it has several layouts: reported, nothing inserted.
  p.host.log->fail_on["DefinesMultipleRecordLayouts"] = 1;
  EXPECT_EQ(p.Inserted("rs0", 0), "");
  EXPECT_EQ(p.Messages(), "host failed in DefinesMultipleRecordLayouts (1001)\n");
}

TEST(TokenInsertion, TheCommentHintGivesWayToTheFirstToken) {
  ScratchDir dir;
  dir.Write("comments.txt", "' Write the expression here\r\n");
  // A double-click and the function-builder gesture each replace the hint; later ones add.
  for (bool dialog : {false, true}) {
    Palette p(HostJson(), true, dir.path);
    p.window->Form_Activate();
    ASSERT_EQ(p.view().KXEditor1().Text(), "' Write the expression here\r\n");
    p.view().ClickNode("FC");
    p.dialog_answers = {"GoTo(a)", "GoTo(b)"};
    for (int i = 0; i < 2; ++i) dialog ? p.view().BuildFunction(1) : p.view().DoubleClickRow(1);
    EXPECT_EQ(p.view().KXEditor1().Text(), dialog ? "GoTo(a)GoTo(b)" : "GoTo label GoTo label ");
  }
}

TEST(TypeLibraries, BrowsingReadsTheRegistryOnceAndInsertsMembers) {
  Palette p;
  HeadlessExprBldView& v = p.view();
  p.registry->Parse(kRegisterParams, "test");
  v.ClickNode("Math");
  v.ClickNode("OTL");
  EXPECT_EQ(p.Rows(), "");
  const std::string host =
      "kx750ui_fn.dll<KX 7.5 UI Function Library"
      "{43A5AC40-ACB7-11D3-96C0-00104B383C01}7.5";
  const std::string params = kParams + "<Params{P}1.0";
  EXPECT_TRUE(p.Tree().ends_with("; OTL/" + host + "=KX 7.5 UI Function Library#TLB; OTL/" +
                                 params + "=Params#TLB"));
  // A second click leaves the registry alone: a library registered since does not appear.
  p.registry->Parse(ReplaceAll(kRegisterParams, "{P}", "{Q}"), "test");
  v.ClickNode("OTL");
  EXPECT_EQ(v.TreeView1().ChildCount("OTL"), 2);

  // A library node gets its types once; a type node lists its members.
  v.ClickNode(params);
  v.ClickNode(params);
  EXPECT_EQ(v.TreeView1().ChildCount(params), 2);
  EXPECT_EQ(v.TreeView1().Node(params + "<Limits")->tag, "TLBType");
  v.ClickNode(params + "<Limits");
  EXPECT_EQ(p.Rows(), "Seven|Byte|MinusOne");
  v.MoveToRow(1);
  EXPECT_EQ(p.Labels(), "Const Byte = 255 (&HFF)\nMember of Params.Limits");
  // Constants insert their value, other members their syntax.
  const std::tuple<std::string, int32_t, std::string> cases[] = {{"<Limits", 1, " 255 "},
                                                                 {"<Limits", 2, " -1 "},
                                                                 {"<Many", 2, "Sub Clear() "},
                                                                 {"<Many", 3, "Count "},
                                                                 {"<Many", 4, "Caption "}};
  for (const auto& [type, row, text] : cases) EXPECT_EQ(p.Inserted(params + type, row), text);
  // The host library's own constants too.
  v.ClickNode(host);
  EXPECT_EQ(p.Inserted(host + "<KXCompareMethod", 1), " 1 ");
  // A type that cannot be read: its row is neither described nor inserted.
  v.TreeView1().AddNode({params + "<Gone", "Gone", "TLBType", params, false});
  EXPECT_EQ(p.Inserted(params + "<Gone", 0), "");
  EXPECT_EQ(p.Rows(), kNoTypeLibInfo);
  EXPECT_EQ(p.Messages(), "");
}

TEST(FunctionBuilderGesture, OpensTheDialogAndInsertsWhatItReturns) {
  Palette p;
  HeadlessExprBldView& v = p.view();
  v.ClickNode("Text");
  p.dialog_answers = {"Left$(\"abc\", 2)", ""};
  v.BuildFunction(0);
  v.BuildFunction(3);  // cancelled: nothing goes in
  EXPECT_EQ(v.KXEditor1().Text(), "Left$(\"abc\", 2)");
  EXPECT_EQ(Join(p.dialog_texts, "\n"),
            "[Left_Dollar]Left$(String As String, Length As Long)\n"
            "[Trim_Dollar]Trim$(String As String)");
  // The "Flow Control" node has no tag "FC": its constructs are looked up in the host
  // library, which does not have them, so the dialog gets the bare name.
  v.ClickNode("FC");
  p.dialog_answers = {"GoTo(done)"};
  v.BuildFunction(1);
  EXPECT_EQ(p.dialog_texts.back(), "[GoTo]");
  EXPECT_EQ(v.KXEditor1().Text(), "Left$(\"abc\", 2)GoTo(done)");
  // A dialog nobody answers ends the gesture, never as a reported error.
  EXPECT_THROW(v.BuildFunction(2), ui::Unanswered);
  EXPECT_EQ(p.Messages(), "");
}

#ifdef KX_HAVE_FUNCTION_DIALOG
TEST(FunctionBuilderGesture, WorksWithTheRealArgumentDialog) {
  Palette p;
  p.dialog = [&p](const std::string& text) {
    return LoadFunctionBuilder(p.env.Services(), p.builder, text, "", kData);
  };
  HeadlessExprBldView& v = p.view();
  v.ClickNode("Math");
  p.env.AnswerFunction([](ui::headless::HeadlessFunctionView& f) {
    f.EditValue(0, "-2.5");
    f.Press("cmdok");
  });
  v.BuildFunction(0);
  EXPECT_EQ(v.KXEditor1().Text(), "Abs(-2.5)");
  p.env.AnswerFunction([](ui::headless::HeadlessFunctionView& f) { f.Press("cmdcancel"); });
  v.BuildFunction(0);
  EXPECT_EQ(v.KXEditor1().Text(), "Abs(-2.5)");
  EXPECT_THROW(v.BuildFunction(0), ui::Unanswered);
}
#endif

}  // namespace
}  // namespace kx
