// The cascade over a generated document: 2,000 nodes against 200 and 2,000
// rules, with the subject index and with every node tested against every rule.
#include <benchmark/benchmark.h>

#include <deque>
#include <random>
#include <string>
#include <vector>

#include "front/cascade.hpp"

namespace {

using namespace pagefold;

// A prototype-like tree: nested containers with a few classes each, some ids
// and inline styles, and a sheet of class, tag, id and descendant rules.
struct Document {
  std::deque<Node> nodes;
  std::vector<Attrs> original;
  std::string css;

  Document(size_t n_nodes, size_t n_rules) {
    std::mt19937 rng(42);
    auto pick = [&rng](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(rng); };
    const std::vector<std::string> tags = {"div", "span", "p", "button", "img", "input", "li"};
    auto cls = [](size_t i) { return "c" + std::to_string(i); };
    const size_t n_classes = 150;

    // Prototypes nest a dozen levels at most: screens, panels, rows, leaves.
    std::vector<Node*> all;
    std::vector<size_t> depth;
    for (size_t i = 0; i < n_nodes; ++i) {
      Node& node = nodes.emplace_back();
      node.tag = i == 0 ? "html" : tags[pick(tags.size())];
      std::string c = cls(pick(n_classes));
      if (pick(2)) c += " " + cls(pick(n_classes));
      node.attrs.push_back({"class", c});
      if (pick(10) == 0) node.attrs.push_back({"id", "n" + std::to_string(i)});
      if (pick(5) == 0) node.attrs.push_back({"style", "left:1px;top:2px"});
      size_t d = 0;
      if (i > 0) {
        size_t p;
        do {
          const size_t span = std::min<size_t>(all.size(), 8);
          p = pick(4) ? all.size() - 1 - pick(span) : pick(all.size());
        } while (depth[p] >= 11);
        all[p]->children.push_back(&node);
        d = depth[p] + 1;
      }
      all.push_back(&node);
      depth.push_back(d);
    }
    for (const auto& n : nodes) original.push_back(n.attrs);

    for (size_t r = 0; r < n_rules; ++r) {
      switch (pick(6)) {
        case 0:
          css += "." + cls(pick(n_classes));
          break;
        case 1:
          css += tags[pick(tags.size())] + "." + cls(pick(n_classes));
          break;
        case 2:
          css += "." + cls(pick(n_classes)) + " ." + cls(pick(n_classes));
          break;
        case 3:
          css += "#n" + std::to_string(pick(n_nodes));
          break;
        case 4:
          css += "." + cls(pick(n_classes)) + " " + tags[pick(tags.size())];
          break;
        default:
          css += "." + cls(pick(n_classes)) + ", ." + cls(pick(n_classes)) + "::before";
          break;
      }
      css +=
          "{color:#" + std::to_string(100000 + r) + ";width:" + std::to_string(r % 300) + "px}\n";
    }
  }

  void reset() {
    size_t i = 0;
    for (auto& n : nodes) n.attrs = original[i++];
  }
};

template <int64_t (*Apply)(Node&, const std::optional<std::string>&, PseudoTable*)>
void BM_ApplyCss(benchmark::State& state) {
  Document doc(static_cast<size_t>(state.range(0)), static_cast<size_t>(state.range(1)));
  const std::optional<std::string> css = doc.css;
  int64_t rewritten = 0;
  for (auto _ : state) {
    state.PauseTiming();
    doc.reset();
    PseudoTable pseudo;
    state.ResumeTiming();
    rewritten = Apply(doc.nodes.front(), css, &pseudo);
    benchmark::DoNotOptimize(rewritten);
  }
  state.counters["rewritten"] = static_cast<double>(rewritten);
}

void BM_Indexed(benchmark::State& s) { BM_ApplyCss<_apply_css>(s); }
void BM_Simple(benchmark::State& s) { BM_ApplyCss<_apply_css_simple>(s); }

BENCHMARK(BM_Indexed)->Args({2000, 200})->Args({2000, 2000})->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Simple)->Args({2000, 200})->Args({2000, 2000})->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
