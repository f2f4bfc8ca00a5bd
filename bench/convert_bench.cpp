// Whole conversions of realistic prototypes: parse, cascade, walk, finish,
// serialise, as a user's run does it, without touching the disk. The figure
// users care about is milliseconds per prototype.
#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "driver/converter.hpp"
#include "finish/finish.hpp"
#include "pagefold/json.hpp"

namespace {

using namespace pagefold;

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

void Convert(benchmark::State& state, const std::string& path) {
  const std::string html = slurp(path);
  if (html.empty()) {
    state.SkipWithError(("cannot read " + path).c_str());
    return;
  }
  const Modules none = Modules::none();
  size_t bytes = 0;
  for (auto _ : state) {
    PageFold conv(std::nullopt, std::nullopt, &none);
    ConvertResult r = conv.convert(html);
    std::vector<std::string> warnings = r.warnings;
    if (r.pages) {
      for (auto& [pid, data] : *r.pages) {
        _finalize_layout(data, warnings);
        bytes += dump(data, 2).size();
      }
    }
    benchmark::DoNotOptimize(bytes);
  }
  state.SetLabel(path.substr(path.find_last_of('/') + 1));
}

// The four shared sample prototypes, as the golden cases keep them.
const std::string kSamples = std::string(PAGEFOLD_SOURCE_DIR) + "/tests/golden";
BENCHMARK_CAPTURE(Convert, demo, std::string(PAGEFOLD_SOURCE_DIR) + "/examples/demo.html")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Convert, login, kSamples + "/sample_login/input.html")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Convert, thermostat, kSamples + "/sample_thermostat/input.html")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Convert, industrial_hmi, kSamples + "/sample_industrial_hmi/input.html")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Convert, wifi_setup, kSamples + "/sample_wifi_setup/input.html")
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
