// Whole-file helpers, preset decoding and saving, and safe file names.
#include "io/files.h"

#include "io/json.h"
#include "io/png_chunk.h"
#include "io/preset.h"

#include "io/os_files.h"
#include "model/utf8.h"

#include <cwchar>
#include <cwctype>
#include <exception>
#include <locale.h>
#include <wctype.h>

// [SECTION] Whole files

bool readFileLimited(const std::string& path, size_t limit, std::string& out, std::string& error) {
  return osReadRegularFile(path, limit, out, error);
}

bool readWholeFile(const std::string& path, std::string& out) {
  std::string why;
  return osReadRegularFile(path, kPngFileLimit, out, why);
}

bool writeFileAtomic(const std::string& path, std::string_view bytes, std::string* error) {
  std::string why;
  bool ok = osWriteReplacing(path, bytes, why);
  if (error) *error = why;
  return ok;
}

bool canWriteFile(const std::string& path, std::string& error) {
  std::string resolved;
  return osCheckWritable(path, resolved, error);
}

std::string fileProblem(const char* lead, const std::string& path, const std::string& error) {
  return std::string(lead) + " «" + path + "»: " + error;
}

// [SECTION] Presets in files

namespace {

bool looksLikePng(std::string_view bytes) {
  return !bytes.empty() && static_cast<unsigned char>(bytes[0]) == 0x89 && bytes.substr(1, 3) == "PNG";
}

// The preset text of a PNG, or false with the error.
bool presetTextOfPng(std::string_view bytes, std::string& text, std::string& error) {
  switch (findPresetInPng(bytes, text)) {
    case PngPreset::Found: return true;
    case PngPreset::Missing: error = kMsgNoPresetInPng; break;
    case PngPreset::Damaged:
      error = std::string(kMsgCannotOpen) + kMsgDamagedPng + " (параметры не сходятся с контрольной суммой)";
      break;
    case PngPreset::Truncated: error = std::string(kMsgCannotOpen) + kMsgDamagedPng + " (файл обрезан)"; break;
  }
  return false;
}

}  // namespace

bool decodePresetBytes(std::string_view bytes, FractalParams& out, std::string& error) {
  std::string_view text = bytes;
  std::string fromPng;
  if (looksLikePng(bytes)) {
    if (!presetTextOfPng(bytes, fromPng, error)) return false;
    text = fromPng;
  }
  try {
    out = presetFromJson(parseJson(text));
  } catch (const std::exception& e) {
    error = std::string(kMsgCannotOpen) + e.what();
    return false;
  }
  return true;
}

bool loadPresetFile(const std::string& path, FractalParams& out, std::string& error) {
  std::string bytes, why;
  if (!readFileLimited(path, kPngFileLimit, bytes, why)) {
    error = fileProblem(kMsgCannotRead, path, why);
    return false;
  }
  if (!looksLikePng(bytes) && bytes.size() > kTextFileLimit) {
    error = fileProblem(kMsgCannotRead, path, "файл слишком большой для пресета (больше 4 МБ)");
    return false;
  }
  if (decodePresetBytes(bytes, out, error)) return true;
  error += " («" + path + "»)";
  return false;
}

bool savePresetFile(const std::string& path, const FractalParams& p, std::string* error) {
  return writeFileAtomic(path, presetText(p, 2), error);
}

// [SECTION] Safe file names

namespace {

constexpr size_t kSafeNameLength = 40;

#ifndef _WIN32
// Used where the C library has no UTF-8 locale: the scripts users type seeds in.
bool isLetterOrDigitFallback(long cp) {
  if (cp < 0x80) return (cp >= '0' && cp <= '9') || ((cp | 0x20) >= 'a' && (cp | 0x20) <= 'z');
  if (cp >= 0xC0 && cp <= 0x24F) return cp != 0xD7 && cp != 0xF7;
  return (cp >= 0x386 && cp <= 0x3FF) || (cp >= 0x400 && cp <= 0x481) || (cp >= 0x48A && cp <= 0x52F);
}
#endif

bool isLetterOrDigit(long cp) {
  if (cp > static_cast<long>(WCHAR_MAX)) return false;
#ifdef _WIN32
  // The Windows runtime's wide-character classes are Unicode whatever the locale.
  return iswalnum(static_cast<wint_t>(cp)) != 0;
#else
  static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
  if (!utf8) return isLetterOrDigitFallback(cp);
  return iswalnum_l(static_cast<wint_t>(cp), utf8) != 0;
#endif
}

}  // namespace

std::string safeFileName(const std::string& seed) {
  std::string out;
  size_t count = 0;
  for (size_t i = 0; i < seed.size() && count < kSafeNameLength; ++count) {
    size_t start = i;
    const long cp = nextCodepoint(seed, i);
    if (cp == '_' || cp == '-' || isLetterOrDigit(cp))
      out.append(seed, start, i - start);
    else
      out += '_';
  }
  return out.empty() ? "fractal" : out;
}

std::string proposedPresetName(const std::string& seed) {
  return "fractal_" + safeFileName(seed) + ".json";
}
