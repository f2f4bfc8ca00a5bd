// The inner stages on one generated screen of mixed controls: tokeniser and
// tree builder (MB/s of markup), the conversion up to finished pages
// (controls/s), and the page writer (MB/s of JSON). bench/run.py measures the
// whole process; these cases show which stage moved.
#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "driver/converter.hpp"
#include "finish/finish.hpp"
#include "front/dom.hpp"
#include "pagefold/json.hpp"

namespace {

using namespace pagefold;

// A screen of `n` controls: text, buttons and windows with three children,
// inline styles and a few classes, as bench/gen_prototypes.py writes them.
std::string mixed_screen(int n) {
  std::mt19937 rng(7);
  auto pick = [&rng](int k) { return std::uniform_int_distribution<int>(0, k - 1)(rng); };
  auto box = [&] {
    return "style=\"left:" + std::to_string(pick(700)) + "px;top:" + std::to_string(pick(400)) +
           "px;width:" + std::to_string(80 + pick(200)) +
           "px;height:" + std::to_string(20 + pick(40)) +
           "px;font-size:" + std::to_string(12 + pick(20)) + "px\"";
  };
  std::string html = "<html><body><div class=\"screen\" data-page=\"main\" data-bg=\"#0F141C\">\n";
  for (int i = 0; i < n;) {
    const std::string cls = "c" + std::to_string(pick(150));
    switch (pick(3)) {
      case 0:
        html += "<div class=\"text " + cls + "\" " + box() + ">温度 Temperature " +
                std::to_string(i) + "</div>\n";
        ++i;
        break;
      case 1:
        html += "<div class=\"btn " + cls + "\" data-caption=\"btn" + std::to_string(i) + "\" " +
                box() + ">OK</div>\n";
        ++i;
        break;
      default:
        html += "<div class=\"win " + cls + "\" " + box() + " data-bg=\"#1A2230\">";
        for (int k = 0; k < 3; ++k) html += "<div class=\"txt\" " + box() + ">Level 3.12 m</div>";
        html += "</div>\n";
        i += 4;
    }
  }
  return html + "</div></body></html>\n";
}

class NullSink : public TokenSink {
 public:
  size_t events = 0;
  void handle_starttag(const std::string&, const Attrs&) override { ++events; }
  void handle_startendtag(const std::string&, const Attrs&) override { ++events; }
  void handle_endtag(const std::string&) override { ++events; }
  void handle_data(const std::string&) override { ++events; }
};

void BM_Tokenize(benchmark::State& state) {
  const std::string html = mixed_screen(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    NullSink sink;
    tokenize(html, sink);
    benchmark::DoNotOptimize(sink.events);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * html.size()));
}

void BM_BuildTree(benchmark::State& state) {
  const std::string html = mixed_screen(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    DomParser parser;
    parser.feed(html);
    parser.close();
    benchmark::DoNotOptimize(parser.root);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * html.size()));
}

// Parse, cascade, walk and finish: everything before the page is written.
void BM_ConvertAndFinish(benchmark::State& state) {
  const std::string html = mixed_screen(static_cast<int>(state.range(0)));
  const Modules none = Modules::none();
  for (auto _ : state) {
    PageFold conv(std::nullopt, std::nullopt, &none);
    ConvertResult r = conv.convert(html);
    std::vector<std::string> warnings = r.warnings;
    for (auto& [pid, data] : *r.pages) _finalize_layout(data, warnings);
    benchmark::DoNotOptimize(warnings.size());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_DumpPage(benchmark::State& state) {
  const std::string html = mixed_screen(static_cast<int>(state.range(0)));
  const Modules none = Modules::none();
  PageFold conv(std::nullopt, std::nullopt, &none);
  ConvertResult r = conv.convert(html);
  const Value page = r.pages->front().second;
  size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = dump(page, 2);
    bytes += text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

BENCHMARK(BM_Tokenize)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildTree)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvertAndFinish)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DumpPage)->Arg(5000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
