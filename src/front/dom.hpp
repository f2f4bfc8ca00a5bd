// The markup tree: a tokeniser with a fixed contract and the tree builder on
// top of it. No implied elements, no adoption, no automatic closing: the tree
// is what the tag stream says, corrected only by the builder's four rules.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pagefold/node.hpp"

namespace pagefold {

// Receives tokeniser events in document order.
class TokenSink {
 public:
  virtual ~TokenSink() = default;
  virtual void handle_starttag(const std::string& tag, const Attrs& attrs) = 0;
  virtual void handle_startendtag(const std::string& tag, const Attrs& attrs) = 0;
  virtual void handle_endtag(const std::string& tag) = 0;
  virtual void handle_data(const std::string& data) = 0;
};

// Scans `html` once from left to right and delivers its events to `sink`,
// character references expanded (outside script/style raw text).
void tokenize(std::string_view html, TokenSink& sink);

// Expands character references in `s` (named, decimal, hexadecimal), in text
// and in attribute values alike.
std::string unescape(std::string_view s);

class DomParser : public TokenSink {
 public:
  // The tags that never stay open: meta, img, input, br, hr, link.
  static bool is_void(std::string_view tag);

  void feed(std::string_view data);
  void close();

  Node* root = nullptr;
  std::vector<Node*> stack;
  std::vector<std::string> css_chunks;

  void handle_starttag(const std::string& tag, const Attrs& attrs) override;
  void handle_startendtag(const std::string& tag, const Attrs& attrs) override;
  void handle_endtag(const std::string& tag) override;
  void handle_data(const std::string& data) override;

 private:
  Node* make(const std::string& tag, const Attrs& attrs);
  std::deque<Node> arena_;  // owns every node, attached or not
};

}  // namespace pagefold
