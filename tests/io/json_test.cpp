// The JSON reader and writer: errors, leniency, escapes, numbers, layout.
#include "io/json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

std::string parseError(const std::string& text) {
  try {
    parseJson(text);
  } catch (const std::runtime_error& e) {
    return e.what();
  }
  return "(no error)";
}

std::string nested(int depth) { return std::string(depth, '[') + std::string(depth, ']'); }

}  // namespace

TEST(Json, ErrorMessages) {
  EXPECT_EQ(parseError("{} x"), "лишние символы в JSON");
  EXPECT_EQ(parseError("[1,2"), "неожиданный конец JSON");
  EXPECT_EQ(parseError(""), "неожиданный конец JSON");
  EXPECT_EQ(parseError("[\"abc]"), "неожиданный конец JSON");  // the string swallows the bracket
  EXPECT_EQ(parseError("[1;2]"), "ожидалось ',' или ']'");
  EXPECT_EQ(parseError("{\"a\":1;}"), "ожидалось ',' или '}'");
  EXPECT_EQ(parseError("{\"a\" 1}"), "ожидалось ':'");
  EXPECT_EQ(parseError("{a:1}"), "ожидалась строка");
  EXPECT_EQ(parseError("[1,]"), "неверное значение JSON");
  EXPECT_EQ(parseError("tru"), "неверное значение JSON");
  EXPECT_EQ(parseError("\xEF\xBB\xBF{}"), "(no error)");  // editors put a BOM before UTF-8
  EXPECT_EQ(parseError("\xEF\xBB\xBF"), "неожиданный конец JSON");
  EXPECT_EQ(parseError("\xEF\xBB{}"), "неверное значение JSON");  // half a BOM is no BOM
}

TEST(Json, LenientReading) {
  EXPECT_TRUE(parseJson("  {} ").isObject());
  EXPECT_EQ(parseJson("\"abc").text, "abc");
  EXPECT_EQ(parseJson("1-2").number, 1);
  EXPECT_EQ(parseJson(".5e1").number, 5);
  EXPECT_EQ(parseJson("-").number, 0);
  EXPECT_EQ(parseJson("[true,false,null]").items[2].type, JsonValue::Null);
}

TEST(Json, StringEscapes) {
  EXPECT_EQ(parseJson(R"("\n\t\r\b\f\"\\\/\q")").text, "\n\t\r\b\f\"\\/q");
  EXPECT_EQ(parseJson(R"("\u0041\u00e9\u20ac")").text, "A\xC3\xA9\xE2\x82\xAC");
  // Surrogate halves are encoded one by one, as two 3-byte sequences.
  EXPECT_EQ(parseJson(R"("\ud83d\ude00")").text, "\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(parseJson(R"("\u12")").text, "u12");

  // The writer escapes only what JSON requires: spaces, "/" and Cyrillic stay
  // as they are, so a preset reads the same in a text editor as in the panel.
  std::string written = writeJson(JsonValue::makeString("a\tb\"c\\d\ne\x01\xD0\xBC 2/3"), 0);
  EXPECT_EQ(written, "\"a\\u0009b\\\"c\\\\d\\ne\\u0001\xD0\xBC 2/3\"");
  EXPECT_EQ(parseJson(written).text, "a\tb\"c\\d\ne\x01\xD0\xBC 2/3");
}

TEST(Json, DepthLimit) {
  EXPECT_NO_THROW(parseJson(nested(kJsonMaxDepth)));
  EXPECT_EQ(parseError(nested(kJsonMaxDepth + 1)), "слишком глубокая вложенность JSON");
  // Depth counts open containers, not containers seen: siblings do not add up.
  std::string wide = "[" + nested(kJsonMaxDepth - 1) + "," + nested(kJsonMaxDepth - 1) + "]";
  EXPECT_NO_THROW(parseJson(wide));
}

TEST(Json, NumberFormatting) {
  auto num = [](double x) { return writeJson(JsonValue::makeNumber(x), 2); };
  EXPECT_EQ(num(3), "3");
  EXPECT_EQ(num(2.5), "2.5");
  EXPECT_EQ(num(1e20), "1e+20");
  EXPECT_EQ(num(0.1 + 0.2), "0.3");
  EXPECT_EQ(num(999999999999999.0), "999999999999999");  // the last whole number below 1e15
  EXPECT_EQ(num(1e15), "1e+15");
  EXPECT_EQ(num(3333333333333.32), "3.333333333e+12");  // reads back as a whole number
  EXPECT_EQ(num(-0.0), "-0");
  EXPECT_EQ(num(std::numeric_limits<double>::infinity()) + num(std::nan("")), "00");
}

TEST(Json, LayoutAndHelpers) {
  // A repeated key is replaced in place; nested objects inside arrays indent from their level.
  const JsonValue o = parseJson(R"({"b": 1, "a": [], "c": [{"x": true}, null], "e": {}, "b": "s"})");
  EXPECT_EQ(writeJson(o, 2),
            "{\n  \"b\": \"s\",\n  \"a\": [],\n  \"c\": [{\n      \"x\": true\n    }, null],\n"
            "  \"e\": {}\n}");
  EXPECT_EQ(writeJson(o, 0), "{\n\"b\": \"s\",\n\"a\": [],\n\"c\": [{\n\"x\": true\n}, null],\n\"e\": {}\n}");
  EXPECT_EQ(numberOr(o, "b", 7), 7);  // a string is not a number
  EXPECT_EQ(stringOr(o, "b", "?"), "s");
}

// Repeated keys go through an index once an object is big: the last value
// wins at the first key's place, in objects of every size, and reading stays
// fast enough for a key count that the old scan took a minute over.
TEST(Json, KeyIndexKeepsOrderAndFindsRepeats) {
  for (int count : {4, 16, 17, 40, 200000}) {
    std::string text = "{";
    for (int i = 0; i < count; ++i) text += "\"k" + std::to_string(i) + "\": " + std::to_string(i) + ",";
    text += "\"k0\": -1, \"k" + std::to_string(count - 1) + "\": -2, \"k1\": -3, \"end\": true}";
    JsonValue v = parseJson(text);
    ASSERT_EQ(v.members.size(), size_t(count) + 1) << count;
    EXPECT_EQ(v.members[0].first, "k0");
    EXPECT_EQ(v.members[0].second.number, -1);
    EXPECT_EQ(v.members[size_t(count) - 1].second.number, -2);
    EXPECT_EQ(v.members.back().first, "end");
    EXPECT_EQ(v.members[1].second.number, -3) << count;
    for (int i = 1; i + 1 < count && i < 100; ++i) EXPECT_EQ(v.members[size_t(i)].first, "k" + std::to_string(i));
  }
}

TEST(Json, InvalidUtf8IsRepairedTheSameWayEverywhere) {
  // A lone continuation byte, a truncated sequence, an overlong form and a
  // byte that never starts anything: one U+FFFD per bad byte.
  const std::string bad = "a\x80" "b\xE2\x82" "c\xC0\xAF" "d\xFF";
  const std::string mended = "a\xEF\xBF\xBD" "b\xEF\xBF\xBD\xEF\xBF\xBD" "c\xEF\xBF\xBD\xEF\xBF\xBD" "d\xEF\xBF\xBD";
  EXPECT_EQ(repairUtf8(bad), mended);
  EXPECT_EQ(parseJson("\"" + bad + "\"").text, mended);
  EXPECT_EQ(writeJson(JsonValue::makeString(bad), 0), "\"" + mended + "\"");
  EXPECT_TRUE(isRepairedUtf8(mended));
  // Valid text, four-byte characters and the reader's own surrogate halves pass untouched.
  for (std::string ok : {std::string("мир 😀"), parseJson("\"\\ud83d\\ude00\"").text}) {
    EXPECT_EQ(repairUtf8(ok), ok);
    EXPECT_EQ(parseJson(writeJson(JsonValue::makeString(ok), 0)).text, ok);
  }
}
