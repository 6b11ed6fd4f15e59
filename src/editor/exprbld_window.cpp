// frmExprBld: the window's life, its buttons, menus, toolbar and layout.

#include <algorithm>
#include <iterator>

#include "editor/exprbld_assist.h"
#include "editor/frm_expr_bld.h"
#include "functions/snippets.h"
#include "inventory/variant.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/text.h"
#include "templates/frm_inputbox.h"
#include "templates/frm_template.h"
#include "templates/template_apply.h"
#include "templates/templates.h"
#include "ui/report.h"

namespace kx {

namespace {

struct MenuDesign {
  std::string_view name;
  std::string_view parent;
  std::string_view caption;
  std::string_view shortcut;
};

// Menu-bar order: each menu is followed by its items.
constexpr MenuDesign kMenus[] = {
    {"mnuFile", "", "&File", ""},
    {"mnuFileOpen", "mnuFile", "&Open...", "Ctrl+O"},
    {"mnuFileSave", "mnuFile", "&Save...", "Ctrl+S"},
    {"mnuEdit", "", "&Edit", ""},
    {"mnuEditUndo", "mnuEdit", "&Undo", "Ctrl+Z"},
    {"mnuEditRedo", "mnuEdit", "&Redo", "Ctrl+Y"},
    {"mnuEditSep1", "mnuEdit", "-", ""},
    {"mnuEditCut", "mnuEdit", "Cu&t", "Ctrl+X"},
    {"mnuEditCopy", "mnuEdit", "&Copy", "Ctrl+C"},
    {"mnuEditPaste", "mnuEdit", "&Paste", "Ctrl+V"},
    {"mnuEditSep2", "mnuEdit", "-", ""},
    {"mnuEditFind", "mnuEdit", "&Find...", "Ctrl+F"},
    {"mnuEditReplace", "mnuEdit", "R&eplace...", "Ctrl+H"},
    {"mnuView", "", "&View", ""},
    {"mnuViewProperties", "mnuView", "&Properties...", ""},
    {"mnuViewHideBottom", "mnuView", "&Hide Bottom Pane", ""},
    {"mnuTools", "", "&Tools", ""},
    {"mnuToolsValidate", "mnuTools", "&Validate", "F5"},
    {"mnuToolsSep1", "mnuTools", "-", ""},
    {"mnuToolsKeywords", "mnuTools", "&Keyword File...", ""},
    {"mnuToolsSaveGrid", "mnuTools", "&Save Expression As...", ""},
    {"mnuToolsTemplate", "mnuTools", "&Templates...", ""},
    {"mnuToolsSep2", "mnuTools", "-", ""},
    {"mnuToolsToggleBookmark", "mnuTools", "Toggle &Bookmark", "Ctrl+F2"},
    {"mnuToolsDelBookmarks", "mnuTools", "&Delete All Bookmarks", "Ctrl+Shift+F2"},
    {"mnuToolsNextBookmark", "mnuTools", "&Next Bookmark", "F2"},
    {"mnuToolsPrevBookmark", "mnuTools", "&Previous Bookmark", "Shift+F2"},
};

struct ToolDesign {
  std::string_view key;  // empty: a separator
  std::string_view tooltip;
};

// Positions count separators: "Validate" must stay button 23 and "Template" button 25.
constexpr ToolDesign kTools[] = {
    {"Open", "Open"},
    {"Save", "Save"},
    {},
    {"Properties", "Properties"},
    {},
    {"Cut", "Cut"},
    {"Copy", "Copy"},
    {"Paste", "Paste"},
    {},
    {"Find", "Find"},
    {"Replace", "Replace"},
    {},
    {"Undo", "Undo"},
    {"Redo", "Redo"},
    {},
    {"Keywords", "Keyword File"},
    {"SetBookmark", "Toggle Bookmark"},
    {"DeleteBookmark", "Delete All Bookmarks"},
    {"NextBookmark", "Next Bookmark"},
    {"PrevBookmark", "Previous Bookmark"},
    {},
    {"Toggle", "Hide Bottom Pane"},
    {"Validate", "Validate"},
    {},
    {"Template", "Template"},
};
constexpr int32_t kValidateButton = 23;
constexpr int32_t kTemplateButton = 25;

struct ButtonDesign {
  std::string_view name;
  std::string_view caption;
  bool visible;
};
constexpr ButtonDesign kButtons[] = {
    {"cmdok", "OK", true},
    {"cmdcancel", "Cancel", true},
    {"cmdhelp", "&Help", true},
    {"cmdParam", "&Parameter...", false},  // the builder shows it on request
    {"cmdFilename", "File &Name...", true},
};

constexpr std::string_view kDesignCaption = "Expression Builder";
constexpr int32_t kHelpContext = 1123;
// The template command fills a one-record inventory made of the editor's text.
constexpr std::string_view kEditorRecordKey = "exprkey";
constexpr std::string_view kTemplateInvalid = "Template invalid or incomplete.";

// The platform's open-file dialog flags.
constexpr int32_t kOfnHideReadOnly = 0x4;
constexpr int32_t kOfnPathMustExist = 0x800;
constexpr int32_t kOfnFileMustExist = 0x1000;
constexpr int32_t kOpenFlags = kOfnHideReadOnly | kOfnFileMustExist;
constexpr int32_t kSaveFlags = kOfnHideReadOnly | kOfnPathMustExist;
constexpr std::string_view kTextFilter = "Text Files (*.txt)|*.txt";

// Twips. The bottom pane's arithmetic and the operator column are the window's; the
// rest places what the window holds around them.
constexpr int32_t kToolbarHeight = 420;
constexpr int32_t kMargin = 100;
constexpr int32_t kOperatorColumn = 1400;  // from the right edge to the operator pad
constexpr int32_t kPaneInset = 1600;       // the pane's width not left to tree and grid
constexpr int32_t kProtoArea = 400;        // two prototype lines at the pane's foot
constexpr int32_t kProtoLine = 200;
constexpr int32_t kBelowPane = 600;
constexpr int32_t kButtonWidth = 1200;
constexpr int32_t kButtonHeight = 360;
constexpr int32_t kButtonStep = 420;
constexpr ui::Rect kDesignForm{0, 0, 10500, 8100};
constexpr ui::Rect kDesignEditor{kMargin, kToolbarHeight, 8800, 3000};
constexpr ui::Rect kDesignPane{0, 4000, 10500, 3200};

KXExpressionBuilder& Need(KXExpressionBuilder* builder) {
  if (!builder) Raise(kErrObjectNotSet);
  return *builder;
}

// Captions show "&" as an accelerator mark, so the ampersand operator doubles it.
std::string OperatorCaption(std::string_view text) {
  return ReplaceAll(Trim(text), "&", "&&");
}

}  // namespace

frmExprBld::frmExprBld(ExprBldContext context, KXExpressionBuilder* builder)
    : context_(std::move(context)), builder_(builder) {}

frmExprBld::~frmExprBld() {
  if (view_) {
    view_->SetEvents(nullptr);
    view_->KXEditor1().SetAssist(nullptr);
  }
}

void frmExprBld::Load() {
  if (loaded_) return;
  if (!view_) {
    view_ = context_.services.dialogs->NewExprBldView();
    view_->SetEvents(this);
    if (builder_) {
      assist_ = std::make_unique<PaletteAssist>(*builder_, context_);
      view_->KXEditor1().SetAssist(assist_.get());
    }
    designed_ = false;
  }
  loaded_ = true;
  Form_Load();
}

bool frmExprBld::IsLoaded() const {
  return loaded_;
}

void frmExprBld::Unload() {
  if (loaded_) view_->Form().Unload();
}

ui::ExprBldView& frmExprBld::View() {
  if (!view_) Raise(kErrObjectNotSet);
  return *view_;
}

// The view is kept across unloads (its tree survives for the next Show), so every load
// puts the designed state back; the window keeps the size the user gave it.
void frmExprBld::ApplyDesign() {
  ui::ExprBldView& view = *view_;
  ui::Toolbar& tbar = view.tbar();
  if (!designed_) {
    for (const MenuDesign& m : kMenus)
      view.AddMenu({std::string(m.name), std::string(m.parent), std::string(m.caption),
                    std::string(m.shortcut)});
    for (const ToolDesign& t : kTools)
      tbar.AddButton(
          {std::string(t.key), std::string(t.tooltip), std::string(t.key), t.key.empty()});
    view.Form().SetBounds(kDesignForm);
    view.KXEditor1().SetBounds(kDesignEditor);
    view.vselbottom().SetBounds(kDesignPane);
    designed_ = true;
  }
  for (const MenuDesign& m : kMenus) {
    ui::MenuItem& item = view.Menu(m.name);
    item.SetCaption(std::string(m.caption));
    item.SetVisible(true);
    item.SetEnabled(true);
  }
  for (int32_t i = 1; i <= static_cast<int32_t>(std::size(kTools)); ++i) {
    const ToolDesign& t = kTools[i - 1];
    if (t.key.empty()) continue;
    ui::ToolbarButton& button = tbar.Button(i);
    button.SetEnabled(true);
    button.SetToolTip(std::string(t.tooltip));
    button.SetImage(t.key == "Toggle" ? "NoBottom" : std::string(t.key));
  }
  for (const ButtonDesign& b : kButtons) {
    ui::Button& button = view.Command(b.name);
    button.SetCaption(std::string(b.caption));
    button.SetVisible(b.visible);
  }
  size_t count = 0;
  const OperatorButton* operators = OperatorButtons(count);
  for (size_t i = 0; i < count; ++i)
    view.Command(operators[i].control).SetCaption(OperatorCaption(operators[i].text));
  view.Form().SetCaption(std::string(kDesignCaption));
  view.vselbottom().SetVisible(true);
  view.lblexprerr().SetCaption("");
}

void frmExprBld::Form_Load() {
  Guarded(Box(), "Form_Load(ExprBld)", [&] {
    first_activation_ = true;
    bottom_hidden_ = false;
    comment_length_ = 0;
    ApplyDesign();
    InitExprFormControls();
    Editor().ReloadKeywords();
  });
  Form_Resize();
}

void frmExprBld::Form_Activate() {
  Guarded(Box(), "Form_Activate(ExprBld)", [&] {
    if (!first_activation_) return;
    first_activation_ = false;
    ui::ExprBldView& view = *view_;
    if (builder_) {
      if (!builder_->AllowTemplates()) {
        view.Menu("mnuToolsTemplate").SetVisible(false);
        view.tbar().Button(kTemplateButton).SetEnabled(false);
      }
      if (!builder_->AllowValidation()) {
        view.Menu("mnuToolsValidate").SetVisible(false);
        view.tbar().Button(kValidateButton).SetEnabled(false);
      }
      if (!builder_->FormTitle().empty()) view.Form().SetCaption(builder_->FormTitle());
      if (builder_->HelpID() >= 0) SetHelpFileIDs(builder_->HelpID());
      std::string keywords(Trim(builder_->KeywordFile()));
      Editor().SetKeywordFile(keywords.empty() ? "kxsyntax.ini" : keywords);
    }
    Editor().ReloadKeywords();
    // A host that built no tree has no "All" node; the grid then simply stays empty.
    if (view.TreeView1().Node("All")) {
      view.TreeView1().SelectNode("All");
      TreeView1_NodeClick("All");
    }
    comment_length_ = 0;
    if (Editor().Empty()) {
      std::filesystem::path comments = context_.current_dir / "comments.txt";
      // No file, no hint: the directory is never written.
      if (FileExists(comments)) {
        std::string text = ReadWholeFile(comments);
        Editor().InsertText(text);
        comment_length_ = static_cast<int32_t>(text.size());
      }
    }
    ui::IgnoringErrors([&] { view.Form().DoEvents(); });
    ui::IgnoringErrors([&] { Editor().SetFocus(); });
    first_activation_ = false;
  });
}

void frmExprBld::Form_Resize() {
  Guarded(Box(), "Form_Resize(ExprBld)", [&] {
    ui::ExprBldView& view = *view_;
    ui::Window& form = view.Form();
    if (form.Minimized()) return;
    const int32_t width = form.ScaleWidth();
    const int32_t height = form.ScaleHeight();
    const int32_t column = width - kOperatorColumn;

    view.tbar().SetBounds({0, 0, width, kToolbarHeight});

    ui::Rect pane = view.vselbottom().Bounds();
    if (width >= 100) pane.width = width;
    if (!bottom_hidden_) pane.top = height - pane.height - kBelowPane;
    view.vselbottom().SetBounds(pane);

    ui::Rect editor = Editor().Bounds();
    editor.height = std::max(0, bottom_hidden_ ? height - 550 : pane.top - 550);
    editor.width = std::max(0, column - kMargin - editor.left);
    Editor().SetBounds(editor);

    // The right-hand column: buttons stacked up from the bottom, the operator pad above.
    int32_t top = height - kMargin - kButtonHeight;
    for (std::string_view name : {"cmdhelp", "cmdcancel", "cmdok", "cmdFilename", "cmdParam"}) {
      view.Command(name).SetBounds({column, top, kButtonWidth, kButtonHeight});
      top -= kButtonStep;
    }
    const int32_t pad_bottom = top + kButtonStep - kMargin;
    view.vselbuttons().SetBounds(
        {column, kToolbarHeight, kButtonWidth, std::max(0, pad_bottom - kToolbarHeight)});
    view.lblexprerr().SetBounds(
        {kMargin, height - kBelowPane + kMargin, std::max(0, column - 2 * kMargin), 400});
    LayOutBottomPane();
  });
}

// Tree and grid side by side over two prototype lines, all left of the operator column.
void frmExprBld::LayOutBottomPane() {
  ui::ExprBldView& view = *view_;
  const ui::Rect pane = view.vselbottom().Bounds();
  const int32_t usable = std::max(0, pane.width - kPaneInset);
  const int32_t lists_height = std::max(0, pane.height - kMargin - kProtoArea - kMargin);
  const int32_t tree_width = usable / 3;
  view.TreeView1().SetBounds({kMargin, kMargin, tree_width, lists_height});
  view.ssdgridtokens().SetBounds({2 * kMargin + tree_width, kMargin,
                                  std::max(0, usable - tree_width - kMargin), lists_height});
  view.txtproto(0).SetBounds({kMargin, pane.height - kProtoArea, usable, kProtoLine});
  view.txtproto(1).SetBounds({kMargin, pane.height - kProtoArea + kProtoLine, usable, kProtoLine});
}

bool frmExprBld::Form_QueryUnload(int /*unload_mode*/) {
  return false;
}

void frmExprBld::Form_Unload() {
  Guarded(Box(), "Form_Unload(ExprBld)", [&] {
    first_activation_ = false;
    loaded_ = false;
  });
}

void frmExprBld::InitExprFormControls() {
  Guarded(Box(), "InitExprFormControls(ExprBld)", [&] {
    Editor().SetStyle("style_winhighlight");
    Editor().SetStyle("style_tokennormal");
  });
}

void frmExprBld::DiscardComments() {
  Guarded(Box(), "DiscardComments(ExprBld)", [&] {
    if (comment_length_ > 0) {
      comment_length_ = 0;
      Editor().Clear();
    }
    comment_length_ = 0;
  });
}

void frmExprBld::SetGeneralFont(const std::string& font_name) {
  Guarded(Box(), "SetGeneralFont(ExprBld)", [&] {
    for (ui::Control* control : View().Controls())
      if (control->HasFont()) control->SetFontName(font_name);
  });
}

void frmExprBld::SetHelpFileIDs(int32_t help_id) {
  Guarded(Box(), "SetHelpFileIDs(ExprBld)", [&] {
    View().Form().SetHelpContextID(help_id);
    for (ui::Control* control : View().Controls()) control->SetHelpContextID(help_id);
  });
}

// ---- Buttons, menus and toolbar ----

void frmExprBld::ButtonClick(std::string_view name) {
  if (name == "cmdok") return cmdok_Click();
  if (name == "cmdcancel") return cmdcancel_Click();
  if (name == "cmdhelp") return cmdhelp_Click();
  if (name == "cmdParam") return cmdParam_Click();
  if (name == "cmdFilename") return cmdFilename_Click();
  std::string_view text = OperatorText(name);
  if (text.empty()) return;
  Guarded(Box(), std::string(name) + "_Click(ExprBld)", [&] { InsertToken(std::string(text)); });
}

void frmExprBld::MenuClick(std::string_view name) {
  using Handler = void (frmExprBld::*)();
  static constexpr std::pair<std::string_view, Handler> kTable[] = {
      {"mnuFileOpen", &frmExprBld::HandleFileOpen},
      {"mnuFileSave", &frmExprBld::HandleFileSave},
      {"mnuEditUndo", &frmExprBld::HandleEditUndo},
      {"mnuEditRedo", &frmExprBld::HandleEditRedo},
      {"mnuEditCut", &frmExprBld::HandleEditCut},
      {"mnuEditCopy", &frmExprBld::HandleEditCopy},
      {"mnuEditPaste", &frmExprBld::HandleEditPaste},
      {"mnuEditFind", &frmExprBld::HandleEditFind},
      {"mnuEditReplace", &frmExprBld::HandleEditReplace},
      {"mnuViewProperties", &frmExprBld::HandleViewProperties},
      {"mnuViewHideBottom", &frmExprBld::HandleViewHideBottom},
      {"mnuToolsValidate", &frmExprBld::HandleToolsValidate},
      {"mnuToolsKeywords", &frmExprBld::HandleToolsKeywords},
      {"mnuToolsSaveGrid", &frmExprBld::HandleToolsSaveExpression},
      {"mnuToolsTemplate", &frmExprBld::HandleToolsTemplateEditor},
      {"mnuToolsToggleBookmark", &frmExprBld::HandleToolsToggleBookmark},
      {"mnuToolsDelBookmarks", &frmExprBld::HandleToolsDeleteBookmarks},
      {"mnuToolsNextBookmark", &frmExprBld::HandleToolsNextBookmark},
      {"mnuToolsPrevBookmark", &frmExprBld::HandleToolsPrevBookmark},
  };
  for (const auto& [menu, handler] : kTable)
    if (menu == name) return (this->*handler)();
}

void frmExprBld::tbar_ButtonClick(std::string_view key) {
  using Handler = void (frmExprBld::*)();
  static constexpr std::pair<std::string_view, Handler> kTable[] = {
      {"Open", &frmExprBld::HandleFileOpen},
      {"Save", &frmExprBld::HandleFileSave},
      {"Properties", &frmExprBld::HandleViewProperties},
      {"Cut", &frmExprBld::HandleEditCut},
      {"Copy", &frmExprBld::HandleEditCopy},
      {"Paste", &frmExprBld::HandleEditPaste},
      {"Find", &frmExprBld::HandleEditFind},
      {"Replace", &frmExprBld::HandleEditReplace},
      {"Redo", &frmExprBld::HandleEditRedo},
      {"Undo", &frmExprBld::HandleEditUndo},
      {"Keywords", &frmExprBld::HandleToolsKeywords},
      {"SetBookmark", &frmExprBld::HandleToolsToggleBookmark},
      {"DeleteBookmark", &frmExprBld::HandleToolsDeleteBookmarks},
      {"NextBookmark", &frmExprBld::HandleToolsNextBookmark},
      {"PrevBookmark", &frmExprBld::HandleToolsPrevBookmark},
      {"Toggle", &frmExprBld::HandleViewHideBottom},
      {"Validate", &frmExprBld::HandleToolsValidate},
      {"Template", &frmExprBld::HandleToolsTemplateEditor},
  };
  for (const auto& [button, handler] : kTable)
    if (button == key) return (this->*handler)();
}

void frmExprBld::KXEditor1_KeyDown() {
  DiscardComments();
}

void frmExprBld::KXEditor1_MouseDown() {
  DiscardComments();
}

void frmExprBld::cmdok_Click() {
  Guarded(Box(), "cmdok_Click(ExprBld)", [&] {
    DiscardComments();
    Need(builder_).Expression(Editor().Text());
    Unload();
  });
}

void frmExprBld::cmdcancel_Click() {
  Guarded(Box(), "cmdcancel_Click(ExprBld)", [&] { Unload(); });
}

void frmExprBld::cmdhelp_Click() {
  Guarded(Box(), "cmdhelp_Click(ExprBld)", [&] {
    std::string help_file = Need(builder_).HelpFile();
    if (!help_file.empty())
      context_.services.help->ShowContext(help_file, kHelpContext);
    else
      Box().Show("No help file provided.", ui::kMbOk, "");
  });
}

void frmExprBld::cmdParam_Click() {
  Guarded(Box(), "cmdparam_Click(ExprBld)", [&] {
    std::string name = AskInputBox(context_.services, Need(builder_), "Enter parameter name");
    // The input box gives "" for Cancel as for an empty line: nothing to insert.
    if (name.empty()) return;
    DiscardComments();
    InsertToken("<<" + name + ">>");
  });
}

void frmExprBld::cmdFilename_Click() {
  Guarded(Box(), "cmdFilename_Click(ExprBld)", [&] {
    std::optional<std::string> name = AskFile("All Files (*.*)|*.*", "Get filename", kOpenFlags);
    if (name) InsertToken(" \"" + *name + "\" ");
  });
}

std::optional<std::string> frmExprBld::AskFile(std::string_view filter, std::string_view title,
                                               int32_t flags) {
  return context_.services.file_dialog->ShowOpen({std::string(filter), std::string(title), flags});
}

// ---- Commands ----

void frmExprBld::HandleEditCopy() {
  Guarded(Box(), "HandleEditCopy(ExprBld)", [&] { Editor().Copy(); });
}

void frmExprBld::HandleEditCut() {
  Guarded(Box(), "HandleEditCut(ExprBld)", [&] { Editor().Cut(); });
}

void frmExprBld::HandleEditPaste() {
  Guarded(Box(), "HandleEditPaste(ExprBld)", [&] { Editor().Paste(); });
}

void frmExprBld::HandleEditFind() {
  Guarded(Box(), "HandleEditFind(ExprBld)", [&] { Editor().Find(); });
}

void frmExprBld::HandleEditReplace() {
  Guarded(Box(), "HandleEditReplace(ExprBld)", [&] { Editor().Replace(); });
}

void frmExprBld::HandleEditUndo() {
  Guarded(Box(), "HandleEditUndo(ExprBld)", [&] { Editor().Undo(); });
}

void frmExprBld::HandleEditRedo() {
  Guarded(Box(), "HandleEditRedo(ExprBld)", [&] { Editor().Redo(); });
}

void frmExprBld::HandleToolsToggleBookmark() {
  Guarded(Box(), "HandleToolsToggleBookmark(ExprBld)", [&] { Editor().ToggleBookmark(); });
}

void frmExprBld::HandleToolsDeleteBookmarks() {
  Guarded(Box(), "HandleToolsDeleteBookmarks(ExprBld)", [&] { Editor().DeleteAllBookmarks(); });
}

void frmExprBld::HandleToolsNextBookmark() {
  Guarded(Box(), "HandleToolsNextBookmark(ExprBld)", [&] { Editor().NextBookmark(); });
}

void frmExprBld::HandleToolsPrevBookmark() {
  Guarded(Box(), "HandleToolsPrevBookmark(ExprBld)", [&] { Editor().PrevBookmark(); });
}

void frmExprBld::HandleFileOpen() {
  Guarded(Box(), "HandleFileOpen(ExprBld)", [&] {
    std::optional<std::string> name = AskFile(kTextFilter, "Open Expression file", kOpenFlags);
    if (!name) return;
    DiscardComments();
    Editor().LoadFile(*name);
  });
}

void frmExprBld::HandleFileSave() {
  Guarded(Box(), "HandleFileSave(ExprBld)", [&] {
    std::optional<std::string> name = AskFile(kTextFilter, "Save Expression file", kSaveFlags);
    if (name) Editor().SaveFile(*name);
  });
}

void frmExprBld::HandleToolsKeywords() {
  Guarded(Box(), "HandleToolsKeywords(ExprBld)", [&] {
    std::optional<std::string> name =
        AskFile("Initialization Files (*.ini)|*.ini", "Open Keyword file", kOpenFlags);
    if (!name) return;
    Editor().SetKeywordFile(std::string(Trim(*name)));
    Editor().ReloadKeywords();
  });
}

void frmExprBld::HandleToolsValidate() {
  Guarded(Box(), "HandleToolsValidate(ExprBld)", [&] {
    view_->lblexprerr().SetCaption("");
    Editor().ClearErrorMark();
    std::shared_ptr<HostTarget> target = Need(builder_).TargetControl();
    std::shared_ptr<ExpressionChecker> checker;
    if (target)
      checker = target->BasicCompiler();
    else if (context_.new_checker)
      checker = context_.new_checker();
    if (!checker) Raise(kErrObjectNotSet);

    const std::string text = Editor().Text();
    checker->Check(text);
    std::string error = checker->ErrorText();
    if (error.empty()) {
      Box().Show("Expression contains no syntax errors.", ui::kMbOk, "");
      return;
    }
    const int32_t end = static_cast<int32_t>(text.size()) + 1;
    const int32_t start = std::clamp(checker->ErrorStart(), 1, end);
    const int32_t length = std::clamp(checker->ErrorLength(), 0, end - start);
    Editor().Select(start, length);
    Editor().MarkError(start, length);
    view_->lblexprerr().SetCaption(error);
  });
}

// Opens the template manager on the builder's template file; its Apply fills the chosen
// template in for the editor's text or selection. The file and template last applied
// become the builder's, so the manager opens on them next time.
void frmExprBld::HandleToolsTemplateEditor() {
  Guarded(Box(), "HandleToolsTemplateEditor(ExprBld)", [&] {
    DiscardComments();
    KXExpressionBuilder& builder = Need(builder_);
    TemplateDialogContext dialogs{context_.services, builder.ProductName(), {}};
    if (std::shared_ptr<FontDesc> font = builder.Font()) dialogs.font_name = font->Name;
    frmtemplate manager(dialogs,
                        [&](const ExprTemplateRef& chosen) { return ApplyTemplate(chosen); });
    manager.Show(builder.TemplateFile(), builder.TemplateName());
    if (!manager.Applied()) return;
    builder.TemplateFile(manager.Templates().filename());
    builder.TemplateName(manager.Applied()->Name());
  });
}

bool frmExprBld::ApplyTemplate(const std::shared_ptr<ExprTemplate>& chosen_ref) {
  KXExpressionBuilder& builder = Need(builder_);
  ExprTemplate& chosen = *chosen_ref;
  if (chosen.Name().empty()) {
    Box().Show(std::string(kTemplateInvalid), ui::kMbOk, "");
    return false;
  }
  ArmPrompts(chosen);

  // The editor's text as a one-record inventory; the selection, if any, is what the
  // template replaces.
  ui::EditorControl& editor = Editor();
  auto record = std::make_shared<ExpressionInfo>();
  record->ExpressionKey = std::string(kEditorRecordKey);
  record->ExpressionText = editor.Text();
  const std::string& text = record->ExpressionText;
  const int32_t length = editor.SelectionLength();
  if (length > 0) {
    const size_t start = static_cast<size_t>(editor.SelectionStart() - 1);
    record->SelectedText = text.substr(start, static_cast<size_t>(length));
    size_t row_start = 0;
    record->SelRowStart = 1;
    for (size_t at; (at = text.find("\r\n", row_start)) != std::string::npos && at < start;
         row_start = at + 2)
      ++record->SelRowStart;
    record->SelRowEnd = record->SelRowStart;
    record->SelColStart = static_cast<int32_t>(start - row_start);
    record->SelColEnd = record->SelColStart + length;
  }
  if (SelfReferencingParameter(chosen, record.get())) {
    Box().Show(std::string(kTemplateInvalid), ui::kMbOk, "");
    return false;
  }
  ExpressionList list;
  list.SetSourceControl(builder.SourceControl());
  list.SetTargetControl(builder.TargetControl());
  list.SetTemplateToUse(chosen_ref);
  list.Add(record);
  DialogPrompter prompter(context_.services, builder);
  if (!ApplyTemplatetoStrings(list, prompter, &Box())) return false;
  editor.Select(1, static_cast<int32_t>(text.size()));
  editor.InsertText(record->ReplacedExpression);
  return true;
}

// Writes the text as OK would hand it back, to a text file of the user's choice.
void frmExprBld::HandleToolsSaveExpression() {
  Guarded(Box(), "HandleToolsSaveExpression(ExprBld)", [&] {
    std::optional<std::string> name = AskFile(kTextFilter, "Save Expression As", kSaveFlags);
    if (!name) return;
    WriteFileAtomic(*name, comment_length_ > 0 ? std::string() : Editor().Text());
  });
}

// The builder's properties as the host set them, one per line.
void frmExprBld::HandleViewProperties() {
  Guarded(Box(), "HandleViewProperties(ExprBld)", [&] {
    KXExpressionBuilder& b = Need(builder_);
    auto yes_no = [](bool v) { return std::string(v ? "Yes" : "No"); };
    auto or_none = [](const std::string& v) { return v.empty() ? std::string("(none)") : v; };
    std::shared_ptr<FontDesc> font = b.Font();
    const std::vector<std::string> lines = {
        "Title: " + or_none(b.FormTitle()),
        "Product: " + or_none(b.ProductName()),
        "Font: " + (font ? font->Name + " " + Variant(font->Size).ToText() : "(none)"),
        "Keyword file: " + or_none(Editor().KeywordFile()),
        "Template file: " + or_none(b.TemplateFile()),
        "Template name: " + or_none(b.TemplateName()),
        "Help file: " + or_none(b.HelpFile()),
        "Help context: " + std::to_string(b.HelpID()),
        "Host type library: " + or_none(b.KXTypeLibPath()),
        "Source: " + std::string(b.SourceControl() ? "set" : "(none)"),
        "Target: " + std::string(b.TargetControl() ? "set" : "(none)"),
        "Validation allowed: " + yes_no(b.AllowValidation()),
        "Templates allowed: " + yes_no(b.AllowTemplates()),
        "Parameter button: " + yes_no(b.ParameterButtonVisible()),
    };
    Box().Show(Join(lines, kCrLf), ui::kMbOk | ui::kMbInformation, "Properties");
  });
}

void frmExprBld::HandleViewHideBottom() {
  Guarded(Box(), "HandleViewHideBottom(ExprBld)", [&] {
    ui::ExprBldView& view = *view_;
    ui::Pane& pane = view.vselbottom();
    ui::ToolbarButton& toggle = view.tbar().Button("Toggle");
    ui::Rect editor = Editor().Bounds();
    const int32_t height = view.Form().ScaleHeight();
    if (bottom_hidden_) {
      ui::Rect bounds = pane.Bounds();
      bounds.top = height - bounds.height - kBelowPane;
      pane.SetBounds(bounds);
      pane.SetVisible(true);
      editor.height = std::max(0, bounds.top - 520);
      Editor().SetBounds(editor);
      toggle.SetImage("NoBottom");
      toggle.SetToolTip("Hide Bottom Pane");
      view.Menu("mnuViewHideBottom").SetCaption("&Hide Bottom Pane");
    } else {
      editor.height = std::max(0, height - 1200);
      Editor().SetBounds(editor);
      pane.SetVisible(false);
      toggle.SetImage("HasBottom");
      toggle.SetToolTip("Show Bottom Pane");
      view.Menu("mnuViewHideBottom").SetCaption("S&how Bottom Pane");
    }
    bottom_hidden_ = !bottom_hidden_;
  });
}

}  // namespace kx
