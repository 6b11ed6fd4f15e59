// Template files: load and write speed on generated files of 10,000 and 20,000 templates
// (about 5 and 10 MB), and how load time grows from one to the other (linear is 2.0).

#include <benchmark/benchmark.h>
#include <unistd.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <map>
#include <string>

#include "runtime/files.h"
#include "templates/templates.h"
#include "ui/message_box.h"

namespace {

namespace fs = std::filesystem;

// A set of `count` templates, each with a description, a three-line body and two
// parameters, about 500 bytes in the file.
std::unique_ptr<kx::ExprTemplates> MakeSet(int count) {
  auto set = std::make_unique<kx::ExprTemplates>();
  for (int i = 0; i < count; ++i) {
    auto t = std::make_shared<kx::ExprTemplate>();
    std::string n = std::to_string(i);
    t->Name("Template" + n);
    t->Description("Generated template " + n);
    t->Body("If Trim(<<Field" + n +
            ">>) = \"\" Then\r\nReturn <<Default>>\r\nElse Return Trim(<<Field" + n + ">>)");
    t->ExtractandAddParams();
    t->ParameterbyIndex(1)->DefaultValue("^f");
    t->ParameterbyIndex(1)->Description("Field to test");
    t->ParameterbyIndex(2)->DefaultValue("\"none\"");
    set->Add(t);
  }
  return set;
}

// The generated file for `count` templates, written once per run.
const std::string& FileFor(int count) {
  static std::map<int, std::string> paths;
  auto it = paths.find(count);
  if (it != paths.end()) return it->second;
  std::string path =
      (fs::temp_directory_path() /
       ("kx_bench_templates_" + std::to_string(::getpid()) + "_" + std::to_string(count) + ".tpl"))
          .string();
  kx::WriteWholeFile(path, MakeSet(count)->FileText());
  return paths.emplace(count, path).first->second;
}

struct Cleanup {
  ~Cleanup() {
    std::error_code ec;
    for (int count : {10000, 20000})
      fs::remove(fs::temp_directory_path() / ("kx_bench_templates_" + std::to_string(::getpid()) +
                                              "_" + std::to_string(count) + ".tpl"),
                 ec);
  }
} cleanup;

// The C library defers merging the chunks a release freed to the next large allocation,
// which would charge the release to the load that follows; mallopt consolidates the heap
// before it changes a setting (this one is set to its default).
void FinishReleasing() {
#if defined(__GLIBC__)
  mallopt(M_MXFAST, 64 * sizeof(size_t) / 4);
#endif
}

// One load of the file into an empty set; releasing the set afterwards is not timed. Run
// each size in a process of its own (bench/templates_scaling.sh does): generating and
// loading the larger file leaves gaps in the heap that the smaller one's loads fall into.
void BM_Load(benchmark::State& state) {
  static std::map<int64_t, bool> warm;
  const std::string& path = FileFor(static_cast<int>(state.range(0)));
  kx::ui::RecordingMessageBox box;
  kx::ui::ScopedMessageBox guard(box);
  // A process's first load also takes its memory from the system, which on a virtual
  // machine costs anything from a little to as much as the load; the turns time reloads.
  if (!warm[state.range(0)]) {
    kx::ExprTemplates set;
    set.LoadFrom(path);
    warm[state.range(0)] = true;
  }
  FinishReleasing();
  for (auto _ : state) {
    auto set = std::make_unique<kx::ExprTemplates>();
    if (!set->LoadFrom(path) || set->Count() != state.range(0))
      state.SkipWithError("the generated file did not load whole");
    state.PauseTiming();
    set.reset();
    FinishReleasing();
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(path)));
  state.counters["file_MB"] = static_cast<double>(fs::file_size(path)) / 1e6;
}
BENCHMARK(BM_Load)->Arg(10000)->Arg(20000)->Unit(benchmark::kMillisecond);

void BM_Write(benchmark::State& state) {
  std::string path = FileFor(static_cast<int>(state.range(0)));
  kx::ExprTemplates set;
  set.LoadFrom(path);
  // The writer's bytes, written in place (WriteToFile adds an fsync, which measures the disk).
  std::string out = path + ".out";
  for (auto _ : state) {
    std::string bytes = set.FileText();
    kx::WriteWholeFile(out, bytes);
    benchmark::DoNotOptimize(bytes.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(path)));
  std::error_code ec;
  fs::remove(out, ec);
}
BENCHMARK(BM_Write)->Arg(10000)->Arg(20000)->Unit(benchmark::kMillisecond);

double ThreadSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// Thread CPU seconds of one load into an empty set (releasing the set is not counted).
double TimedLoad(const std::string& path, benchmark::State& state) {
  kx::ExprTemplates set;
  double start = ThreadSeconds();
  bool loaded = set.LoadFrom(path);
  double seconds = ThreadSeconds() - start;
  if (!loaded) state.SkipWithError("the generated file did not load");
  return seconds;
}

// Loads 10,000 and 20,000 templates in turn; "ratio" is the larger's time over the
// smaller's (target: at most 2.1), each the best of the iterations in thread CPU time, so
// that other work on a shared machine does not blur it.
void BM_LoadScaling(benchmark::State& state) {
  const std::string& small = FileFor(10000);
  const std::string& large = FileFor(20000);
  kx::ui::RecordingMessageBox box;
  kx::ui::ScopedMessageBox guard(box);
  double best_small = 1e9, best_large = 1e9;
  for (auto _ : state) {
    best_small = std::min(best_small, TimedLoad(small, state));
    best_large = std::min(best_large, TimedLoad(large, state));
  }
  state.counters["small_ms"] = best_small * 1e3;
  state.counters["large_ms"] = best_large * 1e3;
  state.counters["ratio"] = best_large / best_small;
}
BENCHMARK(BM_LoadScaling)->Unit(benchmark::kMillisecond)->MinTime(3.0);

}  // namespace
