// Compares our reader with Wine's own (LoadTypeLibEx through a small program run under
// wine) on every TYPELIB resource of Wine's files and on our libraries. Both sides fill the
// same model and print the same dump, so every name, kind, member, parameter, type, flag,
// default and constant is compared. Skipped, saying why, where wine or mingw is missing.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>

#include "runtime/error.h"
#include "runtime/files.h"
#include "typelib/format.h"
#include "typelib/pe.h"
#include "typelib/typelib.h"

namespace kx::typelib {
namespace {

namespace fs = std::filesystem;

const fs::path kWineDir = "/usr/lib/x86_64-linux-gnu/wine/x86_64-windows";

bool OnPath(const std::string& tool) {
  return std::system(("command -v " + tool + " >/dev/null 2>&1").c_str()) == 0;
}

// Variant kinds VariantCopy refuses (widl writes some defaults as VT_LPWSTR).
bool Unreadable(const Value& v) {
  return v.vt == 15 || (v.vt > 23 && v.vt != 36);
}

// Wine finds a type of the file through the owner recorded in its name entry; where several
// types share one name entry, references to the others do not resolve ("?").
TypePtr AsWineResolves(const Library& lib, const TypePtr& type) {
  if (!type) return type;
  auto copy = std::make_shared<Type>(*type);
  copy->element = AsWineResolves(lib, type->element);
  if (type->user_index >= 0 && !lib.types[static_cast<size_t>(type->user_index)].owns_name)
    copy->user_name = "?";
  return copy;
}

// How Wine answers where its API departs from the file:
// - names and docs are looked up by member id, so accessors sharing an id all get the first
//   one's;
// - the library's help context is the help-string context field;
// - GetFuncDesc fails for a function with a default value of a kind it cannot copy;
// - see AsWineResolves.
void AsWineAnswers(Library& lib) {
  lib.help_context = lib.help_string_context;
  for (TypeInfo& t : lib.types) {
    if (t.alias_of) t.alias_of = AsWineResolves(lib, t.alias_of);
    for (auto& impl : t.implements) impl.type = AsWineResolves(lib, impl.type);
    for (Variable& v : t.variables) v.type = AsWineResolves(lib, v.type);
    for (Function& f : t.functions) {
      f.return_type = AsWineResolves(lib, f.return_type);
      for (Parameter& p : f.params) p.type = AsWineResolves(lib, p.type);
    }
  }
  for (TypeInfo& t : lib.types) {
    std::map<int32_t, const Function*> first;
    std::vector<Function> original = t.functions;
    for (const Function& f : original) first.try_emplace(f.member_id, &f);
    for (Function& f : t.functions) {
      bool bad_default = false;
      for (const Parameter& p : f.params)
        bad_default |= p.has_default && Unreadable(p.default_value);
      if (bad_default) {
        f = Function{};
        f.name = "(GetFuncDesc failed)";
        f.return_type = std::make_shared<Type>();
        continue;
      }
      const Function& by_id = *first.at(f.member_id);
      f.name = by_id.name;
      f.doc = by_id.doc;
      f.help_context = by_id.help_context;
      size_t named = 0;
      while (named < by_id.params.size() && !by_id.params[named].name.empty()) ++named;
      for (size_t j = 0; j < f.params.size(); ++j)
        f.params[j].name = j < named ? by_id.params[j].name : std::string();
    }
    std::map<int32_t, const Variable*> first_var;
    std::vector<Variable> vars = t.variables;
    for (const Variable& v : vars) first_var.try_emplace(v.member_id, &v);
    for (Variable& v : t.variables) {
      if (auto it = first.find(v.member_id); it != first.end()) {
        v.name = it->second->name;
        v.doc = it->second->doc;
        v.help_context = it->second->help_context;
      } else {
        const Variable& by_id = *first_var.at(v.member_id);
        v.name = by_id.name;
        v.doc = by_id.doc;
        v.help_context = by_id.help_context;
      }
    }
  }
}

std::string WinePath(const fs::path& p) {
  std::string s = "Z:" + p.string();
  for (char& c : s)
    if (c == '/') c = '\\';
  return s;
}

// The first lines where two dumps differ, for the failure message.
std::string FirstDifference(const std::string& ours, const std::string& wine) {
  std::istringstream a(ours), b(wine);
  std::string la, lb;
  int line = 0;
  for (;;) {
    bool ga = static_cast<bool>(std::getline(a, la));
    bool gb = static_cast<bool>(std::getline(b, lb));
    ++line;
    if (!ga && !gb) return "identical";
    if (!ga || !gb || la != lb)
      return "line " + std::to_string(line) + ":\n  ours: " + (ga ? la : "<end>") +
             "\n  wine: " + (gb ? lb : "<end>");
  }
}

TEST(WineOracle, EveryWineLibraryAndOursReadAsWineReadsThem) {
  if (!OnPath("wine") || !OnPath("x86_64-w64-mingw32-g++"))
    GTEST_SKIP() << "wine or mingw-w64 is not installed: the comparison with Wine's reader is "
                    "skipped (scripts/deps.sh installs both)";
  if (!fs::is_directory(kWineDir)) GTEST_SKIP() << "no Wine libraries in " << kWineDir;

  const fs::path source = KX_SOURCE_DIR;
  const fs::path oracle_dir = source / "build" / "oracle";
  fs::create_directories(oracle_dir);
  ASSERT_EQ(
      std::system(("'" + (source / "scripts/build-oracle.sh").string() + "' >/dev/null").c_str()),
      0)
      << "building the oracle failed";

  // Every TYPELIB resource in Wine's files, then our own libraries.
  std::vector<std::pair<fs::path, int>> libraries;
  for (const auto& entry : fs::directory_iterator(kWineDir)) {
    std::string ext = entry.path().extension().string();
    if (ext != ".dll" && ext != ".tlb" && ext != ".ocx" && ext != ".exe") continue;
    std::string bytes = ReadWholeFile(entry.path());
    if (!LooksLikePe(bytes)) continue;
    try {
      for (int id : ListTypeLibResources(bytes, entry.path().string()))
        libraries.emplace_back(entry.path(), id);
    } catch (const Error&) {
    }
  }
  std::sort(libraries.begin(), libraries.end());
  size_t wine_count = libraries.size();
  EXPECT_GE(wine_count, 40u) << "expected Wine's 48 TYPELIB resources";
  libraries.emplace_back(source / "data" / "kx750ui_fn.dll", 1);
  libraries.emplace_back(source / "tests" / "typelib" / "data" / "shapes.tlb", 1);
  libraries.emplace_back(source / "tests" / "editor" / "data" / "params.tlb", 1);

  std::string command = "WINEPREFIX='" + (oracle_dir / "prefix").string() +
                        "' WINEDEBUG=-all wine '" + (oracle_dir / "wine_tlbdump.exe").string() +
                        "'";
  std::vector<std::string> paths_asked;
  for (const auto& [path, id] : libraries) {
    paths_asked.push_back(WinePath(path) + (id == 1 ? "" : "\\" + std::to_string(id)));
    command += " '" + paths_asked.back() + "'";
  }
  const fs::path out = oracle_dir / "oracle-output.txt";
  command += " >'" + out.string() + "' 2>/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0) << "running the oracle under wine failed";

  // Sections: "#file PATH" then the dump, or "#error PATH HRESULT".
  std::map<std::string, std::string> wine;
  std::istringstream text(ReadWholeFile(out));
  std::string line, current;
  while (std::getline(text, line)) {
    if (line.rfind("#file ", 0) == 0) {
      current = line.substr(6);
      wine[current];
    } else if (line.rfind("#error ", 0) == 0) {
      current.clear();
      ADD_FAILURE() << "Wine could not load " << line.substr(7);
    } else if (!current.empty()) {
      wine[current] += line + "\n";
    }
  }

  size_t compared = 0;
  for (size_t i = 0; i < libraries.size(); ++i) {
    const auto& [path, id] = libraries[i];
    auto it = wine.find(paths_asked[i]);
    if (it == wine.end()) {
      ADD_FAILURE() << "no oracle output for " << paths_asked[i];
      continue;
    }
    Library lib =
        ReadLibrary(ReadWholeFile(path), path.string(), id, MakeFileImportResolver(path.string()));
    AsWineAnswers(lib);
    std::string ours = DumpText(lib);
    EXPECT_EQ(ours == it->second, true) << paths_asked[i] << " differs from Wine's reading at "
                                        << FirstDifference(ours, it->second);
    ++compared;
  }
  std::printf("[ oracle   ] compared %zu libraries (%zu TYPELIB resources of Wine's files)\n",
              compared, wine_count);
}

}  // namespace
}  // namespace kx::typelib
