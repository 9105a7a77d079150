// Presets: the written text, round trips, and both dialects read leniently.
#include "io/json.h"
#include "io/preset.h"
#include "model/fields.h"
#include "model/seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

FractalParams read(const std::string& text) { return presetFromJson(parseJson(text)); }

// Every field set to something other than its default, with values that
// survive ten significant digits.
FractalParams unusualRecord() {
  FractalParams p = defaultsForType("hybrid");
  p.seed = "мир \"2\"\n";
  p.iter = 17.5;
  p.jw = -0.125;
  p.warp = 0.3;
  p.slots = {{3, 1.75}, {5, 1.9}, {0, 8}};
  p.jmode = 2;
  p.palette = "custom";
  p.customB = "#ABCDEF";
  p.glowColor = "not a colour";
  p.autoFocus = false;
  p.focus = 1e-9;
  p.tx = -2.5;
  p.pitch = -5;
  p.dist = 123456.789;
  return p;
}

}  // namespace

TEST(Preset, DefaultRecordGoldenText) {
  const char* golden =
      "{\n"
      "  \"app\": \"Quorvantelix3D\",\n  \"version\": \"3.0\",\n  \"v\": 3,\n"
      "  \"seed\": \"classic\",\n  \"type\": \"mandelbulb\",\n"
      "  \"iter\": 10,\n  \"power\": 8,\n  \"scale\": 2,\n"
      "  \"jx\": 0,\n  \"jy\": 0,\n  \"jz\": 0,\n  \"jw\": 0,\n"
      "  \"ox\": 1,\n  \"oy\": 1,\n  \"oz\": 1,\n  \"rx\": 0,\n  \"ry\": 0,\n  \"rz\": 0,\n"
      "  \"warp\": 0,\n  \"colShift\": 0,\n  \"colScale\": 1,\n"
      "  \"lightYaw\": 40,\n  \"lightPitch\": 45,\n  \"light\": 1,\n  \"ambient\": 0.5,\n"
      "  \"spec\": 0.6,\n  \"shadowSoft\": 10,\n  \"metal\": 0.25,\n  \"irid\": 0,\n  \"glow\": 0.25,\n"
      "  \"fog\": 0.15,\n  \"exposure\": 1,\n  \"bloom\": 0.35,\n  \"vignette\": 0.35,\n"
      "  \"fov\": 50,\n  \"aperture\": 0,\n  \"focus\": 2.7,\n"
      "  \"slots\": [],\n  \"jmode\": 0,\n"
      "  \"palette\": \"qiv\",\n  \"customA\": \"#10131f\",\n  \"customB\": \"#ff4fa3\",\n"
      "  \"customC\": \"#ffe08a\",\n  \"glowColor\": \"#5A4FC8\",\n"
      "  \"bgTop\": \"#0E4A50\",\n  \"bgBot\": \"#031F23\",\n  \"autoFocus\": true,\n"
      "  \"cam\": {\n    \"tx\": 0,\n    \"ty\": 0,\n    \"tz\": 0,\n    \"yaw\": 35,\n"
      "    \"pitch\": 22,\n    \"dist\": 3.4\n  }\n"
      "}";
  EXPECT_EQ(presetText(FractalParams{}, 2), golden);
}

// The unusual record at both indents, then each number of the record's field
// table, the camera's among them, under its own key.
TEST(Preset, RoundTrip) {
  EXPECT_EQ(read(presetText(unusualRecord(), 2)), unusualRecord());
  EXPECT_EQ(read(presetText(unusualRecord(), 0)), unusualRecord());
  FractalParams fine;
  fine.warp = 1.0 / 3;  // more than ten digits come back rounded to ten
  EXPECT_DOUBLE_EQ(read(presetText(fine, 2)).warp, 0.3333333333);

  FractalParams p = defaultsForType("hybrid");
  int i = 0;
  for (const NumberField& f : numberFields()) {
    // Inside the hard range, different for each field, in eighths so ten digits hold it.
    const double v = f.lo + (f.hi - f.lo) * (0.3 + 0.01 * ++i);
    p.*f.field = std::round(v * 8) / 8;
  }
  p.iter = 17;  // within the type's own maximum
  const FractalParams back = read(presetText(p, 2));
  for (const NumberField& f : numberFields()) EXPECT_EQ(back.*f.field, p.*f.field) << f.key;
  EXPECT_EQ(back, p);
}

TEST(Preset, DesktopDialectDefaults) {
  FractalParams bare = read(R"({"v": 3})");
  EXPECT_EQ(bare, defaultsForType("mandelbulb"));
  EXPECT_EQ(bare.seed, "classic");

  EXPECT_EQ(read(R"({"v": 3, "type": "hybrid", "slots": []})").slots,
            defaultsForType("hybrid").slots);
  EXPECT_EQ(read(R"({"v": 3, "type": "Menger"})").type, "mandelbulb");  // desktop keys are exact

  // Missing keys take the type's defaults, wrong JSON types are ignored.
  FractalParams m = read(R"({"v": 3, "type": "menger", "iter": "9", "autoFocus": 0,
                             "palette": 5, "jmode": -2.9, "scale": 2.25})");
  FractalParams expected = defaultsForType("menger");
  expected.scale = 2.25;
  expected.jmode = 0;  // -2 is no mode: the nearest one
  EXPECT_EQ(m, expected);

  // "v" other than 3 still counts as desktop when "app" says so.
  EXPECT_EQ(read(R"({"v": 2, "app": "Quorvantelix3D", "seed": "x", "iter": 3})").iter, 3);
}

TEST(Preset, SlotsAndCamera) {
  FractalParams p = read(R"({"v": 3, "type": "hybrid",
      "slots": [{"f": 7.6}, {"f": -2}, 5, {"f": 2.5, "k": 1}, {}, {}]})");
  std::vector<FormulaSlot> expected = {{5, 8}, {0, 8}, {3, 1}, {0, 8}};
  EXPECT_EQ(p.slots, expected);
  EXPECT_EQ(read(R"({"v": 3, "type": "hybrid", "slots": "x"})").slots,
            defaultsForType("hybrid").slots);

  FractalParams cam = read(R"({"v": 3, "type": "menger", "cam": {"tx": 1, "yaw": "9"}})");
  EXPECT_EQ(cam.tx, 1);
  EXPECT_EQ(cam.yaw, 35);
  EXPECT_EQ(cam.dist, 4.2);  // the type's camera distance
  // Every field a partial camera leaves out gets its documented default.
  cam = read(R"({"v": 3, "type": "kifs", "cam": {"ty": 2}})");
  EXPECT_EQ(std::vector<double>({cam.tx, cam.ty, cam.tz, cam.yaw, cam.pitch, cam.dist}),
            std::vector<double>({0, 2, 0, 35, 22, defaultsForType("kifs").dist}));
}

TEST(Preset, WebDialect) {
  EXPECT_EQ(read(R"({"Seed": "abc", "Type": 3})"), generateFromSeed("abc", "menger"));
  EXPECT_EQ(read(R"({"seed": "dark\u0020star", "type": 3})"), generateFromSeed("dark star", "menger"));
  EXPECT_EQ(read(R"({"type": "MENGER", "seed": "abc"})"), generateFromSeed("abc", "menger"));
  EXPECT_EQ(read(R"({"seed": "abc", "type": 6.9})"), generateFromSeed("abc", "juliabox"));
  EXPECT_EQ(read(R"({"seed": "abc", "Seed": "x", "type": 7})"), generateFromSeed("abc", "mandelbulb"));
  EXPECT_EQ(read(R"({"seed": "abc", "type": "nosuch", "iter": 99})"),
            generateFromSeed("abc", "mandelbulb"));
  EXPECT_EQ(read(R"({"v": 3.5, "app": "other", "seed": "abc"})"), generateFromSeed("abc", "mandelbulb"));
  // No seed, or an empty one, gets a fresh name: the generator never sees "".
  EXPECT_EQ(read("{}").type, "mandelbulb");
  const FractalParams unnamed = read(R"({"seed": "", "type": 3})");
  EXPECT_EQ(unnamed.type, "menger");
  EXPECT_EQ(std::count(unnamed.seed.begin(), unnamed.seed.end(), '_'), 2) << unnamed.seed;
}

TEST(Preset, RootMustBeObject) {
  for (const char* text : {"[]", "3", "\"x\"", "null"})
    EXPECT_THROW(read(text), std::runtime_error) << text;  // the message is the file loader's test
}
