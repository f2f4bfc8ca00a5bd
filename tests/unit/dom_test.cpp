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
  if (!n.attrs.empty()) {
    out += "[";
    for (size_t i = 0; i < n.attrs.size(); ++i) {
      if (i > 0) out += " ";
      out += n.attrs[i].name;
      if (n.attrs[i].value) out += "=" + *n.attrs[i].value;
    }
    out += "]";
  }
  if (!n.text.empty()) out += "\"" + n.text + "\"";
  if (!n.children.empty()) {
    out += "(";
    for (size_t i = 0; i < n.children.size(); ++i)
      out += (i > 0 ? " " : "") + render(*n.children[i]);
    out += ")";
  }
  return out;
}

class Dom : public ::testing::Test {
 protected:
  // Parses `html` and answers the rendered root tree ("" when there is none).
  std::string tree(const std::string& html) {
    parser.feed(html);
    parser.close();
    return parser.root ? render(*parser.root) : "";
  }
  DomParser parser;
};

TEST_F(Dom, DoctypeThenHtmlMakesHtmlTheRoot) {
  EXPECT_EQ(tree("<!DOCTYPE html><html><body><p>x</p></body></html>"), "html(body(p\"x\"))");
}

TEST_F(Dom, NoStartTagLeavesRootAbsent) {
  EXPECT_EQ(tree("just text <!-- and a comment -->"), "");
  EXPECT_EQ(parser.root, nullptr);
}

TEST_F(Dom, VoidFirstTagIsARootWithoutChildren) {
  // Nothing is open after a void root, so everything later is unreachable.
  EXPECT_EQ(tree(R"(<meta charset="utf-8"><html><div class="screen"></div></html>)"),
            "meta[charset=utf-8]");
  EXPECT_TRUE(parser.stack.empty());
}

TEST_F(Dom, LaterSiblingOfTheRootIsAttachedNowhere) {
  EXPECT_EQ(tree("<head><title>t</title></head><body><div>x</div></body>"), "head(title\"t\")");
}

TEST_F(Dom, StyleAfterTheRootStillReachesTheSheet) {
  EXPECT_EQ(tree("<html><style>a{}</style></html><style media=\"x\">b { c: d }</style>"),
            "html(style)");
  EXPECT_EQ(parser.css_chunks, (std::vector<std::string>{"a{}", "b { c: d }"}));
}

TEST_F(Dom, StyleTextIsOnePieceAndNeverNodeText) {
  EXPECT_EQ(tree("<div><style>\n.a { color: red; }\n&amp; <b>\n</style>t</div>"),
            "div\"t\"(style)");
  EXPECT_EQ(parser.css_chunks, (std::vector<std::string>{"\n.a { color: red; }\n&amp; <b>\n"}));
}

TEST_F(Dom, ScriptTextIsDropped) {
  EXPECT_EQ(tree("<div><script type=\"x\">var a = '<p>';</script>t</div>"),
            "div\"t\"(script[type=x])");
  EXPECT_TRUE(parser.css_chunks.empty());
}

TEST_F(Dom, SelfClosedStyleStartsNoRawText) {
  EXPECT_EQ(tree("<div><style/><b>x</b></div>"), "div(style b\"x\")");
  EXPECT_TRUE(parser.css_chunks.empty());
}

TEST_F(Dom, EndTagClosesEverythingOpenInsideItsPartner) {
  EXPECT_EQ(tree("<body><div><span>text</div>after</body>"), "body\"after\"(div(span\"text\"))");
}

TEST_F(Dom, UnmatchedEndTagClosesTheCurrentElement) {
  // </p> has no partner and closes the div; "y" goes to the body, and the
  // real </div> then finds no div open and closes the body.
  EXPECT_EQ(tree("<html><body><div>x</p>y</div>z</body></html>"), "html\"z\"(body\"y\"(div\"x\"))");
}

TEST_F(Dom, StrayVoidEndTagClosesTheCurrentElement) {
  EXPECT_EQ(tree("<div><p>a</br>b</p></div>"), "div\"b\"(p\"a\")");
}

TEST_F(Dom, EndTagWithNothingOpenIsIgnored) {
  EXPECT_EQ(tree("<img src=a.png></div><p>x</p>"), "img[src=a.png]");
}

TEST_F(Dom, AttributesKeptAsWritten) {
  EXPECT_EQ(tree(R"(<div a="1" a="2"><input disabled value=""></div>)"),
            "div[a=1 a=2](input[disabled value=])");
  const Node& input = *parser.root->children[0];
  EXPECT_FALSE(input.attrs[0].value.has_value());
  ASSERT_TRUE(input.attrs[1].value.has_value());
  EXPECT_EQ(*input.attrs[1].value, "");
}

TEST_F(Dom, VoidTagsAreExactlySix) {
  for (const char* tag : {"meta", "img", "input", "br", "hr", "link"})
    EXPECT_TRUE(DomParser::is_void(tag)) << tag;
  for (const char* tag : {"area", "col", "source", "base", "embed", "wbr", "div"})
    EXPECT_FALSE(DomParser::is_void(tag)) << tag;
  // An ordinary element like <source> stays open and takes what follows.
  EXPECT_EQ(tree("<video><source src=a><p>x</p></video>"), "video(source[src=a](p\"x\"))");
}

TEST_F(Dom, BrAddsALineBreakToTheOpenElement) { EXPECT_EQ(tree("<p>a<br>b</p>"), "p\"a\nb\"(br)"); }

TEST_F(Dom, SelfClosedBrKeepsTextApart) { EXPECT_EQ(tree("<p>a<br/>b</p>"), "p\"ab\"(br)"); }

TEST_F(Dom, LineBreakSurvivesCollapsingOfTheNextPiece) {
  EXPECT_EQ(tree("<p>a \n<br>\n b</p>"), "p\"a \n b\"(br)");
}

TEST_F(Dom, SelfClosedDivIsClosedAndEmpty) {
  EXPECT_EQ(tree("<body><div/>x</body>"), "body\"x\"(div)");
}

TEST_F(Dom, TextBetweenChildrenJoinsInTheParent) {
  EXPECT_EQ(tree("<div>a<b>c</b>d</div>"), "div\"ad\"(b\"c\")");
}

TEST_F(Dom, WhitespaceRunsCollapseToOneSpaceWithoutTrimming) {
  EXPECT_EQ(tree("<p>\n  a\t\tb&nbsp;&nbsp;c\u3000\u3000d&#32;\n</p>"), "p\" a b c d \"");
}

TEST_F(Dom, PreAndTextareaGetNoSpecialWhitespace) {
  EXPECT_EQ(tree("<div><pre>a\n\n  b</pre><textarea> x  y </textarea></div>"),
            "div(pre\"a b\" textarea\" x y \")");
}

TEST_F(Dom, CommentSplitsTextAndEachPieceKeepsItsSpace) {
  EXPECT_EQ(tree("<p>a <!-- c --> b</p>"), "p\"a  b\"");
}

TEST_F(Dom, WhitespaceOnlyPiecesBetweenChildrenLeaveOneSpaceEach) {
  EXPECT_EQ(tree("<div>\n  <b>x</b>\n  <i>y</i>\n</div>"), "div\"   \"(b\"x\" i\"y\")");
}

TEST_F(Dom, StrayLessThanIsText) {
  EXPECT_EQ(tree("<p>1  <  2 &lt; 3, a <3 b</p>"), "p\"1 < 2 < 3, a <3 b\"");
}

TEST_F(Dom, TextOutsideAnyElementIsDropped) { EXPECT_EQ(tree("before<p>in</p>after"), "p\"in\""); }

TEST_F(Dom, UnreachableSubtreeStillBuilds) {
  tree("<a></a><b><c>x</c></b>");
  EXPECT_TRUE(parser.stack.empty());
  EXPECT_EQ(render(*parser.root), "a");
}

}  // namespace
}  // namespace pagefold
