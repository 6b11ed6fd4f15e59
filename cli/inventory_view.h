#pragma once
// What `kxexpr list` and `kxexpr set` share: the walkers by name, and the two ways an
// inventory is shown (a table for people, JSON for programs). Keys hold the escape
// character; neither form ever writes it raw.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "inventory/expression_list.h"

namespace kx::cli {

struct Walk {
  std::string name;    // short name, e.g. "sort-fields"
  std::string member;  // the ExpressionList member, e.g. "BuildSortFieldExpressionList"
  int type;            // the expression type it lists; -1 for a composite
  bool takes_parameters_flag;
  std::function<void(ExpressionList&, bool parameters_only)> run;
};

// The eleven single walkers in type order, then the three composites.
const std::vector<Walk>& Walks();
// By short name or member name (ignoring case); null when unknown.
const Walk* FindWalk(std::string_view name);
// The single walker that lists `type` (0-10); null otherwise.
const Walk* WalkForType(int type);

using Record = std::shared_ptr<ExpressionInfo>;

// Whether the component's walker for `type` keeps to record layout 0 (types 4, 5 and 8:
// the record-layout events of either side and the target's fields).
bool WalksLayoutZeroOnly(int type);

// Runs the single walker `walk` into `list` exactly as the component does; for the
// walkers that keep to record layout 0, then walks the side's other layouts the same way
// (running the component's walker with layout k in the place of layout 0) and hands their
// records to `more`, layout by layout. Their keys and descriptions are the component's
// with k for 0: "srl1<ESC>e0<ESC>a0<ESC>p0", "trl1<ESC>f2", RLOrdinalPosition k, so
// ExpressionList's write-back reaches them. Raises what a walker raises.
void WalkEveryLayout(const Walk& walk, ExpressionList& list, bool parameters_only,
                     const std::function<void(Record)>& more);

// What `set` makes of a text read from standard input: LF line ends (not CR LF ones)
// become CR LF, the expression language's line break, and one trailing line end is dropped
// (the one `echo` and editors add).
std::string TextFromStandardInput(std::string_view raw);

// Text made safe for a terminal: the escape character shows as "␛" and the other control
// characters as their control pictures; bytes that are not UTF-8 are read as Windows-1252.
std::string Visible(std::string_view text);
// The inverse for keys typed by a user: "␛" becomes the escape character again.
std::string KeyFromVisible(std::string_view text);
// Text as UTF-8: unchanged when it is UTF-8 already, else its bytes read as Windows-1252.
std::string TextAsUtf8(std::string_view text);

using RecordList = std::vector<Record>;

std::string FormatTable(const RecordList& records);
std::string FormatJson(const RecordList& records);

// A JSON string literal for byte text (escapes control characters; Windows-1252 for bytes
// that are not UTF-8).
std::string JsonString(std::string_view text);
void AppendJsonString(std::string& out, std::string_view text);
// Appends one record of the JSON array, preceded by a separator unless it is the first.
void AppendJsonRecord(std::string& out, const ExpressionInfo& record, bool& first);

}  // namespace kx::cli
