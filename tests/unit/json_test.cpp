// The JSON value: page-file layout, real number text, shared records, key
// order and the strict reader.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "pagefold/error.hpp"
#include "pagefold/json.hpp"

namespace pagefold {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(JsonDump, EscapesAndScalars) {
  // The nested layout is checked byte by byte by every golden case.
  EXPECT_EQ(dump(Value::object({{"k", Value::array()}, {"e", Value::object()}}), 1),
            "{\n \"k\": [],\n \"e\": {}\n}");
  // Only quotes, backslash and controls are escaped; non-ASCII stays as it is.
  const std::string s = std::string("q\"b\\n\nr\rt\tb\bf\f") + '\x01' + '\x1f' + "\x7f中文\u2028★";
  EXPECT_EQ(dump(Value::object({{"k\"", s}}), 2),
            "{\n  \"k\\\"\": \"q\\\"b\\\\n\\nr\\rt\\tb\\bf\\f\\u0001\\u001f\x7f中文\u2028★\"\n}");
  // clang-format off
  const std::pair<Value, const char*> scalars[] = {
      {Value(12), "12"},         {Value(12.0), "12.0"},      {Value(12.5), "12.5"},
      {Value(), "null"},         {Value(-7), "-7"},          {Value(kNaN), "NaN"},
      {Value(kInf), "Infinity"}, {Value(-kInf), "-Infinity"}};
  // clang-format on
  for (const auto& [v, text] : scalars) EXPECT_EQ(dump(v, 2), text);
}

// Plain text is passed over eight bytes at a time: every byte that needs an
// escape is found wherever it stands in a word and at the ends of the text,
// and its neighbours on either side of each escaped range are left alone.
TEST(JsonDump, EscapesAreFoundAtEveryPlaceInTheText) {
  const std::pair<std::string, std::string> bytes[] = {{"\x1f", "\\u001f"},
                                                       {" ", " "},
                                                       {"!", "!"},
                                                       {"\"", "\\\""},
                                                       {"#", "#"},
                                                       {"[", "["},
                                                       {"\\", "\\\\"},
                                                       {"]", "]"},
                                                       {std::string(1, '\0'), "\\u0000"},
                                                       {"\x7f", "\x7f"},
                                                       {"\xc3\xa9", "\xc3\xa9"}};
  for (size_t len = 1; len <= 17; ++len)
    for (size_t at = 0; at < len; ++at)
      for (const auto& [raw, escaped] : bytes) {
        const std::string plain(len - 1, 'a');
        const std::string text = plain.substr(0, at) + raw + plain.substr(at);
        EXPECT_EQ(dump(Value(text), 2),
                  "\"" + plain.substr(0, at) + escaped + plain.substr(at) + "\"")
            << len << " " << at << " " << escaped;
      }
}

// Streaming gives the bytes of `dump`, in pieces that stay near 64 KiB
// however large the whole text grows: deep nesting (whose indentation makes
// the text grow with the square of the depth), long lists and empty values.
TEST(JsonDump, StreamedTextIsTheDumpInBoundedPieces) {
  Value deep = Value::object({{"leaf", 1.5}});
  for (int i = 0; i < 600; ++i)
    deep = Value::object({{"k", i}, {"child", deep}, {"e", Value::array()}});
  Value wide = Value::array();
  for (int i = 0; i < 20000; ++i)
    wide.as_array().push_back(Value::object({{"s", "中\n"}, {"i", i}}));
  for (const Value& v : {deep, wide, Value::object(), Value(7)}) {
    for (int indent : {1, 2}) {
      std::string streamed;
      size_t pieces = 0, largest = 0;
      dump_to(v, indent, [&](std::string_view piece) {
        streamed += piece;
        ++pieces;
        largest = std::max(largest, piece.size());
      });
      const std::string whole = dump(v, indent);
      EXPECT_EQ(streamed, whole);
      EXPECT_LE(largest, size_t{66} << 10);
      EXPECT_GE(pieces, whole.size() >> 16);
    }
  }
}

TEST(JsonRealRepr, ShortestRoundTripWithExponentBounds) {
  // clang-format off
  const std::pair<double, const char*> cases[] = {
      {10.0, "10.0"}, {0.5, "0.5"}, {1e-06, "1e-06"}, {1e-05, "1e-05"}, {0.0001, "0.0001"},
      {0.00012, "0.00012"}, {1e16, "1e+16"}, {1.5e20, "1.5e+20"}, {-0.0, "-0.0"}, {-2.5, "-2.5"},
      {1e300, "1e+300"}, {5e-324, "5e-324"}, {1e15, "1000000000000000.0"}, {kNaN, "nan"},
      {9999999999999998.0, "9999999999999998.0"}, {0.1 + 0.2, "0.30000000000000004"},
      {123456789012345678.0, "1.2345678901234568e+17"}, {-kInf, "-inf"}};
  // clang-format on
  for (const auto& [d, text] : cases) EXPECT_EQ(real_repr(d), text) << text;
}

TEST(JsonValue, MapsAndListsAreSharedBetweenHolders) {
  Value rec = Value::object({{"type", "window"}});
  Value parent = Value::object({{"child", rec}}), stack = Value::array();
  stack.as_array().push_back(rec);
  stack.as_array().back()["pos"] = 3;
  deep_copy(parent)["child"]["type"] = "text";
  EXPECT_EQ(dump(parent["child"], 0), "{\n\"type\": \"window\",\n\"pos\": 3\n}");
}

TEST(JsonValue, KeyOrderOnSetEraseAndReset) {
  Object o;
  for (const char* k : {"a", "b", "c"}) o.set(k, 1);
  o.set("a", 10);  // keeps its place
  o.setdefault("b", 99);
  o.setdefault("d", 4);
  EXPECT_TRUE(o.erase("b"));
  o.set("b", 20);  // erased and set again: now last
  o["e"];          // indexing a missing key appends null
  std::string keys;
  for (const auto& [k, v] : o) keys += k + "=" + dump(v, 0) + " ";
  EXPECT_EQ(keys, "a=10 c=1 d=4 b=20 e=null ");
  EXPECT_FALSE(o.contains("zz"));
  EXPECT_TRUE(Value(5).get("a").is_null());
  EXPECT_THROW(Value(5)["a"], Failure);
}

// Large maps keep an index beside their items: found, set, erased and
// iterated as small ones are, on both sides of the size where it starts.
TEST(JsonValue, LargeMapsKeepOrderThroughTheIndex) {
  for (size_t n :
       {Object::kIndexFrom - 1, Object::kIndexFrom, Object::kIndexFrom + 1, size_t{300}}) {
    Object o;
    std::vector<std::string> model;
    for (size_t i = 0; i < n; ++i) {
      const std::string k = "textview__" + std::to_string(i);
      o[k] = static_cast<int64_t>(i);
      model.push_back(k);
    }
    o.set("textview__0", -1);  // keeps its place
    o.setdefault("textview__1", 99);
    // Erase the first key and every seventh one, then set the first again.
    for (size_t i = 0; i < n; i += 7) {
      EXPECT_TRUE(o.erase(model[i]));
      EXPECT_FALSE(o.erase(model[i]));
    }
    for (size_t i = 0; i < n; i += 7) model[i].clear();
    o.set("textview__0", 7);
    model.erase(std::remove(model.begin(), model.end(), std::string()), model.end());
    model.push_back("textview__0");
    std::vector<std::string> keys;
    for (const auto& [k, v] : o) keys.push_back(k);
    EXPECT_EQ(keys, model) << n;
    for (size_t i = 0; i < model.size(); ++i) {
      ASSERT_NE(o.find(model[i]), nullptr) << model[i];
      EXPECT_EQ(&o.items()[i].second, o.find(model[i]));
    }
    EXPECT_EQ(o.get("textview__0"), Value(7));
    EXPECT_EQ(o.get("textview__1"), n > 1 ? Value(1) : Value());
    EXPECT_FALSE(o.contains("textview__7"));
    EXPECT_FALSE(o.contains("textview"));
    Object copy = o;  // a copy answers from its own index
    copy.set("extra", 1);
    EXPECT_TRUE(copy.contains("extra"));
    EXPECT_FALSE(o.contains("extra"));
    EXPECT_EQ(copy.find("textview__0")->as_int(), 7);
  }
}

TEST(JsonValue, TruthinessAndEquality) {
  for (const Value& v :
       {Value(), Value(false), Value(0), Value(0.0), Value(""), Value::object(), Value::array()})
    EXPECT_FALSE(v.truthy()) << dump(v, 0);
  for (const Value& v : {Value(true), Value(-1), Value(0.1), Value(" "),
                         Value::object({{"a", nullptr}}), Value(kNaN)})
    EXPECT_TRUE(v.truthy()) << dump(v, 0);
  EXPECT_EQ(Value(true), Value(1.0));  // true and false count as 1 and 0
  EXPECT_NE(Value(false), Value());
  EXPECT_NE(Value(9007199254740993), Value(9007199254740992.0));  // no rounding of the int
  // Maps compare by content, whatever their order; identity is separate.
  EXPECT_EQ(Value::object({{"a", 1}, {"b", 2.0}}), Value::object({{"b", 2}, {"a", 1}}));
}

TEST(JsonParse, KeepsOrderKindsAndEscapes) {
  const Value v = parse_json(
      " {\"z\": 1, \"a\": [1.0, -0, 2e3, 1E-2, true, null], \"s\": \"\\u4e2d\\ud83d\\ude00\\n\\/\","
      " \"z\": 5} ");
  EXPECT_EQ(dump(v, 1),
            "{\n \"z\": 5,\n \"a\": [\n  1.0,\n  0,\n  2000.0,\n  0.01,\n  true,\n  null\n ],\n"
            " \"s\": \"中😀\\n/\"\n}");
  EXPECT_EQ(parse_json("-9223372036854775808").as_int(), std::numeric_limits<int64_t>::min());
}

// Texts are read in runs between escapes; a control character or the end of
// the text inside a run is reported where it stands.
TEST(JsonParse, StringsInRunsBetweenEscapes) {
  EXPECT_EQ(parse_json("[\"ab\\\"c中d\\\\e\", \"\", \"x\\ty\"]"),
            Value(std::make_shared<Array>(Array{"ab\"c中d\\e", "", "x\ty"})));
  const std::pair<const char*, const char*> bad[] = {
      {"\"abc\ndef\"", "Invalid control character at: line 1 column 5 (char 4)"},
      {"\"abcdef", "Unterminated string starting at: line 1 column 1 (char 0)"},
      {"[\"ab\\\"c中d\\\\e\", \"x\ty\"]",
       "Invalid control character at: line 1 column 18 (char 17)"}};
  for (const auto& [text, message] : bad) {
    try {
      parse_json(text);
      ADD_FAILURE() << text;
    } catch (const Failure& f) {
      EXPECT_EQ(f.message(), message) << text;
    }
  }
}

TEST(JsonParse, RefusesMalformedText) {
  for (const char* text : {"",
                           "{",
                           "{\"a\" 1}",
                           "{'a': 1}",
                           "[1,]",
                           "[1 2]",
                           "01",
                           "1.",
                           ".5",
                           "+1",
                           "NaN",
                           "-Infinity",
                           "\"\\ud800\"",
                           "\"\\udc00\"",
                           "\"\\ud800\\u0041\"",
                           "\"a\nb\"",
                           "\"\\x41\"",
                           "9223372036854775808",
                           "{} x",
                           "tru"})
    EXPECT_THROW(parse_json(text), Failure) << text;
}

}  // namespace
}  // namespace pagefold
