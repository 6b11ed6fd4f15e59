#include "edit_script.h"

#include <charconv>
#include <iterator>
#include <span>
#include <sstream>

#include "runtime/error.h"

namespace kx::cli {

namespace {

struct VerbName {
  std::string_view name;
  Verb verb;
};

constexpr VerbName kVerbs[] = {
    {"click-node", Verb::ClickNode}, {"row", Verb::Row},       {"dblclick", Verb::DblClick},
    {"build", Verb::Build},          {"press", Verb::Press},   {"menu", Verb::Menu},
    {"toolbar", Verb::Toolbar},      {"type", Verb::Type},     {"caret", Verb::Caret},
    {"select", Verb::Select},        {"resize", Verb::Resize}, {"close", Verb::Close},
    {"answer", Verb::Answer},        {"dump", Verb::Dump},
};

[[noreturn]] void Fail(const std::string& source, int line, const std::string& what) {
  Raise(kErrInvalidCall, source + ":" + std::to_string(line) + ": " + what);
}

// Splits off the first blank-separated word; `rest` keeps everything after one blank.
std::string_view NextWord(std::string_view& rest) {
  size_t end = rest.find(' ');
  std::string_view word = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  return word;
}

bool ToNumber(std::string_view word, int32_t& value) {
  if (word.empty()) return false;
  auto [ptr, ec] = std::from_chars(word.data(), word.data() + word.size(), value);
  return ec == std::errc() && ptr == word.data() + word.size();
}

// Splits at unescaped "|"; "\|" is a literal bar.
std::vector<std::string> SplitBars(std::string_view text) {
  std::vector<std::string> parts(1);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == '|') {
      parts.back() += '|';
      ++i;
    } else if (text[i] == '|') {
      parts.emplace_back();
    } else {
      parts.back() += text[i];
    }
  }
  for (auto& part : parts) part = Unescape(part);
  return parts;
}

// The steps of the template dialogs' answers and what follows each verb.
struct TemplateStep {
  enum Argument { kNone, kText, kAssignment };
  std::string_view verb;
  Argument argument;
};

constexpr TemplateStep kManagerSteps[] = {
    {"select", TemplateStep::kText}, {"value", TemplateStep::kAssignment},
    {"add", TemplateStep::kNone},    {"edit", TemplateStep::kNone},
    {"remove", TemplateStep::kNone}, {"file", TemplateStep::kNone},
    {"apply", TemplateStep::kNone},  {"close", TemplateStep::kNone},
};
constexpr std::string_view kManagerUsage =
    "select NAME, value PARAM=TEXT, add, edit, remove, file, apply, close";

constexpr TemplateStep kEditorSteps[] = {
    {"name", TemplateStep::kText},
    {"description", TemplateStep::kText},
    {"body", TemplateStep::kText},
    {"type", TemplateStep::kText},
    {"default", TemplateStep::kAssignment},
    {"param-description", TemplateStep::kAssignment},
    {"ok", TemplateStep::kNone},
    {"cancel", TemplateStep::kNone},
};
constexpr std::string_view kEditorUsage =
    "name TEXT, description TEXT, body TEXT, type TEXT, default PARAM=TEXT, "
    "param-description PARAM=TEXT, ok, cancel";

void ParseAnswer(ScriptAction& action, std::string_view rest, const std::string& source) {
  const int line = action.line;
  std::string_view kind = NextWord(rest);
  action.text = std::string(kind);
  if (kind == "file") {
    if (rest.empty()) Fail(source, line, "answer file needs a PATH or 'cancel'");
    action.args = {rest == "cancel" ? std::string("cancel") : "path", Unescape(rest)};
  } else if (kind == "input") {
    action.args = {Unescape(rest)};
  } else if (kind == "message") {
    int32_t button = 0;
    if (!ToNumber(rest, button) || (button != 1 && button != 2 && button != 6 && button != 7))
      Fail(source, line, "answer message needs a button: 1 OK, 2 Cancel, 6 Yes, 7 No");
    action.numbers = {button};
  } else if (kind == "function") {
    std::string_view how = NextWord(rest);
    if (how == "ok") {
      action.args = {"ok"};
      if (!rest.empty())
        for (auto& value : SplitBars(rest)) action.args.push_back(value);
    } else if ((how == "cancel" || how == "close") && rest.empty()) {
      action.args = {std::string(how)};
    } else {
      Fail(source, line, "answer function needs 'ok VALUE|VALUE|...', 'cancel' or 'close'");
    }
  } else if (kind == "prompt") {
    std::string_view how = NextWord(rest);
    if (how == "ok") {
      std::string_view scope = NextWord(rest);
      if (scope != "same" && scope != "every")
        Fail(source, line, "answer prompt ok needs 'same' or 'every' before the text");
      action.args = {"ok", std::string(scope), Unescape(rest)};
    } else if (how == "cancel" && rest.empty()) {
      action.args = {"cancel"};
    } else {
      Fail(source, line, "answer prompt needs 'ok same|every TEXT' or 'cancel'");
    }
  } else if (kind == "find") {
    action.args = {Unescape(rest)};
  } else if (kind == "replace") {
    auto parts = SplitBars(rest);
    if (parts.size() != 2) Fail(source, line, "answer replace needs FIND|REPLACEMENT");
    action.args = parts;
  } else if (kind == "templates" || kind == "template-editor") {
    const bool manager = kind == "templates";
    if (rest.empty()) Fail(source, line, "answer " + std::string(kind) + " needs STEP|STEP|...");
    for (std::string& step : SplitBars(rest)) {
      std::string_view words = step;
      std::string_view verb = NextWord(words);
      const std::span<const TemplateStep> steps =
          manager ? std::span<const TemplateStep>(kManagerSteps) : kEditorSteps;
      const TemplateStep* known = nullptr;
      for (const TemplateStep& each : steps)
        if (each.verb == verb) known = &each;
      if (!known || (known->argument == TemplateStep::kNone && !words.empty()) ||
          (known->argument == TemplateStep::kAssignment &&
           words.find('=') == std::string_view::npos) ||
          (verb == "select" && words.empty()))
        Fail(source, line,
             "answer " + std::string(kind) + ": bad step '" + step + "' (" +
                 std::string(manager ? kManagerUsage : kEditorUsage) + ")");
      action.args.push_back(std::move(step));
    }
  } else {
    Fail(source, line,
         "unknown answer kind '" + std::string(kind) +
             "' (file, input, message, function, prompt, find, replace, templates, "
             "template-editor)");
  }
}

}  // namespace

std::string Unescape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) {
      char next = text[i + 1];
      char resolved = next == 'n' ? '\n' : next == 'r' ? '\r' : next == 't' ? '\t' : next;
      if (next == 'n' || next == 'r' || next == 't' || next == '\\') {
        out += resolved;
        ++i;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}

std::vector<ScriptAction> ParseScript(std::string_view text, const std::string& source) {
  std::vector<ScriptAction> actions;
  int line_number = 0;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    std::string_view line = text.substr(pos, end == std::string_view::npos ? end : end - pos);
    pos = end == std::string_view::npos ? text.size() + 1 : end + 1;
    ++line_number;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    size_t first = line.find_first_not_of(" \t");
    if (first == std::string_view::npos || line[first] == '#') continue;
    std::string_view rest = line.substr(first);
    std::string_view word = NextWord(rest);

    ScriptAction action{Verb::Dump, line_number, {}, {}, {}};
    bool known = false;
    for (const auto& v : kVerbs)
      if (v.name == word) action.verb = v.verb, known = true;
    if (!known) Fail(source, line_number, "unknown action '" + std::string(word) + "'");

    auto numbers = [&](size_t count, const char* usage) {
      std::string_view args = rest;
      for (size_t i = 0; i < count; ++i) {
        int32_t value = 0;
        if (!ToNumber(NextWord(args), value)) Fail(source, line_number, usage);
        action.numbers.push_back(value);
      }
      if (!args.empty()) Fail(source, line_number, usage);
    };
    auto word_arg = [&](const char* usage) {
      if (rest.empty()) Fail(source, line_number, usage);
      action.text = Unescape(rest);
    };
    switch (action.verb) {
      case Verb::ClickNode:
        word_arg("click-node needs a node KEY");
        break;
      case Verb::Row:
        numbers(1, "row needs a row number N (0-based)");
        break;
      case Verb::DblClick:
        numbers(1, "dblclick needs a row number N (0-based)");
        break;
      case Verb::Build:
        numbers(1, "build needs a row number N (0-based)");
        break;
      case Verb::Press:
        word_arg("press needs a CONTROL name, e.g. cmdok");
        break;
      case Verb::Menu:
        word_arg("menu needs a menu item NAME, e.g. mnuEditUndo");
        break;
      case Verb::Toolbar:
        word_arg("toolbar needs a button KEY, e.g. Validate");
        break;
      case Verb::Type:
        action.text = Unescape(rest);
        break;
      case Verb::Caret:
        numbers(1, "caret needs a 1-based position");
        break;
      case Verb::Select:
        numbers(2, "select needs START and LENGTH");
        break;
      case Verb::Resize:
        numbers(2, "resize needs WIDTH and HEIGHT in twips");
        break;
      case Verb::Close:
      case Verb::Dump:
        if (!rest.empty()) Fail(source, line_number, std::string(word) + " takes no argument");
        break;
      case Verb::Answer:
        ParseAnswer(action, rest, source);
        break;
    }
    actions.push_back(std::move(action));
  }
  return actions;
}

std::vector<ScriptAction> ParseScript(std::istream& in, const std::string& source) {
  std::string text(std::istreambuf_iterator<char>(in), {});
  return ParseScript(text, source);
}

}  // namespace kx::cli
