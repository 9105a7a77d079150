// Fit to frame: correcting the camera distance from the silhouette actually drawn.
#include "nav/fit.h"

#include "nav/gestures.h"

#include <algorithm>
#include <cmath>

Silhouette measureSilhouette(const std::vector<float>& depth, int width, int height,
                             int analysedWidth) {
  Silhouette s;
  s.width = std::clamp(analysedWidth, 0, width);
  s.height = height;
  if (depth.size() < size_t(width) * size_t(height)) return s;
  // The grid and the border margins count rows from the bottom, as the trace does.
  for (int y = 0; y < height; y += 4) {
    const float* row = depth.data() + size_t(height - 1 - y) * size_t(width);
    for (int x = 0; x < s.width; x += 4) {
      if (!isHit(row[x])) continue;
      if (s.count++ == 0) {
        s.minX = s.maxX = x;
        s.minY = s.maxY = y;
      }
      s.minX = std::min(s.minX, x), s.maxX = std::max(s.maxX, x);
      s.minY = std::min(s.minY, y), s.maxY = std::max(s.maxY, y);
    }
  }
  return s;
}

double fitCorrection(const Silhouette& s, bool& done) {
  done = false;
  if (s.count == 0 || s.width < 1 || s.height < 1) return 0.6931471805599453;  // out of view or too close: ×2
  const bool touching =
      s.minX < 5 || s.minY < 5 || s.maxX >= s.width - 8 || s.maxY >= s.height - 8;
  if (touching) return 0.4054651081081644;  // ×1.5
  done = true;
  const double f = std::max(double(s.maxY - s.minY) / s.height, double(s.maxX - s.minX) / s.width);
  if (f >= 0.55 && f <= 0.85) return 0;
  return std::log(f * 1.4285714285714286);  // to 70 %
}

bool fitStep(int& countdown, Camera& c, const PictureFrame& f, const DepthReader& read) {
  if (countdown <= 0 || f.width < 1 || f.height < 1 || !read) return false;
  std::vector<float> depth;
  if (!read(0, 0, f.width, f.height, depth)) return false;
  // The columns behind the side panel are not part of the picture the user sees.
  const int analysed = f.width - int(std::lround(f.shiftUv * f.height));
  const Silhouette s = measureSilhouette(depth, f.width, f.height, analysed);
  --countdown;
  bool done = false;
  const double change = fitCorrection(s, done);
  c.goalLogDist = std::clamp(c.goalLogDist + change, kMinLogDist, kMaxLogDist);
  if (done) countdown = 0;
  return true;
}
