#include "ui/line_marks.h"

#include <algorithm>
#include <string>

namespace kx::ui {

std::vector<size_t> LineStarts(std::string_view text) {
  std::vector<size_t> starts = {0};
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    if (text[i] == '\r' || text[i] == '\n') starts.push_back(i + 1);
  }
  return starts;
}

int32_t LineAt(const std::vector<size_t>& starts, size_t offset) {
  return static_cast<int32_t>(std::upper_bound(starts.begin(), starts.end(), offset) -
                              starts.begin());
}

TextChange ChangeBetween(std::string_view before, std::string_view after, size_t caret) {
  const size_t shorter = std::min(before.size(), after.size());
  size_t prefix = 0;
  while (prefix < shorter && before[prefix] == after[prefix]) ++prefix;
  size_t suffix = 0;
  while (suffix < shorter && before[before.size() - 1 - suffix] == after[after.size() - 1 - suffix])
    ++suffix;
  // Any split that keeps as many bytes in front and behind together as the longest common
  // prefix and suffix allow describes the change; the caret picks one where it can.
  size_t behind = std::min(suffix, shorter - prefix);
  size_t at = prefix;
  const size_t kept = at + behind;
  if (caret <= after.size() && after.size() - caret <= std::min(suffix, shorter)) {
    const size_t caret_behind = after.size() - caret;
    const size_t caret_at = std::min(prefix, shorter - caret_behind);
    if (caret_at + caret_behind == kept) {
      at = caret_at;
      behind = caret_behind;
    }
  }
  return {at, before.size() - behind - at, after.size() - behind - at};
}

std::set<int32_t> MoveLineMarks(const std::set<int32_t>& marks, std::string_view text,
                                const TextChange& change, std::string_view inserted) {
  std::vector<size_t> starts = LineStarts(text);
  const size_t last = starts.size();
  const size_t a = change.at, b = change.at + change.removed;
  std::set<int32_t> moved;
  for (int32_t line : marks) {
    const auto index = static_cast<size_t>(line);
    const size_t s = starts[index - 1];
    const size_t e = index < last ? starts[index] : text.size();
    const bool gone = index < last ? s >= a && e <= b : s > a && e <= b;
    if (change.removed == 0 || s <= a) {
      if (!gone) moved.insert(line);
    } else if (s > b) {
      moved.insert(line - (LineAt(starts, b) - LineAt(starts, a)));
    } else if (!gone) {
      moved.insert(LineAt(starts, a));
    }
  }
  if (inserted.empty()) return moved;
  std::string rest(text);
  rest.erase(a, change.removed);
  const std::vector<size_t> starts_after = LineStarts(rest);
  const auto added = static_cast<int32_t>(LineStarts(inserted).size()) - 1;
  std::set<int32_t> shifted;
  for (int32_t line : moved)
    shifted.insert(starts_after[static_cast<size_t>(line) - 1] >= a ? line + added : line);
  return shifted;
}

}  // namespace kx::ui
