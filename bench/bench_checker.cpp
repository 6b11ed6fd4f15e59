// Checker throughput on a generated 10 MB expression file (target: 30 MB/s or more), and
// how much memory one check takes: it should follow the nesting depth, not the text size.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <random>
#include <string>

#include "host/checker_parser.h"

namespace {

std::atomic<size_t> g_live{0};
std::atomic<size_t> g_peak{0};
std::atomic<size_t> g_count{0};

}  // namespace

void* operator new(size_t n) {
  void* p = std::malloc(n ? n : 1);
  if (!p) throw std::bad_alloc();
  size_t live = g_live += malloc_usable_size(p);
  size_t peak = g_peak.load();
  while (live > peak && !g_peak.compare_exchange_weak(peak, live)) {
  }
  ++g_count;
  return p;
}
// This operator pairs with the operator new above, which takes its memory from malloc.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept {
  if (!p) return;
  g_live -= malloc_usable_size(p);
  std::free(p);
}
#pragma GCC diagnostic pop
void operator delete(void* p, size_t) noexcept {
  operator delete(p);
}

namespace {

// A mix of what conversions hold: field tests, concatenations, calls, every construct.
class TextMaker {
 public:
  // One statement or construct, a few lines at most.
  void AppendUnit(std::string& text) {
    const char* fields[] = {"Records(\"Customer\").Fields(\"Name\")", "Fields(\"Amount\")",
                            "Targets(0).Records(\"Out\").Fields(\"Total\")", "[First Name]"};
    std::string f = fields[Pick(4)];
    std::string g = fields[Pick(4)];
    std::string k = std::to_string(n_++);
    switch (Pick(9)) {
      case 0:
        text += "If " + f + " = \"\" Then \"none\" Else Trim$(" + f + ")\r\n";
        break;
      case 1:
        text += "If " + f + " ~ \"x\" And Not " + g + " !~ \"y\" Then\r\n  total = total + " + k +
                " * 2\r\nElse\r\n  total = Left$(" + g + ", 3) & \"-\"\r\nEnd if\r\n";
        break;
      case 2:
        text += "For i = 1 to " + k + " Step 2\r\n    s = s & Mid$(" + f +
                ", i, 1) ' one character\r\nNext 'i\r\n";
        break;
      case 3:
        text +=
            "Select Case " + f + "\r\n  Case \"A\", \"B\"\r\n    code = " + k +
            "\r\n  Case Is >= 10\r\n    code = 0\r\n  Case Else\r\n    code = -1\r\nEnd Select\r\n";
        break;
      case 4:
        text += "While n < " + k + "\r\n  n = n + (1 + n) / 2\r\nWend\r\n";
        break;
      case 5:
        text += "On Error GoTo failed" + k + "\r\nx = CDbl(" + f + ") / " + k + "\r\nfailed" + k +
                ":\r\nResume Next\r\n";
        break;
      case 6:
        text += "Return " + f + " & \" \" & " + g + " Like \"*a*\"\r\n";
        break;
      case 7:
        text += "SetVariable \"Count" + k + "\", GetVariable(\"Count\") + 1\r\nMarkRejected " + f +
                ", , \"why\"\r\n";
        break;
      default:
        text += "total = total + Val(" + f + ") - &H1F Mod 3 ^ 2 \\ 1\r\n";
        break;
    }
  }

  int Pick(int n) { return static_cast<int>(rng_() % static_cast<unsigned>(n)); }

 private:
  std::mt19937 rng_{7};
  int n_ = 0;
};

std::string MakeFlatText(size_t bytes) {
  TextMaker maker;
  std::string text;
  text.reserve(bytes + 512);
  while (text.size() < bytes) maker.AppendUnit(text);
  return text;
}

// A code module: Functions and Subs of a few statements each.
std::string MakeModuleText(size_t bytes) {
  TextMaker maker;
  std::string text;
  text.reserve(bytes + 1024);
  for (int n = 0; text.size() < bytes; ++n) {
    bool function = maker.Pick(2) == 0;
    std::string name = (function ? "Compute" : "Update") + std::to_string(n);
    text += function
                ? "Function " + name + "(ByVal a As String, b, values() As Variant) As Long\r\n"
                : "Sub " + name + "(ByRef target)\r\n";
    for (int i = maker.Pick(6); i >= 0; --i) maker.AppendUnit(text);
    text += function ? "  If b Then Exit Function\r\n  " + name + " = Len(a)\r\nEnd Function\r\n"
                     : "  If target = \"\" Then Exit Sub\r\nEnd Sub\r\n";
  }
  return text;
}

// One loop inside the next, `depth` deep, padded with flat lines up to `bytes`.
std::string MakeNestedText(size_t bytes, int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "While a" + std::to_string(i) + " < 10\r\n";
  std::string closers;
  for (int i = 0; i < depth; ++i) closers += "Wend\r\n";
  text += MakeFlatText(bytes - text.size() - closers.size());
  return text + closers;
}

void Run(benchmark::State& state, const std::string& text) {
  size_t errors = 0;
  for (auto _ : state) {
    auto result = kx::host::CheckExpressionSyntax(text);
    errors = result.size();
    benchmark::DoNotOptimize(result);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  // Working memory of one check, measured apart from the timed loop.
  size_t base = g_live.load();
  g_peak = base;
  size_t count = g_count.load();
  benchmark::DoNotOptimize(kx::host::CheckExpressionSyntax(text));
  state.counters["errors"] = static_cast<double>(errors);
  state.counters["text_MB"] = static_cast<double>(text.size()) / (1 << 20);
  state.counters["peak_heap_bytes"] = static_cast<double>(g_peak.load() - base);
  state.counters["allocations"] = static_cast<double>(g_count.load() - count);
}

void BM_CheckFlat10MB(benchmark::State& state) {
  static const std::string text = MakeFlatText(10 << 20);
  Run(state, text);
}
BENCHMARK(BM_CheckFlat10MB)->Unit(benchmark::kMillisecond);

void BM_CheckModule10MB(benchmark::State& state) {
  static const std::string text = MakeModuleText(10 << 20);
  Run(state, text);
}
BENCHMARK(BM_CheckModule10MB)->Unit(benchmark::kMillisecond);

// Memory should grow with the depth argument and stay flat in the text's size.
void BM_CheckNested10MB(benchmark::State& state) {
  const std::string text = MakeNestedText(10 << 20, static_cast<int>(state.range(0)));
  Run(state, text);
}
BENCHMARK(BM_CheckNested10MB)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
