// Lookups by key and the palette texture made from colour stops.
#include "model/params.h"
#include "model/tables.h"

#include <gtest/gtest.h>

TEST(Tables, LookupsFallBackToTheFirstRow) {
  EXPECT_EQ(fractalTypes()[typeIndex("hybrid")].key, "hybrid");
  // Byte comparison: a capitalised key matches nothing and falls back to row 0.
  EXPECT_EQ(typeIndex("Hybrid"), 0);
  EXPECT_EQ(paletteIndex("LAVA"), 0);
  FractalParams p;
  p.palette = "no such palette";
  EXPECT_EQ(paletteStops(p), palettes()[0].stops);
}

namespace {
std::array<int, 4> texel(const std::array<uint8_t, 1024>& t, int i) {
  return {t[i * 4], t[i * 4 + 1], t[i * 4 + 2], t[i * 4 + 3]};
}
}  // namespace

TEST(Tables, PaletteTexels) {
  const auto t = paletteTexels({"#102030", "#abc", "#FFffFF"});
  EXPECT_EQ(texel(t, 0), (std::array<int, 4>{0x10, 0x20, 0x30, 255}));
  for (const char* bad : {"red", "#ff800g", "#ff80000"}) EXPECT_EQ(texel(paletteTexels({bad, bad}), 9)[1], 0);
  EXPECT_EQ(texel(t, 255), (std::array<int, 4>{255, 255, 255, 255}));
  // t = 1 exactly at i = 127.5: the bad middle stop is black where it is reached.
  EXPECT_LE(texel(t, 127)[0], 1);
  EXPECT_LE(texel(t, 128)[0], 1);

  // The custom palette: three stops from the record. Texel 128 sits just past
  // the middle stop (t = 256/255), so it only rounds to customB.
  FractalParams p;
  p.palette = "custom";
  const auto c = paletteTexels(paletteStops(p));
  EXPECT_EQ(texel(c, 0), (std::array<int, 4>{0x10, 0x13, 0x1f, 255}));
  EXPECT_EQ(texel(c, 255), (std::array<int, 4>{0xff, 0xe0, 0x8a, 255}));
  const auto mid = texel(c, 128);
  EXPECT_NEAR(mid[0], 0xff, 1);
  EXPECT_NEAR(mid[1], 0x4f, 1);
  EXPECT_NEAR(mid[2], 0xa3, 1);

  // A single stop has no segment: it is flat rather than undefined.
  const auto one = paletteTexels({"#336699"});
  EXPECT_EQ(texel(one, 0), texel(one, 255));
}
