// film.cpp — the command-line film: the dive planned on a clock of its own,
// the frames rendered as photos from the path alone, written as numbered
// PNGs (resumable, shareable between processes) or encoded into a video.
//
// Index
//   [SECTION] Planning the dive
//   [SECTION] Rendering a frame
//   [SECTION] Frame files
//   [SECTION] Recording in the app
//   [SECTION] The run
#include "app/film.h"

#include "app/commands.h"
#include "app/frame.h"
#include "io/files.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "nav/dive.h"
#include "nav/live.h"
#include "platform/platform.h"
#include "render/shader_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace {

constexpr int kPlanWidth = 256;          // the dive reads depths from a picture this wide
constexpr int kDefaultFilmSamples = 16;
constexpr int kDefaultFps = 30;
constexpr double kProgressEvery = 3;     // seconds between progress lines

bool isFolderTarget(const std::string& video) {
  return !video.empty() && (video.back() == '/' || video.back() == '\\');
}

void filmSize(const LaunchOptions& o, int& w, int& h) {
  w = o.width > 0 ? o.width : 1280;
  h = o.height > 0 ? o.height : 720;
}

}  // namespace

void filmPlanSize(const LaunchOptions& o, int& width, int& height) {
  int w = 0, h = 0;
  filmSize(o, w, h);
  width = std::min(kPlanWidth, w);
  height = std::max(2, int(std::lround(double(width) * h / w)));
}

// [SECTION] Planning the dive

FilmPath planDivePath(AppState& s, int frames, int fps, uint32_t randomSeed,
                      const std::function<bool(int done)>& progress) {
  FilmPath path;
  path.record = s.params;
  path.fps = fps;
  path.dive = true;
  path.randomSeed = randomSeed;
  path.liveAmount = s.live.amount;
  path.quality = s.settings;
  // The dive's turns come from its own generator; everything else it reads
  // is the picture, so the seed decides the path.
  s.rng.seed(randomSeed);
  // Whole samples at the full preview size every step: the depths the dive
  // reads must not depend on how fast this machine traces.
  s.settings.adaptive = false;
  const double dt = 1.0 / fps;
  for (int k = 0; k < frames; ++k) {
    const double now = 1.0 + k * dt;  // the dive's clock starts above its "never retargeted" 0
    if (s.dive.on) stepDive(s, dt, now, true);
    const bool moving = cameraUpdate(s.camera, dt);
    if (s.live.on) liveAdvance(s.live, dt);
    path.frames.push_back(frameOfCamera(s.camera, s.live.on ? s.live.clock : -1));
    FrameInput in = frameInputOf(s, now, moving);
    in.unattended = true;
    renderFrame(s.renderer, in);
    // A sample cut into bands is finished at the same moment of the clock.
    for (int guard = 0; s.renderer.rowCursor != 0 && guard < 100000; ++guard) renderFrame(s.renderer, in);
    if (progress && !progress(k + 1)) break;
  }
  return path;
}

// [SECTION] Rendering a frame

FractalParams frameRecord(const FilmPath& p, const PathFrame& f) {
  FractalParams shown = p.record;
  const double dist = std::exp(f.logDist);
  if (f.liveClock >= 0) {
    LiveState live;
    live.on = true;
    live.clock = f.liveClock;
    live.amount = p.liveAmount;
    shown = liveFrame(live, p.record, dist);
  }
  Camera c;
  cameraOfFrame(f, c);
  cameraIntoParams(c, shown);
  return shown;
}

namespace {

// One exposure: the photo render of the frame's record and camera, with a
// jitter sequence of its own instead of the renderer's running counter.
bool exposeFrame(AppState& s, const FilmPath& p, const PathFrame& f, int w, int h, int samples,
                 uint32_t jitterBase, std::vector<uint8_t>& px, const std::function<bool(double)>& progress) {
  const FractalParams shown = frameRecord(p, f);
  std::string error;
  setFractal(s.renderer, shown, error);  // a failed build draws nothing; the report carries the error
  Camera c;
  cameraOfFrame(f, c);
  // The renderer's memories of earlier frames (the fp64 hysteresis, the
  // focus found by the last still picture) must not reach this one.
  s.renderer.deep = false;
  s.renderer.focusDepth = 0;
  FrameInput in;
  in.params = &shown;
  in.camera = cameraViewOf(c, shown.fov);
  in.diveActive = p.dive;
  in.deepForced = p.quality.deep == 2;
  in.quality = renderQuality(p.quality);
  in.jitterSequence = jitterBase;
  in.width = w;
  in.height = h;
  return renderPhoto(s.renderer, w, h, samples, in, px,
                     [&](double fraction, double) { return !progress || progress(fraction); });
}

}  // namespace

bool renderPathFrame(AppState& s, const FilmPath& p, double at, int w, int h, int samples, double shutter,
                     std::vector<uint8_t>& rgbaBottomUp, const std::function<bool(double fraction)>& progress) {
  if (shutter <= 0 || samples < 2)
    return exposeFrame(s, p, pathAt(p.frames, at), w, h, samples, 0, rgbaBottomUp, progress);
  // Motion blur: the samples split into exposures spread over the open
  // shutter, each at its own camera, averaged by their sample counts. Their
  // jitter continues one sequence, so together they cover the pixel as one
  // photo would.
  const int exposures = std::min(samples, 8);
  std::vector<uint32_t> sum(size_t(w) * size_t(h) * 4, 0);
  std::vector<uint8_t> px;
  int done = 0;
  for (int e = 0; e < exposures; ++e) {
    const int n = samples / exposures + (e < samples % exposures ? 1 : 0);
    const double offset = shutter * ((e + 0.5) / exposures - 0.5);
    auto part = [&](double f) { return !progress || progress((done + f * n) / samples); };
    if (!exposeFrame(s, p, pathAt(p.frames, at + offset), w, h, n, uint32_t(done), px, part)) return false;
    for (size_t i = 0; i < sum.size(); ++i) sum[i] += uint32_t(px[i]) * uint32_t(n);
    done += n;
  }
  rgbaBottomUp.resize(sum.size());
  for (size_t i = 0; i < sum.size(); ++i) rgbaBottomUp[i] = uint8_t((sum[i] + uint32_t(samples / 2)) / uint32_t(samples));
  return true;
}

// [SECTION] Frame files

bool isWholeFrameFile(const std::string& file) {
  std::string bytes, reason;
  if (!readFileLimited(file, kPngFileLimit, bytes, reason)) return false;
  static const char kIend[] = "\0\0\0\0IEND\xae\x42\x60\x82";
  return bytes.size() > 57 && bytes.compare(0, 8, "\x89PNG\r\n\x1a\n") == 0 &&
         bytes.compare(bytes.size() - 12, 12, std::string(kIend, 12)) == 0;
}

namespace {

// A tEXt chunk (Latin-1 keyword and text): which frame of which path.
std::string textChunk(const std::string& keyword, const std::string& text) {
  std::string body = "tEXt" + keyword + '\0' + text;
  std::string chunk;
  const uint32_t n = uint32_t(body.size() - 4);
  for (int shift : {24, 16, 8, 0}) chunk += char((n >> shift) & 0xff);
  chunk += body;
  const uint32_t crc = crc32(reinterpret_cast<const uint8_t*>(body.data()), body.size());
  for (int shift : {24, 16, 8, 0}) chunk += char((crc >> shift) & 0xff);
  return chunk;
}

bool encodeFramePng(const std::vector<uint8_t>& px, int w, int h, const FractalParams& shown, int index,
                    const std::string& pathName, std::string& png) {
  if (!platform::encodePngPixels(px.data(), w, h, png) || !splicePresetChunk(png, presetText(shown, 0)))
    return false;
  std::string name;
  for (char c : pathName) name += (c & 0x80) ? '_' : c;  // tEXt is Latin-1
  png.insert(33, textChunk("Quorvantelix-frame", "frame " + std::to_string(index) + "; path " + name));
  return true;
}

}  // namespace

// [SECTION] Recording in the app

bool saveRecording(AppState& s, const std::string& file) {
  std::string error;
  if (!saveFilmPath(file, s.recorder.path, error)) {
    showMessage(s, error);
    return false;
  }
  showMessage(s, "Путь сохранён: " + file + " (" + std::to_string(s.recorder.path.frames.size()) + " кадров)");
  return true;
}

void toggleRecording(AppState& s) {
  if (!s.recorder.on) {
    int w = 0, h = 0;
    platform::drawableSize(s.window, w, h);
    startRecording(s.recorder, s.params, s.settings, s.live.amount, w, h);
    showMessage(s, kMsgRecording);
    return;
  }
  if (!finishRecording(s.recorder)) {
    showMessage(s, "Путь пуст: ни одного кадра не записано");
    return;
  }
  const std::string proposed = "path_" + safeFileName(s.params.seed) + ".json";
  std::string file;
  const auto r = platform::saveFileDialog(s.window, "Сохранить путь камеры", {{"Путь камеры (*.json)", {"*.json"}}},
                                          platform::picturesFolder(), proposed, file);
  s.redraw = true;
  if (r == platform::DialogResult::Cancelled) {
    showMessage(s, "Путь не сохранён");
    return;
  }
  // No dialog here: the path goes beside the pictures rather than nowhere.
  if (r == platform::DialogResult::Unavailable || file.empty()) {
    const std::string folder = platform::picturesFolder();
    const std::string stem = (folder.empty() ? "" : folder + "/") + "path_" + safeFileName(s.params.seed);
    file = stem + ".json";
    for (int n = 2; std::filesystem::exists(file); ++n) file = stem + "_" + std::to_string(n) + ".json";
  } else if (std::filesystem::path(file).extension().empty()) {
    file += ".json";
  }
  saveRecording(s, file);
}

namespace {

// [SECTION] The run

struct FilmRun {
  AppState& s;
  const LaunchOptions& o;
  double start = 0, lastLine = 0;
  int total = 0;       // frames of this run (selected)
  int rendered = 0, skipped = 0;
  bool cancelled = false;
  std::string encoder;
};

// Esc (where a window shows) or a close request (SIGTERM) stops the film;
// what is done is kept.
bool keepGoing(FilmRun& run) {
  for (const auto& e : platform::pollEvents(run.s.window))
    if ((e.type == platform::EventType::KeyDown && e.key == platform::kKeyEscape) ||
        e.type == platform::EventType::Close)
      run.cancelled = true;
  return !run.cancelled;
}

void reportProgress(FilmRun& run, int k, double fraction) {
  const double now = platform::now();
  const double doneFrames = k + fraction;
  const double elapsed = now - run.start;
  const double left = doneFrames > 0 ? elapsed / doneFrames * (run.total - doneFrames) : 0;
  const int percent = run.total > 0 ? int(100 * doneFrames / run.total) : 100;
  char line[200];
  std::snprintf(line, sizeof line, "Quorvan Telix 3D — фильм: кадр %d из %d, %d%%, осталось ~%d с (Esc — отмена)",
                std::min(k + 1, run.total), run.total, percent, int(std::lround(left)));
  platform::setTitle(run.s.window, line);
  if (now - run.lastLine < kProgressEvery) return;
  run.lastLine = now;
  std::fprintf(stderr, "фильм: кадр %d из %d, %d%%, осталось ~%.0f с\n", std::min(k + 1, run.total), run.total,
               percent, left);
}

std::string logText(const FilmRun& run, const FilmPath& p, int fps, int w, int h, int samples, const std::string& source,
                    const std::string& target, double seconds) {
  char buf[1024];
  std::snprintf(buf, sizeof buf,
                "%s\nerror: %s\nsource: %s\nvideo: %s\nencoder: %s\nsize: %dx%d\nfps: %d\nsamples: %d\n"
                "frames: %d\nrendered: %d\nskipped: %d\ncancelled: %s\nseconds: %.1f\n",
                run.s.renderer.gpu.c_str(), run.s.renderer.errorText.c_str(), source.c_str(), target.c_str(),
                run.encoder.c_str(), w, h, fps, samples, run.total, run.rendered, run.skipped,
                run.cancelled ? "yes" : "no", seconds);
  std::string text = buf;
  if (p.randomSeed >= 0) text += "random-seed: " + std::to_string(p.randomSeed) + "\n";
  return text;
}

std::string logPath(const std::string& video) {
  return isFolderTarget(video) ? video + "film.log" : video + ".log";
}

// Encodes DIR/frame_000000.png, … (consecutive from 0) into the video.
int encodeFolder(FilmRun& run) {
  const LaunchOptions& o = run.o;
  std::string dir = o.fromFrames;
  if (!dir.empty() && dir.back() != '/' && dir.back() != '\\') dir += '/';
  // The folder's path knows the rate the frames were drawn at.
  FilmPath drawn;
  std::string ignored;
  const int fps = o.fps > 0 ? o.fps : loadFilmPath(dir + "path.json", drawn, ignored) ? drawn.fps : kDefaultFps;
  int count = 0;
  while (std::filesystem::exists(dir + frameFileName(count))) ++count;
  if (count == 0) {
    std::fprintf(stderr, "в папке %s нет кадров %s\n", dir.c_str(), frameFileName(0).c_str());
    return 1;
  }
  run.total = count;
  platform::VideoWriter* v = nullptr;
  std::string error, bytes, reason;
  int w0 = 0, h0 = 0;
  for (int k = 0; k < count; ++k) {
    int w = 0, h = 0;
    std::vector<uint8_t> px;
    const std::string file = dir + frameFileName(k);
    if (!readFileLimited(file, kPngFileLimit, bytes, reason) || !platform::decodePngPixels(bytes, w, h, px)) {
      error = fileProblem(kMsgCannotRead, file, reason.empty() ? kMsgDamagedPng : reason);
    } else if (!v) {
      w0 = w, h0 = h;
      if ((v = platform::openVideo(o.video, w, h, fps, error))) run.encoder = platform::videoEncoderName(v);
    } else if (w != w0 || h != h0) {
      error = "кадр " + file + " другого размера, чем первый";
    }
    if (error.empty() && v && platform::writeVideoFrame(v, px.data(), error)) ++run.rendered;
    if (!error.empty() || !keepGoing(run)) break;
    reportProgress(run, k, 1);
  }
  if (!error.empty()) {
    platform::abandonVideo(v);
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  if (!platform::closeVideo(v, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  writeFileAtomic(logPath(o.video), logText(run, FilmPath{}, fps, w0, h0, 0, dir, o.video, platform::now() - run.start));
  std::fprintf(stderr, "видео записано: %s (%d кадров)\n", o.video.c_str(), run.rendered);
  return run.cancelled ? 1 : 0;
}

uint32_t drawnSeed(const LaunchOptions& o, AppState& s) {
  if (o.randomSeed >= 0) return uint32_t(o.randomSeed);
  return uint32_t(s.rng());
}

// The path this film draws: loaded, or planned by the dive and saved beside the film.
bool obtainPath(FilmRun& run, FilmPath& p, std::string& source) {
  const LaunchOptions& o = run.o;
  std::string error;
  if (!o.pathFile.empty()) {
    if (!loadFilmPath(o.pathFile, p, error)) {
      std::fprintf(stderr, "%s\n", error.c_str());
      return false;
    }
    source = o.pathFile;
    return true;
  }
  const uint32_t seed = drawnSeed(o, run.s);
  std::fprintf(stderr, "план погружения: --random-seed %u\n", seed);
  const double seconds = o.duration > 0 ? o.duration : o.dive;
  const int fps = o.fps > 0 ? o.fps : kDefaultFps;
  const int frames = std::max(1, int(std::lround(seconds * fps)));
  double lastLine = platform::now();
  p = planDivePath(run.s, frames, fps, seed, [&](int done) {
    if (platform::now() - lastLine >= kProgressEvery) {
      lastLine = platform::now();
      std::fprintf(stderr, "план погружения: кадр %d из %d\n", done, frames);
    }
    return keepGoing(run);
  });
  if (run.cancelled) return false;
  filmSize(o, p.width, p.height);
  source = isFolderTarget(o.video) ? o.video + "path.json" : o.video + ".path.json";
  // The frames are drawn from the path as the file has it, so that a later
  // --path run of that file draws the same frames.
  if (!saveFilmPath(source, p, error) || !loadFilmPath(source, p, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return false;
  }
  std::fprintf(stderr, "путь камеры: %s (%zu кадров)\n", source.c_str(), p.frames.size());
  return true;
}

}  // namespace

FilmOutcome renderFilm(AppState& s, const FilmPath& p, const FilmSpec& spec,
                       const std::function<bool(int i, int total, double fraction)>& progress) {
  FilmOutcome out;
  const bool folder = isFolderTarget(spec.target);
  const int w = spec.width, h = spec.height, fps = spec.fps;
  // Another frame rate than the path's samples it afresh; the duration cuts it.
  const double pathSeconds = double(p.frames.size()) / p.fps;
  const double seconds = spec.duration > 0 ? std::min(spec.duration, pathSeconds) : pathSeconds;
  const int count = std::max(1, int(std::floor(seconds * fps + 1e-6)));
  const std::vector<int> chosen = selectedFrames(spec.frames, count);
  out.total = int(chosen.size());
  platform::VideoWriter* v = nullptr;
  if (!folder && !(v = platform::openVideo(spec.target, w, h, fps, out.error))) return out;
  out.encoder = folder ? "png" : platform::videoEncoderName(v);
  std::vector<uint8_t> px;
  for (int i = 0; i < out.total && out.error.empty(); ++i) {
    const int k = chosen[size_t(i)];
    const std::string file = folder ? spec.target + frameFileName(k) : std::string();
    if (folder && isWholeFrameFile(file)) {
      ++out.skipped;
      continue;
    }
    const double at = double(k) * p.fps / fps;
    if (!renderPathFrame(s, p, at, w, h, spec.samples, spec.shutter, px,
                         [&](double f) { return !progress || progress(i, out.total, f); })) {
      out.cancelled = true;
      break;
    }
    ++out.rendered;
    if (folder) {
      std::string png, reason;
      const PathFrame f = pathAt(p.frames, at);
      if (!encodeFramePng(px, w, h, frameRecord(p, f), k, spec.pathName, png)) out.error = "не удалось закодировать PNG";
      else if (!writeFileAtomic(file, png, &reason)) out.error = fileProblem(kMsgCannotWrite, file, reason);
    } else {
      platform::writeVideoFrame(v, px.data(), out.error);
    }
    if (progress && !progress(i, out.total, 1)) {
      out.cancelled = true;
      break;
    }
  }
  if (v && out.error.empty() && (spec.keepCancelled || !out.cancelled)) platform::closeVideo(v, out.error);
  else if (v) platform::abandonVideo(v);
  return out;
}

int runFilm(AppState& s, const LaunchOptions& o) {
  FilmRun run{s, o, 0, 0, 0, 0, 0, false, ""};
  run.start = run.lastLine = platform::now();
  std::string error;
  if (!o.fromFrames.empty()) return encodeFolder(run);
  const bool folder = isFolderTarget(o.video);
  if (!folder && !platform::videoSupported(o.video, error)) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 2;
  }
  if (folder) {
    std::error_code ec;
    std::filesystem::create_directories(o.video, ec);
    if (!std::filesystem::is_directory(o.video)) {
      std::fprintf(stderr, "%s\n", fileProblem("Не удалось создать папку", o.video, ec.message()).c_str());
      return 1;
    }
  }
  FilmPath p;
  std::string source;
  if (!obtainPath(run, p, source)) return 1;
  int w = 0, h = 0;
  if (o.width > 0) filmSize(o, w, h);
  else w = p.width, h = p.height;
  const int samples = o.samples > 0 ? o.samples : kDefaultFilmSamples;
  FilmSpec spec;
  spec.target = o.video;
  spec.width = w, spec.height = h, spec.samples = samples;
  spec.fps = o.fps > 0 ? o.fps : p.fps;
  spec.shutter = o.shutter;
  spec.duration = o.duration;
  spec.frames = o.frames;
  spec.pathName = std::filesystem::path(source).filename().string();
  run.start = platform::now();
  const FilmOutcome done = renderFilm(s, p, spec, [&](int i, int total, double f) {
    run.total = total;
    reportProgress(run, i, f);
    return keepGoing(run);
  });
  run.total = done.total, run.rendered = done.rendered, run.skipped = done.skipped;
  run.cancelled = run.cancelled || done.cancelled;
  run.encoder = done.encoder;
  error = done.error;
  const int fps = spec.fps;
  platform::setTitle(s.window, kAppTitle);
  const std::string log = logText(run, p, fps, w, h, samples, source, o.video, platform::now() - run.start);
  writeFileAtomic(logPath(o.video), log);
  if (!error.empty()) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  if (!s.renderer.errorText.empty()) {
    std::fprintf(stderr, "%s\n", s.renderer.errorText.c_str());
    return 1;
  }
  std::fprintf(stderr, "фильм: %d кадров нарисовано, %d уже были%s\n", run.rendered, run.skipped,
               run.cancelled ? " (отменено)" : "");
  return run.cancelled ? 1 : 0;
}
