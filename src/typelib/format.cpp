#include "typelib/format.h"

#include <charconv>
#include <cstdio>

namespace kx::typelib {

std::string Hex(uint64_t value) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "0x%llX", static_cast<unsigned long long>(value));
  return buf;
}

std::string_view TypeKindName(TypeKind kind) {
  static constexpr std::string_view kNames[] = {"Enum",     "Record",  "Module", "Interface",
                                                "Dispatch", "Coclass", "Alias",  "Union"};
  return kNames[static_cast<int>(kind)];
}

std::string_view InvokeKindName(InvokeKind kind) {
  switch (kind) {
    case InvokeKind::Func:
      return "func";
    case InvokeKind::PropertyGet:
      return "get";
    case InvokeKind::PropertyPut:
      return "put";
    case InvokeKind::PropertyPutRef:
      return "putref";
  }
  return "?";
}

std::string Guid::ToString() const {
  char buf[40];
  const auto& b = bytes;
  std::snprintf(buf, sizeof buf,
                "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", b[3],
                b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                b[14], b[15]);
  return buf;
}

std::string BasicTypeName(uint16_t vt) {
  switch (vt) {
    case kVtEmpty:
      return "Empty";
    case kVtNull:
      return "Null";
    case kVtI2:
      return "Integer";
    case kVtI4:
      return "Long";
    case kVtR4:
      return "Single";
    case kVtR8:
      return "Double";
    case kVtCy:
      return "Currency";
    case kVtDate:
      return "Date";
    case kVtBstr:
      return "String";
    case kVtDispatch:
      return "Object";
    case kVtError:
      return "SCODE";
    case kVtBool:
      return "Boolean";
    case kVtVariant:
      return "Variant";
    case kVtUnknown:
      return "IUnknown";
    case kVtDecimal:
      return "Decimal";
    case kVtI1:
      return "SByte";
    case kVtUi1:
      return "Byte";
    case kVtUi2:
      return "UInteger";
    case kVtUi4:
      return "ULong";
    case kVtI8:
      return "LongLong";
    case kVtUi8:
      return "ULongLong";
    case kVtInt:
      return "Int";
    case kVtUint:
      return "UInt";
    case kVtVoid:
      return "Void";
    case kVtHresult:
      return "HRESULT";
    case kVtLpstr:
      return "LPSTR";
    case kVtLpwstr:
      return "LPWSTR";
    case 36:
      return "Record";
    case 37:
      return "LongPtr";
    case 38:
      return "ULongPtr";
    case 64:
      return "FileTime";
    case 71:
      return "CLSID";
    default:
      return "VT" + std::to_string(vt);
  }
}

namespace {

std::string Bounds(const Type& type) {
  std::string s = "(";
  for (size_t i = 0; i < type.bounds.size(); ++i) {
    if (i) s += ", ";
    const ArrayBound& b = type.bounds[i];
    s += std::to_string(b.lower) + " To " + std::to_string(int64_t{b.lower} + b.count - 1);
  }
  return s + ")";
}

std::string Name(const Type& type, bool pointers) {
  switch (type.vt) {
    case kVtPtr:
      if (!type.element) return pointers ? "Void*" : "Void";
      return Name(*type.element, pointers) + (pointers ? "*" : "");
    case kVtSafeArray:
      return (type.element ? Name(*type.element, pointers) : "Void") + "()";
    case kVtCArray:
      return (type.element ? Name(*type.element, pointers) : "Void") + Bounds(type);
    case kVtUserDefined:
      return type.user_name;
    default:
      return BasicTypeName(type.vt);
  }
}

std::string Real(double d) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, d);
  return std::string(buf, r.ptr);
}
std::string Real(float f) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, f);
  return std::string(buf, r.ptr);
}

std::string Currency(int64_t scaled) {
  bool negative = scaled < 0;
  uint64_t u = negative ? 0 - static_cast<uint64_t>(scaled) : static_cast<uint64_t>(scaled);
  std::string s = std::to_string(u / 10000);
  uint64_t frac = u % 10000;
  if (frac) {
    char buf[8];
    std::snprintf(buf, sizeof buf, ".%04u", static_cast<unsigned>(frac));
    std::string f = buf;
    while (f.back() == '0') f.pop_back();
    s += f;
  }
  return negative ? "-" + s : s;
}

// The value alone, without its kind.
std::string Plain(const Value& v) {
  if (!v.supported) return "?";
  switch (v.vt) {
    case kVtEmpty:
      return "Empty";
    case kVtNull:
      return "Null";
    case kVtVoid:
      return "";
    case kVtBstr:
      return v.null_text ? "null" : Quote(v.text);
    case kVtR4:
      return Real(static_cast<float>(v.real));
    case kVtR8:
    case kVtDate:
      return Real(v.real);
    case kVtCy:
      return Currency(v.integer);
    case kVtUi1:
    case kVtUi2:
    case kVtUi4:
    case kVtUint:
    case kVtUi8:
    case kVtDecimal:
    case 64:
      return std::to_string(v.unsigned_integer);
    default:
      return std::to_string(v.integer);
  }
}

}  // namespace

std::string TypeText(const Type& type) {
  return Name(type, true);
}
std::string VbTypeName(const Type& type) {
  return Name(type, false);
}

std::string VtName(uint16_t vt) {
  switch (vt) {
    case kVtEmpty:
      return "EMPTY";
    case kVtNull:
      return "NULL";
    case kVtI2:
      return "I2";
    case kVtI4:
      return "I4";
    case kVtR4:
      return "R4";
    case kVtR8:
      return "R8";
    case kVtCy:
      return "CY";
    case kVtDate:
      return "DATE";
    case kVtBstr:
      return "BSTR";
    case kVtDispatch:
      return "DISPATCH";
    case kVtError:
      return "ERROR";
    case kVtBool:
      return "BOOL";
    case kVtVariant:
      return "VARIANT";
    case kVtUnknown:
      return "UNKNOWN";
    case kVtDecimal:
      return "DECIMAL";
    case kVtI1:
      return "I1";
    case kVtUi1:
      return "UI1";
    case kVtUi2:
      return "UI2";
    case kVtUi4:
      return "UI4";
    case kVtI8:
      return "I8";
    case kVtUi8:
      return "UI8";
    case kVtInt:
      return "INT";
    case kVtUint:
      return "UINT";
    case kVtVoid:
      return "VOID";
    case kVtHresult:
      return "HRESULT";
    case 64:
      return "FILETIME";
    default:
      return "VT" + std::to_string(vt);
  }
}

std::string ValueText(const Value& value) {
  std::string plain = Plain(value);
  return plain.empty() ? VtName(value.vt) : VtName(value.vt) + " " + plain;
}

std::string VbValueText(const Value& value) {
  if (value.vt == kVtBool) return value.integer ? "True" : "False";
  if (value.vt == kVtBstr && !value.null_text) {
    std::string s = "\"";
    for (char c : value.text) s += c == '"' ? std::string("\"\"") : std::string(1, c);
    return s + "\"";
  }
  if (value.vt == kVtBstr) return "\"\"";
  return Plain(value);
}

std::string Quote(const std::string& text) {
  std::string s = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      s += '\\';
      s += static_cast<char>(c);
    } else if (c < 0x20 || c == 0x7F) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\x%02X", c);
      s += buf;
    } else {
      s += static_cast<char>(c);
    }
  }
  return s + "\"";
}

namespace {

std::string ParamFlags(const Parameter& p, bool param_array) {
  std::string s;
  auto add = [&](const std::string& word) { s += (s.empty() ? "" : ", ") + word; };
  if (p.flags & kParamIn) add("in");
  if (p.flags & kParamOut) add("out");
  if (p.flags & kParamLcid) add("lcid");
  if (p.flags & kParamRetval) add("retval");
  if (p.flags & kParamOptional) add("optional");
  if (p.has_default) add("default " + ValueText(p.default_value));
  if (param_array) add("paramarray");
  return s.empty() ? "" : " [" + s + "]";
}

std::string SysKindName(uint8_t syskind) {
  switch (syskind) {
    case 0:
      return "win16";
    case 1:
      return "win32";
    case 2:
      return "mac";
    case 3:
      return "win64";
    default:
      return std::to_string(syskind);
  }
}

std::string VarKindName(VarKind kind) {
  switch (kind) {
    case VarKind::Instance:
      return "instance";
    case VarKind::Static:
      return "static";
    case VarKind::Const:
      return "const";
    case VarKind::Dispatch:
      return "dispatch";
  }
  return "?";
}

void DocLines(std::string& out, const char* indent, const std::string& doc, int32_t help) {
  if (!doc.empty()) out.append(indent).append("doc ").append(Quote(doc)).append("\n");
  if (help) out.append(indent).append("helpcontext ").append(std::to_string(help)).append("\n");
}

}  // namespace

std::string DumpText(const Library& lib) {
  std::string out;
  out.reserve(256 + lib.types.size() * 2048);
  out += "library " + lib.name + "\n";
  out += "  guid " + lib.guid.ToString() + "\n";
  out += "  version " + std::to_string(lib.major) + "." + std::to_string(lib.minor) + "\n";
  out += "  syskind " + SysKindName(lib.syskind) + "\n";
  if (!lib.help_file.empty()) out += "  helpfile " + Quote(lib.help_file) + "\n";
  DocLines(out, "  ", lib.doc, lib.help_context);
  for (size_t i = 0; i < lib.types.size(); ++i) {
    const TypeInfo& t = lib.types[i];
    out +=
        "type " + std::to_string(i) + " " + std::string(TypeKindName(t.kind)) + " " + t.name + "\n";
    out += "  guid " + t.guid.ToString() + "\n";
    out += "  version " + std::to_string(t.major) + "." + std::to_string(t.minor) + "\n";
    if (t.flags) out += "  flags " + Hex(t.flags) + "\n";
    DocLines(out, "  ", t.doc, t.help_context);
    if (!t.dll_name.empty()) out += "  dll " + Quote(t.dll_name) + "\n";
    if (t.alias_of) out += "  alias " + TypeText(*t.alias_of) + "\n";
    for (const ImplementedType& impl : t.implements) {
      out += "  implements " + TypeText(*impl.type);
      if (impl.flags) out += " [flags " + std::to_string(impl.flags) + "]";
      out += "\n";
    }
    for (const Function& f : t.functions) {
      out += "  function " + f.name + "\n";
      out += "    id " + Hex(static_cast<uint32_t>(f.member_id)) + "\n";
      out += "    invoke " + std::string(InvokeKindName(f.invoke)) + "\n";
      out += "    returns " + TypeText(*f.return_type) + "\n";
      DocLines(out, "    ", f.doc, f.help_context);
      for (size_t j = 0; j < f.params.size(); ++j) {
        const Parameter& p = f.params[j];
        out += "    param " + (p.name.empty() ? std::string("(unnamed)") : p.name) + " As " +
               TypeText(*p.type) + ParamFlags(p, f.param_array && j + 1 == f.params.size()) + "\n";
      }
    }
    for (const Variable& v : t.variables) {
      out += "  " + std::string(v.kind == VarKind::Const ? "const " : "variable ") + v.name +
             " As " + TypeText(*v.type);
      if (v.kind == VarKind::Const) out += " = " + ValueText(v.value);
      out += "\n";
      out += "    id " + Hex(static_cast<uint32_t>(v.member_id)) + "\n";
      if (v.kind != VarKind::Const) out += "    kind " + VarKindName(v.kind) + "\n";
      DocLines(out, "    ", v.doc, v.help_context);
    }
  }
  return out;
}

}  // namespace kx::typelib
