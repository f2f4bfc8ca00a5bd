// Large inputs whose cost must grow with their size, not with its square:
// gradient stop lists of many stops, and the page file of a deeply nested
// page written as a stream. Peak memory of whole runs is measured outside,
// with bench/make_large_prototypes.py and /usr/bin/time -v (see README).
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "front/backgrounds.hpp"
#include "pagefold/json.hpp"

namespace {

using namespace pagefold;

// A gradient of `n` hexadecimal stops with positions; time per stop stays
// flat as `n` grows.
void SplitStops(benchmark::State& state) {
  std::string list = "to right";
  for (int64_t i = 0; i < state.range(0); ++i) list += ", #0f0 " + std::to_string(i % 100) + "%";
  for (auto _ : state) benchmark::DoNotOptimize(_split_stops(list));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(SplitStops)->Arg(1000)->Arg(8000)->Arg(64000)->Unit(benchmark::kMillisecond);

// A chain of `n` nested windows streamed to nowhere: bytes per second stay
// flat while the text grows with the square of the depth.
void StreamDeepPage(benchmark::State& state) {
  Value page = Value::object({{"text", "x"}});
  for (int64_t i = 0; i < state.range(0); ++i)
    page = Value::object({{"caption", "w"}, {"id", i}, {"window__1", page}});
  size_t bytes = 0;
  for (auto _ : state) {
    dump_to(page, 2, [&](std::string_view piece) { bytes += piece.size(); });
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(StreamDeepPage)->Arg(1000)->Arg(4000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
