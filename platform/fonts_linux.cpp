// fonts_linux.cpp — glyph rasterisation for the interface's atlas: fontconfig
// finds the faces of the family list (each must cover Cyrillic), FreeType
// renders them with grey antialiasing; a code point the first face lacks is
// taken from the next face that has it.
#include "platform/platform.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_SYNTHESIS_H
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace platform {
namespace {

struct OpenFace {
  FT_Face face = nullptr;
  bool embolden = false;  // fontconfig asks for synthetic bold (no real semibold face)
};

FT_Library freetype() {
  static FT_Library lib = [] {
    FT_Library l = nullptr;
    return FT_Init_FreeType(&l) == 0 ? l : nullptr;
  }();
  return lib;
}

// Loaded once; its caches are released at exit so that leak checkers see
// only real leaks.
bool fontconfig() {
  static const bool ready = [] {
    if (!FcInit()) return false;
    std::atexit(FcFini);
    return true;
  }();
  return ready;
}

bool generic(const std::string& family) {
  return family == "sans-serif" || family == "sans" || family == "serif" || family == "monospace";
}

// The matched pattern names the family asked for (any of its family names,
// case-blind), unless the request was a generic family that takes any face.
bool familyMatches(FcPattern* match, const std::string& family) {
  if (generic(family)) return true;
  FcChar8* name = nullptr;
  for (int i = 0; FcPatternGetString(match, FC_FAMILY, i, &name) == FcResultMatch; ++i)
    if (strcasecmp(reinterpret_cast<const char*>(name), family.c_str()) == 0) return true;
  return false;
}

bool coversCyrillic(FcPattern* match) {
  FcCharSet* cs = nullptr;
  if (FcPatternGetCharSet(match, FC_CHARSET, 0, &cs) != FcResultMatch) return false;
  return FcCharSetHasChar(cs, 0x0416) && FcCharSetHasChar(cs, 0x044F);  // Ж, я
}

// The face fontconfig gives for one family at the weight; empty path when the
// family is absent or lacks Cyrillic.
std::string matchFamily(const std::string& family, int weight, int& index, bool& embolden) {
  FcPattern* pat = FcPatternCreate();
  FcPatternAddString(pat, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
  FcPatternAddInteger(pat, FC_WEIGHT, FcWeightFromOpenType(weight));
  FcPatternAddInteger(pat, FC_SLANT, FC_SLANT_ROMAN);
  FcPatternAddBool(pat, FC_SCALABLE, FcTrue);
  FcConfigSubstitute(nullptr, pat, FcMatchPattern);
  FcDefaultSubstitute(pat);
  FcResult result = FcResultNoMatch;
  FcPattern* match = FcFontMatch(nullptr, pat, &result);
  FcPatternDestroy(pat);
  std::string path;
  FcChar8* file = nullptr;
  if (match && familyMatches(match, family) && coversCyrillic(match) &&
      FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch) {
    path = reinterpret_cast<const char*>(file);
    index = 0;
    FcPatternGetInteger(match, FC_INDEX, 0, &index);
    FcBool bold = FcFalse;
    embolden = FcPatternGetBool(match, FC_EMBOLDEN, 0, &bold) == FcResultMatch && bold;
  }
  if (match) FcPatternDestroy(match);
  return path;
}

std::vector<OpenFace> openFaces(const FontRequest& font, std::string& firstName) {
  std::vector<OpenFace> faces;
  std::vector<std::pair<std::string, int>> seen;
  for (const std::string& family : font.families) {
    int index = 0;
    bool embolden = false;
    std::string path = matchFamily(family, font.weight, index, embolden);
    if (path.empty() || std::find(seen.begin(), seen.end(), std::make_pair(path, index)) != seen.end()) continue;
    seen.emplace_back(path, index);
    OpenFace f;
    if (FT_New_Face(freetype(), path.c_str(), index, &f.face) != 0) continue;
    if (FT_Set_Pixel_Sizes(f.face, 0, FT_UInt(std::max(1, font.pixelHeight))) != 0) {
      FT_Done_Face(f.face);
      continue;
    }
    f.embolden = embolden;
    if (faces.empty()) firstName = f.face->family_name ? f.face->family_name : family;
    faces.push_back(f);
  }
  return faces;
}

void renderGlyph(const OpenFace& f, FT_UInt index, int ascent, GlyphBitmap& g) {
  if (FT_Load_Glyph(f.face, index, FT_LOAD_TARGET_LIGHT) != 0) return;
  if (f.embolden) FT_GlyphSlot_Embolden(f.face->glyph);
  FT_GlyphSlot slot = f.face->glyph;
  if (FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0) return;
  const FT_Bitmap& bm = slot->bitmap;
  g.present = true;
  g.advance = int((slot->advance.x + 32) >> 6);
  g.width = int(bm.width);
  g.height = int(bm.rows);
  g.left = slot->bitmap_left;
  g.top = ascent - slot->bitmap_top;
  g.coverage.assign(size_t(g.width) * g.height, 0);
  if (bm.pixel_mode != FT_PIXEL_MODE_GRAY) return;  // grey is asked for; anything else stays blank
  for (int y = 0; y < g.height; ++y) {
    const unsigned char* row = bm.buffer + (bm.pitch >= 0 ? y : y - g.height + 1) * bm.pitch;
    std::memcpy(&g.coverage[size_t(y) * g.width], row, size_t(g.width));
  }
}

}  // namespace

bool rasterizeGlyphs(const FontRequest& font, const std::vector<uint32_t>& codepoints,
                     std::vector<GlyphBitmap>& out, FontMetrics& metrics, std::string& error) {
  out.assign(codepoints.size(), GlyphBitmap{});
  if (!freetype() || !fontconfig()) {
    error = "Не удалось запустить растеризатор шрифтов";
    return false;
  }
  metrics = FontMetrics{};
  std::vector<OpenFace> faces = openFaces(font, metrics.face);
  if (faces.empty()) {
    error = "Не найден шрифт интерфейса с кириллицей";
    return false;
  }
  const FT_Size_Metrics& m = faces[0].face->size->metrics;
  metrics.ascent = int((m.ascender + 63) >> 6);
  metrics.height = metrics.ascent + int((-m.descender + 63) >> 6);
  for (size_t i = 0; i < codepoints.size(); ++i) {
    out[i].codepoint = codepoints[i];
    for (const OpenFace& f : faces) {
      const FT_UInt index = FT_Get_Char_Index(f.face, codepoints[i]);
      if (index == 0) continue;
      renderGlyph(f, index, metrics.ascent, out[i]);
      break;
    }
  }
  for (OpenFace& f : faces) FT_Done_Face(f.face);
  return true;
}

}  // namespace platform
