// The save and open flows behind Ctrl+S and Ctrl+O through the real dialog
// code: a stand-in portal on a private bus, or a stand-in zenity on PATH that
// logs how it was asked and answers as told. The window is left out of the
// record for these flows, since a headless window gets no dialog at all.
#include "app_fixture.h"

#include "io/files.h"
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
