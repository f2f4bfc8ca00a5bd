// The style sheet parser and the cascade: which selector pieces survive, the
// order of declarations in the style string, the pseudo-element table, and
// the indexed walk checked against testing every rule on generated sheets.
#include "front/cascade.hpp"

#include <gtest/gtest.h>

#include <deque>
#include <fstream>
#include <random>
#include <sstream>

#include "front/dom.hpp"
#include "front/readers.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

// A hand-built tree; nodes live as long as the object.
class Tree {
 public:
  Node* add(Node* parent, const std::string& tag, Attrs attrs = {}) {
    Node& n = arena_.emplace_back();
    n.tag = tag;
    n.attrs = std::move(attrs);
    if (parent) parent->children.push_back(&n);
    return &n;
  }
  std::deque<Node>& nodes() { return arena_; }

 private:
  std::deque<Node> arena_;
};

std::string style_of(const Node* n) { return _attr(n->attrs, "style").value_or("<none>"); }

std::string describe(const CssRule& r) {
  std::string s;
  for (const auto& p : r.parts) {
    s += "[" + p.tag;
    for (const auto& c : p.classes) s += "." + c;
    if (!p.cid.empty()) s += "#" + p.cid;
    if (p.pseudo) s += "::" + *p.pseudo;
    s += "]";
  }
  s += " (";
  for (int i = 0; i < 4; ++i) s += std::to_string(r.specificity[i]) + (i < 3 ? "," : ")");
  return s;
}

std::vector<std::string> parsed(const std::string& css) {
  std::vector<std::string> out;
  for (const auto& r : _parse_css_rules(css)) out.push_back(describe(r) + " " + r.body);
  return out;
}

TEST(ParseCssRules, SelectorGrammarTable) {
  struct Case {
    std::string css;
    std::vector<std::string> want;
  };
  const std::vector<Case> cases = {
      {".a .b{x:1}", {"[.a][.b] (0,2,0,1) x:1"}},
      {"A.x#i#c.y{x:1}", {"[a.x.y#c] (1,2,1,1) x:1"}},
      {"*{margin:0}", {"[*] (0,0,1,1) margin:0"}},
      {".X,.x{c:1}", {"[.X] (0,1,0,1) c:1", "[.x] (0,1,0,1) c:1"}},
      {".a.a{c:1}", {"[.a] (0,1,0,1) c:1"}},
      // Unsupported combinators, attribute selectors and pseudo-classes drop
      // only their own piece.
      {"a, b > c, d[x], h1 + p, h1 ~ p, a:hover, li:first-child, :root{c:1}",
       {"[a] (0,0,1,1) c:1"}},
      {"div > .x{c:1}", {}},
      {".x:before{c:1}", {}},
      {"::before{c:1}", {}},
      {".x::before{c:1}", {"[.x::before] (0,1,1,1) c:1"}},
      {"input::-webkit-slider-thumb{c:1}", {"[input::webkit-slider-thumb] (0,0,1,1) c:1"}},
      {"div::-webkit-scrollbar{c:1}", {"[div::webkit-scrollbar] (0,0,1,1) c:1"}},
      {"a:::before{c:1}", {"[a::before] (0,0,1,1) c:1"}},
      // A blank body or selector is skipped without taking an order number.
      {"a{ }b{c:1}", {"[b] (0,0,1,1) c:1"}},
      {"a{;}", {"[a] (0,0,1,1) ;"}},
      // A rejected rule still takes its order number.
      {"a:hover{c:1} b{c:2}", {"[b] (0,0,1,2) c:2"}},
      {"/* a{c:1} */ b { c:2 /* x */ }", {"[b] (0,0,1,1) c:2"}},
      {"", {}},
  };
  for (const auto& c : cases) EXPECT_EQ(parsed(c.css), c.want) << c.css;
  EXPECT_TRUE(_parse_css_rules(std::nullopt).empty());
}

TEST(ParseCssRules, AtRules) {
  // Block at-rules apply their inner rules unconditionally.
  EXPECT_EQ(parsed("@media (max-width:10px){ .a{c:1} } .b{c:2}"),
            (std::vector<std::string>{"[.a] (0,1,0,1) c:1", "[.b] (0,1,0,2) c:2"}));
  EXPECT_EQ(parsed("@keyframes k{from{o:0} to{o:1}}"),
            (std::vector<std::string>{"[from] (0,0,1,1) o:0", "[to] (0,0,1,2) o:1"}));
  EXPECT_EQ(parsed("@font-face{font-family:x} .a{c:1}"),
            (std::vector<std::string>{"[.a] (0,1,0,1) c:1"}));
  // A statement at-rule swallows the selector of the next rule.
  EXPECT_EQ(parsed("@import \"x.css\"; .a{c:1} .b{c:2}"),
            (std::vector<std::string>{"[.b] (0,1,0,1) c:2"}));
}

TEST(CssMatches, NearestFirstGreedyWalk) {
  Tree t;
  Node* root = t.add(nullptr, "div", {{"class", "a"}});
  Node* mid = t.add(root, "div", {{"class", "b"}});
  Node* leaf = t.add(mid, "span", {{"class", "b c"}, {"id", "k"}});
  auto rules =
      _parse_css_rules(".a .b{x:1} .a .a .b{x:1} .b .b{x:1} #k.b.c{x:1} #K{x:1} div span{x:1}");
  const std::vector<const Node*> anc = {root, mid};
  std::vector<bool> got;
  for (const auto& r : rules) got.push_back(_css_matches(r.parts, *leaf, anc));
  EXPECT_EQ(got, (std::vector<bool>{true, false, true, true, false, true}));
  EXPECT_TRUE(_css_part_match(rules[0].parts[0], *root));
  EXPECT_FALSE(_css_part_match(rules[0].parts[0], *mid));
}

TEST(SetStyleAttr, FirstStylePairKeepsItsPlaceLaterOnesGo) {
  Node n;
  n.attrs = {{"STYLE", "a:1"}, {"id", "x"}, {"style", "b:2"}};
  _set_style_attr(n, "c:3");
  ASSERT_EQ(n.attrs.size(), 2u);
  EXPECT_EQ(n.attrs[0].name, "STYLE");
  EXPECT_EQ(n.attrs[0].value, "c:3");
  Node m;
  m.attrs = {{"id", "x"}};
  _set_style_attr(m, "c:3");
  EXPECT_EQ(m.attrs.back().name, "style");
}

TEST(ApplyCss, DeclarationOrderIsTheCascade) {
  Tree t;
  Node* root = t.add(nullptr, "html");
  Node* body = t.add(root, "body");
  Node* a = t.add(body, "div", {{"class", "a"}, {"style", " color:#000; "}});
  Node* b = t.add(body, "div", {{"class", "a b"}, {"id", "i"}});
  Node* c = t.add(body, "p", {{"style", "x:1"}});
  const std::string css =
      "div{d:1} .a{color:#fff;} .a{e:2;;} #i{f:3} div.a{g:4} *{h:5} p{;} body{bg:red}";
  EXPECT_EQ(_apply_css(*root, css), 5);
  // Inline first; then most specific; on equal specificity the later rule.
  EXPECT_EQ(style_of(a), "color:#000;g:4;e:2;color:#fff;h:5;d:1");
  EXPECT_EQ(style_of(b), "f:3;g:4;e:2;color:#fff;h:5;d:1");
  // "p{;}", later than "*", contributes an empty piece in front of it.
  EXPECT_EQ(style_of(c), "x:1;;h:5");
  EXPECT_EQ(style_of(body), "bg:red;h:5");
  EXPECT_EQ(style_of(root), "h:5");
}

TEST(ApplyCss, BodyOfOnlySemicolonLeavesNodeUntouched) {
  Tree t;
  Node* root = t.add(nullptr, "div", {{"style", "a:1;"}});
  EXPECT_EQ(_apply_css(*root, "div{;}"), 0);
  EXPECT_EQ(style_of(root), "a:1;");
  EXPECT_EQ(_apply_css(*root, "span{c:1}"), 0);
  EXPECT_EQ(_apply_css(*root, ""), 0);
}

TEST(ApplyCss, TwoPiecesOfOneRuleKeepListOrder) {
  Tree t;
  Node* root = t.add(nullptr, "div", {{"class", "x y"}});
  _apply_css(*root, ".y, .x{a:1} .x{b:2}");
  EXPECT_EQ(style_of(root), "b:2;a:1;a:1");
}

TEST(ApplyCss, PseudoElementsGoToTheSideTable) {
  Tree t;
  Node* root = t.add(nullptr, "div", {{"class", "x"}});
  Node* in = t.add(root, "input", {{"type", "range"}});
  PseudoTable pseudo;
  const std::string css =
      ".x::before{color:red} input::-webkit-slider-thumb{w:1} .x input::-webkit-slider-thumb{w:2;}"
      " input::moz-range-track{t:1} .x::before{;} .x::after{a:1} .x::before .y{z:1}";
  EXPECT_EQ(_apply_css(*root, css, &pseudo), 0);
  EXPECT_EQ(style_of(root), "<none>");
  ASSERT_EQ(pseudo.size(), 2u);
  EXPECT_EQ(pseudo[root], (PseudoBucket{{"before", ";color:red"}, {"after", "a:1"}}));
  EXPECT_EQ(pseudo[in],
            (PseudoBucket{{"webkit-slider-thumb", "w:2;w:1"}, {"moz-range-track", "t:1"}}));
  // Without a table pseudo-element rules are simply dropped.
  EXPECT_EQ(_apply_css(*root, css), 0);
}

// A parsed prototype with its sheet, as the converter applies it.
struct Parsed {
  DomParser parser;
  std::string css;
  explicit Parsed(const std::string& html) {
    parser.feed(html);
    parser.close();
    css = text::join(parser.css_chunks, " ");
  }
  Node& root() { return *parser.root; }
  // The first node in document order with this id.
  Node* by_id(const std::string& id) {
    std::vector<Node*> todo{parser.root};
    while (!todo.empty()) {
      Node* n = todo.back();
      todo.pop_back();
      if (_attr(n->attrs, "id") == id) return n;
      todo.insert(todo.end(), n->children.rbegin(), n->children.rend());
    }
    return nullptr;
  }
};

TEST(ApplyCss, ParsedPrototype) {
  Parsed doc(R"(<html><head><style>
    * { margin: 0 }
    body { background: #0F141C; }
    .card { background: #1A2230; border-radius: 16px; }
    .card .value { font-size: 40px; }
    .btn.round:hover { background: #34405A; }
    .mode-bar > .radio { border: 1px solid red; }
    @media (max-width: 900px) { .value { color: red !important } }
    .slider::-webkit-slider-thumb { width: 28px; }
  </style></head><body>
    <div class="card" id="c" style="left:10px;">
      <div><span class="value" id="v" style="color:#fff">22</span></div>
    </div>
    <div class="mode-bar"><div class="radio btn round" id="r"></div></div>
    <input class="slider" id="s" type="range">
  </body></html>
  <style>.late { x: 1 }</style>)");
  PseudoTable pseudo;
  // The universal rule reaches every attached node, head and style included.
  EXPECT_EQ(_apply_css(doc.root(), doc.css, &pseudo), 10);
  EXPECT_EQ(style_of(doc.by_id("c")),
            "left:10px;background: #1A2230; border-radius: 16px;margin: 0");
  EXPECT_EQ(style_of(doc.by_id("v")), "color:#fff;font-size: 40px;color: red !important;margin: 0");
  EXPECT_EQ(style_of(doc.by_id("r")), "margin: 0");
  EXPECT_EQ(style_of(doc.by_id("s")), "margin: 0");
  EXPECT_EQ(pseudo[doc.by_id("s")], (PseudoBucket{{"webkit-slider-thumb", "width: 28px"}}));
}

std::string read_sample(const std::string& name) {
  std::ifstream in(std::string(PAGEFOLD_SAMPLES_DIR) + "/" + name, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// ---------------------------------------------------------------------------
// Generated sheets and trees: the indexed walk against every-rule testing.

struct Gen {
  std::mt19937 rng;
  explicit Gen(unsigned seed) : rng(seed) {}
  size_t pick(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(rng); }
  bool chance(int percent) { return static_cast<int>(pick(100)) < percent; }
  template <typename T>
  const T& one(const std::vector<T>& v) {
    return v[pick(v.size())];
  }

  const std::vector<std::string> tags = {"div", "span", "p", "a", "input", "li"};
  const std::vector<std::string> classes = {"a", "b", "c", "d", "e", "f", "A", "é"};
  const std::vector<std::string> ids = {"i1", "i2", "i3", "I1"};

  std::string class_attr() {
    std::string s;
    const size_t k = pick(4);
    for (size_t i = 0; i < k; ++i) s += (i ? "  " : " ") + one(classes);
    return s;
  }

  Attrs attrs() {
    Attrs a;
    if (chance(70)) a.push_back({"class", chance(5) ? std::nullopt : OptStr(class_attr())});
    if (chance(25))
      a.push_back({chance(10) ? "ID" : "id", chance(5) ? std::nullopt : OptStr(one(ids))});
    if (chance(20)) a.push_back({"style", chance(10) ? std::nullopt : OptStr("w:1;")});
    if (chance(5)) a.push_back({"style", OptStr("dup:1")});
    return a;
  }

  void tree(Tree& t, size_t n) {
    std::vector<Node*> nodes = {t.add(nullptr, "html", attrs())};
    while (nodes.size() < n) {
      // Bias towards recent nodes so that chains get deep.
      const size_t span = std::min<size_t>(nodes.size(), 12);
      Node* parent = chance(80) ? nodes[nodes.size() - 1 - pick(span)] : nodes[pick(nodes.size())];
      nodes.push_back(t.add(parent, one(tags), attrs()));
    }
  }

  std::string compound() {
    std::string s;
    const size_t kind = pick(10);
    if (kind < 4) s = one(tags);
    if (kind == 4) s = "*";
    if (kind == 5) s = "DIV";
    const size_t nc = pick(3);
    for (size_t i = 0; i < nc; ++i) s += "." + one(classes);
    if (chance(15)) s += "#" + one(ids);
    if ((s.empty() || s == "*") && chance(50)) s += "." + one(classes);
    if (chance(8))
      s += one(std::vector<std::string>{"::before", "::-webkit-slider-thumb", "::after"});
    if (chance(2)) s += ":hover";
    if (chance(1)) s = ">";
    return s;
  }

  std::string sheet(size_t rules) {
    std::string css;
    for (size_t r = 0; r < rules; ++r) {
      const size_t pieces = 1 + pick(3);
      for (size_t p = 0; p < pieces; ++p) {
        if (p) css += ", ";
        const size_t depth = 1 + pick(4);
        for (size_t d = 0; d < depth; ++d) css += (d ? " " : "") + compound();
      }
      const size_t body = pick(20);
      css += body == 0   ? "{;}"
             : body == 1 ? "{ k" + std::to_string(r) + ":1; ;}"
                         : "{k" + std::to_string(r) + ":v;}\n";
    }
    return css;
  }
};

std::vector<std::string> snapshot(std::deque<Node>& nodes, const PseudoTable& pseudo) {
  std::vector<std::string> out;
  for (auto& n : nodes) {
    std::string s = n.tag + "|";
    for (const auto& a : n.attrs) s += a.name + "=" + a.value.value_or("<absent>") + "|";
    auto it = pseudo.find(&n);
    if (it != pseudo.end())
      for (const auto& [name, decl] : it->second) s += "::" + name + "{" + decl + "}";
    out.push_back(std::move(s));
  }
  return out;
}

TEST(ApplyCss, IndexedWalkEqualsTestingEveryRule) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    Gen g1(seed), g2(seed);
    Tree t1, t2;
    g1.tree(t1, 80 + seed * 5);
    g2.tree(t2, 80 + seed * 5);
    const std::string css = g1.sheet(10 + seed * 3);
    PseudoTable p1, p2;
    const int64_t n1 = _apply_css(t1.nodes().front(), css, &p1);
    const int64_t n2 = _apply_css_simple(t2.nodes().front(), css, &p2);
    ASSERT_EQ(n1, n2) << "seed " << seed;
    ASSERT_GT(n1, 0) << "seed " << seed;
    ASSERT_EQ(p1.size(), p2.size()) << "seed " << seed;
    ASSERT_EQ(snapshot(t1.nodes(), p1), snapshot(t2.nodes(), p2)) << "seed " << seed;
  }
}

TEST(ApplyCss, IndexedWalkEqualsTestingEveryRuleOnSamples) {
  for (const char* name :
       {"thermostat.html", "login.html", "industrial_hmi.html", "wifi_setup.html"}) {
    const std::string html = read_sample(name);
    ASSERT_FALSE(html.empty()) << name;
    Parsed a(html), b(html);
    PseudoTable pa, pb;
    const int64_t na = _apply_css(a.root(), a.css, &pa);
    EXPECT_GT(na, 0) << name;
    EXPECT_EQ(na, _apply_css_simple(b.root(), b.css, &pb)) << name;
    // Compare node by node in document order.
    std::vector<std::pair<Node*, Node*>> todo{{&a.root(), &b.root()}};
    while (!todo.empty()) {
      auto [x, y] = todo.back();
      todo.pop_back();
      ASSERT_EQ(_attr(x->attrs, "style"), _attr(y->attrs, "style")) << name;
      ASSERT_EQ(pa.count(x), pb.count(y)) << name;
      if (pa.count(x)) {
        ASSERT_EQ(pa[x], pb[y]) << name;
      }
      for (size_t i = 0; i < x->children.size(); ++i)
        todo.push_back({x->children[i], y->children[i]});
    }
  }
}

}  // namespace
}  // namespace pagefold
