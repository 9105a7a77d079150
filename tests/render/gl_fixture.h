// Shared fixture of the GL tests: one headless context and one renderer for
// the whole suite (programs are built once), plus helpers to set up a view,
// run frames, read targets back and report image differences as PNGs.
#pragma once

#include "model/params.h"
#include "render/passes.h"
#include "render/renderer.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace platform { struct Window; }

class RenderGl : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  void SetUp() override;

  static platform::Window* window;
  static Renderer* renderer;
  static std::string skipReason;
};

// The camera of a record as the program traces it (the shell's camera view).
CameraView cameraOf(const FractalParams& p);
CameraView cameraAt(const double pos[3], const float basis[9], double distance, double tanHalfFov);

// A frame input for a still view of `p` at w×h.
FrameInput stillFrame(const FractalParams& p, const RenderQuality& s, int w, int h, uint32_t fbo);
// Runs frames (advancing the clock past any motion) until `samples` samples
// are accumulated; false when that does not happen within a generous number.
bool accumulate(Renderer& r, FrameInput in, int samples);

// Fresh float targets for driving tracePass directly.
struct OwnTargets {
  RenderTarget a, b, pre;
  bool preValid = false;
  OwnTargets(int w, int h);
  ~OwnTargets();
  TraceTargets view() { return {&a, &b, &pre, &preValid}; }
};

// RGBA floats of a float target's w×h corner, bottom row first.
std::vector<float> readFloatTarget(const RenderTarget& t, int w, int h);

struct ImageDiff {
  int differing = 0;    // pixels beyond the tolerance in any channel
  double meanAbs = 0;   // mean of each pixel's worst channel difference
  float worst = 0;
};
// Compares RGB in display range (gamma 1/2.2, clamped to 0..1); when any
// pixel differs beyond `tolerance`, writes NAME.actual.png, NAME.expected.png
// and NAME.diff.png next to the test binary.
ImageDiff compareImages(const std::string& name, const std::vector<float>& actual,
                        const std::vector<float>& expected, int w, int h, float tolerance);
std::ostream& operator<<(std::ostream& o, const ImageDiff& d);
