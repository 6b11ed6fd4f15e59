#include "functions/tlb_browse.h"

#include <cstdio>

#include "inventory/variant.h"
#include "runtime/error.h"
#include "runtime/paths.h"
#include "runtime/text.h"
#include "typelib/format.h"
#include "ui/report.h"

namespace kx {

using namespace typelib;

bool IsHostLibraryPath(std::string_view path) {
  return Right(path, 14) == kHostLibraryFile;
}

std::string DisplayName(const std::string& member_name) {
  int64_t length = static_cast<int64_t>(member_name.size());
  if (InStr(member_name, "_") > 0) return std::string(Left(member_name, length - 7)) + "$";
  if (Right(member_name, 2) == "KX") return std::string(Left(member_name, length - 2));
  return member_name;
}

std::string MemberName(const std::string& display_name) {
  if (Right(display_name, 1) == "$")
    return std::string(Left(display_name, static_cast<int64_t>(display_name.size()) - 1)) +
           "_Dollar";
  if (display_name == "GetObject") return "GetObjectKX";
  return display_name;
}

std::string CategoryNodeText(const std::string& type_name) {
  if (type_name == "DateTime") return "Date/Time";
  if (type_name == "Math") return "Math";
  if (type_name == "Text") return "Text";
  if (type_name == "TypeConversion") return "Conversion";
  if (type_name == "Parse") return "Parse";
  return {};
}

std::vector<TreeNodeData> FunctionCategoryNodes(const Library& library) {
  std::vector<TreeNodeData> nodes;
  for (const TypeInfo& t : library.types) {
    std::string text = CategoryNodeText(t.name);
    if (!text.empty()) nodes.push_back({"FNC", t.name, text, {}, {}});
  }
  return nodes;
}

std::vector<TreeNodeData> FunctionTreeNodes(const Library& library) {
  std::vector<TreeNodeData> nodes = {{"FNC", "FC", "Flow Control", {}, {}},
                                     {"FNC", "All", "<All Functions>", {}, {}},
                                     {"FNC", "FileFunctions", "File", {}, {}}};
  for (TreeNodeData& n : FunctionCategoryNodes(library)) nodes.push_back(std::move(n));
  return nodes;
}

namespace {

// Members in the library's order: functions, then variables.
template <typename F>
void ForEachMember(const TypeInfo& t, F&& f) {
  for (const Function& fn : t.functions) f(MemberRef{&fn, nullptr}, fn.name);
  for (const Variable& v : t.variables) f(MemberRef{nullptr, &v}, v.name);
}

const Parameter* RetvalParam(const Function& f) {
  for (const Parameter& p : f.params)
    if (p.flags & kParamRetval) return &p;
  return nullptr;
}

// The result type a prototype shows, or null for none.
const Type* ResultType(const Function& f) {
  const Type& r = *f.return_type;
  if (r.vt != kVtVoid && r.vt != kVtHresult) return &r;
  if (const Parameter* p = RetvalParam(f)) return p->type.get();
  return nullptr;
}

bool IsOptional(const Parameter& p) {
  return (p.flags & kParamOptional) != 0 || p.has_default;
}

std::string ConstantText(const Value& v) {
  std::string s = VbValueText(v);
  int bits = 0;
  uint64_t raw = 0;
  switch (v.vt) {
    case kVtI2:
      bits = 16;
      raw = static_cast<uint64_t>(v.integer);
      break;
    case kVtUi2:
      bits = 16;
      raw = v.unsigned_integer;
      break;
    case kVtI4:
    case kVtInt:
      bits = 32;
      raw = static_cast<uint64_t>(v.integer);
      break;
    case kVtUi4:
    case kVtUint:
      bits = 32;
      raw = v.unsigned_integer;
      break;
    default:
      return s;
  }
  bool small = v.vt == kVtI2 || v.vt == kVtI4 || v.vt == kVtInt ? v.integer >= 0 && v.integer <= 15
                                                                : v.unsigned_integer <= 15;
  if (small) return s;
  raw &= bits == 16 ? 0xFFFFu : 0xFFFFFFFFu;
  char buf[16];
  std::snprintf(buf, sizeof buf, "%llX", static_cast<unsigned long long>(raw));
  return s + " (&H" + buf + ")";
}

}  // namespace

std::vector<std::string> ParameterNames(const MemberRef& member) {
  std::vector<std::string> names;
  if (!member.function) return names;
  for (const Parameter& p : member.function->params)
    if (!(p.flags & kParamRetval)) names.push_back(p.name);
  return names;
}

std::string PrototypeText(const MemberRef& member, bool host_form) {
  std::string s;
  if (const Variable* v = member.variable) {
    bool constant = v->kind == VarKind::Const;
    if (!host_form) s += constant ? "Const " : "Property ";
    s += host_form ? DisplayName(v->name) : v->name;
    if (constant) return s + " = " + ConstantText(v->value);
    return s + " As " + VbTypeName(*v->type);
  }
  const Function& f = *member.function;
  const Type* result = ResultType(f);
  if (!host_form) {
    if (f.invoke != InvokeKind::Func)
      s += "Property ";
    else
      s += result ? "Function " : "Sub ";
  }
  s += host_form ? DisplayName(f.name) : f.name;
  std::vector<const Parameter*> shown;
  for (const Parameter& p : f.params)
    if (!(p.flags & kParamRetval)) shown.push_back(&p);
  if (!shown.empty()) {
    s += "(";
    for (size_t i = 0; i < shown.size(); ++i) {
      const Parameter& p = *shown[i];
      if (i) s += ", ";
      bool array = f.param_array && &p == &f.params.back();
      bool optional = array || IsOptional(p);
      if (array)
        s += "[ParamArray ";
      else if (optional)
        s += "[";
      s += p.name + " As " + VbTypeName(*p.type);
      if (p.has_default) s += " = " + VbValueText(p.default_value);
      if (optional) s += "]";
    }
    s += ")";
  } else if (f.invoke == InvokeKind::Func) {
    s += "()";
  }
  if (result && f.invoke != InvokeKind::PropertyPut && f.invoke != InvokeKind::PropertyPutRef)
    s += " As " + VbTypeName(*result);
  return s;
}

std::string InformationText(const Library& library, const TypeInfo& type, const MemberRef& member,
                            bool host_form) {
  const std::string& doc = member.function ? member.function->doc : member.variable->doc;
  std::string s = PrototypeText(member, host_form);
  if (host_form) return s + "\r\n\r\n    " + doc;
  return s + "\r\n\r\n  Member of " + library.name + "." + type.name + "\r\n\r\n  " + doc;
}

std::string SyntaxText(const std::string& information, const std::string& name,
                       const std::vector<std::string>& parameter_names) {
  std::string_view head = Left(information, 5);
  if (head == "Prope" || head == "Const") return name;
  if (head == "Metho") return name + "(" + Join(parameter_names, ", ") + ")";
  return std::string(Left(information, InStr(information, ")")));
}

std::string ConstantValueText(const std::string& prototype) {
  std::string_view rest = TrimLeft(Mid(prototype, InStr(prototype, "=") + 1));
  int64_t blank = InStr(rest, " ");
  std::string word(blank > 0 ? Left(rest, blank - 1) : rest);
  return Variant(Variant(word).ToDouble()).ToText();
}

std::vector<std::string> BuildFunctionTokens(const Library& library, const std::string& category,
                                             bool host_names) {
  std::string wanted = category == "All" ? "KXFunction" : category;
  std::vector<std::string> rows;
  for (const TypeInfo& t : library.types) {
    if (t.name != wanted) continue;
    ForEachMember(t, [&](const MemberRef&, const std::string& name) {
      if (!name.empty()) rows.push_back(host_names ? DisplayName(name) : name);
    });
    break;
  }
  return rows;
}

namespace {

std::string DefaultValue(Registry& registry, const std::string& path) {
  HKEY key = 0;
  if (registry.RegOpenKeyExA(kHkeyClassesRoot, path, 0, 0x3F, &key) != kErrorSuccess) return {};
  RegValue value;
  QueryValueEx(registry, key, "", value);
  registry.RegCloseKey(key);
  if (auto* s = std::get_if<std::string>(&value)) return *s;
  return {};
}

std::vector<std::string> Subkeys(Registry& registry, HKEY key) {
  std::vector<std::string> names;
  for (uint32_t i = 0;; ++i) {
    std::string name;
    int32_t r = registry.RegEnumKeyExA(key, i, &name, 2000);
    if (r == kErrorNoMoreItems) break;
    if (r == kErrorSuccess) names.push_back(name);
    if (r != kErrorSuccess && r != kErrorMoreData) break;
  }
  return names;
}

}  // namespace

Library OpenRegisteredLibrary(const std::string& registered_path,
                              const std::filesystem::path& base) {
  std::string file;
  int id = 1;
  SplitLibraryPath(registered_path, file, id);
  std::string local = ResolvePath(file, base);
  std::string where = id == 1 ? local : local + "\\" + std::to_string(id);
  return OpenLibrary(where, MakeFileImportResolver(local));
}

std::vector<std::string> BuildFunctionTokens(const std::string& library_path,
                                             const std::string& category,
                                             const std::filesystem::path& base) {
  // No registered host library is no error: there are simply no functions to list.
  if (library_path.empty()) return {};
  return BuildFunctionTokens(OpenRegisteredLibrary(library_path, base), category,
                             IsHostLibraryPath(library_path));
}

std::vector<TreeNodeData> BuildTLBList(Registry& registry) {
  std::vector<TreeNodeData> nodes;
  HKEY typelib = 0;
  if (registry.RegOpenKeyExA(kHkeyClassesRoot, "TypeLib", 0, 0x3F, &typelib) != kErrorSuccess)
    return nodes;
  for (const std::string& guid : Subkeys(registry, typelib)) {
    HKEY guid_key = 0;
    if (registry.RegOpenKeyExA(typelib, guid, 0, 0x3F, &guid_key) != kErrorSuccess) continue;
    for (const std::string& version : Subkeys(registry, guid_key)) {
      std::string base = "TypeLib\\" + guid + "\\" + version;
      std::string description = DefaultValue(registry, base);
      std::string path = DefaultValue(registry, base + "\\0\\win32");
      size_t slash = path.rfind('\\');
      std::string file = LowerCase(slash == std::string::npos ? path : path.substr(slash + 1));
      if (Trim(file).empty()) continue;
      nodes.push_back({"OTL", path + "<" + description + guid + version, description, "TLB", path});
    }
    registry.RegCloseKey(guid_key);
  }
  registry.RegCloseKey(typelib);
  return nodes;
}

std::vector<TreeNodeData> BuildTLBTypes(const std::string& library_key,
                                        const std::filesystem::path& base) {
  std::string path(Left(library_key, InStr(library_key, "<") - 1));
  Library lib = OpenRegisteredLibrary(path, base);
  std::vector<TreeNodeData> nodes;
  for (const TypeInfo& t : lib.types)
    nodes.push_back({library_key, library_key + "<" + t.name, t.name, "TLBType", path});
  return nodes;
}

std::vector<std::string> BuildTLBMembers(const std::string& type_key,
                                         const std::filesystem::path& base) {
  std::string path(Left(type_key, InStr(type_key, "<") - 1));
  size_t last = type_key.rfind('<');
  std::string type_name = type_key.substr(last + 1);
  std::vector<std::string> rows;
  try {
    Library lib = OpenRegisteredLibrary(path, base);
    for (const TypeInfo& t : lib.types) {
      if (t.name != type_name) continue;
      ForEachMember(t, [&](const MemberRef&, const std::string& name) { rows.push_back(name); });
      break;
    }
  } catch (const Error&) {
    rows.clear();
  }
  if (rows.empty()) rows.emplace_back(kNoTypeLibInfo);
  return rows;
}

std::string MemberPrototype(const std::string& type_key, const std::string& name,
                            const std::filesystem::path& base) {
  std::string path(Left(type_key, InStr(type_key, "<") - 1));
  std::string type_name = type_key.substr(type_key.rfind('<') + 1);
  Library lib = OpenRegisteredLibrary(path, base);
  std::string prototype;
  for (const TypeInfo& t : lib.types) {
    if (t.name != type_name) continue;
    ForEachMember(t, [&](const MemberRef& m, const std::string& member_name) {
      if (prototype.empty() && member_name == name) prototype = PrototypeText(m, false);
    });
    break;
  }
  return prototype;
}

void GetKXFunctionInfoTL(FunctionInfo& info, const std::string& library_path,
                         const std::filesystem::path& base) {
  try {
    bool host = IsHostLibraryPath(library_path);
    std::string wanted = host ? MemberName(info.Name) : info.Name;
    Library lib = OpenRegisteredLibrary(library_path, base);
    for (const TypeInfo& t : lib.types) {
      bool found = false;
      ForEachMember(t, [&](const MemberRef& m, const std::string& name) {
        if (found || name != wanted) return;
        found = true;
        std::vector<std::string> params = ParameterNames(m);
        std::string text = InformationText(lib, t, m, host);
        info.Name = name;
        info.Description = text;
        info.Origin = lib.name + "." + t.name;
        info.Syntax = SyntaxText(text, name, params);
        for (size_t i = 0; i < params.size(); ++i) {
          if (i >= info.Arguments.size()) Raise(kErrSubscript);
          info.Arguments[i].Name = params[i];
        }
        info.ArgumentCount = static_cast<int16_t>(params.size());
      });
      if (found) return;
    }
  } catch (...) {
    ReportError("GetKXFunctionInfoTL(kxexpr)");
  }
}

}  // namespace kx
