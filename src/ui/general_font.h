#pragma once
// The general font: every control of a window that carries a font gets the font name.

#include <string>
#include <vector>

#include "ui/controls.h"

namespace kx::ui {

inline void ApplyGeneralFont(const std::vector<Control*>& controls, const std::string& name) {
  for (Control* control : controls)
    if (control != nullptr && control->HasFont()) control->SetFontName(name);
}

}  // namespace kx::ui
