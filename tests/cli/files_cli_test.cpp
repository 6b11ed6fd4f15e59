// Files and output a user can trust: what `set` saves, what every command does when its
// output cannot be written, and that no control character reaches a terminal raw.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <thread>

#include "host/conversion_document.h"
#include "run_cli.h"

namespace kx::cli {
namespace {

namespace fs = std::filesystem;

// Runs the kxexpr binary with standard output on `out_fd` (standard error to a file);
// returns the wait status.
struct Spawned {
  pid_t pid;
  fs::path err_file;
};
Spawned Spawn(const std::vector<std::string>& args, const fs::path& err_file, int out_fd = -1,
              bool ignore_sigpipe = false) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    if (ignore_sigpipe) ::signal(SIGPIPE, SIG_IGN);
    if (out_fd >= 0) ::dup2(out_fd, 1);
    const int err = ::open(err_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(err, 2);
    std::vector<char*> argv{const_cast<char*>(KXEXPR_BINARY)};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    ::execv(KXEXPR_BINARY, argv.data());
    ::_exit(127);
  }
  return {pid, err_file};
}
int Wait(const Spawned& s) {
  int status = 0;
  ::waitpid(s.pid, &status, 0);
  return status;
}

using FilesCliTest = SampleTest;

// ---- Saving -------------------------------------------------------------------------------

TEST_F(FilesCliTest, SetRefusesAReadOnlyDocumentAndLeavesIt) {
  const std::string before = ReadWholeFile(path_);
  ASSERT_EQ(::chmod(path_.c_str(), 0444), 0);
  Result r = RunCli({"set", path_, "6", "sfilt0", "True"});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find(path_ + " is read-only (no write permission); it is left as it is (70)"),
            std::string::npos)
      << r.err;
  EXPECT_EQ(ReadWholeFile(path_), before);
  struct stat st;
  ASSERT_EQ(::stat(path_.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0444u);
}

TEST_F(FilesCliTest, SetWritesThroughALinkAndKeepsTheMode) {
  fs::create_directories(dir_ / "links");
  fs::create_symlink("../c.json", dir_ / "links" / "doc.json");
  ASSERT_EQ(::chmod(path_.c_str(), 0640), 0);
  Result r = RunCli({"set", (dir_ / "links" / "doc.json").string(), "6", "sfilt0", "True"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_TRUE(fs::is_symlink(dir_ / "links" / "doc.json"));
  EXPECT_EQ(host::ConversionDocument::Load(path_)->Model().source->filters[0], "True");
  struct stat st;
  ASSERT_EQ(::stat(path_.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
}

TEST_F(FilesCliTest, TemplatesRewriteWritesThroughALinkAndRefusesAReadOnlyFile) {
  // Not in canonical form: the reader trims the indentation the writer puts back.
  const std::string loose = ReplaceAll(ReadWholeFile(kTemplates), "  @BeginBody", "@BeginBody");
  ASSERT_NE(loose, ReadWholeFile(kTemplates));
  WriteWholeFile(dir_ / "t.tpl", loose);
  fs::create_symlink("t.tpl", dir_ / "link.tpl");
  Result r = RunCli({"templates", "rewrite", (dir_ / "link.tpl").string()});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_TRUE(fs::is_symlink(dir_ / "link.tpl"));
  EXPECT_EQ(ReadWholeFile(dir_ / "t.tpl"), ReadWholeFile(kTemplates));

  WriteWholeFile(dir_ / "t.tpl", loose);
  ASSERT_EQ(::chmod((dir_ / "t.tpl").c_str(), 0444), 0);
  Result ro = RunCli({"templates", "rewrite", (dir_ / "t.tpl").string()});
  EXPECT_EQ(ro.code, 1);
  EXPECT_NE(ro.err.find("is read-only"), std::string::npos) << ro.err;
  EXPECT_EQ(ReadWholeFile(dir_ / "t.tpl"), loose);
  EXPECT_EQ(RunCli({"templates", "rewrite", "-"}).code, 2);
}

TEST_F(FilesCliTest, ASecondSetWaitsForTheFirstAndNeitherEditIsLost) {
  // This test holds the document's lock while a `kxexpr set` process starts.
  std::optional<FileLock> lock;
  lock.emplace(path_);
  Spawned child = Spawn({"set", path_, "6", "sfilt0", "FromChild"}, dir_ / "err.txt");
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  int status = 0;
  EXPECT_EQ(::waitpid(child.pid, &status, WNOHANG), 0) << "set did not wait for the lock";
  // Our own read-change-write while we hold the lock.
  auto doc = host::ConversionDocument::Load(path_);
  doc->Model().source->sort_fields[0] = "FromTest";
  doc->Save();
  lock.reset();
  status = Wait(child);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << ReadWholeFile(child.err_file);
  auto after = host::ConversionDocument::Load(path_);
  EXPECT_EQ(after->Model().source->filters[0], "FromChild");
  EXPECT_EQ(after->Model().source->sort_fields[0], "FromTest");
}

TEST_F(FilesCliTest, ManySetsAtOnceKeepEveryEdit) {
  // Fields 0-2 and 4 of target layout 0 and 0-1 of layout 1, each set by its own process.
  const std::vector<std::pair<int, int>> fields = {{0, 0}, {0, 1}, {0, 2}, {0, 4}, {1, 0}, {1, 1}};
  std::vector<Spawned> children;
  for (size_t i = 0; i < fields.size(); ++i) {
    const auto [layout, field] = fields[i];
    const std::string key = "trl" + std::to_string(layout) + "|f" + std::to_string(field);
    children.push_back(Spawn({"set", path_, "8", Key(key), "\"e" + std::to_string(i) + "\""},
                             dir_ / ("err" + std::to_string(i))));
  }
  for (const Spawned& c : children) {
    const int status = Wait(c);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << ReadWholeFile(c.err_file);
  }
  auto doc = host::ConversionDocument::Load(path_);
  const auto& layouts = doc->Model().target->layouts;
  for (size_t i = 0; i < fields.size(); ++i)
    EXPECT_EQ(layouts[fields[i].first].fields[fields[i].second].expression,
              "\"e" + std::to_string(i) + "\"");
  // No temporary or lock file stays beside the document.
  for (const auto& e : fs::directory_iterator(dir_))
    EXPECT_NE(e.path().filename().string().front(), '.') << e.path();
}

// ---- Output that cannot be written --------------------------------------------------------

// A stream buffer that takes nothing, like a full disk.
class RefusingBuf : public std::streambuf {
 protected:
  int overflow(int) override { return traits_type::eof(); }
  std::streamsize xsputn(const char*, std::streamsize) override { return 0; }
};

TEST(OutputFailureTest, EveryCommandFailsWhenItsOutputCannotBeWritten) {
  const std::vector<std::vector<std::string>> commands = {
      {"catalogue"},
      {"catalogue", "--json"},
      {"list", kSample},
      {"list", "--json", kSample},
      {"check", "-"},
      {"templates", "list", kTemplates},
      {"templates", "show", "--json", kTemplates, "IfBlank"},
      {"templates", "check", kTemplates},
      {"typelib", kLibrary},
      {"typelib", "--json", kLibrary},
      {"typelib", "--registered"},
      {"--help"},
      {"list", "--help"},
      {"--version"},
  };
  for (const auto& args : commands) {
    SCOPED_TRACE(args.front() + (args.size() > 1 ? " " + args[1] : ""));
    RefusingBuf refusing;
    std::ostream out(&refusing);
    std::ostringstream err;
    std::istringstream in("1 +\n");
    const int code = kx::cli::Run(args, out, err, in);
    EXPECT_NE(code, 0);
    EXPECT_NE(err.str().find("kxexpr: cannot write the output"), std::string::npos) << err.str();
  }
}

TEST_F(FilesCliTest, AFullDiskAndAClosedPipeAreErrors) {
  const int full = ::open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"catalogue"}, {"list", "--json", kSample}, {"--help"}}) {
    Spawned s = Spawn(args, dir_ / "err.txt", full);
    const int status = Wait(s);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << args[0] << " " << status;
    EXPECT_EQ(ReadWholeFile(s.err_file),
              "kxexpr: cannot write the output: No space left on device\n");
  }
  ::close(full);

  // A pipe nobody reads, with SIGPIPE ignored: the write fails instead of killing.
  int pipe_fds[2];
  ASSERT_EQ(::pipe(pipe_fds), 0);
  ::close(pipe_fds[0]);
  Spawned s = Spawn({"list", kSample}, dir_ / "err.txt", pipe_fds[1], true);
  ::close(pipe_fds[1]);
  const int status = Wait(s);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
  EXPECT_EQ(ReadWholeFile(s.err_file), "kxexpr: cannot write the output: Broken pipe\n");
}

// ---- Control characters -------------------------------------------------------------------

// The first raw control character (C0 but line feed and tab, DEL, C1 as UTF-8), or npos.
size_t RawControl(const std::string& s) {
  for (size_t i = 0; i < s.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7F) return i;
    if (c == 0xC2 && i + 1 < s.size() && static_cast<unsigned char>(s[i + 1]) >= 0x80 &&
        static_cast<unsigned char>(s[i + 1]) <= 0x9F)
      return i;
  }
  return std::string::npos;
}

TEST_F(FilesCliTest, NoControlCharacterReachesATerminalRaw) {
  const std::string evil_tpl =
      "@BeginTemplate Red\x1b[31m\r\n  @BeginDescription\r\n    Bell\x07 and\x7f CSI\xC2\x9B"
      "2J\r\n  @EndDescription\r\n  @BeginBody\r\nTrim(<<F\x1b>>)\r\n  @EndBody\r\n"
      "  @BeginParameter\r\n    @Name=F\x1b\r\n    @DefaultValue=\x01x\r\n  @EndParameter\r\n"
      "@EndTemplate Red\r\n";
  WriteWholeFile(dir_ / "evil.tpl", evil_tpl);
  const std::string tpl = (dir_ / "evil.tpl").string();
  WriteWholeFile(dir_ / "evil.json",
                 R"({"source": {"type": "S", "filters": ["a", "b"], "\u001b[2J": 1}})");
  WriteWholeFile(dir_ / "fields.json",
                 "{\"target\": {\"type\": \"T\", \"recordLayouts\": [{\"name\": \"L\\u0007\", "
                 "\"fields\": [{\"name\": \"f\\u001b]0;x\", \"expression\": \"1\"}]}]}}");
  struct Case {
    std::vector<std::string> args;
    std::string input;
    std::string shown;  // what must show instead (on standard output or error)
  };
  const Case cases[] = {
      {{"templates", "list", tpl}, "", "Red^[[31m  - Bell^G and\\u007f CSI\\u009b2J"},
      {{"templates", "show", tpl, "red\x1b[31m"}, "", "<<F^[>>"},
      {{"templates", "show", tpl, "\x1b[2J"}, "", "no template named \"^[[2J\""},
      {{"catalogue", "\x1b]0;title\x07"}, "", "^[]0;title^G"},
      {{"check", "-"}, "x = \x1b\x01\r\n", ""},
      {{"list", (dir_ / "evil.json").string()}, "", "member \"^[[2J\""},
      {{"list", (dir_ / "fields.json").string()}, "", "Target Record (L\xE2\x90\x87)"},
      {{"set", (dir_ / "fields.json").string(), "8", "nokey\x1b[5m", "1"}, "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args[0] + " " + c.args[1]);
    Result r = RunCli(c.args, c.input);
    EXPECT_EQ(RawControl(r.out), std::string::npos) << r.out;
    EXPECT_EQ(RawControl(r.err), std::string::npos) << r.err;
    if (!c.shown.empty()) {
      EXPECT_NE((r.out + r.err).find(c.shown), std::string::npos) << r.out << r.err;
    }
  }

  // JSON spells them as JSON does, so the values survive.
  Result json = RunCli({"templates", "list", "--json", tpl});
  ASSERT_EQ(json.code, 0) << json.err;
  EXPECT_EQ(RawControl(json.out), std::string::npos);
  auto parsed = nlohmann::json::parse(json.out);
  EXPECT_EQ(parsed[0]["name"], "Red\x1b[31m");
  EXPECT_EQ(parsed[0]["description"],
            "Bell\x07 and\x7f CSI\xC2\x9B"
            "2J");
  EXPECT_EQ(parsed[0]["parameters"][0]["defaultValue"], "\x01x");
}

// The filter, byte for byte, against a plain rendering of its rule: every byte value at
// every place of an eight-byte word, and 0xC2 before every continuation byte.
TEST(TerminalFilterTest, EveryByteAtEveryPlaceIsShownByTheRule) {
  auto expected = [](const std::string& s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
      const unsigned char c = static_cast<unsigned char>(s[i]);
      const unsigned char next = i + 1 < s.size() ? static_cast<unsigned char>(s[i + 1]) : 0;
      char hex[8];
      if (c < 0x20 && c != '\n' && c != '\t') {
        out += '^';
        out += static_cast<char>(c + 0x40);
      } else if (c == 0x7F) {
        out += "\\u007f";
      } else if (c == 0xC2 && next >= 0x80 && next <= 0x9F) {
        std::snprintf(hex, sizeof hex, "\\u%04x", next);
        out += hex;
        ++i;
      } else {
        out += static_cast<char>(c);
      }
    }
    return out;
  };
  // One long name of 24-byte blocks, one case each, through a single write.
  std::string name;
  for (int b = 1; b < 256; ++b)
    for (size_t at = 1; at < 18; ++at) {
      std::string block(24, 'a');
      block[at] = static_cast<char>(b);
      name += block;
    }
  for (int b = 0x80; b < 0xC0; ++b)
    for (size_t at = 1; at < 18; ++at) {
      std::string block(24, 'a');
      block[at] = '\xC2';
      block[at + 1] = static_cast<char>(b);
      name += block;
    }
  Result r = RunCli({"catalogue", name});
  const std::string line = expected(name) + "\n";
  ASSERT_EQ(r.out.substr(0, line.size()), line);
}

// ---- Standard input wherever a command takes a file -----------------------------------

TEST(StandardInputTest, DashReadsStandardInputWhereACommandTakesAFile) {
  struct Case {
    std::vector<std::string> args;  // with FILE where the file goes
    std::string file;
  };
  const Case cases[] = {
      {{"list", "FILE"}, kSample},
      {{"list", "--json", "FILE"}, kSample},
      {{"list", "--walk", "sort-fields", "FILE"}, kSample},
      {{"templates", "list", "FILE"}, kTemplates},
      {{"templates", "list", "--json", "FILE"}, kTemplates},
      {{"templates", "show", "FILE", "LookupCode"}, kTemplates},
      {{"templates", "check", "FILE"}, kTemplates},
      {{"typelib", "FILE"}, kLibrary},
      {{"typelib", "--json", "FILE"}, kLibrary},
      {{"check", "--json", "FILE"}, (kData / "modules" / "customer_rules.txt").string()},
  };
  // Code modules of a document on standard input resolve against the current folder.
  const fs::path cwd = fs::current_path();
  fs::current_path(kData);
  for (const Case& c : cases) {
    std::vector<std::string> by_name = c.args, by_stdin = c.args;
    for (auto& a : by_name)
      if (a == "FILE") a = c.file;
    for (auto& a : by_stdin)
      if (a == "FILE") a = "-";
    SCOPED_TRACE(by_stdin[0] + " " + by_stdin[1]);
    Result named = RunCli(by_name);
    Result piped = RunCli(by_stdin, ReadWholeFile(c.file));
    EXPECT_EQ(piped.code, named.code) << piped.err;
    EXPECT_EQ(ReplaceAll(piped.out, "<stdin>", c.file), named.out);
    EXPECT_NE(named.out, "");
  }
  fs::current_path(cwd);

  // The reader's messages name standard input, not the scratch file that holds it.
  Result bad = RunCli({"templates", "check", "-"}, "\r\n");
  EXPECT_EQ(bad.code, 1);
  EXPECT_EQ(bad.err, "Template file: <stdin> is invalid.\n");
  Result doc = RunCli({"list", "-"}, "{\"source\": 1}");
  EXPECT_EQ(doc.code, 1);
  EXPECT_NE(doc.err.find("<stdin>:1:12: source: expected an object"), std::string::npos) << doc.err;
  EXPECT_EQ(RunCli({"set", "-", "6", "sfilt0", "x"}).code, 2);
}

// ---- JSON for catalogue and templates -----------------------------------------------------

TEST(JsonOutputTest, CatalogueAndTemplatesSpeakJson) {
  Result all = RunCli({"catalogue", "--json"});
  ASSERT_EQ(all.code, 0) << all.err;
  auto constructs = nlohmann::json::parse(all.out);
  ASSERT_EQ(constructs.size(), 10u);
  EXPECT_EQ(constructs[0]["name"], "For...Next");
  EXPECT_EQ(constructs[0]["helpContextId"], 4058);
  EXPECT_EQ(constructs[0]["arguments"][0]["name"], "counter");
  EXPECT_TRUE(constructs[0]["arguments"][0]["required"].is_boolean());
  Result one = RunCli({"catalogue", "--json", "Nope"});
  auto unknown = nlohmann::json::parse(one.out);
  EXPECT_EQ(unknown["name"], "Nope");
  EXPECT_EQ(unknown["description"], "<Unknown>");
  EXPECT_EQ(unknown["syntax"], "Nope(???)");

  Result list = RunCli({"templates", "list", "--json", kTemplates});
  ASSERT_EQ(list.code, 0) << list.err;
  auto templates = nlohmann::json::parse(list.out);
  ASSERT_EQ(templates.size(), 7u);
  EXPECT_EQ(templates[0]["name"], "IfBlank");
  EXPECT_EQ(templates[0]["parameters"][0]["defaultValue"], "^f");
  EXPECT_EQ(templates[0]["parameters"][0]["defaultLabel"], "First Field Name");
  EXPECT_TRUE(templates[0]["parameters"][1]["defaultLabel"].is_null());
  Result show = RunCli({"templates", "show", "--json", kTemplates, "dateconvert"});
  ASSERT_EQ(show.code, 0) << show.err;
  auto t = nlohmann::json::parse(show.out);
  EXPECT_EQ(t["name"], "DateConvert");
  EXPECT_NE(t["body"].get<std::string>().find("If IsDate(<<Field>>) Then\r\n"), std::string::npos);
  EXPECT_EQ(t, templates[3]) << "show gives what list gives for that template";
}

}  // namespace
}  // namespace kx::cli
