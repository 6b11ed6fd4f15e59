#include "runtime/paths.h"

#include <cstdlib>
#include <system_error>

#include "runtime/text.h"

namespace kx {

namespace fs = std::filesystem;

fs::path WinePrefix() {
  if (const char* p = std::getenv("WINEPREFIX"); p && *p) return p;
  if (const char* h = std::getenv("HOME"); h && *h) return fs::path(h) / ".wine";
  return {};
}

namespace {

bool Exists(const fs::path& p) {
  std::error_code ec;
  return fs::exists(p, ec);
}

// The folder a drive letter stands for under `prefix`, or empty.
fs::path DriveFolder(const fs::path& prefix, char letter) {
  if (prefix.empty()) return {};
  std::string device = std::string(1, static_cast<char>(letter | 0x20)) + ":";
  if (fs::path d = prefix / "dosdevices" / device; Exists(d)) return d;
  if ((letter | 0x20) == 'c' && Exists(prefix / "drive_c")) return prefix / "drive_c";
  return {};
}

}  // namespace

fs::path FindIgnoringCase(const fs::path& path) {
  if (path.empty() || Exists(path)) return path;
  fs::path current = path.has_root_path() ? path.root_path() : fs::path(".");
  fs::path built = path.has_root_path() ? path.root_path() : fs::path();
  for (const fs::path& part : path.relative_path()) {
    if (part.empty() || part == ".") continue;
    fs::path exact = current / part;
    if (Exists(exact)) {
      current = exact;
      built /= part;
      continue;
    }
    std::error_code ec;
    bool found = false;
    std::string wanted = part.string();
    for (fs::directory_iterator it(current, ec), end; !ec && it != end; it.increment(ec)) {
      std::string name = it->path().filename().string();
      if (EqualsIgnoreCase(name, wanted)) {
        current = it->path();
        built /= name;
        found = true;
        break;
      }
    }
    if (!found) return path;
  }
  return built;
}

std::string ResolvePath(std::string_view path, const fs::path& base) {
  std::string p = ReplaceAll(path, "\\", "/");
  if (p.empty()) return p;
  fs::path candidate;
  bool drive = p.size() >= 2 && p[1] == ':' &&
               ((p[0] >= 'A' && p[0] <= 'Z') || (p[0] >= 'a' && p[0] <= 'z'));
  // On Windows a drive path is native: the prefix mapping is for this side of Wine only.
  if (drive && Exists(p)) return p;
  if (drive) {
    fs::path folder = DriveFolder(base, p[0]);
    if (folder.empty()) folder = DriveFolder(WinePrefix(), p[0]);
    if (folder.empty()) return p;
    std::string rest = p.substr(2);
    while (!rest.empty() && rest.front() == '/') rest.erase(0, 1);
    candidate = folder / rest;
  } else if (p.front() != '/' && !base.empty()) {
    candidate = base / p;
  } else {
    candidate = p;
  }
  return FindIgnoringCase(candidate).string();
}

}  // namespace kx
