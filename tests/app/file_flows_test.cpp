// The save and open flows behind Ctrl+S and Ctrl+O through the real dialog
// code: a stand-in portal on a private bus, or a stand-in zenity on PATH that
// logs how it was asked and answers as told. The window is left out of the
// record for these flows, since a headless window gets no dialog at all.
#include "app_fixture.h"

#include "io/files.h"
#include "io/preset.h"
#include "../support/fake_portal.h"

#include <fstream>
#include <sstream>
#include <thread>

namespace {

class FileFlows : public HeadlessApp {
 protected:
  void SetUp() override {
    HeadlessApp::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    dir = home / ("flows_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::create_directories(dir);
    // The stand-in zenity: its arguments one a line into the log, then the
    // answer (or the exit status) the test asked for.
    std::ofstream(dir / "zenity") << "#!/bin/sh\n"
                                     "printf '%s\\n' \"$@\" > \"$QTX_ZENITY_LOG\"\n"
                                     "[ -n \"$QTX_ZENITY_EXIT\" ] && exit \"$QTX_ZENITY_EXIT\"\n"
                                     "printf '%s\\n' \"$QTX_ZENITY_ANSWER\"\n";
    std::filesystem::permissions(dir / "zenity", std::filesystem::perms::owner_all);
    setenv("PATH", (dir.string() + ":" + path.value).c_str(), 1);  // ahead of any real one
    setenv("QTX_ZENITY_LOG", (dir / "zenity.log").c_str(), 1);
    unsetenv("QTX_ZENITY_EXIT");
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    setenv("XDG_RUNTIME_DIR", "/nonexistent", 1);
    s->window = nullptr;
  }

  std::string zenityLog() {
    std::ifstream in(dir / "zenity.log");
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  EnvGuard path{"PATH"}, bus{"DBUS_SESSION_BUS_ADDRESS"}, runtime{"XDG_RUNTIME_DIR"};
  std::filesystem::path dir;
};

}  // namespace

TEST_F(FileFlows, SavingThroughZenityNamesTheFileOnceAndKeepsThePose) {
  s->camera.yaw = s->camera.goalYaw = 80;  // turned since the record was made
  setenv("QTX_ZENITY_ANSWER", (dir / "мой").c_str(), 1);
  savePresetFlow(*s);
  EXPECT_EQ(s->toastText, "Пресет сохранён");
  const std::string asked = zenityLog();
  EXPECT_NE(asked.find("--save\n"), std::string::npos) << asked;
  EXPECT_NE(asked.find("--filename=" + platform::picturesFolder() + "/fractal_classic.json\n"), std::string::npos)
      << asked;
  FractalParams back;
  std::string message;
  ASSERT_TRUE(loadPresetFile((dir / "мой.json").string(), back, message)) << message;
  EXPECT_EQ(back.seed, "classic");
  EXPECT_NEAR(back.yaw, 80, 1e-9);

  // A name that already ends in .json is taken as it is.
  setenv("QTX_ZENITY_ANSWER", (dir / "второй.json").c_str(), 1);
  savePresetFlow(*s);
  EXPECT_TRUE(std::filesystem::exists(dir / "второй.json"));
  EXPECT_FALSE(std::filesystem::exists(dir / "второй.json.json"));

  // Cancelled: nothing written and nothing said.
  s->toastText.clear();
  setenv("QTX_ZENITY_EXIT", "1", 1);
  setenv("QTX_ZENITY_ANSWER", (dir / "третий").c_str(), 1);
  savePresetFlow(*s);
  EXPECT_EQ(s->toastText, "");
  EXPECT_FALSE(std::filesystem::exists(dir / "третий.json"));
}

TEST_F(FileFlows, ACancelledPortalDialogIsTheAnswerAndAChosenFileOpens) {
  Bus daemon;
  if (daemon.address.empty()) GTEST_SKIP() << "no dbus-daemon here";
  setenv("DBUS_SESSION_BUS_ADDRESS", daemon.address.c_str(), 1);
  FractalParams other = s->params;
  other.seed = "другой";
  ASSERT_TRUE(savePresetFile((dir / "другой.json").string(), other));
  // zenity would open the file: it must not be asked after the portal's cancel.
  setenv("QTX_ZENITY_ANSWER", (dir / "другой.json").c_str(), 1);
  {
    FakePortal portal;
    ASSERT_TRUE(portal.start(daemon.address));
    portal.code = 1;
    std::thread server([&] { portal.serveOne(); });
    openFileFlow(*s);
    portal.done = true;
    server.join();
    EXPECT_EQ(portal.method, "OpenFile");
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "zenity.log"));
  EXPECT_EQ(s->params.seed, "classic");
  EXPECT_EQ(s->toastText, "");
  {
    FakePortal portal;
    ASSERT_TRUE(portal.start(daemon.address));
    portal.uri = "file://" + (dir / "другой.json").string();
    std::thread server([&] { portal.serveOne(); });
    openFileFlow(*s);
    portal.done = true;
    server.join();
  }
  EXPECT_EQ(s->params.seed, "другой");
  EXPECT_EQ(s->toastText, "Загружено: другой");
}

// "Снять видео…" through the dialog and the typed path: the film is drawn
// from the last recording, else from a dive planned from the view, and the
// interactive state is as it was afterwards; Esc leaves no file behind.
TEST_F(FileFlows, FilmsARecordingOrADiveAndLeavesTheViewAsItWas) {
  std::string why;
  if (!platform::videoSupported("a.mp4", why)) GTEST_SKIP() << why;
  // A recording of two frames a quarter-turn apart, finished in this session.
  FilmPath& rec = s->recorder.path;
  rec.record = s->params;
  rec.quality = s->settings;
  rec.fps = 4;
  rec.frames = {frameOfCamera(s->camera, -1), frameOfCamera(s->camera, -1)};
  rec.frames[1].yaw += 90;
  ASSERT_TRUE(hasRecordedPath(*s));
  setenv("QTX_ZENITY_ANSWER", (dir / "фильм").c_str(), 1);
  filmFlow(*s, 32, 18, 4, 1, 0.5);
  const std::string asked = zenityLog();
  EXPECT_NE(asked.find("Видео MP4"), std::string::npos) << asked;
  const std::string film = (dir / "фильм.mp4").string();
  EXPECT_EQ(s->toastText, "Видео сохранено: " + film);
  EXPECT_GT(std::filesystem::file_size(film), 0u);

  // No recording: the dive from the current view, in the window; the camera,
  // modes, record and settings come back as they were.
  s->recorder.path.frames.clear();
  s->window = window;
  const Camera camera = s->camera;
  const AppSettings settings = s->settings;
  const std::string record = presetText(s->params, 0);
  const std::string dive = (dir / "погружение.mp4").string();
  EXPECT_TRUE(filmTo(*s, dive, 32, 18, 4, 1, 0.5));
  EXPECT_EQ(s->toastText, "Видео сохранено: " + dive);
  EXPECT_GT(std::filesystem::file_size(dive), 0u);
  EXPECT_FALSE(s->dive.on);
  EXPECT_FALSE(s->live.on);
  EXPECT_FALSE(s->photoRunning);
  EXPECT_EQ(s->settings, settings);
  EXPECT_EQ(presetText(s->params, 0), record);
  EXPECT_EQ(s->camera.logDist, camera.logDist);
  EXPECT_EQ(s->camera.goalLogDist, camera.goalLogDist);
  EXPECT_EQ(s->camera.yaw, camera.yaw);
  EXPECT_EQ(s->camera.pitch, camera.pitch);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(s->camera.target[i], camera.target[i]);

  // Esc while it runs: cancelled, and neither the film nor a part of it stays.
  key(platform::kKeyEscape);
  const std::string cancelled = (dir / "отменённый.mp4").string();
  EXPECT_FALSE(filmTo(*s, cancelled, 32, 18, 4, 1, 0.5));
  EXPECT_EQ(s->toastText, kMsgPhotoCancelled);
  for (const auto& e : std::filesystem::directory_iterator(dir))
    EXPECT_EQ(e.path().filename().string().find("отменённый"), std::string::npos) << e.path();

  // Not a video name: refused with the reason, nothing written.
  EXPECT_FALSE(filmTo(*s, (dir / "a.json").string(), 32, 18, 4, 1, 0.5));
  EXPECT_EQ(s->toastText.rfind("Ошибка: ", 0), 0u) << s->toastText;
  EXPECT_FALSE(std::filesystem::exists(dir / "a.json"));
}
