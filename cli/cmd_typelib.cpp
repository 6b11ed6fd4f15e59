// kxexpr typelib [--json] FILE[\N] | --registered: dumps a type library, or lists the
// libraries the registry in use registers.

#include <nlohmann/json.hpp>

#include <filesystem>
#include <istream>
#include <iterator>
#include <ostream>

#include "command.h"
#include "component/registry.h"
#include "functions/tlb_browse.h"
#include "runtime/error.h"
#include "typelib/format.h"
#include "typelib/typelib.h"

namespace kx::cli {

namespace {

using nlohmann::ordered_json;
using namespace kx::typelib;

// Names and texts are bytes in the library's code page; JSON wants UTF-8, so bytes above
// 0x7F are taken as Windows-1252's Latin range (ISO 8859-1 for simplicity).
std::string ToUtf8(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  for (unsigned char c : s) {
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

ordered_json ValueJson(const Value& v) {
  ordered_json j;
  j["vt"] = VtName(v.vt);
  if (v.vt == kVtBstr) {
    j["value"] = v.null_text ? ordered_json() : ordered_json(ToUtf8(v.text));
  } else {
    j["value"] = ToUtf8(VbValueText(v));
  }
  return j;
}

void AddDoc(ordered_json& j, const std::string& doc, int32_t help) {
  j["doc"] = ToUtf8(doc);
  j["helpcontext"] = help;
}

ordered_json LibraryJson(const Library& lib) {
  ordered_json j;
  j["name"] = ToUtf8(lib.name);
  j["guid"] = lib.guid.ToString();
  j["version"] = std::to_string(lib.major) + "." + std::to_string(lib.minor);
  j["syskind"] = lib.syskind;
  j["helpfile"] = ToUtf8(lib.help_file);
  AddDoc(j, lib.doc, lib.help_context);
  ordered_json types = ordered_json::array();
  for (const TypeInfo& t : lib.types) {
    ordered_json tj;
    tj["name"] = ToUtf8(t.name);
    tj["kind"] = std::string(TypeKindName(t.kind));
    tj["guid"] = t.guid.ToString();
    tj["version"] = std::to_string(t.major) + "." + std::to_string(t.minor);
    tj["flags"] = t.flags;
    AddDoc(tj, t.doc, t.help_context);
    if (!t.dll_name.empty()) tj["dll"] = ToUtf8(t.dll_name);
    if (t.alias_of) tj["alias"] = ToUtf8(TypeText(*t.alias_of));
    if (!t.implements.empty()) {
      ordered_json impl = ordered_json::array();
      for (const auto& i : t.implements)
        impl.push_back({{"type", ToUtf8(TypeText(*i.type))}, {"flags", i.flags}});
      tj["implements"] = impl;
    }
    ordered_json functions = ordered_json::array();
    for (const Function& f : t.functions) {
      ordered_json fj;
      fj["name"] = ToUtf8(f.name);
      fj["id"] = f.member_id;
      fj["invoke"] = std::string(InvokeKindName(f.invoke));
      fj["returns"] = ToUtf8(TypeText(*f.return_type));
      AddDoc(fj, f.doc, f.help_context);
      ordered_json params = ordered_json::array();
      for (size_t k = 0; k < f.params.size(); ++k) {
        const Parameter& p = f.params[k];
        ordered_json pj;
        pj["name"] = ToUtf8(p.name);
        pj["type"] = ToUtf8(TypeText(*p.type));
        pj["in"] = (p.flags & kParamIn) != 0;
        pj["out"] = (p.flags & kParamOut) != 0;
        pj["retval"] = (p.flags & kParamRetval) != 0;
        pj["optional"] = (p.flags & kParamOptional) != 0;
        if (p.has_default) pj["default"] = ValueJson(p.default_value);
        pj["paramarray"] = f.param_array && k + 1 == f.params.size();
        params.push_back(pj);
      }
      fj["params"] = params;
      functions.push_back(fj);
    }
    tj["functions"] = functions;
    ordered_json variables = ordered_json::array();
    for (const Variable& v : t.variables) {
      ordered_json vj;
      vj["name"] = ToUtf8(v.name);
      vj["id"] = v.member_id;
      vj["const"] = v.kind == VarKind::Const;
      vj["type"] = ToUtf8(TypeText(*v.type));
      if (v.kind == VarKind::Const) vj["value"] = ValueJson(v.value);
      AddDoc(vj, v.doc, v.help_context);
      variables.push_back(vj);
    }
    tj["variables"] = variables;
    types.push_back(tj);
  }
  j["types"] = types;
  return j;
}

CommandRegistrar reg(50, [](CLI::App& app, Context& context) {
  auto* cmd = app.add_subcommand(
      "typelib",
      "Dump a type library: every type, member, parameter, type name, default value and\n"
      "constant, with doc strings and help contexts. FILE is an MSFT .tlb or a PE file\n"
      "(.dll/.ocx/.tlb) carrying one; \"FILE\\N\" selects TYPELIB resource N (default 1);\n"
      "\"-\" (or \"-\\N\") reads the library from standard input.\n"
      "With --registered, list the libraries the registry registers, as the \"Type Libraries\"\n"
      "node shows them (registry: --registry, else $KXEXPR_REGISTRY, else $WINEPREFIX/system.reg,\n"
      "else ~/.wine/system.reg, else the bundled data/kxexpr.reg).");
  struct Options {
    std::string file;
    bool json = false;
    bool registered = false;
    std::string registry;
  };
  auto o = std::make_shared<Options>();
  cmd->add_option("FILE", o->file,
                  "Type library, optionally followed by \\N; \"-\" reads standard input");
  cmd->add_flag("--json", o->json, "Print JSON instead of text");
  cmd->add_flag("--registered", o->registered, "List the registered type libraries");
  cmd->add_option("--registry", o->registry,
                  "Registry file to read (REGEDIT4, version 5.00 or Wine)");
  cmd->callback([&context, o] {
    if (o->registered) {
      auto registry = o->registry.empty() ? OpenRegistryInUse(DataDir() + "/kxexpr.reg")
                                          : OpenRegistryFile(o->registry);
      auto nodes = BuildTLBList(*registry);
      if (o->json) {
        ordered_json list = ordered_json::array();
        for (const auto& n : nodes)
          list.push_back({{"text", ToUtf8(n.text)},
                          {"key", ToUtf8(n.key)},
                          {"tag", n.tag},
                          {"path", ToUtf8(n.path)}});
        context.out << list.dump(2) << '\n';
      } else {
        for (const auto& n : nodes) context.out << n.text << "\n  key " << n.key << '\n';
      }
      return;
    }
    if (o->file.empty()) throw CLI::ValidationError("FILE", "give a type library or --registered");
    std::string path;
    int id = 1;
    SplitLibraryPath(o->file, path, id);
    Library lib;
    if (path == "-") {
      // Imported libraries are looked for in the current folder (and Wine's).
      const std::string bytes(std::istreambuf_iterator<char>(context.in), {});
      lib = ReadLibrary(bytes, "<stdin>", id,
                        MakeFileImportResolver((std::filesystem::current_path() / "-").string()));
    } else {
      lib = OpenLibrary(o->file, MakeFileImportResolver(path));
    }
    if (o->json)
      context.out << LibraryJson(lib).dump(2) << '\n';
    else
      context.out << DumpText(lib);
  });
});

}  // namespace

}  // namespace kx::cli
