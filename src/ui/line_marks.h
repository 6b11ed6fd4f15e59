#pragma once
// Lines of an editor's text, and marks kept by line (bookmarks) following a change of the
// text, for the editor controls that keep their marks themselves.

#include <cstddef>
#include <cstdint>
#include <set>
#include <string_view>
#include <vector>

namespace kx::ui {

// 0-based offsets where each line starts; CR LF, CR and LF each end a line.
std::vector<size_t> LineStarts(std::string_view text);
// The 1-based line holding a 0-based offset.
int32_t LineAt(const std::vector<size_t>& starts, size_t offset);

// A change as one range replaced: `removed` bytes at `at` gave way to `inserted` bytes.
struct TextChange {
  size_t at = 0;
  size_t removed = 0;
  size_t inserted = 0;
};
// What turned `before` into `after`. Where more than one range would do (a line inserted
// next to a line like it), the one whose insertion ends at `caret`, an offset in `after`,
// as a control leaves its caret after an edit, typed or undone.
TextChange ChangeBetween(std::string_view before, std::string_view after, size_t caret);

// `marks` (1-based lines of `text`) once `change` is made to `text`, the inserted bytes
// being `inserted`. A mark belongs to its line's text: it moves down when lines are
// inserted above it or at its start, up when lines above go, disappears with its line
// (text and line break), and joins the line its start was merged into.
std::set<int32_t> MoveLineMarks(const std::set<int32_t>& marks, std::string_view text,
                                const TextChange& change, std::string_view inserted);

}  // namespace kx::ui
