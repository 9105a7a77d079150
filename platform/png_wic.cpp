// png_wic.cpp — PNG pixel encoding through the Windows Imaging Component: an
// encoder on a memory stream, 32-bit BGRA rows top-down, always opaque. The
// preset chunk is spliced in afterwards by io/, as on every platform.
#include "platform/platform.h"
#include "platform/win32_common.h"

#include <objidl.h>
#include <wincodec.h>

#include <algorithm>
#include <vector>

namespace platform {

namespace {

// Releases a COM interface at the end of its scope, on every path.
template <class T>
struct Held {
  T* p = nullptr;
  ~Held() {
    if (p) p->Release();
  }
  T** out() { return &p; }
  T* operator->() const { return p; }
};

bool createFactory(Held<IWICImagingFactory>& factory) {
  win32::ensureCom();
  // The second factory where the system has it, else the first: the encoder
  // is the same.
  if (SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory2, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                 reinterpret_cast<void**>(factory.out()))))
    return true;
  return SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory1, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                    reinterpret_cast<void**>(factory.out())));
}

// GL reads rows bottom-up as RGBA; the encoder takes top-down BGRA.
std::vector<uint8_t> topDownBgra(const uint8_t* rgba, int width, int height) {
  std::vector<uint8_t> out(size_t(width) * height * 4);
  for (int r = 0; r < height; ++r) {
    const uint8_t* src = rgba + size_t(height - 1 - r) * width * 4;
    uint8_t* dst = out.data() + size_t(r) * width * 4;
    for (int x = 0; x < width; ++x, src += 4, dst += 4) {
      dst[0] = src[2];
      dst[1] = src[1];
      dst[2] = src[0];
      dst[3] = 255;
    }
  }
  return out;
}

bool streamBytes(IStream* stream, std::string& png) {
  STATSTG stat{};
  if (FAILED(stream->Stat(&stat, STATFLAG_NONAME))) return false;
  LARGE_INTEGER zero{};
  if (FAILED(stream->Seek(zero, STREAM_SEEK_SET, nullptr))) return false;
  png.resize(size_t(stat.cbSize.QuadPart));
  ULONG read = 0;
  return SUCCEEDED(stream->Read(png.data(), ULONG(png.size()), &read)) && read == png.size();
}

bool writeFrame(IWICBitmapEncoder* encoder, const uint8_t* rgba, int width, int height) {
  Held<IWICBitmapFrameEncode> frame;
  if (FAILED(encoder->CreateNewFrame(frame.out(), nullptr)) || FAILED(frame->Initialize(nullptr)) ||
      FAILED(frame->SetSize(UINT(width), UINT(height))))
    return false;
  WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
  if (FAILED(frame->SetPixelFormat(&format)) || !IsEqualGUID(format, GUID_WICPixelFormat32bppBGRA)) return false;
  std::vector<uint8_t> pixels = topDownBgra(rgba, width, height);
  UINT stride = UINT(width) * 4;
  return SUCCEEDED(frame->WritePixels(UINT(height), stride, UINT(pixels.size()), pixels.data())) &&
         SUCCEEDED(frame->Commit());
}

}  // namespace

bool encodePngPixels(const uint8_t* rgbaBottomUp, int width, int height, std::string& png) {
  if (!rgbaBottomUp || width < 1 || height < 1) return false;
  Held<IWICImagingFactory> factory;
  if (!createFactory(factory)) return false;
  Held<IStream> stream;
  Held<IWICBitmapEncoder> encoder;
  if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, stream.out())) ||
      FAILED(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.out())) ||
      FAILED(encoder->Initialize(stream.p, WICBitmapEncoderNoCache)))
    return false;
  if (!writeFrame(encoder.p, rgbaBottomUp, width, height) || FAILED(encoder->Commit())) return false;
  return streamBytes(stream.p, png) && png.size() >= 33;
}


bool decodePngPixels(const std::string& png, int& width, int& height, std::vector<uint8_t>& rgbaBottomUp) {
  width = height = 0;
  rgbaBottomUp.clear();
  if (png.size() < 8 || png.size() > 0xffffffffu) return false;
  Held<IWICImagingFactory> factory;
  Held<IWICStream> stream;
  Held<IWICBitmapDecoder> decoder;
  Held<IWICBitmapFrameDecode> frame;
  Held<IWICBitmapSource> rgba;
  if (!createFactory(factory) || FAILED(factory->CreateStream(stream.out())) ||
      FAILED(stream->InitializeFromMemory(reinterpret_cast<BYTE*>(const_cast<char*>(png.data())), DWORD(png.size()))) ||
      FAILED(factory->CreateDecoderFromStream(stream.p, nullptr, WICDecodeMetadataCacheOnDemand, decoder.out())) ||
      FAILED(decoder->GetFrame(0, frame.out())) ||
      FAILED(WICConvertBitmapSource(GUID_WICPixelFormat32bppRGBA, frame.p, rgba.out())))
    return false;
  UINT w = 0, h = 0;
  if (FAILED(rgba->GetSize(&w, &h)) || w < 1 || h < 1 || w > 32768 || h > 32768) return false;
  std::vector<uint8_t> topDown(size_t(w) * h * 4);
  if (FAILED(rgba->CopyPixels(nullptr, w * 4, UINT(topDown.size()), topDown.data()))) return false;
  rgbaBottomUp.resize(topDown.size());
  for (UINT r = 0; r < h; ++r)
    std::copy_n(topDown.data() + size_t(r) * w * 4, size_t(w) * 4, rgbaBottomUp.data() + size_t(h - 1 - r) * w * 4);
  width = int(w);
  height = int(h);
  return true;
}

}  // namespace platform

// [SECTION] Rows, a band at a time

namespace platform {

namespace {

// The encoder's output stream: every byte goes straight to the sink. The PNG
// encoder writes front to back; it may ask where it is, never to go back.
class SinkStream : public IStream {
 public:
  explicit SinkStream(PngSink sink) : sink_(std::move(sink)) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
    if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IStream) || IsEqualIID(id, IID_ISequentialStream)) {
      *out = static_cast<IStream*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
  ULONG STDMETHODCALLTYPE Release() override {
    ULONG left = --refs_;
    if (!left) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Write(const void* data, ULONG size, ULONG* written) override {
    if (!sink_(static_cast<const uint8_t*>(data), size)) return STG_E_MEDIUMFULL;
    position_ += size;
    if (written) *written = size;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* now) override {
    LONGLONG target = origin == STREAM_SEEK_SET ? move.QuadPart : LONGLONG(position_) + move.QuadPart;
    if (origin == STREAM_SEEK_END) target = LONGLONG(position_) + move.QuadPart;
    if (ULONGLONG(target) != position_) return STG_E_INVALIDFUNCTION;
    if (now) now->QuadPart = position_;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* stat, DWORD) override {
    *stat = STATSTG{};
    stat->type = STGTY_STREAM;
    stat->cbSize.QuadPart = position_;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

 private:
  PngSink sink_;
  ULONG refs_ = 1;
  ULONGLONG position_ = 0;
};

}  // namespace

struct PngRowWriter {
  Held<IWICImagingFactory> factory;
  Held<IStream> stream;
  Held<IWICBitmapEncoder> encoder;
  Held<IWICBitmapFrameEncode> frame;
  int width = 0, height = 0, written = 0;
  bool failed = false;
  std::vector<uint8_t> bgra;
};

struct PngRowReader {
  Held<IWICImagingFactory> factory;
  Held<IWICBitmapDecoder> decoder;
  Held<IWICBitmapFrameDecode> frame;
  Held<IWICFormatConverter> converter;
  int width = 0, height = 0, read = 0;
};

PngRowWriter* beginPngRows(int width, int height, PngSink sink) {
  if (width < 1 || height < 1 || width > 65535 || height > 65535 || !sink) return nullptr;
  auto* w = new PngRowWriter;
  w->width = width;
  w->height = height;
  w->stream.p = new SinkStream(std::move(sink));
  WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
  bool ok = createFactory(w->factory) &&
            SUCCEEDED(w->factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, w->encoder.out())) &&
            SUCCEEDED(w->encoder->Initialize(w->stream.p, WICBitmapEncoderNoCache)) &&
            SUCCEEDED(w->encoder->CreateNewFrame(w->frame.out(), nullptr)) && SUCCEEDED(w->frame->Initialize(nullptr)) &&
            SUCCEEDED(w->frame->SetSize(UINT(width), UINT(height))) && SUCCEEDED(w->frame->SetPixelFormat(&format)) &&
            IsEqualGUID(format, GUID_WICPixelFormat32bppBGRA);
  if (!ok) {
    delete w;
    return nullptr;
  }
  return w;
}

bool writePngRows(PngRowWriter* w, const uint8_t* rgbaTopDown, int rowCount) {
  if (!w || w->failed) return false;
  if (rowCount < 0 || w->written + rowCount > w->height) return w->failed = true, false;
  if (rowCount == 0) return true;
  const size_t count = size_t(w->width) * size_t(rowCount);
  w->bgra.resize(count * 4);
  for (size_t i = 0; i < count; ++i) {
    w->bgra[i * 4 + 0] = rgbaTopDown[i * 4 + 2];
    w->bgra[i * 4 + 1] = rgbaTopDown[i * 4 + 1];
    w->bgra[i * 4 + 2] = rgbaTopDown[i * 4 + 0];
    w->bgra[i * 4 + 3] = 255;
  }
  if (FAILED(w->frame->WritePixels(UINT(rowCount), UINT(w->width) * 4, UINT(w->bgra.size()), w->bgra.data())))
    return w->failed = true, false;
  w->written += rowCount;
  return true;
}

bool finishPngRows(PngRowWriter* w) {
  if (!w) return false;
  bool ok = !w->failed && w->written == w->height && SUCCEEDED(w->frame->Commit()) && SUCCEEDED(w->encoder->Commit());
  delete w;
  return ok;
}

void abandonPngRows(PngRowWriter* w) { delete w; }

PngRowReader* openPngRows(const std::string& path, int& width, int& height, std::string& reason) {
  auto* r = new PngRowReader;
  UINT w = 0, h = 0;
  bool ok = createFactory(r->factory) &&
            SUCCEEDED(r->factory->CreateDecoderFromFilename(win32::widen(path).c_str(), nullptr, GENERIC_READ,
                                                            WICDecodeMetadataCacheOnDemand, r->decoder.out())) &&
            SUCCEEDED(r->decoder->GetFrame(0, r->frame.out())) &&
            SUCCEEDED(r->factory->CreateFormatConverter(r->converter.out())) &&
            SUCCEEDED(r->converter->Initialize(r->frame.p, GUID_WICPixelFormat32bppRGBA, WICBitmapDitherTypeNone,
                                               nullptr, 0.0, WICBitmapPaletteTypeCustom)) &&
            SUCCEEDED(r->converter->GetSize(&w, &h)) && w <= 65535 && h <= 65535;
  if (!ok) {
    reason = "не PNG или файл повреждён";
    delete r;
    return nullptr;
  }
  r->width = width = int(w);
  r->height = height = int(h);
  return r;
}

bool readPngRows(PngRowReader* r, uint8_t* rgba, int rowCount, std::string& reason) {
  if (!r || rowCount < 0 || r->read + rowCount > r->height) {
    reason = "файл обрывается или повреждён";
    return false;
  }
  if (rowCount == 0) return true;
  const WICRect rect{0, r->read, r->width, rowCount};
  const UINT stride = UINT(r->width) * 4;
  if (FAILED(r->converter->CopyPixels(&rect, stride, stride * UINT(rowCount), rgba))) {
    reason = "файл обрывается или повреждён";
    return false;
  }
  r->read += rowCount;
  return true;
}

void closePngRows(PngRowReader* r) { delete r; }

}  // namespace platform

// [SECTION] Peak memory

#include <psapi.h>

namespace platform {

uint64_t peakResidentBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof counters;
  if (!K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) return 0;
  return uint64_t(counters.PeakWorkingSetSize);
}

}  // namespace platform
