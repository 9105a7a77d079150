// renderer.h — the renderer as the shell sees it: start-up, the per-frame
// driver, the tiled photo render and a few read-only queries.
//
// Use:
//   Renderer r;
//   if (!initRenderer(r, platform::glProcAddress, error)) { show error; exit }
//   if (!setFractal(r, params, error)) { show error; exit }   // first type's program
//   loop: fill a FrameInput, wantMore = renderFrame(r, in), draw UI, swap
//   any change of record, camera, size, palette or mode: resetAccumulation(r)
//   before the context goes: destroyRenderer(r)
//
// The renderer never includes SDL or any OS header: GL entry points come from
// the loader callback given to initRenderer. Everything it draws goes to its
// own framebuffer objects; `windowFbo` is only the composite's destination.
// Error convention: start-up functions return false and fill `error` with the
// program's Russian message; per-frame failures are kept in the renderer
// (errorText, shaderMessage) and never throw.
#pragma once

#include "model/params.h"
#include "render/handles.h"
#include "render/program_builder.h"
#include "render/program_cache.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

// [SECTION] Input records filled by the shell

// The user's quality choices that the renderer reads; the shell copies them
// from its own settings.
struct RenderQuality {
  double resScale = 0;             // accumulation scale; 0 = automatic (at most 2.4 Mpx)
  int samples = 256;               // target samples per pixel
  int maxSteps = 320;              // ray step budget before it grows with depth
  double precision = 1.0;          // surface tolerance in pixels
  int deep = 0;                    // fp64: 0 automatic, 1 never, 2 always
  bool shadows = true, ao = true, prepass = true, gi = false;
  bool adaptive = true;            // lower the resolution while moving
  bool autoIter = true;            // iterations and step budget grow with depth
};

struct CameraView {
  double pos[3] = {0, 0, 3.4};     // eye position
  float basis[9] = {1, 0, 0, 0, 1, 0, 0, 0, -1};  // column-major mat3: right, up, forward
  double distance = 3.4;           // eye-to-target distance; also the scene scale
  double tanHalfFov = 0.4663;      // tan(fov° · π/360)
};

struct FrameInput {
  double now = 0;                  // platform::now()
  int width = 0, height = 0;       // client (drawable) size in pixels
  uint32_t windowFbo = 0;          // platform::defaultFramebuffer(window)
  const FractalParams* params = nullptr;  // the current record (palette, lighting, post)
  CameraView camera;
  bool cameraMoving = false;       // the camera update reported motion this frame
  bool animating = false;          // live mode / palette animation / dive running, not paused:
                                   // the picture changes every frame (resets, soft history trail)
  bool diveActive = false;         // iterations and step budget grow with depth
  bool deepForced = false;         // --deep: the fp64 setting counts as 2 ("always")
  double shiftTarget = 0;          // image shift target in window pixels (half the panel width, or 0)
  double palettePhase = 0;         // palette animation phase in palette lengths; a change refills
  int targetSamples = 0;           // samples to accumulate; 0 = quality.samples
  bool unattended = false;         // a shot: bands may run for seconds (no one is waiting on the loop)
  // A photo's jitter sequence start; −1: the renderer's running counter. A
  // film frame passes its own, so whichever process draws it draws it alike.
  int64_t jitterSequence = -1;
  RenderQuality quality;
};

// [SECTION] GL objects

struct RenderTarget {
  Texture tex;
  Framebuffer fbo;
  int width = 0, height = 0;
};

// 64-bit FNV-1a over the uniform name.
struct UniformNameHash {
  size_t operator()(const std::string& s) const;
};
using UniformMap = std::unordered_map<std::string, int32_t, UniformNameHash>;

// Lighting and post values derived from the record once per frame.
struct Lighting {
  float lightDir[3] = {0, 1, 0};
  float glowCol[3] = {0, 0, 0};    // linear
  float bgTop[3] = {0, 0, 0};      // linear
  float bgBot[3] = {0, 0, 0};      // linear
  float light = 1, ambient = 0.5f, spec = 0.6f, shadowSoft = 10, metal = 0, irid = 0;
  float glow = 0, fog = 0, aperture = 0, focus = 2.7f, exposure = 1, bloom = 0, vignette = 0;
};

// [SECTION] The renderer record

// The frame driver's cost model (frame_math.h holds its rules).
struct FramePacing {
  double pixelMs = 0;          // ms per pixel of a sample at `quality`; 0 = not known
  double quality = 0;          // the qualityCost the estimate is for
  bool spansSample = false;    // measured over all rows of a sample (sky and fractal alike)
  double sampleMs = 0;         // the sample being drawn in bands: its cost so far
  int sampleRows = 0;          //   and the rows it covered
  bool banding = false;        // a whole sample would take over the banding limit
  double scale = 1;            // adaptive scale, 0.25..1
  bool completedMoving = false;  // the previous frame completed a sample while moving
};

// The product's time and size budgets: one band costs about kBandMs; a
// whole sample slower than kBandingMs is cut into bands; photo tiles are at
// most kPhotoTile pixels on a side.
inline constexpr double kBandMs = 35;
inline constexpr double kBandingMs = 80;
inline constexpr int kPhotoTile = 512;
// Poster tiles are larger: with bloom each is traced with margins, and the
// margins cost less on a larger tile (1.5× the work instead of 2.2×).
inline constexpr int kPosterTile = 1024;

struct Renderer {
  // GL objects
  uint32_t vao = 0;
  Texture palette;
  Program brightPass, blur, composite;
  RenderTarget accumA, accumB;     // A holds the accumulated picture; B receives each blend
  RenderTarget bloom0, bloom1;
  RenderTarget prepass;            // created when first needed after a resize
  bool prepassValid = false;

  // Programs and uniforms
  std::unordered_map<std::string, Program> programs;  // "pass:type" -> program, 0 = failed
  std::string programKey;          // lookup buffer of fractalProgram
  std::unordered_map<uint32_t, UniformMap> uniforms;   // program -> name -> location (-1 kept)
  int linkAttempts = 0;            // fractal program builds tried (the cache keeps it at one per key)
  ProgramCache programCache;       // binaries kept across runs; off until useProgramCache
  ProgramBuilder builder;          // programs building while frames go on; off until useBackgroundBuilds
  std::string errorText;           // compile and link logs, appended in order
  std::string gpu;                 // GL_RENDERER + " · OpenGL " + GL_VERSION
  std::string shaderMessage;       // "Ошибка шейдера:" … to show once; cleared by takeShaderMessage
  bool shaderErrorShown = false;

  // Record-derived state
  std::string typeKey = "mandelbulb";
  Lighting lighting;
  // What the palette texture was filled from: the inputs of paletteStops,
  // compared each frame without building the stop list.
  std::string paletteKey, customA, customB, customC;
  double palettePhase = std::numeric_limits<double>::quiet_NaN();  // NaN: never filled

  // Frame driver
  int windowWidth = 0, windowHeight = 0;
  int renderWidth = 0, renderHeight = 0;  // the used part of the accumulation
  double lastFrameTime = -1;
  int samples = 0;                 // n: samples completed since the last reset
  uint32_t sequence = 0;           // never reset; advances with n
  int rowCursor = 0;
  FramePacing pacing;              // what a sample costs; banding flag, adaptive scale
  double postMs = 0;               // what the last traced frame's post-processing cost
  double lastPostTime = -1;
  double movingUntil = 0;
  int iterations = 0;              // this frame's iteration count (0 = from the record)
  int maxSteps = 320;
  bool deep = false;               // fp64 program in use
  bool deepRefused = false;        // fp64 wanted but the record is not eligible
  double shift = 0, shiftTarget = 0;  // image shift in window pixels
  double fps = 0;
  double lastSampleTime = -1;
  double sampleStartTime = 0;      // when the current sample's first band began (clock seconds)
  double focusDepth = 0;           // centre depth of the still picture; 0 = unknown
  int targetSamples = 256;
  bool moving = false;             // this frame was a moving one (fast, maybe reduced size)
  bool movingSamples = false;      // the accumulation holds samples traced while moving

  // The budgets above; tests shrink them to force bands and several photo
  // tiles on small images.
  double bandMs = kBandMs;
  double bandingMs = kBandingMs;
  int photoTile = kPhotoTile;
  int posterTile = kPosterTile;
};

// [SECTION] Start-up and shutdown

using GlLoader = void* (*)(const char* name);

// The start of the error when the driver lacks an entry point; the name follows.
inline constexpr const char* kErrorNoGlFunction = "Нет функции OpenGL: ";

// Loads the GL table, creates the vertex array, the palette texture and the
// post-processing programs, reads the adapter description. On failure `error`
// holds the message to show ("Не удалось собрать шейдеры постобработки:" + log).
bool initRenderer(Renderer& r, GlLoader loader, std::string& error);
// Deletes every GL object the renderer owns; the context must still be current.
void destroyRenderer(Renderer& r);

// Keeps fractal programs as driver binaries in `folder` (the platform's cache
// folder) and takes them from there on later runs; empty: no cache.
void useProgramCache(Renderer& r, const std::string& folder);

// Makes `p` current: palette texture, lighting, and the "trace" program of its
// type. Failure: "Не удалось скомпилировать шейдер фрактала:" + log. Resets.
// With background builds on, a program not built yet is only started, and
// a failure shows later as a shader message.
bool setFractal(Renderer& r, const FractalParams& p, std::string& error);
void resetAccumulation(Renderer& r);

// [SECTION] Per frame

// All per-frame work: resize, image shift, iterations, step budget, precision,
// adaptive resolution, one sample (or band), composite into in.windowFbo.
// Returns true when another frame is wanted at once (still accumulating or
// easing); false when the picture is final and nothing moves.
bool renderFrame(Renderer& r, const FrameInput& in);

// Photo render at w×h with `samples` samples, in 512² tiles; `progress` runs
// after every fourth tile (fraction done, seconds left) and returns false to
// cancel. True with w·h·4 RGBA bytes, bottom row first; false when cancelled.
bool renderPhoto(Renderer& r, int w, int h, int samples, const FrameInput& in,
                 std::vector<uint8_t>& rgbaBottomUp,
                 const std::function<bool(double fraction, double secondsLeft)>& progress);

// The interactive picture as it stands, composited again into `fbo` (a
// w×h window) without tracing: what the window shows while a photo runs.
void presentPicture(Renderer& r, Framebuffer fbo, int w, int h);

// A poster: the picture rendered a tile at a time with all of the tile's
// samples, so that GPU and host memory stay bounded whatever w×h is (up to
// 65535 a side). Only the rows [firstRow, endRow) (counted from the top) are
// made; they reach `rows` in order, a band at a time, top-down, RGBA (alpha
// as the composite left it). Bloom, vignette and dithering see the whole
// picture: the result equals renderPhoto's within one level per channel, and
// a band made on its own equals the same rows of the whole poster exactly.
// `progress` as for the photo (after every fourth tile draw). False when
// cancelled or when `rows` returned false.
using PosterRows = std::function<bool(const uint8_t* rgbaTopDown, int rowCount)>;
bool renderPoster(Renderer& r, int w, int h, int samples, const FrameInput& in, int firstRow, int endRow,
                  const PosterRows& rows, const std::function<bool(double fraction, double secondsLeft)>& progress);

// Reads w×h RGBA bytes (bottom row first) from framebuffer `fbo`, e.g. the
// window after the composite, for a shot.
void readWindowPixels(Renderer& r, Framebuffer fbo, int w, int h, std::vector<uint8_t>& rgbaBottomUp);

// [SECTION] Queries for the shell

struct RenderStatus {
  int samples = 0;                 // n
  int targetSamples = 0;
  bool done = false;               // n reached the target: nothing left to trace
  bool converged = false;          // done, and the view is still: the picture is final
  bool deep = false;               // "· fp64, …" in the status line
  bool deepRefused = false;        // "· предел float (fp64 только для степени 8)"
  int renderWidth = 0, renderHeight = 0;
  int iterations = 0;
  double fps = 0;
  bool building = false;           // the picture waits for a shader program: the last one stays
};
RenderStatus renderStatus(const Renderer& r);
// "Ошибка шейдера:" + the first 160 characters of the error text, once per
// failure; empty when there is nothing new to show.
std::string takeShaderMessage(Renderer& r);
// Depth (ray distance) of the accumulated picture at a window position given
// as fractions of the client size, origin top-left; kNoHit when nothing was hit
// there or no picture exists yet.
float depthAt(Renderer& r, double fx, double fy);
// First-hit depths (ray distances, kNoHit for none) of the box at (x0, y0),
// w × h texels of the picture in use, rows counted from the top; `out` gets
// w·h values row by row from the top. Texels outside the render size read
// kNoHit. False when no picture exists yet. Navigation's depth reader.
bool readDepthBox(Renderer& r, int x0, int y0, int w, int h, std::vector<float>& out);
