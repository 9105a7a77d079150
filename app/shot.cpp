// The command-line shot: read the picture back, write the PNG with its preset and the report beside it.
#include "app/shot.h"

#include "io/files.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "platform/platform.h"

#include <cstdio>

std::string shotReport(const std::string& gpu, const std::string& error, bool converged, double dist) {
  char d[32];
  std::snprintf(d, sizeof d, "%.3e", dist);
  return gpu + "\nerror: " + error + "\nconverged: " + (converged ? "yes" : "timeout") + "\ndist: " + d + "\n";
}

bool takeShot(AppState& s, const std::string& path, bool converged, std::string& error) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  std::vector<uint8_t> pixels(size_t(w) * size_t(h) * 4, 0);
  readWindowPixels(s.renderer, Framebuffer{platform::defaultFramebuffer(s.window)}, w, h, pixels);

  FractalParams live = liveParams(s);
  std::string png, reason;
  bool ok = platform::encodePngPixels(pixels.data(), w, h, png) && splicePresetChunk(png, presetText(live, 0));
  if (!ok) error = "не удалось закодировать PNG";
  else if (!(ok = writeFileAtomic(path, png, &reason))) error = fileProblem(kMsgCannotWrite, path, reason);
  std::string report = shotReport(s.renderer.gpu, s.renderer.errorText, converged, live.dist);
  if (!writeFileAtomic(path + ".log", report, &reason)) {
    error += (error.empty() ? "" : "; ") + fileProblem(kMsgCannotWrite, path + ".log", reason);
    ok = false;
  }
  return ok;
}

bool writeThumbnail(AppState& s, const std::string& path, std::string& error) {
  int w = 0, h = 0;
  platform::drawableSize(s.window, w, h);
  std::vector<uint8_t> pixels(size_t(w) * size_t(h) * 4, 0);
  readWindowPixels(s.renderer, Framebuffer{platform::defaultFramebuffer(s.window)}, w, h, pixels);
  std::string png, reason;
  if (!platform::encodePngPixels(pixels.data(), w, h, png)) {
    error = "не удалось закодировать PNG";
    return false;
  }
  if (writeFileAtomic(path, png, &reason)) return true;
  error = fileProblem(kMsgCannotWrite, path, reason);
  return false;
}

bool shotInputsUsable(const LaunchOptions& o, std::string& error) {
  std::string reason;
  for (const std::string& target : {o.shot, o.shot + ".log"}) {
    if (!canWriteFile(target, reason)) {
      error = fileProblem(kMsgCannotWrite, target, reason);
      return false;
    }
  }
  FractalParams ignored;
  return o.file.empty() || loadPresetFile(o.file, ignored, error);
}
