#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "component/registry.h"
#include "functions/tlb_browse.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "ui/message_box.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

constexpr const char* kClassKey = "CLSID\\{43A5AC4D-ACB7-11D3-96C0-00104B383C01}\\InprocServer32";

FileRegistry Parsed(const std::string& text) {
  FileRegistry reg;
  reg.Parse(text, "test.reg");
  return reg;
}

HKEY Open(Registry& reg, const std::string& path) {
  HKEY key = 0;
  EXPECT_EQ(reg.RegOpenKeyExA(kHkeyClassesRoot, path, 0, 0x3F, &key), kErrorSuccess) << path;
  return key;
}

TEST(RegistryFile, ReadsTheThreeFormats) {
  FileRegistry v4 = Parsed(
      "REGEDIT4\r\n\r\n[HKEY_CLASSES_ROOT\\A\\B]\r\n@=\"C:\\\\x\\\\\\\"y\\\"\"\r\n"
      "\"Num\"=dword:0000002a\r\n\"Exp\"=hex(2):25,54,4d,50,25,00\r\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Classes\\A\\C]\r\n");
  HKEY b = Open(v4, "A\\B");
  RegValue value;
  EXPECT_EQ(QueryValueEx(v4, b, "", value), kErrorSuccess);
  EXPECT_EQ(std::get<std::string>(value), "C:\\x\\\"y\"");
  EXPECT_EQ(QueryValueEx(v4, b, "num", value), kErrorSuccess);  // names ignore case
  EXPECT_EQ(std::get<int32_t>(value), 42);
  uint32_t type = 0, size = 0;
  EXPECT_EQ(v4.RegQueryValueExA(b, "Exp", nullptr, &type, nullptr, &size), kErrorSuccess);
  EXPECT_EQ(type, kRegExpandSz);
  EXPECT_EQ(size, 6u);
  // HKEY_CLASSES_ROOT is the classes key of the machine.
  HKEY a = Open(v4, "a");
  std::string name;
  EXPECT_EQ(v4.RegEnumKeyExA(a, 0, &name, 2000), kErrorSuccess);
  EXPECT_EQ(name, "B");
  EXPECT_EQ(v4.RegEnumKeyExA(a, 1, &name, 2000), kErrorSuccess);
  EXPECT_EQ(name, "C");
  EXPECT_EQ(v4.RegEnumKeyExA(a, 2, &name, 2000), kErrorNoMoreItems);
  EXPECT_EQ(v4.RegEnumKeyExA(a, 0, &name, 1), kErrorMoreData);

  // Version 5: strings in hex are UTF-16; keys and values can be deleted.
  FileRegistry v5 = Parsed(
      "Windows Registry Editor Version 5.00\n\n[HKEY_CLASSES_ROOT\\K]\n"
      "@=hex(2):41,00,e9,00,\\\n  42,00,00,00\n\"gone\"=\"x\"\n\"gone\"=-\n"
      "[HKEY_CLASSES_ROOT\\K\\Sub]\n[-HKEY_CLASSES_ROOT\\K\\Sub]\n");
  HKEY k = Open(v5, "K");
  EXPECT_EQ(QueryValueEx(v5, k, "", value), kErrorSuccess);
  EXPECT_EQ(std::get<std::string>(value),
            "A\xE9"
            "B");
  EXPECT_EQ(QueryValueEx(v5, k, "gone", value), kErrorFileNotFound);
  EXPECT_EQ(v5.RegEnumKeyExA(k, 0, &name, 2000), kErrorNoMoreItems);

  // Wine: keys relative to the machine, escaped backslashes, str(2), timestamps.
  FileRegistry wine = Parsed(
      "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
      "[Software\\\\Classes\\\\CLSID\\\\{X}\\\\InprocServer32] 1700000000\n#time=1d9\n"
      "@=\"C:\\\\windows\\\\system32\\\\x.dll\"\n\"E\"=str(2):\"%SystemRoot%\\\\\\x00e9\"\n");
  HKEY inproc = Open(wine, "CLSID\\{X}\\InprocServer32");
  EXPECT_EQ(QueryValueEx(wine, inproc, "", value), kErrorSuccess);
  EXPECT_EQ(std::get<std::string>(value), "C:\\windows\\system32\\x.dll");
  EXPECT_EQ(wine.RegQueryValueExA(inproc, "E", nullptr, &type, nullptr, &size), kErrorSuccess);
  EXPECT_EQ(type, kRegExpandSz);
}

TEST(RegistryFile, MalformedFilesSayWhereAndWhy) {
  auto message = [](const std::string& text) {
    try {
      Parsed(text);
    } catch (const Error& e) {
      EXPECT_EQ(e.Number(), 321);
      return e.Description();
    }
    return std::string("no error");
  };
  std::string deep = "REGEDIT4\n[HKEY_CLASSES_ROOT";
  for (int i = 0; i < 600; ++i) deep += "\\k";
  const std::pair<std::string, std::string> cases[] = {
      {"hello\n",
       "test.reg:1: not a registry file (the first line is neither \"REGEDIT4\", "
       "\"Windows Registry Editor Version 5.00\" nor \"WINE REGISTRY Version 2\")"},
      {"REGEDIT4\n\n[HKEY_NOWHERE\\x]\n", "test.reg:3: unknown root key in [HKEY_NOWHERE\\x]"},
      {"REGEDIT4\n\"a\"=\"b\"\n", "test.reg:2: a value before any key"},
      {"REGEDIT4\n[HKEY_CLASSES_ROOT\\x]\n\"a\"=\"b\n",
       "test.reg:3: a string without its closing quote"},
      {"REGEDIT4\n[HKEY_CLASSES_ROOT\\x]\n\"a\"=dword:123456789\n", "test.reg:3: bad dword value"},
      {"", "test.reg:0: the file is empty"},
      {deep + "]\n", "test.reg:2: the key nests deeper than 512 levels"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(message(text), expected);
  EXPECT_THROW(FileRegistry::Load("/nonexistent/kxexpr.reg"), Error);
}

TEST(QueryValueEx, ReadsTheThreeKindsAsTheComponentDoes) {
  FileRegistry reg;
  std::string base = "HKEY_LOCAL_MACHINE\\Software\\Classes\\V";
  reg.SetValue(base, "fits", kRegSz, std::string(254, 'a') + '\0');
  reg.SetValue(base, "long", kRegSz, std::string(255, 'a') + '\0');
  reg.SetValue(base, "exp", kRegExpandSz,
               std::string("%KX_TEST_HOME%\\lib;%KX_UNSET_NAME%") + '\0');
  reg.SetValue(base, "dw", kRegDword, std::string("\xFF\xFF\xFF\xFF", 4));
  reg.SetValue(base, "bin", kRegBinary, "ab");
  HKEY key = Open(reg, "V");

  RegValue value = std::string("untouched");
  EXPECT_EQ(QueryValueEx(reg, key, "fits", value), kErrorSuccess);
  EXPECT_EQ(std::get<std::string>(value).size(), 254u);
  value = std::string("untouched");
  EXPECT_EQ(QueryValueEx(reg, key, "long", value), kErrorMoreData);
  EXPECT_EQ(std::get<std::string>(value), "untouched");

  setenv("KX_TEST_HOME", "/home/kx", 1);
  unsetenv("KX_UNSET_NAME");
  EXPECT_EQ(QueryValueEx(reg, key, "exp", value), kErrorSuccess);
  EXPECT_EQ(std::get<std::string>(value), "/home/kx\\lib;%KX_UNSET_NAME%");

  EXPECT_EQ(QueryValueEx(reg, key, "dw", value), kErrorSuccess);
  EXPECT_EQ(std::get<int32_t>(value), -1);
  value = std::string("untouched");
  EXPECT_EQ(QueryValueEx(reg, key, "bin", value), kErrorSuccess);
  EXPECT_EQ(std::get<std::string>(value), "untouched");
  EXPECT_EQ(QueryValueEx(reg, key, "absent", value), kErrorFileNotFound);
  EXPECT_EQ(QueryValueEx(reg, 0x1234, "", value), kErrorInvalidHandle);

  char small[1];
  EXPECT_EQ(ExpandEnvironmentStringsA("%KX_TEST_HOME%", small, 1), 9u);
}

TEST(GetKXTypeLibPath, ReadsTheClassRegistrationLowerCased) {
  FileRegistry reg = Parsed(std::string("REGEDIT4\n[HKEY_CLASSES_ROOT\\") + kClassKey +
                            "]\n@=\"C:\\\\Program Files\\\\KX\\\\KX750UI_FN.DLL\"\n");
  EXPECT_EQ(GetKXTypeLibPath(reg), "c:\\program files\\kx\\kx750ui_fn.dll");

  // Without a registration the key is created (in memory) and the path is empty.
  FileRegistry empty;
  HKEY key = 0;
  EXPECT_EQ(empty.RegOpenKeyExA(kHkeyClassesRoot, kClassKey, 0, 0x3F, &key), kErrorFileNotFound);
  EXPECT_EQ(GetKXTypeLibPath(empty), "");
  EXPECT_EQ(empty.RegOpenKeyExA(kHkeyClassesRoot, kClassKey, 0, 0x3F, &key), kErrorSuccess);

  // The bundled registry names the bundled library, relative to its own folder.
  auto bundled = FileRegistry::Load(std::string(KX_SOURCE_DIR) + "/data/kxexpr.reg");
  EXPECT_EQ(GetKXTypeLibPath(*bundled), "kx750ui_fn.dll");
  EXPECT_EQ(bundled->Folder(), fs::path(KX_SOURCE_DIR) / "data");
}

TEST(BuildTLBList, ListsRegisteredVersionsWithAFile) {
  FileRegistry reg = Parsed(
      "REGEDIT4\n"
      "[HKEY_CLASSES_ROOT\\TypeLib\\{B}\\1.0]\n@=\"Second\"\n"
      "[HKEY_CLASSES_ROOT\\TypeLib\\{B}\\1.0\\0\\win32]\n@=\"C:\\\\Libs\\\\Second.TLB\"\n"
      "[HKEY_CLASSES_ROOT\\TypeLib\\{B}\\2.0]\n@=\"No file\"\n"
      "[HKEY_CLASSES_ROOT\\TypeLib\\{B}\\3.0]\n@=\"Blank file\"\n"
      "[HKEY_CLASSES_ROOT\\TypeLib\\{B}\\3.0\\0\\win32]\n@=\"C:\\\\Libs\\\\  \"\n"
      "[HKEY_CLASSES_ROOT\\TypeLib\\{A}\\2.1]\n@=\"First\"\n"
      "[HKEY_CLASSES_ROOT\\TypeLib\\{A}\\2.1\\0\\win32]\n@=\"first.dll\\\\2\"\n");
  std::vector<TreeNodeData> nodes = BuildTLBList(reg);
  ASSERT_EQ(nodes.size(), 2u);
  EXPECT_EQ(nodes[0].text + "|" + nodes[0].key + "|" + nodes[0].tag + "|" + nodes[0].parent,
            "First|first.dll\\2<First{A}2.1|TLB|OTL");
  EXPECT_EQ(nodes[1].key, "C:\\Libs\\Second.TLB<Second{B}1.0");
  EXPECT_TRUE(BuildTLBList(*std::make_shared<FileRegistry>()).empty());
}

}  // namespace
}  // namespace kx
