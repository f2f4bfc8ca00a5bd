// One element of the prototype, as the markup tree builds it.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace pagefold {

// An attribute: lower-case name and a value, absent when written without "=".
struct Attr {
  std::string name;
  std::optional<std::string> value;
};
using Attrs = std::vector<Attr>;

// `text` holds only the character data standing directly in this element,
// whitespace runs collapsed. Nodes are owned by the parser's arena; a Node's
// address is its identity for the life of the tree.
struct Node {
  std::string tag;
  Attrs attrs;
  std::vector<Node*> children;
  std::string text;
};

}  // namespace pagefold
