// Any bytes as a keyword file: the reader ends with a set or an error of its own (never a
// crash or hang), and a set it returns reads back the same from the text it stands for.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "runtime/error.h"
#include "ui/keyword_file.h"

namespace {

// The set written back in the file's own syntax: words on one line after a comma, so that
// a word starting with '[' is not taken for a section.
std::string Written(const kx::ui::KeywordSet& set) {
  std::string text = set.CaseSensitive() ? "[Settings]\nCaseSensitive = yes\n" : "";
  for (const kx::ui::KeywordCategory& category : set.Categories()) {
    text += "[" + category.name + "]\n,";
    for (const std::string& word : category.words) text += " " + word;
    text += "\n";
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  kx::ui::KeywordSet set;
  try {
    set = kx::ui::ParseKeywordFile(text, "fuzz.ini");
  } catch (const kx::Error& e) {
    if (e.Number() != kx::kErrInvalidFileFormat || e.Description().rfind("fuzz.ini:", 0) != 0)
      std::abort();
    return 0;
  }
  for (const kx::ui::KeywordCategory& category : set.Categories())
    for (const std::string& word : category.words)
      if (word.empty() || !set.CategoryOf(word)) std::abort();
  kx::ui::KeywordSet again = kx::ui::ParseKeywordFile(Written(set), "again.ini");
  if (again.CaseSensitive() != set.CaseSensitive() ||
      again.Categories().size() != set.Categories().size())
    std::abort();
  for (size_t i = 0; i < set.Categories().size(); ++i)
    if (again.Categories()[i].name != set.Categories()[i].name ||
        again.Categories()[i].words != set.Categories()[i].words)
      std::abort();
  return 0;
}
