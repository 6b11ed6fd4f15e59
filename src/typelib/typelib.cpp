#include "typelib/typelib.h"

#include <bit>
#include <cstdio>
#include <unordered_map>

#include "runtime/error.h"
#include "runtime/files.h"
#include "typelib/bytes.h"
#include "typelib/format.h"
#include "typelib/pe.h"

namespace kx::typelib {

void Bytes::Fail(const std::string& why, uint64_t offset) const {
  throw Error(kErrInvalidFileFormat, where_ + ": " + why + " (offset " + Hex(offset) + ")");
}
void Bytes::Fail(const std::string& why) const {
  throw Error(kErrInvalidFileFormat, where_ + ": " + why);
}

namespace {

constexpr int kSegmentCount = 15;
enum Segment {
  kSegTypeInfo,
  kSegImpInfo,
  kSegImpFiles,
  kSegRefTab,
  kSegGuidHash,
  kSegGuid,
  kSegNameHash,
  kSegName,
  kSegString,
  kSegTypeDesc,
  kSegArrayDesc,
  kSegCustData,
  kSegCdGuids,
};
constexpr const char* kSegmentNames[kSegmentCount] = {"type info table",
                                                      "import table",
                                                      "import file table",
                                                      "reference table",
                                                      "GUID hash table",
                                                      "GUID table",
                                                      "name hash table",
                                                      "name table",
                                                      "string table",
                                                      "type description table",
                                                      "array description table",
                                                      "custom data table",
                                                      "custom data GUID table",
                                                      "reserved segment",
                                                      "reserved segment"};

constexpr int kTypeInfoSize = 100;
constexpr int kMaxTypeNesting = 64;

struct SegmentEntry {
  int32_t offset = -1;
  int32_t length = 0;
};

class MsftReader {
 public:
  MsftReader(std::string_view data, std::string_view where, const ImportResolver& resolver)
      : b_(data, where), resolver_(resolver) {}

  Library Read() {
    Library lib;
    if (b_.U32(0, "header") != 0x5446534D) b_.Fail("not an MSFT type library", 0);
    int32_t guid_offset = b_.I32(0x08, "header");
    lib.lcid = b_.U32(0x10, "header");
    uint32_t varflags = b_.U32(0x14, "header");
    lib.syskind = static_cast<uint8_t>(varflags & 0x0F);
    uint32_t version = b_.U32(0x18, "header");
    lib.major = static_cast<uint16_t>(version & 0xFFFF);
    lib.minor = static_cast<uint16_t>(version >> 16);
    lib.flags = static_cast<uint16_t>(b_.U32(0x1C, "header"));
    int32_t type_count = b_.I32(0x20, "header");
    int32_t doc_offset = b_.I32(0x24, "header");
    lib.help_string_context = b_.I32(0x28, "header");
    lib.help_context = b_.I32(0x2C, "header");
    int32_t name_offset = b_.I32(0x38, "header");
    int32_t help_file_offset = b_.I32(0x3C, "header");
    if (type_count < 0) b_.Fail("negative type count", 0x20);

    int64_t directory = 0x54 + ((varflags & 0x100) ? 4 : 0) + int64_t{type_count} * 4;
    b_.Need(directory, kSegmentCount * 16, "segment directory");
    for (int i = 0; i < kSegmentCount; ++i) {
      int64_t at = directory + i * 16;
      SegmentEntry s{b_.I32(at, "segment directory"), b_.I32(at + 4, "segment directory")};
      if (s.offset != -1 && s.length != 0) {
        if (s.length < 0 || !b_.Has(s.offset, s.length))
          b_.Fail(std::string(kSegmentNames[i]) + " lies outside the file",
                  static_cast<uint64_t>(at));
      } else {
        s = {-1, 0};
      }
      segments_[i] = s;
    }

    lib.name = Name(name_offset);
    lib.doc = String(doc_offset);
    lib.help_file = String(help_file_offset);
    lib.guid = ReadGuid(guid_offset);

    if (int64_t{type_count} * kTypeInfoSize > segments_[kSegTypeInfo].length)
      b_.Fail("type info table is too short for " + std::to_string(type_count) + " types");
    // Names first: member types refer to other types of the file by index.
    lib.types.resize(static_cast<size_t>(type_count));
    type_names_.resize(static_cast<size_t>(type_count));
    for (int32_t i = 0; i < type_count; ++i) {
      int64_t base = TypeInfoBase(i);
      type_names_[static_cast<size_t>(i)] = Name(b_.I32(base + 0x34, "type info"));
    }
    for (int32_t i = 0; i < type_count; ++i) ReadTypeInfo(i, lib.types[static_cast<size_t>(i)]);
    lib.imported_files = std::move(imported_files_);
    return lib;
  }

 private:
  int64_t At(Segment s, int64_t offset, int64_t length, const char* what) const {
    const SegmentEntry& seg = segments_[s];
    if (seg.offset < 0 || offset < 0 || length < 0 || offset > seg.length ||
        length > seg.length - offset)
      b_.Fail(std::string(what) + " at " + Hex(static_cast<uint64_t>(offset)) +
              " lies outside the " + kSegmentNames[s]);
    return seg.offset + offset;
  }

  int64_t TypeInfoBase(int32_t index) const {
    return At(kSegTypeInfo, int64_t{index} * kTypeInfoSize, kTypeInfoSize, "type info");
  }

  std::string Name(int32_t offset) const {
    if (offset < 0) return {};
    int64_t at = At(kSegName, offset, 12, "name");
    uint32_t length = b_.U8(at + 8, "name");
    return std::string(b_.Slice(At(kSegName, offset + 12, length, "name"), length, "name"));
  }

  std::string String(int32_t offset) const {
    if (offset < 0) return {};
    int64_t at = At(kSegString, offset, 2, "string");
    int16_t length = b_.I16(at, "string");
    if (length <= 0) return {};
    return std::string(b_.Slice(At(kSegString, offset + 2, length, "string"), length, "string"));
  }

  Guid ReadGuid(int32_t offset) const {
    Guid g;
    if (offset < 0) return g;
    auto s = b_.Slice(At(kSegGuid, offset, 16, "GUID"), 16, "GUID");
    for (size_t i = 0; i < 16; ++i) g.bytes[i] = static_cast<uint8_t>(s[i]);
    return g;
  }

  TypePtr Basic(uint32_t vt) {
    vt &= 0x0FFF;
    auto& slot = basic_[vt];
    if (!slot) {
      auto t = std::make_shared<Type>();
      t->vt = static_cast<uint16_t>(vt);
      slot = t;
    }
    return slot;
  }

  // A type as members store it: a negative value is a basic type, otherwise an offset into
  // the type description table.
  TypePtr ResolveType(int32_t code, int depth = 0) {
    if (code < 0) return Basic(static_cast<uint32_t>(code));
    if (depth > kMaxTypeNesting) b_.Fail("type descriptions nest too deeply or loop");
    int32_t index = code / 8;
    if (auto it = typedescs_.find(index); it != typedescs_.end()) return it->second;
    int64_t at = At(kSegTypeDesc, int64_t{index} * 8, 8, "type description");
    uint16_t vt = b_.U16(at, "type description") & 0x0FFF;
    int32_t target = b_.I32(at + 4, "type description");
    auto t = std::make_shared<Type>();
    t->vt = vt;
    if (vt == kVtPtr || vt == kVtSafeArray) {
      t->element = target < 0 ? Basic(static_cast<uint32_t>(target) & 0xFFFF)
                              : ResolveType(target, depth + 1);
    } else if (vt == kVtCArray) {
      int64_t a = At(kSegArrayDesc, target, 8, "array description");
      int32_t element = b_.I32(a, "array description");
      uint16_t dims = b_.U16(a + 4, "array description");
      int64_t d = At(kSegArrayDesc, int64_t{target} + 8, int64_t{dims} * 8, "array bounds");
      t->element =
          element < 0 ? Basic(static_cast<uint32_t>(element)) : ResolveType(element, depth + 1);
      for (uint16_t i = 0; i < dims; ++i)
        t->bounds.push_back(
            {b_.U32(d + i * 8, "array bounds"), b_.I32(d + i * 8 + 4, "array bounds")});
    } else if (vt == kVtUserDefined) {
      ResolveReference(target, *t);
    }
    typedescs_.emplace(index, t);
    return t;
  }

  TypePtr UserType(int32_t href) {
    auto t = std::make_shared<Type>();
    t->vt = kVtUserDefined;
    ResolveReference(href, *t);
    return t;
  }

  void ResolveReference(int32_t href, Type& t) {
    if ((href & 3) == 0) {
      int32_t index = href / kTypeInfoSize;
      if (href < 0 || href % kTypeInfoSize != 0 ||
          index >= static_cast<int32_t>(type_names_.size()))
        b_.Fail("reference " + Hex(static_cast<uint32_t>(href)) + " names no type of this library");
      t.user_index = index;
      t.user_name = type_names_[static_cast<size_t>(index)];
      return;
    }
    t.imported = true;
    int64_t info = At(kSegImpInfo, href & ~3, 12, "import entry");
    int32_t flags = b_.I32(info, "import entry");
    int32_t file_offset = b_.I32(info + 4, "import entry");
    int32_t guid_or_index = b_.I32(info + 8, "import entry");
    std::string file = ImportFile(file_offset);
    Guid guid;
    bool by_guid = (flags & 0x10000) != 0;
    if (by_guid) guid = ReadGuid(guid_or_index);
    if (resolver_) t.user_name = resolver_(ImportRef{file, by_guid, guid, guid_or_index});
    if (t.user_name.empty())
      t.user_name = by_guid ? guid.ToString() : file + "#" + std::to_string(guid_or_index);
  }

  std::string ImportFile(int32_t offset) {
    if (auto it = import_files_.find(offset); it != import_files_.end()) return it->second;
    int64_t at = At(kSegImpFiles, offset, 14, "import file");
    uint32_t length = b_.U16(at + 12, "import file") >> 2;
    std::string name(b_.Slice(At(kSegImpFiles, int64_t{offset} + 14, length, "import file name"),
                              length, "import file name"));
    import_files_.emplace(offset, name);
    imported_files_.push_back(name);
    return name;
  }

  Value ReadValue(int32_t code) {
    Value v;
    if (code < 0) {
      // Small values live in the code itself; the union then holds the payload as is.
      v.vt = static_cast<uint16_t>((static_cast<uint32_t>(code) & 0x7C000000u) >> 26);
      uint32_t payload = static_cast<uint32_t>(code) & 0x3FFFFFFu;
      SetFromBits(v, payload, 0);
      return v;
    }
    int64_t at = At(kSegCustData, code, 2, "value");
    v.vt = b_.U16(at, "value");
    switch (v.vt) {
      case kVtEmpty:
      case kVtNull:
      case kVtI2:
      case kVtI4:
      case kVtR4:
      case kVtError:
      case kVtBool:
      case kVtI1:
      case kVtUi1:
      case kVtUi2:
      case kVtUi4:
      case kVtInt:
      case kVtUint:
      case kVtVoid:
      case kVtHresult:
        SetFromBits(v, b_.U32(At(kSegCustData, int64_t{code} + 2, 4, "value"), "value"), 0);
        break;
      case kVtR8:
      case kVtCy:
      case kVtDate:
      case kVtI8:
      case kVtUi8:
      case kVtDecimal:
      case 64: {
        int64_t p = At(kSegCustData, int64_t{code} + 2, 8, "value");
        SetFromBits(v, b_.U32(p, "value"), b_.U32(p + 4, "value"));
        break;
      }
      case kVtBstr: {
        int32_t length = b_.I32(At(kSegCustData, int64_t{code} + 2, 4, "string value"), "value");
        if (length == -1) {
          v.null_text = true;
        } else {
          v.text = std::string(b_.Slice(At(kSegCustData, int64_t{code} + 6, length, "string value"),
                                        length, "string value"));
        }
        break;
      }
      default:
        v.supported = false;
        break;
    }
    return v;
  }

  // Fills the value from the bytes of the variant's data union, read as its type.
  static void SetFromBits(Value& v, uint32_t low, uint32_t high) {
    uint64_t all = low | (uint64_t{high} << 32);
    switch (v.vt) {
      case kVtI1:
        v.integer = static_cast<int8_t>(low);
        break;
      case kVtUi1:
        v.unsigned_integer = low & 0xFF;
        break;
      case kVtI2:
      case kVtBool:
        v.integer = static_cast<int16_t>(low);
        break;
      case kVtUi2:
        v.unsigned_integer = low & 0xFFFF;
        break;
      case kVtI4:
      case kVtInt:
      case kVtError:
      case kVtHresult:
        v.integer = static_cast<int32_t>(low);
        break;
      case kVtUi4:
      case kVtUint:
        v.unsigned_integer = low;
        break;
      case kVtR4:
        v.real = std::bit_cast<float>(low);
        break;
      case kVtR8:
      case kVtDate:
        v.real = std::bit_cast<double>(all);
        break;
      case kVtCy:
      case kVtI8:
        v.integer = static_cast<int64_t>(all);
        break;
      case kVtUi8:
      case kVtDecimal:
      case 64:
        v.unsigned_integer = all;
        break;
      case kVtEmpty:
      case kVtNull:
      case kVtVoid:
        break;
      default:
        v.supported = false;
        break;
    }
  }

  void ReadTypeInfo(int32_t index, TypeInfo& ti) {
    int64_t base = TypeInfoBase(index);
    uint32_t kind = b_.U32(base, "type info") & 0x0F;
    if (kind > 7)
      b_.Fail("type " + std::to_string(index) + " has unknown kind " + std::to_string(kind));
    ti.kind = static_cast<TypeKind>(kind);
    ti.name = type_names_[static_cast<size_t>(index)];
    if (int32_t name_offset = b_.I32(base + 0x34, "type info"); name_offset >= 0)
      ti.owns_name = b_.I32(At(kSegName, name_offset, 4, "name"), "name") == index * kTypeInfoSize;
    int32_t members = b_.I32(base + 0x04, "type info");
    uint32_t counts = b_.U32(base + 0x18, "type info");
    ti.guid = ReadGuid(b_.I32(base + 0x2C, "type info"));
    ti.flags = static_cast<uint16_t>(b_.U32(base + 0x30, "type info"));
    uint32_t version = b_.U32(base + 0x38, "type info");
    ti.major = static_cast<uint16_t>(version & 0xFFFF);
    ti.minor = static_cast<uint16_t>(version >> 16);
    ti.doc = String(b_.I32(base + 0x3C, "type info"));
    ti.help_context = b_.I32(base + 0x44, "type info");
    int16_t impl_count = b_.I16(base + 0x4C, "type info");
    int32_t datatype1 = b_.I32(base + 0x54, "type info");

    if (ti.kind == TypeKind::Module) ti.dll_name = String(datatype1);
    if (ti.kind == TypeKind::Alias) ti.alias_of = ResolveType(datatype1);
    if (impl_count > 0) {
      if (ti.kind == TypeKind::Coclass) {
        int32_t ref = datatype1;
        for (int i = 0; i < impl_count && ref >= 0; ++i) {
          int64_t r = At(kSegRefTab, ref, 16, "implemented type");
          int32_t href = b_.I32(r, "implemented type");
          ti.implements.push_back({UserType(href), b_.I32(r + 4, "implemented type")});
          ref = b_.I32(r + 12, "implemented type");
        }
      } else if (ti.kind != TypeKind::Dispatch) {
        // A dispinterface's own reference (the interface it wraps) is left out: readers
        // show IDispatch there instead.
        ti.implements.push_back({UserType(datatype1), 0});
      }
    }

    uint32_t functions = counts & 0xFFFF, variables = counts >> 16;
    if (functions + variables > 0) ReadMembers(ti, members, functions, variables);
  }

  void ReadMembers(TypeInfo& ti, int64_t block, uint32_t functions, uint32_t variables) {
    int32_t info_length = b_.I32(block, "member block");
    int64_t records = block + 4;
    uint32_t n = functions + variables;
    if (info_length < 0 || !b_.Has(records, info_length))
      b_.Fail("member records of " + ti.name + " lie outside the file",
              static_cast<uint64_t>(block));
    int64_t records_end = records + info_length;
    // Member ids, name offsets and record offsets follow the records.
    b_.Need(records_end, int64_t{n} * 12, "member tables");
    auto id_at = [&](uint32_t i) { return records_end + int64_t{i} * 4; };
    auto name_at = [&](uint32_t i) { return records_end + (int64_t{n} + i) * 4; };
    auto offset_at = [&](uint32_t i) { return records_end + (int64_t{2} * n + i) * 4; };

    ti.functions.resize(functions);
    int64_t rec = records;
    for (uint32_t i = 0; i < functions; ++i) {
      Function& f = ti.functions[i];
      if (rec + 24 > records_end)
        b_.Fail("function records of " + ti.name + " overrun their block",
                static_cast<uint64_t>(rec));
      int32_t length = b_.I32(rec, "function record") & 0xFFFF;
      int32_t return_code = b_.I32(rec + 4, "function record");
      f.flags = static_cast<uint16_t>(b_.U32(rec + 8, "function record"));
      uint32_t fkccic = b_.U32(rec + 16, "function record");
      int16_t arg_count = b_.I16(rec + 20, "function record");
      f.optional_count = b_.I16(rec + 22, "function record");
      bool has_defaults = (fkccic & 0x1000) != 0;
      int64_t arg_bytes = int64_t{arg_count} * (has_defaults ? 16 : 12);
      if (arg_count < 0 || length < 24 + arg_bytes || rec + length > records_end)
        b_.Fail("function record " + std::to_string(i) + " of " + ti.name + " is malformed",
                static_cast<uint64_t>(rec));
      int64_t optional = length - arg_bytes;
      auto opt = [&](int field) -> std::optional<int32_t> {
        if (optional > field) return b_.I32(rec + field, "function record");
        return std::nullopt;
      };
      if (auto v = opt(24)) f.help_context = *v;
      if (auto v = opt(28)) f.doc = String(*v);

      f.member_id = b_.I32(id_at(i), "member id");
      f.func_kind = static_cast<uint8_t>(fkccic & 7);
      uint32_t invoke = (fkccic >> 3) & 0xF;
      if (invoke != 1 && invoke != 2 && invoke != 4 && invoke != 8)
        b_.Fail("function " + std::to_string(i) + " of " + ti.name + " has invoke kind " +
                    std::to_string(invoke),
                static_cast<uint64_t>(rec));
      f.invoke = static_cast<InvokeKind>(invoke);
      f.call_conv = static_cast<uint8_t>((fkccic >> 8) & 0xF);
      int32_t name_offset = b_.I32(name_at(i), "member name");
      // The second half of a property pair may store no name of its own.
      if (name_offset == -1 && i > 0 && f.invoke != InvokeKind::Func &&
          ti.functions[i - 1].invoke != InvokeKind::Func)
        f.name = ti.functions[i - 1].name;
      else
        f.name = Name(name_offset);
      f.return_type = ResolveType(return_code);
      f.param_array = f.optional_count == -1;

      f.params.resize(static_cast<size_t>(arg_count));
      int64_t params = rec + length - int64_t{arg_count} * 12;
      int64_t defaults = rec + length - int64_t{arg_count} * 16;
      for (int j = 0; j < arg_count; ++j) {
        Parameter& p = f.params[static_cast<size_t>(j)];
        int64_t pi = params + j * 12;
        p.type = ResolveType(b_.I32(pi, "parameter"));
        int32_t pname = b_.I32(pi + 4, "parameter");
        if (pname != -1) p.name = Name(pname);
        p.flags = b_.U32(pi + 8, "parameter");
        if ((p.flags & kParamHasDefault) && has_defaults) {
          p.has_default = true;
          p.default_value = ReadValue(b_.I32(defaults + j * 4, "default value"));
        }
      }
      rec += length;
    }

    if (variables == 0) return;
    int32_t first = b_.I32(offset_at(functions), "variable record offset");
    rec = records + int64_t{first};
    ti.variables.resize(variables);
    for (uint32_t i = 0; i < variables; ++i) {
      Variable& v = ti.variables[i];
      if (rec < records || rec + 20 > records_end)
        b_.Fail("variable records of " + ti.name + " overrun their block",
                static_cast<uint64_t>(rec < 0 ? 0 : rec));
      int32_t length = b_.I32(rec, "variable record") & 0xFF;
      if (length < 20 || rec + length > records_end)
        b_.Fail("variable record " + std::to_string(i) + " of " + ti.name + " is malformed",
                static_cast<uint64_t>(rec));
      int32_t type_code = b_.I32(rec + 4, "variable record");
      v.flags = static_cast<uint16_t>(b_.U32(rec + 8, "variable record"));
      int16_t kind = b_.I16(rec + 12, "variable record");
      if (kind < 0 || kind > 3)
        b_.Fail("variable " + std::to_string(i) + " of " + ti.name + " has kind " +
                    std::to_string(kind),
                static_cast<uint64_t>(rec));
      v.kind = static_cast<VarKind>(kind);
      int32_t value = b_.I32(rec + 16, "variable record");
      if (length > 20) v.help_context = b_.I32(rec + 20, "variable record");
      if (length > 24) v.doc = String(b_.I32(rec + 24, "variable record"));
      v.member_id = b_.I32(id_at(functions + i), "member id");
      v.name = Name(b_.I32(name_at(functions + i), "member name"));
      v.type = ResolveType(type_code);
      if (v.kind == VarKind::Const) v.value = ReadValue(value);
      rec += length;
    }
  }

  Bytes b_;
  const ImportResolver& resolver_;
  SegmentEntry segments_[kSegmentCount];
  std::vector<std::string> type_names_;
  std::unordered_map<uint32_t, TypePtr> basic_;
  std::unordered_map<int32_t, TypePtr> typedescs_;
  std::unordered_map<int32_t, std::string> import_files_;
  std::vector<std::string> imported_files_;
};

}  // namespace

Library ReadLibrary(std::string_view bytes, std::string_view where, int resource_id,
                    const ImportResolver& resolver) {
  std::string_view data = bytes;
  std::string place(where);
  if (LooksLikePe(bytes)) {
    data = FindTypeLibResource(bytes, resource_id, where);
    place += "\\" + std::to_string(resource_id);
  }
  if (data.size() >= 4 && data.substr(0, 4) == "SLTG")
    throw Error(kErrInvalidFileFormat,
                place +
                    ": this type library is in the SLTG format, which is not supported "
                    "(only MSFT type libraries can be read)");
  if (data.size() < 4 || data.substr(0, 4) != "MSFT")
    throw Error(kErrInvalidFileFormat,
                place + ": not a type library (neither an MSFT file nor a PE file)");
  return MsftReader(data, place, resolver).Read();
}

void SplitLibraryPath(const std::string& where, std::string& path, int& resource_id) {
  path = where;
  resource_id = 1;
  size_t slash = where.find_last_of('\\');
  if (slash == std::string::npos || slash + 1 >= where.size() || slash == 0) return;
  std::string_view tail = std::string_view(where).substr(slash + 1);
  if (tail.size() > 5) return;
  int id = 0;
  for (char c : tail) {
    if (c < '0' || c > '9') return;
    id = id * 10 + (c - '0');
  }
  path = where.substr(0, slash);
  resource_id = id;
}

Library OpenLibrary(const std::string& where, const ImportResolver& resolver) {
  std::string path;
  int id = 1;
  SplitLibraryPath(where, path, id);
  std::string bytes = ReadWholeFile(path);
  return ReadLibrary(bytes, path, id, resolver);
}

}  // namespace kx::typelib
