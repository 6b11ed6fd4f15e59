// kxexpr edit [CONVERSION [TYPE KEY]] [options] [--headless] [--script FILE|-]

#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <ostream>
#include <sstream>

#include "command.h"
#include "edit_script.h"
#include "edit_session.h"
#include "editor/new_builder.h"
#include "host/checker_object.h"
#include "host/conversion_document.h"
#include "inventory_view.h"
#include "runtime/error.h"
#include "ui/gestures.h"
#include "ui/unanswered.h"

namespace kx::cli {

namespace {

namespace fs = std::filesystem;

struct EditOptions {
  std::string conversion;
  int type = -1;
  std::string key;
  std::string expression;
  bool has_expression = false;
  std::string title, keywords, templates, help_file, font;
  int32_t help_id = 0;
  bool allow_validation = false, allow_templates = false, parameter_button = false;
  std::vector<std::string> lists;
  bool headless = false;
  std::string script;
  std::string screenshot;
};

// Ends the run with exit status 3: the script could not be played. It travels as an
// unanswered dialog does, so that no routine that ignores or reports errors swallows it.
struct ScriptFailure : ui::Unanswered {
  explicit ScriptFailure(const std::string& what) : ui::Unanswered(what) {}
};

// The expression TYPE KEY names, found as `kxexpr set` finds it.
struct Target {
  ExpressionList list;
  int32_t position = 0;
};

void FindExpression(const EditOptions& o, host::ConversionDocument& document, Target& target) {
  const Walk* walk = WalkForType(o.type);
  target.list.SetSourceControl(document.Source());
  target.list.SetTargetControl(document.Target());
  walk->run(target.list, false);
  const std::string key = KeyFromVisible(o.key);
  for (int32_t i = 1; i <= target.list.Count() && target.position == 0; ++i)
    if (target.list.Item(Variant(i))->ExpressionKey == key) target.position = i;
  if (target.position == 0)
    Raise(kErrInvalidCall, "no expression of type " + std::to_string(o.type) + " with key \"" +
                               Visible(key) + "\" in " + o.conversion + "; 'kxexpr list --walk " +
                               walk->name + " --all-parameters " + o.conversion +
                               "' shows the keys");
}

// Plays the script's actions against the editor window, one per line, and queues the
// answers of the dialogs they open.
class Player {
 public:
  Player(EditSession& session, std::vector<ScriptAction> actions, std::ostream& out,
         std::string source)
      : session_(session), actions_(std::move(actions)), out_(out), source_(std::move(source)) {}

  // With a path, a picture of the window is taken before each action and at the end, while
  // the window is up: the last one shows the window as the script left it.
  void TakePictures(std::string path) { picture_ = std::move(path); }

  // Runs while the window is shown modally; returns once it is closed. A failing line ends
  // the run there (the window is closed) and is kept for Failure().
  void Play(ui::ExprBldGestures& window) {
    try {
      while (next_ < actions_.size() && window.IsShown()) {
        const ScriptAction& action = actions_[next_++];
        Picture();
        try {
          Perform(action, window);
        } catch (const ScriptFailure&) {
          throw;
        } catch (const std::logic_error& e) {  // unanswered dialogs, impossible gestures
          throw ScriptFailure(At(action) + e.what());
        }
      }
      Picture();
    } catch (const ScriptFailure& f) {
      if (!failure_) failure_ = f;
    }
    // A script that ends with the window open closes it as the close box does.
    if (window.IsShown()) window.CloseBox();
  }

  // The failure of the run, if any: a failing line, or lines left once the window has
  // closed (they can no longer act on it), or answers never asked for.
  std::optional<ScriptFailure> Failure() const {
    if (failure_) return failure_;
    if (!picture_error_.empty()) return ScriptFailure(picture_error_);
    if (next_ < actions_.size())
      return ScriptFailure(At(actions_[next_]) + "the window is closed; nothing is left to act on");
    auto unused = session_.Unused();
    if (!unused.empty()) return ScriptFailure(source_ + ": answers never asked for: " + unused[0]);
    return std::nullopt;
  }

 private:
  std::string At(const ScriptAction& action) const {
    return source_ + ":" + std::to_string(action.line) + ": ";
  }

  void Picture() {
    if (picture_.empty() || !picture_error_.empty()) return;
    std::string error;
    if (!session_.Screenshot(picture_, error)) picture_error_ = "--screenshot: " + error;
  }

  void Require(bool done, const ScriptAction& action, const std::string& what) {
    if (!done) throw ScriptFailure(At(action) + what);
  }

  void Perform(const ScriptAction& a, ui::ExprBldGestures& view) {
    switch (a.verb) {
      case Verb::ClickNode:
        Require(view.ClickNode(a.text), a, "the tree cannot be clicked now");
        break;
      case Verb::Row:
        Require(view.MoveToRow(a.numbers[0]), a, "the grid cannot be moved now");
        break;
      case Verb::DblClick:
        Require(view.DoubleClickRow(a.numbers[0]), a, "the grid cannot be clicked now");
        break;
      case Verb::Build:
        Require(view.BuildFunction(a.numbers[0]), a, "the grid cannot be clicked now");
        break;
      case Verb::Press:
        Require(view.Press(a.text), a, "the button " + a.text + " is hidden or disabled");
        break;
      case Verb::Menu:
        Require(view.ChooseMenu(a.text), a, "the menu item " + a.text + " is hidden or disabled");
        break;
      case Verb::Toolbar:
        Require(view.ClickToolbar(a.text), a, "the toolbar button " + a.text + " is disabled");
        break;
      case Verb::Type:
        Require(view.Type(a.text), a, "the editor cannot take keystrokes now");
        break;
      case Verb::Caret:
        Require(view.ClickEditor(a.numbers[0]), a, "the editor cannot be clicked now");
        break;
      case Verb::Select:
        view.View().KXEditor1().Select(a.numbers[0], a.numbers[1]);
        break;
      case Verb::Resize:
        view.Resize(a.numbers[0], a.numbers[1]);
        break;
      case Verb::Close:
        view.CloseBox();
        break;
      case Verb::Answer:
        QueueAnswer(a);
        break;
      case Verb::Dump:
        out_ << DumpJson(view) << '\n';
        break;
    }
  }

  void QueueAnswer(const ScriptAction& a) {
    const auto& args = a.args;
    if (a.text == "file") {
      session_.AnswerFile(args[0] == "cancel" ? std::nullopt : std::optional<std::string>(args[1]));
    } else if (a.text == "message") {
      session_.AnswerMessage(a.numbers[0]);
    } else if (a.text == "find") {
      session_.AnswerFind(args[0]);
    } else if (a.text == "replace") {
      session_.AnswerReplace(args[0], args[1]);
    } else if (a.text == "input") {
      session_.AnswerInput(args[0]);
    } else if (a.text == "function") {
      session_.AnswerFunction(args[0], std::vector<std::string>(args.begin() + 1, args.end()));
    } else if (a.text == "templates") {
      session_.AnswerTemplateManager(args);
    } else if (a.text == "template-editor") {
      session_.AnswerTemplateEditor(args);
    } else if (a.text == "prompt") {
      session_.AnswerPrompt(args[0], args.size() > 1 && args[1] == "same",
                            args.size() > 2 ? args[2] : "");
    }
  }

  static void Key(std::string& out, std::string_view name, bool& first) {
    if (!first) out += ',';
    first = false;
    AppendJsonString(out, name);
    out += ':';
  }
  static const char* Bool(bool value) { return value ? "true" : "false"; }

  std::string DumpJson(ui::ExprBldGestures& window) {
    ui::ExprBldView& view = window.View();
    std::string out = "{";
    bool first = true;
    Key(out, "caption", first);
    AppendJsonString(out, view.Form().Caption());

    auto& editor = view.KXEditor1();
    Key(out, "editor", first);
    out += "{\"text\":" + JsonString(editor.Text());
    out += ",\"caret\":" + std::to_string(editor.CaretPosition());
    out += ",\"selection\":[" + std::to_string(editor.SelectionStart()) + "," +
           std::to_string(editor.SelectionLength()) + "]";
    out += ",\"bookmarks\":[";
    bool first_mark = true;
    for (int32_t line : editor.Bookmarks()) {
      if (!first_mark) out += ',';
      first_mark = false;
      out += std::to_string(line);
    }
    const auto [mark_start, mark_length] = editor.ErrorMark();
    out += "],\"keyword_file\":" + JsonString(editor.KeywordFile());
    out +=
        ",\"error_mark\":[" + std::to_string(mark_start) + "," + std::to_string(mark_length) + "]}";

    Key(out, "tree", first);
    out += '[';
    bool first_node = true;
    for (const auto& node : view.TreeView1().Nodes()) {
      if (!first_node) out += ',';
      first_node = false;
      out += "{\"key\":" + JsonString(node.key) + ",\"text\":" + JsonString(node.text) +
             ",\"tag\":" + JsonString(node.tag) + ",\"parent\":" + JsonString(node.parent) +
             ",\"expanded\":" + Bool(node.expanded) + "}";
    }
    out += ']';
    Key(out, "selected_node", first);
    AppendJsonString(out, view.TreeView1().SelectedKey());

    auto& grid = view.ssdgridtokens();
    Key(out, "grid", first);
    out += "{\"rows\":[";
    for (int32_t r = 0; r < grid.Rows(); ++r) {
      if (r) out += ',';
      AppendJsonString(out, grid.CellText(r, 0));
    }
    out += "],\"current\":" + std::to_string(grid.CurrentRow()) + ",\"styles\":[";
    for (int32_t r = 0; r < grid.Rows(); ++r) {
      if (r) out += ',';
      AppendJsonString(out, grid.RowStyle(r));
    }
    out += "]}";

    Key(out, "proto", first);
    out += "[" + JsonString(view.txtproto(0).Caption()) + "," +
           JsonString(view.txtproto(1).Caption()) + "]";
    Key(out, "lblexprerr", first);
    AppendJsonString(out, view.lblexprerr().Caption());

    Key(out, "menus", first);
    out += '{';
    bool first_menu = true;
    for (auto* menu : window.Menus()) {
      Key(out, menu->Name(), first_menu);
      out += std::string("{\"visible\":") + Bool(menu->Visible()) +
             ",\"enabled\":" + Bool(menu->Enabled()) +
             ",\"caption\":" + JsonString(menu->Caption()) + "}";
    }
    out += '}';

    Key(out, "toolbar", first);
    out += '{';
    bool first_button = true;
    auto& bar = view.tbar();
    for (int32_t i = 1; i <= bar.ButtonCount(); ++i) {
      auto& button = bar.Button(i);
      if (button.Key().empty()) continue;
      Key(out, button.Key(), first_button);
      out += std::string("{\"enabled\":") + Bool(button.Enabled()) +
             ",\"tooltip\":" + JsonString(button.ToolTip()) +
             ",\"image\":" + JsonString(button.Image()) + "}";
    }
    out += '}';

    Key(out, "buttons", first);
    out += '{';
    bool first_command = true;
    for (auto* button : window.Commands()) {
      Key(out, button->Name(), first_command);
      out += std::string("{\"visible\":") + Bool(button->Visible()) + "}";
    }
    out += '}';

    Key(out, "bottom_pane", first);
    out += std::string("{\"visible\":") + Bool(view.vselbottom().Visible()) + "}";

    Key(out, "messages", first);
    out += '[';
    bool first_message = true;
    for (const auto& m : session_.Messages()) {
      if (!first_message) out += ',';
      first_message = false;
      out += "{\"text\":" + JsonString(m.text) + ",\"flags\":" + std::to_string(m.flags) +
             ",\"caption\":" + JsonString(m.caption) + "}";
    }
    out += "]}";
    return out;
  }

  EditSession& session_;
  std::vector<ScriptAction> actions_;
  size_t next_ = 0;
  std::ostream& out_;
  std::string source_;
  std::string picture_;
  std::string picture_error_;
  std::optional<ScriptFailure> failure_;
};

// "--list PARENTKEY,NAME,KEY,PIPED": the piped list is everything after the third comma.
bool SplitList(const std::string& list_arg, std::string parts[4]) {
  size_t at = 0;
  for (int i = 0; i < 3; ++i) {
    size_t comma = list_arg.find(',', at);
    if (comma == std::string::npos) return false;
    parts[i] = list_arg.substr(at, comma - at);
    at = comma + 1;
  }
  parts[3] = list_arg.substr(at);
  return true;
}

void RunEdit(const EditOptions& o, Context& context) {
  auto usage = [&](const std::string& what) {
    context.err << "kxexpr: edit: " << what << "\n";
    context.exit_code = 2;
  };
  if (o.type >= 0 && o.key.empty()) return usage("TYPE needs a KEY after it");
  if (o.type >= 0 && o.conversion.empty()) return usage("TYPE KEY need a CONVERSION");
  std::vector<std::array<std::string, 4>> lists;
  for (const auto& list_arg : o.lists) {
    std::string parts[4];
    if (!SplitList(list_arg, parts))
      return usage("--list needs PARENTKEY,NAME,KEY,PIPED (three commas), got \"" + list_arg +
                   "\"");
    lists.push_back({parts[0], parts[1], parts[2], parts[3]});
  }
  FontDesc font;
  if (!o.font.empty()) {
    size_t colon = o.font.rfind(':');
    font.Name = o.font.substr(0, colon);
    if (colon != std::string::npos) {
      try {
        font.Size = std::stod(o.font.substr(colon + 1));
      } catch (...) {
        return usage("--font needs NAME or NAME:SIZE, got \"" + o.font + "\"");
      }
    }
  }

  std::vector<ScriptAction> actions;
  std::string source = o.script == "-" ? "<stdin>" : o.script;
  if (!o.script.empty()) {
    try {
      if (o.script == "-") {
        actions = ParseScript(context.in, source);
      } else {
        std::ifstream file(o.script, std::ios::binary);
        if (!file) return usage("cannot read the script " + o.script);
        actions = ParseScript(file, source);
      }
    } catch (const Error& e) {
      context.err << "kxexpr: edit: " << e.Description() << "\n";
      context.exit_code = 3;
      return;
    }
  }

  std::shared_ptr<host::ConversionDocument> document;
  Target target;
  std::string expression = o.expression;
  if (!o.conversion.empty()) {
    document = host::ConversionDocument::Load(o.conversion);
    if (o.type >= 0) {
      FindExpression(o, *document, target);
      if (!o.has_expression)
        expression = target.list.Item(Variant(target.position))->ExpressionText;
    }
  }

  // The desktop window unless --headless; a script or a picture plays the user there.
  std::unique_ptr<EditSession> session;
  const bool played = !o.script.empty() || !o.screenshot.empty();
  if (o.headless) {
    if (!o.screenshot.empty())
      return usage("--screenshot needs the desktop window, not --headless");
    session = NewHeadlessSession();
  } else {
    std::string why;
    session = NewDesktopSession(played, why);
    if (!session) return usage(why);
  }
  const std::string data = DataDir();
  std::vector<fs::path> keyword_dirs;
  if (!o.conversion.empty()) keyword_dirs.push_back(fs::absolute(o.conversion).parent_path());
  keyword_dirs.push_back(data);
  session->SetKeywordDirs(keyword_dirs);

  ExprBldContext ctx;
  ctx.services = session->Services();
  ctx.registry = OpenRegistryInUse(data + "/kxexpr.reg");
  ctx.new_checker = [] { return std::make_shared<host::BasicCompiler>(); };
  ctx.current_dir = fs::current_path();
  ctx.keyword_dirs = keyword_dirs;
  ctx.library_base = ctx.registry->Folder();

  auto builder = NewExpressionBuilder(ctx);
  if (document) {
    builder->SourceControl(document->Source());
    builder->TargetControl(document->Target());
  }
  builder->Expression(expression);
  builder->FormTitle(o.title);
  builder->KeywordFile(o.keywords);
  builder->TemplateFile(o.templates);
  builder->HelpFile(o.help_file);
  builder->HelpID(o.help_id);
  if (!o.font.empty()) builder->Font(std::make_shared<FontDesc>(font));
  builder->AllowValidation(o.allow_validation);
  builder->AllowTemplates(o.allow_templates);
  builder->ParameterButtonVisible(o.parameter_button);
  for (const auto& l : lists) builder->KXExpressionBuilder_AddList(l[0], l[1], l[2], l[3]);
  builder->KXExpressionBuilder_BuildTree();

  bool accepted = false;
  builder->OnExpressionWritten([&accepted] { accepted = true; });
  Player player(*session, std::move(actions), context.out, source);
  player.TakePictures(o.screenshot);
  if (played || o.headless)
    session->WhenBuilderShown([&player](ui::ExprBldGestures& w) { player.Play(w); });
  std::optional<ScriptFailure> failure;
  try {
    builder->Show(1);
    if (std::exception_ptr escaped = session->TakeFailure()) std::rethrow_exception(escaped);
    failure = player.Failure();
  } catch (const ui::Unanswered& e) {
    failure = ScriptFailure(source + ": " + e.what());
  }
  if (failure) {
    context.err << "kxexpr: edit: " << failure->what() << "\n";
    context.exit_code = 3;
    return;
  }

  if (!accepted) {
    context.exit_code = 1;
    return;
  }
  if (o.type >= 0) {
    auto record = target.list.Item(Variant(target.position));
    record->ReplacedExpression = builder->Expression();
    target.list.ReplaceExpressionInVBX(target.position);
    if (o.type != kCodeModuleExpression) document->Save();
    context.err << "Replaced " << Visible(record->Description) << '\n';
  } else {
    context.out << builder->Expression() << '\n';
  }
}

CommandRegistrar reg(40, [](CLI::App& app, Context& context) {
  auto o = std::make_shared<EditOptions>();
  auto* cmd = app.add_subcommand(
      "edit",
      "Open the expression builder's window on an expression. With CONVERSION the palette\n"
      "lists its records and fields; with TYPE KEY (as 'kxexpr list' shows them) the window\n"
      "edits that expression and OK writes it back and saves the document. Without TYPE KEY\n"
      "OK prints the accepted expression. Exit status: 0 after OK, 1 after Cancel or closing\n"
      "the window, 2 for a usage error, 3 when the script fails. docs/automation.md describes\n"
      "the script language. The window is the desktop's (a display is needed; under\n"
      "xvfb-run or QT_QPA_PLATFORM=offscreen a script can play it) unless --headless.");
  cmd->add_option("CONVERSION", o->conversion, "A conversion document (JSON) for the palette");
  cmd->add_option("TYPE", o->type, "Expression type, 0-10")->check(CLI::Range(0, 10));
  cmd->add_option("KEY", o->key, "Expression key");
  cmd->add_option_function<std::string>(
      "--expression",
      [o](const std::string& text) {
        o->expression = text;
        o->has_expression = true;
      },
      "The text to edit (instead of the document's)");
  cmd->add_option("--title", o->title, "The window's caption (FormTitle)");
  cmd->add_option("--keywords", o->keywords,
                  "The editor's keyword file (default kxsyntax.ini, found next to the "
                  "conversion, then in the data folder)");
  cmd->add_option("--templates", o->templates, "The template file (TemplateFile)");
  cmd->add_option("--help-file", o->help_file, "The help file the Help buttons open");
  cmd->add_option("--help-id", o->help_id, "The help context of the window (HelpID)");
  cmd->add_option("--font", o->font, "The font of every window, NAME or NAME:SIZE");
  cmd->add_flag("--allow-validation", o->allow_validation, "Offer the Validate command");
  cmd->add_flag("--allow-templates", o->allow_templates, "Offer the template command");
  cmd->add_flag("--parameter-button", o->parameter_button,
                "Show the button that inserts a <<parameter>>");
  cmd->add_option("--list", o->lists,
                  "A user list for the palette: PARENTKEY,NAME,KEY,PIPED (items joined by |); "
                  "repeatable")
      ->allow_extra_args(false);
  cmd->add_flag("--headless", o->headless,
                "Use the headless views (no display needed; the user must be a script)");
  cmd->add_option("--script", o->script,
                  "Play user actions from FILE (- for standard input), one per line");
  cmd->add_option("--screenshot", o->screenshot,
                  "Write a PNG of the desktop window as the script leaves it (without a "
                  "script: as it opens, and close it); each dialog the script answers is "
                  "taken too, just before the answer closes it (w.png: w-frmFunction.png)");
  cmd->callback([o, &context] { RunEdit(*o, context); });
});

}  // namespace

}  // namespace kx::cli
