#pragma once
// A portable reader of type libraries: MSFT files, and MSFT data carried in the TYPELIB
// resource of a PE file. Everything is read into plain values at open time; nothing here
// touches a platform API. Malformed input raises Error(kErrInvalidFileFormat, where/why).

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx::typelib {

// The platform's "Invalid file format" run-time error.
constexpr int32_t kErrInvalidFileFormat = 321;

// Variant type codes as the files store them.
enum Vt : uint16_t {
  kVtEmpty = 0,
  kVtNull = 1,
  kVtI2 = 2,
  kVtI4 = 3,
  kVtR4 = 4,
  kVtR8 = 5,
  kVtCy = 6,
  kVtDate = 7,
  kVtBstr = 8,
  kVtDispatch = 9,
  kVtError = 10,
  kVtBool = 11,
  kVtVariant = 12,
  kVtUnknown = 13,
  kVtDecimal = 14,
  kVtI1 = 16,
  kVtUi1 = 17,
  kVtUi2 = 18,
  kVtUi4 = 19,
  kVtI8 = 20,
  kVtUi8 = 21,
  kVtInt = 22,
  kVtUint = 23,
  kVtVoid = 24,
  kVtHresult = 25,
  kVtPtr = 26,
  kVtSafeArray = 27,
  kVtCArray = 28,
  kVtUserDefined = 29,
  kVtLpstr = 30,
  kVtLpwstr = 31,
};

enum class TypeKind : uint8_t { Enum, Record, Module, Interface, Dispatch, Coclass, Alias, Union };
std::string_view TypeKindName(TypeKind kind);  // "Enum", "Record", … "Union"

struct Guid {
  std::array<uint8_t, 16> bytes{};
  bool operator==(const Guid&) const = default;
  std::string ToString() const;  // "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", upper case
};

struct ArrayBound {
  uint32_t count = 0;
  int32_t lower = 0;
};

// A resolved type description. Shared: one description serves every member that uses it.
struct Type {
  uint16_t vt = kVtEmpty;               // base code, or 26-29 for the composite kinds
  std::shared_ptr<const Type> element;  // kVtPtr, kVtSafeArray, kVtCArray
  std::vector<ArrayBound> bounds;       // kVtCArray
  std::string user_name;                // kVtUserDefined: the referenced type's name
  int32_t user_index = -1;              // kVtUserDefined in this file: its type index
  bool imported = false;                // kVtUserDefined from another library
};
using TypePtr = std::shared_ptr<const Type>;

// A constant or default value, keeping its stored variant type (so 16- and 32-bit stay apart).
struct Value {
  uint16_t vt = kVtEmpty;
  int64_t integer = 0;  // signed integer kinds, Boolean, Error, Currency (scaled by 10000)
  uint64_t unsigned_integer = 0;  // unsigned kinds
  double real = 0;                // R4, R8, Date
  std::string text;               // BSTR
  bool null_text = false;         // a BSTR stored as null
  bool supported = true;          // false for kinds the file format cannot carry as a value
};

enum ParamFlag : uint32_t {
  kParamIn = 0x1,
  kParamOut = 0x2,
  kParamLcid = 0x4,
  kParamRetval = 0x8,
  kParamOptional = 0x10,
  kParamHasDefault = 0x20,
};

struct Parameter {
  std::string name;  // empty when the file stores none
  TypePtr type;
  uint32_t flags = 0;
  bool has_default = false;
  Value default_value;
};

enum class InvokeKind : uint8_t { Func = 1, PropertyGet = 2, PropertyPut = 4, PropertyPutRef = 8 };
std::string_view InvokeKindName(InvokeKind kind);  // "func", "get", "put", "putref"

struct Function {
  std::string name;
  int32_t member_id = 0;
  InvokeKind invoke = InvokeKind::Func;
  uint8_t func_kind = 0;  // virtual, pure virtual, non-virtual, static, dispatch
  uint8_t call_conv = 0;
  uint16_t flags = 0;
  TypePtr return_type;
  std::vector<Parameter> params;
  bool param_array = false;  // the last parameter takes the rest of the arguments
  int16_t optional_count = 0;
  std::string doc;
  int32_t help_context = 0;
};

enum class VarKind : uint8_t { Instance = 0, Static = 1, Const = 2, Dispatch = 3 };

struct Variable {
  std::string name;
  int32_t member_id = 0;
  VarKind kind = VarKind::Instance;
  uint16_t flags = 0;
  TypePtr type;
  Value value;  // constants only
  std::string doc;
  int32_t help_context = 0;
};

struct ImplementedType {
  TypePtr type;       // a user-defined type naming the interface
  int32_t flags = 0;  // default 1, source 2, restricted 4, default vtable 8
};

struct TypeInfo {
  std::string name;
  bool owns_name = true;  // false when the file's name entry is recorded for another type
  TypeKind kind = TypeKind::Enum;
  Guid guid;
  uint16_t flags = 0;
  uint16_t major = 0, minor = 0;
  std::string doc;
  int32_t help_context = 0;
  std::string dll_name;                     // modules
  TypePtr alias_of;                         // aliases
  std::vector<ImplementedType> implements;  // base interface, or a coclass's interfaces
  std::vector<Function> functions;
  std::vector<Variable> variables;
};

struct Library {
  std::string name;
  std::string doc;
  std::string help_file;
  int32_t help_context = 0;
  int32_t help_string_context = 0;
  Guid guid;
  uint16_t major = 0, minor = 0;
  uint32_t lcid = 0;
  uint8_t syskind = 0;  // 0 Win16, 1 Win32, 2 Mac, 3 Win64
  uint16_t flags = 0;
  std::vector<TypeInfo> types;
  // Libraries that imported types come from: the file names as stored.
  std::vector<std::string> imported_files;
};

// A type that another library defines: the import file name as the library stores it, and
// the type's GUID, or (when the library stores no GUID) its index in that library.
struct ImportRef {
  std::string file;
  bool by_guid = true;
  Guid guid;
  int32_t index = -1;
};
// Finds the name of an imported type; an empty string when it cannot.
using ImportResolver = std::function<std::string(const ImportRef& ref)>;

// Parses type-library bytes: MSFT data, or a PE file whose TYPELIB resource `resource_id`
// holds it. `where` names the input in error messages.
Library ReadLibrary(std::string_view bytes, std::string_view where, int resource_id = 1,
                    const ImportResolver& resolver = nullptr);

// Reads the library at `where`: a file path, optionally followed by "\N" to select TYPELIB
// resource N of a PE file.
Library OpenLibrary(const std::string& where, const ImportResolver& resolver = nullptr);

// Splits "file.dll\2" into the path and resource number (1 when absent).
void SplitLibraryPath(const std::string& where, std::string& path, int& resource_id);

// A resolver that looks for imported libraries beside `library_path` and in Wine's folders,
// caching what it reads.
ImportResolver MakeFileImportResolver(const std::string& library_path);

}  // namespace kx::typelib
