// frmExprBld's token palette: the tree of token categories, the token grid with its
// description labels, and the rules that turn a picked token into expression text.

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "editor/frm_expr_bld.h"
#include "functions/tlb_browse.h"
#include "inventory/variant.h"
#include "runtime/error.h"
#include "runtime/narrow.h"
#include "runtime/text.h"
#include "typelib/typelib.h"
#include "ui/report.h"

namespace kx {

namespace {

// A token set off by a blank on each side. Built by appending: GCC 12 at -O3 misreads
// `" " + s + " "` as an overlapping copy (-Wrestrict).
std::string Spaced(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out += ' ';
  out += text;
  out += ' ';
  return out;
}

constexpr std::string_view kStyleNormal = "style_tokennormal";
constexpr std::string_view kStyleHighlight = "style_winhighlight";

bool OneOf(std::string_view s, std::initializer_list<std::string_view> set) {
  for (std::string_view x : set)
    if (s == x) return true;
  return false;
}

// The keys a click fills with function tokens. "KXFunction" has no node but is handled.
bool IsClickCategory(std::string_view key) {
  return OneOf(key, {"TypeConversion", "All", "KXFunction", "DateTime", "Math", "Parse", "Text",
                     "FileFunctions"});
}

// The keys whose rows are described and inserted as host-library functions. The set differs
// from the click's: it has the old short keys and lacks "KXFunction".
bool IsFunctionCategory(std::string_view key) {
  return OneOf(key, {"All", "ALL", "Cnv", "DT", "Math", "Parse", "Text", "DateTime",
                     "TypeConversion", "FileFunctions"});
}

std::string Quoted(const std::string& s) {
  return "\"" + s + "\"";
}

// The library path a type-library node's key starts with.
std::string KeyLibraryPath(const std::string& key) {
  int64_t lt = InStr(key, "<");
  return std::string(lt > 0 ? Left(key, lt - 1) : std::string_view(key));
}

// Redrawing stays off while rows go in, and comes back on even when filling fails.
class RedrawOff {
 public:
  explicit RedrawOff(ui::Grid& grid) : grid_(grid) { grid_.SetRedraw(false); }
  ~RedrawOff() { grid_.SetRedraw(true); }
  RedrawOff(const RedrawOff&) = delete;
  RedrawOff& operator=(const RedrawOff&) = delete;

 private:
  ui::Grid& grid_;
};

template <typename Side>
void AddRecordNodes(ui::TreeView& tree, Side& side, const std::string& parent,
                    const std::string& prefix) {
  int32_t count = side.RecordLayoutCount();
  std::vector<ui::TreeNode> nodes;
  nodes.reserve(static_cast<size_t>(std::max(count, 0)));
  // A host that fails part way still leaves the layouts it named in the tree.
  try {
    for (int32_t i = 0; i < count; ++i)
      nodes.push_back({prefix + std::to_string(i), side.RecordLayoutList(CheckedInt16(i)), "record",
                       parent, false});
  } catch (...) {
    tree.AddNodes(nodes);
    throw;
  }
  tree.AddNodes(nodes);
}

template <typename Side>
void AddFieldRows(ui::Grid& grid, Side* side, const std::string& key) {
  if (!side || side->SpokeTypeName().empty()) return;
  int16_t index = Variant(std::string(Mid(key, 3))).ToInt16();
  side->SetRecordLayoutPos(index);
  int32_t count = side->FieldCount();
  for (int32_t i = 0; i < count; ++i) {
    side->SetFieldPos(CheckedInt16(i));
    grid.AddRow(side->fieldname());
  }
}

}  // namespace

KXExpressionBuilder& frmExprBld::Builder() const {
  if (!builder_) Raise(kErrObjectNotSet);
  return *builder_;
}

std::optional<ui::TreeNode> frmExprBld::SelectedNode() {
  ui::TreeView& tree = View().TreeView1();
  std::string key = tree.SelectedKey();
  if (key.empty()) return std::nullopt;
  return tree.Node(key);
}

void frmExprBld::BuildTreeView(const std::function<void()>& add_user_nodes) {
  Guarded(Box(), "BuildTreeView(CKXExpressionBuilder)", [&] {
    ui::TreeView& tree = View().TreeView1();
    KXExpressionBuilder& builder = Builder();
    // A second call rebuilds rather than failing on keys the first one added.
    tree.Clear();
    bool field_names = false;
    auto add_field_names = [&] {
      if (field_names) return;
      tree.AddNode({"FN", "Field Names", "", "", true});
      field_names = true;
    };
    if (std::shared_ptr<HostSource> source = builder.SourceControl();
        source && !source->SpokeTypeName().empty()) {
      add_field_names();
      tree.AddNode({"SRC", "Source", "", "FN", true});
      AddRecordNodes(tree, *source, "SRC", "rs");
    }
    if (std::shared_ptr<HostTarget> target = builder.TargetControl();
        target && !target->SpokeTypeName().empty()) {
      add_field_names();
      tree.AddNode({"TRG", "Target", "", "FN", true});
      AddRecordNodes(tree, *target, "TRG", "rt");
    }
    if (add_user_nodes) add_user_nodes();
    tree.AddNode({"FNC", "Flow Control and Functions", "FNC", "", true});
    host_library_.reset();
    host_library_path_ = builder.KXTypeLibPath();
    // No registered host library is no error: the tree just has no function categories.
    host_library_ = std::make_shared<const typelib::Library>(
        host_library_path_.empty()
            ? typelib::Library{}
            : OpenRegisteredLibrary(host_library_path_, context_.library_base));
    for (const TreeNodeData& n : FunctionTreeNodes(*host_library_))
      tree.AddNode({n.key, n.text, n.tag, n.parent, false});
    tree.AddNode({"OTL", "Type Libraries", "OTL", "", true});
  });
}

void frmExprBld::TreeView1_NodeClick(std::string_view key_view) {
  Guarded(Box(), "TreeView1_NodeClick(ExprBld)", [&] {
    std::string key(key_view);
    ui::TreeView& tree = View().TreeView1();
    ui::Grid& grid = View().ssdgridtokens();
    if (IsClickCategory(key)) {
      BuildFunctionTokens(key);
    } else if (key == "FC") {
      BuildFlowTokens();
    } else if (Left(key, 2) == "rs") {
      BuildSrcFldTokens(key);
    } else if (Left(key, 2) == "rt") {
      BuildTrgFldTokens(key);
    } else if (key == "OTL") {
      grid.RemoveAll();
      BuildTLBList();
    } else {
      std::optional<ui::TreeNode> node = tree.Node(key);
      if (!node) Raise(35601, "Element not found");
      if (node->tag == "user") {
        RedrawOff redraw(grid);
        grid.RemoveAll();
        std::shared_ptr<usertreeentries> lists =
            context_.user_lists ? context_.user_lists() : nullptr;
        auto no_list = [&] {
          Box().Show("Trying to add an empty list.  Quitting.", ui::kMbOk, "");
        };
        if (!lists) return no_list();
        for (int16_t i = 1; i <= lists->Count(); ++i) {
          UserTreeEntryRef entry = lists->Item(int32_t{i});
          if (!entry) return no_list();
          if (entry->NodeName() != node->text) continue;
          std::vector<std::string> items;
          entry->GetList(items);
          for (const std::string& item : items) grid.AddRow(item);
          break;
        }
      } else if (node->tag == "TLB") {
        if (tree.ChildCount(key) == 0)
          for (const TreeNodeData& n : BuildTLBTypes(key, context_.library_base))
            tree.AddNode({n.key, n.text, n.tag, n.parent, false});
      } else if (node->tag == "TLBType") {
        BuildTLBMembers(key);
      } else {
        BuildFunctionTokens(key);
      }
    }
    ShowFunctionGrid();
    grid.Refresh();
  });
}

void frmExprBld::FillGrid(const std::vector<std::string>& rows) {
  ui::Grid& grid = View().ssdgridtokens();
  RedrawOff redraw(grid);
  grid.RemoveAll();
  for (const std::string& row : rows) grid.AddRow(row);
}

void frmExprBld::BuildFlowTokens() {
  Guarded(Box(), "BuildFlowTokens(ExprBld)", [&] {
    // All eleven slots: the empty last one shows as a blank row.
    ConstructList list = BuildFunctionLists();
    FillGrid({list.begin(), list.end()});
  });
}

void frmExprBld::BuildFunctionTokens(const std::string& category) {
  Guarded(Box(), "BuildFunctionTokens(ExprBld)", [&] {
    ui::Grid& grid = View().ssdgridtokens();
    RedrawOff redraw(grid);
    grid.RemoveAll();
    const std::string path = Builder().KXTypeLibPath();
    // The library the tree was built from is read already; the window opens on "All".
    const std::vector<std::string> rows =
        host_library_ && !path.empty() && path == host_library_path_
            ? kx::BuildFunctionTokens(*host_library_, category, IsHostLibraryPath(path))
            : kx::BuildFunctionTokens(path, category, context_.library_base);
    for (const std::string& row : rows) grid.AddRow(row);
  });
}

void frmExprBld::BuildSrcFldTokens(const std::string& key) {
  Guarded(Box(), "BuildSrcFldTokens(ExprBld)", [&] {
    ui::Grid& grid = View().ssdgridtokens();
    RedrawOff redraw(grid);
    grid.RemoveAll();
    AddFieldRows(grid, Builder().SourceControl().get(), key);
  });
}

void frmExprBld::BuildTrgFldTokens(const std::string& key) {
  Guarded(Box(), "BuildTrgFldTokens(ExprBld)", [&] {
    ui::Grid& grid = View().ssdgridtokens();
    RedrawOff redraw(grid);
    grid.RemoveAll();
    AddFieldRows(grid, Builder().TargetControl().get(), key);
  });
}

void frmExprBld::ShowFunctionGrid() {
  Guarded(Box(), "ShowFunctionGrid(ExprBld)", [&] {
    ui::Grid& grid = View().ssdgridtokens();
    grid.SetVisible(true);
    grid.BringToFront();
    grid.SetCurrentColumn(0);
    if (grid.Rows() > 0) {
      grid.SetCurrentRow(0);
      grid.SetRowStyle(0, std::string(kStyleHighlight));
      grid.SetFocus();
    }
  });
}

void frmExprBld::BuildTLBList() {
  Guarded(Box(), "BuildTLBList(ExprBld)", [&] {
    ui::TreeView& tree = View().TreeView1();
    // Once per opening of the editor: the registry is walked only while "OTL" is empty.
    if (tree.ChildCount("OTL") > 0) return;
    if (!context_.registry) Raise(kErrObjectNotSet);
    for (const TreeNodeData& n : kx::BuildTLBList(*context_.registry))
      tree.AddNode({n.key, n.text, n.tag, n.parent, false});
    tree.SetExpanded("OTL", true);
  });
}

void frmExprBld::BuildTLBMembers(const std::string& key) {
  Guarded(Box(), "BuildTLBMembers(ExprBld)",
          [&] { FillGrid(kx::BuildTLBMembers(key, context_.library_base)); });
}

void frmExprBld::ssdgridtokens_BeforeRowColChange() {
  Guarded(Box(), "ssdgridtokens_BeforeRowColChange(ExprBld)", [&] {
    ui::Grid& grid = View().ssdgridtokens();
    int32_t row = grid.CurrentRow();
    if (grid.Rows() > 0 && row >= 0 && !grid.CellText(row).empty())
      grid.SetRowStyle(row, std::string(kStyleNormal));
  });
}

void frmExprBld::ssdgridtokens_RowColChange() {
  Guarded(Box(), "ssdgridtokens_RowColChange(ExprBld)", [&] {
    ui::Grid& grid = View().ssdgridtokens();
    int32_t row = grid.CurrentRow();
    std::string text = row >= 0 && row < grid.Rows() ? grid.CellText(row) : std::string();
    if (text.empty()) {
      View().txtproto(0).SetCaption("");
      View().txtproto(1).SetCaption("");
      return;
    }
    grid.SetRowStyle(row, std::string(kStyleHighlight));
    DescribeRow(text);
  });
}

void frmExprBld::LookUpConstruct(const std::string& name) {
  info_ = FunctionInfo{};
  info_.Name = name;
  ui::ScopedMessageBox route(Box());  // the catalogue reports through the process's reporter
  GetFunctionInfo(info_);
}

void frmExprBld::LookUpLibraryMember(const std::string& name, const std::string& path) {
  info_ = FunctionInfo{};
  info_.Name = name;
  ui::ScopedMessageBox route(Box());  // the lookup reports through the process's reporter
  GetKXFunctionInfoTL(info_, path, context_.library_base);
}

void frmExprBld::DescribeRow(const std::string& text) {
  std::optional<ui::TreeNode> node = SelectedNode();
  if (!node) return;
  // The host form of an information text is the prototype, a blank line, four blanks and
  // the documentation, whose parameter notes follow a ";".
  auto host_form = [&](const std::string& information) {
    int64_t cr = InStr(information, "\r");
    View().txtproto(0).SetCaption(
        std::string(cr > 0 ? Left(information, cr - 1) : std::string_view(information)));
    int64_t lf = InStr(information, "\n");
    std::string doc(lf > 0 ? Mid(information, lf + 1 + 6) : std::string_view());
    int64_t semicolon = InStr(doc, ";");
    View().txtproto(1).SetCaption(semicolon > 0 ? std::string(Left(doc, semicolon - 1)) : doc);
  };
  if (IsFunctionCategory(node->key)) {
    LookUpLibraryMember(text, Builder().KXTypeLibPath());
    host_form(info_.Description);
  } else if (node->key == "FC") {
    LookUpConstruct(text);
    // The catalogue keeps syntax and description apart; joined in the host form, the first
    // syntax line is the prototype.
    host_form(Split(info_.Syntax, kCrLf)[0] + "\r\n\r\n    " + info_.Description);
  } else if (node->tag == "TLBType" && text != kNoTypeLibInfo) {
    std::string path = KeyLibraryPath(node->key);
    LookUpLibraryMember(text, path);
    if (IsHostLibraryPath(path)) return host_form(info_.Description);
    // Other libraries: the prototype, then the "Member of" line and the documentation.
    const std::string& information = info_.Description;
    int64_t cr = InStr(information, "\r");
    View().txtproto(0).SetCaption(
        std::string(cr > 0 ? Left(information, cr - 1) : std::string_view(information)));
    size_t first = information.find_first_not_of("\r\n ", cr > 0 ? size_t(cr) : information.size());
    size_t last = information.find_last_not_of("\r\n ");
    View().txtproto(1).SetCaption(
        first == std::string::npos ? "" : information.substr(first, last + 1 - first));
  }
}

void frmExprBld::InsertToken(const std::string& text) {
  DiscardComments();
  ui::EditorControl& editor = View().KXEditor1();
  editor.InsertText(text);
  editor.SetFocus();
}

std::string frmExprBld::FieldReference(const ui::TreeNode& record, const std::string& field) {
  std::string fields = "Fields(" + Quoted(field) + ") ";
  std::string records = "Records(" + Quoted(record.text) + ").";
  if (Left(record.key, 2) != "rs") return "Targets(0)." + records + fields;
  std::shared_ptr<HostSource> source = Builder().SourceControl();
  if (!source) Raise(kErrObjectNotSet);
  // Both are asked, as the component always has: a host must answer both.
  bool supports = source->SupportsMultipleRecordLayouts();
  bool defines = source->DefinesMultipleRecordLayouts();
  return supports || defines ? records + fields : fields;
}

void frmExprBld::ssdgridtokens_DblClick() {
  Guarded(Box(), "ssdgridtokens_DblClick(ExprBld)", [&] {
    DiscardComments();
    ui::Grid& grid = View().ssdgridtokens();
    int32_t row = grid.CurrentRow();
    std::optional<ui::TreeNode> node = SelectedNode();
    if (row < 0 || row >= grid.Rows() || !node) return;
    std::string text = grid.CellText(row);
    if (node->tag == "record") {
      InsertToken(FieldReference(*node, text));
    } else if (IsFunctionCategory(node->key)) {
      LookUpLibraryMember(text, Builder().KXTypeLibPath());
      // A name the library does not have was reported by the lookup; insert nothing then.
      if (!info_.Syntax.empty()) InsertToken(info_.Syntax + " ");
    } else if (node->key == "FC") {
      LookUpConstruct(text);
      InsertToken(info_.Syntax + " ");
    } else if (node->tag == "user") {
      InsertToken(Spaced(Trim(text)));
    } else if (node->tag == "TLBType" && text != kNoTypeLibInfo) {
      // The grid lists member names; the member's prototype tells a constant, whose value
      // goes in rather than its name.
      std::string prototype = MemberPrototype(node->key, text, context_.library_base);
      if (Left(prototype, 5) == "Const") return InsertToken(Spaced(ConstantValueText(prototype)));
      LookUpLibraryMember(text, KeyLibraryPath(node->key));
      if (!info_.Syntax.empty()) InsertToken(info_.Syntax + " ");
    }
  });
}

void frmExprBld::ssdgridtokens_BuildFunction() {
  Guarded(Box(), "ssdgridtokens_BuildFunction(ExprBld)", [&] {
    ui::Grid& grid = View().ssdgridtokens();
    int32_t row = grid.CurrentRow();
    std::optional<ui::TreeNode> node = SelectedNode();
    if (row < 0 || row >= grid.Rows() || !node) return;
    // Only a node tagged "FC" takes the catalogue, and the "Flow Control" node has the key
    // "FC" but no tag: its constructs are looked up in the host library, which lacks them,
    // so the dialog gets "[name]" with no syntax and describes the construct itself.
    if (node->tag == "FC")
      LookUpConstruct(grid.CellText(row));
    else
      LookUpLibraryMember(grid.CellText(row), Builder().KXTypeLibPath());
    if (!context_.function_builder) Raise(kErrObjectNotSet);
    std::string result = context_.function_builder("[" + info_.Name + "]" + info_.Syntax);
    if (!result.empty()) {
      InsertToken(result);
      View().KXEditor1().SetFocus();
    }
  });
}

}  // namespace kx
