// Camera paths: the file keeps every frame exactly, a damaged one is refused
// with a message, the camera moves steadily in scale between samples, and the
// frame selections of a farm cover a film exactly once.
#include "app/film_path.h"

#include "model/seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace {

PathFrame at(double x, double yaw, double dist, double live = -1) {
  PathFrame f;
  f.target[0] = x;
  f.target[1] = -x / 3;
  f.target[2] = 0.1 * x;
  f.yaw = yaw;
  f.pitch = 12.5;
  f.logDist = std::log(dist);
  f.liveClock = live;
  return f;
}

}  // namespace

TEST(FilmPath, RoundTripAndDamagedFiles) {
  FilmPath p;
  p.record = generateFromSeed("путь", "mandelbox", nullptr);
  p.fps = 24;
  p.width = 96;
  p.height = 54;
  p.dive = true;
  p.randomSeed = 4294967295LL;
  p.quality.maxSteps = 777;
  p.quality.gi = true;
  p.frames = {at(0.1, 35, 3.4), at(1.0 / 3, 36.000000001, 1e-9, 2.5), at(-2e-7, -400, 5e-12)};
  FilmPath back;
  std::string error;
  ASSERT_TRUE(filmPathFromJson(parseJson(writeJson(filmPathToJson(p), 1)), back, error)) << error;
  EXPECT_EQ(back.record, p.record);
  EXPECT_TRUE(back.fps == 24 && back.width == 96 && back.dive && back.quality.gi);
  EXPECT_EQ(back.randomSeed, 4294967295LL);
  EXPECT_EQ(back.quality.maxSteps, 777);
  ASSERT_EQ(back.frames.size(), 3u);
  for (size_t i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) EXPECT_EQ(back.frames[i].target[k], p.frames[i].target[k]);
    EXPECT_EQ(back.frames[i].yaw, p.frames[i].yaw);
    EXPECT_EQ(back.frames[i].logDist, p.frames[i].logDist);
    EXPECT_EQ(back.frames[i].liveClock, p.frames[i].liveClock);
  }

  const std::pair<const char*, const char*> bad[] = {
      {"{}", "это не путь камеры"},
      {R"({"cameraPath":2})", "путь камеры более новой версии"},
      {R"({"cameraPath":1,"fps":30,"width":9,"height":9,"frames":["0 0 0 0 0 0"]})",
       "в пути камеры нет записи фрактала или кадров"},
      {R"({"cameraPath":1,"fps":0,"width":9,"height":9,"record":{},"frames":["0 0 0 0 0 0"]})",
       "неверная частота или размер в пути камеры"},
      {R"({"cameraPath":1,"fps":30,"width":9,"height":9,"record":{},"frames":[]})", "в пути камеры нет кадров"},
      {R"({"cameraPath":1,"fps":30,"width":9,"height":9,"record":{},"frames":["0 0 0 0 0 0","0 0 x 0 0 0"]})",
       "неверный кадр 1 в пути камеры"},
      {R"({"cameraPath":1,"fps":30,"width":9,"height":9,"record":{},"frames":["0 0 0 0 0 nan"]})",
       "неверный кадр 0 в пути камеры"},
  };
  for (const auto& [text, message] : bad) {
    FilmPath untouched = p;
    EXPECT_FALSE(filmPathFromJson(parseJson(text), untouched, error)) << text;
    EXPECT_EQ(error, message) << text;
    EXPECT_EQ(untouched.frames.size(), 3u);
  }
}

// Halfway between 1 and 1e-4 of distance is 1e-2: every step of a zoom
// changes the scale by the same ratio.
TEST(FilmPath, InterpolationIsScaleAware) {
  const std::vector<PathFrame> frames = {at(0, 0, 1), at(1, 10, 1e-4, 4), at(2, 20, 1e-4, 6)};
  PathFrame mid = pathAt(frames, 0.5);
  EXPECT_NEAR(std::exp(mid.logDist), 1e-2, 1e-12);
  EXPECT_DOUBLE_EQ(mid.yaw, 5);
  EXPECT_DOUBLE_EQ(mid.target[0], 0.5);
  EXPECT_EQ(mid.liveClock, -1);  // no clock on one side: no morph half-way
  EXPECT_DOUBLE_EQ(pathAt(frames, 1.25).liveClock, 4.5);
  EXPECT_EQ(pathAt(frames, 99).yaw, 20);

  // Uneven frame times of a recording become even steps at the film's rate.
  const std::vector<double> times = {10.0, 10.05, 10.3, 11.0};
  const std::vector<PathFrame> samples = {at(0, 0, 1), at(0, 5, 0.1), at(0, 30, 1e-3), at(0, 100, 1e-5)};
  std::vector<PathFrame> even = resamplePath(times, samples, 10, 0);
  ASSERT_EQ(even.size(), 11u);  // 0.0, 0.1, …, 1.0 seconds
  EXPECT_NEAR(even[1].yaw, 5 + 25 * 0.2, 1e-9);
  EXPECT_NEAR(even[2].logDist, std::log(0.1) + (std::log(1e-3) - std::log(0.1)) * 0.6, 1e-9);
  EXPECT_DOUBLE_EQ(even[10].yaw, 100);
  EXPECT_EQ(resamplePath(times, samples, 10, 0.5).size(), 5u);  // cut to the duration
}

TEST(FilmPath, SelectionsCoverAFilmOnce) {
  FrameSelection span;
  span.first = 10;
  span.last = 19;
  std::vector<int> frames = selectedFrames(span, 100);
  ASSERT_EQ(frames.size(), 10u);
  EXPECT_EQ(frames.front(), 10);
  EXPECT_EQ(frames.back(), 19);
  span.last = 500;
  EXPECT_EQ(selectedFrames(span, 15).size(), 5u);  // past the end: to the end

  for (int total : {1, 7, 8, 9, 100, 601}) {
    for (int shares : {1, 2, 3, 16}) {
      std::multiset<int> seen;
      for (int k = 1; k <= shares; ++k) {
        FrameSelection s;
        s.share = k;
        s.shares = shares;
        for (int f : selectedFrames(s, total)) seen.insert(f);
      }
      ASSERT_EQ(seen.size(), size_t(total)) << total << " in " << shares;
      for (int f = 0; f < total; ++f) EXPECT_EQ(seen.count(f), 1u);
    }
  }
  EXPECT_EQ(frameFileName(42), "frame_000042.png");
}
