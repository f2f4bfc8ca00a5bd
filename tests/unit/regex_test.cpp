// Regular expressions: the whitespace set, Unicode digits, anchoring, the
// find-all/sub/split walk over empty matches, and flags.
#include <gtest/gtest.h>

#include "pagefold/error.hpp"
#include "util/regex.hpp"

namespace pagefold {
namespace {

std::vector<std::string> all(const Regex& re, std::string_view s, size_t group = 0) {
  std::vector<std::string> out;
  for (const Match& m : re.find_all(s)) out.push_back(m.str(group));
  return out;
}

TEST(RegexSpace, BackslashSMatchesExactlyTheWhitespaceSet) {
  static const Regex sp(R"(^\s+$)");
  for (const char* s : {"\x1c\x1d\x1e\x1f", "\u0085", "\u00a0\u3000", "\u2028\u2029", "\t\n\v\f\r ",
                        "\u1680\u2000\u200a\u202f\u205f"})
    EXPECT_TRUE(sp.search(s)) << s;
  for (const char* s : {"\u180e", "\u200b", "\ufeff", "x"}) EXPECT_FALSE(sp.search(s)) << s;

  static const Regex in_class(R"([\s,]+)");
  EXPECT_EQ(in_class.split("a,\x1f b\u3000c"), (std::vector<std::string>{"a", "b", "c"}));
  static const Regex non_space(R"(\S+)");
  EXPECT_EQ(all(non_space, "ab\u0085cd\u180eef"), (std::vector<std::string>{"ab", "cd\u180eef"}));
  static const Regex vt(R"([\v]+)");
  EXPECT_EQ(all(vt, "a\x0b\nb"), (std::vector<std::string>{"\x0b"}));
  EXPECT_THROW(Regex(R"([\S])"), Failure);
}

TEST(RegexUnicode, DigitsWordsAndCodePoints) {
  static const Regex digits(R"(\d+)");
  EXPECT_EQ(all(digits, "宽１２0px٣"), (std::vector<std::string>{"１２0", "٣"}));
  static const Regex word(R"(\w+)");
  EXPECT_EQ(all(word, "按钮_1 返回 ok"), (std::vector<std::string>{"按钮_1", "返回", "ok"}));
  static const Regex dot(R"(.)");
  EXPECT_EQ(all(dot, "中😀").size(), 2u);
  static const Regex esc(R"(\u4e2d+\U0001F600)");
  EXPECT_TRUE(esc.fullmatch("中中😀"));
}

TEST(RegexAnchors, MatchSearchFullmatchAndDollar) {
  static const Regex re(R"(\d+px$)");
  EXPECT_TRUE(re.match("12px\n"));  // $ before a final line feed
  EXPECT_FALSE(re.match("12px\n\n"));
  EXPECT_FALSE(re.match("a12px"));
  auto m = re.search("a12px");
  ASSERT_TRUE(m);
  EXPECT_EQ(m->start(), 1u);
  EXPECT_EQ(m->end(), 5u);
  EXPECT_FALSE(re.fullmatch("12px\n"));
  EXPECT_TRUE(re.fullmatch("12px"));
  // A match at a position: ^ still means the very start.
  static const Regex caret(R"(^b)");
  EXPECT_FALSE(caret.match("ab", 1));
  static const Regex b(R"(b)");
  EXPECT_TRUE(b.match("ab", 1));
  EXPECT_FALSE(b.match("ab", 3));
  // fullmatch backtracks to find a whole-text match.
  static const Regex alt(R"(a|ab)");
  EXPECT_TRUE(alt.fullmatch("ab"));
}

TEST(RegexGroups, UnsetGroupsAreEmptyAndUnmatched) {
  static const Regex re(R"((a)|(b))");
  auto m = re.search("b");
  ASSERT_TRUE(m);
  EXPECT_EQ(m->groups(), 3u);
  EXPECT_FALSE(m->matched(1));
  EXPECT_EQ(m->group(1), "");
  EXPECT_TRUE(m->matched(2));
  EXPECT_EQ(m->str(2), "b");
  EXPECT_THROW(m->group(3), Failure);
}

TEST(RegexWalk, FindAllSubAndSplitOverEmptyMatches) {
  static const Regex xs(R"(x*)");
  EXPECT_EQ(xs.sub("-", "abxd"), "-a-b--d-");
  static const Regex alt(R"(a*|b)");
  EXPECT_EQ(all(alt, "b"), (std::vector<std::string>{"", "b", ""}));
  static const Regex cjk(R"([一-龥]+)");
  EXPECT_EQ(all(cjk, "ab中文cd汉字"), (std::vector<std::string>{"中文", "汉字"}));
  static const Regex empty(R"()");
  EXPECT_EQ(empty.sub("|", "中😀"), "|中|😀|");
  static const Regex sep(R"((,)|;)");
  EXPECT_EQ(sep.split("a,b;c"), (std::vector<std::string>{"a", ",", "b", "", "c"}));
  static const Regex comma(R"(,)");
  EXPECT_EQ(comma.split(",a,"), (std::vector<std::string>{"", "a", ""}));
  // The replacement is literal text.
  static const Regex d(R"(\d)");
  EXPECT_EQ(d.sub(R"(\1$0\n)", "a1"), R"(a\1$0\n)");
}

TEST(RegexSyntax, NonGreedyLookaheadAndFlags) {
  static const Regex lazy(R"(<(.+?)>)");
  EXPECT_EQ(all(lazy, "<a><b>", 1), (std::vector<std::string>{"a", "b"}));
  // A comma not inside parentheses.
  static const Regex outside(R"(,(?![^(]*\)))");
  EXPECT_EQ(outside.split("rgb(1,2,3), red"), (std::vector<std::string>{"rgb(1,2,3)", " red"}));
  static const Regex nocase(R"(linear-GRADIENT)", Regex::IGNORECASE);
  EXPECT_TRUE(nocase.search("Linear-Gradient(red, blue)"));
  static const Regex greek(R"(σ)", Regex::IGNORECASE);
  EXPECT_TRUE(greek.search("Σ"));
  static const Regex nodot(R"(a.b)");
  EXPECT_FALSE(nodot.search("a\nb"));
  static const Regex dotall(R"(a.b)", Regex::DOTALL);
  EXPECT_TRUE(dotall.search("a\nb"));
  static const Regex named(R"((?P<n>\d+)(?P=n))");
  EXPECT_TRUE(named.fullmatch("1212"));
  EXPECT_THROW(Regex("(unclosed"), Failure);
}

TEST(RegexLimits, DeepBacktrackOnLongTextStillMatches) {
  // Deep enough to exhaust the JIT stack; the attempt must not fail.
  const std::string s = std::string(200000, 'a') + "x";
  static const Regex re(R"((a|b)*x$)");
  auto m = re.search(s);
  ASSERT_TRUE(m);
  EXPECT_EQ(m->end(), s.size());
  static const Regex word(R"(\w+)");
  const std::string spaced = std::string(100000, ' ') + "中";
  EXPECT_EQ(word.find_all(spaced).size(), 1u);
}

TEST(RegexEscape, LiteralTextMatchesItself) {
  const std::string text = "a.b*c(d)[e]{1}|^$\\+? 中";
  const Regex re(regex_escape(text));
  EXPECT_TRUE(re.fullmatch(text));
  EXPECT_FALSE(re.fullmatch("aXb*c(d)[e]{1}|^$\\+? 中"));
}

}  // namespace
}  // namespace pagefold
