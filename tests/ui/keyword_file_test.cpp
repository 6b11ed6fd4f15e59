#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "error_of.h"
#include "functions/tlb_browse.h"
#include "runtime/error.h"
#include "ui/keyword_file.h"

namespace kx::ui {
namespace {

using Words = std::vector<std::string>;

std::string CategoryOf(const KeywordSet& set, std::string_view word) {
  const KeywordCategory* category = set.CategoryOf(word);
  return category ? category->name : "-";
}

TEST(KeywordFile, ReadsCategoriesWordsAndSettings) {
  KeywordSet set = ParseKeywordFile(
      "\xEF\xBB\xBF; colouring\r\n"
      "[Keywords]\r\n"
      "  If, Then ,Else\tEnd   ; a comment after words\r\n"
      "\r\n"
      "[Operators]\n"
      "& <> !~ ( ) If\n"
      "[keywords]\n"
      "Select,,Case, If,\n"
      "[My Words]  ; empty category\n",
      "test.ini");
  ASSERT_EQ(set.Categories().size(), 3u);
  EXPECT_EQ(set.Categories()[0].words, (Words{"If", "Then", "Else", "End", "Select", "Case"}));
  EXPECT_EQ(set.Categories()[1].words, (Words{"&", "<>", "!~", "(", ")", "If"}));
  EXPECT_EQ(set.Categories()[2].name, "My Words");
  EXPECT_TRUE(set.Categories()[2].words.empty());
  EXPECT_FALSE(set.CaseSensitive());
  struct Case {
    const char* word;
    const char* category;
  } cases[] = {{"IF", "Keywords"}, {"case", "Keywords"}, {"<>", "Operators"},
               {"!", "-"},         {"Then ", "-"},       {"", "-"}};
  for (const Case& c : cases) EXPECT_EQ(CategoryOf(set, c.word), c.category) << c.word;
  EXPECT_EQ(set.Category("OPERATORS"), &set.Categories()[1]);
  EXPECT_EQ(set.Category("Functions"), nullptr);

  KeywordSet exact = ParseKeywordFile("[A]\nLeft$ left$\n[settings]\ncasesensitive = YES\n", "x");
  EXPECT_TRUE(exact.CaseSensitive());
  EXPECT_EQ(exact.Categories()[0].words, (Words{"Left$", "left$"}));
  EXPECT_EQ(CategoryOf(exact, "LEFT$"), "-");
  EXPECT_EQ(CategoryOf(exact, "left$"), "A");
  EXPECT_TRUE(ParseKeywordFile("", "empty.ini").Categories().empty());
}

TEST(KeywordFile, ErrorsNameFileLineAndProblem) {
  struct Case {
    std::string text;
    const char* message;
  } cases[] = {
      {"If\n", "k.ini:1: \"If\" comes before any [section]"},
      {"; c\n\n[A]\n[B\n", "k.ini:4: the section header has no closing ']'"},
      {"[ ]\n", "k.ini:1: the section name is empty"},
      {"[A] B\n", "k.ini:1: unexpected text after the section header: \"B\""},
      {"[A.B]\n",
       "k.ini:1: the section name \"A.B\" may hold only letters, digits, blanks, "
       "'_' and '-'"},
      {"[Settings]\r\nCaseSensitive\r\n", "k.ini:2: expected NAME = VALUE in [Settings]"},
      {"[Settings]\nColour = red\n", "k.ini:2: unknown setting \"Colour\""},
      {"[Settings]\nCaseSensitive = maybe\n",
       "k.ini:2: CaseSensitive takes yes or no, not \"maybe\""},
      {std::string("[A]\nx\0y\n", 8), "k.ini:2: a NUL byte: this is not a text file"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(ErrorTextOf([&] { ParseKeywordFile(c.text, "k.ini"); }),
              std::to_string(kErrInvalidFileFormat) + ": " + c.message);
}

TEST(KeywordFile, ShippedFileListsTheHostLibrarysFunctions) {
  KeywordSet set = ReadKeywordFile(std::string(KX_SOURCE_DIR) + "/data/kxsyntax.ini");
  const KeywordCategory* functions = set.Category("Functions");
  ASSERT_NE(functions, nullptr);
  Words listed = functions->words;
  Words library = BuildFunctionTokens(std::string(KX_SOURCE_DIR) + "/data/kx750ui_fn.dll", "All");
  std::sort(listed.begin(), listed.end());
  std::sort(library.begin(), library.end());
  EXPECT_EQ(listed, library);
  struct Case {
    const char* word;
    const char* category;
  } cases[] = {{"elseif", "Constructs"}, {"Wend", "Constructs"},    {"Dim", "Keywords"},
               {"Like", "Operators"},    {"!~", "Operators"},       {"<=", "Operators"},
               {"trim$", "Functions"},   {"GetObject", "Functions"}};
  for (const Case& c : cases) EXPECT_EQ(CategoryOf(set, c.word), c.category) << c.word;
}

}  // namespace
}  // namespace kx::ui
