// Reading and writing the conversion document.

#include <cstdio>
#include <initializer_list>
#include <limits>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "host/conversion_document.h"
#include "host/conversion_locate.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/text.h"

namespace kx::host {

namespace {

using json = nlohmann::json;
using ordered_json = nlohmann::ordered_json;

// The host's cursors are 16-bit: longer lists could not be addressed.
constexpr size_t kMaxItems = std::numeric_limits<int16_t>::max();

bool IsValidUtf8(std::string_view s) {
  size_t i = 0;
  while (i < s.size()) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    size_t n;
    uint32_t cp;
    if (c < 0x80) {
      ++i;
      continue;
    } else if ((c & 0xE0) == 0xC0) {
      n = 1;
      cp = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
      n = 2;
      cp = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
      n = 3;
      cp = c & 0x07;
    } else {
      return false;
    }
    for (size_t k = 1; k <= n; ++k) {
      if (i + k >= s.size()) return false;
      unsigned char d = static_cast<unsigned char>(s[i + k]);
      if ((d & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (d & 0x3F);
    }
    if ((n == 1 && cp < 0x80) || (n == 2 && cp < 0x800) || (n == 3 && cp < 0x10000) ||
        cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
      return false;
    i += n + 1;
  }
  return true;
}

const char* KindName(const json& v) {
  switch (v.type()) {
    case json::value_t::null:
      return "null";
    case json::value_t::object:
      return "an object";
    case json::value_t::array:
      return "an array";
    case json::value_t::string:
      return "a string";
    case json::value_t::boolean:
      return "a boolean";
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
    case json::value_t::number_float:
      return "a number";
    default:
      return "something else";
  }
}

class Reader {
 public:
  Reader(std::string_view text, const std::string& origin) : text_(text), origin_(origin) {}

  [[noreturn]] void Fail(const std::string& why, int32_t number = kErrTypeMismatch) const {
    TextLocation loc = LocationOf(text_, LocateValue(text_, path_));
    throw Error(number, origin_ + ":" + std::to_string(loc.line) + ":" +
                            std::to_string(loc.column) + ": " + PathText(path_) + ": " + why);
  }
  [[noreturn]] void Expected(const char* what, const json& v) const {
    Fail(std::string("expected ") + what + ", found " + KindName(v));
  }

  // Visits a member or element with the path extended, so that failures inside point at it.
  template <typename F>
  auto At(std::string_view key, F&& f) {
    path_.emplace_back(key);
    struct Pop {
      std::vector<PathStep>& p;
      ~Pop() { p.pop_back(); }
    } pop{path_};
    return f();
  }
  template <typename F>
  auto At(size_t index, F&& f) {
    path_.emplace_back(index);
    struct Pop {
      std::vector<PathStep>& p;
      ~Pop() { p.pop_back(); }
    } pop{path_};
    return f();
  }

  void Object(json& v, std::initializer_list<const char*> allowed) {
    if (!v.is_object()) Expected("an object", v);
    for (auto it = v.begin(); it != v.end(); ++it) {
      bool ok = false;
      for (const char* a : allowed) ok = ok || it.key() == a;
      if (ok) continue;
      std::string list;
      for (const char* a : allowed) list += std::string(list.empty() ? "" : ", ") + a;
      At(it.key(), [&]() -> int {
        Fail("unknown member \"" + it.key() + "\" (expected one of: " + list + ")",
             kErrInvalidCall);
      });
    }
  }

  // Calls f(element) for every element of the array member `key`, if present.
  template <typename F>
  void Each(json& obj, const char* key, F&& f) {
    auto it = obj.find(key);
    if (it == obj.end()) return;
    At(key, [&] {
      if (!it->is_array()) Expected("an array", *it);
      if (it->size() > kMaxItems)
        Fail("more than " + std::to_string(kMaxItems) + " items", kErrOverflow);
      for (size_t i = 0; i < it->size(); ++i) At(i, [&] { f((*it)[i]); });
    });
  }

  std::string String(json& v, const char* what = "a string") {
    if (!v.is_string()) Expected(what, v);
    return std::move(v.get_ref<std::string&>());
  }

  // An expression: one string, or an array of lines joined by carriage return + line feed.
  std::string Text(json& v) {
    if (v.is_string()) return std::move(v.get_ref<std::string&>());
    if (!v.is_array()) Expected("a text (a string or an array of lines)", v);
    std::string out;
    for (size_t i = 0; i < v.size(); ++i)
      At(i, [&] {
        if (i > 0) out += kCrLf;
        out += String(v[i], "a line (a string)");
      });
    return out;
  }

  template <typename F>
  auto Member(json& obj, const char* key, F&& f) {
    return At(key, [&] { return f(obj.at(key)); });
  }
  bool Has(json& obj, const char* key) { return obj.find(key) != obj.end(); }

  std::string RequiredString(json& obj, const char* key) {
    if (!Has(obj, key)) Fail(std::string("missing member \"") + key + "\"", kErrInvalidCall);
    return Member(obj, key, [&](json& v) { return String(v); });
  }

  bool Bool(json& obj, const char* key) {
    if (!Has(obj, key)) return false;
    return Member(obj, key, [&](json& v) {
      if (!v.is_boolean()) Expected("true or false", v);
      return v.get<bool>();
    });
  }

  int32_t Int(json& v) {
    if (!v.is_number_integer()) Expected("a whole number", v);
    if (v.is_number_unsigned()) {
      if (v.get<uint64_t>() > static_cast<uint64_t>(std::numeric_limits<int32_t>::max()))
        Fail("number out of range", kErrOverflow);
      return static_cast<int32_t>(v.get<uint64_t>());
    }
    int64_t n = v.get<int64_t>();
    if (n < std::numeric_limits<int32_t>::min() || n > std::numeric_limits<int32_t>::max())
      Fail("number out of range", kErrOverflow);
    return static_cast<int32_t>(n);
  }

  void ActionTypes(json& root, Conversion& c) {
    Each(root, "actionTypes", [&](json& t) {
      Object(t, {"name", "parameters"});
      ActionType type;
      type.name = RequiredString(t, "name");
      if (type_index_.count(type.name))
        At("name", [&]() -> int {
          Fail("action type \"" + type.name + "\" is defined twice", kErrInvalidCall);
        });
      Each(t, "parameters", [&](json& p) {
        Object(p, {"name", "kind"});
        ParameterSlot slot;
        slot.name = RequiredString(p, "name");
        if (Has(p, "kind")) slot.kind = Member(p, "kind", [&](json& v) { return Int(v); });
        type.parameters.push_back(std::move(slot));
      });
      type_index_[type.name] = c.action_types.size();
      c.action_types.push_back(std::move(type));
    });
  }

  std::vector<Event> Events(json& obj, const char* key, const Conversion& c) {
    std::vector<Event> events;
    Each(obj, key, [&](json& e) {
      Object(e, {"name", "actions"});
      Event event;
      event.name = RequiredString(e, "name");
      Each(e, "actions", [&](json& a) {
        Object(a, {"type", "parameters"});
        Action action;
        std::string type = RequiredString(a, "type");
        auto found = type_index_.find(type);
        if (found == type_index_.end())
          At("type", [&]() -> int {
            Fail("no action type named \"" + type + "\" in actionTypes", kErrInvalidCall);
          });
        action.type = found->second;
        const size_t slots = c.action_types[action.type].parameters.size();
        action.parameters.resize(slots);
        if (Has(a, "parameters")) {
          At("parameters", [&] {
            json& ps = a.at("parameters");
            if (!ps.is_array()) Expected("an array of parameter texts", ps);
            if (ps.size() > slots)
              Fail("\"" + type + "\" has " + std::to_string(slots) + " parameter slots, " +
                       std::to_string(ps.size()) + " texts given",
                   kErrInvalidCall);
            for (size_t i = 0; i < ps.size(); ++i)
              At(i, [&] { action.parameters[i] = Text(ps[i]); });
          });
        }
        event.actions.push_back(std::move(action));
      });
      events.push_back(std::move(event));
    });
    return events;
  }

  std::vector<std::string> Texts(json& obj, const char* key) {
    std::vector<std::string> texts;
    Each(obj, key, [&](json& v) { texts.push_back(Text(v)); });
    return texts;
  }

  RecordLayout Layout(json& l, bool source, const Conversion& c) {
    if (source)
      Object(l, {"name", "fields", "dataChangeMonitors", "events"});
    else
      Object(l, {"name", "fields", "events"});
    RecordLayout layout;
    layout.name = RequiredString(l, "name");
    Each(l, "fields", [&](json& f) {
      Field field;
      if (f.is_string()) {
        field.name = std::move(f.get_ref<std::string&>());
      } else {
        if (!f.is_object()) Expected("a field name (a string) or an object", f);
        if (source)
          Object(f, {"name"});
        else
          Object(f, {"name", "expression"});
        field.name = RequiredString(f, "name");
        if (Has(f, "expression"))
          field.expression = Member(f, "expression", [&](json& v) { return Text(v); });
      }
      layout.fields.push_back(std::move(field));
    });
    if (source && Has(l, "dataChangeMonitors")) {
      At("dataChangeMonitors", [&] {
        json& m = l.at("dataChangeMonitors");
        if (!m.is_array()) Expected("an array of up to 5 texts", m);
        if (m.size() > kMonitorCount)
          Fail("a record layout has 5 data change monitors, " + std::to_string(m.size()) + " given",
               kErrInvalidCall);
        for (size_t i = 0; i < m.size(); ++i) At(i, [&] { layout.monitors[i] = Text(m[i]); });
      });
    }
    layout.events = Events(l, "events", c);
    return layout;
  }

  std::optional<Side> ReadSide(json& root, const char* key, bool source, const Conversion& c) {
    auto it = root.find(key);
    if (it == root.end() || it->is_null()) return std::nullopt;
    return At(key, [&] {
      json& s = *it;
      if (source)
        Object(s,
               {"type", "recordLayouts", "filters", "sortFields", "events",
                "supportsMultipleRecordLayouts", "definesMultipleRecordLayouts", "controlHandle"});
      else
        Object(s,
               {"type", "recordLayouts", "filters", "events", "conversionEvents", "codeModules"});
      Side side;
      if (Has(s, "type")) side.type = Member(s, "type", [&](json& v) { return String(v); });
      Each(s, "recordLayouts", [&](json& l) { side.layouts.push_back(Layout(l, source, c)); });
      side.filters = Texts(s, "filters");
      side.events = Events(s, "events", c);
      if (source) {
        side.sort_fields = Texts(s, "sortFields");
        side.supports_multiple_layouts = Bool(s, "supportsMultipleRecordLayouts");
        side.defines_multiple_layouts = Bool(s, "definesMultipleRecordLayouts");
        if (Has(s, "controlHandle"))
          side.control_handle = Member(s, "controlHandle", [&](json& v) { return Int(v); });
      } else {
        side.conversion_events = Events(s, "conversionEvents", c);
        Each(s, "codeModules", [&](json& m) {
          std::string name = String(m, "a file name (a string)");
          if (Trim(name).empty()) Fail("a code-module file name cannot be empty", kErrInvalidCall);
          if (name.find('\n') != std::string::npos)
            Fail("a code-module file name cannot contain a line feed", kErrInvalidCall);
          side.code_modules.push_back(std::move(name));
        });
      }
      return side;
    });
  }

  Conversion Read(json& root) {
    Object(root, {"version", "actionTypes", "source", "target"});
    if (Has(root, "version")) {
      int32_t version = Member(root, "version", [&](json& v) { return Int(v); });
      if (version != 1)
        At("version", [&]() -> int {
          Fail("version " + std::to_string(version) + " is not supported (expected 1)",
               kErrInvalidCall);
        });
    }
    Conversion c;
    ActionTypes(root, c);
    c.source = ReadSide(root, "source", true, c);
    c.target = ReadSide(root, "target", false, c);
    return c;
  }

 private:
  std::string_view text_;
  const std::string& origin_;
  std::vector<PathStep> path_;
  std::unordered_map<std::string, size_t> type_index_;
};

// Builds the document as nlohmann's own parser does, and stops at the first object key that
// its object already has: JSON readers keep one of the two silently, and a save would then
// drop the other. Remembers where that was, for the message.
class DuplicateCheckingSax {
 public:
  explicit DuplicateCheckingSax(json& result) : dom_(result, true) {}

  bool null() {
    Value();
    return dom_.null();
  }
  bool boolean(bool v) {
    Value();
    return dom_.boolean(v);
  }
  bool number_integer(json::number_integer_t v) {
    Value();
    return dom_.number_integer(v);
  }
  bool number_unsigned(json::number_unsigned_t v) {
    Value();
    return dom_.number_unsigned(v);
  }
  bool number_float(json::number_float_t v, const json::string_t& s) {
    Value();
    return dom_.number_float(v, s);
  }
  bool string(json::string_t& v) {
    Value();
    return dom_.string(v);
  }
  bool binary(json::binary_t& v) {
    Value();
    return dom_.binary(v);
  }
  bool start_object(std::size_t n) {
    Value();
    frames_.push_back({true, keys_.size(), 0});
    return dom_.start_object(n);
  }
  bool key(json::string_t& k) {
    for (size_t i = frames_.back().first_key; i < keys_.size(); ++i)
      if (keys_[i] == k) {
        duplicate_ = k;
        return false;
      }
    keys_.push_back(k);
    return dom_.key(k);
  }
  bool end_object() {
    keys_.resize(frames_.back().first_key);
    frames_.pop_back();
    return dom_.end_object();
  }
  bool start_array(std::size_t n) {
    Value();
    frames_.push_back({false, keys_.size(), 0});
    return dom_.start_array(n);
  }
  bool end_array() {
    frames_.pop_back();
    return dom_.end_array();
  }
  bool parse_error(std::size_t position, const std::string& last_token,
                   const nlohmann::detail::exception& ex) {
    return dom_.parse_error(position, last_token, ex);
  }

  // After a stop: the repeated key, and the path of the object that holds it twice (views
  // into this object's keys).
  const std::string& Duplicate() const { return duplicate_; }
  std::vector<PathStep> DuplicatePath() const {
    std::vector<PathStep> path;
    for (size_t f = 0; f + 1 < frames_.size(); ++f) {
      if (frames_[f].object) {
        // The member leading on is the last key this object has seen.
        size_t end = keys_.size();
        for (size_t g = f + 1; g < frames_.size(); ++g)
          if (frames_[g].object) {
            end = frames_[g].first_key;
            break;
          }
        path.emplace_back(std::string_view(keys_[end - 1]));
      } else {
        path.emplace_back(frames_[f].elements - 1);
      }
    }
    return path;
  }

 private:
  struct Frame {
    bool object;
    size_t first_key;  // this object's keys are keys_[first_key, next object's first_key)
    size_t elements;   // an array's elements so far
  };
  void Value() {
    if (!frames_.empty() && !frames_.back().object) ++frames_.back().elements;
  }

  nlohmann::detail::json_sax_dom_parser<json> dom_;
  std::vector<Frame> frames_;
  std::vector<std::string> keys_;
  std::string duplicate_;
};

// nlohmann's message without its own prefix and position.
std::string SyntaxMessage(const std::string& what) {
  size_t column = what.find("column ");
  if (column != std::string::npos) {
    size_t colon = what.find(": ", column);
    if (colon != std::string::npos) return what.substr(colon + 2);
  }
  size_t bracket = what.find("] ");
  return bracket == std::string::npos ? what : what.substr(bracket + 2);
}

ordered_json TextJson(const std::string& text) {
  if (text.find(kCrLf) == std::string::npos) return text;
  ordered_json lines = ordered_json::array();
  for (std::string& line : Split(text, kCrLf)) lines.push_back(std::move(line));
  return lines;
}

ordered_json EventsJson(const std::vector<Event>& events, const Conversion& c) {
  ordered_json out = ordered_json::array();
  for (const Event& e : events) {
    ordered_json event;
    event["name"] = e.name;
    ordered_json actions = ordered_json::array();
    for (const Action& a : e.actions) {
      ordered_json action;
      action["type"] = c.action_types[a.type].name;
      size_t used = a.parameters.size();
      while (used > 0 && a.parameters[used - 1].empty()) --used;
      ordered_json params = ordered_json::array();
      for (size_t i = 0; i < used; ++i) params.push_back(TextJson(a.parameters[i]));
      action["parameters"] = std::move(params);
      actions.push_back(std::move(action));
    }
    event["actions"] = std::move(actions);
    out.push_back(std::move(event));
  }
  return out;
}

ordered_json TextsJson(const std::vector<std::string>& texts) {
  ordered_json out = ordered_json::array();
  for (const std::string& t : texts) out.push_back(TextJson(t));
  return out;
}

ordered_json SideJson(const Side& s, bool source, const Conversion& c) {
  ordered_json side;
  side["type"] = s.type;
  if (source) {
    side["supportsMultipleRecordLayouts"] = s.supports_multiple_layouts;
    side["definesMultipleRecordLayouts"] = s.defines_multiple_layouts;
    side["controlHandle"] = s.control_handle;
  }
  ordered_json layouts = ordered_json::array();
  for (const RecordLayout& l : s.layouts) {
    ordered_json layout;
    layout["name"] = l.name;
    ordered_json fields = ordered_json::array();
    for (const Field& f : l.fields) {
      if (source || f.expression.empty()) {
        fields.push_back(f.name);
      } else {
        ordered_json field;
        field["name"] = f.name;
        field["expression"] = TextJson(f.expression);
        fields.push_back(std::move(field));
      }
    }
    layout["fields"] = std::move(fields);
    if (source) {
      size_t used = kMonitorCount;
      while (used > 0 && l.monitors[used - 1].empty()) --used;
      if (used > 0) {
        ordered_json monitors = ordered_json::array();
        for (size_t i = 0; i < used; ++i) monitors.push_back(TextJson(l.monitors[i]));
        layout["dataChangeMonitors"] = std::move(monitors);
      }
    }
    if (!l.events.empty()) layout["events"] = EventsJson(l.events, c);
    layouts.push_back(std::move(layout));
  }
  side["recordLayouts"] = std::move(layouts);
  side["filters"] = TextsJson(s.filters);
  if (source) side["sortFields"] = TextsJson(s.sort_fields);
  side["events"] = EventsJson(s.events, c);
  if (!source) {
    side["conversionEvents"] = EventsJson(s.conversion_events, c);
    side["codeModules"] = s.code_modules;
  }
  return side;
}

// The file in one read when its size is known; anything unusual goes the general way,
// which also raises the right errors.
std::string ReadDocument(const std::filesystem::path& path) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  if (!ec && size > 0) {
    if (std::FILE* f = OpenFile(path, "rb")) {
      std::string text(size, '\0');
      const bool whole = std::fread(text.data(), 1, size, f) == size && std::fgetc(f) == EOF;
      std::fclose(f);
      if (whole) return text;
    }
  }
  return ReadWholeFile(path);
}

}  // namespace

void ConversionDocument::CheckStorable(std::string_view text) {
  if (!IsValidUtf8(text))
    Raise(kErrInvalidCall,
          "The conversion document holds UTF-8 text; this text is not valid UTF-8");
}

std::shared_ptr<ConversionDocument> ConversionDocument::Parse(
    std::string_view text, const std::string& origin, const std::filesystem::path& base_dir) {
  json root;
  try {
    DuplicateCheckingSax sax(root);
    if (!json::sax_parse(text.begin(), text.end(), &sax)) {
      const std::vector<PathStep> object = sax.DuplicatePath();
      const std::string& key = sax.Duplicate();
      const TextLocation first = LocationOf(text, LocateMemberKey(text, object, key, 0));
      const TextLocation second = LocationOf(text, LocateMemberKey(text, object, key, 1));
      throw Error(kErrInvalidCall, origin + ":" + std::to_string(second.line) + ":" +
                                       std::to_string(second.column) + ": " + PathText(object) +
                                       ": member \"" + key + "\" appears twice (first at line " +
                                       std::to_string(first.line) + ", column " +
                                       std::to_string(first.column) + ")");
    }
  } catch (const json::parse_error& e) {
    size_t offset = e.byte > 0 ? e.byte - 1 : 0;
    TextLocation loc = LocationOf(text, offset);
    throw Error(kErrInvalidCall, origin + ":" + std::to_string(loc.line) + ":" +
                                     std::to_string(loc.column) +
                                     ": malformed JSON: " + SyntaxMessage(e.what()));
  } catch (const json::exception& e) {
    // A number too large for any JSON number type: the message quotes it, so point there.
    std::string message = SyntaxMessage(e.what());
    size_t offset = 0;
    size_t open = message.find('\'');
    size_t close = open == std::string::npos ? open : message.find('\'', open + 1);
    if (close != std::string::npos) {
      size_t at = text.find(message.substr(open + 1, close - open - 1));
      if (at != std::string_view::npos) offset = at;
    }
    TextLocation loc = LocationOf(text, offset);
    throw Error(kErrInvalidCall, origin + ":" + std::to_string(loc.line) + ":" +
                                     std::to_string(loc.column) + ": malformed JSON: " + message);
  }
  Reader reader(text, origin);
  auto doc = std::make_shared<ConversionDocument>();
  {
    // The model is read while the parse tree is still there, so its strings sit between the
    // tree's nodes; once the tree is gone, later work (an inventory of the whole conversion)
    // would allocate into thousands of scattered holes. A copy made before the tree goes
    // lies in one stretch, and the tree and the first model free one large stretch together.
    const Conversion read = reader.Read(root);
    doc->model_ = read;
  }
  doc->base_dir_ = base_dir;
  doc->ResolveModules();
  return doc;
}

std::shared_ptr<ConversionDocument> ConversionDocument::Load(const std::filesystem::path& path) {
  std::string text = ReadDocument(path);
  auto doc = Parse(text, path.string(), path.parent_path());
  doc->path_ = path;
  return doc;
}

std::string ConversionDocument::ToJson() const {
  ordered_json root;
  root["version"] = 1;
  ordered_json types = ordered_json::array();
  for (const ActionType& t : model_.action_types) {
    ordered_json type;
    type["name"] = t.name;
    ordered_json params = ordered_json::array();
    for (const ParameterSlot& p : t.parameters) {
      ordered_json param;
      param["name"] = p.name;
      param["kind"] = p.kind;
      params.push_back(std::move(param));
    }
    type["parameters"] = std::move(params);
    types.push_back(std::move(type));
  }
  root["actionTypes"] = std::move(types);
  if (model_.source) root["source"] = SideJson(*model_.source, true, model_);
  if (model_.target) root["target"] = SideJson(*model_.target, false, model_);
  return root.dump(2) + "\n";
}

}  // namespace kx::host
