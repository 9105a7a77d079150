// Films: a camera path (planned by the dive, or recorded) rendered frame by
// frame like photos, into a video file or a folder of numbered PNGs.
#pragma once

#include "app/app_state.h"
#include "app/film_path.h"

#include <functional>
#include <string>

// The size the dive is planned at: small, with the film's proportions.
void filmPlanSize(const LaunchOptions& o, int& width, int& height);

// Runs the real dive from the current state at the window's (preview) size
// for `frames` frames of 1/fps seconds on a clock of its own, so the same
// seed plans the same path on any machine however fast it is. `progress`
// gets the frames planned and returns false to stop.
FilmPath planDivePath(AppState& s, int frames, int fps, uint32_t randomSeed,
                      const std::function<bool(int done)>& progress);

// Frame `index` of a path at w×h with `samples` samples per pixel, from the
// path alone; `shutter` > 0 spreads the samples over that part of the frame
// time with the camera moving. False when cancelled.
bool renderPathFrame(AppState& s, const FilmPath& p, double at, int w, int h, int samples, double shutter,
                     std::vector<uint8_t>& rgbaBottomUp, const std::function<bool(double fraction)>& progress);

// The record a frame shows (live-morphed when it has a live clock), with
// the frame's camera in it: what the frame's PNG carries.
FractalParams frameRecord(const FilmPath& p, const PathFrame& f);

// A frame file that is there and whole (a killed run leaves none half-written,
// but a copy or a full disk may).
bool isWholeFrameFile(const std::string& file);

// "Записать путь" (K): starts recording the camera; stopping asks where to
// save the path (beside the pictures when no dialog can be shown).
void toggleRecording(AppState& s);
// Saves the finished recording to `file`; the message says how it went.
bool saveRecording(AppState& s, const std::string& file);

inline constexpr const char* kMsgRecording = "Запись пути: всё, что делает камера, до повторного нажатия K";

// What a path is drawn into: a video file by its extension, or a folder
// (ending in '/') of numbered PNGs that a later run resumes.
struct FilmSpec {
  std::string target;
  int width = 1280, height = 720, fps = 30, samples = 16;
  double shutter = 0;          // motion blur over this part of a frame's time
  double duration = 0;         // seconds; ≤ 0: as long as the path lasts
  FrameSelection frames;       // only these frames (folder output)
  std::string pathName;        // the path file the frames' PNGs name
  bool keepCancelled = true;   // a cancelled video is closed with the frames done, else dropped
};
struct FilmOutcome {
  int total = 0, rendered = 0, skipped = 0;
  bool cancelled = false;
  std::string encoder, error;  // error: why the film stopped short (Russian)
};
// Renders the path's frames into spec.target. `progress` gets the frame's
// place in this run (i of total) and how far it is drawn, and returns false
// to stop.
FilmOutcome renderFilm(AppState& s, const FilmPath& p, const FilmSpec& spec,
                       const std::function<bool(int i, int total, double fraction)>& progress);

// The whole command-line film: plan or load, render, write, report.
// Returns the exit status.
int runFilm(AppState& s, const LaunchOptions& o);
