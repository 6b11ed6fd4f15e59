// Names of types that a library imports from another: read from that library's file.

#include <map>
#include <memory>

#include "runtime/paths.h"
#include "runtime/text.h"
#include "typelib/typelib.h"

namespace kx::typelib {

namespace fs = std::filesystem;

namespace {

// Folders where Wine keeps the libraries that others import (stdole2.tlb and friends).
std::vector<fs::path> SearchFolders(const std::string& library_path) {
  std::vector<fs::path> folders;
  fs::path own = fs::path(library_path).parent_path();
  folders.push_back(own.empty() ? fs::path(".") : own);
  folders.emplace_back("/usr/lib/x86_64-linux-gnu/wine/x86_64-windows");
  folders.emplace_back("/usr/lib/i386-linux-gnu/wine/i386-windows");
  folders.emplace_back("/usr/lib/wine/x86_64-windows");
  if (fs::path prefix = WinePrefix(); !prefix.empty())
    folders.push_back(prefix / "drive_c" / "windows" / "system32");
  return folders;
}

struct ImportCache {
  std::vector<fs::path> folders;
  // Per imported file: its types' GUIDs and names, or nothing when it could not be read.
  std::map<std::string, std::shared_ptr<std::vector<std::pair<Guid, std::string>>>> files;

  const std::vector<std::pair<Guid, std::string>>* Load(const std::string& file) {
    std::string key = LowerCase(file);
    auto [it, inserted] = files.try_emplace(key);
    if (!inserted) return it->second.get();
    std::string name = fs::path(ReplaceAll(file, "\\", "/")).filename().string();
    for (const fs::path& folder : folders) {
      fs::path candidate = FindIgnoringCase(folder / name);
      std::error_code ec;
      if (!fs::is_regular_file(candidate, ec)) continue;
      try {
        Library lib = OpenLibrary(candidate.string());
        auto types = std::make_shared<std::vector<std::pair<Guid, std::string>>>();
        for (const TypeInfo& t : lib.types) types->emplace_back(t.guid, t.name);
        it->second = types;
        break;
      } catch (...) {
        // An unreadable import only costs the names; the GUID stands in for them.
      }
    }
    return it->second.get();
  }
};

}  // namespace

ImportResolver MakeFileImportResolver(const std::string& library_path) {
  auto cache = std::make_shared<ImportCache>();
  cache->folders = SearchFolders(library_path);
  return [cache](const ImportRef& ref) -> std::string {
    const auto* types = cache->Load(ref.file);
    if (!types) return {};
    if (!ref.by_guid) {
      if (ref.index >= 0 && static_cast<size_t>(ref.index) < types->size())
        return (*types)[static_cast<size_t>(ref.index)].second;
      return {};
    }
    for (const auto& [g, name] : *types)
      if (g == ref.guid) return name;
    return {};
  };
}

}  // namespace kx::typelib
