// poster.cpp — posters streamed to their file, parts, and the assembly.
#include "app/poster.h"

#include "io/files.h"
#include "io/png_chunk.h"
#include "io/preset.h"
#include "platform/platform.h"
#include "render/renderer.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

// [SECTION] The file

struct PosterFile::Impl {
  std::filesystem::path target, temp;
  std::string targetText;
  std::ofstream out;
  platform::PngRowWriter* png = nullptr;
  std::string chunks;     // spliced in once the signature and IHDR have passed
  uint64_t passed = 0;    // encoder bytes seen so far
  bool sinkFailed = false;

  bool sink(const uint8_t* data, size_t size) {
    const char* bytes = reinterpret_cast<const char*>(data);
    // The preset goes right after IHDR, at byte 33, as in every picture.
    if (passed < 33 && passed + size >= 33 && !chunks.empty()) {
      const size_t before = size_t(33 - passed);
      out.write(bytes, std::streamsize(before));
      out.write(chunks.data(), std::streamsize(chunks.size()));
      out.write(bytes + before, std::streamsize(size - before));
    } else {
      out.write(bytes, std::streamsize(size));
    }
    passed += size;
    return bool(out) || !(sinkFailed = true);
  }
  ~Impl() {
    platform::abandonPngRows(png);
    if (out.is_open()) out.close();
    std::error_code ignored;
    if (!temp.empty()) std::filesystem::remove(temp, ignored);
  }
};

PosterFile::~PosterFile() { delete impl_; }

bool PosterFile::begin(const std::string& path, int width, int height, const std::string& presetText,
                       const std::string& extraChunk, std::string& error) {
  delete impl_;
  impl_ = new Impl;
  std::string reason;
  if (!canWriteFile(path, reason)) {
    error = fileProblem(kMsgCannotWrite, path, reason);
    return false;
  }
  impl_->target = std::filesystem::u8path(path);
  impl_->targetText = path;
  impl_->temp = std::filesystem::u8path(path + ".tmp");
  impl_->out.open(impl_->temp, std::ios::binary | std::ios::trunc);
  if (!impl_->out) {
    error = fileProblem(kMsgCannotWrite, path, "не удалось создать временный файл");
    return false;
  }
  impl_->chunks = (presetText.empty() ? std::string() : makePresetChunk(presetText)) + extraChunk;
  Impl* impl = impl_;
  impl_->png = platform::beginPngRows(width, height, [impl](const uint8_t* d, size_t n) { return impl->sink(d, n); });
  if (!impl_->png) {
    error = "не удалось закодировать PNG";
    return false;
  }
  return true;
}

bool PosterFile::rows(const uint8_t* rgbaTopDown, int count) {
  return impl_ && impl_->png && platform::writePngRows(impl_->png, rgbaTopDown, count);
}

bool PosterFile::finish(std::string& error) {
  const std::string path = impl_ ? impl_->targetText : std::string();
  if (!impl_ || !impl_->png) {
    error = "не удалось закодировать PNG";
    return false;
  }
  bool encoded = platform::finishPngRows(impl_->png);
  impl_->png = nullptr;
  impl_->out.close();
  if (!encoded || impl_->sinkFailed || impl_->out.fail()) {
    error = impl_->sinkFailed || impl_->out.fail() ? fileProblem(kMsgCannotWrite, path, "нет места или ошибка записи")
                                                     : "не удалось закодировать PNG";
    return false;
  }
  std::error_code ec;
  std::filesystem::rename(impl_->temp, impl_->target, ec);
  if (ec) {
    error = fileProblem(kMsgCannotWrite, path, ec.message());
    return false;
  }
  impl_->temp.clear();
  return true;
}

// [SECTION] Rendering

bool writePoster(AppState& s, const std::string& path, int w, int h, int samples, const PosterPart& part,
                 const std::function<bool(double fraction, double secondsLeft)>& progress, std::string& error) {
  error.clear();
  if (w < 1 || h < 1 || w > kPosterMaxSide || h > kPosterMaxSide || samples < 1) {
    error = "размер постера от 1×1 до 65535×65535";
    return false;
  }
  const std::string preset = presetText(liveParams(s), 0);
  int first = 0, end = h;
  std::string partChunk;
  if (part.count > 0) {
    PosterPart p = part;
    p.width = w, p.height = h, p.samples = samples;
    posterPartRows(h, p.index, p.count, p.firstRow, p.endRow);
    p.presetCrc = crc32(reinterpret_cast<const uint8_t*>(preset.data()), preset.size());
    first = p.firstRow, end = p.endRow;
    partChunk = makePosterPartChunk(p);
    if (first >= end) {
      error = "в части " + std::to_string(p.index) + "/" + std::to_string(p.count) + " нет ни одной строки";
      return false;
    }
  }
  PosterFile file;
  if (!file.begin(path, w, end - first, preset, partChunk, error)) return false;
  FrameInput in = frameInputOf(s, platform::now(), false);
  bool written = true;
  bool done = renderPoster(s.renderer, w, h, samples, in, first, end,
                           [&](const uint8_t* rows, int count) { return written = file.rows(rows, count); },
                           progress);
  if (!written) {
    file.finish(error);
    if (error.empty()) error = fileProblem(kMsgCannotWrite, path, "ошибка записи");
    return false;
  }
  return done && file.finish(error);
}

// [SECTION] Assembly

namespace {

struct PartFile {
  std::string path;
  PosterPart part;
  std::string preset;
};

std::string partName(const PosterPart& p) { return std::to_string(p.index) + "/" + std::to_string(p.count); }

// The chunks before the pixels: our preset and the part's description live
// there. A file whose last bytes are not IEND was cut short.
bool readPartHead(const std::string& path, std::string& head, bool& complete, std::string& reason) {
  std::ifstream in(std::filesystem::u8path(path), std::ios::binary);
  if (!in) {
    reason = "нет такого файла или он не читается";
    return false;
  }
  in.seekg(0, std::ios::end);
  const std::streamoff size = in.tellg();
  static const char kIend[12] = {0, 0, 0, 0, 'I', 'E', 'N', 'D', char(0xAE), 0x42, 0x60, char(0x82)};
  char tail[12] = {};
  complete = false;
  if (size >= 12) {
    in.seekg(size - 12);
    in.read(tail, 12);
    complete = bool(in) && std::equal(tail, tail + 12, kIend);
  }
  in.clear();
  in.seekg(0);
  head.clear();
  // Walk chunk headers up to the first IDAT; the head is small (the preset).
  char sig[8];
  if (!in.read(sig, 8)) return reason = "не PNG", false;
  head.assign(sig, 8);
  for (int guard = 0; guard < 64; ++guard) {
    char hdr[8];
    if (!in.read(hdr, 8)) break;
    uint32_t length = 0;
    for (int i = 0; i < 4; ++i) length = (length << 8) | uint8_t(hdr[i]);
    head.append(hdr, 8);
    if (std::string_view(hdr + 4, 4) == "IDAT" || length > (16u << 20)) break;
    std::string body(size_t(length) + 4, '\0');
    if (!in.read(body.data(), std::streamsize(body.size()))) break;
    head += body;
  }
  return true;
}

}  // namespace

bool assemblePoster(const std::string& out, const std::vector<std::string>& paths, std::string& error,
                    std::string& summary) {
  error.clear();
  if (paths.empty()) {
    error = "не даны части постера";
    return false;
  }
  std::vector<PartFile> parts;
  for (const std::string& path : paths) {
    PartFile f{path, {}, {}};
    std::string head, text, reason;
    bool complete = false;
    if (!readPartHead(path, head, complete, reason)) {
      error = "часть " + path + ": " + reason;
      return false;
    }
    if (!findPosterPartInPng(head, text) || !readPosterPart(text, f.part)) {
      error = path + " — не часть постера (нет описания части)";
      return false;
    }
    if (!complete) {
      error = "часть " + partName(f.part) + " (" + path + ") обрывается: файл записан не до конца";
      return false;
    }
    if (findPresetInPng(head, f.preset) != PngPreset::Found ||
        crc32(reinterpret_cast<const uint8_t*>(f.preset.data()), f.preset.size()) != f.part.presetCrc) {
      error = "часть " + partName(f.part) + " (" + path + ") повреждена: пресет не совпадает со своей суммой";
      return false;
    }
    parts.push_back(std::move(f));
  }
  // All of one poster: the first part names it; a part that differs is foreign.
  const PosterPart& ref = parts[0].part;
  for (const PartFile& f : parts) {
    const PosterPart& p = f.part;
    std::string what;
    if (p.count != ref.count) what = "частей " + std::to_string(p.count) + ", а не " + std::to_string(ref.count);
    else if (p.width != ref.width || p.height != ref.height)
      what = "размер " + std::to_string(p.width) + "×" + std::to_string(p.height) + ", а не " +
             std::to_string(ref.width) + "×" + std::to_string(ref.height);
    else if (p.samples != ref.samples)
      what = "сэмплов " + std::to_string(p.samples) + ", а не " + std::to_string(ref.samples);
    else if (p.presetCrc != ref.presetCrc || f.preset != parts[0].preset) what = "другой пресет";
    if (!what.empty()) {
      error = "часть " + partName(p) + " (" + f.path + ") от другого постера: " + what + " (как в " +
                parts[0].path + ")";
      return false;
    }
  }
  std::map<int, const PartFile*> byIndex;
  for (const PartFile& f : parts) {
    auto [at, fresh] = byIndex.emplace(f.part.index, &f);
    if (!fresh) {
      error = "часть " + partName(f.part) + " дана дважды: " + at->second->path + " и " + f.path;
      return false;
    }
  }
  for (int k = 1; k <= ref.count; ++k) {
    if (byIndex.count(k)) continue;
    int first = 0, end = 0;
    posterPartRows(ref.height, k, ref.count, first, end);
    if (first == end) continue;  // more parts than rows: this one holds nothing
    error = "не хватает части " + std::to_string(k) + "/" + std::to_string(ref.count) + " (строки " +
              std::to_string(first) + "–" + std::to_string(end) + ")";
    return false;
  }

  PosterFile file;
  if (!file.begin(out, ref.width, ref.height, parts[0].preset, "", error)) return false;
  const int band = 64;
  std::vector<uint8_t> rows(size_t(ref.width) * band * 4);
  for (const auto& [index, f] : byIndex) {
    int w = 0, h = 0;
    std::string reason;
    platform::PngRowReader* reader = platform::openPngRows(f->path, w, h, reason);
    const int expected = f->part.endRow - f->part.firstRow;
    bool ok = reader && w == ref.width && h == expected;
    if (reader && !ok) reason = "размер полосы не тот, что в её описании";
    for (int y = 0; ok && y < h; y += band) {
      const int n = std::min(band, h - y);
      ok = platform::readPngRows(reader, rows.data(), n, reason) && file.rows(rows.data(), n);
    }
    platform::closePngRows(reader);
    if (!ok) {
      error = "часть " + partName(f->part) + " (" + f->path + "): " + (reason.empty() ? "ошибка записи" : reason);
      return false;  // the file's temporary copy goes with it; `out` is untouched
    }
  }
  if (!file.finish(error)) return false;
  summary = "собрано: " + out + " " + std::to_string(ref.width) + "×" + std::to_string(ref.height) + " из " +
            std::to_string(byIndex.size()) + " частей";
  return true;
}

double peakMemoryMiB() { return double(platform::peakResidentBytes()) / (1024.0 * 1024.0); }
