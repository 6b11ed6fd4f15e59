// kxexpr apply CONVERSION TEMPLATE-FILE NAME [options], kxexpr apply --undo CONVERSION

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "command.h"
#include "host/checker_object.h"
#include "host/conversion_document.h"
#include "inventory_view.h"
#include "runtime/error.h"
#include "runtime/files.h"
#include "templates/template_apply.h"
#include "templates/templates.h"

namespace kx::cli {

namespace {

namespace fs = std::filesystem;

struct ApplyOptions {
  std::string conversion;
  std::string template_file;
  std::string name;
  std::string walk;
  std::vector<int> types;
  std::vector<std::string> keys;
  std::vector<std::string> sets;
  bool dry_run = false;
  bool yes = false;
  bool check = false;
  bool quiet = false;
  bool undo = false;
};

// The document as it was before the last apply; one step only.
fs::path UndoPath(const fs::path& conversion) {
  return conversion.string() + ".kxundo";
}

// Prompts and the confirmation read the terminal. KXEXPR_INTERACTIVE=1 makes scripts and
// tests count as one.
bool Interactive(const Context& context) {
  if (const char* forced = std::getenv("KXEXPR_INTERACTIVE")) return std::string(forced) == "1";
  return &context.in == &std::cin && ::isatty(0) == 1;
}

bool ReadAnswer(Context& context, std::string& line) {
  if (!std::getline(context.in, line)) return false;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return true;
}

bool Yes(const std::string& answer) {
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes";
}

// The prompt dialog on the terminal: the same texts, the field references as numbered
// choices, and "use the same value for all" as a question of its own.
class TerminalPrompter : public ValuePrompter {
 public:
  explicit TerminalPrompter(Context& context) : context_(context) {}

  ValuePromptAnswer Ask(const ValuePromptRequest& request, ExpressionList& list) override {
    if (!Interactive(context_))
      throw std::runtime_error("no terminal to ask on: " + request.prompt +
                               " (answer it with --set)");
    if (choices_.empty()) {
      auto items = std::make_shared<Items>();
      list.BuildRecordFieldComboDropDownList(items);
      choices_ = std::move(items->rows);
      if (choices_.empty()) choices_.push_back({});  // asked once only
    }
    std::ostream& out = context_.err;
    out << "\n" << request.prompt << "\n" << request.description << "\n";
    if (!request.target.empty()) out << request.target << "\n";
    for (size_t i = 0; i < choices_.size(); ++i)
      if (!choices_[i].empty()) out << "  #" << i + 1 << " " << choices_[i] << "\n";
    ValuePromptAnswer answer;
    std::string line;
    for (;;) {
      out << "Value (#N picks a field, an empty line cancels): " << std::flush;
      if (!ReadAnswer(context_, line) || line.empty()) return answer;
      if (line.find(request.token) == std::string::npos) break;
      out << SelfReferenceMessage(request.token) << "\n";
    }
    answer.value = line;
    if (line.size() > 1 && line.size() < 7 && line[0] == '#' &&
        line.find_first_not_of("0123456789", 1) == std::string::npos) {
      const size_t pick = std::stoul(line.substr(1));
      if (pick >= 1 && pick <= choices_.size() && !choices_[pick - 1].empty())
        answer.value = choices_[pick - 1];
    }
    out << "Use the same value for all selected expressions? [y/N] " << std::flush;
    std::string same;
    if (!ReadAnswer(context_, same)) return answer;
    answer.ok = true;
    answer.same_value = Yes(same);
    return answer;
  }

 private:
  struct Items : Dispatch {
    Variant Call(std::string_view name, const Arguments& args) override {
      if (!IsMember(name, "AddItem")) RaiseNoMember(name);
      rows.push_back(args.at(0).ToText());
      return {};
    }
    std::vector<std::string> rows;
  };
  Context& context_;
  std::vector<std::string> choices_;
};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t from = 0;
  for (size_t at; (at = text.find("\r\n", from)) != std::string::npos; from = at + 2)
    lines.push_back(text.substr(from, at - from));
  if (from < text.size() || lines.empty()) lines.push_back(text.substr(from));
  return lines;
}

// One hunk around the changed middle: what both texts share at the start and end is
// context, the rest is replaced. Linear in the texts' size.
std::string UnifiedDiff(const std::string& label, const std::string& before,
                        const std::string& after) {
  constexpr size_t kContext = 3;
  const std::vector<std::string> a = Lines(before), b = Lines(after);
  size_t head = 0;
  while (head < a.size() && head < b.size() && a[head] == b[head]) ++head;
  size_t tail = 0;
  while (tail < a.size() - head && tail < b.size() - head &&
         a[a.size() - 1 - tail] == b[b.size() - 1 - tail])
    ++tail;
  const size_t lead = std::min(head, kContext), trail = std::min(tail, kContext);
  const size_t first = head - lead;
  const size_t a_count = a.size() - head - tail + lead + trail;
  const size_t b_count = b.size() - head - tail + lead + trail;
  auto range = [&](size_t count) {
    return std::to_string(count == 0 ? first : first + 1) + "," + std::to_string(count);
  };
  std::string out = "--- " + label + "\n+++ " + label + "\n";
  out += "@@ -" + range(a_count) + " +" + range(b_count) + " @@\n";
  for (size_t i = first; i < head; ++i) out += " " + Visible(a[i]) + "\n";
  for (size_t i = head; i < a.size() - tail; ++i) out += "-" + Visible(a[i]) + "\n";
  for (size_t i = head; i < b.size() - tail; ++i) out += "+" + Visible(b[i]) + "\n";
  for (size_t i = a.size() - tail; i < a.size() - tail + trail; ++i)
    out += " " + Visible(a[i]) + "\n";
  return out;
}

void Fail(Context& context, const std::string& message, int code = 1) {
  context.err << "kxexpr: apply: " << message << '\n';
  context.exit_code = code;
}

void RunUndo(const ApplyOptions& o, Context& context) {
  const fs::path undo = UndoPath(o.conversion);
  if (!FileExists(undo)) return Fail(context, "nothing to undo for " + o.conversion);
  WriteFileAtomic(o.conversion, ReadWholeFile(undo));
  fs::remove(undo);
  context.out << "Restored " << o.conversion << " as it was before the last apply\n";
}

// Selected records of one walker, in a list of their own that can be filled and written.
struct Batch {
  std::unique_ptr<ExpressionList> list;
  const Walk* walk;
};

void RunApply(const ApplyOptions& o, Context& context) {
  if (o.undo) return RunUndo(o, context);
  if (o.template_file.empty() || o.name.empty())
    return Fail(context, "CONVERSION, TEMPLATE-FILE and NAME are needed", 2);
  for (int t : o.types)
    if (t == kCodeModuleExpression)
      return Fail(context,
                  "code modules (type 10) are not applied: write-back does not truncate their "
                  "files and --undo could not restore them",
                  2);

  std::vector<const Walk*> walks;
  if (!o.walk.empty()) {
    const Walk* w = FindWalk(o.walk);
    if (!w) return Fail(context, "unknown walk \"" + o.walk + "\"", 2);
    walks.push_back(w);
  } else {
    for (const Walk& w : Walks())
      if (w.type >= 0 && w.type != kCodeModuleExpression) walks.push_back(&w);
  }

  ExprTemplates set;
  set.ProductName("kxexpr");
  if (!FileExists(o.template_file)) return Fail(context, "no template file at " + o.template_file);
  if (!set.LoadFrom(o.template_file)) return Fail(context, "cannot load " + o.template_file);
  ExprTemplateRef tpl = set.Item(o.name);
  if (!tpl) return Fail(context, "no template \"" + o.name + "\" in " + o.template_file);
  for (const std::string& s : o.sets) {
    const size_t eq = s.find('=');
    ExprParameterRef p = eq == std::string::npos ? nullptr : tpl->ParameterbyName(s.substr(0, eq));
    if (!p) return Fail(context, "--set " + s + ": " + o.name + " has no such parameter", 2);
    p->Value(s.substr(eq + 1));
  }
  if (auto looping = SelfReferencingParameter(*tpl))
    return Fail(context,
                "the value of parameter " + *looping + " contains <<" + *looping +
                    ">>; filling it in would never end",
                2);
  ArmPrompts(*tpl);

  auto document = host::ConversionDocument::Load(o.conversion);
  const std::string original = ReadWholeFile(o.conversion);
  std::vector<Batch> batches;
  int32_t selected = 0;
  for (const Walk* w : walks) {
    auto all = std::make_unique<ExpressionList>();
    all->SetSourceControl(document->Source());
    all->SetTargetControl(document->Target());
    w->run(*all, true);
    Batch batch{nullptr, w};
    // Adding looks the key up record by record, so a walk kept whole is not copied.
    if (o.types.empty() && o.keys.empty() && w->type >= 0 && w->type != kCodeModuleExpression) {
      batch.list = std::move(all);
    } else {
      batch.list = std::make_unique<ExpressionList>();
      batch.list->SetSourceControl(document->Source());
      batch.list->SetTargetControl(document->Target());
      for (int32_t i = 1; i <= all->Count(); ++i) {
        ExpressionList::Record r = all->Item(Variant(i));
        if (r->ExpressionType == kCodeModuleExpression) continue;
        bool keep = o.types.empty();
        for (int t : o.types) keep |= t == r->ExpressionType;
        if (keep && !o.keys.empty()) {
          keep = false;
          for (const std::string& k : o.keys)
            keep |= MatchesWildcard(KeyFromVisible(k), r->ExpressionKey);
        }
        if (keep) batch.list->Add(r);
      }
    }
    batch.list->SetTemplateToUse(tpl);
    for (int32_t i = 1; i <= batch.list->Count(); ++i) {
      const ExpressionInfo& r = *batch.list->Item(Variant(i));
      if (auto looping = SelfReferencingParameter(*tpl, &r))
        return Fail(context,
                    Visible(r.ExpressionKey) + " " + Visible(r.Description) + " contains <<" +
                        *looping + ">>, the parameter it would fill " +
                        "in; filling it in would never end",
                    2);
    }
    selected += batch.list->Count();
    if (batch.list->Count() > 0) batches.push_back(std::move(batch));
  }
  if (selected == 0) return Fail(context, "no expression selected");

  TerminalPrompter prompter(context);
  for (Batch& b : batches) {
    bool done = false;
    try {
      done = ApplyTemplatetoStrings(*b.list, prompter);
    } catch (const std::exception& e) {
      return Fail(context, e.what());
    }
    if (!done) return Fail(context, "cancelled; nothing written");
  }

  host::BasicCompiler checker;
  int32_t changed = 0, failed = 0;
  const bool progress = &context.err == &std::cerr && ::isatty(2) == 1 && selected >= 10000;
  for (Batch& b : batches) {
    for (int32_t i = 1; i <= b.list->Count(); ++i) {
      const ExpressionInfo& r = *b.list->Item(Variant(i));
      if (r.ReplacedExpression == r.ExpressionText) continue;
      ++changed;
      if (o.quiet && !o.check) continue;
      const std::string label = std::to_string(r.ExpressionType) + " " + Visible(r.ExpressionKey) +
                                " " + Visible(r.Description);
      if (!o.quiet) context.out << UnifiedDiff(label, r.ExpressionText, r.ReplacedExpression);
      if (o.check) {
        checker.Check(r.ReplacedExpression);
        if (!checker.ErrorText().empty()) {
          ++failed;
          context.err << "kxexpr: apply: check failed for " << label << ": " << checker.ErrorText()
                      << " at " << checker.ErrorStart() << '\n';
        }
      }
    }
  }
  context.out << changed << " of " << selected << (selected == 1 ? " expression" : " expressions")
              << " changed\n";
  if (failed > 0)
    return Fail(context, std::to_string(failed) + " failed the check; nothing written");
  if (o.dry_run || changed == 0) return;
  if (!o.yes) {
    if (!Interactive(context)) return Fail(context, "not a terminal: pass --yes to write");
    context.err << "Write " << changed << " changed expressions to " << o.conversion << "? [y/N] "
                << std::flush;
    std::string answer;
    if (!ReadAnswer(context, answer) || !Yes(answer)) return Fail(context, "nothing written");
  }

  int32_t written = 0;
  for (Batch& b : batches) {
    for (int32_t i = 1; i <= b.list->Count(); ++i) {
      const ExpressionInfo& r = *b.list->Item(Variant(i));
      if (r.ReplacedExpression == r.ExpressionText) continue;
      b.list->ReplaceExpressionInVBX(i);
      if (progress && ++written % 10000 == 0)
        context.err << "\rwritten " << written << " of " << changed << std::flush;
    }
  }
  if (progress) context.err << "\r\n";
  WriteFileAtomic(UndoPath(o.conversion), original);
  document->Save();
  context.out << "Wrote " << o.conversion << " (kxexpr apply --undo " << o.conversion
              << " restores it)\n";
}

CommandRegistrar reg(32, [](CLI::App& app, Context& context) {
  auto o = std::make_shared<ApplyOptions>();
  auto* cmd = app.add_subcommand(
      "apply",
      "Fill a template in for the selected expressions of a conversion document, show the\n"
      "changes as unified diffs and write them back, saving the document once (atomically).\n"
      "Without --walk every walker's expressions are candidates (code modules never are).\n"
      "\"^?\" parameters are asked on the terminal unless --set answers them; without a\n"
      "terminal an unanswered one is an error. The document before the write is kept as\n"
      "CONVERSION.kxundo; 'kxexpr apply --undo CONVERSION' puts it back.");
  cmd->add_option("CONVERSION", o->conversion, "The conversion document (JSON)")->required();
  cmd->add_option("TEMPLATE-FILE", o->template_file, "The template file (.tpl)");
  cmd->add_option("NAME", o->name, "The template's name (ignoring case)");
  std::string walk_help = "Only this walker's expressions:";
  for (const Walk& w : Walks()) walk_help += " " + w.name;
  cmd->add_option("--walk", o->walk, walk_help);
  cmd->add_option("--type", o->types, "Only expressions of this type, 0-9 (repeatable)")
      ->check(CLI::Range(0, 10));
  cmd->add_option("--key", o->keys,
                  "Only expressions whose key matches this pattern (* and ?; \u241B for the "
                  "escape character; repeatable)");
  cmd->add_option("--set", o->sets, "PARAM=VALUE: the parameter's value, asked for no more")
      ->allow_extra_args(false);
  cmd->add_flag("--dry-run", o->dry_run, "Only show the changes");
  cmd->add_flag("--yes", o->yes, "Write without asking");
  cmd->add_flag("--quiet", o->quiet, "Show no diffs, only how many expressions changed");
  cmd->add_flag("--check", o->check,
                "Check every result with the bundled checker; write nothing when one fails");
  cmd->add_flag("--undo", o->undo, "Restore CONVERSION as it was before the last apply");
  cmd->callback([o, &context] { RunApply(*o, context); });
});

}  // namespace

}  // namespace kx::cli
