#pragma once
// frmExprBld: the editor window's presenter. It holds every decision of the window; the
// view only shows. One method per event, named as the component names it; each handler's
// error location is the first thing in its body.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "component/builder_window.h"
#include "component/kx_expression_builder.h"
#include "component/registry.h"
#include "component/usertree.h"
#include "functions/function_info.h"
#include "inventory/expression_checker.h"
#include "ui/services.h"
#include "ui/views.h"

namespace kx {

class ExprTemplate;

namespace typelib {
struct Library;
}

// Everything the window uses besides its builder.
struct ExprBldContext {
  ui::Services services;
  // The registry the "Type Libraries" branch walks.
  std::shared_ptr<Registry> registry;
  // Validate's checker when the builder has no target: the bundled checker.
  std::function<std::shared_ptr<ExpressionChecker>()> new_checker;
  // Where "comments.txt" is read (the current directory when empty).
  std::filesystem::path current_dir;
  // Folders searched in order for a keyword file given without a folder ("kxsyntax.ini"):
  // next to the conversion, then the data folder.
  std::vector<std::filesystem::path> keyword_dirs;
  // Folder that relative and drive paths of type libraries resolve against.
  std::filesystem::path library_base;
  // The builder's user lists (they are not on its interface); null while it has none.
  std::function<std::shared_ptr<usertreeentries>()> user_lists;
  // The function argument dialog opened on "[name]syntax": the text to insert, empty when
  // the user cancelled. The builder binds it to LoadFunctionBuilder.
  std::function<std::string(const std::string& text)> function_builder;
};

class PaletteAssist;

class frmExprBld : public BuilderWindow, public ui::ExprBldEvents {
 public:
  frmExprBld(ExprBldContext context, KXExpressionBuilder* builder);
  ~frmExprBld() override;

  // BuilderWindow
  void Load() override;
  bool IsLoaded() const override;
  void Unload() override;
  ui::ExprBldView& View() override;
  void SetGeneralFont(const std::string& font_name) override;
  void SetHelpFileIDs(int32_t help_id) override;
  void BuildTreeView(const std::function<void()>& add_user_nodes) override;

  // ---- Window life and commands (exprbld_window.cpp) ----
  void Form_Load();
  void Form_Activate() override;
  void Form_Resize() override;
  bool Form_QueryUnload(int unload_mode) override;
  void Form_Unload() override;
  void InitExprFormControls();
  void DiscardComments();
  void ButtonClick(std::string_view name) override;
  void MenuClick(std::string_view name) override;
  void tbar_ButtonClick(std::string_view key) override;
  void KXEditor1_KeyDown() override;
  void KXEditor1_MouseDown() override;
  void cmdok_Click();
  void cmdcancel_Click();
  void cmdhelp_Click();
  void cmdParam_Click();
  void cmdFilename_Click();
  void HandleEditCopy();
  void HandleEditCut();
  void HandleEditPaste();
  void HandleEditFind();
  void HandleEditReplace();
  void HandleEditUndo();
  void HandleEditRedo();
  void HandleToolsToggleBookmark();
  void HandleToolsDeleteBookmarks();
  void HandleToolsNextBookmark();
  void HandleToolsPrevBookmark();
  void HandleFileOpen();
  void HandleFileSave();
  void HandleToolsKeywords();
  void HandleToolsValidate();
  void HandleToolsTemplateEditor();
  // Fills `chosen` in for the editor's text or selection as one undo step; false, after
  // saying why, when it could not be applied or a prompt was cancelled.
  bool ApplyTemplate(const std::shared_ptr<ExprTemplate>& chosen);
  void HandleToolsSaveExpression();
  void HandleViewHideBottom();
  void HandleViewProperties();
  // The stored length of the "comments.txt" text while the editor holds only it.
  int32_t CommentLength() const { return comment_length_; }
  bool BottomPaneHidden() const { return bottom_hidden_; }

  // ---- Token palette and insertion (exprbld_palette.cpp) ----
  void TreeView1_NodeClick(std::string_view key) override;
  void ssdgridtokens_BeforeRowColChange() override;
  void ssdgridtokens_RowColChange() override;
  void ssdgridtokens_DblClick() override;
  void ssdgridtokens_BuildFunction() override;
  void InsertToken(const std::string& text);
  void BuildFlowTokens();
  void BuildFunctionTokens(const std::string& category);
  void BuildSrcFldTokens(const std::string& key);
  void BuildTrgFldTokens(const std::string& key);
  void ShowFunctionGrid();
  void BuildTLBList();
  void BuildTLBMembers(const std::string& key);
  // The host function library as BuildTreeView read it; null before, or when it failed.
  const typelib::Library* HostLibrary() const { return host_library_.get(); }

 private:
  ExprBldContext context_;
  KXExpressionBuilder* builder_;  // not owned; the builder outlives its window
  std::unique_ptr<ui::ExprBldView> view_;
  bool loaded_ = false;
  bool first_activation_ = false;
  bool bottom_hidden_ = false;
  int32_t comment_length_ = 0;
  FunctionInfo info_;  // the record the palette fills for functions and constructs
  std::unique_ptr<PaletteAssist> assist_;  // the editor's completion and call tips

  ui::MessageBoxService& Box() { return *context_.services.message_box; }

  // ---- private helpers of the window part (exprbld_window.cpp) ----
  bool designed_ = false;  // the view holds the menus and toolbar buttons
  ui::EditorControl& Editor() { return view_->KXEditor1(); }
  void ApplyDesign();
  void LayOutBottomPane();
  std::optional<std::string> AskFile(std::string_view filter, std::string_view title,
                                     int32_t flags);

  // ---- private helpers of the palette part (exprbld_palette.cpp) ----
  std::shared_ptr<const typelib::Library> host_library_;
  std::string host_library_path_;  // the registered path host_library_ was opened from
  KXExpressionBuilder& Builder() const;
  // The selected tree node; nullopt when none is selected.
  std::optional<ui::TreeNode> SelectedNode();
  // Fills info_ afresh for `name`: from the catalogue, or from the type library at `path`.
  void LookUpConstruct(const std::string& name);
  void LookUpLibraryMember(const std::string& name, const std::string& path);
  void DescribeRow(const std::string& text);
  void FillGrid(const std::vector<std::string>& rows);
  std::string FieldReference(const ui::TreeNode& record, const std::string& field);
};

}  // namespace kx
