// Event-by-event expectations for the tokeniser: what a designer's markup
// delivers, piece by piece, including the odd inputs whose handling the
// prototypes were checked against.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "front/dom.hpp"

namespace pagefold {
namespace {

// Renders events compactly: S(tag|name=value|bare) for a start tag, SE(...)
// for a self-closed one, E(tag), and D(text) for one piece of data.
struct Recorder : TokenSink {
  std::vector<std::string> events;

  void handle_starttag(const std::string& tag, const Attrs& attrs) override {
    events.push_back("S(" + tag + render(attrs) + ")");
  }
  void handle_startendtag(const std::string& tag, const Attrs& attrs) override {
    events.push_back("SE(" + tag + render(attrs) + ")");
  }
  void handle_endtag(const std::string& tag) override { events.push_back("E(" + tag + ")"); }
  void handle_data(const std::string& data) override { events.push_back("D(" + data + ")"); }
  static std::string render(const Attrs& attrs) {
    std::string out;
    for (const Attr& a : attrs) out += "|" + a.name + (a.value ? "=" + *a.value : "");
    return out;
  }
};

std::vector<std::string> events(const std::string& html) {
  Recorder r;
  tokenize(html, r);
  return r.events;
}

using Events = std::vector<std::string>;

struct Case {
  const char* name;
  std::string input;
  Events expected;
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

class TokenizerCase : public ::testing::TestWithParam<Case> {};

TEST_P(TokenizerCase, DeliversExpectedEvents) {
  EXPECT_EQ(events(GetParam().input), GetParam().expected) << GetParam().input;
}

// clang-format off
const Case kCases[] = {
    {"NamesLowerCasedValuesKept", "<DIV CLASS=A Id='B'>", {"S(div|class=A|id=B)"}},
    {"QuotedBareAndAbsentValues", R"(<input disabled a="" b='x y' c=z>)",
     {"S(input|disabled|a=|b=x y|c=z)"}},
    {"DuplicateAttributesKept", R"(<div a="1" A="2">)", {"S(div|a=1|a=2)"}},
    {"BareValueRunsToSpaceOrGt", "<a href=x/y n=1/>", {"S(a|href=x/y|n=1/)"}},
    {"QuoteAdjacentAttributes", "<a b='x'c=\"y\">", {"S(a|b=x|c=y)"}},
    {"UnicodeSpaceSeparatesAttributes", "<a b=c\u3000d=e>", {"S(a|b=c|d=e)"}},
    {"UnicodeSpaceDoesNotEndTagName", "<div\u3000id=a>", {"S(div\u3000id=a)"}},
    {"SelfClosed", "<br/><br /><img src=a.png />", {"SE(br)", "SE(br)", "SE(img|src=a.png)"}},
    {"SlashThenSpaceIsNotSelfClosing", "<br/ >", {"S(br)"}},
    {"SlashBetweenNameAndAttribute", "<a/b>", {"S(a|b)"}},
    {"EndTagSpaceAndJunkIgnored", "</ div></span foo=\">\">", {"E(div)", "E(span)", "D(\">)"}},
    {"EmptyEndTagIsNothing", "x</>y", {"D(x)", "D(y)"}},
    {"EndTagWithoutNameVanishes", "</3>x", {"D(x)"}},
    {"StrayLessThanIsItsOwnPiece", "a < b", {"D(a )", "D(<)", "D( b)"}},
    {"DeclarationsVanish", "<!DOCTYPE html>a<?xml v?>b<![CDATA[x<y]]>c<!x>d<![if IE]>e",
     {"D(a)", "D(b)", "D(c)", "D(d)", "D(e)"}},
    {"UnknownMarkedSectionIsABogusComment", "a<![foo[x]]>b", {"D(a)", "D(b)"}},
    {"CommentCloseMayHaveSpace", "a<!-- x -- >b", {"D(a)", "D(b)"}},
    // An unterminated construct becomes text, split where the scanner resumes; a
    // stray character inside a tag makes the tag text as written.
    {"StartTagAtEnd", R"(p<div class="x)", {"D(p)", "D(<)", R"(D(div class="x))"}},
    {"UnpairedQuoteRunsToGt", R"(<a b="c>x)", {R"(D(<a b="c>))", "D(x)"}},
    {"CommentAtEnd", "x<!--y", {"D(x)", "D(<)", "D(!--y)"}},
    {"EndTagAtEnd", "a</div", {"D(a)", "D(<)", "D(/div)"}},
    {"NulInsideTag", std::string("<a\0>x", 5), {"D(<a)", std::string("D(\0>x)", 6)}},
    {"DoubledEqualsBeforeUnpairedQuote", R"(<a b=="c>)", {R"(S(a|b=="c))"}},
    {"SpaceBeforeUnpairedQuote", R"(<a b= "c>)", {R"(S(a|b=|"c))"}},
    // Raw text of script and style: no tags, no references, one piece, ended only
    // by the element's own closing tag in any letter case.
    {"ScriptKeepsTagsAndReferences", "<script>if (a</scr) x = '</b>' &amp;</script>",
     {"S(script)", "D(if (a</scr) x = '</b>' &amp;)", "E(script)"}},
    {"UpperCaseClosingTag", "<style>a{}</STYLE >b", {"S(style)", "D(a{})", "E(style)", "D(b)"}},
    {"OtherRawTagDoesNotClose", "<style>p{}</script></style>",
     {"S(style)", "D(p{}</script>)", "E(style)"}},
    {"CommentInsideStyleIsStyleText", "<style><!-- a { } --></style>",
     {"S(style)", "D(<!-- a { } -->)", "E(style)"}},
    {"UnclosedRawTextIsNotDelivered", "<style>a{}", {"S(style)"}},
    {"NamedWithAndWithoutSemicolon", "&amp; &amp &lt3 &copy2024 &notit; &notin; &xyz;",
     {"D(& & <3 ©2024 ¬it; ∉ &xyz;)"}},
    {"ExpandedOnce", "&amp;lt;", {"D(&lt;)"}},
    {"TwoCodePointReference", "&NotEqualTilde;", {"D(\u2242\u0338)"}},
    {"NumericReplacements", "&#0;|&#x110000;|&#128;|&#xD800;|&#1;|&#65|&#x41x|&#99999999999999999999;",
     {"D(\ufffd|\ufffd|\u20ac|\ufffd||A|Ax|\ufffd)"}},
    {"NumericWithoutDigitsIsText", "&#;|&#x;|&#", {"D(&#;|&#x;|&#)"}},
    {"NonBreakingSpaces", "a&nbsp;b&nbspc&#32;d", {"D(a\u00a0b\u00a0c d)"}},
    {"InAttributesAlwaysExpanded", R"(<a title="a&ampb" href="?a=1&copy=2" alt=&lt;x&gt;>)",
     {"S(a|title=a&b|href=?a=1©=2|alt=<x>)"}},
    {"SplitTextExpandsEachPiece", "&amp<br>&amp", {"D(&)", "S(br)", "D(&)"}}};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Events, TokenizerCase, ::testing::ValuesIn(kCases));

TEST(Unescape, ReferenceTable) {
  const std::string long_name = "&" + std::string(40, 'a') + ";";
  // clang-format off
  const std::pair<std::string, std::string> cases[] = {
      {"?a=1&copy=2&notx", "?a=1©=2¬x"}, {"a&#x7f;&#xFDD0;&#x1FFFF;&#11;b", "ab"},  // controls and noncharacters vanish
      {"&#9;&#10;&#13;&#x10FFFD;", "\t\n\r\U0010FFFD"},
      // The C1 range reads as windows-1252, except the five unassigned slots.
      {"&#x80;&#x8a;&#x9f;&#x81;", "\u20ac\u0160\u0178\u0081"},
      // The longest name has 31 characters and a semicolon; 32 is the window.
      {"&CounterClockwiseContourIntegral;", "\u2233"}, {long_name, long_name}};
  // clang-format on
  for (const auto& [in, want] : cases) EXPECT_EQ(unescape(in), want) << in;
}

}  // namespace
}  // namespace pagefold
