#include "edit_script.h"

#include <gtest/gtest.h>

#include "runtime/error.h"

namespace kx::cli {
namespace {

TEST(EditScript, ParsesEveryActionWithItsArguments) {
  auto actions = ParseScript(
      "# a comment\n"
      "click-node rs0\n"
      "  row 3\r\n"
      "dblclick 0\n"
      "type  If x\\tThen\\n\\\\ # not a comment\n"
      "select 2 5\n"
      "resize 9000 7000\n"
      "answer function ok 5|a\\|b|\n"
      "answer prompt ok same [Name]\n"
      "answer file C:\\\\temp\\x.txt\n"
      "answer replace a|b\n"
      "\n"
      "dump\n"
      // The template dialogs' answers are steps split at bars.
      "answer templates select If\\|Then|value P=a=b|add|apply\n"
      "answer template-editor body x\\r\\n<<A>>|description|default A=^h|ok\n",
      "s");
  ASSERT_EQ(actions.size(), 13u);
  EXPECT_EQ(actions[0].verb, Verb::ClickNode);
  EXPECT_EQ(actions[0].text, "rs0");
  EXPECT_EQ(actions[1].numbers, std::vector<int32_t>{3});
  EXPECT_EQ(actions[1].line, 3);
  EXPECT_EQ(actions[3].text, " If x\tThen\n\\ # not a comment");
  EXPECT_EQ(actions[4].numbers, (std::vector<int32_t>{2, 5}));
  EXPECT_EQ(actions[6].args, (std::vector<std::string>{"ok", "5", "a|b", ""}));
  EXPECT_EQ(actions[7].args, (std::vector<std::string>{"ok", "same", "[Name]"}));
  // "\\" is one backslash; a backslash that starts no escape stays as it is.
  EXPECT_EQ(actions[8].args, (std::vector<std::string>{"path", "C:\\temp\\x.txt"}));
  EXPECT_EQ(actions[9].args, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(actions[10].verb, Verb::Dump);
  EXPECT_EQ(actions[11].text, "templates");
  EXPECT_EQ(actions[11].args,
            (std::vector<std::string>{"select If|Then", "value P=a=b", "add", "apply"}));
  EXPECT_EQ(actions[12].args,
            (std::vector<std::string>{"body x\r\n<<A>>", "description", "default A=^h", "ok"}));
}

TEST(EditScript, NamesTheLineOfEveryMistake) {
  struct Case {
    const char* script;
    const char* message;
  } cases[] = {
      {"wiggle", "s:1: unknown action 'wiggle'"},
      {"\nrow x", "s:2: row needs a row number N (0-based)"},
      {"select 1", "s:1: select needs START and LENGTH"},
      {"click-node", "s:1: click-node needs a node KEY"},
      {"answer message 3", "s:1: answer message needs a button: 1 OK, 2 Cancel, 6 Yes, 7 No"},
      {"answer prompt ok some x", "s:1: answer prompt ok needs 'same' or 'every' before the text"},
      {"answer function maybe",
       "s:1: answer function needs 'ok VALUE|VALUE|...', 'cancel' or 'close'"},
      {"answer tea", "s:1: unknown answer kind 'tea'"},
      {"answer templates select", "s:1: answer templates: bad step 'select' (select NAME"},
      {"answer templates apply|value x", "s:1: answer templates: bad step 'value x'"},
      {"answer templates ok", "s:1: answer templates: bad step 'ok'"},
      {"answer template-editor ok now", "s:1: answer template-editor: bad step 'ok now'"},
      {"dump now", "s:1: dump takes no argument"},
  };
  for (const auto& c : cases) {
    std::string what;
    try {
      ParseScript(c.script, "s");
    } catch (const Error& e) {
      what = e.Description();
    }
    EXPECT_EQ(what.rfind(c.message, 0), 0u) << c.script << " -> " << what;
  }
}

}  // namespace
}  // namespace kx::cli
