// kxexpr set [--check] [--truncate] CONVERSION TYPE KEY TEXT

#include <istream>
#include <iterator>
#include <ostream>

#include "command.h"
#include "host/checker_object.h"
#include "host/conversion_document.h"
#include "inventory_view.h"
#include "runtime/files.h"

namespace kx::cli {

namespace {

struct SetOptions {
  std::string conversion;
  int type = -1;
  std::string key;
  std::string text;
  bool check = false;
  bool truncate = false;
};

}  // namespace

std::string TextFromStandardInput(std::string_view raw) {
  std::string text;
  text.reserve(raw.size() + raw.size() / 16);
  for (size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == '\n' && (i == 0 || raw[i - 1] != '\r')) text += '\r';
    text += raw[i];
  }
  if (text.size() >= 2 && text.compare(text.size() - 2, 2, "\r\n") == 0)
    text.resize(text.size() - 2);
  return text;
}

namespace {

void RunSet(const SetOptions& o, Context& context) {
  if (o.conversion == "-") {
    context.err << "kxexpr: set: the document is written back, so CONVERSION must be a file, "
                   "not standard input\n";
    context.exit_code = 2;
    return;
  }
  if (o.truncate && o.type != kCodeModuleExpression) {
    context.err << "kxexpr: set: --truncate applies to code modules (type 10) only\n";
    context.exit_code = 2;
    return;
  }
  if (o.check && o.type == kCodeModuleExpression) {
    context.err << "kxexpr: set: --check applies to expressions; the bundled checker does not "
                   "read code modules (Function blocks)\n";
    context.exit_code = 2;
    return;
  }

  std::string text = o.text;
  if (text == "-")
    text = TextFromStandardInput(std::string(std::istreambuf_iterator<char>(context.in), {}));

  if (o.check) {
    host::BasicCompiler checker;
    checker.Check(text);
    if (!checker.Errors().empty()) {
      const char* name = o.text == "-" ? "<stdin>" : "TEXT";
      context.err << "kxexpr: set: the new text has errors; " << o.conversion
                  << " is left as it is\n";
      for (const host::SyntaxError& e : checker.Errors())
        context.err << name << ':' << e.line << ':' << e.column << ": " << e.message << '\n';
      context.exit_code = 1;
      return;
    }
  }

  const Walk* walk = WalkForType(o.type);
  // Read, change and write under one lock: a second `set` on this document waits here and
  // then reads what this one wrote, so neither edit is lost.
  FileLock lock(o.conversion);
  auto document = host::ConversionDocument::Load(o.conversion);
  ExpressionList list;
  list.SetSourceControl(document->Source());
  list.SetTargetControl(document->Target());
  RecordList later;
  // Every non-empty parameter, so that a key listed with or without --all-parameters is
  // found; every record layout, as the default listing shows them.
  WalkEveryLayout(*walk, list, false, [&](Record r) { later.push_back(std::move(r)); });

  const std::string key = KeyFromVisible(o.key);
  Record record;
  for (int32_t i = 1; i <= list.Count() && !record; ++i)
    if (list.Item(Variant(i))->ExpressionKey == key) record = list.Item(Variant(i));
  for (size_t i = 0; i < later.size() && !record; ++i)
    if (later[i]->ExpressionKey == key) record = later[i];
  if (!record) {
    context.err << "kxexpr: set: no expression of type " << o.type << " with key \"" << Visible(key)
                << "\" in " << o.conversion << "; 'kxexpr list --all-parameters " << o.conversion
                << "' shows the keys\n";
    context.exit_code = 1;
    return;
  }

  record->ReplacedExpression = text;
  if (o.type == kCodeModuleExpression && o.truncate) {
    // The file holds the new text and nothing else, saved like any file a user owns.
    WriteFileAtomic(record->ExpressionName, text);
  } else {
    ExpressionList writer;
    writer.SetSourceControl(document->Source());
    writer.SetTargetControl(document->Target());
    writer.Add(record);
    writer.ReplaceExpressionInVBX(1);
    // A code module is its own file, written by the write-back itself.
    if (o.type != kCodeModuleExpression) document->Save();
  }
  context.out << "Replaced " << Visible(record->Description) << '\n';
  if (o.type == kCodeModuleExpression && !o.truncate &&
      text.size() < record->ExpressionText.size()) {
    const size_t tail = record->ExpressionText.size() - text.size();
    context.err << "kxexpr: set: warning: " << record->ExpressionName << " keeps the last " << tail
                << (tail == 1 ? " byte" : " bytes")
                << " of its old text after the new one (a code module is written over, not "
                   "truncated); --truncate writes the new text alone\n";
  }
}

CommandRegistrar reg(31, [](CLI::App& app, Context& context) {
  auto o = std::make_shared<SetOptions>();
  auto* cmd = app.add_subcommand(
      "set",
      "Replace one expression of a conversion document and save the document: atomically,\n"
      "through a symbolic link, keeping its owner, group and mode, under a lock that makes a\n"
      "second 'set' on the same document wait (a read-only document is refused).\n"
      "TYPE and KEY are as 'kxexpr list' shows them (every record layout); \u241B in KEY stands\n"
      "for the escape character. TEXT is taken as given; TEXT '-' reads standard input, whose\n"
      "LF line ends become CR LF and which loses one trailing line end.\n"
      "A code module (type 10) is written over its file without truncating it, as write-back\n"
      "always has: a shorter text leaves the old tail in place (with a warning) unless\n"
      "--truncate is given.");
  cmd->add_option("CONVERSION", o->conversion, "The conversion document (JSON)")->required();
  cmd->add_option("TYPE", o->type, "Expression type, 0-10")->required()->check(CLI::Range(0, 10));
  cmd->add_option("KEY", o->key, "Expression key")->required();
  cmd->add_option("TEXT", o->text, "The new text, or - for standard input")->required();
  cmd->add_flag("--check", o->check,
                "Check the text with the bundled syntax checker first; a text with errors is "
                "not written (exit 1)");
  cmd->add_flag("--truncate", o->truncate,
                "Code modules: save the file with the new text alone (atomically), instead of "
                "writing over its start");
  cmd->callback([o, &context] { RunSet(*o, context); });
});

}  // namespace

}  // namespace kx::cli
