#pragma once
// What the code editor offers while the user types, taken from the palette's own data, and
// the reading of the text around the caret that decides what to offer. Positions are
// 1-based bytes, as the editor control counts them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kx::ui {

struct FunctionHelp {
  std::string prototype;
  std::string description;
};

class EditorAssist {
 public:
  virtual ~EditorAssist() = default;
  // Host-library function names and flow-control keywords.
  virtual std::vector<std::string> Words() = 0;
  // The record layouts' names, source first; the fields of one, read only when asked.
  virtual std::vector<std::string> RecordNames() = 0;
  virtual std::vector<std::string> FieldNames(const std::string& record) = 0;
  // A host-library function's prototype and description; nullopt for any other name.
  virtual std::optional<FunctionHelp> Describe(const std::string& function) = 0;
};

// An open call before the caret: the name before its "(" (empty for a bare parenthesis),
// the position of the "(", and the 0-based argument the caret is in.
struct CallSite {
  std::string name;
  int32_t paren = 0;
  int32_t argument = 0;
  bool operator==(const CallSite&) const = default;
};
// The calls whose argument lists hold the caret, innermost first. Strings and comments
// are skipped.
std::vector<CallSite> CallsAt(std::string_view text, int32_t caret);

// What completion completes at the caret: a word, a record name in Records("…"), or a field
// name in Records("R").Fields("…"). `prefix` is the part already typed. Nothing inside
// another string or a comment.
struct CompletionSite {
  enum Kind { kWord, kRecord, kField } kind = kWord;
  std::string prefix;
  std::string record;  // kField: the record named before
  bool operator==(const CompletionSite&) const = default;
};
std::optional<CompletionSite> CompletionAt(std::string_view text, int32_t caret);

// The candidates for a site: those that start with the prefix, ignoring case, sorted and
// without repeats.
std::vector<std::string> Candidates(EditorAssist& assist, const CompletionSite& site);

// The byte range [first, second) of argument `index` inside a prototype's parentheses
// ("Left$(String As String, Length As Long) As String"); nullopt when it has no such one.
std::optional<std::pair<size_t, size_t>> ArgumentSpan(std::string_view prototype, int32_t index);

}  // namespace kx::ui
