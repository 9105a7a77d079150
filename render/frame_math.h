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
// Iterations for this frame: the record's, plus growth with depth in dive mode (cap 400).
int frameIterations(const FractalParams& p, bool diveActive, double cameraDist);
// Step budget: setting + min(400, 24·depth) in dive mode, at most 2000.
int frameStepBudget(int maxStepsSetting, bool diveActive, double depth);
// The photo's budget adds the full 24·depth (no 400 cap), still at most 2000.
int photoStepBudget(int maxStepsSetting, bool diveActive, double depth);

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

// The palette's 256 texels moved along by `phase` palette lengths. The walk
// follows the mirrored sequence (0..255, 255..0) that the shader samples, so
// no seam between the last and the first stop ever enters the texture.
std::array<uint8_t, 1024> rotatedPalette(const std::array<uint8_t, 1024>& texels, double phase);

// Lighting and post values of a record: colours linear (pow 2.2), light
// direction from yaw and pitch in degrees.
Lighting lightingFromParams(const FractalParams& p);
