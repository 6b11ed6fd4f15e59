#pragma once
// The bundled host: a conversion kept in one JSON file (see docs/conversion-format.md). It
// offers the source and target sides in both shapes the component uses, typed and by
// member name, with events and actions reached by name. Reads are O(1) and keep no state
// apart from the cursors; writes change the document in memory until Save.

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inventory/host.h"

namespace kx::host {

struct ParameterSlot {
  std::string name;
  int32_t kind = 0;  // 2: an expression
};

// What the host knows about one kind of action: its name and its parameter slots.
struct ActionType {
  std::string name;
  std::vector<ParameterSlot> parameters;
};

struct Action {
  size_t type = 0;                      // index into Conversion::action_types
  std::vector<std::string> parameters;  // one text per slot of its type
};

struct Event {
  std::string name;
  std::vector<Action> actions;
};

struct Field {
  std::string name;
  std::string expression;  // target fields only
};

inline constexpr int kMonitorCount = 5;

struct RecordLayout {
  std::string name;
  std::vector<Field> fields;
  std::array<std::string, kMonitorCount> monitors;  // source layouts only
  std::vector<Event> events;
};

struct Side {
  std::string type;  // empty: the side defines no layout
  std::vector<RecordLayout> layouts;
  std::vector<std::string> filters;
  std::vector<Event> events;
  // Source only.
  std::vector<std::string> sort_fields;
  bool supports_multiple_layouts = false;
  bool defines_multiple_layouts = false;
  int32_t control_handle = 0;
  // Target only.
  std::vector<Event> conversion_events;
  std::vector<std::string> code_modules;  // as written in the document

  // Cursors, as the host keeps them between calls.
  int32_t layout_pos = 0;
  int32_t field_pos = 0;
  int32_t filter_pos = 0;
  int32_t sort_pos = 0;
};

struct Conversion {
  std::vector<ActionType> action_types;
  std::optional<Side> source;  // absent: no source object
  std::optional<Side> target;
};

class ConversionDocument : public std::enable_shared_from_this<ConversionDocument> {
 public:
  // Reads a document. Malformed or ill-typed input, and a member given twice in one
  // object, raise an Error whose description starts "FILE:LINE:COLUMN: ". Relative code-module
  // names resolve against the file's folder.
  static std::shared_ptr<ConversionDocument> Load(const std::filesystem::path& path);
  // Reads a document from text; `origin` names it in messages.
  static std::shared_ptr<ConversionDocument> Parse(std::string_view text,
                                                   const std::string& origin = "<text>",
                                                   const std::filesystem::path& base_dir = {});

  // The document as JSON text, in the layout Save writes.
  std::string ToJson() const;
  // Saves with WriteFileAtomic: a temporary file beside the file `path` names (links
  // followed) renamed over it, owner, group and mode kept, a read-only file refused; a failed
  // save leaves the old file as it was. Inside a FileLock on the file it writes under it.
  void Save(const std::filesystem::path& path) const;
  void Save() const { Save(path_); }

  // The sides as host objects; null when the document has no such side.
  std::shared_ptr<HostSource> Source();
  std::shared_ptr<HostTarget> Target();

  Conversion& Model() { return model_; }
  const Conversion& Model() const { return model_; }
  const std::filesystem::path& Path() const { return path_; }

  // The code-module names joined by line feeds, relative names resolved.
  const std::string& CodeModuleList() const { return module_list_; }
  // True once the target has imported the source through "ImportControl".
  bool TargetImportedSource() const { return imported_; }
  void SetTargetImportedSource(bool imported) { imported_ = imported; }

  // Raises 5 when `text` cannot be stored (the document holds UTF-8 text).
  static void CheckStorable(std::string_view text);

 private:
  Conversion model_;
  std::filesystem::path path_;
  std::filesystem::path base_dir_;
  std::string module_list_;
  bool imported_ = false;

  void ResolveModules();
};

}  // namespace kx::host
