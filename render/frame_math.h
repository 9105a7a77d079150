// frame_math.h — the arithmetic of the frame driver and the photo render:
// target sizes, tiles, bands, jitter, iterations and step budget with depth,
// precision choice, shift easing and adaptive resolution. No GL, so every
// rule here is tested on its own.
#pragma once

#include "model/params.h"
#include "render/renderer.h"

#include <array>
#include <cstdint>
#include <vector>

// Automatic render scale: the accumulation never exceeds 2.4 million pixels.
double autoRenderScale(int width, int height);
// Accumulation size for a window: the settings' fixed scale when above 0,
// else the automatic one; each side at least 1.
void accumulationSize(int width, int height, double resScale, int& accW, int& accH);
// Bloom targets: a quarter of the window per side, at least 1.
int bloomSide(int windowSide);
// Prepass target: one texel per 4×4 block of the render size.
int prepassSide(int renderSide);

struct Tile {
  int x, y, w, h;
};
// Photo tiles of at most side², rows from the bottom-left corner.
std::vector<Tile> photoTiles(int width, int height, int side = kPhotoTile);

// A poster tile and the windows around it, in picture pixels from the
// bottom-left corner: the tile itself (x, y, w, h), the accumulation that is
// traced for it (a multiple of 4 from the picture's corner, so prepass blocks
// fall on the picture's grid) and, with bloom, the bloom texels it computes.
// The margins reach as far as bloom reaches (bright-pass taps, three blur
// rounds of up to 3.23·4 texels each, the composite's bilinear tap), so a
// tile's bloom equals the whole picture's there.
inline constexpr int kPosterBloomMargin = 32;  // bloom texels beyond the tile
struct PosterTile {
  int x, y, w, h;
  int accumX, accumY, accumW, accumH;
  int bloomX, bloomY, bloomW, bloomH;  // 0×0 without bloom
};
// One row of tiles per entry, the top row first (the order a picture file
// takes its rows), left to right; rows are `side` high from the top edge.
std::vector<std::vector<PosterTile>> posterTileRows(int width, int height, int side, bool bloom);

// Rows per band so that one band costs about `bandMs`.
int bandRows(double msPerRow, int renderHeight, double bandMs = kBandMs);
// A whole sample above `limitMs` is drawn in bands.
bool needsBanding(double msPerRow, int renderHeight, double limitMs = kBandingMs);

// The smoothed sample rate after a sample that began at `sampleStart` and
// completed at `now`. The previous completion (`lastSample`, below 0 when
// none) times it when the sample followed it at once; the first sample, and
// one after an idle pause, is timed from its own start, and the first one
// also restarts the smoothing.
double sampleRate(double previousRate, double lastSample, double sampleStart, double now);

// Radical inverse of i in `base` (Halton sequence).
double radicalInverse(uint32_t i, uint32_t base);
// Sub-pixel jitter of sample n: zero for the first still sample, whose depth
// picking reads; Halton (2, 3) otherwise, index ((n + seq) mod 4096) + 1.
void sampleJitter(int n, uint32_t sequenceBase, double history, float out[2]);

// log2(reference distance / camera distance), at least 0, distance floored at 1e-12.
double diveDepth(double referenceDist, double cameraDist);
// Whether iterations and the step budget grow with depth: everywhere while
// "Итерации растут с зумом" is on (a view at 1e-6 drawn with the record's
// coarse count shows flat faces where the fractal has holes at every scale),
// and only in the dive with it off.
bool detailGrows(bool autoIter, bool diveActive);
// Iterations for a view: the record's, plus growth with depth when `grows` (cap 400).
int frameIterations(const FractalParams& p, bool grows, double cameraDist);
// Step budget: setting + min(400, 24·depth) when growing, at most 2000.
int frameStepBudget(int maxStepsSetting, bool grows, double depth);
// The photo's budget adds the full 24·depth (no 400 cap), still at most 2000.
int photoStepBudget(int maxStepsSetting, bool grows, double depth);

// The detail a view at `cameraDist` is drawn with: the one rule that frames,
// shots, photos and film frames share.
struct DepthDetail {
  int iterations = 0;
  int maxSteps = 0;
};
DepthDetail depthDetail(const FractalParams& p, const RenderQuality& q, bool diveActive, double cameraDist,
                        bool photo);

// fp64 choice: setting 2 always (when eligible), 1 never, 0 automatic below
// 0.0002 of distance, kept on until 0.0004 once on (hysteresis).
bool chooseDeep(int setting, bool eligible, double cameraDist, bool deepNow);

// One frame of the image-shift easing; snaps within half a pixel.
double easeShift(double shift, double target, double dt);

// The adaptive scale after one frame; `completedMovingBefore` means the
// previous frame completed a sample and was itself moving.
double adaptScale(double scale, bool moving, bool banding, bool completedMovingBefore, double dt);
// The resolution factor for this frame.
double resolutionFactor(double scale, bool moving, bool adaptiveSetting);

// [SECTION] Pacing: what a sample costs, and how much of one a frame traces

// Relative cost of a sample at a quality: a ray marches up to `steps` steps,
// each runs the estimator's `iterations`; fp64 arithmetic, the photo light
// and the still frames' full shadow and occlusion taps cost more. Only ratios
// of it are used, to carry a measured cost over to a changed quality.
double qualityCost(int steps, int iterations, bool deep, bool fast, bool gi);

// The frame driver's cost model (FramePacing, renderer.h) survives every
// change of step budget, iterations, precision and render size (a dive
// changes the budget about twelve times a second, and measuring afresh after
// each would cut every sample into probes); only another program forgets it.
// Rows traced while nothing is known of a row's cost: a first look that
// cannot take long, whatever the record.
inline constexpr int kProbeRows = 8;

// A new program: its rows cost what they cost.
void paceForget(FramePacing& f);
// A changed quality: the estimate is scaled by the ratio of the costs (a
// guess the next measurement corrects) and keeps what it spans.
void paceQuality(FramePacing& f, double quality);
// Rows to trace from `cursor` in a w×h picture. A whole sample when the
// estimate says it fits the banding limit; else a band of about `bandMs`.
// While the estimate has not seen a whole sample, rows measured over empty
// sky say little of the rows through the fractal above them: a band grows
// at most `growth` times the rows measured so far, unless even rows
// kSkyRatio times dearer than those measured would fit the budget.
int paceRows(const FramePacing& f, int cursor, int w, int h, double bandMs, double bandingMs, int growth);
inline constexpr double kSkyRatio = 64;

// One frame's pacing: the adaptive scale after the last frame (dt, motion,
// banding), the render size it gives, and the rows to trace. `cursor` is
// the row cursor; a changed render size starts the sample over (cursor 0).
struct PaceInput {
  double dt = 1.0 / 60;
  bool moving = false;
  bool adaptive = true;        // "Снижать разрешение в движении"
  int accW = 1, accH = 1;      // the accumulation's size
  int renderW = 0, renderH = 0;  // the render size in use
  int cursor = 0;
  double bandMs = 35, bandingMs = 80;
  int growth = 2;
};
struct PacePlan {
  int w = 1, h = 1;
  bool sizeChanged = false;
  int rows = 0;
};
PacePlan pacePlan(FramePacing& f, const PaceInput& in);

// A trace of `rows` rows took `ms`: the estimate becomes the sample's mean
// row cost so far; the banding flag is the definition's (a whole sample
// would take over `bandingMs`). `completes`: the rows end a sample.
void paceMeasured(FramePacing& f, double ms, int rows, int w, int h, bool completes, double bandingMs);
// The sample in progress was abandoned (a reset with the cursor back at 0).
void paceRestartSample(FramePacing& f);

// A frame's band budget. An interactive frame's stays near `bandMs`; where
// post-processing is slow (a large picture on a software renderer) it grows
// with it, so that frames stay at least half tracing, up to half a second.
// Nobody waits on an unattended run's loop and it composites no band: its
// bands may take about a second (a close request is still answered).
double bandBudgetMs(double bandMs, double postMs, bool unattended);
// How many times the rows measured so far a band may grow to; an unattended
// run's first sample reaches its budget in fewer, longer steps.
int bandGrowth(bool unattended);
// Whether this frame composites. An unattended run (shot, photo, film)
// draws nothing nobody sees: the final picture, and progress at most four
// times a second.
bool wantsPost(bool unattended, bool pictureFinal, double sinceLastPost);

// The palette's 256 texels moved along by `phase` palette lengths. The walk
// follows the mirrored sequence (0..255, 255..0) that the shader samples, so
// no seam between the last and the first stop ever enters the texture.
std::array<uint8_t, 1024> rotatedPalette(const std::array<uint8_t, 1024>& texels, double phase);

// Lighting and post values of a record: colours linear (pow 2.2), light
// direction from yaw and pitch in degrees.
Lighting lightingFromParams(const FractalParams& p);
