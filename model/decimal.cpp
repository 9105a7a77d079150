// Locale-independent decimal reading on top of std::from_chars.
#include "model/decimal.h"

#include <charconv>
#include <cmath>

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Whether a number that did not fit lies above the largest double rather than
// below the smallest: its decimal exponent, from the digits and the "e" part.
bool overflows(std::string_view t) {
  size_t i = t[0] == '-' ? 1 : 0;
  long magnitude = 0;
  bool leading = true;
  for (; i < t.size() && isDigit(t[i]); ++i)
    if (!(leading && t[i] == '0')) ++magnitude, leading = false;
  if (i < t.size() && t[i] == '.')
    for (++i; leading && i < t.size() && t[i] == '0'; ++i) --magnitude;
  while (i < t.size() && t[i] != 'e' && t[i] != 'E') ++i;
  long exponent = 0;
  if (i + 1 < t.size()) {
    const char* from = t.data() + i + 1 + (t[i + 1] == '+' ? 1 : 0);
    // An exponent too long for a long is past any double either way.
    if (std::from_chars(from, t.data() + t.size(), exponent).ec == std::errc::result_out_of_range)
      exponent = *from == '-' ? -(1L << 30) : (1L << 30);
  }
  return magnitude + exponent > 0;
}

}  // namespace

size_t readDecimal(std::string_view text, double& value) {
  value = 0;
  // from_chars takes no plus sign; strtod takes one before the digits.
  size_t skip = 0;
  if (text.size() > 1 && text[0] == '+' && (isDigit(text[1]) || text[1] == '.')) skip = 1;
  const char* first = text.data() + skip;
  const char* last = text.data() + text.size();
  double v = 0;
  const auto [end, ec] = std::from_chars(first, last, v, std::chars_format::general);
  if (ec == std::errc::invalid_argument) return 0;
  const std::string_view read(first, size_t(end - first));
  if (ec == std::errc::result_out_of_range) v = overflows(read) ? HUGE_VAL : 0.0;
  value = read[0] == '-' && ec == std::errc::result_out_of_range ? -v : v;
  return skip + read.size();
}
