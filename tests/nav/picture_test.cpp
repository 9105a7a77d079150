// Picking: rays that agree with the trace, the surface under the cursor and
// under the centre, and putting the rotation centre on a picked point.
#include "nav/picture.h"
#include "scene.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

Camera cameraAt(double yaw, double pitch, double dist) {
  Camera c;
  FractalParams p;
  p.yaw = yaw, p.pitch = pitch, p.dist = dist;
  setCameraFromParams(c, p);
  return c;
}

double distance(const double a[3], const double b[3]) {
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

}  // namespace

TEST(Picture, RaysMatchTheTraceAndTheShift) {
  Camera c = cameraAt(30, 20, 3);
  PictureFrame f = pictureFrame(c, 50, 320, 180, 0, 180);
  double dir[3];
  // The picture's middle looks straight ahead; its top edge is tan(fov/2) up.
  pixelRay(f, 160, 90, dir);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(dir[i], f.pose.forward[i], 1e-15);
  pixelRay(f, 160, 0, dir);
  const double up = dir[0] * f.pose.up[0] + dir[1] * f.pose.up[1] + dir[2] * f.pose.up[2];
  const double fw = dir[0] * f.pose.forward[0] + dir[1] * f.pose.forward[1] + dir[2] * f.pose.forward[2];
  EXPECT_NEAR(up / fw, std::tan(25 * 3.14159265358979323846 / 180), 1e-12);

  // With the panel shown the straight-ahead ray moves left by the shift,
  // measured in render pixels although given in window pixels.
  f = pictureFrame(c, 50, 320, 180, 93, 360);
  EXPECT_NEAR(shiftPixels(f), 46.5, 1e-12);
  pixelRay(f, 160 - 46.5, 90, dir);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(dir[i], f.pose.forward[i], 1e-15);
}

TEST(Picture, PicksTheSurfaceUnderTheCursorAndTheCentre) {
  Camera c = cameraAt(35, 22, 3.4);
  const PictureFrame f = pictureFrame(c, 50, 160, 90, 0, 90);
  const double centre[3] = {0.2, -0.1, 0};
  DepthImage img = sphereImage(f, centre, 0.8);
  // The window is twice the render size: the cursor maps through fractions.
  Pick p = pickAtCursor(f, img.reader(), 2 * 90.3, 2 * 40.7, 320, 180);
  ASSERT_TRUE(p.hit);
  EXPECT_EQ(img.lastBox[0], 90);
  EXPECT_EQ(img.lastBox[1], 40);
  EXPECT_NEAR(distance(p.point, centre), 0.8, 1e-6);  // on the surface (float depth)
  EXPECT_NEAR(distance(p.point, f.pose.eye), p.distance, 1e-12);

  EXPECT_FALSE(pickAtCursor(f, img.reader(), 2, 2, 320, 180).hit);  // the sky corner
  EXPECT_TRUE(pickAtCentre(f, img.reader()).hit);
  DepthImage sky = emptyImage(160, 90);
  EXPECT_FALSE(pickAtCentre(f, sky.reader()).hit);
  // A picture that cannot be read is a miss, not a crash.
  EXPECT_FALSE(pickPixel(f, [](int, int, int, int, std::vector<float>&) { return false; }, 3, 3).hit);
}

TEST(Picture, CentringOnAPointKeepsTheEyeAndLooksAtIt) {
  Camera c = cameraAt(350, 10, 3.4);
  const double eye[3] = {cameraPose(c).eye[0], cameraPose(c).eye[1], cameraPose(c).eye[2]};
  const double point[3] = {0.3, 0.4, 0.2};
  ASSERT_TRUE(centreOn(c, eye, point));
  EXPECT_NEAR(c.goalYaw, 350, 90) << "yaw stays near the old one, no turn the long way round";
  c.yaw = c.goalYaw, c.pitch = c.goalPitch, c.logDist = c.goalLogDist;
  for (int i = 0; i < 3; ++i) c.target[i] = c.goalTarget[i];
  const CameraPose after = cameraPose(c);
  EXPECT_NEAR(distance(after.eye, eye), 0, 1e-12);
  EXPECT_NEAR(after.distance, distance(point, eye), 1e-12);

  // Deep down the same holds at a billionth of the scale.
  c = cameraAt(10, 5, 1e-9);
  const double deep[3] = {1e-9, 2e-10, -3e-10};
  ASSERT_TRUE(centreOn(c, cameraPose(c).eye, deep));
  EXPECT_NEAR(std::exp(c.goalLogDist), distance(deep, cameraPose(c).eye), 1e-22);
  EXPECT_FALSE(centreOn(c, deep, deep)) << "a point at the eye gives no direction";
}
