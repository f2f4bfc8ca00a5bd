// Style rules and the cascade: a deliberately narrow selector grammar whose
// matching declarations are folded into each node's `style` attribute, most
// specific first, so that every reader takes the first occurrence.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "pagefold/node.hpp"

namespace pagefold {

// Pseudo-element declarations per node: node identity to (name, declarations)
// pairs in first-seen order. The cascade fills it; the slider translation
// reads a slider's track, thumb and fill styles from it.
using PseudoBucket = std::vector<std::pair<std::string, std::string>>;
using PseudoTable = std::unordered_map<const Node*, PseudoBucket>;

// One whitespace-separated token of a selector.
struct Compound {
  std::string tag;  // lower case, "*" or empty
  std::set<std::string> classes;
  std::string cid;
  std::optional<std::string> pseudo;
};

struct CssRule {
  std::vector<Compound> parts;  // leftmost first; the last is the subject
  std::string body;
  std::array<int64_t, 4> specificity;  // ids, classes, types, order
};

extern const std::vector<std::string> CSS_PSEUDO_ELEMENTS;

std::vector<CssRule> _parse_css_rules(const std::optional<std::string>& css_text);
bool _css_part_match(const Compound& part, const Node& node);
bool _css_matches(const std::vector<Compound>& parts, const Node& node,
                  const std::vector<const Node*>& ancestors);
void _set_style_attr(Node& node, const std::string& value);
// Folds the sheet into the whole tree; answers the number of rewritten nodes.
int64_t _apply_css(Node& root, const std::optional<std::string>& css_text,
                   PseudoTable* pseudo_out = nullptr);
// The same fold without the subject index, every node tested against every
// rule: the reference the indexed walk is checked and measured against.
int64_t _apply_css_simple(Node& root, const std::optional<std::string>& css_text,
                          PseudoTable* pseudo_out = nullptr);

}  // namespace pagefold
