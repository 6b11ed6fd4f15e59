#include "inventory_view.h"

#include <algorithm>
#include <cstdio>

#include "runtime/text.h"

namespace kx::cli {

namespace {

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// Windows-1252 for 0x80-0x9F; the rest of the upper half is Latin-1.
constexpr uint16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

bool IsUtf8(std::string_view s) {
  size_t i = 0;
  while (i < s.size()) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    size_t n = c < 0x80             ? 0
               : (c & 0xE0) == 0xC0 ? 1
               : (c & 0xF0) == 0xE0 ? 2
               : (c & 0xF8) == 0xF0 ? 3
                                    : 9;
    if (n == 9 || (n == 1 && c < 0xC2) || (n == 3 && c > 0xF4)) return false;
    for (size_t k = 1; k <= n; ++k)
      if (i + k >= s.size() || (static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return false;
    i += n + 1;
  }
  return true;
}

// The text as UTF-8: unchanged when it is UTF-8 already, else read as Windows-1252.
std::string AsUtf8(std::string_view s) {
  if (IsUtf8(s)) return std::string(s);
  std::string out;
  for (unsigned char c : s) {
    if (c < 0x80)
      out += static_cast<char>(c);
    else if (c < 0xA0)
      AppendUtf8(out, kCp1252High[c - 0x80]);
    else
      AppendUtf8(out, c);
  }
  return out;
}

// Display columns of UTF-8 text (one per character).
size_t Width(std::string_view s) {
  size_t n = 0;
  for (unsigned char c : s)
    if ((c & 0xC0) != 0x80) ++n;
  return n;
}

void Pad(std::string& out, std::string_view cell, size_t width) {
  out += cell;
  out.append(width - std::min(width, Width(cell)), ' ');
}

constexpr std::string_view kEscPicture = "\xE2\x90\x9B";  // U+241B SYMBOL FOR ESCAPE

}  // namespace

const std::vector<Walk>& Walks() {
  using L = ExpressionList;
  static const std::vector<Walk> walks = {
      {"conversion-events", "BuildConversionEventExpressionList", 0, true,
       [](L& l, bool p) { l.BuildConversionEventExpressionList(p); }},
      {"data-change-monitors", "BuildDataChangeMonitorExpressionList", 1, false,
       [](L& l, bool) { l.BuildDataChangeMonitorExpressionList(); }},
      {"source-events", "BuildSourceEventExpressionList", 2, true,
       [](L& l, bool p) { l.BuildSourceEventExpressionList(p); }},
      {"target-events", "BuildTargetEventExpressionList", 3, true,
       [](L& l, bool p) { l.BuildTargetEventExpressionList(p); }},
      {"source-layout-events", "BuildSourceRLEventExpressionList", 4, true,
       [](L& l, bool p) { l.BuildSourceRLEventExpressionList(p); }},
      {"target-layout-events", "BuildTargetRLEventExpressionList", 5, true,
       [](L& l, bool p) { l.BuildTargetRLEventExpressionList(p); }},
      {"source-filters", "BuildSourceFilterExpressionList", 6, false,
       [](L& l, bool) { l.BuildSourceFilterExpressionList(); }},
      {"target-filters", "BuildTargetFilterExpressionList", 7, false,
       [](L& l, bool) { l.BuildTargetFilterExpressionList(); }},
      {"target-fields", "BuildTargetFieldExpressionList", 8, false,
       [](L& l, bool) { l.BuildTargetFieldExpressionList(); }},
      {"sort-fields", "BuildSortFieldExpressionList", 9, false,
       [](L& l, bool) { l.BuildSortFieldExpressionList(); }},
      {"code-modules", "BuildCodeModuleExpressionList", 10, false,
       [](L& l, bool) { l.BuildCodeModuleExpressionList(); }},
      {"all-action-parameters", "BuildALLActionParametersList", -1, false,
       [](L& l, bool) { l.BuildALLActionParametersList(); }},
      {"all-parameters-and-expressions", "BuildALLActionParametersandALLExpressionsList", -1, false,
       [](L& l, bool) { l.BuildALLActionParametersandALLExpressionsList(); }},
      {"complete", "BuildCompleteConversionExpressionList", -1, false,
       [](L& l, bool) { l.BuildCompleteConversionExpressionList(); }},
  };
  return walks;
}

const Walk* FindWalk(std::string_view name) {
  for (const Walk& w : Walks())
    if (EqualsIgnoreCase(name, w.name) || EqualsIgnoreCase(name, w.member)) return &w;
  return nullptr;
}

const Walk* WalkForType(int type) {
  for (const Walk& w : Walks())
    if (w.type == type && type >= 0) return &w;
  return nullptr;
}

std::string Visible(std::string_view text) {
  std::string utf8 = AsUtf8(text);
  std::string out;
  out.reserve(utf8.size());
  for (unsigned char c : utf8) {
    if (c == '\t')
      out += ' ';
    else if (c < 0x20)
      AppendUtf8(out, 0x2400 + c);
    else if (c == 0x7F)
      AppendUtf8(out, 0x2421);
    else
      out += static_cast<char>(c);
  }
  return out;
}

std::string TextAsUtf8(std::string_view text) {
  return AsUtf8(text);
}

std::string KeyFromVisible(std::string_view text) {
  return ReplaceAll(text, kEscPicture, "\x1b");
}

std::string FormatTable(const RecordList& records) {
  struct Row {
    std::string type, key, description;
    std::vector<std::string> lines;
  };
  std::vector<Row> rows;
  rows.reserve(records.size());
  size_t wtype = 4, wkey = 3, wdesc = 11;
  for (const auto& r : records) {
    Row row{
        std::to_string(r->ExpressionType), Visible(r->ExpressionKey), Visible(r->Description), {}};
    for (const std::string& line : Split(r->ExpressionText, kCrLf))
      row.lines.push_back(Visible(line));
    wtype = std::max(wtype, Width(row.type));
    wkey = std::max(wkey, Width(row.key));
    wdesc = std::max(wdesc, Width(row.description));
    rows.push_back(std::move(row));
  }
  std::string out;
  Pad(out, "TYPE", wtype + 2);
  Pad(out, "KEY", wkey + 2);
  Pad(out, "DESCRIPTION", wdesc + 2);
  out += "TEXT\n";
  const size_t indent = wtype + wkey + wdesc + 6;
  for (const Row& row : rows) {
    Pad(out, row.type, wtype + 2);
    Pad(out, row.key, wkey + 2);
    Pad(out, row.description, wdesc + 2);
    for (size_t i = 0; i < row.lines.size(); ++i) {
      if (i > 0 && !row.lines[i].empty()) out.append(indent, ' ');
      out += row.lines[i];
      out += '\n';
    }
  }
  return out;
}

namespace {

// Length of the UTF-8 sequence starting at text[i] (a byte >= 0x80), 0 when it is not one.
size_t Utf8SequenceAt(std::string_view text, size_t i) {
  const unsigned char c = static_cast<unsigned char>(text[i]);
  const size_t n = c < 0xC2 ? 0 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : c < 0xF5 ? 4 : 0;
  if (n == 0 || i + n > text.size()) return 0;
  for (size_t k = 1; k < n; ++k)
    if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return 0;
  return n;
}

// Escapes `text` onto `out`; false (with `out` partly written) at the first byte that is
// not UTF-8.
bool AppendEscaped(std::string& out, std::string_view text) {
  size_t run = 0;  // start of the bytes not yet copied
  for (size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const size_t n = Utf8SequenceAt(text, i);
      if (n == 0) return false;
      i += n - 1;
      continue;
    }
    if (c >= 0x20 && c != '"' && c != '\\') continue;
    out.append(text.data() + run, i - run);
    run = i + 1;
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default: {
        static const char kHex[] = "0123456789abcdef";
        out += "\\u00";
        out += kHex[c >> 4];
        out += kHex[c & 15];
      }
    }
  }
  out.append(text.data() + run, text.size() - run);
  return true;
}

}  // namespace

void AppendJsonString(std::string& out, std::string_view text) {
  const size_t start = out.size();
  out += '"';
  if (!AppendEscaped(out, text)) {
    out.resize(start + 1);
    AppendEscaped(out, AsUtf8(text));
  }
  out += '"';
}

std::string JsonString(std::string_view text) {
  std::string out;
  AppendJsonString(out, text);
  return out;
}

void AppendJsonRecord(std::string& out, const ExpressionInfo& r, bool& first) {
  out += first ? "\n" : ",\n";
  first = false;
  out += "{\"ExpressionType\":";
  out += std::to_string(r.ExpressionType);
  out += ",\"ExpressionKey\":";
  AppendJsonString(out, r.ExpressionKey);
  out += ",\"Description\":";
  AppendJsonString(out, r.Description);
  out += ",\"ExpressionText\":";
  AppendJsonString(out, r.ExpressionText);
  out += ",\"ExpressionName\":";
  AppendJsonString(out, r.ExpressionName);
  out += ",\"RLName\":";
  AppendJsonString(out, r.RLName);
  out += ",\"RLOrdinalPosition\":";
  out += std::to_string(r.RLOrdinalPosition);
  out += ",\"EventOrdinalPosition\":";
  out += std::to_string(r.EventOrdinalPosition);
  out += ",\"ActionOrdinalPosition\":";
  out += std::to_string(r.ActionOrdinalPosition);
  out += ",\"OrdinalPosition\":";
  out += std::to_string(r.OrdinalPosition);
  out += '}';
}

std::string FormatJson(const RecordList& records) {
  std::string out = "[";
  bool first = true;
  for (const auto& r : records) AppendJsonRecord(out, *r, first);
  out += first ? "]\n" : "\n]\n";
  return out;
}

}  // namespace kx::cli
