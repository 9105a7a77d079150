// posix_locale.h — the few POSIX locale calls the portable code uses
// (newlocale, strtod_l, iswalnum_l), mapped onto the Windows C runtime's
// _create_locale family. The Windows build includes this header in every
// source file ahead of everything else, so the portable code needs no
// per-platform branches for number parsing in the "C" locale.
#pragma once
#ifdef _WIN32

#include <locale.h>
#include <stdlib.h>
#include <wctype.h>

typedef _locale_t locale_t;

#ifndef LC_ALL_MASK
#define LC_ALL_MASK 0x7fffffff
#endif
#ifndef LC_CTYPE_MASK
#define LC_CTYPE_MASK 0x1
#endif
#ifndef LC_NUMERIC_MASK
#define LC_NUMERIC_MASK 0x8
#endif

// The runtime knows no "C.UTF-8": its wide-character classes are Unicode
// whatever the locale, so the plain "C" locale classifies Cyrillic as well.
static inline locale_t newlocale(int mask, const char* name, locale_t) {
  (void)name;
  return _create_locale(mask == LC_CTYPE_MASK ? LC_CTYPE : mask == LC_NUMERIC_MASK ? LC_NUMERIC : LC_ALL, "C");
}

static inline double strtod_l(const char* s, char** end, locale_t loc) { return _strtod_l(s, end, loc); }

static inline int iswalnum_l(wint_t c, locale_t) { return iswalnum(c); }

#endif  // _WIN32
