#include <gtest/gtest.h>

#include "error_of.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "runtime/collection.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/narrow.h"
#include "runtime/paths.h"
#include "runtime/text.h"
#include "ui/message_box.h"
#include "ui/report.h"

namespace kx {
namespace {

TEST(Error, StandardNumbersCarryThePlatformTexts) {
  const std::pair<int32_t, const char*> texts[] = {
      {5, "Invalid procedure call or argument"},
      {6, "Overflow"},
      {9, "Subscript out of range"},
      {13, "Type mismatch"},
      {53, "File not found"},
      {91, "Object variable or With block variable not set"},
      {438, "Object doesn't support this property or method"},
      {457, "This key is already associated with an element of this collection"},
      {1234, "Application-defined or object-defined error"},
      // the controls' own
      {kErrIndexOutOfBounds, "Index out of bounds"},
      {kErrElementNotFound, "Element not found"},
      {kErrKeyNotUnique, "Key is not unique in collection"},
  };
  for (const auto& [number, text] : texts) EXPECT_EQ(Error(number).Description(), text) << number;
}

TEST(Collection, LargeSizesStayIndexed) {
  Collection<int> c;
  for (int i = 0; i < 200000; ++i) c.Add(i, "k" + std::to_string(i));
  EXPECT_EQ(c.Item("K199999"), 199999);
  EXPECT_EQ(c.Item(100001), 100000);
}

// Random adds, inserts and removals, with and without keys, against a plain list searched
// from the start: both must agree on every position, key, lookup and error.
TEST(Collection, AgreesWithALinearModelUnderRandomChanges) {
  for (KeyCompare compare : {KeyCompare::Text, KeyCompare::Binary}) {
    struct Item {
      int value;
      std::optional<std::string> key;
    };
    std::vector<Item> model;
    Collection<int> c(compare);
    auto same = [&](const std::string& a, const std::string& b) {
      return compare == KeyCompare::Binary ? a == b : LowerCase(a) == LowerCase(b);
    };
    auto model_position = [&](const std::string& key) {
      for (size_t i = 0; i < model.size(); ++i)
        if (model[i].key && same(*model[i].key, key)) return static_cast<int32_t>(i + 1);
      return int32_t{0};
    };
    uint32_t seed = 12345;
    auto next = [&seed](uint32_t n) {
      seed = seed * 1103515245u + 12345u;
      return (seed >> 8) % n;
    };
    // Few distinct keys, so that duplicates, case variants and reuse after removal are common.
    auto random_key = [&] {
      std::string key = "k" + std::to_string(next(300));
      if (next(2)) key[0] = 'K';
      return key;
    };
    for (int step = 0; step < 6000; ++step) {
      const uint32_t op = next(10);
      const int value = step;
      if (op < 5) {
        std::optional<std::string> key;
        if (next(4) != 0) key = random_key();
        const bool duplicate = key && model_position(*key) != 0;
        if (op < 3) {
          ASSERT_EQ(ErrorOf([&] { c.Add(value, key); }), duplicate ? 457 : 0);
          if (!duplicate) model.push_back({value, key});
        } else {
          const auto before = static_cast<int32_t>(next(static_cast<uint32_t>(model.size()) + 3));
          const bool bad = before < 1 || before > static_cast<int32_t>(model.size()) + 1;
          ASSERT_EQ(ErrorOf([&] { c.Insert(before, value, key); }), bad ? 5 : duplicate ? 457 : 0);
          if (!bad && !duplicate) model.insert(model.begin() + (before - 1), {value, key});
        }
      } else if (op < 7) {
        const auto position = static_cast<int32_t>(next(static_cast<uint32_t>(model.size()) + 2));
        const bool bad = position < 1 || position > static_cast<int32_t>(model.size());
        ASSERT_EQ(ErrorOf([&] { c.Remove(position); }), bad ? 9 : 0);
        if (!bad) model.erase(model.begin() + (position - 1));
      } else if (op < 8) {
        const std::string key = random_key();
        const int32_t position = model_position(key);
        ASSERT_EQ(ErrorOf([&] { c.Remove(key); }), position ? 0 : 5);
        if (position) model.erase(model.begin() + (position - 1));
      } else {
        const std::string key = random_key();
        const int32_t position = model_position(key);
        ASSERT_EQ(c.PositionOf(key), position) << key;
        ASSERT_EQ(c.Contains(key), position != 0);
        const int* found = c.Find(key);
        ASSERT_EQ(found ? *found : -1, position ? model[position - 1].value : -1);
        ASSERT_EQ(ErrorOf([&] { c.Item(key); }), position ? 0 : 5);
        ASSERT_EQ(ErrorOf([&] { c.Item(static_cast<int32_t>(next(2) ? 0 : model.size() + 1)); }),
                  9);
      }
      ASSERT_EQ(c.Count(), static_cast<int32_t>(model.size()));
      if (step % 500 == 0 || step == 5999) {
        for (size_t i = 0; i < model.size(); ++i) {
          ASSERT_EQ(c.Item(static_cast<int32_t>(i + 1)), model[i].value);
          ASSERT_EQ(c.KeyAt(static_cast<int32_t>(i + 1)), model[i].key);
          if (model[i].key) {
            ASSERT_EQ(c.Item(*model[i].key), model[i].value);
          }
        }
      }
    }
  }
}

TEST(Collection, ItemsStayWhereTheyAreWhileOthersComeAndGo) {
  Collection<std::string> c;
  c.Add("first", "a");
  c.Add("second");
  const std::string& first = c.Item("A");
  const std::string* second = &c.Item(2);
  for (int i = 0; i < 5000; ++i) c.Insert(2, std::to_string(i), "k" + std::to_string(i));
  for (int i = 0; i < 4000; ++i) c.Remove(3);
  c.Remove("k4999");
  EXPECT_EQ(&c.Item(1), &first);
  EXPECT_EQ(first, "first");
  EXPECT_EQ(&c.Item(c.Count()), second);
  Collection<std::string> moved(std::move(c));
  EXPECT_EQ(moved.Find("a"), &first);
  EXPECT_EQ(moved.Count(), 1001);
  moved.Clear();
  EXPECT_TRUE(moved.Empty());
  moved.Add("again", "a");
  EXPECT_EQ(moved.Item("A"), "again");
}

TEST(ReportError, ShowsDescriptionAndNumberWithCriticalIcon) {
  ui::RecordingMessageBox box;
  ui::ScopedMessageBox scoped(box);
  try {
    Raise(kErrSubscript);
  } catch (...) {
    ReportError("HandleEditCopy(ExprBld)");
  }
  try {
    throw std::runtime_error("boom");
  } catch (...) {
    ReportError("Somewhere(unit)");
  }
  ASSERT_EQ(box.shown.size(), 2u);
  EXPECT_EQ(box.shown[0].text, "Subscript out of range (9)");
  EXPECT_EQ(box.shown[0].flags, ui::kMbCritical);
  EXPECT_EQ(box.shown[0].caption, "");
  EXPECT_EQ(box.shown[1].text, "boom (51)");
}

TEST(ReportError, IgnoresFailuresOfTheMessageBox) {
  struct Throwing : ui::MessageBoxService {
    int Show(const std::string&, int, const std::string&) override { throw Error(5); }
  } box;
  ui::ScopedMessageBox scoped(box);
  EXPECT_NO_THROW(ReportError("X(y)", Error(6)));
}

TEST(Narrowing, SixteenBitOverflowRaisesSix) {
  EXPECT_EQ(CheckedInt16(32767), 32767);
  EXPECT_EQ(CheckedInt16(-32768LL), -32768);
  EXPECT_EQ(ErrorOf([] { CheckedInt16(32768); }), 6);
  EXPECT_EQ(ErrorOf([] { CheckedInt16(-32769L); }), 6);
  EXPECT_EQ(ErrorOf([] { CheckedInt16(size_t{70000}); }), 6);
  EXPECT_EQ(CheckedInt16(size_t{5}), 5);
  EXPECT_EQ(ToVariantBool(true), -1);
}

TEST(Text, PlatformStringRules) {
  EXPECT_EQ(InStr("a|b|c", "|"), 2);
  EXPECT_EQ(InStr(3, "a|b|c", "|"), 4);
  EXPECT_EQ(InStr(5, "a|b|c", "|"), 0);
  EXPECT_EQ(InStr(2, "abc", ""), 2);
  EXPECT_EQ(ErrorOf([] { InStr(0, "abc", "a"); }), 5);
  EXPECT_EQ(Left("abc", 5), "abc");
  EXPECT_EQ(Right("abc", 2), "bc");
  EXPECT_EQ(Mid("abcdef", 2, 3), "bcd");
  EXPECT_EQ(Mid("abc", 9), "");
  EXPECT_EQ(ErrorOf([] { Left("abc", -1); }), 5);
  EXPECT_EQ(Trim("  a b \t "), "a b \t");  // spaces only
  EXPECT_EQ(Split("|a||", "|"), (std::vector<std::string>{"", "a", "", ""}));
  EXPECT_TRUE(EqualsIgnoreCase("Records", "RECORDS"));
}

// The directory lookup's match: "*" and "?" only, brackets literal, backtracking over "*".
TEST(Files, WildcardsMatchAsADirectoryLookupDoes) {
  struct Case {
    const char* pattern;
    const char* name;
    bool matches;
  } cases[] = {
      {"*.tpl", "a.tpl", true},
      {"*.tpl", "a.tpl.bak", false},
      {"*.tpl", ".tpl", true},
      {"a?c", "abc", true},
      {"a?c", "ac", false},
      {"*b*b", "abxbb", true},
      {"*ab", "aab", true},
      {"a*", "", false},
      {"*", "", true},
      {"[ab].tpl", "a.tpl", false},
      {"[ab].tpl", "[ab].tpl", true},
      {"A.TPL", "a.tpl", false},
  };
  for (const Case& c : cases)
    EXPECT_EQ(MatchesWildcard(c.pattern, c.name), c.matches) << c.pattern << " " << c.name;
}

namespace fs = std::filesystem;

TEST(ResolvePath, MapsRegistryPathsOntoThisMachine) {
  fs::path prefix = fs::temp_directory_path() / "kx_paths_prefix";
  fs::remove_all(prefix);
  fs::create_directories(prefix / "drive_c" / "Windows" / "System32");
  WriteWholeFile(prefix / "drive_c" / "Windows" / "System32" / "StdOle2.tlb", "x");
  fs::create_directories(prefix / "dosdevices");
  fs::create_directory_symlink("/", prefix / "dosdevices" / "z:");

  // Drive letters map into the prefix, ignoring case where the path does not exist as written.
  EXPECT_EQ(ResolvePath("C:\\windows\\system32\\stdole2.tlb", prefix),
            (prefix / "drive_c/Windows/System32/StdOle2.tlb").string());
  EXPECT_EQ(ResolvePath("z:\\tmp", prefix), (prefix / "dosdevices/z:/tmp").string());
  // Relative paths are taken from the base folder.
  EXPECT_EQ(ResolvePath("windows\\SYSTEM32\\stdole2.TLB", prefix / "drive_c"),
            (prefix / "drive_c/Windows/System32/StdOle2.tlb").string());
  // What cannot be found stays as written, with slashes.
  EXPECT_EQ(ResolvePath("C:\\nowhere\\x.dll", prefix), (prefix / "drive_c/nowhere/x.dll").string());
  EXPECT_EQ(ResolvePath("/abs/Path"), "/abs/Path");
  EXPECT_EQ(ResolvePath(""), "");

  setenv("WINEPREFIX", prefix.c_str(), 1);
  EXPECT_EQ(WinePrefix(), prefix);
  EXPECT_EQ(ResolvePath("C:\\WINDOWS\\system32"), (prefix / "drive_c/Windows/System32").string());
  unsetenv("WINEPREFIX");
  fs::remove_all(prefix);
}

}  // namespace
}  // namespace kx
