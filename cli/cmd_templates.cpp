// kxexpr templates list|show|check|rewrite FILE: read, inspect and rewrite template files.

#include <unistd.h>

#include <filesystem>
#include <memory>
#include <ostream>

#include "command.h"
#include "runtime/files.h"
#include "runtime/text.h"
#include "templates/templates.h"
#include "ui/message_box.h"

namespace kx::cli {

namespace {

constexpr const char* kProductName = "kxexpr";

// Loads `path` into `set`; false after telling why (the reader's own messages arrive on
// standard error through the message-box service).
bool Load(Context& context, const std::string& path, ExprTemplates& set) {
  if (!FileExists(path)) {
    context.err << "kxexpr: no template file at " << path << '\n';
    context.exit_code = 1;
    return false;
  }
  set.ProductName(kProductName);
  if (!set.LoadFrom(path)) {
    context.exit_code = 1;
    return false;
  }
  return true;
}

// Whether `text`, the canonical form of a set, loads back to the same set. A template name
// holding "@BeginParameter" does not: its end line would start a parameter block.
bool ReadsBack(const std::string& text) {
  namespace fs = std::filesystem;
  fs::path scratch =
      fs::temp_directory_path() / ("kxexpr-rewrite-" + std::to_string(::getpid()) + ".tpl");
  WriteWholeFile(scratch, text);
  ui::RecordingMessageBox quiet;
  bool same = false;
  {
    ui::ScopedMessageBox guard(quiet);
    ExprTemplates again;
    same = again.LoadFrom(scratch.string()) && again.FileText() == text;
  }
  std::error_code ec;
  fs::remove(scratch, ec);
  return same;
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

void List(Context& context, const ExprTemplates& set) {
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

void Show(Context& context, const ExprTemplate& t) {
  std::ostream& out = context.out;
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

  auto* list = templates->add_subcommand(
      "list", "List the templates of FILE with their parameters and default values.");
  list->add_option("FILE", *path, "Template file")->required();
  list->callback([&context, path] {
    ExprTemplates set;
    if (Load(context, *path, set)) List(context, set);
  });

  auto* show = templates->add_subcommand(
      "show", "Show one template of FILE in full (NAME is matched ignoring case).");
  show->add_option("FILE", *path, "Template file")->required();
  show->add_option("NAME", *name, "Template name")->required();
  show->callback([&context, path, name] {
    ExprTemplates set;
    if (!Load(context, *path, set)) return;
    ExprTemplateRef t = set.Item(std::string_view(*name));
    if (!t) {
      context.err << "kxexpr: no template named " << Quoted(*name) << " in " << *path << '\n';
      context.exit_code = 1;
      return;
    }
    Show(context, *t);
  });

  auto* check = templates->add_subcommand(
      "check", "Load FILE; exit status 0 when it loads, 1 with the reader's message otherwise.");
  check->add_option("FILE", *path, "Template file")->required();
  check->callback([&context, path] {
    ExprTemplates set;
    if (Load(context, *path, set))
      context.out << *path << ": " << set.NewEnum().size() << " templates, OK\n";
  });

  auto* rewrite = templates->add_subcommand(
      "rewrite",
      "Rewrite FILE in the canonical form (CR LF line ends, standard indentation), through a\n"
      "temporary file and a rename. A file that does not load is left as it is.");
  rewrite->add_option("FILE", *path, "Template file")->required();
  rewrite->callback([&context, path] {
    ExprTemplates set;
    if (!Load(context, *path, set)) return;
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
