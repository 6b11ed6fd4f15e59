// kxexpr set CONVERSION TYPE KEY TEXT

#include <istream>
#include <iterator>
#include <ostream>

#include "command.h"
#include "host/conversion_document.h"
#include "inventory_view.h"

namespace kx::cli {

namespace {

struct SetOptions {
  std::string conversion;
  int type = -1;
  std::string key;
  std::string text;
};

void RunSet(const SetOptions& o, Context& context) {
  const Walk* walk = WalkForType(o.type);
  auto document = host::ConversionDocument::Load(o.conversion);
  ExpressionList list;
  list.SetSourceControl(document->Source());
  list.SetTargetControl(document->Target());
  // Every non-empty parameter, so that a key listed with or without --all-parameters is found.
  walk->run(list, false);

  const std::string key = KeyFromVisible(o.key);
  int32_t position = 0;
  for (int32_t i = 1; i <= list.Count() && position == 0; ++i)
    if (list.Item(Variant(i))->ExpressionKey == key) position = i;
  if (position == 0) {
    context.err << "kxexpr: set: no expression of type " << o.type << " with key \"" << Visible(key)
                << "\" in " << o.conversion << "; 'kxexpr list --walk " << walk->name
                << " --all-parameters " << o.conversion << "' shows the keys\n";
    context.exit_code = 1;
    return;
  }

  std::string text = o.text;
  if (text == "-") text.assign(std::istreambuf_iterator<char>(context.in), {});
  auto record = list.Item(Variant(position));
  record->ReplacedExpression = text;
  list.ReplaceExpressionInVBX(position);
  // A code module is its own file, written by the write-back itself.
  if (o.type != kCodeModuleExpression) document->Save();
  context.out << "Replaced " << Visible(record->Description) << '\n';
}

CommandRegistrar reg(31, [](CLI::App& app, Context& context) {
  auto o = std::make_shared<SetOptions>();
  auto* cmd = app.add_subcommand(
      "set",
      "Replace one expression of a conversion document and save the document (atomically).\n"
      "TYPE and KEY are as 'kxexpr list' shows them; \u241B in KEY stands for the escape\n"
      "character. A code module (type 10) is written over its file without truncating it,\n"
      "as write-back always has. TEXT '-' reads the text from standard input.");
  cmd->add_option("CONVERSION", o->conversion, "The conversion document (JSON)")->required();
  cmd->add_option("TYPE", o->type, "Expression type, 0-10")->required()->check(CLI::Range(0, 10));
  cmd->add_option("KEY", o->key, "Expression key")->required();
  cmd->add_option("TEXT", o->text, "The new text, or - for standard input")->required();
  cmd->callback([o, &context] { RunSet(*o, context); });
});

}  // namespace

}  // namespace kx::cli
