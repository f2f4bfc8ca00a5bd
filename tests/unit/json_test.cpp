// The JSON value: page-file layout, real number text, shared records, key
// order and the strict reader.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "pagefold/error.hpp"
#include "pagefold/json.hpp"

namespace pagefold {
namespace {

TEST(JsonDump, NestedLayoutIsByteExact) {
  Value v = Value::object({{"a", 1},
                           {"b", Value::array()},
                           {"c", Value::object()},
                           {"d", Value::object({{"x", true}, {"y", nullptr}})}});
  v["d"]["z"] = Value::array();
  v["d"]["z"].as_array().push_back(1.5);
  v["d"]["z"].as_array().push_back("t");
  EXPECT_EQ(dump(v, 2),
            "{\n"
            "  \"a\": 1,\n"
            "  \"b\": [],\n"
            "  \"c\": {},\n"
            "  \"d\": {\n"
            "    \"x\": true,\n"
            "    \"y\": null,\n"
            "    \"z\": [\n"
            "      1.5,\n"
            "      \"t\"\n"
            "    ]\n"
            "  }\n"
            "}");
  EXPECT_EQ(dump(Value::object({{"k", Value::object({{"q", false}})}}), 1),
            "{\n \"k\": {\n  \"q\": false\n }\n}");
}

TEST(JsonDump, TopLevelScalarsAndEmpties) {
  EXPECT_EQ(dump(Value::object(), 2), "{}");
  EXPECT_EQ(dump(Value::array(), 2), "[]");
  EXPECT_EQ(dump(Value(-7), 2), "-7");
  EXPECT_EQ(dump(Value(), 2), "null");
}

TEST(JsonDump, EscapesOnlyQuotesBackslashAndControls) {
  const std::string s =
      std::string("q\"b\\n\nr\rt\tb\bf\f") + '\x01' + '\x1f' + "\x7f" + "中文\u2028★";
  EXPECT_EQ(dump(Value(s), 2), "\"q\\\"b\\\\n\\nr\\rt\\tb\\bf\\f\\u0001\\u001f\x7f中文\u2028★\"");
  EXPECT_EQ(dump(Value::object({{"k\"ey", 1}}), 2), "{\n  \"k\\\"ey\": 1\n}");
}

TEST(JsonDump, IntegersAndRealsAreDistinct) {
  EXPECT_EQ(dump(Value(12), 2), "12");
  EXPECT_EQ(dump(Value(12.0), 2), "12.0");
  EXPECT_EQ(dump(Value(12.5), 2), "12.5");
  EXPECT_EQ(dump(Value(std::numeric_limits<double>::quiet_NaN()), 2), "NaN");
  EXPECT_EQ(dump(Value(std::numeric_limits<double>::infinity()), 2), "Infinity");
  EXPECT_EQ(dump(Value(-std::numeric_limits<double>::infinity()), 2), "-Infinity");
}

TEST(JsonRealRepr, ShortestRoundTripWithExponentBounds) {
  const std::pair<double, const char*> cases[] = {
      {10.0, "10.0"},
      {0.5, "0.5"},
      {1e-06, "1e-06"},
      {1e-05, "1e-05"},
      {0.0001, "0.0001"},
      {0.00012, "0.00012"},
      {1e16, "1e+16"},
      {9999999999999998.0, "9999999999999998.0"},
      {123456789012345678.0, "1.2345678901234568e+17"},
      {1.5e20, "1.5e+20"},
      {0.1 + 0.2, "0.30000000000000004"},
      {-0.0, "-0.0"},
      {-2.5, "-2.5"},
      {1e300, "1e+300"},
      {5e-324, "5e-324"},
      {123.456, "123.456"},
      {1e15, "1000000000000000.0"},
  };
  for (const auto& [d, text] : cases) EXPECT_EQ(real_repr(d), text) << text;
  EXPECT_EQ(real_repr(std::numeric_limits<double>::quiet_NaN()), "nan");
  EXPECT_EQ(real_repr(-std::numeric_limits<double>::infinity()), "-inf");
}

TEST(JsonValue, MapsAndListsAreSharedBetweenHolders) {
  Value parent = Value::object();
  Value stack = Value::array();
  Value rec = Value::object({{"type", "window"}});
  parent["child"] = rec;
  stack.as_array().push_back(rec);
  stack.as_array().back()["pos"] = Value::array();
  parent["child"]["pos"].as_array().push_back(3);
  EXPECT_EQ(dump(rec, 1), "{\n \"type\": \"window\",\n \"pos\": [\n  3\n ]\n}");
  EXPECT_TRUE(parent["child"].same(stack.as_array()[0]));

  Value copy = deep_copy(parent);
  copy["child"]["type"] = "text";
  EXPECT_EQ(rec.get("type"), Value("window"));
  EXPECT_FALSE(copy["child"].same(rec));
}

TEST(JsonValue, KeyOrderOnSetEraseAndReset) {
  Object o;
  o.set("a", 1);
  o.set("b", 2);
  o.set("c", 3);
  o.set("a", 10);  // keeps its place
  o.setdefault("b", 99);
  o.setdefault("d", 4);
  EXPECT_TRUE(o.erase("b"));
  EXPECT_FALSE(o.erase("b"));
  o.set("b", 20);  // erased and set again: now last
  std::string keys;
  for (const auto& [k, v] : o) keys += k + "=" + dump(v, 0) + " ";
  EXPECT_EQ(keys, "a=10 c=3 d=4 b=20 ");
  o["e"];  // indexing a missing key appends null
  EXPECT_TRUE(o.contains("e"));
  EXPECT_TRUE(o.get("e").is_null());
  EXPECT_TRUE(o.get("zz").is_null());
  EXPECT_FALSE(o.contains("zz"));
}

TEST(JsonValue, TruthinessAndEquality) {
  for (const Value& v :
       {Value(), Value(false), Value(0), Value(0.0), Value(""), Value::object(), Value::array()})
    EXPECT_FALSE(v.truthy()) << dump(v, 0);
  for (const Value& v :
       {Value(true), Value(-1), Value(0.1), Value(" "), Value::object({{"a", nullptr}}),
        Value(std::numeric_limits<double>::quiet_NaN())})
    EXPECT_TRUE(v.truthy()) << dump(v, 0);

  EXPECT_EQ(Value(1), Value(1.0));
  EXPECT_EQ(Value(true), Value(1));  // true and false count as 1 and 0
  EXPECT_NE(Value(false), Value());
  EXPECT_NE(Value(1), Value(1.5));
  EXPECT_NE(Value("1"), Value(1));
  EXPECT_NE(Value(), Value(0));
  EXPECT_EQ(Value(9007199254740993), Value(9007199254740993));
  EXPECT_NE(Value(9007199254740993), Value(9007199254740992.0));  // no rounding of the int
  // Maps compare by content, whatever their order.
  EXPECT_EQ(Value::object({{"a", 1}, {"b", 2.0}}), Value::object({{"b", 2}, {"a", 1}}));
  EXPECT_NE(Value::object({{"a", 1}}), Value::object({{"a", 1}, {"b", 2}}));
  EXPECT_FALSE(Value::object().same(Value::object()));
  EXPECT_TRUE(Value(3).same(Value(3)));
}

TEST(JsonValue, GetOnNonMapIsNull) {
  EXPECT_TRUE(Value(5).get("a").is_null());
  EXPECT_FALSE(Value("x").contains("a"));
  EXPECT_THROW(Value(5)["a"], Failure);
}

TEST(JsonParse, KeepsOrderKindsAndEscapes) {
  const Value v = parse_json(
      " {\"z\": 1, \"a\": [1.0, -0, 2e3, 1E-2, true, null], \"s\": \"\\u4e2d\\ud83d\\ude00\\n\\/\","
      " \"z\": 5} ");
  EXPECT_EQ(dump(v, 1),
            "{\n \"z\": 5,\n \"a\": [\n  1.0,\n  0,\n  2000.0,\n  0.01,\n  true,\n  null\n ],\n"
            " \"s\": \"中😀\\n/\"\n}");
  EXPECT_TRUE(v.get("a").as_array()[1].is_int());
  EXPECT_EQ(parse_json("-9223372036854775808").as_int(), std::numeric_limits<int64_t>::min());
  EXPECT_EQ(parse_json("\"中文\"").as_string(), "中文");
}

TEST(JsonParse, RefusesMalformedText) {
  const char* bad[] = {"",
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
                       "Infinity",
                       "-Infinity",
                       "\"\\ud800\"",
                       "\"\\udc00\"",
                       "\"\\ud800\\u0041\"",
                       "\"a\nb\"",
                       "\"\\x41\"",
                       "9223372036854775808",
                       "-9223372036854775809",
                       "{} x",
                       "tru"};
  for (const char* text : bad) {
    try {
      parse_json(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const Failure& f) {
      EXPECT_EQ(f.type(), "ValueError") << text;
    }
  }
}

TEST(JsonParse, ErrorNamesThePlace) {
  try {
    parse_json("[1,\n x]");
    FAIL();
  } catch (const Failure& f) {
    EXPECT_STREQ(f.what(), "Expecting value: line 2 column 2 (char 5)");
  }
}

TEST(Failures, TypeAndMessageOfAnyException) {
  EXPECT_EQ(failure_type(KeyError("'icon'")), "KeyError");
  EXPECT_EQ(failure_message(KeyError("'icon'")), "'icon'");
  EXPECT_EQ(failure_type(std::bad_alloc()), "MemoryError");
  EXPECT_EQ(failure_type(std::runtime_error("x")), "RuntimeError");
  EXPECT_EQ(failure_message(std::runtime_error("x")), "x");
}

}  // namespace
}  // namespace pagefold
