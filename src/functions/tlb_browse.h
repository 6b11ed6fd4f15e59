#pragma once
// The palette's type-library side: function categories of the host function library, its
// function tokens with their display names, the registered libraries as tree nodes, and
// the prototype, information and syntax texts of a library member. Views only show these.

#include <filesystem>
#include <string>
#include <vector>

#include "component/registry.h"
#include "functions/function_info.h"
#include "typelib/typelib.h"

namespace kx {

// The host function library's file name; its member names are converted for display.
constexpr std::string_view kHostLibraryFile = "kx750ui_fn.dll";
// The grid row shown when a type's members cannot be read.
constexpr std::string_view kNoTypeLibInfo = "No typelib info available.";

struct TreeNodeData {
  std::string parent;  // key of the parent node
  std::string key;
  std::string text;
  std::string tag;
  std::string path;  // library nodes: the registered file path
};

// True when the last 14 characters of `path` are "kx750ui_fn.dll".
bool IsHostLibraryPath(std::string_view path);

// Member name → display name: "X_Dollar" → "X$", "GetObjectKX" → "GetObject".
std::string DisplayName(const std::string& member_name);
// Display name → member name: "X$" → "X_Dollar", "GetObject" → "GetObjectKX".
std::string MemberName(const std::string& display_name);

// The tree text of a function category ("DateTime" → "Date/Time" …), empty for other names.
std::string CategoryNodeText(const std::string& type_name);
// The category nodes under "FNC" for the library's type descriptions, in library order
// (after the fixed "Flow Control", "<All Functions>" and "File" nodes, not included here).
std::vector<TreeNodeData> FunctionCategoryNodes(const typelib::Library& library);

// Every child of "FNC" in order: "Flow Control" ("FC"), "<All Functions>" ("All"), "File"
// ("FileFunctions"), then the category nodes of the library.
std::vector<TreeNodeData> FunctionTreeNodes(const typelib::Library& library);

// The grid rows of one category of the host function library ("All" lists "KXFunction"),
// as display names when `host_names` (the library's file is kHostLibraryFile).
std::vector<std::string> BuildFunctionTokens(const typelib::Library& library,
                                             const std::string& category, bool host_names);
// The same, opening the library at `library_path` (resolved as ResolvePath does); display
// names when IsHostLibraryPath(library_path), as GetKXFunctionInfoTL decides.
std::vector<std::string> BuildFunctionTokens(const std::string& library_path,
                                             const std::string& category,
                                             const std::filesystem::path& base = {});

// Opens a library as the registry names it ("file.dll" or "file.dll\\N"), resolving the path
// as ResolvePath does.
typelib::Library OpenRegisteredLibrary(const std::string& registered_path,
                                       const std::filesystem::path& base = {});

// The registered type libraries as children of "OTL" (tag "TLB"), from the registry.
std::vector<TreeNodeData> BuildTLBList(Registry& registry);
// The type nodes (tag "TLBType") of a library node, read from its file.
std::vector<TreeNodeData> BuildTLBTypes(const std::string& library_key,
                                        const std::filesystem::path& base = {});
// The grid rows for a type node's key: its member names, or kNoTypeLibInfo.
std::vector<std::string> BuildTLBMembers(const std::string& type_key,
                                         const std::filesystem::path& base = {});

// One member of a type, as the texts below take it.
struct MemberRef {
  const typelib::Function* function = nullptr;
  const typelib::Variable* variable = nullptr;
};

// The prototype line. `host_form` leaves out the kind word and writes the display name.
std::string PrototypeText(const MemberRef& member, bool host_form);
// The information text: prototype, the "Member of" line (not in the host form), the doc.
std::string InformationText(const typelib::Library& library, const typelib::TypeInfo& type,
                            const MemberRef& member, bool host_form);
// The syntax text that the first five characters of the information text select.
std::string SyntaxText(const std::string& information, const std::string& name,
                       const std::vector<std::string>& parameter_names);
// The names of the parameters the prototype lists.
std::vector<std::string> ParameterNames(const MemberRef& member);

// The plain prototype ("Const Byte = 255 (&HFF)", "Sub Clear()") of the member `name` of the
// type that a type node's key names; empty when the type has no such member.
std::string MemberPrototype(const std::string& type_key, const std::string& name,
                            const std::filesystem::path& base = {});
// The value a constant's prototype carries ("Const Byte = 255 (&HFF)" gives "255"): the word
// after the first "=", converted to a number and written plainly. A value that is not a
// number raises 13.
std::string ConstantValueText(const std::string& prototype);

// Fills `info` (Name, Syntax, Description, Origin, argument names and count) for the member
// that info.Name names in the library at `library_path`; reports failures with the location
// "GetKXFunctionInfoTL(kxexpr)". `base` resolves relative and drive paths (ResolvePath).
void GetKXFunctionInfoTL(FunctionInfo& info, const std::string& library_path,
                         const std::filesystem::path& base = {});

}  // namespace kx
