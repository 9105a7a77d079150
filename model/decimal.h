// Decimal numbers read alike in every locale: a file or a command line means
// the same whether the user's desktop writes one and a half as "1.5" or "1,5".
#pragma once

#include <cstddef>
#include <string_view>

// Reads the longest number at the start of `text`, as strtod does in the "C"
// locale for an optional sign, digits with at most one point and an optional
// exponent: what follows is left unread, a value too large in magnitude is
// ±infinity and one too small ±0. Returns how many characters were read; 0,
// with `value` 0, when none make a number.
size_t readDecimal(std::string_view text, double& value);
