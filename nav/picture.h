// The traced picture as navigation sees it: which camera and size drew it, a
// ray for each of its pixels, and the first-hit depths read back from it.
// Everything that turns a pixel back into a world point lives here, so picking,
// zooming under the cursor, the dive and the fit agree with the rays.
//
// Pixel coordinates are the render target's, rows counted from the top of the
// picture (the renderer's read-back flips them); a pixel's centre is +0.5.
#pragma once

#include "model/depth_codes.h"
#include "nav/camera.h"

#include <functional>
#include <vector>

inline constexpr const char* kMsgPickMiss = "Там пустота — кликните по фракталу";

// The view the picture in the accumulation was traced with.
struct PictureFrame {
  CameraPose pose;                 // of the shown camera
  double tanHalfFov = 0.4663;      // tan(fov° · π/360)
  int width = 0, height = 0;       // render size: the used part of the accumulation
  double shiftUv = 0;              // the trace's horizontal image shift: 2 · shift px / window height
};

// Reads the first-hit depths of the box (x0, y0, w, h) into `out`, w·h values
// row by row from the top; false when there is no picture to read.
// The shell passes the renderer's readDepthBox.
using DepthReader = std::function<bool(int x0, int y0, int w, int h, std::vector<float>& out)>;

// The frame for the shown camera, the render size and the image shift in
// window pixels (the renderer's `shift`, measured against the window height).
PictureFrame pictureFrame(const Camera& c, double fovDegrees, int renderWidth, int renderHeight,
                          double shiftWindowPx, int windowHeight);

// Horizontal image shift in render pixels (the centre of the free part of the
// picture is width/2 minus this).
double shiftPixels(const PictureFrame& f);
// The texel at the centre of the free part of the picture, rows counted from
// the top: the trace's middle row (it counts rows from the bottom).
void centreTexel(const PictureFrame& f, int& x, int& y);

// Unit direction of the ray through picture position (px, py), exactly as the
// trace builds it (unjittered: the first still sample, whose depth is stored).
void pixelRay(const PictureFrame& f, double px, double py, double dir[3]);
// The world point at ray distance `depth` through (px, py).
void unproject(const PictureFrame& f, double px, double py, double depth, double out[3]);

// A client-area cursor position as a picture position.
void cursorToPixel(double mouseX, double mouseY, int clientWidth, int clientHeight,
                   const PictureFrame& f, double& px, double& py);

// A depth counts as a surface when 0 < d < 9000.
inline bool isHit(float d) { return d > 0 && d < kHitLimit; }

struct Pick {
  bool hit = false;
  double point[3] = {0, 0, 0};     // the surface point
  double distance = 0;             // its ray distance from the eye (the focus distance to take)
};

// The surface under picture position (px, py): one texel read.
Pick pickPixel(const PictureFrame& f, const DepthReader& read, double px, double py);
// The surface under the cursor (double click; zoom towards the cursor).
Pick pickAtCursor(const PictureFrame& f, const DepthReader& read, double mouseX, double mouseY,
                  int clientWidth, int clientHeight);
// The surface at the centre of the free part of the picture.
Pick pickAtCentre(const PictureFrame& f, const DepthReader& read);

// Puts the rotation centre on `point` seen from `eye`: goal target = point,
// goal distance = |point − eye|, goal yaw and pitch turned to look at it
// (pitch within ±89.5°). The eye stays where it is, so the camera never jumps
// into the solid; the camera update glides the view round. A point closer
// than the smallest distance is ignored (returns false).
bool centreOn(Camera& c, const double eye[3], const double point[3]);
// centreOn from the shown camera's eye: what a double click and the dive do.
bool centreOnPick(Camera& c, const Pick& p);
