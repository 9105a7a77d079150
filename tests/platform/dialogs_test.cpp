// The file dialogs' desktop-portal path against a stand-in portal on a
// private session bus: the request goes out with our options, the answer
// comes back on the request object we foresaw, a file URI becomes a path, a
// cancel is a cancel. Skipped where no bus daemon can be started.
#include "platform/platform.h"
#include "../support/fake_portal.h"
#include "../support/test_support.h"

#include <dbus/dbus.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <signal.h>
#include <string>
#include <thread>

TEST(PortalDialogs, ChosenFileComesBackAsAPathAndACancelAsACancel) {
  Bus bus;
  if (bus.address.empty()) GTEST_SKIP() << "no dbus-daemon here";
  EnvGuard restore("DBUS_SESSION_BUS_ADDRESS");
  setenv("DBUS_SESSION_BUS_ADDRESS", bus.address.c_str(), 1);

  {
    FakePortal portal;
    ASSERT_TRUE(portal.start(bus.address));
    portal.uri = "file:///tmp/%D0%BC%D0%B8%D1%80%202.json";
    std::thread server([&] { portal.serveOne(); });
    std::string path;
    auto r = platform::saveFileDialog(nullptr, "Сохранить пресет", {{"Пресет", {"*.json"}}}, "/tmp",
                                      "fractal_мир.json", path);
    portal.done = true;
    server.join();
    EXPECT_EQ(r, platform::DialogResult::Chosen);
    EXPECT_EQ(path, "/tmp/мир 2.json");
    EXPECT_EQ(portal.method, "SaveFile");
    EXPECT_EQ(portal.title, "Сохранить пресет");
    EXPECT_EQ(portal.currentName, "fractal_мир.json");
  }
  {
    FakePortal portal;
    ASSERT_TRUE(portal.start(bus.address));
    portal.code = 1;
    std::thread server([&] { portal.serveOne(); });
    std::string path = "x";
    auto r = platform::openFileDialog(nullptr, "Открыть", {}, "", path);
    portal.done = true;
    server.join();
    EXPECT_EQ(r, platform::DialogResult::Cancelled);
    EXPECT_EQ(path, "");
    EXPECT_EQ(portal.method, "OpenFile");
  }
}

TEST(Dialogs, WithNoSessionBusAndNoZenityTheyAreUnavailableAtOnce) {
  EnvGuard bus("DBUS_SESSION_BUS_ADDRESS"), runtime("XDG_RUNTIME_DIR"), path("PATH");
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  setenv("XDG_RUNTIME_DIR", "/nonexistent", 1);
  setenv("PATH", "/nonexistent", 1);
  std::string chosen = "untouched";
  auto t0 = std::chrono::steady_clock::now();
  auto save = platform::saveFileDialog(nullptr, "Сохранить", {{"JSON", {"*.json"}}}, "/tmp", "a.json", chosen);
  EXPECT_EQ(save, platform::DialogResult::Unavailable);
  EXPECT_EQ(chosen, "");
  auto open = platform::openFileDialog(nullptr, "Открыть", {}, "", chosen);
  EXPECT_EQ(open, platform::DialogResult::Unavailable);
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(2));
}
