#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <optional>

#include "editor/frm_expr_bld.h"
#include "editor/tlb_browse.h"
#include "inventory/faulty_host.h"
#include "runtime/files.h"
#include "runtime/text.h"
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
using testing::LoggedHost;
using ui::TreeNode;
using ui::headless::HeadlessExprBldView;

const fs::path kData = fs::path(KX_SOURCE_DIR) / "data";
const std::string kParamsLibrary = std::string(KX_SOURCE_DIR) + "/tests/editor/data/params.tlb";

// A source with three layouts (one without fields) and a target with one.
constexpr std::string_view kHost = R"({
  "source": {"type": "Delimited ASCII",
             "supportsMultipleRecordLayouts": %S, "definesMultipleRecordLayouts": %D,
             "recordLayouts": [{"name": "Customer", "fields": ["CustomerNo", "Name", "Country"]},
                               {"name": "Invoice", "fields": ["InvoiceNo", "Total"]},
                               {"name": "Empty"}]},
  "target": {"type": "ODBC Table",
             "recordLayouts": [{"name": "Orders", "fields": ["Customer", "Loaded"]}]}})";

std::string HostJson(bool supports = false, bool defines = false) {
  std::string json(kHost);
  json = ReplaceAll(json, "%S", supports ? "true" : "false");
  return ReplaceAll(json, "%D", defines ? "true" : "false");
}

class TestBuilder : public KXExpressionBuilder {
 public:
  bool AllowTemplates() const override { return false; }
  void AllowTemplates(bool) override {}
  bool AllowValidation() const override { return false; }
  void AllowValidation(bool) override {}
  std::string KXTypeLibPath() const override { return type_lib_path; }
  std::string Expression() const override { return {}; }
  void Expression(const std::string&) override {}
  std::shared_ptr<FontDesc> Font() const override { return std::make_shared<FontDesc>(); }
  void Font(std::shared_ptr<FontDesc>) override {}
  std::string FormTitle() const override { return {}; }
  void FormTitle(const std::string&) override {}
  std::string HelpFile() const override { return {}; }
  void HelpFile(const std::string&) override {}
  int32_t HelpID() const override { return -1; }
  void HelpID(int32_t) override {}
  std::string KeywordFile() const override { return {}; }
  void KeywordFile(const std::string&) override {}
  bool ParameterButtonVisible() const override { return false; }
  void ParameterButtonVisible(bool) override {}
  std::string ProductName() const override { return {}; }
  void ProductName(const std::string&) override {}
  void Show(int16_t) override {}
  std::shared_ptr<HostSource> SourceControl() const override { return source; }
  void SourceControl(std::shared_ptr<HostSource> value) override { source = std::move(value); }
  std::shared_ptr<HostTarget> TargetControl() const override { return target; }
  void TargetControl(std::shared_ptr<HostTarget> value) override { target = std::move(value); }
  std::string TemplateFile() const override { return {}; }
  void TemplateFile(const std::string&) override {}
  std::string TemplateName() const override { return {}; }
  void TemplateName(const std::string&) override {}

  std::string type_lib_path = "kx750ui_fn.dll";  // as the bundled registry names it
  std::shared_ptr<HostSource> source;
  std::shared_ptr<HostTarget> target;
};

// The bundled registry plus the test library, counting the walks of "TypeLib".
class CountingRegistry : public Registry {
 public:
  CountingRegistry() : inner_(FileRegistry::Load(kData / "kxexpr.reg")) {
    inner_->Parse(
        "REGEDIT4\n[HKEY_CLASSES_ROOT\\TypeLib\\{P}\\1.0]\n@=\"Params\"\n"
        "[HKEY_CLASSES_ROOT\\TypeLib\\{P}\\1.0\\0\\win32]\n@=\"" +
            kParamsLibrary + "\"\n",
        "test");
  }
  int32_t RegOpenKeyExA(HKEY key, std::string_view sub_key, uint32_t options, uint32_t sam,
                        HKEY* result) override {
    if (sub_key == "TypeLib") ++typelib_walks;
    return inner_->RegOpenKeyExA(key, sub_key, options, sam, result);
  }
  int32_t RegCreateKeyExA(HKEY key, std::string_view sub_key, uint32_t reserved,
                          std::string_view class_name, uint32_t options, uint32_t sam,
                          const void* security, HKEY* result, uint32_t* disposition) override {
    return inner_->RegCreateKeyExA(key, sub_key, reserved, class_name, options, sam, security,
                                   result, disposition);
  }
  int32_t RegQueryValueExA(HKEY key, std::string_view value_name, uint32_t* reserved,
                           uint32_t* type, uint8_t* data, uint32_t* size) override {
    return inner_->RegQueryValueExA(key, value_name, reserved, type, data, size);
  }
  int32_t RegEnumKeyExA(HKEY key, uint32_t index, std::string* name, uint32_t size) override {
    return inner_->RegEnumKeyExA(key, index, name, size);
  }
  int32_t RegCloseKey(HKEY key) override { return inner_->RegCloseKey(key); }

  int typelib_walks = 0;

 private:
  std::shared_ptr<FileRegistry> inner_;
};

// One editor window over a crafted host, its tree built as the builder builds it, with a
// user list "Colours" and a stand-in for the function argument dialog.
struct Palette {
  explicit Palette(const std::string& json = HostJson(), bool build_tree = true,
                   fs::path current_dir = {})
      : host(json) {
    builder.source = host.source;
    builder.target = host.target;
    lists.KXExpressionBuilder_AddList("", "Colours", "colours", "red|  two |blue");
    ExprBldContext context;
    context.services = env.Services();
    context.registry = registry;
    context.library_base = kData;
    context.current_dir = std::move(current_dir);
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
  std::vector<std::string> Rows() {
    std::vector<std::string> rows;
    for (int32_t i = 0; i < view().ssdgridtokens().Rows(); ++i)
      rows.push_back(view().ssdgridtokens().CellText(i));
    return rows;
  }
  std::vector<std::string> Messages() {
    std::vector<std::string> texts;
    for (const ui::headless::ShownMessage& m : env.driver().Messages()) texts.push_back(m.text);
    return texts;
  }
  std::pair<std::string, std::string> Labels() {
    return {view().txtproto(0).Caption(), view().txtproto(1).Caption()};
  }
  // What a double-click on `row` under `node` puts into an empty editor.
  std::string Inserted(const std::string& node, int32_t row) {
    view().KXEditor1().Clear();
    EXPECT_TRUE(view().ClickNode(node)) << node;
    EXPECT_TRUE(view().DoubleClickRow(row)) << node << " row " << row;
    return view().KXEditor1().Text();
  }

  ui::headless::Environment env;
  LoggedHost host;
  TestBuilder builder;
  UserLists lists;
  std::shared_ptr<CountingRegistry> registry = std::make_shared<CountingRegistry>();
  // The argument dialog's stand-in: answers from a strict queue, as headless dialogs do.
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

std::vector<TreeNode> FunctionNodes() {
  std::vector<TreeNode> nodes = {{"FNC", "Flow Control and Functions", "FNC", "", true}};
  for (auto [key, text] :
       std::vector<std::pair<std::string, std::string>>{{"FC", "Flow Control"},
                                                        {"All", "<All Functions>"},
                                                        {"FileFunctions", "File"},
                                                        {"DateTime", "Date/Time"},
                                                        {"Math", "Math"},
                                                        {"Text", "Text"},
                                                        {"TypeConversion", "Conversion"},
                                                        {"Parse", "Parse"}})
    nodes.push_back({key, text, "", "FNC", false});
  nodes.push_back({"OTL", "Type Libraries", "OTL", "", true});
  return nodes;
}

TEST(TokenTree, FieldNamesUserListsFunctionsAndLibrariesInOrder) {
  const TreeNode fn{"FN", "Field Names", "", "", true};
  const TreeNode src{"SRC", "Source", "", "FN", true};
  const TreeNode trg{"TRG", "Target", "", "FN", true};
  const TreeNode user{"colours", "Colours", "user", "", false};
  auto rec = [](std::string key, std::string text, std::string parent) {
    return TreeNode{key, text, "record", parent, false};
  };
  struct Case {
    std::string name;
    std::string json;
    std::vector<TreeNode> field_nodes;
  };
  const Case cases[] = {
      {"no layouts", R"({"source": {"type": "S"}, "target": {"type": "T"}})", {fn, src, trg}},
      {"one source and one target layout",
       R"({"source": {"type": "S", "recordLayouts": [{"name": "A"}]},
           "target": {"type": "T", "recordLayouts": [{"name": "Out"}]}})",
       {fn, src, rec("rs0", "A", "SRC"), trg, rec("rt0", "Out", "TRG")}},
      {"three source layouts in the host's order",
       R"({"source": {"type": "S", "recordLayouts": [{"name": "C"}, {"name": "A"},
                                                      {"name": "B"}]}})",
       {fn, src, rec("rs0", "C", "SRC"), rec("rs1", "A", "SRC"), rec("rs2", "B", "SRC")}},
      {"only a target",
       R"({"target": {"type": "T", "recordLayouts": [{"name": "X"}, {"name": "Y"}]}})",
       {fn, trg, rec("rt0", "X", "TRG"), rec("rt1", "Y", "TRG")}},
      {"a source without a type",
       R"({"source": {"type": ""}, "target": {"type": "T", "recordLayouts": [{"name": "X"}]}})",
       {fn, trg, rec("rt0", "X", "TRG")}},
      {"no sides", "{}", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Palette p(c.json);
    std::vector<TreeNode> expected = c.field_nodes;
    expected.push_back(user);
    for (const TreeNode& n : FunctionNodes()) expected.push_back(n);
    EXPECT_EQ(p.view().TreeView1().Nodes(), expected);
    EXPECT_TRUE(p.Messages().empty());
    // Only the layout names are read; fields wait for a click.
    EXPECT_EQ(p.host.log->Count("FieldCount") + p.host.log->Count("fieldname"), 0);
    ASSERT_NE(p.window->HostLibrary(), nullptr);
    EXPECT_EQ(p.window->HostLibrary()->name, "kx750ui_fn");
  }
}

TEST(TokenTree, AFailureKeepsTheNodesAddedBeforeIt) {
  {
    Palette p(HostJson(), false);
    p.host.log->fail_on["RecordLayoutList"] = 2;
    p.BuildTree();
    std::vector<std::string> keys;
    for (const TreeNode& n : p.view().TreeView1().Nodes()) keys.push_back(n.key);
    EXPECT_EQ(keys, (std::vector<std::string>{"FN", "SRC", "rs0"}));
    EXPECT_EQ(p.Messages(), (std::vector<std::string>{"host failed in RecordLayoutList (1001)"}));
  }
  {
    // A host library that cannot be opened ends the tree after "FNC".
    Palette p(R"({"source": {"type": "S", "recordLayouts": [{"name": "A"}]}})", false);
    p.builder.type_lib_path = "missing_fn.dll";
    p.BuildTree();
    std::vector<std::string> keys;
    for (const TreeNode& n : p.view().TreeView1().Nodes()) keys.push_back(n.key);
    EXPECT_EQ(keys, (std::vector<std::string>{"FN", "SRC", "rs0", "colours", "FNC"}));
    ASSERT_EQ(p.Messages().size(), 1u);
    EXPECT_TRUE(p.Messages()[0].ends_with("(53)")) << p.Messages()[0];
    EXPECT_EQ(p.window->HostLibrary(), nullptr);
  }
}

TEST(TokenGrid, EachNodeFillsTheGridWithItsTokens) {
  const std::vector<std::string> flow = {"For...Next",
                                         "GoTo",
                                         "If...Then...Else",
                                         "On Error GoTo",
                                         "On Error Resume Next",
                                         "Resume",
                                         "Resume Next",
                                         "Return",
                                         "Select Case...End Select",
                                         "While...Wend",
                                         ""};
  struct Case {
    std::string key;
    std::vector<std::string> rows;
  };
  const Case cases[] = {
      {"FC", flow},
      {"Math", {"Abs", "Int", "Fix", "Round", "Sqr", "Sgn"}},
      {"FileFunctions", {"FileExists", "FileLen", "Dir$", "CurDir$", "GetObject"}},
      {"Parse", {"IIf", "Choose", "Parse$", "ParseCount", "IsNull", "IsNumeric", "Nz"}},
      {"rs0", {"CustomerNo", "Name", "Country"}},
      {"rs1", {"InvoiceNo", "Total"}},
      {"rs2", {}},
      {"rt0", {"Customer", "Loaded"}},
      {"colours", {"red", "  two ", "blue"}},
      {"FN", {}},
      {"SRC", {}},
      {"FNC", {}},
  };
  Palette p;
  HeadlessExprBldView& v = p.view();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.key);
    v.ssdgridtokens().SetCurrentRow(-1);
    v.KXEditor1().SetFocus();
    ASSERT_TRUE(v.ClickNode(c.key));
    EXPECT_EQ(p.Rows(), c.rows);
    EXPECT_TRUE(v.ssdgridtokens().Redraw());
    if (c.rows.empty()) {
      EXPECT_EQ(v.ssdgridtokens().CurrentRow(), -1);
      EXPECT_NE(v.Focused(), "ssdgridtokens");
    } else {
      EXPECT_EQ(v.ssdgridtokens().CurrentRow(), 0);
      EXPECT_EQ(v.ssdgridtokens().RowStyle(0), "style_winhighlight");
      EXPECT_EQ(v.Focused(), "ssdgridtokens");
    }
  }
  // "<All Functions>" and the key "KXFunction", which no node has, list the whole library.
  v.ClickNode("All");
  std::vector<std::string> all = p.Rows();
  EXPECT_EQ(all.size(), 53u);
  EXPECT_EQ(all.back(), "GetObject");
  v.ssdgridtokens().RemoveAll();
  p.window->TreeView1_NodeClick("KXFunction");
  EXPECT_EQ(p.Rows(), all);
  EXPECT_TRUE(p.Messages().empty());
}

TEST(TokenGrid, RowStylesFollowTheCurrentRowAndTheLabelsDescribeIt) {
  Palette p;
  HeadlessExprBldView& v = p.view();
  v.ClickNode("Text");
  v.MoveToRow(3);
  v.MoveToRow(5);
  std::vector<std::string> styles = v.ssdgridtokens().Styles();
  EXPECT_EQ(styles[0], "style_tokennormal");
  EXPECT_EQ(styles[3], "style_tokennormal");
  EXPECT_EQ(styles[5], "style_winhighlight");
  EXPECT_EQ(std::count(styles.begin(), styles.end(), "style_winhighlight"), 1);
  // The documentation after six characters, cut at its first ";".
  EXPECT_EQ(p.Labels(), std::make_pair(std::string("RTrim$(String As String) As String"),
                                       std::string("Returns a copy of a string without "
                                                   "trailing spaces.")));
  v.MoveToRow(0);
  EXPECT_EQ(p.Labels().first, "Left$(String As String, Length As Long) As String");

  v.ClickNode("FC");
  v.MoveToRow(2);
  EXPECT_EQ(p.Labels(), std::make_pair(std::string("If condition then"),
                                       std::string("Expression language construct used for "
                                                   "conditional execution of one or more "
                                                   "statements.  See on-line help for more "
                                                   "details.")));
  // The blank row is not highlighted and empties both labels.
  v.MoveToRow(10);
  EXPECT_EQ(v.ssdgridtokens().RowStyle(10), "");
  EXPECT_EQ(p.Labels(), std::make_pair(std::string(), std::string()));

  // Field and user-list rows leave the labels as they were.
  v.MoveToRow(1);
  std::pair<std::string, std::string> goto_labels = p.Labels();
  EXPECT_EQ(goto_labels.first, "GoTo label");
  for (const char* key : {"rs0", "colours"}) {
    v.ClickNode(key);
    v.MoveToRow(1);
    EXPECT_EQ(v.ssdgridtokens().RowStyle(1), "style_winhighlight");
    EXPECT_EQ(p.Labels(), goto_labels) << key;
  }
  EXPECT_TRUE(p.Messages().empty());
}

TEST(UserLists, AClickListsTheItemsAndAMissingListIsAnnounced) {
  Palette p;
  p.lists.KXExpressionBuilder_AddList("", "Sizes", "sizes", "S|M|L");
  p.view().TreeView1().AddNode({"sizes", "Sizes", "user", "", false});
  p.view().ClickNode("sizes");
  EXPECT_EQ(p.Rows(), (std::vector<std::string>{"S", "M", "L"}));
  // Found by its text, not its key.
  p.view().TreeView1().AddNode({"other", "Colours", "user", "", false});
  p.view().ClickNode("other");
  EXPECT_EQ(p.Rows(), (std::vector<std::string>{"red", "  two ", "blue"}));
  EXPECT_TRUE(p.Messages().empty());

  // A builder whose lists are gone: the grid is emptied and the handler stops there.
  Palette q;
  q.lists = UserLists();
  q.view().ClickNode("colours");
  EXPECT_EQ(q.Rows(), std::vector<std::string>{});
  ASSERT_EQ(q.env.driver().Messages().size(), 1u);
  EXPECT_EQ(q.env.driver().Messages()[0].text, "Trying to add an empty list.  Quitting.");
  EXPECT_EQ(q.env.driver().Messages()[0].flags, ui::kMbOk);
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
      {false, false, "colours", 0, " red "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.node + " row " + std::to_string(c.row));
    Palette p(HostJson(c.supports, c.defines));
    EXPECT_EQ(p.Inserted(c.node, c.row), c.text);
    EXPECT_EQ(p.view().Focused(), "KXEditor1");
    EXPECT_TRUE(p.Messages().empty());
  }
  // Inserted at the caret, into what the editor holds.
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
  EXPECT_EQ(p.Messages(), (std::vector<std::string>{"host failed in DefinesMultipleRecordLayouts "
                                                    "(1001)"}));
}

TEST(TokenInsertion, TheCommentHintGivesWayToTheFirstToken) {
  fs::path dir = fs::temp_directory_path() / "kx_palette_comments";
  fs::create_directories(dir);
  WriteFileAtomic(dir / "comments.txt", "' Write the expression here\r\n");
  // A double-click and the function-builder gesture each replace the hint; later ones add.
  for (bool dialog : {false, true}) {
    Palette p(HostJson(), true, dir);
    p.window->Form_Activate();
    ASSERT_EQ(p.view().KXEditor1().Text(), "' Write the expression here\r\n");
    p.view().ClickNode("FC");
    p.dialog_answers = {"GoTo(a)", "GoTo(b)"};
    for (int i = 0; i < 2; ++i) dialog ? p.view().BuildFunction(1) : p.view().DoubleClickRow(1);
    EXPECT_EQ(p.view().KXEditor1().Text(), dialog ? "GoTo(a)GoTo(b)" : "GoTo label GoTo label ");
  }
  fs::remove_all(dir);
}

TEST(TypeLibraries, BrowsingReadsTheRegistryOnceAndInsertsMembers) {
  Palette p;
  HeadlessExprBldView& v = p.view();
  v.ClickNode("Math");
  v.ClickNode("OTL");
  EXPECT_EQ(p.Rows(), std::vector<std::string>{});
  v.ClickNode("OTL");
  EXPECT_EQ(p.registry->typelib_walks, 1);
  std::vector<TreeNode> libraries;
  for (const TreeNode& n : v.TreeView1().Nodes())
    if (n.parent == "OTL") libraries.push_back(n);
  ASSERT_EQ(libraries.size(), 2u);
  EXPECT_EQ(libraries[0].text, "KX 7.5 UI Function Library");
  const TreeNode& params = libraries[1];
  EXPECT_EQ(params.key, kParamsLibrary + "<Params{P}1.0");
  EXPECT_EQ(params.tag, "TLB");

  // A library node gets its types once; a type node lists its members.
  v.ClickNode(params.key);
  v.ClickNode(params.key);
  EXPECT_EQ(v.TreeView1().ChildCount(params.key), 2);
  const std::string many = params.key + "<Many";
  const std::string limits = params.key + "<Limits";
  ASSERT_EQ(v.TreeView1().Node(limits)->tag, "TLBType");
  v.ClickNode(limits);
  EXPECT_EQ(p.Rows(), (std::vector<std::string>{"Seven", "Byte", "MinusOne"}));
  v.MoveToRow(1);
  EXPECT_EQ(p.Labels(), std::make_pair(std::string("Const Byte = 255 (&HFF)"),
                                       std::string("Member of Params.Limits")));

  // Constants insert their value, other members their syntax.
  EXPECT_EQ(p.Inserted(limits, 1), " 255 ");
  EXPECT_EQ(p.Inserted(limits, 2), " -1 ");
  EXPECT_EQ(p.Inserted(many, 2), "Sub Clear() ");
  EXPECT_EQ(p.Inserted(many, 3), "Count ");
  EXPECT_EQ(p.Inserted(many, 4), "Caption ");
  // The host library's own constants, registered like any library.
  v.ClickNode(libraries[0].key);
  EXPECT_EQ(p.Inserted(libraries[0].key + "<KXCompareMethod", 1), " 1 ");
  // A type that cannot be read: its row is neither described nor inserted.
  v.TreeView1().AddNode({params.key + "<Gone", "Gone", "TLBType", params.key, false});
  EXPECT_EQ(p.Inserted(params.key + "<Gone", 0), "");
  EXPECT_EQ(p.Rows(), std::vector<std::string>{std::string(kNoTypeLibInfo)});
  EXPECT_TRUE(p.Messages().empty());
  EXPECT_EQ(p.registry->typelib_walks, 1);
}

TEST(FunctionBuilderGesture, OpensTheDialogAndInsertsWhatItReturns) {
  Palette p;
  HeadlessExprBldView& v = p.view();
  v.ClickNode("Text");
  p.dialog_answers = {"Left$(\"abc\", 2)", ""};
  v.BuildFunction(0);
  v.BuildFunction(3);  // cancelled: nothing goes in
  EXPECT_EQ(v.KXEditor1().Text(), "Left$(\"abc\", 2)");
  EXPECT_EQ(p.dialog_texts,
            (std::vector<std::string>{"[Left_Dollar]Left$(String As String, Length As Long)",
                                      "[Trim_Dollar]Trim$(String As String)"}));
  // The "Flow Control" node has no tag "FC": its constructs are looked up in the host
  // library, which does not have them, so the dialog gets the bare name.
  v.ClickNode("FC");
  p.dialog_answers = {"GoTo(done)"};
  v.BuildFunction(1);
  EXPECT_EQ(p.dialog_texts.back(), "[GoTo]");
  EXPECT_EQ(v.KXEditor1().Text(), "Left$(\"abc\", 2)GoTo(done)");
  // A dialog nobody answers ends the gesture, never as a reported error.
  EXPECT_THROW(v.BuildFunction(2), ui::Unanswered);
  EXPECT_TRUE(p.Messages().empty());
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
