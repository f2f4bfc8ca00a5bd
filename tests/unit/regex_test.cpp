// Regular expressions: the whitespace set, Unicode digits, anchoring, the
// find-all/sub/split walk over empty matches, and deep backtracking.
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "pagefold/error.hpp"
#include "util/regex.hpp"

namespace pagefold {
namespace {

using V = std::vector<std::string>;

V all(const Regex& re, std::string_view s, size_t group = 0) {
  V out;
  for (const Match& m : re.find_all(s)) out.push_back(m.str(group));
  return out;
}

TEST(RegexSpace, BackslashSMatchesExactlyTheWhitespaceSet) {
  static const Regex sp(R"(^\s+$)");
  for (const char* s : {"\x1c\x1d\x1e\x1f", "\u0085", "\u00a0\u3000", "\u2028\u2029", "\t\n\v\f\r ",
                        "\u1680\u2000\u200a\u202f\u205f"})
    EXPECT_TRUE(sp.search(s)) << s;
  for (const char* s : {"\u180e", "\u200b", "\ufeff", "x"}) EXPECT_FALSE(sp.search(s)) << s;
  static const Regex in_class(R"([\s,]+)"), non_space(R"(\S+)"), vt(R"([\v]+)");
  EXPECT_EQ(in_class.split("a,\x1f b\u3000c"), (V{"a", "b", "c"}));
  EXPECT_EQ(all(non_space, "ab\u0085cd\u180eef"), (V{"ab", "cd\u180eef"}));
  EXPECT_EQ(all(vt, "a\x0b\nb"), (V{"\x0b"}));  // \v is U+000B only
  EXPECT_THROW(Regex(R"([\S])"), Failure);
}

TEST(RegexUnicode, DigitsWordsAndCodePoints) {
  static const Regex digits(R"(\d+)"), word(R"(\w+)"), dot(R"(.)"), esc(R"(\u4e2d+\U0001F600)");
  EXPECT_EQ(all(digits, "宽１２0px٣"), (V{"１２0", "٣"}));
  EXPECT_EQ(all(word, "按钮_1 返回 ok"), (V{"按钮_1", "返回", "ok"}));
  EXPECT_EQ(all(dot, "中😀").size(), 2u);
  EXPECT_TRUE(esc.fullmatch("中中😀"));
}

TEST(RegexAnchors, MatchSearchFullmatchAndDollar) {
  static const Regex re(R"(\d+px$)"), caret(R"(^b)"), b(R"(b)"), alt(R"(a|ab)");
  EXPECT_TRUE(re.match("12px\n"));  // $ before a final line feed
  EXPECT_FALSE(re.match("12px\n\n"));
  EXPECT_FALSE(re.match("a12px"));
  auto m = re.search("a12px");
  ASSERT_TRUE(m);
  EXPECT_EQ(m->start() * 10 + m->end(), 15u);
  EXPECT_FALSE(re.fullmatch("12px\n"));
  EXPECT_FALSE(caret.match("ab", 1));  // ^ is still the very start
  EXPECT_TRUE(b.match("ab", 1));
  EXPECT_TRUE(alt.fullmatch("ab"));  // fullmatch backtracks for a whole match
}

TEST(RegexWalk, FindAllSubAndSplitOverEmptyMatches) {
  static const Regex xs(R"(x*)"), alt(R"(a*|b)"), empty(R"()"), sep(R"((,)|;)"), d(R"(\d)");
  EXPECT_EQ(xs.sub("-", "abxd"), "-a-b--d-");
  EXPECT_EQ(all(alt, "b"), (V{"", "b", ""}));
  EXPECT_EQ(empty.sub("|", "中😀"), "|中|😀|");
  EXPECT_EQ(sep.split("a,b;c"), (V{"a", ",", "b", "", "c"}));  // unset groups are empty
  EXPECT_EQ(d.sub(R"(\1$0\n)", "a1"), R"(a\1$0\n)");           // the replacement is literal
  static const Regex lazy(R"(<(.+?)>)"), outside(R"(,(?![^(]*\)))");
  EXPECT_EQ(all(lazy, "<a><b>", 1), (V{"a", "b"}));
  EXPECT_EQ(outside.split("rgb(1,2,3), red"), (V{"rgb(1,2,3)", " red"}));
  EXPECT_THROW(Regex("(unclosed"), Failure);
}

// A pattern is interpreted at first and switched to machine code by a later
// call, and each call borrows the pattern's one spare match block: two
// threads using one pattern across the switch get every answer right.
TEST(RegexThreads, OnePatternOnTwoThreadsAcrossTheSwitchToMachineCode) {
  const Regex re(R"((\d+)-(\w+))");
  const std::string subject = "a 12-ab b 7-中 c";
  auto work = [&](int rounds, int& wrong) {
    for (int i = 0; i < rounds; ++i) {
      auto m = re.search(subject);
      if (!m || m->str(1) != "12" || m->str(2) != "ab") ++wrong;
      if (all(re, subject, 2) != V{"ab", "中"}) ++wrong;
      if (re.match(subject)) ++wrong;
    }
  };
  int wrong_a = 0, wrong_b = 0;
  std::thread a(work, 300, std::ref(wrong_a));
  std::thread b(work, 300, std::ref(wrong_b));
  a.join();
  b.join();
  EXPECT_EQ(wrong_a, 0);
  EXPECT_EQ(wrong_b, 0);
}

TEST(RegexLimits, DeepBacktrackAndLongFindAll) {
  // Deep enough to exhaust the JIT stack; the attempt must not fail.
  const std::string s = std::string(200000, 'a') + "x";
  static const Regex re(R"((a|b)*x$)"), word(R"(\w+)");
  auto m = re.search(s);
  ASSERT_TRUE(m);
  EXPECT_EQ(m->end(), s.size());
  const std::string spaced = std::string(100000, ' ') + "中 a";
  EXPECT_EQ(word.find_all(spaced).size(), 2u);
}

}  // namespace
}  // namespace pagefold
