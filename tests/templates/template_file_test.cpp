#include <gtest/gtest.h>

#include <filesystem>

#include "error_of.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/text.h"
#include "scratch_dir.h"
#include "templates/templates.h"
#include "ui/message_box.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

class TemplateFileTest : public testing::Test {
 protected:
  void SetUp() override { set_.ProductName("Product"); }

  std::string Write(const std::string& bytes, const std::string& name = "t.tpl") {
    return scratch_.Write(name, bytes);
  }
  // Loads `bytes` through the filename property; returns the load's result.
  bool Load(const std::string& bytes) {
    path_ = Write(bytes);
    ui::ScopedMessageBox guard(box_);
    return set_.LoadFrom(path_);
  }
  std::string Shown() const { return box_.shown.empty() ? "" : box_.shown.back().text; }
  // %F stands for the file's path.
  static std::string Period(const std::string& name, int line) {
    return "Template file: %F is invalid. Problem with template: " + name +
           ", on line: " + std::to_string(line) + ".";
  }
  static std::string NoPeriod(const std::string& name, int line) {
    std::string text = Period(name, line);
    return text.substr(0, text.size() - 1);
  }

  ScratchDir scratch_;
  const fs::path& dir_ = scratch_.path;
  std::string path_;
  ExprTemplates set_;
  ui::RecordingMessageBox box_;
};

// The example template of the file format, byte for byte as the writer produces it.
const std::string kIfBlank =
    "@BeginTemplate IfBlank\r\n  @BeginDescription\r\n    Replace blank values\r\n"
    "  @EndDescription\r\n  @BeginBody\r\n"
    "If <<Field>> = \"\" Then <<Default>> Else <<Field>>\r\n  @EndBody\r\n"
    "  @BeginParameter\r\n    @Name=Field\r\n    @BeginDescription\r\n      Field to test\r\n"
    "    @EndDescription\r\n    @DefaultValue=^f\r\n  @EndParameter\r\n  @BeginParameter\r\n"
    "    @Name=Default\r\n    @BeginDescription\r\n      \r\n    @EndDescription\r\n"
    "    @DefaultValue=\r\n  @EndParameter\r\n@EndTemplate IfBlank\r\n";

// A template up to the end of its body.
std::string Head(const std::string& name, const std::string& body) {
  return "@BeginTemplate " + name + "\r\n  @BeginBody\r\n" + body + "\r\n  @EndBody\r\n";
}
std::string Simple(const std::string& name, const std::string& body = "x") {
  return Head(name, body) + "@EndTemplate " + name + "\r\n";
}

TEST_F(TemplateFileTest, WriterOutputIsExactAndLoadsBackTrimmed) {
  auto t = std::make_shared<ExprTemplate>();
  t->Name("IfBlank");
  t->Description("Replace blank values");
  t->Body("If <<Field>> = \"\" Then <<Default>> Else <<Field>>");
  t->ExtractandAddParams();
  t->ParameterbyIndex(1)->Description("Field to test");
  t->ParameterbyIndex(1)->DefaultValue("^f");
  t->ParameterbyIndex(2)->Value("not written");
  ExprTemplates writer;
  writer.filename((dir_ / "w.tpl").string());  // no such file yet: loads nothing
  writer.Add(t);
  EXPECT_EQ(writer.FileText(), kIfBlank);

  auto u = std::make_shared<ExprTemplate>();
  u->Name("Multi");
  u->Description("  first  \r\nsecond\r\n\r\nfourth ");
  u->Body("  If a Then\r\n    <<p>>\r\n  End If");
  u->ExtractandAddParams();
  u->ParameterbyIndex(1)->DefaultValue(" d ");
  writer.Add(u);
  auto empty = std::make_shared<ExprTemplate>();
  empty->Name("Empty");
  writer.Add(empty);
  writer.WriteToFile();

  ui::ScopedMessageBox guard(box_);
  ASSERT_TRUE(set_.LoadFrom(writer.filename()));
  EXPECT_TRUE(box_.shown.empty());
  ASSERT_EQ(set_.Count(), 3);
  ExprTemplateRef m = set_.Item("Multi");
  EXPECT_EQ(m->Description(), "first\r\nsecond\r\n\r\nfourth");
  EXPECT_EQ(m->Body(), "If a Then\r\n<<p>>\r\nEnd If");
  EXPECT_EQ(m->ParameterbyIndex(1)->DefaultValue(), "d");
  EXPECT_EQ(m->ParameterbyIndex(1)->Value(), "d");
  ExprTemplateRef i = set_.Item(int16_t{1});
  EXPECT_EQ(i->ParameterbyIndex(1)->Value(), "^f");
  EXPECT_EQ(i->ParameterbyIndex(2)->DefaultValue(), "");
  EXPECT_EQ(set_.Item("Empty")->Body(), "");
  EXPECT_EQ(set_.FileText().substr(0, kIfBlank.size()), kIfBlank);
}

TEST_F(TemplateFileTest, LineReaderKeepsItsOddities) {
  auto read = [](TemplateFileInput& file) {
    char lookahead = '\r';
    std::vector<std::string> out;
    while (!file.AtEnd()) out.push_back(file.ReadLine(lookahead));
    return out;
  };
  using V = std::vector<std::string>;
  const std::pair<std::string, V> cases[] = {
      {"ab\r\ncd", {"ab", "c"}},
      {"a\n\nb\n", {"a", "b"}},
      {"a\r\n\r\nb\r\n", {"a", "", "b"}},
      {"a\rb\rc\r", {"a", "b", "c"}},
      {"a\r\rb\n", {"a", "b"}},
      {" x \t\r\n", {" x \t"}},
      {"long line\r\nx\ry", {"long line", "x"}},
  };
  for (const auto& [bytes, expected] : cases) {
    TemplateFileInput whole(bytes);
    EXPECT_EQ(read(whole), expected) << bytes;
    // Read from a file through windows of every small size: a line or a CR LF cut by the
    // window's edge reads as it does from memory.
    for (size_t chunk = 1; chunk <= 4; ++chunk) {
      std::FILE* f = std::tmpfile();
      ASSERT_NE(f, nullptr);
      std::fwrite(bytes.data(), 1, bytes.size(), f);
      std::rewind(f);
      TemplateFileInput streamed(f, chunk);
      EXPECT_EQ(read(streamed), expected) << bytes << " in windows of " << chunk;
    }
  }
  TemplateFileInput at_end("");
  char lookahead = '\r';
  EXPECT_EQ(ErrorOf([&] { at_end.ReadLine(lookahead); }), kErrInputPastEnd);
}

TEST_F(TemplateFileTest, LoadsWhatTheFormatAllows) {
  // An end line without line end still ends the template; LF-only and lone-CR files load.
  std::string lf = ReplaceAll(kIfBlank, "\r\n", "\n");
  EXPECT_TRUE(Load(lf.substr(0, lf.size() - 1)));
  EXPECT_EQ(set_.Count(), 1);
  EXPECT_TRUE(Load(ReplaceAll(kIfBlank, "\r\n", "\r")));
  EXPECT_EQ(set_.Item("ifblank")->ParameterCount(), 2);

  // Duplicate names: the first stays; a template cut off before its body is dropped.
  EXPECT_TRUE(Load(Simple("A", "first") + Simple("A", "second") +
                   "@BeginTemplate B\r\n  @BeginDescription\r\n    d\r\n  @EndDescription\r\n"));
  EXPECT_EQ(set_.Count(), 1);
  EXPECT_EQ(set_.Item("A")->Body(), "first");

  // Defaults: the last one wins, an empty one changes nothing; blank lines inside blocks.
  EXPECT_TRUE(
      Load("@BeginTemplate T\r\n@BeginBody\r\n\r\n  <<p>>  \r\n\r\nb\r\n@EndBody\r\n"
           "@BeginParameter\r\n@Name=p\r\n@DefaultValue=one\r\n@DefaultValue=\r\n"
           "@BeginDescription\r\n@EndDescription\r\n@DefaultValue= two \r\n"
           "@EndParameter\r\n@EndTemplate\r\n"
           "@BeginTemplate U\r\n@BeginBody\r\n<<p>>\r\n@EndBody\r\n@BeginParameter\r\n"
           "@Name=p\r\n@DefaultValue=\r\n@EndParameter\r\n@EndTemplate\r\n"));
  EXPECT_EQ(set_.Item("T")->Body(), "<<p>>\r\n\r\nb");
  EXPECT_EQ(set_.Item("T")->ParameterbyIndex(1)->DefaultValue(), "two");
  EXPECT_EQ(set_.Item("T")->ParameterbyIndex(1)->Value(), "two");
  EXPECT_EQ(set_.Item("U")->ParameterbyIndex(1)->Value(), "");

  EXPECT_TRUE(Load(""));
  EXPECT_EQ(set_.Count(), 0);
  EXPECT_TRUE(box_.shown.empty());
}

TEST_F(TemplateFileTest, ATemplateTheFileEndsInsideIsDropped) {
  // Cut after every line of a full template, CR LF and LF-only: the template before stays.
  for (const std::string& eol : {std::string("\r\n"), std::string("\n")}) {
    std::vector<std::string> lines = Split(ReplaceAll(kIfBlank, "\r\n", eol), eol);
    lines.pop_back();
    for (size_t cut = 1; cut < lines.size(); ++cut) {
      std::string bytes = ReplaceAll(Simple("A"), "\r\n", eol);
      for (size_t i = 0; i < cut; ++i) bytes += lines[i] + eol;
      box_.shown.clear();
      EXPECT_TRUE(Load(bytes)) << cut << ": " << lines[cut - 1];
      EXPECT_TRUE(box_.shown.empty()) << cut << ": " << Shown();
      EXPECT_EQ(set_.Count(), 1) << cut;
    }
  }
}

TEST_F(TemplateFileTest, MalformedFilesGiveTheStatedMessages) {
  struct Case {
    std::string bytes;
    std::string message;
    int loaded;
  };
  std::string param_a =
      "@BeginTemplate P\r\n@BeginBody\r\n<<a>> <<b>>\r\n@EndBody\r\n@BeginParameter\r\n";
  std::vector<Case> cases = {
      {Simple("A") + "\r\n", "Template file: %F is invalid.", 1},
      {"@BeginTemplate\r\n", Period("", 1), 0},
      {Simple("A") + "@BeginDescription\r\n", Period("A", 6), 1},
      {param_a + "@Name=b\r\n", NoPeriod("P", 6), 0},
      {param_a + "@Name=\r\n", NoPeriod("P", 6), 0},
      {param_a + "@Nam=a\r\n", NoPeriod("P", 6), 0},
      {param_a + "@Name=a\r\n@EndParameter\r\n@EndTemplate P\r\n", Period("P", 8), 0},
      {param_a + "@Name=a\r\n@Default=x\r\n", Period("P", 7), 0},
      {"@BeginTemplate Q\r\n@BeginBody\r\n<<a>> <<b\r\n@EndBody\r\n@EndTemplate Q\r\n",
       Period("Q", 4), 0},
      {Simple("A") + Head("B", "<<x>>") +
           "@BeginParameter\r\n@Name=x\r\n@EndParameter\r\n@BeginParameter\r\n@Name=y\r\n",
       Period("B", 14), 1},
      // After a template with parameters, one without a body no longer matches the count.
      {Head("B", "<<x>>") + "@BeginParameter\r\n@Name=x\r\n@EndParameter\r\n@EndTemplate B\r\n"
                            "@BeginTemplate C\r\n@EndTemplate C\r\n",
       Period("C", 10), 1},
      {Simple("A") + "  @EndBody\r\n", "Template file: %F is invalid.", 1},
      {Simple("Ab") + Simple("AB"),
       "This key is already associated with an element of this collection (457)", 1},
      // The parameters collection would hold both names under one key.
      {Simple("A") + Simple("D", "<<a>> and <<A>>"), Period("D", 9), 1},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    set_.TemplateFileModified(true);
    box_.shown.clear();
    EXPECT_FALSE(Load(cases[i].bytes)) << i;
    std::string expected = ReplaceAll(cases[i].message, "%F", path_);
    ASSERT_EQ(box_.shown.size(), 1u) << i;
    EXPECT_EQ(Shown(), expected) << i;
    bool template_error = cases[i].message.rfind("Template file: %F is invalid. P", 0) == 0;
    EXPECT_EQ(box_.shown[0].caption, template_error ? "Product" : "") << i;
    EXPECT_EQ(box_.shown[0].flags, template_error          ? ui::kMbOk
                                   : Shown().back() == ')' ? 16
                                                           : 0)
        << i;
    EXPECT_EQ(set_.Count(), cases[i].loaded) << i;
    EXPECT_FALSE(set_.TemplateFileModified()) << i;
  }
}

TEST_F(TemplateFileTest, MissingFilesAndPathsThatCannotBeOpened) {
  ui::ScopedMessageBox guard(box_);
  set_.TemplateFileModified(true);
  EXPECT_TRUE(set_.LoadFrom((dir_ / "absent.tpl").string()));
  EXPECT_TRUE(set_.LoadFrom(dir_.string()));
  EXPECT_TRUE(box_.shown.empty());
  EXPECT_FALSE(set_.TemplateFileModified());
  // The lookup matches a wildcard, the open does not.
  Write(Simple("A"), "a.tpl");
  std::string pattern = (dir_ / "*.tpl").string();
  EXPECT_FALSE(set_.LoadFrom(pattern));
  ASSERT_EQ(box_.shown.size(), 1u);
  EXPECT_EQ(box_.shown[0].text, "Can't locate expression template file: " + pattern);
  EXPECT_EQ(box_.shown[0].caption, "Product");
}

TEST_F(TemplateFileTest, CollectionOperations) {
  path_ = Write(Head("b", "<<p>>") +
                "@BeginParameter\r\n@Name=p\r\n@DefaultValue=dv\r\n@EndParameter\r\n"
                "@EndTemplate b\r\n" +
                Simple("a") + Simple("C"));
  set_.filename(path_);
  ASSERT_EQ(set_.Count(), 3);
  ExprTemplateRef b = set_.Item("B");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(set_.Item(int16_t{0}), nullptr);
  EXPECT_EQ(set_.Item(int16_t{4}), nullptr);
  EXPECT_EQ(set_.Item(""), nullptr);
  EXPECT_EQ(set_.Item("zz"), nullptr);

  // Same path with templates held: no reload, so changes survive.
  b->Description("changed");
  set_.filename(path_);
  EXPECT_EQ(set_.Item("b")->Description(), "changed");

  // Add: an exact name returns the held one; empty values take their defaults.
  auto again = std::make_shared<ExprTemplate>();
  again->Name("b");
  EXPECT_EQ(set_.Add(again), b);
  auto fresh = std::make_shared<ExprTemplate>();
  fresh->Name("D");
  fresh->ParameterValuebyName("q", "");
  fresh->ParameterbyName("q")->DefaultValue("qd");
  fresh->ParameterValuebyName("r", "kept");
  EXPECT_EQ(set_.Add(fresh), fresh);
  EXPECT_EQ(fresh->ParameterbyName("q")->Value(), "qd");
  EXPECT_EQ(fresh->ParameterbyName("r")->Value(), "kept");
  auto upper = std::make_shared<ExprTemplate>();
  upper->Name("A");
  EXPECT_THROW(set_.Add(upper), Error);

  // A renamed template is found under its new name.
  set_.Item("C")->Name("E");
  auto e = std::make_shared<ExprTemplate>();
  e->Name("E");
  EXPECT_EQ(set_.Add(e), set_.Item(int16_t{3}));

  set_.Delete("A");  // names are compared exactly
  set_.Delete("");
  EXPECT_EQ(set_.Count(), 4);
  set_.Delete("a");
  EXPECT_EQ(set_.Count(), 3);
  EXPECT_THROW(set_.Delete(int16_t{9}), Error);
  set_.Delete(int16_t{1});
  std::vector<std::string> names;
  for (const ExprTemplateRef& t : set_) names.push_back(t->Name());
  EXPECT_EQ(names, (std::vector<std::string>{"E", "D"}));
  EXPECT_EQ(set_.NewEnum().size(), 2u);

  set_.FreeTemplates();
  EXPECT_EQ(set_.Count(), 0);
  EXPECT_EQ(fresh->ParameterCount(), 0);
}

TEST_F(TemplateFileTest, CopyandSortNameLoadsTheFileAndAddsByName) {
  path_ = Write(Simple("b") + Simple("C") + Simple("a"));
  set_.filename(path_);
  auto extra = std::make_shared<ExprTemplate>();
  extra->Name("Z");
  set_.Add(extra);
  set_.Item("C")->Body("changed in memory");

  ExprTemplates target;
  SortedTextList sorter;
  sorter.AddItem("left over");
  EXPECT_TRUE(set_.CopyandSortName(target, sorter));
  ASSERT_EQ(sorter.ListCount(), 4);
  EXPECT_EQ(sorter.List(0), "a");
  EXPECT_EQ(sorter.List(2), "C");
  std::vector<std::string> names;
  for (const ExprTemplateRef& t : target) names.push_back(t->Name());
  // The file's templates come first, in file order; then what only this set holds.
  EXPECT_EQ(names, (std::vector<std::string>{"b", "C", "a", "Z"}));
  EXPECT_EQ(target.Item("C")->Body(), "x");
  EXPECT_EQ(target.Item("Z"), extra);
}

}  // namespace
}  // namespace kx
