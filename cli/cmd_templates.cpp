// kxexpr templates list|show|check|rewrite FILE: read, inspect and rewrite template files.

#include <istream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>

#include "command.h"
#include "inventory_view.h"
#include "runtime/files.h"
#include "runtime/text.h"
#include "templates/templates.h"
#include "ui/message_box.h"

namespace kx::cli {

namespace {

constexpr const char* kProductName = "kxexpr";

constexpr const char* kStdinName = "<stdin>";

// Passes messages on with one text replaced by another: the reader names the scratch file
// that holds standard input, the user should read "<stdin>".
class RenamingMessageBox : public ui::MessageBoxService {
 public:
  RenamingMessageBox(ui::MessageBoxService& inner, std::string from, std::string to)
      : inner_(inner), from_(std::move(from)), to_(std::move(to)) {}
  int Show(const std::string& text, int flags, const std::string& caption) override {
    return inner_.Show(ReplaceAll(text, from_, to_), flags, caption);
  }

 private:
  ui::MessageBoxService& inner_;
  std::string from_, to_;
};

// A template file given by name, or standard input ("-") kept in a private scratch file for
// as long as the set is read.
class TemplateSource {
 public:
  TemplateSource(const std::string& path, Context& context) : path_(path) {
    if (path != "-") return;
    scratch_.emplace(std::string(std::istreambuf_iterator<char>(context.in), {}), ".tpl");
  }
  bool FromStandardInput() const { return scratch_.has_value(); }
  std::string File() const { return scratch_ ? scratch_->Path().string() : path_; }
  std::string Name() const { return scratch_ ? kStdinName : path_; }

 private:
  std::string path_;
  std::optional<ScratchFile> scratch_;
};

// Loads `source` into `set`; false after telling why (the reader's own messages arrive on
// standard error through the message-box service).
bool Load(Context& context, const TemplateSource& source, ExprTemplates& set) {
  if (!FileExists(source.File())) {
    context.err << "kxexpr: no template file at " << source.Name() << '\n';
    context.exit_code = 1;
    return false;
  }
  set.ProductName(kProductName);
  RenamingMessageBox renaming(ui::CurrentMessageBox(), source.File(), source.Name());
  ui::ScopedMessageBox scoped(renaming);
  if (!set.LoadFrom(source.File())) {
    context.exit_code = 1;
    return false;
  }
  return true;
}

// Whether `text`, the canonical form of a set, loads back to the same set. A template name
// holding "@BeginParameter" does not: its end line would start a parameter block.
bool ReadsBack(const std::string& text) {
  ScratchFile scratch(text, ".tpl");
  ui::RecordingMessageBox quiet;
  ui::ScopedMessageBox guard(quiet);
  ExprTemplates again;
  return again.LoadFrom(scratch.Path().string()) && again.FileText() == text;
}

std::string Quoted(const std::string& value) {
  return "\"" + value + "\"";
}

// A value as the template manager shows it, with the marker's label when it is one.
std::string ValueWithLabel(const std::string& value) {
  if (value.empty()) return "(empty)";
  std::string label = ManagerValueLabel(value);
  return label == value ? value : value + " (" + label + ")";
}

void PrintIndented(std::ostream& out, const std::string& text, const char* indent) {
  for (const std::string& line : Split(text, kCrLf)) out << indent << line << '\n';
}

using nlohmann::ordered_json;

// A template as JSON: texts as UTF-8 (bytes that are not are read as Windows-1252), lines
// joined by CR LF as the set holds them.
ordered_json TemplateJson(const ExprTemplate& t) {
  ordered_json j;
  j["name"] = TextAsUtf8(t.Name());
  j["description"] = TextAsUtf8(t.Description());
  j["body"] = TextAsUtf8(t.Body());
  ordered_json parameters = ordered_json::array();
  t.Parameters().ForEach([&](const ExprParameterRef& p) {
    ordered_json pj;
    pj["name"] = TextAsUtf8(p->Name());
    pj["description"] = TextAsUtf8(p->Description());
    pj["defaultValue"] = TextAsUtf8(p->DefaultValue());
    const std::string label = ManagerValueLabel(p->DefaultValue());
    pj["defaultLabel"] = label == p->DefaultValue() ? ordered_json() : ordered_json(label);
    parameters.push_back(std::move(pj));
  });
  j["parameters"] = std::move(parameters);
  return j;
}

void List(Context& context, const ExprTemplates& set, bool json) {
  if (json) {
    ordered_json all = ordered_json::array();
    for (const ExprTemplateRef& t : set) all.push_back(TemplateJson(*t));
    context.out << all.dump(2) << '\n';
    return;
  }
  for (const ExprTemplateRef& t : set) {
    context.out << t->Name();
    std::string first_line = Split(t->Description(), kCrLf).front();
    if (!first_line.empty()) context.out << "  - " << first_line;
    context.out << '\n';
    t->Parameters().ForEach([&](const ExprParameterRef& p) {
      context.out << "    <<" << p->Name() << ">>  default: " << ValueWithLabel(p->DefaultValue())
                  << '\n';
    });
  }
}

void Show(Context& context, const ExprTemplate& t, bool json) {
  std::ostream& out = context.out;
  if (json) {
    out << TemplateJson(t).dump(2) << '\n';
    return;
  }
  out << "Template: " << t.Name() << '\n';
  out << "Description:\n";
  PrintIndented(out, t.Description(), "  ");
  out << "Body:\n";
  PrintIndented(out, t.Body(), "  ");
  out << "Parameters: " << t.Parameters().Count() << '\n';
  int position = 0;
  t.Parameters().ForEach([&](const ExprParameterRef& p) {
    out << "  " << ++position << ". " << p->Name() << '\n';
    out << "     Default: " << ValueWithLabel(p->DefaultValue()) << '\n';
    out << "     Description:\n";
    PrintIndented(out, p->Description(), "       ");
  });
}

CommandRegistrar reg(20, [](CLI::App& app, Context& context) {
  auto* templates = app.add_subcommand(
      "templates",
      "Read, inspect and rewrite expression template files (.tpl). Messages about a malformed\n"
      "file go to standard error, as the component would show them in a message box.");
  templates->require_subcommand(1);
  auto path = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  const char* file_help = "Template file; \"-\" reads standard input";

  auto* list = templates->add_subcommand(
      "list", "List the templates of FILE with their parameters and default values.");
  list->add_option("FILE", *path, file_help)->required();
  list->add_flag("--json", *json,
                 "Print a JSON array of {name, description, body, parameters: [{name, "
                 "description, defaultValue, defaultLabel}]}");
  list->callback([&context, path, json] {
    TemplateSource source(*path, context);
    ExprTemplates set;
    if (Load(context, source, set)) List(context, set, *json);
  });

  auto* show = templates->add_subcommand(
      "show", "Show one template of FILE in full (NAME is matched ignoring case).");
  show->add_option("FILE", *path, file_help)->required();
  show->add_option("NAME", *name, "Template name")->required();
  show->add_flag("--json", *json, "Print the template as one JSON object, as list --json does");
  show->callback([&context, path, name, json] {
    TemplateSource source(*path, context);
    ExprTemplates set;
    if (!Load(context, source, set)) return;
    ExprTemplateRef t = set.Item(std::string_view(*name));
    if (!t) {
      context.err << "kxexpr: no template named " << Quoted(*name) << " in " << source.Name()
                  << '\n';
      context.exit_code = 1;
      return;
    }
    Show(context, *t, *json);
  });

  auto* check = templates->add_subcommand(
      "check", "Load FILE; exit status 0 when it loads, 1 with the reader's message otherwise.");
  check->add_option("FILE", *path, file_help)->required();
  check->callback([&context, path] {
    TemplateSource source(*path, context);
    ExprTemplates set;
    if (Load(context, source, set))
      context.out << source.Name() << ": " << set.NewEnum().size() << " templates, OK\n";
  });

  auto* rewrite = templates->add_subcommand(
      "rewrite",
      "Rewrite FILE in the canonical form (CR LF line ends, standard indentation), saved like\n"
      "every file kxexpr writes: through a temporary file and a rename, following a symbolic\n"
      "link, keeping owner, group and mode, locked against a second writer from reading to\n"
      "renaming. A file that does not load, or is read-only, is left as it is.");
  rewrite->add_option("FILE", *path, "Template file")->required();
  rewrite->callback([&context, path] {
    if (*path == "-") {
      context.err << "kxexpr: templates rewrite: FILE is written back, so it must be a file, "
                     "not standard input\n";
      context.exit_code = 2;
      return;
    }
    TemplateSource source(*path, context);
    if (!FileExists(*path)) {
      context.err << "kxexpr: no template file at " << *path << '\n';
      context.exit_code = 1;
      return;
    }
    FileLock lock(*path);
    ExprTemplates set;
    if (!Load(context, source, set)) return;
    if (!ReadsBack(set.FileText())) {
      context.err << "kxexpr: " << *path
                  << " is left as it is: its canonical form would not load back the same"
                     " (a template name may not contain \"@BeginParameter\")\n";
      context.exit_code = 1;
      return;
    }
    set.WriteToFile();
    context.out << "Rewrote " << *path << ": " << set.NewEnum().size() << " templates\n";
  });
});

}  // namespace

}  // namespace kx::cli
