// The tree builder. Four rules and nothing more: start tags open (void tags
// excepted), self-closed tags never open, an end tag closes up to its partner
// or, without one, the innermost element, and character data goes to the
// innermost open element with whitespace runs collapsed. Style text is kept
// aside for the cascade; script text is dropped.
#include <algorithm>
#include <array>

#include "front/dom.hpp"
#include "util/text.hpp"

namespace pagefold {

bool DomParser::is_void(std::string_view tag) {
  static constexpr std::array<std::string_view, 6> VOID_TAGS = {"meta", "img", "input",
                                                                "br",   "hr",  "link"};
  return std::find(VOID_TAGS.begin(), VOID_TAGS.end(), tag) != VOID_TAGS.end();
}

void DomParser::feed(std::string_view data) { tokenize(data, *this); }

// The tokeniser delivers everything during feed; elements still open at the
// end already stand in the tree.
void DomParser::close() {}

Node* DomParser::make(const std::string& tag, const Attrs& attrs) {
  Node& node = arena_.emplace_back();
  node.tag = tag;
  node.attrs = attrs;
  // First element with nothing open is the root; later ones with nothing
  // open are attached nowhere, and their subtrees build up unreachable.
  if (!stack.empty()) {
    stack.back()->children.push_back(&node);
  } else if (root == nullptr) {
    root = &node;
  }
  return &node;
}

void DomParser::handle_starttag(const std::string& tag, const Attrs& attrs) {
  Node* node = make(tag, attrs);
  if (!is_void(tag)) stack.push_back(node);
  // A <br> is a line break in the text of the element it stands in. The
  // self-closed <br/> is not: it stays an empty child element.
  if (tag == "br" && !stack.empty()) stack.back()->text += '\n';
}

void DomParser::handle_startendtag(const std::string& tag, const Attrs& attrs) { make(tag, attrs); }

void DomParser::handle_endtag(const std::string& tag) {
  const auto open =
      std::find_if(stack.rbegin(), stack.rend(), [&](const Node* n) { return n->tag == tag; });
  if (open != stack.rend()) {
    // Closes the partner and everything left open inside it.
    stack.erase(std::prev(open.base()), stack.end());
  } else if (!stack.empty()) {
    // An end tag without a partner closes the element it stands in.
    stack.pop_back();
  }
}

void DomParser::handle_data(const std::string& data) {
  if (stack.empty()) return;
  Node* top = stack.back();
  if (top->tag == "style") {
    css_chunks.push_back(data);
  } else if (top->tag != "script") {
    // Collapsing works per piece, so pieces join unchanged: "a <!-- c --> b"
    // leaves two spaces.
    top->text += text::collapse_space(data);
  }
}

}  // namespace pagefold
