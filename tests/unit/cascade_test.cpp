// The style sheet parser and the cascade: which selector pieces survive, the
// order of declarations in the style string, the pseudo-element table, and
// the indexed walk checked against testing every rule on generated sheets.
#include "front/cascade.hpp"

#include <gtest/gtest.h>

#include <deque>
#include <random>

#include "front/readers.hpp"

namespace pagefold {
namespace {

using std::nullopt;

// A hand-built tree; nodes live as long as the object.
struct Tree {
  std::deque<Node> nodes;
  Node* add(Node* parent, const std::string& tag, Attrs attrs = {}) {
    Node& n = nodes.emplace_back();
    n.tag = tag;
    n.attrs = std::move(attrs);
    if (parent) parent->children.push_back(&n);
    return &n;
  }
};

std::string style_of(const Node* n) { return _attr(n->attrs, "style").value_or("<none>"); }

// "[tag.class#id::pseudo]..." per rule, then (specificity) and the body.
std::vector<std::string> parsed(const std::string& css) {
  std::vector<std::string> out;
  for (const auto& r : _parse_css_rules(css)) {
    std::string s;
    for (const auto& p : r.parts) {
      s += "[" + p.tag;
      for (const auto& c : p.classes) s += "." + c;
      s += (p.cid.empty() ? "" : "#" + p.cid) + (p.pseudo ? "::" + *p.pseudo : "") + "]";
    }
    const auto& k = r.specificity;
    out.push_back(s + " (" + std::to_string(k[0]) + "," + std::to_string(k[1]) + "," +
                  std::to_string(k[2]) + "," + std::to_string(k[3]) + ") " + r.body);
  }
  return out;
}

TEST(ParseCssRules, SelectorGrammarTable) {
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {".a .b{x:1}", {"[.a][.b] (0,2,0,1) x:1"}},
      {"A.x#i#c.y{x:1}", {"[a.x.y#c] (1,2,1,1) x:1"}},
      {"*{margin:0}", {"[*] (0,0,1,1) margin:0"}},
      {".X,.x{c:1}", {"[.X] (0,1,0,1) c:1", "[.x] (0,1,0,1) c:1"}},
      // Unsupported combinators, attribute selectors and pseudo-classes drop
      // only their own piece; a bare pseudo-element is no selector.
      {"a, b > c, d[x], h1 + p, h1 ~ p, a:hover, li:first-child, :root{c:1}",
       {"[a] (0,0,1,1) c:1"}},
      {"div > .x{c:1} .x:before{c:1} ::before{c:1}", {}},
      {".x::before{c:1}", {"[.x::before] (0,1,1,1) c:1"}},
      {"input::-webkit-slider-thumb{c:1}", {"[input::webkit-slider-thumb] (0,0,1,1) c:1"}},
      {"a:::before{c:1}", {"[a::before] (0,0,1,1) c:1"}},
      // A blank body or selector takes no order number; a rejected rule does.
      {"a{ }b{c:1}", {"[b] (0,0,1,1) c:1"}},
      {"a:hover{c:1} b{c:2}", {"[b] (0,0,1,2) c:2"}},
      {"/* a{c:1} */ b { c:2 /* x */ }", {"[b] (0,0,1,1) c:2"}},
      // Block at-rules apply their inner rules unconditionally; a statement
      // at-rule swallows the selector of the next rule (more in front_cascade_text).
      {"@media (max-width:10px){ .a{c:1} } .b{c:2}", {"[.a] (0,1,0,1) c:1", "[.b] (0,1,0,2) c:2"}},
      {"@import \"x.css\"; .a{c:1} .b{c:2}", {"[.b] (0,1,0,1) c:2"}}};
  for (const auto& [css, want] : cases) EXPECT_EQ(parsed(css), want) << css;
  EXPECT_TRUE(_parse_css_rules(std::nullopt).empty());
}

TEST(CssMatches, NearestFirstGreedyWalk) {
  Tree t;
  Node* root = t.add(nullptr, "div", {{"class", "a"}});
  Node* mid = t.add(root, "div", {{"class", "b"}});
  Node* leaf = t.add(mid, "span", {{"class", "b c"}, {"id", "k"}});
  auto rules =
      _parse_css_rules(".a .b{x:1} .a .a .b{x:1} .b .b{x:1} #k.b.c{x:1} #K{x:1} div span{x:1}");
  std::vector<bool> got;
  for (const auto& r : rules) got.push_back(_css_matches(r.parts, *leaf, {root, mid}));
  EXPECT_EQ(got, (std::vector<bool>{true, false, true, true, false, true}));
}

TEST(SetStyleAttr, FirstStylePairKeepsItsPlaceLaterOnesGo) {
  Node n;
  n.attrs = {{"STYLE", "a:1"}, {"id", "x"}, {"style", "b:2"}};
  _set_style_attr(n, "c:3");
  ASSERT_EQ(n.attrs.size(), 2u);
  EXPECT_EQ(n.attrs[0].name, "STYLE");
  EXPECT_EQ(n.attrs[0].value, "c:3");
}

TEST(ApplyCss, DeclarationOrderIsTheCascade) {
  Tree t;
  Node* root = t.add(nullptr, "html");
  Node* body = t.add(root, "body");
  Node* a = t.add(body, "div", {{"class", "a"}, {"style", " color:#000; "}});
  Node* c = t.add(body, "p", {{"style", "x:1"}});
  Node* d = t.add(body, "div", {{"class", "x y"}});
  const std::string css =
      "div{d:1} .a{color:#fff;} .a{e:2;;} #i{f:3} div.a{g:4} *{h:5} p{;} body{bg:red}"
      " .y, .x{k:1} .x{l:2}";
  EXPECT_EQ(_apply_css(*root, css), 5);
  // Inline first; then most specific; on equal specificity the later rule,
  // and the two pieces of one rule in list order.
  EXPECT_EQ(style_of(a), "color:#000;g:4;e:2;color:#fff;h:5;d:1");
  EXPECT_EQ(style_of(c), "x:1;;h:5");  // "p{;}" is an empty piece before "*"
  EXPECT_EQ(style_of(d), "l:2;k:1;k:1;h:5;d:1");
  EXPECT_EQ(style_of(root), "h:5");
  // A body of only ";" leaves a node untouched and uncounted.
  Node* lone = t.add(nullptr, "div", {{"style", "a:1;"}});
  EXPECT_EQ(_apply_css(*lone, "div{;} span{c:1}"), 0);
  EXPECT_EQ(style_of(lone), "a:1;");
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
}

// Generated trees and sheets: the indexed walk must give exactly the result
// of testing every node against every rule.
struct Gen {
  std::mt19937 rng;
  explicit Gen(unsigned seed) : rng(seed) {}
  size_t pick(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(rng); }
  bool chance(int percent) { return static_cast<int>(pick(100)) < percent; }
  const std::string& one(const std::vector<std::string>& v) { return v[pick(v.size())]; }

  const std::vector<std::string> tags = {"div", "span", "p", "a", "input", "li"};
  const std::vector<std::string> classes = {"a", "b", "c", "d", "e", "f", "A", "é"};
  const std::vector<std::string> ids = {"i1", "i2", "i3", "I1"};

  Attrs attrs() {
    Attrs a;
    std::string cls;
    for (size_t i = pick(4); i > 0; --i) cls += "  " + one(classes);
    if (chance(70)) a.push_back({"class", chance(5) ? nullopt : OptStr(cls)});
    if (chance(25)) a.push_back({chance(10) ? "ID" : "id", chance(5) ? nullopt : OptStr(one(ids))});
    if (chance(20)) a.push_back({"style", chance(10) ? nullopt : OptStr("w:1;")});
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
    const size_t kind = pick(10);
    std::string s = kind < 4 ? one(tags) : kind == 4 ? "*" : kind == 5 ? "DIV" : "";
    for (size_t i = pick(3); i > 0; --i) s += "." + one(classes);
    if (chance(15)) s += "#" + one(ids);
    if ((s.empty() || s == "*") && chance(50)) s += "." + one(classes);
    if (chance(8)) s += one({"::before", "::-webkit-slider-thumb", "::after"});
    if (chance(2)) s += ":hover";
    return chance(1) ? ">" : s;
  }

  std::string sheet(size_t rules) {
    std::string css;
    for (size_t r = 0; r < rules; ++r) {
      for (size_t p = 1 + pick(3); p > 0; --p) {
        for (size_t d = 1 + pick(4); d > 0; --d) css += compound() + (d > 1 ? " " : "");
        css += p > 1 ? ", " : "";
      }
      const std::string k = "k" + std::to_string(r);
      css += chance(5) ? "{;}" : chance(5) ? "{ " + k + ":1; ;}" : "{" + k + ":v;}\n";
    }
    return css;
  }
};

std::string snapshot(std::deque<Node>& nodes, const PseudoTable& pseudo) {
  std::string s;
  for (auto& n : nodes) {
    for (const auto& a : n.attrs) s += a.name + "=" + a.value.value_or("<absent>") + "|";
    if (auto it = pseudo.find(&n); it != pseudo.end())
      for (const auto& [name, decl] : it->second) s += "::" + name + "{" + decl + "}";
    s += "\n";
  }
  return s;
}

TEST(ApplyCss, IndexedWalkEqualsTestingEveryRule) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    Gen g1(seed), g2(seed);
    Tree t1, t2;
    g1.tree(t1, 80 + seed * 5);
    g2.tree(t2, 80 + seed * 5);
    const std::string css = g1.sheet(10 + seed * 3);
    PseudoTable p1, p2;
    const int64_t n1 = _apply_css(t1.nodes.front(), css, &p1);
    ASSERT_EQ(n1, _apply_css_simple(t2.nodes.front(), css, &p2)) << "seed " << seed;
    ASSERT_GT(n1, 0) << "seed " << seed;
    ASSERT_EQ(snapshot(t1.nodes, p1), snapshot(t2.nodes, p2)) << "seed " << seed;
  }
}

}  // namespace
}  // namespace pagefold
