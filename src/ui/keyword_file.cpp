#include "ui/keyword_file.h"

#include <algorithm>
#include <unordered_set>

#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/text.h"

namespace kx::ui {

const KeywordCategory* KeywordSet::CategoryOf(std::string_view word) const {
  auto it = index_.find(Fold(word));
  return it == index_.end() ? nullptr : &categories_[it->second];
}

const KeywordCategory* KeywordSet::Category(std::string_view name) const {
  for (const KeywordCategory& category : categories_)
    if (EqualsIgnoreCase(category.name, name)) return &category;
  return nullptr;
}

std::string KeywordSet::Fold(std::string_view word) const {
  return case_sensitive_ ? std::string(word) : LowerCase(word);
}

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

std::string_view Strip(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

bool IsNameChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-' || c == ' ';
}

}  // namespace

class KeywordFileParser {
 public:
  KeywordFileParser(std::string_view text, std::string_view file_name)
      : text_(text), file_name_(file_name) {}

  KeywordSet Parse() {
    if (text_.starts_with("\xEF\xBB\xBF")) text_.remove_prefix(3);
    while (!text_.empty() || line_ == 0) {
      ++line_;
      size_t end = text_.find('\n');
      std::string_view raw = text_.substr(0, end);
      text_.remove_prefix(end == std::string_view::npos ? text_.size() : end + 1);
      if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
      if (raw.find('\0') != std::string_view::npos) Fail("a NUL byte: this is not a text file");
      Line(raw);
    }
    for (size_t i = 0; i < set_.categories_.size(); ++i)
      for (const std::string& word : set_.categories_[i].words)
        set_.index_.try_emplace(set_.Fold(word), i);
    return std::move(set_);
  }

 private:
  void Line(std::string_view raw) {
    std::string_view line = Strip(raw);
    if (line.empty() || line.front() == ';') return;
    if (line.front() == '[') return Header(line);
    size_t comment = line.find(';');
    if (comment != std::string_view::npos) line = Strip(line.substr(0, comment));
    if (in_settings_) return Setting(line);
    if (category_ == kNone) Fail("\"" + std::string(line) + "\" comes before any [section]");
    size_t i = 0;
    while (i < line.size()) {
      if (IsBlank(line[i]) || line[i] == ',') {
        ++i;
        continue;
      }
      size_t start = i;
      while (i < line.size() && !IsBlank(line[i]) && line[i] != ',') ++i;
      Add(std::string(line.substr(start, i - start)));
    }
  }

  void Header(std::string_view line) {
    size_t close = line.find(']');
    if (close == std::string_view::npos) Fail("the section header has no closing ']'");
    std::string_view rest = Strip(line.substr(close + 1));
    if (!rest.empty() && rest.front() != ';')
      Fail("unexpected text after the section header: \"" + std::string(rest) + "\"");
    std::string_view name = Strip(line.substr(1, close - 1));
    if (name.empty()) Fail("the section name is empty");
    if (!std::all_of(name.begin(), name.end(), IsNameChar))
      Fail("the section name \"" + std::string(name) +
           "\" may hold only letters, digits, blanks, '_' and '-'");
    in_settings_ = EqualsIgnoreCase(name, "Settings");
    category_ = kNone;
    if (in_settings_) return;
    for (size_t i = 0; i < set_.categories_.size(); ++i)
      if (EqualsIgnoreCase(set_.categories_[i].name, name)) category_ = i;
    if (category_ == kNone) {
      category_ = set_.categories_.size();
      set_.categories_.push_back({std::string(name), {}});
      seen_.emplace_back();
    }
  }

  void Setting(std::string_view line) {
    size_t eq = line.find('=');
    if (eq == std::string_view::npos) Fail("expected NAME = VALUE in [Settings]");
    std::string_view name = Strip(line.substr(0, eq));
    std::string value = LowerCase(Strip(line.substr(eq + 1)));
    if (!EqualsIgnoreCase(name, "CaseSensitive"))
      Fail("unknown setting \"" + std::string(name) + "\"");
    if (value == "yes" || value == "true" || value == "1")
      set_.case_sensitive_ = true;
    else if (value == "no" || value == "false" || value == "0")
      set_.case_sensitive_ = false;
    else
      Fail("CaseSensitive takes yes or no, not \"" + value + "\"");
  }

  void Add(std::string word) {
    // Repeats are judged exactly: case folding is only known once [Settings] is read.
    if (seen_[category_].insert(word).second)
      set_.categories_[category_].words.push_back(std::move(word));
  }

  [[noreturn]] void Fail(const std::string& what) {
    Raise(kErrInvalidFileFormat,
          std::string(file_name_) + ":" + std::to_string(line_) + ": " + what);
  }

  std::string_view text_;
  std::string_view file_name_;
  int line_ = 0;
  KeywordSet set_;
  static constexpr size_t kNone = static_cast<size_t>(-1);
  size_t category_ = kNone;  // the section being read, unless kNone
  bool in_settings_ = false;
  std::vector<std::unordered_set<std::string>> seen_;
};

KeywordSet ParseKeywordFile(std::string_view text, std::string_view file_name) {
  return KeywordFileParser(text, file_name).Parse();
}

KeywordSet ReadKeywordFile(const std::filesystem::path& path) {
  std::string bytes = ReadWholeFile(path);
  return ParseKeywordFile(bytes, path.string());
}

}  // namespace kx::ui
