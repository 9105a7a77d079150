// Whole-file helpers, preset decoding and saving, and safe file names.
#include "io/files.h"

#include "io/json.h"
#include "io/png_chunk.h"
#include "io/preset.h"

#include "io/os_files.h"

#include <cwchar>
#include <cwctype>
#include <exception>
#include <locale.h>
#include <wctype.h>

// [SECTION] Whole files

bool readFileLimited(const std::string& path, size_t limit, std::string& out, std::string& reason) {
  return osReadRegularFile(path, limit, out, reason);
}

bool readWholeFile(const std::string& path, std::string& out) {
  std::string reason;
  return osReadRegularFile(path, kPngFileLimit, out, reason);
}

bool writeFileAtomic(const std::string& path, std::string_view bytes, std::string* reason) {
  std::string why;
  bool ok = osWriteReplacing(path, bytes, why);
  if (reason) *reason = why;
  return ok;
}

bool canWriteFile(const std::string& path, std::string& reason) {
  std::string resolved;
  return osCheckWritable(path, resolved, reason);
}

std::string fileProblem(const char* lead, const std::string& path, const std::string& reason) {
  return std::string(lead) + " «" + path + "»: " + reason;
}

// [SECTION] Presets in files

namespace {

bool looksLikePng(std::string_view bytes) {
  return !bytes.empty() && static_cast<unsigned char>(bytes[0]) == 0x89 && bytes.substr(1, 3) == "PNG";
}

// The preset text of a PNG, or false with the message.
bool presetTextOfPng(std::string_view bytes, std::string& text, std::string& message) {
  switch (findPresetInPng(bytes, text)) {
    case PngPreset::Found: return true;
    case PngPreset::Missing: message = kMsgNoPresetInPng; break;
    case PngPreset::Damaged:
      message = std::string(kMsgCannotOpen) + kMsgDamagedPng + " (параметры не сходятся с контрольной суммой)";
      break;
    case PngPreset::Truncated: message = std::string(kMsgCannotOpen) + kMsgDamagedPng + " (файл обрезан)"; break;
  }
  return false;
}

}  // namespace

bool decodePresetBytes(std::string_view bytes, FractalParams& out, std::string& message) {
  std::string_view text = bytes;
  std::string fromPng;
  if (looksLikePng(bytes)) {
    if (!presetTextOfPng(bytes, fromPng, message)) return false;
    text = fromPng;
  }
  try {
    out = presetFromJson(parseJson(text));
  } catch (const std::exception& e) {
    message = std::string(kMsgCannotOpen) + e.what();
    return false;
  }
  return true;
}

bool loadPresetFile(const std::string& path, FractalParams& out, std::string& message) {
  std::string bytes, reason;
  if (!readFileLimited(path, kPngFileLimit, bytes, reason)) {
    message = fileProblem(kMsgCannotRead, path, reason);
    return false;
  }
  if (!looksLikePng(bytes) && bytes.size() > kTextFileLimit) {
    message = fileProblem(kMsgCannotRead, path, "файл слишком большой для пресета (больше 4 МБ)");
    return false;
  }
  if (decodePresetBytes(bytes, out, message)) return true;
  message += " («" + path + "»)";
  return false;
}

bool savePresetFile(const std::string& path, const FractalParams& p, std::string* reason) {
  return writeFileAtomic(path, presetText(p, 2), reason);
}

// [SECTION] Safe file names

namespace {

constexpr size_t kSafeNameLength = 40;

// One code point from strict UTF-8, or -1 for a byte that starts no valid
// sequence (overlong forms, surrogates and values beyond U+10FFFF included).
long decodeUtf8(const std::string& s, size_t& i) {
  unsigned char c = static_cast<unsigned char>(s[i]);
  if (c < 0x80) return ++i, c;
  int extra = (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : 0;
  if (extra == 0 || i + extra >= s.size()) return ++i, -1;
  long cp = c & (0x3F >> extra);
  for (int k = 1; k <= extra; ++k) {
    unsigned char cc = static_cast<unsigned char>(s[i + k]);
    if ((cc & 0xC0) != 0x80) return ++i, -1;
    cp = cp << 6 | (cc & 0x3F);
  }
  static const long minimum[4] = {0, 0x80, 0x800, 0x10000};
  if (cp < minimum[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return ++i, -1;
  i += extra + 1;
  return cp;
}

// Used where the C library has no UTF-8 locale: the scripts users type seeds in.
bool isLetterOrDigitFallback(long cp) {
  if (cp < 0x80) return (cp >= '0' && cp <= '9') || ((cp | 0x20) >= 'a' && (cp | 0x20) <= 'z');
  if (cp >= 0xC0 && cp <= 0x24F) return cp != 0xD7 && cp != 0xF7;
  return (cp >= 0x386 && cp <= 0x3FF) || (cp >= 0x400 && cp <= 0x481) || (cp >= 0x48A && cp <= 0x52F);
}

bool isLetterOrDigit(long cp) {
  static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
  if (!utf8) return isLetterOrDigitFallback(cp);
  if (cp > static_cast<long>(WCHAR_MAX)) return false;
  return iswalnum_l(static_cast<wint_t>(cp), utf8) != 0;
}

}  // namespace

std::string safeFileName(const std::string& seed) {
  std::string out;
  size_t count = 0;
  for (size_t i = 0; i < seed.size() && count < kSafeNameLength; ++count) {
    size_t start = i;
    long cp = decodeUtf8(seed, i);
    if (cp == '_' || cp == '-' || (cp >= 0 && isLetterOrDigit(cp)))
      out.append(seed, start, i - start);
    else
      out += '_';
  }
  return out.empty() ? "fractal" : out;
}

std::string proposedPresetName(const std::string& seed) {
  return "fractal_" + safeFileName(seed) + ".json";
}
