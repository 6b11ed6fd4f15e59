// Building the expression inventory of a large generated conversion document.
//   bench_inventory [benchmark flags]        runs the benchmarks
//   bench_inventory --generate N FILE        writes the generated document (N a multiple
//                                            of 1000) for peer comparisons

#include <benchmark/benchmark.h>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "host/conversion_document.h"
#include "inventory/expression_list.h"
#include "runtime/files.h"

namespace {

void Add(std::string& out, const std::string& text) {
  out += '"';
  out += text;
  out += '"';
}

std::string Ref(int layout, int field) {
  return "Records(\\\"L" + std::to_string(layout) + "\\\").Fields(\\\"F" + std::to_string(field) +
         "\\\")";
}

// `n` expressions, all of them listed by the complete-conversion walk (no shared keys):
// per thousand, 600 data change monitors, 50 sort fields, 50 source filters, 100 target
// fields, 100 conversion-event and 100 target-event parameters.
std::string GenerateConversion(int n) {
  const int k = n / 1000;
  std::string out;
  out.reserve(static_cast<size_t>(n) * 80);
  out += R"({"version": 1, "actionTypes": [{"name": "Run", "parameters": [)";
  for (int p = 0; p < 10; ++p) {
    if (p) out += ',';
    out += R"({"name": "P)" + std::to_string(p) + R"(", "kind": 2})";
  }
  out += "]}],\n\"source\": {\"type\": \"Generated\", \"recordLayouts\": [\n";
  for (int l = 0; l < 120 * k; ++l) {
    if (l) out += ",\n";
    out += R"({"name": "L)" + std::to_string(l) +
           R"(", "fields": ["F0", "F1"], "dataChangeMonitors": [)";
    for (int m = 0; m < 5; ++m) {
      if (m) out += ", ";
      Add(out, Ref(l, m) + " & \\\"-" + std::to_string(m) + "\\\"");
    }
    out += "]}";
  }
  out += "],\n\"sortFields\": [";
  for (int s = 0; s < 50 * k; ++s) {
    if (s) out += ",\n";
    Add(out, Ref(s, 0) + " & Format(" + Ref(s, 1) + ", \\\"0000\\\")");
  }
  out += "],\n\"filters\": [";
  for (int f = 0; f < 50 * k; ++f) {
    if (f) out += ",\n";
    Add(out, Ref(f, 2) + " <> \\\"\\\" And " + Ref(f, 3) + " > " + std::to_string(f));
  }
  out +=
      "]},\n\"target\": {\"type\": \"Generated\", \"recordLayouts\": [{\"name\": \"T\", "
      "\"fields\": [\n";
  for (int f = 0; f < 100 * k; ++f) {
    if (f) out += ",\n";
    out += R"({"name": "T)" + std::to_string(f) + R"(", "expression": )";
    Add(out, "Trim(" + Ref(f, 4) + ")");
    out += '}';
  }
  out += "]}],\n";
  for (const char* member : {"conversionEvents", "events"}) {
    out += '"';
    out += member;
    out += "\": [";
    for (int e = 0; e < k; ++e) {
      if (e) out += ",\n";
      out += R"({"name": "E)" + std::to_string(e) + R"(", "actions": [)";
      for (int a = 0; a < 10; ++a) {
        if (a) out += ",\n";
        out += R"({"type": "Run", "parameters": [)";
        for (int p = 0; p < 10; ++p) {
          if (p) out += ", ";
          Add(out, "SetVariable(\\\"V" + std::to_string(p) + "\\\", " + Ref(e, a) + ")");
        }
        out += "]}";
      }
      out += "]}";
    }
    out += member == std::string("events") ? "]\n" : "],\n";
  }
  out += "}}\n";
  return out;
}

// Nor is the work the C library defers from those releases to the next large allocation
// (merging the freed small chunks): that is done untimed too, wherever the build's own large
// arrays come from. mallopt consolidates the heap before it changes a setting; this one is
// set to its default.
void FinishReleasing() {
#if defined(__GLIBC__)
  mallopt(M_MXFAST, 64 * sizeof(size_t) / 4);
#endif
}

// The parsed document of each size, made on first use and kept: repeating a turn then costs
// one build, not a generation and parse as well. The parse leaves the heap fragmented in
// proportion to the document, and the build's allocations land in those gaps, so a fair
// comparison runs each size in a process of its own (as bench/inventory_vs_jq.sh does):
// next to the larger document, the smaller one's builds slow down by half.
kx::host::ConversionDocument& Document(int n) {
  static std::map<int, std::shared_ptr<kx::host::ConversionDocument>> made;
  auto& doc = made[n];
  if (!doc) doc = kx::host::ConversionDocument::Parse(GenerateConversion(n));
  return *doc;
}

std::unique_ptr<kx::ExpressionList> Build(kx::host::ConversionDocument& doc) {
  auto list = std::make_unique<kx::ExpressionList>();
  list->SetSourceControl(doc.Source());
  list->SetTargetControl(doc.Target());
  list->BuildCompleteConversionExpressionList();
  return list;
}

void BM_BuildInventory(benchmark::State& state) {
  static std::map<int64_t, bool> warm;
  kx::host::ConversionDocument& doc = Document(static_cast<int>(state.range(0)));
  // A process's first build also takes its memory from the system, which on a virtual
  // machine costs anything from a little to as much as the build; the turns time rebuilds.
  if (!warm[state.range(0)]) {
    Build(doc).reset();
    FinishReleasing();
    warm[state.range(0)] = true;
  }
  for (auto _ : state) {
    auto list = Build(doc);
    if (list->Count() != state.range(0)) state.SkipWithError("wrong number of expressions");
    benchmark::DoNotOptimize(list->Count());
    // Releasing the records is not part of building them.
    state.PauseTiming();
    list.reset();
    FinishReleasing();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_BuildInventory)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);

void BM_LoadDocument(benchmark::State& state) {
  const std::string text = GenerateConversion(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(kx::host::ConversionDocument::Parse(text));
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_LoadDocument)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--generate") == 0) {
    int n = std::atoi(argv[2]);
    if (n <= 0 || n % 1000 != 0) {
      std::fprintf(stderr, "bench_inventory: N must be a positive multiple of 1000\n");
      return 2;
    }
    kx::WriteWholeFile(argv[3], GenerateConversion(n));
    return 0;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
