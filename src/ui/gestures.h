#pragma once
// The user's gestures on the editor window, whatever its views, so that one script plays
// the headless window and the desktop's alike.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ui/views.h"

namespace kx::ui {

// A gesture the user cannot make at all: a node, row, button or menu that is not there.
class NoSuchGesture : public std::logic_error {
 public:
  explicit NoSuchGesture(const std::string& what) : std::logic_error(what) {}
};

// Each gesture fires the events the window's view fires, in the same order. One on a
// hidden or disabled control does nothing and returns false; one the user cannot make at all
// raises a std::logic_error naming it.
class ExprBldGestures {
 public:
  virtual ~ExprBldGestures() = default;
  virtual ExprBldView& View() = 0;
  virtual bool IsShown() = 0;
  // Selects the node and fires TreeView1_NodeClick.
  virtual bool ClickNode(std::string_view key) = 0;
  // BeforeRowColChange, the move, RowColChange.
  virtual bool MoveToRow(int32_t row) = 0;
  // Moves to the row when it is not current, then the double-click / the function-builder
  // gesture.
  virtual bool DoubleClickRow(int32_t row) = 0;
  virtual bool BuildFunction(int32_t row) = 0;
  virtual bool Press(std::string_view name) = 0;
  virtual bool ChooseMenu(std::string_view name) = 0;
  virtual bool ClickToolbar(std::string_view key) = 0;
  // KXEditor1_KeyDown, then the text replaces the selection as one undo step.
  virtual bool Type(const std::string& text) = 0;
  // KXEditor1_MouseDown, then the caret moves to the position.
  virtual bool ClickEditor(int32_t position) = 0;
  // The user resizes the window to a client size in twips.
  virtual void Resize(int32_t width, int32_t height) = 0;
  // The window's close box; false when the presenter kept it open.
  virtual bool CloseBox() = 0;
  // Every menu item in definition order; the buttons named so far, in that order.
  virtual std::vector<MenuItem*> Menus() = 0;
  virtual std::vector<Button*> Commands() = 0;
};

}  // namespace kx::ui
