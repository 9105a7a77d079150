// Whole-file helpers, preset decoding and saving, and safe file names.
#include "io/files.h"

#include "io/json.h"
#include "io/png_chunk.h"
#include "io/preset.h"

#include <cstdio>
#include <cwchar>
#include <cwctype>
#include <exception>
#include <filesystem>
#include <locale.h>
#include <random>
#include <system_error>
#include <wctype.h>

#if defined(__unix__) || defined(__APPLE__)
#include <unistd.h>
#endif
#ifdef _WIN32
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#endif

// [SECTION] Whole files

namespace {

std::filesystem::path toPath(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::FILE* openFile(const std::filesystem::path& path, const char* mode) {
#ifdef _WIN32
  // The system C runtime (msvcrt) knows no "x" mode; an exclusive create
  // goes through _wsopen instead.
  if (std::strchr(mode, 'x')) {
    int fd = -1;
    if (_wsopen_s(&fd, path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _SH_DENYNO, _S_IREAD | _S_IWRITE))
      return nullptr;
    std::FILE* f = _fdopen(fd, "wb");
    if (!f) _close(fd);
    return f;
  }
  std::wstring wmode(mode, mode + std::char_traits<char>::length(mode));
  return _wfopen(path.c_str(), wmode.c_str());
#else
  return std::fopen(path.c_str(), mode);
#endif
}

// Flushes the data to the disk as well as to the C library, so that the
// rename that follows never publishes a file whose bytes are still in flight.
bool flushToDisk(std::FILE* f) {
  if (std::fflush(f) != 0) return false;
#if defined(__unix__) || defined(__APPLE__)
  if (fsync(fileno(f)) != 0) return false;
#endif
  return true;
}

// A fresh name next to the target, so the final rename stays on one file system.
std::FILE* createTempNextTo(const std::string& path, std::filesystem::path& tempPath) {
  static std::mt19937 rng{std::random_device{}()};
  for (int attempt = 0; attempt < 16; ++attempt) {
    char suffix[24];
    std::snprintf(suffix, sizeof suffix, ".tmp%08x", static_cast<unsigned>(rng()));
    tempPath = toPath(path + suffix);
    if (std::FILE* f = openFile(tempPath, "wbx")) return f;  // "x": never reuse a file
  }
  return nullptr;
}

}  // namespace

bool readWholeFile(const std::string& path, std::string& out) {
  std::FILE* f = openFile(toPath(path), "rb");
  if (!f) return false;
  std::string bytes;
  char buf[65536];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) bytes.append(buf, n);
  bool ok = !std::ferror(f);
  std::fclose(f);
  if (ok) out = std::move(bytes);
  return ok;
}

bool writeFileAtomic(const std::string& path, std::string_view bytes) {
  std::filesystem::path temp;
  std::FILE* f = createTempNextTo(path, temp);
  if (!f) return false;
  bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  ok = flushToDisk(f) && ok;
  ok = std::fclose(f) == 0 && ok;
  std::error_code ec;
  if (ok) {
    std::filesystem::rename(temp, toPath(path), ec);
    ok = !ec;
  }
  if (!ok) std::filesystem::remove(temp, ec);
  return ok;
}

// [SECTION] Presets in files

bool decodePresetBytes(std::string_view bytes, FractalParams& out, std::string& message) {
  std::string_view text = bytes;
  std::string fromPng;
  if (bytes.size() >= 9 && static_cast<unsigned char>(bytes[0]) == 0x89) {
    fromPng = presetTextFromPng(bytes);
    if (fromPng.empty()) {
      message = kMsgNoPresetInPng;
      return false;
    }
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
  std::string bytes;
  if (!readWholeFile(path, bytes)) {
    message = kMsgCannotRead;
    return false;
  }
  return decodePresetBytes(bytes, out, message);
}

bool savePresetFile(const std::string& path, const FractalParams& p) {
  return writeFileAtomic(path, presetText(p, 2));
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
