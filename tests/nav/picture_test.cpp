// Picking: rays that agree with the trace, the surface under the cursor and
// under the centre, and putting the rotation centre on a picked point.
#include "nav/picture.h"
#include "scene.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

double distance(const double a[3], const double b[3]) {
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

}  // namespace

TEST(Picture, ThePanelsShiftMovesTheStraightAheadRay) {
  // Given in window pixels, the shift is measured in render pixels: a window
  // twice the render height halves it.
  const PictureFrame f = pictureFrame(cameraAt(30, 20, 3), 50, 320, 180, 93, 360);
  EXPECT_NEAR(shiftPixels(f), 46.5, 1e-12);
  double dir[3];
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

  const double deep[3] = {1e-9, 2e-10, -3e-10};
  EXPECT_FALSE(centreOn(c, deep, deep)) << "a point at the eye gives no direction";
}
