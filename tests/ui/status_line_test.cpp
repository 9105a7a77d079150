// The status line in a narrow window: whole fragments drop out, the least
// used first, instead of the line being cut at its most useful end.
#include "ui/status.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// One unit per byte is enough to order the widths.
float bytes(const std::string& s) { return float(s.size()); }

StatusInfo deepScene() {
  StatusInfo st;
  st.zoom = 25000;
  st.fps = 30;
  st.samples = 3;
  st.targetSamples = 256;
  st.renderWidth = 1280;
  st.renderHeight = 720;
  st.iterations = 41;
  st.deep = true;
  st.cameraDistance = 1e-12;
  return st;
}

}  // namespace

TEST(StatusLine, NarrowWindowsDropTheLeastUsedFragmentsFirst) {
  const StatusInfo st = deepScene();
  const std::string full = statusLineWithin(st, 1e9f, bytes);
  EXPECT_EQ(statusLineWithin(st, bytes(full), bytes), full);

  // Each step down in room loses the next fragment in order: the render size,
  // the speed, the samples, the zoom; iterations and the fp64 note stay.
  const std::string noSize = "зум ×2.5e+04 · 30 fps · 3/256 сэмплов · итераций 41 · fp64, предел точности";
  const std::string noSpeed = "зум ×2.5e+04 · 3/256 сэмплов · итераций 41 · fp64, предел точности";
  const std::string noSamples = "зум ×2.5e+04 · итераций 41 · fp64, предел точности";
  const std::string last = "итераций 41 · fp64, предел точности";
  EXPECT_EQ(statusLineWithin(st, bytes(full) - 1, bytes), noSize);
  EXPECT_EQ(statusLineWithin(st, bytes(noSize) - 1, bytes), noSpeed);
  EXPECT_EQ(statusLineWithin(st, bytes(noSpeed) - 1, bytes), noSamples);
  EXPECT_EQ(statusLineWithin(st, bytes(noSamples) - 1, bytes), last);
  // Narrower still: the precision note is what is left (the drawing cuts it).
  EXPECT_EQ(statusLineWithin(st, bytes(last) - 1, bytes), "fp64, предел точности");
  EXPECT_EQ(statusLineWithin(st, 0, bytes), "fp64, предел точности");

  // Before the first sample is complete there is no speed to show.
  StatusInfo first = st;
  first.fps = 0;
  EXPECT_EQ(statusLineWithin(first, 1e9f, bytes), "зум ×2.5e+04 · 3/256 сэмплов · 1280×720 · итераций 41 · fp64, предел точности");

  // Without an fp64 note the iterations are the last fragment.
  StatusInfo plain = st;
  plain.deep = false;
  EXPECT_EQ(statusLineWithin(plain, 5, bytes), "итераций 41");

  // While a shader builds, the line says so first, and that goes last.
  StatusInfo building = st;
  building.building = true;
  EXPECT_EQ(statusLineWithin(building, 1e9f, bytes).rfind("собираю шейдер… · зум", 0), 0u);
  EXPECT_EQ(statusLineWithin(building, 0, bytes), "собираю шейдер…");
}
