// Posters: pictures of any size up to 65535×65535, rendered a tile at a time
// and written into the PNG as row bands finish, so that neither GPU nor host
// memory grows with the picture; parts of a poster for cluster schedulers
// (`--part K/N`), and their assembly (`--assemble OUT PARTS...`).
#pragma once

#include "app/app_state.h"
#include "io/poster_part.h"

#include <functional>
#include <string>
#include <vector>

inline constexpr int kPosterMaxSide = 65535;

// A PNG written as its rows arrive, into a temporary file next to `path`
// that replaces `path` only when the last row is in (a cancelled or failed
// poster leaves whatever was there). The preset chunk sits after IHDR as in
// every picture of ours; `extraChunk` (a part's description) follows it.
class PosterFile {
 public:
  PosterFile() = default;
  PosterFile(const PosterFile&) = delete;
  PosterFile& operator=(const PosterFile&) = delete;
  ~PosterFile();
  bool begin(const std::string& path, int width, int height, const std::string& presetText,
             const std::string& extraChunk, std::string& error);
  bool rows(const uint8_t* rgbaTopDown, int count);
  bool finish(std::string& error);

 private:
  struct Impl;
  Impl* impl_ = nullptr;
};

// Renders the poster (or part `part` of it when part.count > 0) of the
// current view into `path`. False when cancelled or failed; `error` is
// empty for a cancel. `progress` as for the photo.
bool writePoster(AppState& s, const std::string& path, int w, int h, int samples, const PosterPart& part,
                 const std::function<bool(double fraction, double secondsLeft)>& progress, std::string& error);

// Checks that `parts` are the parts of one poster, each once and none
// missing, then streams them into `out`. On any refusal nothing is written
// and `error` names the part. `summary` says what was made.
bool assemblePoster(const std::string& out, const std::vector<std::string>& parts, std::string& error,
                    std::string& summary);

// The process's peak resident memory in MiB, as the report states it.
double peakMemoryMiB();
