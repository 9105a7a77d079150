// The traced picture as navigation sees it: pixel rays and the depths read back.
#include "nav/picture.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kRadToDeg = 180.0 / 3.14159265358979323846;

}  // namespace

PictureFrame pictureFrame(const Camera& c, double fovDegrees, int renderWidth, int renderHeight,
                          double shiftWindowPx, int windowHeight) {
  PictureFrame f;
  f.pose = cameraPose(c);
  f.tanHalfFov = tanHalfFov(fovDegrees);
  f.width = renderWidth;
  f.height = renderHeight;
  f.shiftUv = windowHeight > 0 ? 2 * shiftWindowPx / windowHeight : 0;
  return f;
}

double shiftPixels(const PictureFrame& f) { return f.shiftUv * f.height / 2; }

void centreTexel(const PictureFrame& f, int& x, int& y) {
  x = int(std::lround(f.width / 2.0 - shiftPixels(f)));
  y = f.height - 1 - f.height / 2;
}

void pixelRay(const PictureFrame& f, double px, double py, double dir[3]) {
  // The trace's uv: y runs up from the bottom row, x is shifted by the panel.
  const double h = f.height;
  const double u = ((2 * px - f.width) / h + f.shiftUv) * f.tanHalfFov;
  const double v = ((h - 2 * py) / h) * f.tanHalfFov;
  double len2 = 0;
  for (int i = 0; i < 3; ++i) {
    dir[i] = f.pose.right[i] * u + f.pose.up[i] * v + f.pose.forward[i];
    len2 += dir[i] * dir[i];
  }
  const double inv = 1 / std::sqrt(len2);
  for (int i = 0; i < 3; ++i) dir[i] *= inv;
}

void unproject(const PictureFrame& f, double px, double py, double depth, double out[3]) {
  double dir[3];
  pixelRay(f, px, py, dir);
  for (int i = 0; i < 3; ++i) out[i] = f.pose.eye[i] + dir[i] * depth;
}

void cursorToPixel(double mouseX, double mouseY, int clientWidth, int clientHeight,
                   const PictureFrame& f, double& px, double& py) {
  px = clientWidth > 0 ? mouseX / clientWidth * f.width : 0;
  py = clientHeight > 0 ? mouseY / clientHeight * f.height : 0;
}

Pick pickPixel(const PictureFrame& f, const DepthReader& read, double px, double py) {
  Pick p;
  if (f.width < 1 || f.height < 1 || !read) return p;
  const int x = std::clamp(int(std::floor(px)), 0, f.width - 1);
  const int y = std::clamp(int(std::floor(py)), 0, f.height - 1);
  std::vector<float> depth;
  if (!read(x, y, 1, 1, depth) || depth.empty() || !isHit(depth[0])) return p;
  // The stored depth belongs to the texel's own (unjittered) centre ray.
  p.hit = true;
  p.distance = depth[0];
  unproject(f, x + 0.5, y + 0.5, p.distance, p.point);
  return p;
}

Pick pickAtCursor(const PictureFrame& f, const DepthReader& read, double mouseX, double mouseY,
                  int clientWidth, int clientHeight) {
  double px, py;
  cursorToPixel(mouseX, mouseY, clientWidth, clientHeight, f, px, py);
  return pickPixel(f, read, px, py);
}

Pick pickAtCentre(const PictureFrame& f, const DepthReader& read) {
  int cx = 0, cy = 0;
  centreTexel(f, cx, cy);
  return pickPixel(f, read, cx + 0.5, cy + 0.5);
}

bool centreOn(Camera& c, const double eye[3], const double point[3]) {
  double v[3] = {point[0] - eye[0], point[1] - eye[1], point[2] - eye[2]};
  const double len = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (!(len >= kMinCameraDist) || !std::isfinite(len)) return false;
  // The basis's eye direction is (cos p sin y, sin p, cos p cos y), from target to eye.
  const double d[3] = {-v[0] / len, -v[1] / len, -v[2] / len};
  const double pitch = std::asin(std::clamp(d[1], -1.0, 1.0)) * kRadToDeg;
  if (std::hypot(d[0], d[2]) > 1e-12)
    c.goalYaw = wrapDegreesNear(std::atan2(d[0], d[2]) * kRadToDeg, c.goalYaw);
  c.goalPitch = std::clamp(pitch, -89.5, 89.5);
  for (int i = 0; i < 3; ++i) c.goalTarget[i] = point[i];
  c.goalLogDist = std::log(len);
  return true;
}

bool centreOnPick(Camera& c, const Pick& p) {
  if (!p.hit) return false;
  const CameraPose pose = cameraPose(c);
  return centreOn(c, pose.eye, p.point);
}
