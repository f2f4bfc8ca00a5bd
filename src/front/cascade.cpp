// The style sheet and its cascade. Selectors are a narrow grammar (tags,
// classes, ids, the universal selector, double-colon pseudo-elements, and the
// descendant combinator only); everything else drops its selector piece
// silently. Matching declarations are appended to each node's `style`
// attribute, most specific first, so that every reader, which takes the first
// occurrence of a property, sees the cascade's winner. Pseudo-element rules go
// to a side table instead.
//
// Matching runs against an index of the rules by subject (the id, one class
// or the tag of the last compound), and a rule whose other compounds name an
// id, class or tag that no open ancestor carries is passed over without a
// walk. A node is thus tested only against rules that could match it, still
// in list order, which gives exactly the result of testing every rule.
#include "front/cascade.hpp"

#include <algorithm>
#include <functional>
#include <unordered_map>

#include "front/readers.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {

const std::vector<std::string> CSS_PSEUDO_ELEMENTS = {
    "before",
    "after",
    "marker",
    "placeholder",
    "selection",
    "backdrop",
    "file-selector-button",
    "webkit-slider-thumb",
    "webkit-slider-runnable-track",
    "webkit-slider-container",
    "moz-range-thumb",
    "moz-range-track",
    "moz-range-progress",
};

namespace {

bool is_pseudo_element(const std::string& name) {
  return std::find(CSS_PSEUDO_ELEMENTS.begin(), CSS_PSEUDO_ELEMENTS.end(), name) !=
         CSS_PSEUDO_ELEMENTS.end();
}

// One selector token as a compound record; absent when the token rejects its
// whole selector piece.
std::optional<Compound> parse_token(const std::string& tok) {
  static const Regex unsupported(R"([\[\]>+~])");
  // The pseudo group is a colon followed by one or two colons: single-colon
  // pseudo-classes (":hover", ":first-child") reject the selector.
  static const Regex token(R"(^(\*|[A-Za-z][\w-]*)?((?:[.#][\w-]+)*)((?:::{1,2}[\w-]+)*)$)");
  static const Regex pseudo_item(R"(::?[\w-]+)");
  static const Regex simple(R"([.#][\w-]+)");

  if (unsupported.search(tok)) return std::nullopt;
  auto m = token.match(tok);
  if (!m || (m->group(1).empty() && m->group(2).empty())) return std::nullopt;
  Compound c;
  if (!m->group(3).empty()) {
    for (const auto& pm : pseudo_item.find_all(m->group(3))) {
      const std::string sub = pm.str();
      std::string name = text::lstrip_chars(sub, ":-");
      if (!(text::starts_with(sub, "::") || is_pseudo_element(name))) return std::nullopt;
      c.pseudo = std::move(name);
    }
  }
  for (const auto& sm : simple.find_all(m->group(2))) {
    std::string rest(sm.group().substr(1));
    if (sm.group()[0] == '.')
      c.classes.insert(std::move(rest));
    else
      c.cid = std::move(rest);
  }
  c.tag = text::lower(m->group(1));
  return c;
}

std::array<int64_t, 4> specificity(const std::vector<Compound>& parts, int64_t order) {
  int64_t ids = 0, classes = 0, types = 0;
  for (const auto& p : parts) {
    if (!p.cid.empty()) ++ids;
    classes += static_cast<int64_t>(p.classes.size());
    if (!p.tag.empty() || (p.pseudo && !p.pseudo->empty())) ++types;
  }
  return {ids, classes, types, order};
}

}  // namespace

std::vector<CssRule> _parse_css_rules(const std::optional<std::string>& css_text) {
  static const Regex comment(R"(/\*.*?\*/)", Regex::DOTALL);
  static const Regex block(R"(([^{}]+)\{([^{}]*)\})");
  std::vector<CssRule> rules;
  if (!css_text || css_text->empty()) return rules;
  const std::string css = comment.sub(" ", *css_text);
  int64_t order = 0;
  // Block at-rules (@media) never match as a whole: the scanner finds their
  // inner rules first, so those apply unconditionally.
  for (const auto& m : block.find_all(css)) {
    const std::string sel_raw = text::strip(m.group(1));
    const std::string body = text::strip(m.group(2));
    if (sel_raw.empty() || body.empty() || sel_raw[0] == '@') continue;
    ++order;
    for (const auto& piece0 : text::split(sel_raw, ",")) {
      const std::string piece = text::strip(piece0);
      if (piece.empty()) continue;
      std::vector<Compound> parts;
      bool ok = true;
      for (const auto& tok : text::split_ws(piece)) {
        auto c = parse_token(tok);
        if (!c) {
          ok = false;
          break;
        }
        parts.push_back(std::move(*c));
      }
      if (!ok || parts.empty()) continue;
      const Compound& last = parts.back();
      if (last.tag.empty() && last.classes.empty() && last.cid.empty()) continue;
      auto spec = specificity(parts, order);
      rules.push_back(CssRule{std::move(parts), body, spec});
    }
  }
  return rules;
}

namespace {

// What matching reads of a node, computed once per node.
struct NodeView {
  const Node* node;
  std::set<std::string> classes;
  std::string id;
};

NodeView view_of(const Node& n) {
  return {&n, _classes(n.attrs), _attr(n.attrs, "id").value_or("")};
}

bool part_match(const Compound& part, const NodeView& v) {
  if (!part.tag.empty() && part.tag != "*" && part.tag != v.node->tag) return false;
  if (!std::includes(v.classes.begin(), v.classes.end(), part.classes.begin(), part.classes.end()))
    return false;
  return part.cid.empty() || part.cid == v.id;
}

// Nearest-first greedy walk: each compound takes the closest ancestor that
// fits. `ancestors` are the views path[0 .. n_anc).
bool matches(const std::vector<Compound>& parts, const NodeView& node,
             const std::vector<NodeView>& path, size_t n_anc) {
  if (!part_match(parts.back(), node)) return false;
  size_t need = parts.size() - 1;
  for (size_t i = n_anc; need > 0 && i > 0; --i)
    if (part_match(parts[need - 1], path[i - 1])) --need;
  return need == 0;
}

bool is_style_name(const std::string& name) {
  return name.size() == 5 ? text::ascii_lower(name) == "style" : text::lower(name) == "style";
}

// The sheet prepared for one application: each rule's declarations as they
// enter a style string, and (for the indexed walk) the rules by subject.
class Sheet {
 public:
  explicit Sheet(std::vector<CssRule> rules) : rules_(std::move(rules)) {
    for (const auto& r : rules_) {
      std::string t = text::strip(r.body);
      blank_.push_back(t.empty());
      piece_.push_back(text::rstrip_chars(t, ";"));
    }
  }

  const std::vector<CssRule>& rules() const { return rules_; }

  void build_index() {
    required_.resize(rules_.size());
    for (uint32_t i = 0; i < rules_.size(); ++i) {
      const auto& parts = rules_[i].parts;
      const Compound& s = parts.back();
      if (!s.cid.empty())
        by_id_[s.cid].push_back(i);
      else if (!s.classes.empty())
        by_class_[*s.classes.begin()].push_back(i);
      else if (!s.tag.empty() && s.tag != "*")
        by_tag_[s.tag].push_back(i);
      else
        universal_.push_back(i);
      // Each compound left of the subject must match a distinct ancestor, so
      // that ancestor carries the compound's id, one of its classes, or its tag.
      for (size_t k = 0; k + 1 < parts.size(); ++k) {
        const Compound& c = parts[k];
        if (!c.cid.empty())
          required_[i].push_back(intern(id_key_, c.cid));
        else if (!c.classes.empty())
          required_[i].push_back(intern(class_key_, *c.classes.begin()));
        else if (!c.tag.empty() && c.tag != "*")
          required_[i].push_back(intern(tag_key_, c.tag));
      }
    }
  }

  size_t key_count() const { return n_keys_; }

  // The keys of `v` that some rule requires of an ancestor.
  void keys_of(const NodeView& v, std::vector<uint32_t>& out) const {
    out.clear();
    auto add = [&out](const auto& map, const std::string& key) {
      auto it = map.find(key);
      if (it != map.end()) out.push_back(it->second);
    };
    add(tag_key_, v.node->tag);
    if (!v.id.empty()) add(id_key_, v.id);
    for (const auto& c : v.classes) add(class_key_, c);
  }

  // False when some compound left of the subject has no candidate among the
  // ancestors; `on_path` counts each key over the open ancestors.
  bool may_match(uint32_t rule, const std::vector<uint32_t>& on_path) const {
    for (uint32_t k : required_[rule])
      if (on_path[k] == 0) return false;
    return true;
  }

  // Rules whose subject can match `v`, in list order.
  void candidates(const NodeView& v, std::vector<uint32_t>& out) const {
    out.assign(universal_.begin(), universal_.end());
    auto add = [&out](const auto& map, const std::string& key) {
      auto it = map.find(key);
      if (it != map.end()) out.insert(out.end(), it->second.begin(), it->second.end());
    };
    add(by_tag_, v.node->tag);
    if (!v.id.empty()) add(by_id_, v.id);
    for (const auto& c : v.classes) add(by_class_, c);
    // Every rule sits in exactly one bucket, so there are no duplicates.
    std::sort(out.begin(), out.end());
  }

  // Folds the matched rules (indices in list order) into `node`.
  bool fold(Node& node, const std::vector<uint32_t>& hits, PseudoTable* pseudo_out) const {
    std::vector<uint32_t> matched;
    std::vector<std::pair<std::string, std::vector<uint32_t>>> pseudo;
    for (uint32_t i : hits) {
      const auto& p = rules_[i].parts.back().pseudo;
      if (p && !p->empty()) {
        auto it = std::find_if(pseudo.begin(), pseudo.end(),
                               [&](const auto& e) { return e.first == *p; });
        if (it == pseudo.end()) it = pseudo.insert(pseudo.end(), {*p, {}});
        it->second.push_back(i);
      } else {
        matched.push_back(i);
      }
    }
    bool rewritten = false;
    if (!matched.empty()) {
      const std::string extra = join(matched);
      if (!extra.empty()) {
        auto cur = _attr(node.attrs, "style");
        const std::string base = text::rstrip_chars(text::strip(cur.value_or("")), ";");
        _set_style_attr(node, base.empty() ? extra : base + ";" + extra);
        rewritten = true;
      }
    }
    if (!pseudo.empty() && pseudo_out) {
      PseudoBucket& bucket = (*pseudo_out)[&node];
      for (auto& [name, list] : pseudo) {
        const std::string joined = join(list);
        const std::string& key = name;  // clang 14 cannot capture a structured binding
        auto it = std::find_if(bucket.begin(), bucket.end(),
                               [&key](const auto& e) { return e.first == key; });
        if (it == bucket.end())
          bucket.emplace_back(name, joined);
        else if (!joined.empty() && !it->second.empty())
          it->second += ";" + joined;
        else
          it->second = joined;
      }
    }
    return rewritten;
  }

 private:
  // Most specific first; the sort is stable, so the pieces of one rule keep
  // list order. Blank bodies are left out.
  std::string join(std::vector<uint32_t>& list) const {
    std::stable_sort(list.begin(), list.end(), [this](uint32_t a, uint32_t b) {
      return rules_[a].specificity > rules_[b].specificity;
    });
    std::string out;
    bool first = true;
    for (uint32_t i : list) {
      if (blank_[i]) continue;
      if (!first) out += ';';
      out += piece_[i];
      first = false;
    }
    return out;
  }

  uint32_t intern(std::unordered_map<std::string, uint32_t>& map, const std::string& key) {
    auto [it, added] = map.emplace(key, static_cast<uint32_t>(n_keys_));
    if (added) ++n_keys_;
    return it->second;
  }

  std::vector<CssRule> rules_;
  std::vector<bool> blank_;
  std::vector<std::string> piece_;
  // Rules by the subject's id, first class or tag; the rest are universal.
  std::unordered_map<std::string, std::vector<uint32_t>> by_id_, by_class_, by_tag_;
  std::vector<uint32_t> universal_;
  // Ancestor keys per rule, interned to small integers.
  std::unordered_map<std::string, uint32_t> id_key_, class_key_, tag_key_;
  size_t n_keys_ = 0;
  std::vector<std::vector<uint32_t>> required_;
};

}  // namespace

bool _css_part_match(const Compound& part, const Node& node) {
  return part_match(part, view_of(node));
}

bool _css_matches(const std::vector<Compound>& parts, const Node& node,
                  const std::vector<const Node*>& ancestors) {
  if (!_css_part_match(parts.back(), node)) return false;
  size_t need = parts.size() - 1;
  for (size_t i = ancestors.size(); need > 0 && i > 0; --i)
    if (_css_part_match(parts[need - 1], *ancestors[i - 1])) --need;
  return need == 0;
}

void _set_style_attr(Node& node, const std::string& value) {
  Attrs out;
  out.reserve(node.attrs.size() + 1);
  bool found = false;
  for (auto& a : node.attrs) {
    if (is_style_name(a.name)) {
      if (found) continue;  // later duplicates are dropped
      found = true;
      out.push_back(Attr{a.name, value});
    } else {
      out.push_back(a);
    }
  }
  if (!found) out.push_back(Attr{"style", value});
  node.attrs = std::move(out);
}

int64_t _apply_css(Node& root, const std::optional<std::string>& css_text,
                   PseudoTable* pseudo_out) {
  Sheet sheet(_parse_css_rules(css_text));
  if (sheet.rules().empty()) return 0;
  sheet.build_index();

  // Pre-order walk without recursion; `path` holds the views of the open
  // nodes, outermost first, so a node's ancestors are path[0 .. size-1), and
  // `on_path` counts the required keys those ancestors carry.
  struct Frame {
    Node* node;
    size_t next;
    std::vector<uint32_t> keys;
  };
  std::vector<Frame> frames;
  std::vector<NodeView> path;
  std::vector<uint32_t> on_path(sheet.key_count(), 0);
  std::vector<uint32_t> cand, hits, keys;
  int64_t n = 0;
  auto visit = [&](Node& node) {
    path.push_back(view_of(node));
    const NodeView& v = path.back();
    sheet.candidates(v, cand);
    hits.clear();
    for (uint32_t i : cand)
      if (sheet.may_match(i, on_path) && matches(sheet.rules()[i].parts, v, path, path.size() - 1))
        hits.push_back(i);
    if (!hits.empty() && sheet.fold(node, hits, pseudo_out)) ++n;
    sheet.keys_of(v, keys);
    for (uint32_t k : keys) ++on_path[k];
    frames.push_back({&node, 0, keys});
  };
  visit(root);
  while (!frames.empty()) {
    Frame& f = frames.back();
    if (f.next < f.node->children.size()) {
      visit(*f.node->children[f.next++]);
    } else {
      for (uint32_t k : f.keys) --on_path[k];
      frames.pop_back();
      path.pop_back();
    }
  }
  return n;
}

int64_t _apply_css_simple(Node& root, const std::optional<std::string>& css_text,
                          PseudoTable* pseudo_out) {
  Sheet sheet(_parse_css_rules(css_text));
  if (sheet.rules().empty()) return 0;
  int64_t n = 0;
  std::vector<const Node*> ancestors;
  std::function<void(Node&)> walk = [&](Node& node) {
    std::vector<uint32_t> hits;
    for (uint32_t i = 0; i < sheet.rules().size(); ++i)
      if (_css_matches(sheet.rules()[i].parts, node, ancestors)) hits.push_back(i);
    if (!hits.empty() && sheet.fold(node, hits, pseudo_out)) ++n;
    ancestors.push_back(&node);
    for (Node* c : node.children) walk(*c);
    ancestors.pop_back();
  };
  walk(root);
  return n;
}

}  // namespace pagefold
