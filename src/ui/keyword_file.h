#pragma once
// The editor control's keyword (colouring) file: an .ini-like text with one section per
// category of words and an optional [Settings] section. docs/keyword-file.md describes it.

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kx::ui {

struct KeywordCategory {
  std::string name;                // as the section header spells it
  std::vector<std::string> words;  // in file order, without repeats
};

class KeywordSet {
 public:
  bool CaseSensitive() const { return case_sensitive_; }
  const std::vector<KeywordCategory>& Categories() const { return categories_; }
  // The category a word belongs to (the first that lists it), nullptr when none.
  const KeywordCategory* CategoryOf(std::string_view word) const;
  // A category by its name, compared without case; nullptr when absent.
  const KeywordCategory* Category(std::string_view name) const;

 private:
  friend class KeywordFileParser;
  std::string Fold(std::string_view word) const;

  bool case_sensitive_ = false;
  std::vector<KeywordCategory> categories_;
  std::unordered_map<std::string, size_t> index_;  // folded word -> category
};

// Parses a keyword file's bytes. Errors raise kx::Error 321 ("Invalid file format") with
// the description "NAME:LINE: what is wrong", `file_name` standing for NAME.
KeywordSet ParseKeywordFile(std::string_view text, std::string_view file_name);
// Reads and parses a file; a missing file raises 53, an unreadable one 75.
KeywordSet ReadKeywordFile(const std::filesystem::path& path);

}  // namespace kx::ui
