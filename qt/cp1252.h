#pragma once
// Byte strings to display text and back. Every byte maps to one character: Windows-1252
// where it defines one, the C1 control of the same number for its five holes, so any byte
// string survives a round trip through a widget.

#include <QString>

#include <string>
#include <string_view>

namespace kx::qt {

QString ToQt(std::string_view bytes);
// Characters with no byte become '?'.
std::string FromQt(const QString& text);

}  // namespace kx::qt
