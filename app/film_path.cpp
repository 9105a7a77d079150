// Camera paths for films: recording, the planned dive, and their JSON form.
#include "app/film_path.h"

#include "io/files.h"
#include "io/preset.h"
#include "model/ranges.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <exception>

namespace {

constexpr int kPathVersion = 1;
constexpr size_t kMaxPathFrames = 10'000'000;  // over three days of film at 30 fps

JsonValue number(double x) { return JsonValue::makeNumber(x); }

// The settings that change a frame's pixels; the rest (window, pacing,
// interface) belong to the machine, not to the film.
JsonValue qualityJson(const AppSettings& s) {
  JsonValue q = JsonValue::makeObject();
  set(q, "maxSteps", number(s.maxSteps));
  set(q, "precision", number(s.precision));
  set(q, "deep", number(s.deep));
  set(q, "shadows", JsonValue::makeBool(s.shadows));
  set(q, "ao", JsonValue::makeBool(s.ao));
  set(q, "prepass", JsonValue::makeBool(s.prepass));
  set(q, "gi", JsonValue::makeBool(s.gi));
  return q;
}

bool boolOr(const JsonValue& o, const char* key, bool fallback) {
  const JsonValue* v = find(o, key);
  return v && v->isBool() ? v->boolean : fallback;
}

void qualityFromJson(const JsonValue& q, AppSettings& s) {
  s.maxSteps = int32_t(safeValue(numberOr(q, "maxSteps", s.maxSteps), *findRange("maxSteps"), s.maxSteps));
  s.precision = safeValue(numberOr(q, "precision", s.precision), *findRange("precision"), s.precision);
  s.deep = int32_t(safeValue(numberOr(q, "deep", s.deep), *findRange("deep"), s.deep));
  s.shadows = boolOr(q, "shadows", s.shadows);
  s.ao = boolOr(q, "ao", s.ao);
  s.prepass = boolOr(q, "prepass", s.prepass);
  s.gi = boolOr(q, "gi", s.gi);
}

// One frame is one string "x y z yaw pitch logDist [liveClock]" of shortest
// round-trip numbers: a camera 1e-10 from its target needs every bit of its
// target, more than the ten digits JSON numbers are written with.
JsonValue frameJson(const PathFrame& f) {
  std::string text;
  char buf[32];
  const double n[7] = {f.target[0], f.target[1], f.target[2], f.yaw, f.pitch, f.logDist, f.liveClock};
  for (int i = 0; i < (f.liveClock >= 0 ? 7 : 6); ++i) {
    if (i) text += ' ';
    text.append(buf, std::to_chars(buf, buf + sizeof buf, n[i]).ptr);
  }
  return JsonValue::makeString(text);
}

bool frameFromJson(const JsonValue& v, PathFrame& f) {
  if (!v.isString()) return false;
  double n[7];
  int count = 0;
  const char* p = v.text.data();
  const char* end = p + v.text.size();
  while (p < end && count < 7) {
    auto [next, ec] = std::from_chars(p, end, n[count]);
    if (ec != std::errc() || !std::isfinite(n[count])) return false;
    ++count;
    p = next;
    if (p < end && *p == ' ') ++p;
  }
  if (p != end || count < 6) return false;
  for (int i = 0; i < 3; ++i) f.target[i] = n[i];
  f.yaw = n[3];
  f.pitch = std::clamp(n[4], -89.9, 89.9);
  f.logDist = std::clamp(n[5], std::log(kMinCameraDist), std::log(1e6));
  f.liveClock = count == 7 ? std::max(0.0, n[6]) : -1;
  return true;
}

double lerp(double a, double b, double t) { return a + (b - a) * t; }

PathFrame mix(const PathFrame& a, const PathFrame& b, double t) {
  PathFrame f;
  for (int i = 0; i < 3; ++i) f.target[i] = lerp(a.target[i], b.target[i], t);
  f.yaw = lerp(a.yaw, b.yaw, t);
  f.pitch = lerp(a.pitch, b.pitch, t);
  f.logDist = lerp(a.logDist, b.logDist, t);  // the scale-aware part: equal ratios per step
  f.liveClock = a.liveClock >= 0 && b.liveClock >= 0 ? lerp(a.liveClock, b.liveClock, t) : a.liveClock;
  return f;
}

}  // namespace

JsonValue filmPathToJson(const FilmPath& p) {
  JsonValue root = JsonValue::makeObject();
  set(root, "cameraPath", number(kPathVersion));
  set(root, "fps", number(p.fps));
  set(root, "width", number(p.width));
  set(root, "height", number(p.height));
  set(root, "dive", JsonValue::makeBool(p.dive));
  if (p.randomSeed >= 0) set(root, "randomSeed", number(double(p.randomSeed)));
  set(root, "liveAmount", number(p.liveAmount));
  set(root, "quality", qualityJson(p.quality));
  set(root, "record", presetToJson(p.record));
  JsonValue frames = JsonValue::makeArray();
  frames.items.reserve(p.frames.size());
  for (const PathFrame& f : p.frames) frames.items.push_back(frameJson(f));
  set(root, "frames", std::move(frames));
  return root;
}

bool filmPathFromJson(const JsonValue& root, FilmPath& out, std::string& error) {
  const JsonValue* version = root.isObject() ? find(root, "cameraPath") : nullptr;
  if (!version || !version->isNumber()) {
    error = "это не путь камеры";
    return false;
  }
  if (version->number != kPathVersion) {
    error = "путь камеры более новой версии";
    return false;
  }
  FilmPath p;
  const JsonValue* record = find(root, "record");
  const JsonValue* frames = find(root, "frames");
  if (!record || !record->isObject() || !frames || !frames->isArray()) {
    error = "в пути камеры нет записи фрактала или кадров";
    return false;
  }
  try {
    p.record = presetFromJson(*record);
  } catch (const std::exception& e) {
    error = e.what();
    return false;
  }
  const double fps = numberOr(root, "fps", 0), w = numberOr(root, "width", 0), h = numberOr(root, "height", 0);
  if (!(fps >= 1 && fps <= 240) || !(w >= 1 && w <= 16384) || !(h >= 1 && h <= 16384)) {
    error = "неверная частота или размер в пути камеры";
    return false;
  }
  p.fps = int(fps);
  p.width = int(w);
  p.height = int(h);
  p.dive = boolOr(root, "dive", false);
  p.randomSeed = int64_t(numberOr(root, "randomSeed", -1));
  p.liveAmount = std::clamp(numberOr(root, "liveAmount", 0.5), 0.0, 1.5);
  if (const JsonValue* q = find(root, "quality"); q && q->isObject()) qualityFromJson(*q, p.quality);
  if (frames->items.empty() || frames->items.size() > kMaxPathFrames) {
    error = "в пути камеры нет кадров";
    return false;
  }
  p.frames.resize(frames->items.size());
  for (size_t i = 0; i < p.frames.size(); ++i)
    if (!frameFromJson(frames->items[i], p.frames[i])) {
      error = "неверный кадр " + std::to_string(i) + " в пути камеры";
      return false;
    }
  out = std::move(p);
  return true;
}

bool saveFilmPath(const std::string& file, const FilmPath& p, std::string& error) {
  std::string reason;
  if (writeFileAtomic(file, writeJson(filmPathToJson(p), 1) + "\n", &reason)) return true;
  error = fileProblem(kMsgCannotWrite, file, reason);
  return false;
}

bool loadFilmPath(const std::string& file, FilmPath& out, std::string& error) {
  std::string text, reason;
  // A long recording at 30 fps is some megabytes of numbers.
  if (!readFileLimited(file, size_t(512) << 20, text, reason)) {
    error = fileProblem(kMsgCannotRead, file, reason);
    return false;
  }
  try {
    if (filmPathFromJson(parseJson(text), out, reason)) return true;
  } catch (const std::exception& e) {
    reason = e.what();
  }
  error = std::string(kMsgCannotOpen) + file + ": " + reason;
  return false;
}

PathFrame pathAt(const std::vector<PathFrame>& frames, double at) {
  if (frames.empty()) return {};
  const double last = double(frames.size() - 1);
  at = std::clamp(std::isfinite(at) ? at : 0.0, 0.0, last);
  const size_t i = std::min(size_t(at), frames.size() - 1);
  if (i + 1 >= frames.size()) return frames[i];
  return mix(frames[i], frames[i + 1], at - double(i));
}

std::vector<PathFrame> resamplePath(const std::vector<double>& times, const std::vector<PathFrame>& samples,
                                    int fps, double duration) {
  std::vector<PathFrame> out;
  if (samples.empty() || times.size() != samples.size() || fps < 1) return out;
  const double t0 = times.front();
  const double span = duration > 0 ? duration : times.back() - t0;
  const size_t count = std::max<size_t>(1, size_t(std::floor(span * fps + 1e-9)) + (duration > 0 ? 0 : 1));
  out.reserve(count);
  size_t j = 0;
  for (size_t k = 0; k < count; ++k) {
    const double t = t0 + double(k) / fps;
    while (j + 1 < times.size() && times[j + 1] <= t) ++j;
    if (j + 1 >= times.size() || t <= times[j]) {
      out.push_back(samples[j]);
      continue;
    }
    const double gap = times[j + 1] - times[j];
    out.push_back(mix(samples[j], samples[j + 1], gap > 0 ? (t - times[j]) / gap : 0));
  }
  return out;
}

void cameraOfFrame(const PathFrame& f, Camera& c) {
  for (int i = 0; i < 3; ++i) c.target[i] = c.goalTarget[i] = f.target[i];
  c.yaw = c.goalYaw = f.yaw;
  c.pitch = c.goalPitch = f.pitch;
  c.logDist = c.goalLogDist = f.logDist;
}

PathFrame frameOfCamera(const Camera& c, double liveClock) {
  PathFrame f;
  for (int i = 0; i < 3; ++i) f.target[i] = c.target[i];
  f.yaw = c.yaw;
  f.pitch = c.pitch;
  f.logDist = c.logDist;
  f.liveClock = liveClock;
  return f;
}

void startRecording(PathRecorder& r, const FractalParams& record, const AppSettings& quality, double liveAmount,
                    int width, int height) {
  r.on = true;
  r.path = FilmPath{};
  r.path.record = record;
  r.path.quality = quality;
  r.path.liveAmount = liveAmount;
  r.path.fps = r.fps;
  r.path.width = std::max(1, width);
  r.path.height = std::max(1, height);
  r.times.clear();
  r.samples.clear();
}

void recordSample(PathRecorder& r, double now, const Camera& c, double liveClock, bool diving) {
  if (!r.on || (!r.times.empty() && now <= r.times.back())) return;
  r.times.push_back(now);
  r.samples.push_back(frameOfCamera(c, liveClock));
  r.path.dive = r.path.dive || diving;
}

bool finishRecording(PathRecorder& r) {
  r.on = false;
  r.path.fps = r.fps;
  r.path.frames = resamplePath(r.times, r.samples, r.fps, 0);
  r.times.clear();
  r.samples.clear();
  return !r.path.frames.empty();
}

std::vector<int> selectedFrames(const FrameSelection& s, int total) {
  std::vector<int> out;
  if (s.shares > 0) {
    for (int block = s.share - 1; block * kFilmBlock < total; block += s.shares)
      for (int k = block * kFilmBlock; k < std::min(total, (block + 1) * kFilmBlock); ++k) out.push_back(k);
    return out;
  }
  const int last = s.last < 0 ? total - 1 : std::min(s.last, total - 1);
  for (int k = std::max(0, s.first); k <= last; ++k) out.push_back(k);
  return out;
}

std::string frameFileName(int index) {
  char name[32];
  std::snprintf(name, sizeof name, "frame_%06d.png", index);
  return name;
}
