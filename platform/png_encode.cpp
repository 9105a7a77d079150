// PNG pixel encoding with libpng: speed over size, since a shot or a photo is
// written while the user waits. Level 1 with run-length matching and no row
// filters is many times faster than the defaults at a similar size for
// rendered images.
#include "platform/platform.h"

#include <png.h>
#include <zlib.h>

#include <csetjmp>
#include <cstring>

namespace platform {

namespace {

void appendToString(png_structp png, png_bytep data, png_size_t length) {
  auto* out = static_cast<std::string*>(png_get_io_ptr(png));
  out->append(reinterpret_cast<const char*>(data), length);
}

void flushNothing(png_structp) {}

// GL hands rows bottom-up and may leave alpha at anything the composite
// wrote; a picture file is top-down and opaque.
std::vector<uint8_t> topDownOpaque(const uint8_t* rgbaBottomUp, int width, int height) {
  size_t stride = size_t(width) * 4;
  std::vector<uint8_t> rows(stride * size_t(height));
  for (int y = 0; y < height; ++y) {
    const uint8_t* src = rgbaBottomUp + stride * size_t(height - 1 - y);
    uint8_t* dst = rows.data() + stride * size_t(y);
    std::memcpy(dst, src, stride);
    for (size_t x = 3; x < stride; x += 4) dst[x] = 255;
  }
  return rows;
}

}  // namespace

bool encodePngPixels(const uint8_t* rgbaBottomUp, int width, int height, std::string& png) {
  png.clear();
  if (!rgbaBottomUp || width < 1 || height < 1) return false;
  // Everything with a destructor lives outside the setjmp scope.
  std::vector<uint8_t> rows = topDownOpaque(rgbaBottomUp, width, height);
  std::vector<png_bytep> rowPointers(static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) rowPointers[size_t(y)] = rows.data() + size_t(y) * size_t(width) * 4;

  png_structp w = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!w) return false;
  png_infop info = png_create_info_struct(w);
  if (!info || setjmp(png_jmpbuf(w))) {
    png_destroy_write_struct(&w, &info);
    png.clear();
    return false;
  }
  png_set_write_fn(w, &png, appendToString, flushNothing);
  png_set_compression_level(w, 1);
  png_set_compression_strategy(w, Z_RLE);
  png_set_filter(w, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
  png_set_IHDR(w, info, png_uint_32(width), png_uint_32(height), 8, PNG_COLOR_TYPE_RGBA,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
  png_set_rows(w, info, rowPointers.data());
  png_write_png(w, info, PNG_TRANSFORM_IDENTITY, nullptr);
  png_destroy_write_struct(&w, &info);
  return true;
}

}  // namespace platform
