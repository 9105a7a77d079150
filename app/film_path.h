// A camera path: everything a film frame needs, so that any process on any
// machine draws frame N alone and alike. Made by recording what the user
// does or by the planned dive; stored as JSON beside the film.
//
// The camera is kept per frame at the film's frame rate. Between samples it
// is interpolated with the distance as a logarithm, so a flight through ten
// orders of magnitude moves at a steady visual speed.
#pragma once

#include "app/launch.h"
#include "io/json.h"
#include "io/settings.h"
#include "model/params.h"
#include "nav/camera.h"

#include <cstdint>
#include <string>
#include <vector>

struct PathFrame {
  double target[3] = {0, 0, 0};
  double yaw = 35, pitch = 22;
  double logDist = 1.2237754316221157;  // ln of the camera distance
  double liveClock = -1;                // ≥ 0: the record as live mode morphs it at this clock
};

struct FilmPath {
  FractalParams record;            // the stored (unmorphed) record
  int fps = 30;
  int width = 1280, height = 720;  // the size it was made for
  bool dive = false;               // iterations and steps grow with depth, as the dive drew them
  double liveAmount = 0.5;         // of the frames with a live clock
  int64_t randomSeed = -1;         // the dive plan's seed; −1 for a recording
  // The quality settings the frames are drawn with, whatever the settings
  // file of the machine that renders them says.
  AppSettings quality;
  std::vector<PathFrame> frames;
};

JsonValue filmPathToJson(const FilmPath& p);
// False with a Russian `error` when the file holds no usable path.
bool filmPathFromJson(const JsonValue& root, FilmPath& out, std::string& error);
bool saveFilmPath(const std::string& file, const FilmPath& p, std::string& error);
bool loadFilmPath(const std::string& file, FilmPath& out, std::string& error);

// The camera at fractional frame position `at` (clamped to the path):
// target, angles and live clock linear, the distance linear in its logarithm.
PathFrame pathAt(const std::vector<PathFrame>& frames, double at);
// Samples taken at times `times` (seconds, increasing) resampled at `fps`
// for `duration` seconds (≤ 0: as long as the samples last).
std::vector<PathFrame> resamplePath(const std::vector<double>& times, const std::vector<PathFrame>& samples,
                                    int fps, double duration);

// The camera a frame is drawn from.
void cameraOfFrame(const PathFrame& f, Camera& c);
PathFrame frameOfCamera(const Camera& c, double liveClock);

// Recording in the app: the shown camera once per drawn frame with the
// frame's time; stopping resamples it at the film's frame rate.
struct PathRecorder {
  bool on = false;
  int fps = 30;
  FilmPath path;                   // record, quality and size at the start
  std::vector<double> times;       // seconds of the monotonic clock
  std::vector<PathFrame> samples;
};
void startRecording(PathRecorder& r, const FractalParams& record, const AppSettings& quality, double liveAmount,
                    int width, int height);
void recordSample(PathRecorder& r, double now, const Camera& c, double liveClock, bool diving);
// Off, with the samples resampled into r.path.frames; false when nothing
// was recorded.
bool finishRecording(PathRecorder& r);

// The frame indices a selection asks for out of `total`, in order.
std::vector<int> selectedFrames(const FrameSelection& s, int total);
// "frame_000042.png".
std::string frameFileName(int index);
