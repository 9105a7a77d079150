// Input paths through the window that the other dispatch tests leave out:
// the wheel zooming in over the fractal, the pose an undo brings back, and
// Ctrl+S and Ctrl+O without a dialog, pressed and held.
#include "app_fixture.h"

#include "nav/gestures.h"

#include <chrono>
#include <cmath>

namespace {

using platform::EventType;

class InputPaths : public HeadlessApp {};

}  // namespace

TEST_F(InputPaths, TheWheelZoomsInTowardsThePointUnderTheCursor) {
  settle();
  const Pick under = pickAtCursor(pictureOf(*s), depthReaderOf(*s), 90, 45, kW, kH);
  ASSERT_TRUE(under.hit);
  const double start = s->camera.goalLogDist;
  wheel(90, 45, 1);
  pump();
  EXPECT_NEAR(s->camera.goalLogDist, start - kWheelStep, 1e-12);
  // The target slides along towards the point by the share the distance shrank.
  const double share = 1 - std::exp(-kWheelStep);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(s->camera.goalTarget[i], share * under.point[i], 1e-9) << i;
}

TEST_F(InputPaths, UndoAndRedoBringBackThePoseOfEachState) {
  settle();
  auto dragBy = [&](int dx) {
    mouse(EventType::MouseMove, 80, 50);
    mouse(EventType::MouseDown, 80, 50);
    mouse(EventType::MouseMove, 80 + dx, 50);
    mouse(EventType::MouseUp, 80 + dx, 50);
    pump();
    settle();
  };
  dragBy(30);
  const double yawA = s->camera.yaw;
  dragBy(-50);
  const double yawB = s->camera.yaw;
  ASSERT_GT(std::abs(yawA - yawB), 10);

  key('z', platform::kModCtrl);
  pump();
  EXPECT_NEAR(s->camera.yaw, yawA, 1e-6);
  EXPECT_NEAR(s->camera.goalYaw, yawA, 1e-6);  // snapped, not gliding back
  EXPECT_NEAR(cameraDistance(s->camera), 3.4, 1e-6);
  key('y', platform::kModCtrl);
  pump();
  EXPECT_NEAR(s->camera.goalYaw, yawB, 1e-6);
}

// Without any dialog (a headless window) Ctrl+S and Ctrl+O say what to do at
// once; a held key asks once, not on every repeat.
TEST_F(InputPaths, WithoutADialogCtrlSAndCtrlOSayWhatToDoOnceNotOnEveryRepeat) {
  const auto t0 = std::chrono::steady_clock::now();
  key('o', platform::kModCtrl);
  pump();
  EXPECT_EQ(s->toastText, kMsgNoOpenDialog);
  key('s', platform::kModCtrl);
  pump();
  EXPECT_EQ(s->toastText, kMsgNoSaveDialog);
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(5));
  s->toastText.clear();
  key('s', platform::kModCtrl, true);
  key('s', platform::kModCtrl, true);
  key('o', platform::kModCtrl, true);
  pump();
  EXPECT_EQ(s->toastText, "");

  // A path that is not there opens nothing and keeps the record.
  EXPECT_FALSE(openPath(*s, (home / "nowhere.json").string()));
  EXPECT_EQ(s->params.seed, "classic");
}
