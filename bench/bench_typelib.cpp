// Reading a large type library completely: every type, member, parameter and default of
// Wine's mshtml.tlb (or $KX_BENCH_TYPELIB). bench/typelib_vs_wine.sh compares the time with
// Wine's LoadTypeLibEx and the same walk.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "runtime/files.h"
#include "typelib/typelib.h"

namespace {

std::string LibraryPath() {
  if (const char* p = std::getenv("KX_BENCH_TYPELIB"); p && *p) return p;
  return "/usr/lib/x86_64-linux-gnu/wine/x86_64-windows/mshtml.tlb";
}

void BM_ReadTypeLibraryCompletely(benchmark::State& state) {
  const std::string path = LibraryPath();
  if (!kx::FileExists(path)) {
    state.SkipWithError(("missing " + path).c_str());
    return;
  }
  size_t members = 0, params = 0, defaults = 0;
  for (auto _ : state) {
    kx::typelib::Library lib =
        kx::typelib::OpenLibrary(path, kx::typelib::MakeFileImportResolver(path));
    members = params = defaults = 0;
    for (const auto& t : lib.types) {
      members += t.functions.size() + t.variables.size();
      for (const auto& f : t.functions) {
        params += f.params.size();
        for (const auto& p : f.params) defaults += p.has_default;
      }
    }
    benchmark::DoNotOptimize(members);
  }
  state.counters["members"] = static_cast<double>(members);
  state.counters["params"] = static_cast<double>(params);
  state.counters["defaults"] = static_cast<double>(defaults);
}
BENCHMARK(BM_ReadTypeLibraryCompletely)->Unit(benchmark::kMillisecond);

}  // namespace
