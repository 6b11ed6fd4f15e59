#include <gtest/gtest.h>

#include <filesystem>

#include "error_of.h"
#include "functions/tlb_browse.h"
#include "runtime/files.h"
#include "runtime/text.h"
#include "ui/message_box.h"

namespace kx {
namespace {

namespace fs = std::filesystem;
using typelib::Library;

const std::string kHost = std::string(KX_SOURCE_DIR) + "/data/kx750ui_fn.dll";
const std::string kParams = std::string(KX_SOURCE_DIR) + "/tests/editor/data/params.tlb";

FunctionInfo Lookup(const std::string& name, const std::string& path,
                    ui::RecordingMessageBox* box = nullptr) {
  ui::RecordingMessageBox local;
  ui::ScopedMessageBox guard(box ? *box : local);
  FunctionInfo info;
  info.Name = name;
  GetKXFunctionInfoTL(info, path);
  return info;
}

TEST(HostLibrary, NamesConvertBetweenDisplayAndMemberForms) {
  EXPECT_EQ(DisplayName("Left_Dollar"), "Left$");
  EXPECT_EQ(DisplayName("GetObjectKX"), "GetObject");
  EXPECT_EQ(DisplayName("InStr"), "InStr");
  EXPECT_EQ(MemberName("Trim$"), "Trim_Dollar");
  EXPECT_EQ(MemberName("GetObject"), "GetObjectKX");
  EXPECT_EQ(MemberName("Len"), "Len");
  EXPECT_TRUE(IsHostLibraryPath("c:\\program files\\kx\\kx750ui_fn.dll"));
  EXPECT_FALSE(IsHostLibraryPath("c:\\kx\\KX750UI_FN.DLL"));
  EXPECT_FALSE(IsHostLibraryPath("kx750ui_fn.dll\\2"));
}

TEST(HostLibrary, CategoriesAndTokensComeFromTheLibraryInItsOrder) {
  Library lib = typelib::OpenLibrary(kHost);
  std::vector<std::string> nodes;
  for (const TreeNodeData& n : FunctionCategoryNodes(lib)) {
    EXPECT_EQ(n.parent, "FNC");
    nodes.push_back(n.key + "=" + n.text);
  }
  EXPECT_EQ(nodes, (std::vector<std::string>{"DateTime=Date/Time", "Math=Math", "Text=Text",
                                             "TypeConversion=Conversion", "Parse=Parse"}));
  EXPECT_EQ(CategoryNodeText("parse"), "");  // names compare exactly
  std::vector<TreeNodeData> children = FunctionTreeNodes(lib);
  ASSERT_EQ(children.size(), 8u);
  EXPECT_EQ(children[0].key + children[1].key + children[2].key + children[3].key,
            "FCAllFileFunctionsDateTime");
  EXPECT_EQ(children[1].text, "<All Functions>");

  EXPECT_EQ(BuildFunctionTokens(lib, "Text", true),
            (std::vector<std::string>{"Left$", "Right$", "Mid$", "Trim$", "LTrim$", "RTrim$",
                                      "UCase$", "LCase$", "Len", "InStr", "Replace$", "Space$",
                                      "StrComp", "Chr$", "Asc", "Format$"}));
  EXPECT_TRUE(BuildFunctionTokens(lib, "FNC", true).empty());
  EXPECT_EQ(BuildFunctionTokens("KX750UI_FN.DLL", "Math", std::string(KX_SOURCE_DIR) + "/data"),
            (std::vector<std::string>{"Abs", "Int", "Fix", "Round", "Sqr", "Sgn"}));

  // Display names belong to the host library's file name only, as in the lookup.
  std::string text = BuildFunctionTokens(kHost, "Text")[0];
  fs::path copy = fs::temp_directory_path() / "kx_tlb_browse_tokens.dll";
  fs::copy_file(kHost, copy, fs::copy_options::overwrite_existing);
  std::vector<std::string> other = BuildFunctionTokens(copy.string(), "All");
  std::vector<std::string> suffixed = BuildFunctionTokens(kHost + "\\1", "Text");
  fs::remove(copy);
  EXPECT_EQ(text, "Left$");
  ASSERT_EQ(other.size(), 53u);
  EXPECT_EQ(other.front(), "Left_Dollar");
  EXPECT_EQ(other.back(), "GetObjectKX");
  EXPECT_EQ(suffixed.front(), "Left_Dollar");  // a resource number after the name
}

TEST(HostLibrary, FunctionInformationHasTheHostForm) {
  FunctionInfo left = Lookup("Left$", kHost);
  EXPECT_EQ(left.Name, "Left_Dollar");
  EXPECT_EQ(left.Description,
            "Left$(String As String, Length As Long) As String\r\n\r\n    Returns a given number "
            "of characters from the left side of a string.;String expression from which the "
            "leftmost characters are returned.;Number of characters to return.");
  EXPECT_EQ(left.Syntax, "Left$(String As String, Length As Long)");
  ASSERT_EQ(left.ArgumentCount, 2);
  EXPECT_EQ(left.Arguments[0].Name, "String");
  EXPECT_EQ(left.Arguments[1].Name, "Length");
  EXPECT_EQ(left.Origin, "kx750ui_fn.KXFunction");

  EXPECT_EQ(Split(Lookup("Mid$", kHost).Description, "\r\n")[0],
            "Mid$(String As String, Start As Long, [Length As Long = -1]) As String");
  FunctionInfo get_object = Lookup("GetObject", kHost);
  EXPECT_EQ(get_object.Name, "GetObjectKX");
  EXPECT_EQ(get_object.Syntax, "GetObject([PathName As String = \"\"], [Class As String = \"\"])");
  EXPECT_EQ(Lookup("Now", kHost).Syntax, "Now()");
  EXPECT_EQ(Split(Lookup("Choose", kHost).Description, "\r\n")[0],
            "Choose(Index As Integer, [ParamArray Choices As Variant()]) As Variant");
  EXPECT_EQ(Split(Lookup("IsDate", kHost).Description, "\r\n")[0],
            "IsDate(Expression As Variant) As Boolean");

  // The conversion belongs to the host library's file name only.
  fs::path copy = fs::temp_directory_path() / "kx_tlb_browse_other.dll";
  fs::copy_file(kHost, copy, fs::copy_options::overwrite_existing);
  FunctionInfo other = Lookup("GetObject", copy.string());
  EXPECT_EQ(other.Name, "GetObject");
  EXPECT_EQ(other.Description, "");
  FunctionInfo plain = Lookup("InStr", copy.string());
  EXPECT_EQ(Split(plain.Description, "\r\n")[2], "  Member of kx750ui_fn.KXFunction");
  fs::remove(copy);
}

TEST(TypeLibraryMembers, PrototypesInformationAndSyntaxOfAnyLibrary) {
  FunctionInfo most = Lookup("Most", kParams);
  EXPECT_EQ(most.ArgumentCount, 65);
  EXPECT_EQ(most.Arguments[64].Name, "p65");
  EXPECT_EQ(Left(most.Syntax, 31), "Function Most(p1 As Long, p2 As");
  EXPECT_TRUE(most.Syntax.ends_with(", p64 As Long, p65 As Long)")) << most.Syntax;
  EXPECT_TRUE(most.Description.ends_with(
      ", p65 As Long) As Long\r\n\r\n  Member of Params.Many\r\n\r\n  Takes 65 arguments"))
      << most.Description;

  ui::RecordingMessageBox box;
  FunctionInfo too_many = Lookup("TooMany", kParams, &box);
  ASSERT_EQ(box.shown.size(), 1u);
  EXPECT_EQ(box.shown[0].text, "Subscript out of range (9)");
  EXPECT_EQ(box.shown[0].flags, ui::kMbCritical);

  const std::tuple<std::string, std::string, std::string> members[] = {
      {"Clear", "Sub Clear()", "Sub Clear()"},
      {"Count", "Property Count As Long", "Count"},
      {"Caption", "Property Caption As String", "Caption"},
      {"Byte", "Const Byte = 255 (&HFF)", "Byte"},
      {"Seven", "Const Seven = 7", "Seven"},
      {"MinusOne", "Const MinusOne = -1 (&HFFFFFFFF)", "MinusOne"},
  };
  for (const auto& [name, prototype, syntax] : members) {
    FunctionInfo info = Lookup(name, kParams);
    EXPECT_EQ(Split(info.Description, "\r\n")[0], prototype);
    EXPECT_EQ(info.Syntax, syntax);
  }

  // Constants keep their stored width.
  typelib::Variable v;
  v.name = "Small";
  v.kind = typelib::VarKind::Const;
  v.value.vt = typelib::kVtI2;
  v.value.integer = -1;
  EXPECT_EQ(PrototypeText(MemberRef{nullptr, &v}, false), "Const Small = -1 (&HFFFF)");
  v.value.integer = 16;
  EXPECT_EQ(PrototypeText(MemberRef{nullptr, &v}, false), "Const Small = 16 (&H10)");
  v.value.vt = typelib::kVtBstr;
  v.value.text = "a\"b";
  EXPECT_EQ(PrototypeText(MemberRef{nullptr, &v}, false), "Const Small = \"a\"\"b\"");

  ui::RecordingMessageBox missing;
  Lookup("Most", "/nonexistent/kx750ui_fn.dll", &missing);
  ASSERT_EQ(missing.shown.size(), 1u);
  EXPECT_NE(missing.shown[0].text.find("(53)"), std::string::npos);
}

TEST(TypeLibraryMembers, SyntaxTextIsChosenByTheFirstFiveCharacters) {
  EXPECT_EQ(SyntaxText("Property Name As String", "Name", {}), "Name");
  EXPECT_EQ(SyntaxText("Const X = 1", "X", {}), "X");
  EXPECT_EQ(SyntaxText("Method Go(a As Long)", "Go", {"a", "b"}), "Go(a, b)");
  EXPECT_EQ(SyntaxText("Method Go", "Go", {}), "Go()");
  EXPECT_EQ(SyntaxText("Sub Go(a As Long) (x)", "Go", {"a"}), "Sub Go(a As Long)");
  EXPECT_EQ(SyntaxText("Now\r\n\r\n    no parentheses", "Now", {}), "");
}

TEST(TypeLibraryMembers, ConstantsGiveTheirValueAndMembersTheirPlainPrototype) {
  const std::pair<std::string, std::string> values[] = {
      {"Const Byte = 255 (&HFF)", "255"}, {"Const MinusOne = -1 (&HFFFFFFFF)", "-1"},
      {"Const Seven = 7", "7"},           {"Const Half = 0.50", "0.5"},
      {"Const Big = 1E+3", "1000"},
  };
  for (const auto& [prototype, value] : values) EXPECT_EQ(ConstantValueText(prototype), value);
  EXPECT_EQ(ErrorOf([] { ConstantValueText("Const Greeting = \"hello\""); }), 13);
  EXPECT_EQ(ErrorOf([] { ConstantValueText("Const Nothing ="); }), 13);

  const std::string key = kParams + "<Params{P}1.0";
  EXPECT_EQ(MemberPrototype(key + "<Limits", "MinusOne"), "Const MinusOne = -1 (&HFFFFFFFF)");
  EXPECT_EQ(MemberPrototype(key + "<Many", "Clear"), "Sub Clear()");
  EXPECT_EQ(MemberPrototype(key + "<Many", "Seven"), "");  // members of that type only
  // The host library's constants too, though its lookups use the host form.
  EXPECT_EQ(MemberPrototype("kx750ui_fn.dll<x<KXCompareMethod", "kxTextCompare",
                            std::string(KX_SOURCE_DIR) + "/data"),
            "Const kxTextCompare = 1");
}

}  // namespace
}  // namespace kx
