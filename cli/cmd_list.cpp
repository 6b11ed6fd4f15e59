// kxexpr list [--walk NAME] [--all-parameters] [--json] CONVERSION|-

#include <filesystem>
#include <istream>
#include <iterator>
#include <ostream>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "command.h"
#include "host/conversion_document.h"
#include "inventory_view.h"
#include "runtime/error.h"

namespace kx::cli {

namespace {

struct ListOptions {
  std::string conversion;
  std::string walk;
  bool all_parameters = false;
  bool json = false;
};

void Collect(ExpressionList& list, RecordList& records) {
  for (int32_t i = 1; i <= list.Count(); ++i) records.push_back(list.Item(Variant(i)));
}

// The document at `path`, or on standard input for "-" (code modules then resolve against
// the current folder).
std::shared_ptr<host::ConversionDocument> LoadDocument(const std::string& path, Context& context) {
  if (path != "-") return host::ConversionDocument::Load(path);
  std::string text(std::istreambuf_iterator<char>(context.in), {});
  return host::ConversionDocument::Parse(text, "<stdin>", std::filesystem::current_path());
}

void RunList(const ListOptions& o, Context& context) {
  const Walk* chosen = nullptr;
  if (!o.walk.empty()) {
    chosen = FindWalk(o.walk);
    if (!chosen) {
      context.err << "kxexpr: list: unknown walk \"" << o.walk << "\"; one of:";
      for (const Walk& w : Walks()) context.err << ' ' << w.name;
      context.err << '\n';
      context.exit_code = 2;
      return;
    }
    if (o.all_parameters && !chosen->takes_parameters_flag) {
      context.err << "kxexpr: list: --all-parameters applies to the event walkers only; "
                  << chosen->name << " takes no choice\n";
      context.exit_code = 2;
      return;
    }
  }

#ifdef __GLIBC__
  // Each walker's records are released before the next walker runs; keeping that memory
  // in the process instead of handing it back spares faulting it in again.
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  mallopt(M_TOP_PAD, 16 << 20);
#endif
  auto document = LoadDocument(o.conversion, context);
  const bool parameters_only = !o.all_parameters;
  RecordList records;
  const Walk* failed = nullptr;
  Error failure(0);

  // Without --walk every single walker fills a list of its own: the source and target
  // walkers share key prefixes, so one list would stop at the first shared position.
  std::vector<const Walk*> walks;
  if (chosen) {
    walks.push_back(chosen);
  } else {
    for (const Walk& w : Walks())
      if (w.type >= 0) walks.push_back(&w);
  }
  // JSON goes out walker by walker, so that neither one walker's records nor the text
  // outlive it; the table needs every row for its column widths.
  std::string json = "[";
  bool first = true;
  for (const Walk* w : walks) {
    ExpressionList list;
    list.SetSourceControl(document->Source());
    list.SetTargetControl(document->Target());
    RecordList later;  // the record layouts after the first, in the default listing
    try {
      if (chosen)
        w->run(list, parameters_only);
      else
        WalkEveryLayout(*w, list, parameters_only,
                        [&](Record r) { later.push_back(std::move(r)); });
    } catch (...) {
      failure = CurrentError();
      failed = w;
    }
    if (o.json) {
      auto emit = [&](const ExpressionInfo& record) {
        AppendJsonRecord(json, record, first);
        if (json.size() > (1u << 20)) {
          context.out << json;
          json.clear();
        }
      };
      for (int32_t i = 1; i <= list.Count(); ++i) emit(*list.Item(Variant(i)));
      for (const Record& r : later) emit(*r);
    } else {
      Collect(list, records);
      records.insert(records.end(), later.begin(), later.end());
    }
    if (failed) break;
  }

  if (o.json) {
    json += first ? "]\n" : "\n]\n";
    context.out << json;
  } else {
    context.out << FormatTable(records);
    context.out << records.size() << (records.size() == 1 ? " expression\n" : " expressions\n");
  }
  if (failed) {
    context.err << "kxexpr: list: " << failed->member
                << " stopped: " << Visible(failure.Description()) << " (" << failure.Number()
                << ")\n";
    context.exit_code = 1;
  }
}

CommandRegistrar reg(30, [](CLI::App& app, Context& context) {
  auto o = std::make_shared<ListOptions>();
  auto* cmd = app.add_subcommand(
      "list",
      "List the expressions of a conversion document: type, key, description and text.\n"
      "Without --walk every walker runs into a list of its own, so every expression shows;\n"
      "the record-layout events (types 4, 5) and target fields (8) of every record layout\n"
      "are listed, although the component's walkers keep to layout 0: the command walks the\n"
      "others the same way, with keys srl1..., trl1... and the same descriptions.\n"
      "With --walk one walker or composite runs into one list, exactly as the component\n"
      "does (layout 0 only; a composite stops at the first duplicate key, after listing what\n"
      "it found, and names the key).\n"
      "Keys contain the escape character, shown as \u241B in the table and as \\u001b in JSON.");
  cmd->add_option("CONVERSION", o->conversion,
                  "The conversion document (JSON); \"-\" reads standard input")
      ->required();
  std::string walk_help = "Walker or composite to run:";
  for (const Walk& w : Walks()) walk_help += " " + w.name;
  walk_help += " (or the member name, e.g. BuildSortFieldExpressionList)";
  cmd->add_option("--walk", o->walk, walk_help);
  cmd->add_flag("--all-parameters", o->all_parameters,
                "Event walkers list every non-empty action parameter, not only expressions");
  cmd->add_flag("--json", o->json, "Print a JSON array of the records instead of a table");
  cmd->callback([o, &context] { RunList(*o, context); });
});

}  // namespace

}  // namespace kx::cli
