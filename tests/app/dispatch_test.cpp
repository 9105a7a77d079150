// Input through the window the way a user's travels: events posted to the
// headless window, drained, dispatched, and frames run on the software
// renderer. The scene is the classic bulb at distance 3.4 with the interface
// hidden, so the whole picture belongs to the camera.
#include "app/app_state.h"
#include "app/commands.h"
#include "app/dispatch.h"
#include "app/film.h"
#include "app/frame.h"
#include "io/files.h"
#include "model/tables.h"
#include "nav/gestures.h"
#include "platform/platform.h"
#include "app_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cmath>
#include <filesystem>
#include <memory>

namespace {

using platform::EventType;
using platform::InputEvent;

// The shared headless application, with a key event of any type and a drag.
class Dispatch : public HeadlessApp {
 protected:
  using HeadlessApp::post;
  void post(EventType t, int32_t key, uint32_t mods = 0) {
    InputEvent e;
    e.type = t;
    e.key = key;
    e.mods = mods;
    post(e);
  }
  void drag(int x0, int y0, int x1, int y1, int button = 1) {
    mouse(EventType::MouseMove, x0, y0);
    mouse(EventType::MouseDown, x0, y0, button);
    mouse(EventType::MouseMove, x1, y1);
    mouse(EventType::MouseUp, x1, y1, button);
  }
};

double length(const double v[3]) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

}  // namespace

TEST_F(Dispatch, DragsOrbitAndPanAndEachDragBecomesOneHistoryEntry) {
  drag(80, 50, 100, 40);
  pump();
  EXPECT_LT(s->camera.goalYaw, 35);
  EXPECT_LT(s->camera.goalPitch, 22);
  EXPECT_FALSE(s->input.dragging);
  EXPECT_EQ(length(s->camera.goalTarget), 0);
  size_t before = s->history.undo.size();
  settle();
  EXPECT_EQ(s->history.undo.size(), before + 1);  // the camera came to rest once

  // Released while the view still glides: one entry, at rest, not a half-way pose.
  before = s->history.undo.size();
  mouse(EventType::MouseDown, 80, 50);
  mouse(EventType::MouseMove, 120, 50);
  pump();
  runFrame(*s);
  mouse(EventType::MouseUp, 120, 50);
  pump();
  EXPECT_EQ(s->history.undo.size(), before);
  settle();
  EXPECT_EQ(s->history.undo.size(), before + 1);

  // Shift+left drag pans: the target moves, the angles stay.
  double yaw = s->camera.goalYaw;
  post(EventType::KeyDown, platform::kKeyShift, platform::kModShift);
  drag(80, 50, 90, 50);
  post(EventType::KeyUp, platform::kKeyShift);
  pump();
  EXPECT_EQ(s->camera.goalYaw, yaw);
  const double panned = length(s->camera.goalTarget);
  EXPECT_GT(panned, 0);

  // Right and middle drags pan whatever the modifiers.
  drag(80, 50, 80, 70, 3);
  pump();
  EXPECT_EQ(s->camera.goalYaw, yaw);
  EXPECT_GT(length(s->camera.goalTarget), panned);
  double afterRight[3] = {s->camera.goalTarget[0], s->camera.goalTarget[1], s->camera.goalTarget[2]};
  drag(80, 50, 60, 50, 2);
  pump();
  double moved[3];
  for (int i = 0; i < 3; ++i) moved[i] = s->camera.goalTarget[i] - afterRight[i];
  EXPECT_NEAR(length(moved), 2 * panned, panned * 1e-6);  // twice as far as the 10 px
}

TEST_F(Dispatch, TheWheelOutToItsClampStopsTheDive) {
  toggleDive(*s);
  ASSERT_TRUE(s->dive.on);
  s->camera.goalLogDist = kMaxLogDist - 0.05;
  wheel(2, 2, -3);
  pump();
  EXPECT_EQ(s->camera.goalLogDist, kMaxLogDist);
  EXPECT_FALSE(s->dive.on);
}

TEST_F(Dispatch, DoubleClickOnTheBulbCentresOnItsSurfaceAndTheSkyIsAMiss) {
  settle();
  mouse(EventType::MouseDown, 2, 2, 1, 2);
  mouse(EventType::MouseUp, 2, 2);
  pump();
  EXPECT_EQ(s->toastText, kMsgPickMiss);
  EXPECT_EQ(length(s->camera.goalTarget), 0);

  // A little off the middle, on the bulb.
  mouse(EventType::MouseDown, 90, 45, 1, 2);
  mouse(EventType::MouseUp, 90, 45);
  pump();
  EXPECT_TRUE(s->input.doubleClicked);
  double r = length(s->camera.goalTarget);
  EXPECT_GT(r, 0.5);   // on the surface, not at the middle of the solid
  EXPECT_LT(r, 1.3);
  EXPECT_NEAR(s->params.focus, std::exp(s->camera.goalLogDist), 1e-9);
  // Once the view has glided round, the centre ray meets the surface at the target.
  settle();
  Pick centre = pickAtCentre(pictureOf(*s), depthReaderOf(*s));
  ASSERT_TRUE(centre.hit);
  EXPECT_NEAR(centre.distance, cameraDistance(s->camera), 0.05 * cameraDistance(s->camera));
}

TEST_F(Dispatch, KeysSwitchTypeSeedAndUndoRedoWithModifiersFromTheEvent) {
  key('z', platform::kModCtrl);
  pump();
  EXPECT_EQ(s->toastText, kNothingToUndo);

  key('3');
  pump();
  EXPECT_EQ(s->params.type, fractalTypes()[2].key);
  EXPECT_EQ(s->params.seed, "classic");
  key('0');

  key('r');
  pump();
  std::string seed = s->params.seed;
  EXPECT_NE(seed, "classic");
  EXPECT_EQ(s->params.type, fractalTypes()[9].key);
  EXPECT_EQ(s->history.recent.front().seed, seed);

  key('z', platform::kModCtrl);
  pump();
  EXPECT_EQ(s->params.seed, "classic");
  EXPECT_EQ(s->params.type, fractalTypes()[9].key);
  key('z', platform::kModCtrl | platform::kModShift);  // Shift turns undo into redo
  pump();
  EXPECT_EQ(s->params.seed, seed);
  key('y', platform::kModCtrl);
  pump();
  EXPECT_EQ(s->toastText, kNothingToRedo);
  key('z', platform::kModCtrl);
  key('z', platform::kModCtrl);
  pump();
  EXPECT_EQ(s->params.type, fractalTypes()[2].key);
}

// With a text field focused, letters (flight keys too) are typing and only
// Escape and Backspace come through as keys; without the focus they act.
TEST_F(Dispatch, AFocusedTextFieldTakesTheLettersAndOnlyTheKeyEvents) {
  key('f');
  pump();
  ASSERT_TRUE(s->camera.flying);
  s->input.textFocus = true;
  key('r');
  key('3');
  key('v');
  post(EventType::KeyDown, 'w');
  InputEvent text;
  text.type = EventType::Text;
  text.text = "rж";
  post(text);
  key(platform::kKeyEscape);
  key(platform::kKeyBackspace);
  pump();
  EXPECT_EQ(s->params.seed, "classic");
  EXPECT_EQ(s->params.type, "mandelbulb");
  EXPECT_FALSE(s->dive.on);
  EXPECT_FALSE(s->camera.flightKeys.any());
  EXPECT_TRUE(s->input.keyEscape);
  EXPECT_TRUE(s->input.keyBackspace);
  EXPECT_EQ(s->input.typedChars, (std::vector<uint32_t>{'r', 0x436, 8}));

  // The loop clears the frame's fields; kept ones stay.
  s->input.pasteText = "x";
  clearFrameInput(s->input);
  EXPECT_TRUE(s->input.typedChars.empty());
  EXPECT_FALSE(s->input.keyEscape || s->input.keyBackspace);
  EXPECT_EQ(s->input.pasteText, "x");

  // Without the focus the same keys act; Escape closes the help first.
  s->input.textFocus = false;
  post(EventType::KeyDown, 'w');
  pump();
  EXPECT_TRUE(s->camera.flightKeys.forward);
  key(platform::kKeySlash);
  pump();
  EXPECT_TRUE(s->helpShown);
  key(platform::kKeyEscape);
  pump();
  EXPECT_FALSE(s->helpShown);
  key('v');
  pump();
  EXPECT_TRUE(s->dive.on);
}

TEST_F(Dispatch, FlightKeysAreHeldOnlyWhileFlyingAndThePanelTakesItsMouse) {
  key('f');
  post(EventType::KeyDown, 'w');
  post(EventType::KeyDown, platform::kKeyUp);
  post(EventType::KeyUp, 'w');
  pump();
  EXPECT_TRUE(s->camera.flying);
  EXPECT_TRUE(s->camera.flightKeys.forward) << "the arrow twin still holds it";
  key('f');
  pump();
  EXPECT_FALSE(s->camera.flightKeys.any());
  // The arrow let go while not flying leaves nothing held in the next flight.
  post(EventType::KeyUp, platform::kKeyUp);
  key('f');
  post(EventType::KeyDown, 'a');
  pump();
  EXPECT_TRUE(s->camera.flightKeys.left);
  EXPECT_FALSE(s->camera.flightKeys.forward);
  key('f');

  // With the interface shown, a press or a wheel over the panel is the panel's.
  s->uiHidden = false;
  s->dpiScale = 0.25;  // a 93-pixel panel on the 160-pixel window
  EXPECT_EQ(panelLeftEdge(*s, kW), kW - 93);
  double yaw = s->camera.goalYaw;
  drag(150, 50, 120, 50);
  wheel(150, 50, 2);
  pump();
  EXPECT_EQ(s->camera.goalYaw, yaw);
  EXPECT_FLOAT_EQ(s->input.panelScroll, -0.25f * 2 * 60);
  s->input.uiWantsMouse = true;
  drag(20, 50, 40, 50);
  pump();
  EXPECT_EQ(s->camera.goalYaw, yaw);
}

TEST_F(Dispatch, APhotoIsWrittenWithItsPresetAndCancelledByEscape) {
  auto path = std::filesystem::temp_directory_path() / ("qtx_photo_" + std::to_string(getpid()) + ".png");
  std::string problem;
  ASSERT_TRUE(writePhoto(*s, path.string(), 40, 30, 2, problem));
  EXPECT_EQ(problem, "");
  FractalParams back;
  std::string message;
  ASSERT_TRUE(loadPresetFile(path.string(), back, message)) << message;
  EXPECT_EQ(back.seed, "classic");
  std::filesystem::remove(path);

  // Escape waiting in the queue cancels at the first progress call, and no
  // file appears.
  post(EventType::KeyDown, platform::kKeyEscape);
  EXPECT_FALSE(writePhoto(*s, path.string(), 40, 30, 64, problem));
  EXPECT_FALSE(std::filesystem::exists(path));
}

// K records what the camera does (a drag, the wheel, the dive); the saved
// path, resampled at the film's rate, holds the recorded cameras, and its
// first frame rendered from the file alone is the photo of the recorded view.
TEST_F(Dispatch, RecordedPathHoldsTheCameraAndRendersFromTheFile) {
  key('k');
  pump();
  ASSERT_TRUE(s->recorder.on);
  size_t drawn = 0;
  auto frames = [&](int n) {
    for (int i = 0; i < n; ++i, ++drawn) runFrame(*s);
  };
  const double yaw0 = s->camera.yaw, logDist0 = s->camera.logDist;
  frames(3);
  drag(80, 50, 110, 40);
  pump();
  frames(6);
  wheel(80, 50, 2);
  pump();
  frames(6);
  key('v');
  pump();
  ASSERT_TRUE(s->dive.on);
  frames(8);
  const std::vector<double> times = s->recorder.times;
  ASSERT_EQ(s->recorder.samples.size(), drawn);  // one per frame drawn
  ASSERT_TRUE(finishRecording(s->recorder));
  const std::string file = (std::filesystem::temp_directory_path() /
                            ("qtx_path_" + std::to_string(getpid()) + ".json")).string();
  ASSERT_TRUE(saveRecording(*s, file));
  FilmPath p;
  std::string error;
  ASSERT_TRUE(loadFilmPath(file, p, error)) << error;
  std::filesystem::remove(file);
  EXPECT_EQ(p.fps, 30);
  EXPECT_TRUE(p.dive);
  EXPECT_EQ(p.width, kW);
  EXPECT_EQ(p.record, s->params);
  EXPECT_EQ(p.frames.size(), size_t(std::floor((times.back() - times.front()) * 30)) + 1);
  EXPECT_EQ(p.frames.front().yaw, yaw0);
  EXPECT_EQ(p.frames.front().logDist, logDist0);
  EXPECT_LT(p.frames.back().yaw, yaw0);  // the drag to the right turned it
  EXPECT_LT(p.frames.back().logDist, logDist0 - 0.2);  // the wheel and the dive went in

  std::vector<uint8_t> fromPath, photo;
  ASSERT_TRUE(renderPathFrame(*s, p, 0, 48, 28, 2, 0, fromPath, nullptr));
  Camera c;
  cameraOfFrame(p.frames.front(), c);
  FrameInput in;
  in.params = &p.record;
  in.camera = cameraViewOf(c, p.record.fov);
  in.diveActive = true;
  in.quality = renderQuality(p.quality);
  in.jitterSequence = 0;
  s->renderer.deep = false;
  s->renderer.focusDepth = 0;
  ASSERT_TRUE(renderPhoto(s->renderer, 48, 28, 2, in, photo, nullptr));
  EXPECT_EQ(fromPath, photo);
  std::vector<uint8_t> last;
  ASSERT_TRUE(renderPathFrame(*s, p, double(p.frames.size() - 1), 48, 28, 2, 0, last, nullptr));
  EXPECT_NE(last, fromPath);
}
