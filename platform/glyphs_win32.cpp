// glyphs_win32.cpp — glyph coverage for the interface's atlas, rasterised by
// GDI: each family of the request is tried in turn and kept only when
// GetTextFaceW reports that very face (GDI otherwise substitutes silently);
// a code point the main face lacks comes from the next matched face that has
// it. Grey antialiasing, white text on black, coverage = brightest channel.
#include "platform/platform.h"
#include "platform/win32_common.h"

#include <algorithm>
#include <cwctype>
#include <memory>

namespace platform {

namespace {

struct Face {
  HFONT font = nullptr;
  std::string name;  // as GetTextFaceW reports it
};

// A memory DC with a top-down 32-bit DIB section to draw single glyphs into.
struct Canvas {
  HDC dc = nullptr;
  HBITMAP bitmap = nullptr;
  HGDIOBJ previous = nullptr;
  uint32_t* pixels = nullptr;
  int width = 0, height = 0;

  ~Canvas() {
    if (dc && previous) SelectObject(dc, previous);
    if (bitmap) DeleteObject(bitmap);
    if (dc) DeleteDC(dc);
  }
};

bool makeCanvas(Canvas& c, int width, int height) {
  c.dc = CreateCompatibleDC(nullptr);
  if (!c.dc) return false;
  BITMAPINFO bi{};
  bi.bmiHeader.biSize = sizeof bi.bmiHeader;
  bi.bmiHeader.biWidth = width;
  bi.bmiHeader.biHeight = -height;  // top-down
  bi.bmiHeader.biPlanes = 1;
  bi.bmiHeader.biBitCount = 32;
  bi.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  c.bitmap = CreateDIBSection(c.dc, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (!c.bitmap || !bits) return false;
  c.pixels = static_cast<uint32_t*>(bits);
  c.width = width;
  c.height = height;
  c.previous = SelectObject(c.dc, c.bitmap);
  SetTextColor(c.dc, RGB(255, 255, 255));
  SetBkMode(c.dc, TRANSPARENT);
  SetTextAlign(c.dc, TA_LEFT | TA_BASELINE | TA_NOUPDATECP);
  return true;
}

std::string faceName(HDC dc) {
  wchar_t name[LF_FACESIZE] = {};
  int n = GetTextFaceW(dc, LF_FACESIZE, name);
  return n > 0 ? win32::narrow(name) : std::string();
}

bool sameFace(const std::wstring& a, const std::wstring& b) {
  return CompareStringOrdinal(a.c_str(), int(a.size()), b.c_str(), int(b.size()), TRUE) == CSTR_EQUAL;
}

HFONT createFont(const FontRequest& f, const std::wstring& family) {
  // The face name field holds 31 characters and its terminator.
  std::wstring face = family.substr(0, LF_FACESIZE - 1);
  return CreateFontW(-f.pixelHeight, 0, 0, 0, f.weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_TT_PRECIS,
                     CLIP_DEFAULT_PRECIS, ANTIALIASED_QUALITY, DEFAULT_PITCH | FF_SWISS, face.c_str());
}

// The face of `family` when GDI has that very face, else nullptr.
HFONT exactFace(HDC dc, const FontRequest& f, const std::string& family, std::string& name) {
  std::wstring wanted = win32::widen(family).substr(0, LF_FACESIZE - 1);
  HFONT font = createFont(f, wanted);
  if (!font) return nullptr;
  HGDIOBJ old = SelectObject(dc, font);
  name = faceName(dc);
  SelectObject(dc, old);
  if (sameFace(win32::widen(name), wanted)) return font;
  DeleteObject(font);
  return nullptr;
}

// Symbols ("✓", arrows) that text faces lack: where plain text output would
// reach them through the system's font linking, single glyphs are taken from
// here. Only ever a fallback, never the main face.
const char* const kSymbolFallbacks[] = {"Segoe UI Symbol"};

// Every family that exists as itself, in the order asked, then the symbol
// fallbacks. When no asked family exists, the face GDI substitutes for the
// first one stands in (any system sans-serif).
std::vector<Face> openFaces(HDC dc, const FontRequest& f) {
  std::vector<Face> faces;
  std::string name;
  for (const std::string& family : f.families)
    if (HFONT font = exactFace(dc, f, family, name)) faces.push_back({font, name});
  if (faces.empty()) {
    HFONT font = createFont(f, f.families.empty() ? L"Segoe UI" : win32::widen(f.families.front()));
    if (!font) return faces;
    HGDIOBJ old = SelectObject(dc, font);
    faces.push_back({font, faceName(dc)});
    SelectObject(dc, old);
  }
  for (const char* family : kSymbolFallbacks)
    if (HFONT font = exactFace(dc, f, family, name)) faces.push_back({font, name});
  return faces;
}

std::wstring utf16(uint32_t cp) {
  if (cp < 0x10000) return std::wstring(1, wchar_t(cp));
  cp -= 0x10000;
  return {wchar_t(0xD800 + (cp >> 10)), wchar_t(0xDC00 + (cp & 0x3FF))};
}

// Whether the selected font has its own glyph for the character.
bool hasGlyph(HDC dc, const std::wstring& text) {
  WORD index[2] = {0, 0};
  if (GetGlyphIndicesW(dc, text.c_str(), int(text.size()), index, GGI_MARK_NONEXISTING_GLYPHS) == GDI_ERROR)
    return false;
  return index[0] != 0xFFFF;
}

// Draws one character with its pen at (pad, baseline) and crops the canvas to
// the lit pixels. Every face sits on the main face's baseline, so a glyph
// from a fallback face lines up with the rest.
void renderGlyph(Canvas& c, int pad, int baseline, const std::wstring& text, GlyphBitmap& g) {
  std::fill(c.pixels, c.pixels + size_t(c.width) * c.height, 0u);
  SIZE extent{};
  GetTextExtentPoint32W(c.dc, text.c_str(), int(text.size()), &extent);
  g.advance = extent.cx;
  TextOutW(c.dc, pad, baseline, text.c_str(), int(text.size()));
  GdiFlush();
  int x0 = c.width, y0 = c.height, x1 = -1, y1 = -1;
  for (int y = 0; y < c.height; ++y)
    for (int x = 0; x < c.width; ++x)
      if (c.pixels[size_t(y) * c.width + x] & 0xFFFFFF) {
        x0 = std::min(x0, x), x1 = std::max(x1, x);
        y0 = std::min(y0, y), y1 = std::max(y1, y);
      }
  if (x1 < 0) return;  // a space: advance only
  g.width = x1 - x0 + 1;
  g.height = y1 - y0 + 1;
  g.left = x0 - pad;
  g.top = y0;
  g.coverage.resize(size_t(g.width) * g.height);
  for (int y = 0; y < g.height; ++y)
    for (int x = 0; x < g.width; ++x) {
      uint32_t p = c.pixels[size_t(y0 + y) * c.width + x0 + x];
      g.coverage[size_t(y) * g.width + x] = uint8_t(std::max({p & 0xFF, (p >> 8) & 0xFF, (p >> 16) & 0xFF}));
    }
}

}  // namespace

bool rasterizeGlyphs(const FontRequest& font, const std::vector<uint32_t>& codepoints,
                     std::vector<GlyphBitmap>& out, FontMetrics& metrics, std::string& error) {
  out.clear();
  int size = std::max(font.pixelHeight, 1);
  // Room for overhangs on both sides of the pen and below the line.
  int pad = size / 2 + 2;
  Canvas canvas;
  if (!makeCanvas(canvas, size * 3 + pad * 2, size * 2 + 4)) {
    error = "GDI: no memory bitmap for glyphs";
    return false;
  }
  std::vector<Face> faces = openFaces(canvas.dc, font);
  if (faces.empty()) {
    error = "GDI: no font could be created";
    return false;
  }
  HGDIOBJ old = SelectObject(canvas.dc, faces.front().font);
  TEXTMETRICW tm{};
  GetTextMetricsW(canvas.dc, &tm);
  metrics.face = faces.front().name;
  metrics.ascent = tm.tmAscent;
  metrics.height = tm.tmHeight;
  for (uint32_t cp : codepoints) {
    GlyphBitmap g;
    g.codepoint = cp;
    std::wstring text = utf16(cp);
    for (const Face& face : faces) {
      SelectObject(canvas.dc, face.font);
      if (!hasGlyph(canvas.dc, text)) continue;
      g.present = true;
      renderGlyph(canvas, pad, metrics.ascent, text, g);
      break;
    }
    out.push_back(std::move(g));
  }
  SelectObject(canvas.dc, old);
  for (Face& face : faces) DeleteObject(face.font);
  return true;
}

}  // namespace platform
