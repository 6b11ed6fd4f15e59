#include <gtest/gtest.h>

#include <cstdlib>

#include "edit_script.h"
#include "host/conversion_document.h"
#include "run_cli.h"
#include "runtime/error.h"

namespace kx::cli {
namespace {

// Runs `kxexpr edit --headless` with `script` on standard input.
Result Edit(std::vector<std::string> args, const std::string& script) {
  ::setenv("KXEXPR_REGISTRY", (kData / "kxexpr.reg").c_str(), 1);
  std::vector<std::string> all = {"edit", "--headless", "--script", "-"};
  all.insert(all.end(), args.begin(), args.end());
  return RunCli(all, script);
}

TEST(EditCli, ScriptsPlayTheUserAndTheExitStatusTellsTheOutcome) {
  const std::vector<std::string> a = {"--expression", "A"}, doc = {kSample};
  const std::vector<std::string> list = {"--list", "root,Colours,colours,red|green", kSample};
  const std::string field = "Records(\"Customer\").Fields(\"CustomerNo\") \n";
  struct Case {
    std::vector<std::string> args;
    const char* script;
    int code;
    std::string out;  // standard output, or when code is 3 how standard error goes on after
                      // "kxexpr: edit: <stdin>"
  } cases[] = {
      // OK prints the text; Cancel, or a script that ends, prints nothing.
      {a, "press cmdAnd\ntype B\npress cmdok\n", 0, "A And B\n"},
      {a, "type B\npress cmdcancel\n", 1, ""},
      {a, "type B\n", 1, ""},
      // A flow-control token, a source field of a layout, a user list.
      {doc, "click-node FC\ndblclick 1\npress cmdok\n", 0, "GoTo label \n"},
      {doc, "click-node rs1\ndblclick 1\npress cmdok\n", 0, field},
      {list, "click-node colours\ndblclick 1\npress cmdok\n", 0, " green \n"},
      // The function dialog or a message box with a question unanswered, an answer never
      // asked for, a line after the window closed, a node that is not there.
      {doc, "click-node All\nbuild 0\n", 3, ":2: "},
      {a, "menu mnuFileOpen\n", 3, ":1: "},
      {a, "answer input x\npress cmdok\n", 3, ": answers never asked for"},
      {{}, "press cmdok\ndump\n", 3, ":2: the window is closed"},
      {{}, "click-node nowhere\n", 3, ":1: "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.script);
    Result r = Edit(c.args, c.script);
    EXPECT_EQ(r.code, c.code) << r.err;
    if (c.code == 3) {
      EXPECT_EQ(r.err.rfind("kxexpr: edit: <stdin>" + c.out, 0), 0u) << r.err;
    } else {
      EXPECT_EQ(r.out, c.out);
    }
  }
}

TEST(EditCli, TheFunctionDialogsValuesMakeTheCall) {
  // The first function of the Text category and its first argument, as the grid shows it.
  Result call =
      Edit({kSample}, "click-node Text\nanswer function ok \"abc\"|2\nbuild 0\npress cmdok\n");
  ASSERT_EQ(call.code, 0) << call.err;
  EXPECT_NE(call.out.find("(\"abc\", 2)"), std::string::npos) << call.out;
}

TEST(EditCli, OptionsReachTheWindowAndDumpShowsIt) {
  Result r =
      Edit({"--expression", "x", "--title", "Mine", "--allow-templates", "--parameter-button"},
           "dump\n");
  ASSERT_EQ(r.code, 1) << r.err;
  for (const char* part :
       {"\"caption\":\"Mine\"", "\"mnuToolsTemplate\":{\"visible\":true",
        "\"mnuToolsValidate\":{\"visible\":false", "\"cmdParam\":{\"visible\":true",
        "\"Template\":{\"enabled\":true", "\"text\":\"x\""})
    EXPECT_NE(r.out.find(part), std::string::npos) << part;
  Result usage = Edit({"--list", "no-commas"}, "");
  EXPECT_EQ(usage.code, 2);
  Result desktop = RunCli({"edit", "--expression", "x"});
  EXPECT_EQ(desktop.code, 2);
  EXPECT_NE(desktop.err.find("--headless"), std::string::npos);
}

class EditFilesTest : public ScratchTest {};

TEST_F(EditFilesTest, OkWritesTheExpressionBackIntoTheConversion) {
  CopySample();
  const std::string path = path_;
  const std::string key = Shown("ce0|a1|p1");

  Result cancel = Edit({path, "0", key}, "type 1\npress cmdcancel\n");
  EXPECT_EQ(cancel.code, 1);
  Result ok = Edit({path, "0", key}, "dump\ntype 1\npress cmdok\n");
  ASSERT_EQ(ok.code, 0) << ok.err;
  EXPECT_NE(ok.out.find("\"text\":\"0\""), std::string::npos);  // the document's text to start
  auto doc = host::ConversionDocument::Load(path);
  EXPECT_EQ(doc->Model().target->conversion_events[0].actions[1].parameters[1], "01");

  Result missing = Edit({path, "0", "nokey"}, "press cmdok\n");
  EXPECT_NE(missing.code, 0);
  EXPECT_NE(missing.err.find("nokey"), std::string::npos);
}

TEST_F(EditFilesTest, TheTemplateDialogsArePlayedStepByStep) {
  const std::string file = (dir_ / "t.tpl").string();
  const std::vector<std::string> args = {"--expression", "a + b", "--allow-templates",
                                         "--templates", file};
  Result r = Edit(args,
                  "answer template-editor name Wrap|type Trim(<<F>>) & <<G>>|"
                  "default F=Highlighted Text|ok\n"
                  "answer prompt ok every [x]\n"
                  "answer templates add|value G=Prompt for Value|apply\n"
                  "select 5 1\ntoolbar Template\npress cmdok\n");
  EXPECT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out, "a + Trim(b) & [x]\n");
  EXPECT_NE(ReadWholeFile(file).find("@BeginTemplate Wrap"), std::string::npos);

  const struct {
    const char* script;
    const char* err;
  } failures[] = {
      {"answer templates select Nope|close\ntoolbar Template\n",
       "kxexpr: edit: <stdin>:2: frmtemplate: step 'select Nope': ssdgridtemplates has no row"},
      {"answer templates close|apply\ntoolbar Template\n",
       "kxexpr: edit: <stdin>:2: frmtemplate is closed before the step 'apply'"},
      {"answer template-editor name Wrap|ok\nanswer templates add|close\ntoolbar Template\n",
       "kxexpr: edit: <stdin>:3: the modal window frmtempladd is still open"},
  };
  for (const auto& f : failures) {
    Result failed = Edit(args, f.script);
    EXPECT_EQ(failed.code, 3) << f.script;
    EXPECT_EQ(failed.err.rfind(f.err, 0), 0u) << failed.err;
  }
}

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
