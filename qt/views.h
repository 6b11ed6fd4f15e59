#pragma once
// Qt views of the component's four windows. Each builds its widgets, hands its presenter
// the controls by name and fires the presenter's events from the widgets' signals.

#include <QMainWindow>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qt/controls.h"
#include "qt/editor.h"
#include "qt/item_views.h"
#include "ui/views.h"

class QGridLayout;
class QMenu;

namespace kx::qt {

// Settings the views share (not owned by the views).
struct ViewContext {
  // Folders a keyword file named without a folder is looked for in.
  const std::vector<std::filesystem::path>* keyword_dirs = nullptr;
  // What the editor's find and replace commands open, when not its own dialogs.
  std::function<void(QtEditor&)> find_dialog;
  std::function<void(QtEditor&)> replace_dialog;
  // The editor's check while typing; none when empty.
  LiveCheck live_check;
};

// What the views have in common: the top-level widget, deleted with the view.
class QtView {
 public:
  virtual ~QtView();
  QtView(const QtView&) = delete;
  QtView& operator=(const QtView&) = delete;
  QWidget* TopLevel() const { return top_; }
  virtual QtWindow& Frame() = 0;
  // Expires with the view.
  std::shared_ptr<const bool> Alive() const { return alive_; }

 protected:
  explicit QtView(QWidget* top) : top_(top) {}
  QWidget* top_;
  std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);
};

class QtExprBldView : public ui::ExprBldView, public QtView {
 public:
  explicit QtExprBldView(const ViewContext& context);
  ~QtExprBldView() override;

  void SetEvents(ui::ExprBldEvents* events) override;
  QtWindow& Form() override { return *window_; }
  QtWindow& Frame() override { return *window_; }
  QtEditor& KXEditor1() override { return *editor_; }
  QtTreeView& TreeView1() override { return *tree_; }
  QtTokenGrid& ssdgridtokens() override { return *grid_; }
  QtLabel& txtproto(int index) override;
  QtLabel& lblexprerr() override { return *lblexprerr_; }
  // The window's own buttons are placed by the presenter; any other name is an operator
  // button, made in the pad on first naming.
  QtButton& Command(std::string_view name) override;
  void AddMenu(const ui::MenuDef& def) override;
  QtMenuItem& Menu(std::string_view name) override;
  QtToolbar& tbar() override { return *tbar_; }
  QtPane& vselbottom() override { return *vselbottom_; }
  QtPane& vselbuttons() override { return *vselbuttons_; }
  std::vector<ui::Control*> Controls() override;

  QMainWindow* Main() const { return static_cast<QMainWindow*>(top_); }
  // The popup of a menu or submenu, made now if it was not yet; nullptr for a plain item.
  QMenu* MenuWidget(std::string_view name);
  std::vector<QtMenuItem*> Menus();
  std::vector<QtButton*> Commands();

 private:
  ui::ExprBldEvents* Sink() const { return events_; }
  void PlacePad();
  size_t MenuIndex(std::string_view name) const;  // menus_.size() when there is none
  QMenu* MenuWidget(size_t index);

  ui::ExprBldEvents* events_ = nullptr;
  std::unique_ptr<QtWindow> window_;
  std::unique_ptr<QtEditor> editor_;
  std::unique_ptr<QtTreeView> tree_;
  std::unique_ptr<QtTokenGrid> grid_;
  std::unique_ptr<QtLabel> proto_[2];
  std::unique_ptr<QtLabel> lblexprerr_;
  std::unique_ptr<QtToolbar> tbar_;
  std::unique_ptr<QtPane> vselbottom_;
  std::unique_ptr<QtPane> vselbuttons_;
  std::vector<std::unique_ptr<QtButton>> commands_;
  std::vector<std::unique_ptr<QtMenuItem>> menus_;
  // Parallel to menus_: the popup a menu item opens (null until made), its items' indexes.
  std::vector<QMenu*> menu_widgets_;
  std::vector<std::vector<size_t>> items_;
  QGridLayout* pad_ = nullptr;
  bool pad_pending_ = false;  // buttons made since the pad was last placed
  std::unique_ptr<QObject> guard_ = std::make_unique<QObject>();  // last: goes first
};

class QtFunctionView : public ui::FunctionView, public QtView {
 public:
  QtFunctionView();
  ~QtFunctionView() override;

  void SetEvents(ui::FunctionEvents* events) override;
  QtWindow& Form() override { return *window_; }
  QtWindow& Frame() override { return *window_; }
  QtLabel& lblfuncname() override { return *lblfuncname_; }
  QtLabel& lbldescription() override { return *lbldescription_; }
  QtTextBox& txtParameters() override { return *txtParameters_; }
  QtGrid& ssdgridargs() override { return *grid_; }
  QtButton& cmdok() override { return *cmdok_; }
  QtButton& cmdcancel() override { return *cmdcancel_; }
  QtButton& cmdhelp() override { return *cmdhelp_; }
  int32_t TextWidth(const std::string& text) const override;
  std::vector<ui::Control*> Controls() override;

 private:
  ui::FunctionEvents* events_ = nullptr;
  std::unique_ptr<QtWindow> window_;
  std::unique_ptr<QtLabel> lblfuncname_;
  std::unique_ptr<QtLabel> lbldescription_;
  std::unique_ptr<QtTextBox> txtParameters_;
  std::unique_ptr<QtGrid> grid_;
  std::unique_ptr<QtButton> cmdok_;
  std::unique_ptr<QtButton> cmdcancel_;
  std::unique_ptr<QtButton> cmdhelp_;
  std::unique_ptr<QObject> guard_ = std::make_unique<QObject>();
};

class QtPromptView : public ui::PromptView, public QtView {
 public:
  QtPromptView();
  ~QtPromptView() override;

  void SetEvents(ui::PromptEvents* events) override;
  QtWindow& Form() override { return *window_; }
  QtWindow& Frame() override { return *window_; }
  QtCombo& ssdcbovalue() override { return *ssdcbovalue_; }
  QtCheckBox& ssdchk3dsame() override { return *ssdchk3dsame_; }
  QtLabel& lbldesc() override { return *lbldesc_; }
  QtLabel& lbltrgfld() override { return *lbltrgfld_; }
  QtLabel& lbltemplate() override { return *lbltemplate_; }
  QtLabel& lblprompt() override { return *lblprompt_; }
  QtButton& cmdok() override { return *cmdok_; }
  QtButton& cmdcancel() override { return *cmdcancel_; }
  std::vector<ui::Control*> Controls() override;

 private:
  ui::PromptEvents* events_ = nullptr;
  std::unique_ptr<QtWindow> window_;
  std::unique_ptr<QtCombo> ssdcbovalue_;
  std::unique_ptr<QtCheckBox> ssdchk3dsame_;
  std::unique_ptr<QtLabel> lbldesc_;
  std::unique_ptr<QtLabel> lbltrgfld_;
  std::unique_ptr<QtLabel> lbltemplate_;
  std::unique_ptr<QtLabel> lblprompt_;
  std::unique_ptr<QtButton> cmdok_;
  std::unique_ptr<QtButton> cmdcancel_;
  std::unique_ptr<QObject> guard_ = std::make_unique<QObject>();
};

class QtInputBoxView : public ui::InputBoxView, public QtView {
 public:
  QtInputBoxView();
  ~QtInputBoxView() override;

  void SetEvents(ui::InputBoxEvents* events) override;
  QtWindow& Form() override { return *window_; }
  QtWindow& Frame() override { return *window_; }
  QtTextBox& txtinput() override { return *txtinput_; }
  QtLabel& lbltext() override { return *lbltext_; }
  QtButton& OKButton() override { return *OKButton_; }
  QtButton& CancelButton() override { return *CancelButton_; }
  std::vector<ui::Control*> Controls() override;

 private:
  ui::InputBoxEvents* events_ = nullptr;
  std::unique_ptr<QtWindow> window_;
  std::unique_ptr<QtTextBox> txtinput_;
  std::unique_ptr<QtLabel> lbltext_;
  std::unique_ptr<QtButton> OKButton_;
  std::unique_ptr<QtButton> CancelButton_;
  std::unique_ptr<QObject> guard_ = std::make_unique<QObject>();
};

}  // namespace kx::qt
