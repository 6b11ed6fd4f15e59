#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "error_of.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "typelib/format.h"
#include "typelib/pe.h"
#include "typelib/typelib.h"

namespace kx::typelib {
namespace {

const std::string kShapes = std::string(KX_SOURCE_DIR) + "/tests/typelib/data/shapes.tlb";
const std::string kFunctionLibrary = std::string(KX_SOURCE_DIR) + "/data/kx750ui_fn.dll";

const TypeInfo& Find(const Library& lib, const std::string& name) {
  for (const TypeInfo& t : lib.types)
    if (t.name == name) return t;
  throw std::runtime_error("no type " + name);
}

uint32_t U32(const std::string& b, size_t at) {
  return static_cast<uint8_t>(b[at]) | static_cast<uint8_t>(b[at + 1]) << 8 |
         static_cast<uint8_t>(b[at + 2]) << 16 |
         static_cast<uint32_t>(static_cast<uint8_t>(b[at + 3])) << 24;
}
void Put32(std::string& b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<char>(v >> (8 * i));
}
// Offset of segment `index` of the directory in MSFT bytes.
size_t SegmentEntry(const std::string& b, int index) {
  size_t dir = 0x54 + ((U32(b, 0x14) & 0x100) ? 4 : 0) + U32(b, 0x20) * 4;
  return dir + static_cast<size_t>(index) * 16;
}

// A minimal 32-bit PE image whose one section holds a resource tree with TYPELIB `id`.
std::string Pe32With(const std::string& tlb, int id) {
  std::string rsrc(0x70, '\0');
  auto put16 = [](std::string& b, size_t at, uint16_t v) {
    b[at] = static_cast<char>(v);
    b[at + 1] = static_cast<char>(v >> 8);
  };
  put16(rsrc, 12, 1);  // root: one named entry
  Put32(rsrc, 16, 0x80000058);
  Put32(rsrc, 20, 0x80000018);
  put16(rsrc, 0x18 + 14, 1);  // type: one id
  Put32(rsrc, 0x28, static_cast<uint32_t>(id));
  Put32(rsrc, 0x2C, 0x80000030);
  put16(rsrc, 0x30 + 14, 1);  // language 0
  Put32(rsrc, 0x44, 0x48);
  Put32(rsrc, 0x48, 0x1000 + 0x70);  // data entry: RVA, size
  Put32(rsrc, 0x4C, static_cast<uint32_t>(tlb.size()));
  put16(rsrc, 0x58, 7);
  for (int i = 0; i < 7; ++i) put16(rsrc, 0x5A + i * 2, static_cast<uint16_t>("TYPELIB"[i]));
  rsrc += tlb;

  std::string image(0x200, '\0');
  image[0] = 'M';
  image[1] = 'Z';
  Put32(image, 0x3C, 0x40);
  Put32(image, 0x40, 0x00004550);
  put16(image, 0x44, 0x14C);  // i386
  put16(image, 0x46, 1);      // one section
  put16(image, 0x54, 224);    // optional header size
  size_t optional = 0x58;
  put16(image, optional, 0x10B);  // PE32
  Put32(image, optional + 92, 16);
  Put32(image, optional + 96 + 16, 0x1000);  // resource directory
  Put32(image, optional + 96 + 20, static_cast<uint32_t>(rsrc.size()));
  size_t section = optional + 224;
  std::memcpy(&image[section], ".rsrc", 5);
  Put32(image, section + 8, static_cast<uint32_t>(rsrc.size()));
  Put32(image, section + 12, 0x1000);
  Put32(image, section + 16, static_cast<uint32_t>(rsrc.size()));
  Put32(image, section + 20, 0x200);
  return image + rsrc;
}

int ErrorNumber(const std::string& bytes) {
  return ErrorOf([&] { ReadLibrary(bytes, "test"); });
}
// The reader's refusal of `bytes` must be a format error that says `why`.
testing::Matcher<std::string> Refused(const std::string& why) {
  return testing::MatchesRegex("321: .*" + why + ".*");
}
std::string Refusal(const std::string& bytes) {
  return ErrorTextOf([&] { ReadLibrary(bytes, "test"); });
}

TEST(MsftReader, ReadsEveryShapeOfTheTestLibrary) {
  Library lib = OpenLibrary(kShapes);
  EXPECT_EQ(lib.name, "Shapes");
  EXPECT_EQ(lib.guid.ToString(), "{6B1D7A10-2F3E-4C5D-8E9F-0A1B2C3D4E50}");
  EXPECT_EQ(lib.major, 2);
  EXPECT_EQ(lib.minor, 3);
  EXPECT_EQ(lib.doc, "Shapes test library");
  EXPECT_EQ(lib.help_file, "shapes.hlp");
  EXPECT_EQ(lib.help_context, 77);
  ASSERT_EQ(lib.types.size(), 9u);

  const TypeInfo& colour = lib.types[0];
  EXPECT_EQ(colour.kind, TypeKind::Enum);
  ASSERT_EQ(colour.variables.size(), 5u);
  EXPECT_EQ(colour.variables[2].name, "Blue");
  EXPECT_EQ(colour.variables[2].value.integer, 255);
  EXPECT_EQ(colour.variables[3].value.integer, -1);  // stored out of line
  EXPECT_EQ(colour.variables[4].value.integer, 100000);
  EXPECT_EQ(colour.variables[4].kind, VarKind::Const);

  const TypeInfo& point = Find(lib, "Point");
  EXPECT_EQ(point.kind, TypeKind::Record);
  EXPECT_EQ(TypeText(*point.variables[2].type), "Integer(0 To 2, 0 To 3)");
  EXPECT_EQ(TypeText(*point.variables[3].type), "String()");
  EXPECT_EQ(Find(lib, "Either").kind, TypeKind::Union);
  EXPECT_EQ(TypeText(*Find(lib, "PointAlias").alias_of), "Point");

  const TypeInfo& shape = Find(lib, "IShape");
  EXPECT_EQ(shape.kind, TypeKind::Dispatch);
  ASSERT_EQ(shape.functions.size(), 5u);
  EXPECT_EQ(shape.functions[0].invoke, InvokeKind::PropertyGet);
  EXPECT_EQ(shape.functions[0].doc, "The name");
  EXPECT_EQ(shape.functions[0].help_context, 5);
  EXPECT_EQ(shape.functions[1].invoke, InvokeKind::PropertyPut);
  EXPECT_EQ(shape.functions[1].name, "Name");
  const Function& move = shape.functions[2];
  ASSERT_EQ(move.params.size(), 5u);
  EXPECT_EQ(move.params[1].default_value.vt, kVtI2);
  EXPECT_EQ(move.params[1].default_value.integer, -3);
  EXPECT_EQ(ValueText(move.params[2].default_value), "BSTR \"a \\\"quoted\\\" text\"");
  EXPECT_TRUE(move.params[3].flags & kParamOptional);
  EXPECT_FALSE(move.params[3].has_default);
  EXPECT_TRUE(move.params[4].flags & kParamRetval);
  EXPECT_EQ(TypeText(*move.params[4].type), "Boolean*");
  EXPECT_TRUE(shape.functions[3].param_array);
  EXPECT_EQ(TypeText(*shape.functions[4].params[1].type), "IShape**");
  EXPECT_EQ(TypeText(*shape.functions[4].params[2].type), "Colour");

  const TypeInfo& plain = Find(lib, "IPlain");
  // Imported from stdole2: the GUID stands in until a resolver finds the library.
  EXPECT_EQ(TypeText(*plain.implements.at(0).type), "{00000000-0000-0000-C000-000000000046}");
  if (FileExists("/usr/lib/x86_64-linux-gnu/wine/x86_64-windows/stdole2.tlb")) {
    Library resolved = OpenLibrary(kShapes, MakeFileImportResolver(kShapes));
    EXPECT_EQ(TypeText(*Find(resolved, "IPlain").implements.at(0).type), "IUnknown");
  }
  std::string types;
  for (const Parameter& p : plain.functions[0].params) types += VbTypeName(*p.type) + " ";
  EXPECT_EQ(types,
            "Byte SByte UInteger LongLong Currency Date Single IUnknown Object Decimal Int UInt ");
  EXPECT_EQ(TypeText(*plain.functions[1].return_type), "Void");

  const TypeInfo& events = Find(lib, "DEvents");
  ASSERT_EQ(events.variables.size(), 2u);
  EXPECT_EQ(events.variables[0].kind, VarKind::Dispatch);
  EXPECT_EQ(events.functions[0].params[1].default_value.vt, kVtBool);
  EXPECT_EQ(Find(lib, "ShapeFunctions").dll_name, "shapes.dll");
  const TypeInfo& coclass = Find(lib, "Shape");
  ASSERT_EQ(coclass.implements.size(), 3u);
  EXPECT_EQ(coclass.implements[2].flags, 3);  // default, source
}

TEST(MsftReader, ReadsTheLibraryInsideAPeFileAndSelectsResources) {
  Library lib = OpenLibrary(kFunctionLibrary);
  EXPECT_EQ(lib.name, "kx750ui_fn");
  EXPECT_EQ(lib.types.front().name, "KXFunction");
  Library same = OpenLibrary(kFunctionLibrary + "\\1");
  EXPECT_EQ(same.types.size(), lib.types.size());

  std::string bytes = ReadWholeFile(kFunctionLibrary);
  EXPECT_EQ(ListTypeLibResources(bytes, "x"), std::vector<int>{1});
  EXPECT_THAT(ErrorTextOf([] { OpenLibrary(kFunctionLibrary + "\\2"); }),
              testing::MatchesRegex("321: .*no TYPELIB resource 2.*"));
  EXPECT_THROW(OpenLibrary(kFunctionLibrary + ".missing"), Error);

  std::string path;
  int id = 0;
  SplitLibraryPath("C:\\lib\\x.dll\\3", path, id);
  EXPECT_EQ(path, "C:\\lib\\x.dll");
  EXPECT_EQ(id, 3);
  SplitLibraryPath("C:\\lib\\x.dll", path, id);
  EXPECT_EQ(path, "C:\\lib\\x.dll");
  EXPECT_EQ(id, 1);
}

TEST(MsftReader, RefusesWhatItCannotReadWithAClearError) {
  EXPECT_THAT(Refusal(std::string("SLTG") + std::string(60, '\0')), Refused("SLTG"));
  EXPECT_THAT(Refusal("hello world"), Refused("not a type library"));
  EXPECT_EQ(ErrorNumber(""), kErrInvalidFileFormat);

  std::string shapes = ReadWholeFile(kShapes);
  std::string bad = shapes;
  Put32(bad, SegmentEntry(bad, 7) + 4, 0x7FFFFFF0);  // name table longer than the file
  EXPECT_THAT(Refusal(bad), Refused("name table lies outside the file"));

  // A pointer type description that points at itself.
  bad = shapes;
  size_t typedescs = U32(bad, SegmentEntry(bad, 9));
  uint32_t count = U32(bad, SegmentEntry(bad, 9) + 4) / 8;
  for (uint32_t i = 0; i < count; ++i) {
    size_t at = typedescs + i * 8;
    bad[at] = 26;  // VT_PTR
    bad[at + 1] = 0;
    Put32(bad, at + 4, i * 8);
  }
  EXPECT_THAT(Refusal(bad), Refused("nest too deeply"));

  // Type count beyond the type table.
  bad = shapes;
  Put32(bad, 0x20, 1000);
  EXPECT_EQ(ErrorNumber(bad), kErrInvalidFileFormat);
}

TEST(MsftReader, HostileBytesGiveErrorsNeverCrashes) {
  for (const std::string& file : {kShapes, kFunctionLibrary}) {
    std::string bytes = ReadWholeFile(file);
    // Every truncation.
    for (size_t n = 0; n < bytes.size(); n += (file == kShapes ? 3 : 17)) {
      int number = ErrorNumber(bytes.substr(0, n));
      EXPECT_TRUE(number == 0 || number == kErrInvalidFileFormat) << n;
    }
    // Random corruption of a few bytes at a time.
    std::mt19937 random(12345);
    for (int round = 0; round < 1500; ++round) {
      std::string bad = bytes;
      int changes = 1 + static_cast<int>(random() % 4);
      for (int c = 0; c < changes; ++c) bad[random() % bad.size()] = static_cast<char>(random());
      int number = ErrorNumber(bad);
      ASSERT_TRUE(number == 0 || number == kErrInvalidFileFormat) << round;
      if (number == 0) (void)DumpText(ReadLibrary(bad, "x"));
    }
  }
}

TEST(PeResources, ReadsThirtyTwoBitImages) {
  std::string tlb = ReadWholeFile(kShapes);
  std::string image = Pe32With(tlb, 2);
  EXPECT_EQ(ListTypeLibResources(image, "pe32"), std::vector<int>{2});
  EXPECT_EQ(FindTypeLibResource(image, 2, "pe32"), tlb);
  EXPECT_EQ(ReadLibrary(image, "pe32", 2).name, "Shapes");
  EXPECT_EQ(ErrorNumber(image), kErrInvalidFileFormat);  // resource 1 is not there
  // Data that runs past its section.
  std::string bad = image;
  Put32(bad, 0x200 + 0x4C, static_cast<uint32_t>(tlb.size() + 1));
  EXPECT_THROW(FindTypeLibResource(bad, 2, "pe32"), Error);
}

TEST(PeResources, MalformedImagesGiveErrors) {
  std::string dll = ReadWholeFile(kFunctionLibrary);
  std::string bad = dll;
  Put32(bad, 0x3C, 0x7FFFFFFF);
  EXPECT_THAT(ErrorTextOf([&] { FindTypeLibResource(bad, 1, "img"); }),
              testing::StartsWith("321: img: "));
  EXPECT_THROW(FindTypeLibResource("MZ", 1, "img"), Error);
  // A PE image without the resource: the typelib-less build of the stub.
  bad = dll;
  size_t pe = U32(dll, 0x3C);
  size_t optional = pe + 24;
  size_t directory = optional + (static_cast<uint8_t>(dll[optional + 1]) == 2 ? 112 : 96);
  Put32(bad, directory + 16, 0);
  Put32(bad, directory + 20, 0);
  EXPECT_TRUE(ListTypeLibResources(bad, "img").empty());
  EXPECT_THROW(FindTypeLibResource(bad, 1, "img"), Error);
}

}  // namespace
}  // namespace kx::typelib
