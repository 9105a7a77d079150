// Text and number reading shared by the interface, the files and the command line.
#include "model/decimal.h"
#include "model/utf8.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

TEST(Utf8, RoundTripAndBadBytesBecomeReplacement) {
  std::string text = "тест_сид ё €𝄞";
  auto v = decodeUtf8(text);
  EXPECT_EQ(v.size(), 13u);
  EXPECT_EQ(v[0], 0x0442u);
  EXPECT_EQ(v[12], 0x1D11Eu);
  EXPECT_EQ(encodeUtf8(v), text);
  // A lone continuation byte, a cut sequence, an overlong slash, a surrogate.
  auto bad = decodeUtf8(std::string("a\x80" "b\xD0", 4));
  EXPECT_EQ(bad, (std::vector<uint32_t>{'a', 0xFFFD, 'b', 0xFFFD}));
  EXPECT_EQ(decodeUtf8("\xC0\xAF"), (std::vector<uint32_t>{0xFFFD, 0xFFFD}));
  EXPECT_EQ(decodeUtf8("\xED\xA0\x80").front(), 0xFFFDu);
  EXPECT_EQ(decodeUtf8("\xF4\x90\x80\x80").front(), 0xFFFDu);  // past U+10FFFF
  EXPECT_EQ(encodeUtf8({0xD800, 0x110000}), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Utf8, KeptSurrogatesAndCutsAtBoundaries) {
  // JSON stores a lone "\u" surrogate as its three bytes and must read them back.
  uint32_t cp = 0;
  EXPECT_EQ(utf8SequenceAt("\xED\xA0\x80", 0, cp, Surrogates::Kept), 3u);
  EXPECT_EQ(cp, 0xD800u);
  std::string out;
  appendUtf8(out, 0xDC00, Surrogates::Kept);
  EXPECT_EQ(out, "\xED\xB0\x80");
  // A cut never splits a letter: inside "ж" it falls back to the letter's start.
  const std::string s = "aж€";
  EXPECT_EQ(utf8Boundary(s, 2), 1u);
  EXPECT_EQ(utf8Boundary(s, 3), 3u);
  EXPECT_EQ(utf8Boundary(s, 5), 3u);
  EXPECT_EQ(utf8Boundary(s, 99), s.size());
}

TEST(Decimal, ReadsLikeTheCLocaleWhateverFollows) {
  double v = -1;
  EXPECT_EQ(readDecimal("1.5", v), 3u);
  EXPECT_EQ(v, 1.5);
  EXPECT_EQ(readDecimal("+.25e1x", v), 6u);  // a plus sign, no integer digits, trailing text
  EXPECT_EQ(v, 2.5);
  EXPECT_EQ(readDecimal("1,5", v), 1u);  // a comma is not a decimal point
  EXPECT_EQ(v, 1);
  EXPECT_EQ(readDecimal("1-2", v), 1u);
  EXPECT_EQ(readDecimal("+-1", v), 0u);
  EXPECT_EQ(v, 0);
  EXPECT_EQ(readDecimal("-", v), 0u);
  // Out of range: infinities above, signed zeros below, as strtod gives them.
  readDecimal("-1e999", v);
  EXPECT_EQ(v, -INFINITY);
  readDecimal("0.00001e99999999999999999999", v);
  EXPECT_EQ(v, INFINITY);
  readDecimal("-1e-999", v);
  EXPECT_TRUE(v == 0 && std::signbit(v));
  readDecimal("1000e-99999999999999999999", v);
  EXPECT_TRUE(v == 0 && !std::signbit(v));
  readDecimal("4.9e-324", v);  // the smallest subnormal is a number, not an underflow
  EXPECT_GT(v, 0);
}
