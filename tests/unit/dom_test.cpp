// The markup tree: its four builder rules and the documents whose trees
// surprise people who expect a browser's tree.
#include <gtest/gtest.h>

#include <string>

#include "front/dom.hpp"

namespace pagefold {
namespace {

// tag[attrs]"text"(children): attributes as name=value or a bare name for an
// absent value, text quoted only when not empty.
std::string render(const Node& n) {
  std::string out = n.tag;
  for (size_t i = 0; i < n.attrs.size(); ++i) {
    out += i == 0 ? "[" : " ";
    out += n.attrs[i].name + (n.attrs[i].value ? "=" + *n.attrs[i].value : "");
    if (i + 1 == n.attrs.size()) out += "]";
  }
  if (!n.text.empty()) out += "\"" + n.text + "\"";
  for (size_t i = 0; i < n.children.size(); ++i)
    out += (i == 0 ? "(" : " ") + render(*n.children[i]) + (i + 1 == n.children.size() ? ")" : "");
  return out;
}

struct Parsed {
  DomParser parser;
  std::string tree;  // the rendered root, "" when there is none
  explicit Parsed(const std::string& html) {
    parser.feed(html);
    parser.close();
    tree = parser.root ? render(*parser.root) : "";
  }
};

TEST(Dom, TreeTable) {
  const std::pair<const char*, const char*> cases[] = {
      {"<!DOCTYPE html><html><body><p>x</p></body></html>", "html(body(p\"x\"))"},
      {"just text <!-- and a comment -->", ""},
      // Nothing is open after a void root, so everything later is unreachable.
      {R"(<meta charset="utf-8"><html><div class="screen"></div></html>)", "meta[charset=utf-8]"},
      {"<head><title>t</title></head><body><div>x</div></body>", "head(title\"t\")"},
      // An end tag closes its partner and everything open inside it; one
      // without a partner closes the element it stands in.
      {"<body><div><span>text</div>after</body>", "body\"after\"(div(span\"text\"))"},
      {"<html><body><div>x</p>y</div>z</body></html>", "html\"z\"(body\"y\"(div\"x\"))"},
      {"<div><p>a</br>b</p></div>", "div\"b\"(p\"a\")"},
      {R"(<div a="1" a="2"><input disabled value=""></div>)",
       "div[a=1 a=2](input[disabled value=])"},
      // Only the six void tags never stay open: <source> takes what follows.
      {"<video><source src=a><p>x</p><wbr><col></video>", "video(source[src=a](p\"x\" wbr(col)))"},
      {"<p>a<br>b<hr>c<link></p>", "p\"a\nbc\"(br hr link)"},
      {"<p>a<br/>b</p>", "p\"ab\"(br)"},
      {"<body><div/>x</body>", "body\"x\"(div)"},
      {"<div><style/><b>x</b><style></style></div>", "div(style b\"x\" style)"},
      // Whitespace collapses per piece, without trimming; the <br> line feed
      // survives the collapsing of the next piece.
      {"<p>a \n<br>\n b</p>", "p\"a \n b\"(br)"},
      {"<div>a<b>c</b>d</div>", "div\"ad\"(b\"c\")"},
      {"<p>\n  a\t\tb&nbsp;&nbsp;c\u3000\u3000d&#32;\n</p>", "p\" a b c d \""},
      {"<div><pre>a\n\n  b</pre><textarea> x  y </textarea></div>",
       "div(pre\"a b\" textarea\" x y \")"},
      {"<p>a <!-- c --> b</p>", "p\"a  b\""},
      {"<div>\n  <b>x</b>\n  <i>y</i>\n</div>", "div\"   \"(b\"x\" i\"y\")"},
      {"<p>1  <  2 &lt; 3, a <3 b</p>", "p\"1 < 2 < 3, a <3 b\""},
      {"<div><script type=\"x\">var a = '<p>';</script>t</div>", "div\"t\"(script[type=x])"}};
  for (const auto& [html, want] : cases) EXPECT_EQ(Parsed(html).tree, want) << html;
}

TEST(Dom, StyleTextGoesToTheSheetWhereverItStands) {
  // After the root has closed the style node hangs nowhere but still counts.
  Parsed p("<html><style>a{}</style></html><style media=\"x\">b { c: d }</style>");
  EXPECT_EQ(p.tree + "|" + p.parser.css_chunks[0] + "|" + p.parser.css_chunks[1],
            "html(style)|a{}|b { c: d }");
}

}  // namespace
}  // namespace pagefold
