#include "typelib/pe.h"

#include <string>

#include "runtime/error.h"
#include "typelib/bytes.h"

namespace kx::typelib {

namespace {

struct Section {
  uint32_t virtual_size, virtual_address, raw_size, raw_pointer;
};

class PeImage {
 public:
  PeImage(std::string_view image, std::string_view where) : bytes_(image, where) {
    if (bytes_.U16(0, "DOS header") != 0x5A4D) bytes_.Fail("not a PE image (no \"MZ\")", 0);
    int64_t pe = bytes_.U32(0x3C, "PE header offset");
    if (bytes_.U32(pe, "PE signature") != 0x00004550)
      bytes_.Fail("not a PE image (no \"PE\" signature)", static_cast<uint64_t>(pe));
    uint16_t section_count = bytes_.U16(pe + 6, "section count");
    uint16_t optional_size = bytes_.U16(pe + 20, "optional header size");
    int64_t optional = pe + 24;
    uint16_t magic = bytes_.U16(optional, "optional header magic");
    int64_t directory;
    if (magic == 0x10B) {
      directory = optional + 96;
    } else if (magic == 0x20B) {
      directory = optional + 112;
    } else {
      bytes_.Fail("unknown optional header magic " + Hex(magic), static_cast<uint64_t>(optional));
    }
    uint32_t directory_count = bytes_.U32(directory - 4, "data directory count");
    if (directory_count > 2 && directory + 3 * 8 <= optional + optional_size) {
      resource_rva_ = bytes_.U32(directory + 16, "resource directory entry");
      resource_size_ = bytes_.U32(directory + 20, "resource directory entry");
    }
    int64_t table = optional + optional_size;
    bytes_.Need(table, int64_t{section_count} * 40, "section table");
    sections_.reserve(section_count);
    for (int i = 0; i < section_count; ++i) {
      int64_t s = table + int64_t{i} * 40;
      sections_.push_back({bytes_.U32(s + 8, "section"), bytes_.U32(s + 12, "section"),
                           bytes_.U32(s + 16, "section"), bytes_.U32(s + 20, "section")});
    }
  }

  bool HasResources() const { return resource_rva_ != 0 && resource_size_ != 0; }

  // File offset and the bytes available there for an RVA.
  int64_t Map(uint32_t rva, uint32_t length, const char* what) const {
    for (const Section& s : sections_) {
      uint32_t extent = s.virtual_size ? s.virtual_size : s.raw_size;
      if (rva < s.virtual_address || rva - s.virtual_address >= extent) continue;
      uint64_t inside = rva - s.virtual_address;
      if (inside + length > s.raw_size)
        bytes_.Fail(std::string(what) + " runs past its section's data", rva);
      int64_t offset = static_cast<int64_t>(s.raw_pointer + inside);
      bytes_.Need(offset, length, what);
      return offset;
    }
    bytes_.Fail(std::string(what) + " at RVA " + Hex(rva) + " lies in no section");
  }

  // Entries of the resource directory at `dir` (relative to the resource root).
  struct Entry {
    bool named;
    uint32_t id;          // numbered entries
    std::u16string name;  // named entries
    bool subdirectory;
    uint32_t target;  // relative to the resource root
  };
  std::vector<Entry> Directory(uint32_t dir) const {
    int64_t at = Root(dir, 16);
    uint32_t named = bytes_.U16(at + 12, "resource directory");
    uint32_t ids = bytes_.U16(at + 14, "resource directory");
    uint32_t count = named + ids;
    Root(dir + 16, count * 8);  // the entries must lie in the resource data
    std::vector<Entry> entries;
    entries.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
      int64_t e = at + 16 + int64_t{i} * 8;
      uint32_t name = bytes_.U32(e, "resource entry");
      uint32_t target = bytes_.U32(e + 4, "resource entry");
      Entry entry{
          (name & 0x80000000u) != 0, name, {}, (target & 0x80000000u) != 0, target & 0x7FFFFFFFu};
      if (entry.named) {
        uint32_t off = name & 0x7FFFFFFFu;
        int64_t s = Root(off, 2);
        uint16_t length = bytes_.U16(s, "resource name");
        int64_t chars = Root(off + 2, uint32_t{length} * 2);
        for (uint16_t c = 0; c < length; ++c)
          entry.name.push_back(static_cast<char16_t>(bytes_.U16(chars + c * 2, "resource name")));
      }
      entries.push_back(std::move(entry));
    }
    return entries;
  }

  // The data entry {RVA, size} at `leaf`, mapped to file bytes.
  std::string_view Data(uint32_t leaf) const {
    int64_t at = Root(leaf, 16);
    uint32_t rva = bytes_.U32(at, "resource data entry");
    uint32_t size = bytes_.U32(at + 4, "resource data entry");
    int64_t offset = Map(rva, size, "resource data");
    return bytes_.Slice(offset, size, "resource data");
  }

  const Bytes& bytes() const { return bytes_; }

 private:
  // File offset of `length` bytes at `offset` inside the resource data.
  int64_t Root(uint32_t offset, uint32_t length) const {
    if (uint64_t{offset} + length > resource_size_)
      bytes_.Fail("resource directory points outside the resource data (" + Hex(offset) + ")");
    return Map(resource_rva_ + offset, length, "resource directory");
  }

  Bytes bytes_;
  std::vector<Section> sections_;
  uint32_t resource_rva_ = 0, resource_size_ = 0;
};

bool IsTypeLibName(const std::u16string& name) {
  static constexpr std::string_view kName = "TYPELIB";
  if (name.size() != kName.size()) return false;
  for (size_t i = 0; i < name.size(); ++i) {
    char16_t c = name[i];
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - 32);
    if (c != static_cast<char16_t>(kName[i])) return false;
  }
  return true;
}

// The TYPELIB type's entries (resource ids), or none.
std::vector<PeImage::Entry> TypeLibEntries(const PeImage& pe) {
  if (!pe.HasResources()) return {};
  for (const auto& type : pe.Directory(0)) {
    if (!type.named || !IsTypeLibName(type.name)) continue;
    if (!type.subdirectory) pe.bytes().Fail("TYPELIB resource type is not a directory");
    return pe.Directory(type.target);
  }
  return {};
}

}  // namespace

bool LooksLikePe(std::string_view bytes) {
  return bytes.size() >= 2 && bytes.substr(0, 2) == "MZ";
}

std::vector<int> ListTypeLibResources(std::string_view image, std::string_view where) {
  PeImage pe(image, where);
  std::vector<int> ids;
  for (const auto& e : TypeLibEntries(pe))
    if (!e.named) ids.push_back(static_cast<int>(e.id & 0xFFFF));
  return ids;
}

std::string_view FindTypeLibResource(std::string_view image, int id, std::string_view where) {
  PeImage pe(image, where);
  for (const auto& e : TypeLibEntries(pe)) {
    if (e.named || static_cast<int>(e.id) != id) continue;
    if (!e.subdirectory) return pe.Data(e.target);
    auto languages = pe.Directory(e.target);
    if (languages.empty()) pe.bytes().Fail("TYPELIB resource " + std::to_string(id) + " is empty");
    const auto& language = languages.front();
    if (language.subdirectory)
      pe.bytes().Fail("TYPELIB resource " + std::to_string(id) + " nests too deeply");
    return pe.Data(language.target);
  }
  throw Error(kErrInvalidFileFormat, std::string(where) + ": no TYPELIB resource " +
                                         std::to_string(id) + " in this PE image");
}

}  // namespace kx::typelib
