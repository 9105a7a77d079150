// Test scenes for navigation: a camera at rest, depth images drawn on the CPU
// with the same rays as the trace, and a reader over them in the renderer's
// box layout.
#pragma once

#include "nav/picture.h"

#include <cmath>
#include <vector>

// A camera at rest, looking at (tx, ty, tz) from yaw and pitch at `dist`.
inline Camera cameraAt(double yaw, double pitch, double dist, double tx = 0, double ty = 0, double tz = 0) {
  FractalParams p;
  p.yaw = yaw, p.pitch = pitch, p.dist = dist;
  p.tx = tx, p.ty = ty, p.tz = tz;
  Camera c;
  setCameraFromParams(c, p);
  return c;
}

struct DepthImage {
  int width = 0, height = 0;
  std::vector<float> depth;        // rows from the top
  int reads = 0;                   // boxes read so far
  int lastBox[4] = {0, 0, 0, 0};

  DepthReader reader() {
    return [this](int x0, int y0, int w, int h, std::vector<float>& out) {
      ++reads;
      lastBox[0] = x0, lastBox[1] = y0, lastBox[2] = w, lastBox[3] = h;
      out.assign(size_t(w) * size_t(h), kNoHit);
      for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
          if (x0 + x >= 0 && x0 + x < width && y0 + y >= 0 && y0 + y < height)
            out[size_t(y) * w + x] = depth[size_t(y0 + y) * width + x0 + x];
      return true;
    };
  }
};

inline DepthImage emptyImage(int w, int h) { return {w, h, std::vector<float>(size_t(w) * h, kNoHit)}; }

// A sphere of `radius` at `centre`, traced through every texel centre of `f`.
inline DepthImage sphereImage(const PictureFrame& f, const double centre[3], double radius) {
  DepthImage img = emptyImage(f.width, f.height);
  for (int y = 0; y < f.height; ++y) {
    for (int x = 0; x < f.width; ++x) {
      double d[3], oc[3];
      pixelRay(f, x + 0.5, y + 0.5, d);
      for (int i = 0; i < 3; ++i) oc[i] = f.pose.eye[i] - centre[i];
      const double b = oc[0] * d[0] + oc[1] * d[1] + oc[2] * d[2];
      const double c = oc[0] * oc[0] + oc[1] * oc[1] + oc[2] * oc[2] - radius * radius;
      const double disc = b * b - c;
      if (disc >= 0 && -b - std::sqrt(disc) > 0)
        img.depth[size_t(y) * f.width + x] = float(-b - std::sqrt(disc));
    }
  }
  return img;
}
