// png_wic.cpp — PNG pixel encoding through the Windows Imaging Component: an
// encoder on a memory stream, 32-bit BGRA rows top-down, always opaque. The
// preset chunk is spliced in afterwards by io/, as on every platform.
#include "platform/platform.h"
#include "platform/win32_common.h"

#include <objidl.h>
#include <wincodec.h>

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

}  // namespace platform
