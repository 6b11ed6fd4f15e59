#include "ui/editor_assist.h"

#include <algorithm>
#include <cctype>
#include <regex>

namespace kx::ui {

namespace {

bool WordChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$';
}

char Lower(char c) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
  return s.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), s.begin(),
                    [](char a, char b) { return Lower(a) == Lower(b); });
}

bool LessNoCase(const std::string& a, const std::string& b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](char x, char y) { return Lower(x) < Lower(y); });
}

// The text before `end` with trailing blanks dropped.
std::string_view Before(std::string_view text, size_t end) {
  text = text.substr(0, end);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// Where the string that is open at `end` began (0-based, at its quote), or npos when `end`
// is outside strings; `in_comment` says whether it is in a comment instead. Calls opened on
// the way are kept in `calls` (0-based parenthesis, name, argument).
struct Scan {
  size_t string_start = std::string_view::npos;
  bool in_comment = false;
  std::vector<CallSite> calls;
};

Scan ScanTo(std::string_view text, size_t end) {
  Scan scan;
  end = std::min(end, text.size());
  for (size_t i = 0; i < end; ++i) {
    const char c = text[i];
    if (scan.in_comment) {
      if (c == '\r' || c == '\n') scan.in_comment = false;
      continue;
    }
    if (scan.string_start != std::string_view::npos) {
      if (c == '"') scan.string_start = std::string_view::npos;  // "" reopens at once
      continue;
    }
    if (c == '"') {
      scan.string_start = i;
    } else if (c == '\'') {
      scan.in_comment = true;
    } else if (c == '(') {
      size_t name_end = Before(text, i).size(), name_start = name_end;
      while (name_start > 0 && WordChar(text[name_start - 1])) --name_start;
      scan.calls.push_back({std::string(text.substr(name_start, name_end - name_start)),
                            static_cast<int32_t>(i + 1), 0});
    } else if (c == ')') {
      if (!scan.calls.empty()) scan.calls.pop_back();
    } else if (c == ',') {
      if (!scan.calls.empty()) ++scan.calls.back().argument;
    }
  }
  return scan;
}

size_t ToIndex(std::string_view text, int32_t caret) {
  return static_cast<size_t>(std::clamp<int64_t>(caret - 1, 0, int64_t(text.size())));
}

}  // namespace

std::vector<CallSite> CallsAt(std::string_view text, int32_t caret) {
  Scan scan = ScanTo(text, ToIndex(text, caret));
  if (scan.in_comment) return {};
  std::reverse(scan.calls.begin(), scan.calls.end());
  return scan.calls;
}

std::optional<CompletionSite> CompletionAt(std::string_view text, int32_t caret) {
  const size_t at = ToIndex(text, caret);
  Scan scan = ScanTo(text, at);
  if (scan.in_comment) return std::nullopt;
  if (scan.string_start == std::string_view::npos) {
    size_t start = at;
    while (start > 0 && WordChar(text[start - 1])) --start;
    // A number is no word to complete.
    if (start < at && std::isdigit(static_cast<unsigned char>(text[start]))) return std::nullopt;
    return CompletionSite{CompletionSite::kWord, std::string(text.substr(start, at - start)), ""};
  }
  const size_t quote = scan.string_start;
  std::string prefix(text.substr(quote + 1, at - quote - 1));
  // What opened the string, from a short stretch before it: references fit on a line.
  const size_t from = quote > 256 ? quote - 256 : 0;
  const std::string before(text.substr(from, quote - from));
  static const std::regex record(R"(Records\s*\(\s*$)", std::regex::icase);
  static const std::regex field(R"re(Records\s*\(\s*"([^"]*)"\s*\)\s*\.\s*Fields\s*\(\s*$)re",
                                std::regex::icase);
  std::smatch match;
  if (std::regex_search(before, match, field))
    return CompletionSite{CompletionSite::kField, prefix, match[1].str()};
  if (std::regex_search(before, record)) return CompletionSite{CompletionSite::kRecord, prefix, ""};
  return std::nullopt;
}

std::vector<std::string> Candidates(EditorAssist& assist, const CompletionSite& site) {
  std::vector<std::string> all;
  switch (site.kind) {
    case CompletionSite::kWord:
      all = assist.Words();
      break;
    case CompletionSite::kRecord:
      all = assist.RecordNames();
      break;
    case CompletionSite::kField:
      all = assist.FieldNames(site.record);
      break;
  }
  std::vector<std::string> out;
  for (std::string& word : all)
    if (!word.empty() && StartsWithNoCase(word, site.prefix)) out.push_back(std::move(word));
  std::stable_sort(out.begin(), out.end(), LessNoCase);
  out.erase(std::unique(out.begin(), out.end()), out.end());
  return out;
}

std::optional<std::pair<size_t, size_t>> ArgumentSpan(std::string_view prototype, int32_t index) {
  size_t open = prototype.find('(');
  if (open == std::string_view::npos || index < 0) return std::nullopt;
  int depth = 0, argument = 0;
  size_t start = open + 1;
  for (size_t i = open + 1; i < prototype.size(); ++i) {
    const char c = prototype[i];
    if (c == '(' || c == '[') {
      ++depth;
    } else if ((c == ')' || c == ']') && depth > 0) {
      --depth;
    } else if ((c == ',' && depth == 0) || c == ')') {
      if (argument == index) {
        while (start < i && prototype[start] == ' ') ++start;
        if (start == i) return std::nullopt;  // "()": no arguments
        return std::pair{start, i};
      }
      if (c == ')') return std::nullopt;
      ++argument;
      start = i + 1;
    }
  }
  return std::nullopt;
}

}  // namespace kx::ui
