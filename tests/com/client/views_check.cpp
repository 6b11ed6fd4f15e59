// The Win32 views against the contracts the presenters rely on: positions in text with CR LF
// line breaks, undo, bookmarks, files; tree keys and order; grid rows; toolbar positions;
// menus that hide; the window's modal loop and unload; the template dialogs' cell boxes. Runs on a
// display; prints DONE.

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "checks.h"
#include "editor_contract.h"
#include "runtime/error.h"
#include "win32_controls.h"
#include "win32_views.h"

namespace kx::com {
HMODULE g_module = GetModuleHandleW(nullptr);
}

using namespace kx;
using namespace kx::com::win32;

namespace {

int failures = 0;

void Check(bool ok, const std::string& what) {
  if (ok) return;
  std::printf("FAIL: %s\n", what.c_str());
  ++failures;
}

// The error number `step` raises, 0 when none.
int32_t Raised(const std::function<void()>& step) {
  try {
    step();
  } catch (const Error& e) {
    return e.Number();
  }
  return 0;
}

struct Sink : ui::ExprBldEvents {
  std::vector<std::string> heard;
  bool refuse_unload = false;
  void Form_Activate() override { heard.push_back("Activate"); }
  void Form_Resize() override {}
  bool Form_QueryUnload(int mode) override {
    heard.push_back("QueryUnload" + std::to_string(mode));
    return refuse_unload;
  }
  void Form_Unload() override { heard.push_back("Unload"); }
  void ButtonClick(std::string_view name) override { heard.push_back(std::string(name)); }
  void MenuClick(std::string_view name) override { heard.push_back(std::string(name)); }
  void tbar_ButtonClick(std::string_view key) override { heard.push_back(std::string(key)); }
  void TreeView1_NodeClick(std::string_view key) override {
    heard.push_back("node " + std::string(key));
  }
  void ssdgridtokens_BeforeRowColChange() override { heard.push_back("before"); }
  void ssdgridtokens_RowColChange() override { heard.push_back("moved"); }
  void ssdgridtokens_DblClick() override {}
  void ssdgridtokens_BuildFunction() override {}
  void KXEditor1_KeyDown() override {}
  void KXEditor1_MouseDown() override {}
};

// The template dialogs' events, as "what row text".
struct TemplateSink : ui::TemplateManagerEvents, ui::TemplateEditorEvents {
  std::vector<std::string> heard;
  void Form_Activate() override {}
  void Form_Resize() override {}
  bool Form_QueryUnload(int) override { return false; }
  void Form_Unload() override {}
  void ssdgridtemplates_RowColChange() override {}
  void ssdgridtemplates_DblClick() override {}
  void ssdgridparams_Change(int32_t row, const std::string& text) override {
    heard.push_back("value " + std::to_string(row) + " " + text);
  }
  void cmdadd_Click() override {}
  void cmdedit_Click() override {}
  void cmdremove_Click() override {}
  void cmdfile_Click() override {}
  void cmdapply_Click() override {}
  void cmdclose_Click() override {}
  void txtbody_Change() override { heard.push_back("body"); }
  void ssdgridparams_Change(int32_t row, int32_t column, const std::string& text) override {
    heard.push_back("cell " + std::to_string(row) + "," + std::to_string(column) + " " + text);
  }
  void cmdok_Click() override {}
  void cmdcancel_Click() override {}
};

ui::Window* modal_window = nullptr;

// Plays the user of the Replace dialog: "b" by "XY", Replace All, then closes it.
void CALLBACK ReplaceAll(HWND, UINT, UINT_PTR id, DWORD) {
  HWND dialog = FindWindowW(L"#32770", L"Replace");
  if (!dialog) return;  // not up yet: the timer comes again
  KillTimer(nullptr, id);
  SetDlgItemTextW(dialog, 0x480, L"b");
  SetDlgItemTextW(dialog, 0x481, L"XY");
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(0x401, BN_CLICKED),
               reinterpret_cast<LPARAM>(GetDlgItem(dialog, 0x401)));
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
               reinterpret_cast<LPARAM>(GetDlgItem(dialog, IDCANCEL)));
}

// A click of the left button in the middle of `r`, as the user makes it. The release is
// queued first: a control that tracks the mouse after the press waits for it there.
void Click(HWND window, const RECT& r) {
  const LPARAM at = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
  PostMessageW(window, WM_LBUTTONUP, 0, at);
  SendMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, at);
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&msg);
}

void CALLBACK HideModal(HWND, UINT, UINT_PTR id, DWORD) {
  KillTimer(nullptr, id);
  modal_window->Hide();
}

std::string Joined(const std::vector<std::string>& items) {
  std::string joined;
  for (const std::string& item : items) joined += item + ";";
  return joined;
}

HWND ChildAt(ui::Window& form, int x, int y) {
  return ChildWindowFromPointEx(static_cast<Win32Window&>(form).Handle(), POINT{x, y}, CWP_ALL);
}

// The user selects all of an edit box (or a combo's edit part) and types `text`.
void TypeOver(HWND edit, const wchar_t* text) {
  if (HWND inner = FindWindowExW(edit, nullptr, L"Edit", nullptr)) edit = inner;
  SendMessageW(edit, EM_SETSEL, 0, -1);
  SendMessageW(edit, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text));
}

// The user picks item `index` of a combo's list: as on Windows, the edit part still holds
// the old text when CBN_SELCHANGE comes.
void PickInCombo(HWND combo, int index) {
  COMBOBOXINFO info{};
  info.cbSize = sizeof info;
  GetComboBoxInfo(combo, &info);
  SendMessageW(info.hwndList, LB_SETCURSEL, static_cast<WPARAM>(index), 0);
  SendMessageW(GetParent(combo), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(combo), CBN_SELCHANGE),
               reinterpret_cast<LPARAM>(combo));
}

// The parameter lists cannot be edited in place: the current row's cells are edited in the
// boxes below them, which follow the current row and report only the user's changes.
void CheckTemplateViews(Win32DialogFactory& factory) {
  TemplateSink sink;
  auto manager = factory.NewTemplateManagerView();
  manager->SetEvents(&sink);
  ui::Grid& params = manager->ssdgridparams();
  params.SetColumns(3);
  for (const char* name : {"A", "B"}) params.AddRow(name);
  params.SetCellText(1, 2, "old");
  manager->SetValueChoices({"Current Contents", "Use Default"});
  HWND value = ChildAt(manager->Form(), 20, 420);
  Check(!IsWindowEnabled(value), "no current parameter: the value box is disabled");
  params.SetCurrentRow(1);
  Check(WindowText(value) == "old" && IsWindowEnabled(value) && sink.heard.empty(),
        "the value box shows the current row's value: " + WindowText(value));
  TypeOver(value, L"typed");
  PickInCombo(value, 1);
  Check(sink.heard == std::vector<std::string>{"value 1 typed", "value 1 Use Default"} &&
            params.CellText(1, 2) == "Use Default",
        "typing and picking change the current row's value: " + Joined(sink.heard));
  sink.heard.clear();

  auto editor = factory.NewTemplateEditorView();
  editor->SetEvents(&sink);
  editor->txtbody().SetText("Left(<<N>>,\r\n2)");
  Check(editor->txtbody().Text() == "Left(<<N>>,\r\n2)" && sink.heard.empty(),
        "the body keeps CR LF, and the program's text is no change");
  SendMessageW(static_cast<Win32Control<ui::TextBox>&>(editor->txtbody()).Handle(), EM_REPLACESEL,
               TRUE, reinterpret_cast<LPARAM>(L"x"));
  Check(sink.heard == std::vector<std::string>{"body"}, "typing in the body is a change");
  sink.heard.clear();
  ui::Grid& cells = editor->ssdgridparams();
  cells.SetColumns(3);
  cells.AddRow("N");
  cells.SetCellText(0, 1, "count");
  editor->SetValueChoices({"^?"});
  cells.SetCurrentRow(0);
  HWND description = ChildAt(editor->Form(), 20, 420);
  HWND default_value = ChildAt(editor->Form(), 330, 420);
  Check(WindowText(description) == "count", "the description box follows the current row");
  TypeOver(description, L"how many");
  TypeOver(default_value, L"3");
  PickInCombo(default_value, 0);
  Check(sink.heard == std::vector<std::string>{"cell 0,1 how many", "cell 0,2 3", "cell 0,2 ^?"} &&
            cells.CellText(0, 1) == "how many" && cells.CellText(0, 2) == "^?",
        "description and default edited below the list: " + Joined(sink.heard));
  editor->SetEvents(nullptr);
  manager->SetEvents(nullptr);
}

void CheckEditor(ui::EditorControl& ed, const std::filesystem::path& folder) {
  testing::ExpectEditorContract(ed, folder);

  // Each change is followed as the control reports it: a marked line deleted and typed
  // again is a new line, though the text ends as it was.
  ed.Clear();
  ed.InsertText("a\r\nb\r\nc");
  ed.SetCaretPosition(4);
  ed.ToggleBookmark();
  ed.Select(4, 3);
  ed.InsertText("");
  ed.InsertText("b\r\n");
  Check(ed.Text() == "a\r\nb\r\nc" && ed.Bookmarks().empty(),
        "a bookmark goes with its line, even when the same text comes back");

  // Replace All in the Replace dialog: one undo step, and a bookmark between two matches
  // keeps its line.
  ed.Clear();
  ed.InsertText("abc\r\nx\r\nbb");
  ed.SetCaretPosition(6);
  ed.ToggleBookmark();
  SetTimer(nullptr, 0, 100, ReplaceAll);
  ed.Replace();
  Check(ed.Text() == "aXYc\r\nx\r\nXYXY", "Replace All in the Replace dialog: [" + ed.Text() + "]");
  Check(ed.Bookmarks() == std::vector<int32_t>{2}, "a bookmark between matches stays");
  ed.Undo();
  Check(ed.Text() == "abc\r\nx\r\nbb", "Replace All is one undo step");
  ed.DeleteAllBookmarks();

  ed.SetKeywordFile("kxsyntax.ini");
  Check(Raised([&] { ed.ReloadKeywords(); }) == 0, "keywords found beside the data");
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  const std::filesystem::path folder = argc > 1 ? std::filesystem::path(argv[1]) : ".";
  Win32DialogFactory factory({folder});
  auto view = factory.NewExprBldView();
  Sink sink;
  view->SetEvents(&sink);

  CheckEditor(view->KXEditor1(), folder);

  // ---- tree
  ui::TreeView& tree = view->TreeView1();
  tree.AddNode({"A", "a", "", "", false});
  tree.AddNode({"C", "c", "", "", false});
  tree.AddNode({"B", "b", "tag", "A", true});
  tree.SetExpanded("A", true);
  tree.AddNode({"B1", "b1", "", "B", false});
  Check(Raised([&] {
          tree.AddNode({"B", "again", "", "", false});
        }) == kErrKeyNotUnique,
        "a key twice: 35602");
  Check(Raised([&] {
          tree.AddNode({"D", "d", "", "nowhere", false});
        }) == kErrElementNotFound,
        "a missing parent: 35601");
  std::string order;
  for (const ui::TreeNode& n : tree.Nodes()) order += n.key;
  Check(order == "ABB1C", "nodes depth first: " + order);
  const HWND tree_handle = static_cast<Win32TreeView&>(tree).Handle();
  const HTREEITEM b = TreeView_GetChild(tree_handle, TreeView_GetRoot(tree_handle));
  Check((TreeView_GetItemState(tree_handle, b, TVIS_EXPANDED) & TVIS_EXPANDED) != 0,
        "a node marked expanded shows open once it has children");
  Check(tree.ChildCount("A") == 1 && tree.Node("B")->tag == "tag" && tree.Node("B")->expanded,
        "children, tags and expansion");
  tree.SelectNode("B");
  Check(tree.SelectedKey() == "B" && sink.heard.empty(), "selecting a node fires no click");
  view->Form().Show(false);
  sink.heard.clear();
  HWND tree_window = static_cast<Win32TreeView&>(tree).Handle();
  view->vselbottom().SetBounds({0, 0, 6000, 3000});
  tree.SetBounds({0, 0, 3000, 3000});
  // The message takes the item in the rectangle it fills.
  RECT item{};
  HTREEITEM root = TreeView_GetRoot(tree_window);
  std::memcpy(&item, &root, sizeof root);
  SendMessageW(tree_window, TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&item));
  Click(tree_window, item);
  Check(tree.SelectedKey() == "A" && sink.heard == std::vector<std::string>{"node A"},
        "a click on a node fires NodeClick with its key: " + tree.SelectedKey() + " " +
            (sink.heard.empty() ? std::string("-") : sink.heard[0]));
  sink.heard.clear();
  tree.Clear();
  Check(tree.Nodes().empty() && !tree.Node("A"), "clear");

  // ---- grid
  ui::Grid& grid = view->ssdgridtokens();
  for (const char* row : {"Abs", "Left", "Mid"}) grid.AddRow(row);
  grid.SetCurrentRow(1);
  Check(
      grid.Rows() == 3 && grid.CurrentRow() == 1 && grid.CellText(2) == "Mid" && sink.heard.empty(),
      "rows, and a current row set by the program fires nothing");
  Check(Raised([&] { grid.CellText(3); }) == kErrIndexOutOfBounds, "a row past the end: 35600");
  grid.SetBounds({0, 0, 3000, 3000});
  HWND list = static_cast<Win32Grid&>(grid).Handle();
  RECT row{};
  row.left = LVIR_LABEL;
  SendMessageW(list, LVM_GETITEMRECT, 2, reinterpret_cast<LPARAM>(&row));
  Click(list, row);
  Check(grid.CurrentRow() == 2 && sink.heard == std::vector<std::string>{"before", "moved"},
        "a click on a row: BeforeRowColChange, then RowColChange");
  sink.heard.clear();
  grid.RemoveAll();
  Check(grid.Rows() == 0 && grid.CurrentRow() == -1, "RemoveAll leaves no current row");

  // ---- toolbar and menus
  ui::Toolbar& tbar = view->tbar();
  tbar.AddButton({"Open", "Open", "Open", false});
  tbar.AddButton({"", "", "", true});
  tbar.AddButton({"Save", "Save", "Save", false});
  Check(tbar.ButtonCount() == 3 && tbar.Button(3).Key() == "Save", "positions count separators");
  Check(Raised([&] { tbar.Button(4); }) == kErrIndexOutOfBounds, "position past the end: 35600");
  Check(Raised([&] { tbar.Button("Nope"); }) == kErrElementNotFound, "unknown key: 35601");
  tbar.Button("Save").SetEnabled(false);
  Check(!tbar.Button(3).Enabled() && tbar.Button(1).Enabled(), "one button disabled");

  view->AddMenu({"mnuEdit", "", "&Edit", ""});
  view->AddMenu({"mnuEditUndo", "mnuEdit", "&Undo", "Ctrl+Z"});
  view->AddMenu({"mnuEditRedo", "mnuEdit", "&Redo", "Ctrl+Y"});
  Check(Raised([&] {
          view->AddMenu({"mnuEditUndo", "mnuEdit", "x", ""});
        }) == kErrKeyNotUnique,
        "a menu name twice: 35602");
  Check(Raised([&] { view->Menu("mnuNope"); }) == kErrElementNotFound, "unknown menu: 35601");
  HWND form = static_cast<Win32Window&>(view->Form()).Handle();
  HMENU edit = GetSubMenu(GetMenu(form), 0);
  Check(GetMenuItemCount(edit) == 2, "two items in the Edit menu");
  view->Menu("mnuEditUndo").SetVisible(false);
  char caption[32] = {};
  GetMenuStringA(edit, 0, caption, 32, MF_BYPOSITION);
  Check(GetMenuItemCount(edit) == 1 && std::string(caption).rfind("&Redo", 0) == 0,
        "a hidden item leaves the menu");
  view->Menu("mnuEditUndo").SetVisible(true);
  Check(GetMenuItemCount(edit) == 2, "and comes back");

  ui::Button& ok = view->Command("cmdok");
  Check(&view->Command("cmdok") == &ok, "a button named twice is the same button");
  SendMessageW(static_cast<Win32Button&>(ok).Handle(), BM_CLICK, 0, 0);
  ui::Button& op = view->Command("cmdAnd");
  SendMessageW(static_cast<Win32Button&>(op).Handle(), BM_CLICK, 0, 0);
  Check(sink.heard == std::vector<std::string>{"cmdok", "cmdAnd"},
        "clicks of a window button and of a pad button reach the presenter");
  sink.heard.clear();

  // ---- the window: twips, caption, modal loop, unload
  ui::Window& window = view->Form();
  view->vselbottom().SetBounds({150, 300, 1500, 600});
  Check(view->vselbottom().Bounds() == ui::Rect{150, 300, 1500, 600}, "bounds in twips");
  window.SetCaption("Views check");
  Check(window.Caption() == "Views check", "caption");
  modal_window = &window;
  SetTimer(nullptr, 0, 200, HideModal);
  window.Show(true);
  Check(!window.IsShown() && !sink.heard.empty() && sink.heard[0] == "Activate",
        "a modal Show returns once the window is hidden");
  sink.heard.clear();
  window.Show(false);
  Check(window.IsShown(), "a modeless Show returns with the window shown");
  sink.refuse_unload = true;
  Check(!window.Unload() && window.IsShown(), "the presenter may refuse an unload");
  sink.refuse_unload = false;
  Check(window.Unload() && !window.IsShown(), "unload hides the window");
  Check(
      sink.heard == std::vector<std::string>{"Activate", "QueryUnload1", "QueryUnload1", "Unload"},
      "unload asks first, with the program's mode");

  // ---- dialogs
  auto prompt = factory.NewPromptView();
  ui::Combo& combo = prompt->ssdcbovalue();
  combo.AddItem("one");
  combo.AddItem("two");
  combo.SetText("typed");
  Check(combo.Rows() == 2 && combo.Item(1) == "two" && combo.Text() == "typed",
        "combo items and text");
  combo.RemoveAll();
  Check(combo.Rows() == 0 && combo.Text() == "typed", "RemoveAll keeps the typed text");
  prompt->ssdchk3dsame().SetValue(true);
  Check(prompt->ssdchk3dsame().Value(), "check box");
  auto function = factory.NewFunctionView();
  ui::Grid& args = function->ssdgridargs();
  args.SetColumns(2);
  args.AddRow("Name");
  args.SetCellText(0, 1, "value");
  Check(args.CellText(0, 1) == "value" && function->TextWidth("AAAA") > function->TextWidth("A"),
        "argument grid and text widths");
  auto input = factory.NewInputBoxView();
  input->txtinput().SetText("abc");
  Check(input->txtinput().Text() == "abc", "input box");

  CheckTemplateViews(factory);

  failures += checks::failures;
  if (failures == 0) std::printf("DONE\n");
  return failures == 0 ? 0 : 1;
}
