#pragma once
// Finds where a value of a JSON text is, for messages that point a person at the line.

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kx::host {

// One step from a value to a member (object key) or an element (array index). Keys are
// views: the texts they show must outlive the path.
using PathStep = std::variant<std::string_view, size_t>;

struct TextLocation {
  size_t line = 1;    // from 1
  size_t column = 1;  // from 1, in characters (UTF-8 sequences count once)
};

// Line and column of the byte at `offset` (clamped to the text).
TextLocation LocationOf(std::string_view text, size_t offset);

// Offset of the value at `path` in a JSON text; when the path leads nowhere, the offset of
// the deepest value on it that exists. The text need not be well formed: scanning stops
// where it cannot go on.
size_t LocateValue(std::string_view text, const std::vector<PathStep>& path);

// Offset of the opening quote of the `occurrence`-th (from 0) member named `key` of the
// object at `object_path` (keys compare after their escapes are decoded); npos when there
// is none.
size_t LocateMemberKey(std::string_view text, const std::vector<PathStep>& object_path,
                       std::string_view key, size_t occurrence);

// The path as a reader would write it: source.recordLayouts[1].name
std::string PathText(const std::vector<PathStep>& path);

}  // namespace kx::host
