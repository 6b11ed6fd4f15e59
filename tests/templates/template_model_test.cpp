#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include "error_of.h"
#include "runtime/error.h"
#include "templates/templates.h"

namespace kx {
namespace {

std::vector<std::string> ParameterNames(const ExprTemplate& t) {
  std::vector<std::string> names;
  t.Parameters().ForEach([&](const ExprParameterRef& p) { names.push_back(p->Name()); });
  return names;
}

std::vector<std::string> Scan(const std::string& body) {
  ExprTemplate t;
  t.Body(body);
  t.ExtractandAddParams();
  return ParameterNames(t);
}

using Names = std::vector<std::string>;

TEST(ExtractandAddParams, RescanAppendsAndNamesDifferingInCaseCollide) {
  ExprTemplate t;
  t.Body("<<b>>");
  t.ExtractandAddParams();
  t.Body("<<a>> <<b>>");
  t.ExtractandAddParams();
  EXPECT_EQ(ParameterNames(t), (Names{"b", "a"}));

  t.Body("<<a>> and <<A>>");
  EXPECT_EQ(ErrorOf([&] { t.ExtractandAddParams(); }), kErrDuplicateKey);
  EXPECT_TRUE(t.ParameterExists("a"));
  EXPECT_FALSE(t.ParameterExists("A"));
  // The collection's own key lookup ignores case.
  EXPECT_EQ(t.Parameters().Item("A")->Name(), "a");
}

// The scan as its rules state it, one InStr at a time; nullopt when it would not end.
std::optional<Names> ReferenceScan(const std::string& body) {
  auto instr = [&](size_t start, const char* what) -> size_t {
    size_t at = body.find(what, start - 1);
    return at == std::string::npos ? 0 : at + 1;
  };
  Names names;
  size_t pos = instr(1, "<<");
  if (pos == 0) return names;
  while (true) {
    size_t close = instr(pos + 2, ">>");
    if (close == 0) return std::nullopt;
    size_t next = instr(pos + 2, "<<");
    if (next != 0 && next < close) {
      pos = next;
      continue;
    }
    std::string name = body.substr(pos + 1, close - pos - 2);
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    pos = next;
    if (pos == 0) return names;
  }
}

// Names are found by first occurrence, exactly as written (blanks, line ends and stray
// brackets kept).
TEST(ExtractandAddParams, AgreesWithTheStatedScanOnRandomBodies) {
  std::mt19937 rng(7);
  const std::string alphabet = "<<>>ab \n";
  for (int round = 0; round < 20000; ++round) {
    std::string body;
    int length = static_cast<int>(rng() % 14);
    for (int i = 0; i < length; ++i) body += alphabet[rng() % alphabet.size()];
    std::optional<Names> expected = ReferenceScan(body);
    ASSERT_EQ(ParameterScanEnds(body), expected.has_value()) << body;
    if (expected) {
      ASSERT_EQ(Scan(body), *expected) << body;
    }
  }
}

TEST(ExtractandAddParams, NeverEndsOnAnUnmatchedTrailingOpening) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        alarm(2);
        ExprTemplate t;
        t.Body("<<a>> then <<b");
        t.ExtractandAddParams();
        std::exit(0);
      },
      testing::KilledBySignal(SIGALRM), "");
}

TEST(ExprTemplate, LookupsAreExactAndFollowRenames) {
  ExprTemplate t;
  t.Body("<<Field>> <<Default>>");
  t.ExtractandAddParams();
  EXPECT_EQ(t.ParameterCount(), 2);
  EXPECT_EQ(t.ParameterbyIndex(2)->Name(), "Default");
  EXPECT_EQ(t.ParameterbyIndex(3), nullptr);
  EXPECT_THROW(t.ParameterbyIndex(0), Error);
  EXPECT_EQ(t.ParameterbyName("field"), nullptr);
  ASSERT_NE(t.ParameterbyName("Field"), nullptr);

  t.ParameterbyName("Field")->Name("Source");
  EXPECT_FALSE(t.ParameterExists("Field"));
  EXPECT_TRUE(t.ParameterExists("Source"));

  t.ParameterValuebyIndex(1, "x");
  EXPECT_EQ(t.ParameterbyName("Source")->Value(), "x");
  EXPECT_THROW(t.ParameterValuebyIndex(3, "y"), Error);
  t.ParameterValuebyName("Default", "d");
  EXPECT_EQ(t.ParameterbyIndex(2)->Value(), "d");
  t.ParameterValuebyName("Extra", "e");
  EXPECT_EQ(ParameterNames(t), (Names{"Source", "Default", "Extra"}));
  EXPECT_EQ(t.ParameterbyIndex(3)->Value(), "e");

  t.FreeParameterValuePairs();
  EXPECT_EQ(t.ParameterCount(), 0);
  EXPECT_FALSE(t.ParameterExists("Source"));
  t.ExtractandAddParams();
  EXPECT_EQ(ParameterNames(t), (Names{"Field", "Default"}));
}

TEST(ExprTemplate, CopyContentsMakesFreshParametersWithPromptingOff) {
  ExprTemplate source;
  source.Name("N");
  source.Description("D");
  source.Body("<<p>>");
  source.ExtractandAddParams();
  ExprParameterRef p = source.ParameterbyIndex(1);
  p->DefaultValue("^?");
  p->Description("pd");
  p->Value("v");
  p->PromptEveryRow(true);
  p->PromptValue("answer");

  ExprTemplate copy;
  copy.ParameterValuebyName("old", "x");
  copy.CopyContents(source);
  EXPECT_EQ(copy.Name() + "|" + copy.Description() + "|" + copy.Body(), "N|D|<<p>>");
  EXPECT_EQ(ParameterNames(copy), (Names{"p"}));
  ExprParameterRef q = copy.ParameterbyIndex(1);
  EXPECT_NE(q, p);
  EXPECT_EQ(q->DefaultValue() + "|" + q->Description() + "|" + q->Value() + "|" +
                std::to_string(q->PromptEveryRow()) + "|" + q->PromptValue(),
            "^?|pd|v|0|");

  // Copying a template into itself first releases what it would copy.
  copy.CopyContents(copy);
  EXPECT_EQ(copy.Name(), "N");
  EXPECT_EQ(copy.ParameterCount(), 0);
}

TEST(ValueLabels, TheTwoDialogsLabelMarkersDifferently) {
  EXPECT_EQ(EditorValueLabel("^f"), "First Source Field");
  EXPECT_EQ(ManagerValueLabel("^f"), "First Field Name");
  EXPECT_EQ(EditorValueLabel("^n"), "^n");
  EXPECT_EQ(ManagerValueLabel("^s"), "Prompt for Value");
  EXPECT_EQ(ManagerValueLabel("^C"), "^C");
}

}  // namespace
}  // namespace kx
