// `kxexpr edit` on the desktop window: the same scripts play it as the headless one.

#include <gtest/gtest.h>

#include <QImage>
#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "runtime/files.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

struct Outcome {
  int code;
  std::string out, err;
};

// Runs kxexpr under `env` (VAR=value words for env(1)) with the script as standard input.
Outcome Kxexpr(const std::string& env, const std::string& args, const std::string& script) {
  QTemporaryDir dir;
  const fs::path folder = dir.path().toStdString();
  WriteWholeFile(folder / "script.txt", script);
  // A run that waits for a user who never comes fails on the timeout instead of hanging.
  std::string command = "cd '" + folder.string() + "' && env " + env +
                        " timeout 60 '" KXEXPR_BINARY "' edit " + args +
                        " --script script.txt > out.txt 2> err.txt";
  int status = std::system(command.c_str());
  return {WEXITSTATUS(status), ReadWholeFile(folder / "out.txt"),
          ReadWholeFile(folder / "err.txt")};
}

const std::string kSample = "'" KX_SOURCE_DIR "/data/sample-conversion.json'";
const std::string kDesktop = "QT_QPA_PLATFORM=offscreen";
const std::string kHeadless = "-u DISPLAY";

TEST(EditCommand, OneScriptPlaysTheDesktopAndTheHeadlessWindowAlike) {
  const std::string script =
      "click-node FC\n"
      "row 3\n"
      "dblclick 2\n"
      "answer function ok x > 1|yes|no\n"
      "build 2\n"
      "menu mnuToolsToggleBookmark\n"
      "toolbar Toggle\n"
      "answer replace yes|YES\n"
      "menu mnuEditReplace\n"
      "menu mnuToolsValidate\n"
      "select 1 2\n"
      "type ' said\\r\\n\n"
      "resize 9000 6000\n"
      "dump\n"
      "answer input rate\n"
      "press cmdParam\n"
      "dump\n"
      "press cmdok\n";
  const std::string args = kSample + " --allow-validation --parameter-button";
  Outcome headless = Kxexpr(kHeadless, args + " --headless", script);
  Outcome desktop = Kxexpr(kDesktop, args, script);
  ASSERT_EQ(headless.code, 0) << headless.err;
  EXPECT_EQ(desktop.code, 0) << desktop.err;
  EXPECT_EQ(desktop.out, headless.out);
  EXPECT_NE(desktop.out.find("<<rate>>"), std::string::npos);
  EXPECT_EQ(desktop.out.find("\"bookmarks\":[]"), std::string::npos);
}

TEST(EditCommand, DesktopScriptsFailWhereTheHeadlessOnesFail) {
  struct Case {
    std::string script, error;
  };
  const Case cases[] = {
      {"click-node FC\nbuild 2\n", "script.txt:2: nobody answered the modal window frmFunction"},
      {"click-node nowhere\n", "script.txt:1: TreeView1 has no node \"nowhere\""},
      {"menu mnuFileOpen\n", "script.txt:1: nobody answered the file dialog"},
      {"answer input x\npress cmdok\n", "answers never asked for"},
  };
  for (const Case& c : cases) {
    for (const std::string& env : {kHeadless, kDesktop}) {
      Outcome run = Kxexpr(env, kSample + (env == kHeadless ? " --headless" : ""), c.script);
      EXPECT_EQ(run.code, 3) << c.script << env;
      EXPECT_NE(run.err.find(c.error), std::string::npos) << env << ": " << run.err;
    }
  }
  // A dialog the desktop session cannot play fails the run instead of waiting for a user.
  Outcome manager = Kxexpr(
      kDesktop, kSample + " --templates '" KX_SOURCE_DIR "/data/sample.tpl' --allow-templates",
      "toolbar Template\n");
  EXPECT_EQ(manager.code, 3);
  EXPECT_NE(manager.err.find("frmtemplate"), std::string::npos) << manager.err;
}

TEST(EditCommand, ScreenshotAndNoDisplay) {
  QTemporaryDir dir;
  const std::string png = dir.filePath("window.png").toStdString();
  Outcome shot = Kxexpr(kDesktop, kSample + " --screenshot '" + png + "'",
                        "click-node Text\nanswer function ok x|2\nbuild 0\n");
  EXPECT_EQ(shot.code, 1) << shot.err;  // the script ends with the window open: closed
  QImage image(QString::fromStdString(png));
  EXPECT_FALSE(image.isNull());
  EXPECT_GE(image.width(), 560);
  // The answered dialog, taken with its values in: a picture of its own, smaller than the
  // window's.
  QImage dialog(dir.filePath("window-frmFunction.png"));
  ASSERT_FALSE(dialog.isNull());
  EXPECT_LT(dialog.width() * dialog.height(), image.width() * image.height());

  Outcome none = Kxexpr("-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM", kSample, "");
  EXPECT_EQ(none.code, 2);
  EXPECT_NE(none.err.find("xvfb-run"), std::string::npos) << none.err;
}

}  // namespace
}  // namespace kx
