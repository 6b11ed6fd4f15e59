#pragma once
// The one-column token grid and the two-column argument grid. Rows count from 0.

#include <cstdint>
#include <string>

#include "ui/controls.h"

namespace kx::ui {

class Grid : public Control {
 public:
  virtual void SetRedraw(bool redraw) = 0;
  virtual void RemoveAll() = 0;
  // Appends a row with `text` in column 0 (other columns empty).
  virtual void AddRow(const std::string& text) = 0;
  virtual int32_t Rows() const = 0;
  virtual std::string CellText(int32_t row, int32_t column = 0) const = 0;
  virtual void SetCellText(int32_t row, int32_t column, const std::string& text) = 0;
  // -1 when the grid has no current row.
  virtual int32_t CurrentRow() const = 0;
  virtual void SetCurrentRow(int32_t row) = 0;
  virtual int32_t CurrentColumn() const = 0;
  virtual void SetCurrentColumn(int32_t column) = 0;
  // Named row styles ("style_tokennormal", "style_winhighlight"); "" until set.
  virtual void SetRowStyle(int32_t row, const std::string& style) = 0;
  virtual std::string RowStyle(int32_t row) const = 0;
  // Makes the row visible (scrolls when needed) and brings the grid to the front.
  virtual void ScrollTo(int32_t row) = 0;
  virtual void BringToFront() = 0;
  virtual void Refresh() = 0;
  // Columns: the token grid has one, the argument grid two (name, value). Column 0 of
  // the argument grid is read-only for the user.
  virtual void SetColumns(int32_t count) = 0;
  virtual void SetColumnWidth(int32_t column, int32_t twips) = 0;
};

}  // namespace kx::ui
