// Dive mode: the camera sinks on its own, re-aims at the deepest cavity near
// the middle of the picture, rises back to the seed's own framing when it can
// go no deeper, and starts again (optionally with a new seed). Only the
// camera's goal values move; the camera update smooths them.
#pragma once

#include "model/params.h"
#include "model/random.h"
#include "nav/camera.h"
#include "nav/picture.h"

#include <cstdint>

inline constexpr const char* kMsgDive =
    "Погружение: камера сама ныряет вглубь. Движение мышью — перехват управления";
inline constexpr const char* kMsgFlightHint =
    "Полёт: WASD, Q/E — вниз/вверх, Shift — быстрее, колесо — скорость";

inline constexpr const char* kMsgDiveFloorFloat = "Погружение: предел точности float — камера всплывает";
inline constexpr const char* kMsgDiveFloorDouble = "Погружение: предел точности fp64 — камера всплывает";
inline constexpr const char* kMsgDiveNoDeeper = "Погружение: глубже точки не нашлось — камера всплывает";

inline constexpr double kDiveFloorFloat = 4e-5;    // where single precision gives out
inline constexpr double kDiveFloorDouble = 2e-10;
inline constexpr double kRetargetInterval = 0.9;   // seconds
inline constexpr int kMaxFailedRetargets = 6;      // one more failure surfaces

struct DiveState {
  bool on = false;
  bool descending = true;          // false while surfacing
  double surfaceLogDist = 0;       // ln of the distance where surfacing ends
  int failedRetargets = 0;         // consecutive searches that found nothing
  double lastRetargetTime = 0;     // seconds of the monotonic clock
  bool newSeedAfterSurfacing = false;  // "Новый сид после всплытия"
  bool randomType = false;         // with the new seed, a random type too
  // Why the last descent turned back, for the caller to say once (then it
  // clears it): the precision floor or no deeper point in view.
  enum class TurnBack { None, FloorFloat, FloorDouble, NoDeeperPoint } turnedBack = TurnBack::None;
};

// On: flight off, descending, counters cleared, surfacing to the framing of
// `current`'s own seed and type. The caller shows kMsgDive. Off: just off.
void setDive(DiveState& d, Camera& c, const FractalParams& current, bool on);
// Flight on switches the dive off (the two exclude each other); off empties
// the held keys. The caller shows kMsgFlightHint when switching on.
void setFlight(Camera& c, DiveState& d, bool on);

// What one dive step reads of the moment.
struct DiveContext {
  double dt = 0, now = 0;          // seconds
  double speed = 0.35;             // log-distance per second (the diveSpeed setting)
  bool deepAllowed = false;        // the record may use fp64 and the setting is not "never"
  uint32_t sequence = 0;           // renderer's samples traced since start
};

// What a step leaves to its caller, who owns the picture and the record.
struct DiveWants {
  // A re-aim is due: findDeepestPoint no farther than searchDepth over the
  // picture, then diveAim with what it found.
  bool search = false;
  double searchDepth = 0;
  // Surfaced with "Новый сид после всплытия": a new seed made current as R
  // does (of a random type when randomType), then diveSurfaceAt its distance.
  bool newSeed = false;
  bool randomType = false;
};

// One frame of the dive, before the camera update. A fresh approach after
// surfacing draws its turn and climb from `rng`.
DiveWants diveStep(DiveState& d, Camera& c, const DiveContext& ctx, RandomEngine& rng);
// The end of a step that asked for a search: re-aims at `point` (null when
// nothing was found), then turns back at the precision floor or after too
// many failed searches.
void diveAim(DiveState& d, Camera& c, const DiveContext& ctx, const double* point);
// The end of a step that asked for a new seed: the next surfacing ends at
// the new record's camera distance.
void diveSurfaceAt(DiveState& d, double recordDist);

// The search box round the centre of the free part of the picture, deep texels
// winning and texels near the centre preferred; the nearest hit when nothing
// lies within maxDepth. False when the box holds no surface.
bool findDeepestPoint(const PictureFrame& f, const DepthReader& read, double maxDepth,
                      double point[3]);

// The record a random dive starts from: one of the first ten types, a random
// seed name, generated without a base.
FractalParams randomDiveRecord(RandomEngine& rng);
