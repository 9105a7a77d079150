// video_mf.cpp — video writing through the Media Foundation sink writer:
// H.264 in .mp4, the system's own encoder, fed top-down BGRA frames that the
// writer converts. Where Media Foundation or its H.264 encoder is missing
// (Windows N editions without the media pack, Wine) the request ends with a
// message instead of a crash; the numbered PNG folder works everywhere.
// The two libraries are loaded when a film asks for them, not imported: a
// system without them must still start the program.
#include "platform/platform.h"
#include "platform/win32_common.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <mfreadwrite.h>

#include <filesystem>
#include <system_error>

namespace platform {

struct VideoWriter {
  std::string path, partPath;
  IMFSinkWriter* writer = nullptr;
  DWORD stream = 0;
  int width = 0, height = 0, fps = 30;
  LONGLONG next = 0;
  bool started = false;  // MFStartup succeeded
};

namespace {

// The Media Foundation entry points this writer uses, from mfplat.dll and
// mfreadwrite.dll; loaded once, kept for the life of the process.
struct MfApi {
  HRESULT(WINAPI* startup)(ULONG, DWORD) = nullptr;
  HRESULT(WINAPI* shutdown)() = nullptr;
  HRESULT(WINAPI* createMediaType)(IMFMediaType**) = nullptr;
  HRESULT(WINAPI* createAttributes)(IMFAttributes**, UINT32) = nullptr;
  HRESULT(WINAPI* createMemoryBuffer)(DWORD, IMFMediaBuffer**) = nullptr;
  HRESULT(WINAPI* createSample)(IMFSample**) = nullptr;
  HRESULT(WINAPI* createSinkWriterFromURL)(LPCWSTR, IMFByteStream*, IMFAttributes*, IMFSinkWriter**) = nullptr;
  bool loaded = false;
};

template <class F>
bool entry(HMODULE module, const char* name, F& out) {
  out = module ? reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module, name))) : nullptr;
  return out != nullptr;
}

const MfApi& mf() {
  static MfApi api = [] {
    MfApi a;
    HMODULE plat = LoadLibraryW(L"mfplat.dll");
    HMODULE readwrite = LoadLibraryW(L"mfreadwrite.dll");
    a.loaded = entry(plat, "MFStartup", a.startup) && entry(plat, "MFShutdown", a.shutdown) &&
               entry(plat, "MFCreateMediaType", a.createMediaType) &&
               entry(plat, "MFCreateAttributes", a.createAttributes) &&
               entry(plat, "MFCreateMemoryBuffer", a.createMemoryBuffer) &&
               entry(plat, "MFCreateSample", a.createSample) &&
               entry(readwrite, "MFCreateSinkWriterFromURL", a.createSinkWriterFromURL);
    return a;
  }();
  return api;
}

constexpr const char* kMsgNoEncoder =
    "Кодировщик H.264 (Media Foundation) недоступен в этой системе; снимите фильм в папку кадров (--video ПАПКА/)";

std::string lowerExtension(const std::string& path) {
  const size_t slash = path.find_last_of("/\\"), dot = path.rfind('.');
  std::string ext = dot == std::string::npos || (slash != std::string::npos && dot < slash) ? "" : path.substr(dot);
  for (char& c : ext)
    if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
  return ext;
}

void freeWriter(VideoWriter* v) {
  if (!v) return;
  if (v->writer) v->writer->Release();
  if (v->started) mf().shutdown();
  delete v;
}

void removePart(const VideoWriter* v) {
  std::error_code ec;
  std::filesystem::remove(std::filesystem::path(win32::widen(v->partPath)), ec);
}

bool setTypes(VideoWriter* v) {
  IMFMediaType* out = nullptr;
  IMFMediaType* in = nullptr;
  bool ok = SUCCEEDED(mf().createMediaType(&out)) && SUCCEEDED(mf().createMediaType(&in));
  // About 0.2 bits a pixel: a rendered fractal is fine-grained.
  const UINT32 bitRate = UINT32(std::min<double>(100e6, double(v->width) * v->height * v->fps * 0.2));
  ok = ok && SUCCEEDED(out->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video)) &&
       SUCCEEDED(out->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_H264)) &&
       SUCCEEDED(out->SetUINT32(MF_MT_AVG_BITRATE, bitRate)) &&
       SUCCEEDED(out->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive)) &&
       SUCCEEDED(MFSetAttributeSize(out, MF_MT_FRAME_SIZE, UINT32(v->width), UINT32(v->height))) &&
       SUCCEEDED(MFSetAttributeRatio(out, MF_MT_FRAME_RATE, UINT32(v->fps), 1)) &&
       SUCCEEDED(MFSetAttributeRatio(out, MF_MT_PIXEL_ASPECT_RATIO, 1, 1)) &&
       SUCCEEDED(v->writer->AddStream(out, &v->stream));
  ok = ok && SUCCEEDED(in->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video)) &&
       SUCCEEDED(in->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_RGB32)) &&
       SUCCEEDED(in->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive)) &&
       SUCCEEDED(in->SetUINT32(MF_MT_DEFAULT_STRIDE, UINT32(v->width * 4))) &&  // top-down rows
       SUCCEEDED(MFSetAttributeSize(in, MF_MT_FRAME_SIZE, UINT32(v->width), UINT32(v->height))) &&
       SUCCEEDED(MFSetAttributeRatio(in, MF_MT_FRAME_RATE, UINT32(v->fps), 1)) &&
       SUCCEEDED(MFSetAttributeRatio(in, MF_MT_PIXEL_ASPECT_RATIO, 1, 1)) &&
       SUCCEEDED(v->writer->SetInputMediaType(v->stream, in, nullptr));
  if (out) out->Release();
  if (in) in->Release();
  return ok;
}

}  // namespace

bool videoSupported(const std::string& path, std::string& error) {
  const std::string ext = lowerExtension(path);
  if (ext == ".mp4") return true;
  if (ext == ".webm" || ext == ".mkv") {
    error = "в сборке для Windows видео пишется только в .mp4 (H.264)";
    return false;
  }
  error = "неизвестный формат видео «" + ext + "» (нужно .mp4, .webm или .mkv, или папка с / на конце)";
  return false;
}

VideoWriter* openVideo(const std::string& path, int width, int height, int fps, std::string& error) {
  if (!videoSupported(path, error)) return nullptr;
  if (width < 2 || height < 2 || width % 2 || height % 2) {
    error = "для видео ширина и высота должны быть чётными";
    return nullptr;
  }
  win32::ensureCom();
  auto* v = new VideoWriter;
  v->path = path;
  v->partPath = path + ".part.mp4";  // the sink writer picks the container by extension
  v->width = width;
  v->height = height;
  v->fps = fps;
  if (!mf().loaded || FAILED(mf().startup(MF_VERSION, MFSTARTUP_LITE))) {
    error = kMsgNoEncoder;
    freeWriter(v);
    return nullptr;
  }
  v->started = true;
  IMFAttributes* attributes = nullptr;
  if (SUCCEEDED(mf().createAttributes(&attributes, 1)))
    attributes->SetUINT32(MF_READWRITE_ENABLE_HARDWARE_TRANSFORMS, TRUE);
  const std::wstring wide = win32::widen(v->partPath);
  const HRESULT hr = mf().createSinkWriterFromURL(wide.c_str(), nullptr, attributes, &v->writer);
  if (attributes) attributes->Release();
  if (FAILED(hr) || !setTypes(v) || FAILED(v->writer->BeginWriting())) {
    error = kMsgNoEncoder;
    if (v->writer) v->writer->Release(), v->writer = nullptr;
    removePart(v);
    freeWriter(v);
    return nullptr;
  }
  return v;
}

bool writeVideoFrame(VideoWriter* v, const uint8_t* rgbaBottomUp, std::string& error) {
  const DWORD stride = DWORD(v->width) * 4, size = stride * DWORD(v->height);
  IMFMediaBuffer* buffer = nullptr;
  IMFSample* sample = nullptr;
  BYTE* data = nullptr;
  bool ok = SUCCEEDED(mf().createMemoryBuffer(size, &buffer)) && SUCCEEDED(buffer->Lock(&data, nullptr, nullptr));
  if (ok) {
    for (int r = 0; r < v->height; ++r) {
      const uint8_t* src = rgbaBottomUp + size_t(v->height - 1 - r) * stride;
      BYTE* dst = data + size_t(r) * stride;
      for (int x = 0; x < v->width; ++x, src += 4, dst += 4) {
        dst[0] = src[2];
        dst[1] = src[1];
        dst[2] = src[0];
        dst[3] = 255;
      }
    }
    buffer->Unlock();
    const LONGLONG duration = 10'000'000LL / v->fps;  // 100-ns units
    ok = SUCCEEDED(buffer->SetCurrentLength(size)) && SUCCEEDED(mf().createSample(&sample)) &&
         SUCCEEDED(sample->AddBuffer(buffer)) && SUCCEEDED(sample->SetSampleTime(v->next * duration)) &&
         SUCCEEDED(sample->SetSampleDuration(duration)) &&
         SUCCEEDED(v->writer->WriteSample(v->stream, sample));
  }
  if (sample) sample->Release();
  if (buffer) buffer->Release();
  if (!ok) error = "ошибка кодирования видео (Media Foundation)";
  ++v->next;
  return ok;
}

bool closeVideo(VideoWriter* v, std::string& error) {
  bool ok = SUCCEEDED(v->writer->Finalize());
  v->writer->Release();
  v->writer = nullptr;
  std::error_code ec;
  if (ok) {
    std::filesystem::rename(win32::widen(v->partPath), win32::widen(v->path), ec);
    ok = !ec;
  }
  if (!ok) {
    error = "не удалось завершить видео «" + v->path + "»";
    removePart(v);
  }
  freeWriter(v);
  return ok;
}

void abandonVideo(VideoWriter* v) {
  if (!v) return;
  if (v->writer) v->writer->Release(), v->writer = nullptr;
  removePart(v);
  freeWriter(v);
}

std::string videoEncoderName(const VideoWriter* v) { return v ? "Media Foundation H.264" : std::string(); }

}  // namespace platform
