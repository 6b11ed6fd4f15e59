#include "command.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <streambuf>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "runtime/error.h"
#include "ui/message_box.h"

namespace kx::cli {

namespace {

struct Entry {
  int order;
  CommandSetup setup;
};

std::vector<Entry>& Registry() {
  static std::vector<Entry> entries;
  return entries;
}

// Passes text on to another stream buffer with every control character but line feed and
// tab made visible, so that nothing a document, template or type library holds can drive
// the terminal: C0 controls as ^X (^[ for escape, ^M for a carriage return), DEL and the C1
// controls (U+0080-U+009F) as \u007f ... \u009f, the JSON spelling, so that JSON output stays
// valid and means the same. Remembers the first failure of the buffer below.
class TerminalSafeBuf : public std::streambuf {
 public:
  explicit TerminalSafeBuf(std::streambuf* to) : to_(to) {}

  // Passes on a held-back byte; call once nothing more will be written.
  void Finish() {
    if (pending_c2_) {
      pending_c2_ = false;
      Emit("\xC2", 1);
    }
  }
  bool Failed() const { return failed_; }
  int FailureErrno() const { return failure_errno_; }

 protected:
  int overflow(int c) override {
    if (c == traits_type::eof()) return traits_type::not_eof(c);
    const char ch = static_cast<char>(c);
    return Put(&ch, 1) ? c : traits_type::eof();
  }
  std::streamsize xsputn(const char* s, std::streamsize n) override {
    return Put(s, static_cast<size_t>(n)) ? n : 0;
  }
  int sync() override {
    // A held-back 0xC2 stays held: the next write may make it a C1 control.
    if (failed_) return -1;
    errno = 0;
    if (to_->pubsync() != 0) {
      Fail();
      return -1;
    }
    return 0;
  }

 private:
  void Fail() {
    if (!failed_) failure_errno_ = errno;
    failed_ = true;
  }
  bool Emit(const char* s, size_t n) {
    if (failed_) return false;
    if (n == 0) return true;
    errno = 0;
    if (to_->sputn(s, static_cast<std::streamsize>(n)) != static_cast<std::streamsize>(n)) {
      Fail();
      return false;
    }
    return true;
  }
  bool EmitUnicodeEscape(unsigned char c) {
    static const char kHex[] = "0123456789abcdef";
    const char e[6] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 15]};
    return Emit(e, 6);
  }
  static bool IsC1(unsigned char c) { return c >= 0x80 && c <= 0x9F; }

  // How many bytes from `p` certainly pass unchanged: none of them is below 0x20, 0x7F or
  // 0xC2 (the lead byte of a UTF-8 C1 control). Stops at the first such byte or a little
  // before the end; the caller looks at the rest byte by byte.
  static size_t CleanPrefix(const char* p, size_t n) {
    size_t i = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128i space = _mm_set1_epi8(0x20);
    const __m128i del = _mm_set1_epi8(0x7F);
    const __m128i c2 = _mm_set1_epi8(static_cast<char>(0xC2));
    for (; i + 16 <= n; i += 16) {
      const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
      // Signed compares: 0x00-0x1F are the bytes below 0x20 that are not negative.
      const __m128i control = _mm_andnot_si128(_mm_cmplt_epi8(x, zero), _mm_cmplt_epi8(x, space));
      const __m128i hits =
          _mm_or_si128(control, _mm_or_si128(_mm_cmpeq_epi8(x, del), _mm_cmpeq_epi8(x, c2)));
      if (const int mask = _mm_movemask_epi8(hits))
        return i + std::countr_zero(static_cast<unsigned>(mask));
    }
#endif
    while (i + 8 <= n && !MayNeedEscape(p + i)) i += 8;
    return i;
  }

  // Whether any of the eight bytes at `p` is below 0x20, 0x7F or 0xC2. Exact: the zero-byte
  // tests below never miss one.
  static bool MayNeedEscape(const char* p) {
    constexpr uint64_t kOnes = 0x0101010101010101u;
    constexpr uint64_t kHigh = 0x8080808080808080u;
    uint64_t x;
    std::memcpy(&x, p, sizeof x);
    auto has_zero = [](uint64_t v) { return (v - kOnes) & ~v & kHigh; };
    const uint64_t below_space = (x - kOnes * 0x20) & ~x & kHigh;
    return (below_space | has_zero(x ^ (kOnes * 0x7F)) | has_zero(x ^ (kOnes * 0xC2))) != 0;
  }

  bool Put(const char* s, size_t n) {
    size_t i = 0;
    if (pending_c2_ && n > 0) {
      pending_c2_ = false;
      if (IsC1(static_cast<unsigned char>(s[0]))) {
        if (!EmitUnicodeEscape(static_cast<unsigned char>(s[0]))) return false;
        i = 1;
      } else if (!Emit("\xC2", 1)) {
        return false;
      }
    }
    size_t run = i;  // start of the bytes passed on unchanged
    for (; i < n; ++i) {
      // Past text that needs nothing (nearly all of it) many bytes at a time.
      i += CleanPrefix(s + i, n - i);
      if (i == n) break;
      const unsigned char c = static_cast<unsigned char>(s[i]);
      if (c >= 0x20 && c != 0x7F && c != 0xC2) continue;
      if (c == '\n' || c == '\t') continue;
      if (c == 0xC2) {
        if (i + 1 < n && !IsC1(static_cast<unsigned char>(s[i + 1]))) continue;
        if (!Emit(s + run, i - run)) return false;
        if (i + 1 == n) {
          pending_c2_ = true;
          return true;
        }
        if (!EmitUnicodeEscape(static_cast<unsigned char>(s[i + 1]))) return false;
        ++i;
        run = i + 1;
        continue;
      }
      if (!Emit(s + run, i - run)) return false;
      if (c == 0x7F) {
        if (!EmitUnicodeEscape(c)) return false;
      } else {
        const char caret[2] = {'^', static_cast<char>(c + 0x40)};
        if (!Emit(caret, 2)) return false;
      }
      run = i + 1;
    }
    return Emit(s + run, n - run);
  }

  std::streambuf* to_;
  bool pending_c2_ = false;
  bool failed_ = false;
  int failure_errno_ = 0;
};

// Parses the command line and runs the command on streams that are already made safe.
int RunCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err,
                   std::istream& in);

}  // namespace

CommandRegistrar::CommandRegistrar(int order, CommandSetup setup) {
  Registry().push_back({order, std::move(setup)});
}

std::string DataDir() {
  if (const char* env = std::getenv("KXEXPR_DATA"); env && *env) return env;
  return KX_DATA_DIR;
}

int Run(int argc, const char* const* argv, std::ostream& out, std::ostream& err, std::istream& in) {
  TerminalSafeBuf out_buf(out.rdbuf());
  TerminalSafeBuf err_buf(err.rdbuf());
  std::ostream safe_out(&out_buf);
  std::ostream safe_err(&err_buf);
  int code = RunCommandLine(argc, argv, safe_out, safe_err, in);
  // Output that did not arrive (a full disk, a closed pipe when SIGPIPE is ignored) is a
  // failure like any other: the caller must not take a truncated listing for a whole one.
  out_buf.Finish();
  safe_out.flush();
  if (!safe_out || out_buf.Failed()) {
    const int why = out_buf.FailureErrno();
    safe_err << "kxexpr: cannot write the output"
             << (why != 0 ? std::string(": ") + std::strerror(why) : std::string()) << '\n';
    if (code == 0) code = 1;
  }
  err_buf.Finish();
  safe_err.flush();
  return code;
}

namespace {

int RunCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err,
                   std::istream& in) {
  Context context{out, err, in};
  CLI::App app{
      "kxexpr: the expression builder's tools. Lists and rewrites a conversion's expressions,\n"
      "checks expressions, manages template files, reads type libraries, opens the editor.",
      "kxexpr"};
  app.set_version_flag("--version", std::string("kxexpr ") + KX_VERSION);
  app.require_subcommand(1);
  app.fallthrough(false);

  auto entries = Registry();
  std::stable_sort(entries.begin(), entries.end(),
                   [](const Entry& a, const Entry& b) { return a.order < b.order; });
  for (auto& e : entries) e.setup(app, context);

  // Messages the component would show in a message box go to standard error here.
  ui::StreamMessageBox box(err);
  ui::ScopedMessageBox scoped(box);
  if (argc > 1 && argv[1][0] != '-') {
    bool known = false;
    for (const CLI::App* sub : app.get_subcommands({})) known = known || sub->check_name(argv[1]);
    if (!known) {
      err << "kxexpr: unknown command '" << argv[1] << "'\n";
      err << "Run 'kxexpr --help' for the commands and their options.\n";
      return 2;
    }
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    out << app.help();
    return 0;
  } catch (const CLI::CallForAllHelp& e) {
    out << app.help("", CLI::AppFormatMode::All);
    return 0;
  } catch (const CLI::CallForVersion& e) {
    out << e.what() << '\n';
    return 0;
  } catch (const CLI::ParseError& e) {
    // Help for a subcommand comes through here too.
    if (e.get_exit_code() == 0) {
      out << e.what();
      return 0;
    }
    err << "kxexpr: " << e.what() << '\n';
    err << "Run 'kxexpr --help' for the commands and their options.\n";
    return 2;
  } catch (const Error& e) {
    err << "kxexpr: " << e.Description() << " (" << e.Number() << ")\n";
    return 1;
  } catch (const std::exception& e) {
    err << "kxexpr: " << e.what() << '\n';
    return 1;
  }
  return context.exit_code;
}

}  // namespace

int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
        std::istream& in) {
  std::vector<const char*> argv{"kxexpr"};
  for (const auto& a : args) argv.push_back(a.c_str());
  return Run(static_cast<int>(argv.size()), argv.data(), out, err, in);
}

}  // namespace kx::cli
