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
