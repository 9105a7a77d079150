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


namespace {

struct ReadCursor {
  const std::string* bytes;
  size_t at;
};

void readFromString(png_structp png, png_bytep data, png_size_t length) {
  auto* c = static_cast<ReadCursor*>(png_get_io_ptr(png));
  if (c->at + length > c->bytes->size()) png_error(png, "short");
  std::memcpy(data, c->bytes->data() + c->at, length);
  c->at += length;
}

}  // namespace

bool decodePngPixels(const std::string& png, int& width, int& height, std::vector<uint8_t>& rgbaBottomUp) {
  width = height = 0;
  rgbaBottomUp.clear();
  if (png.size() < 8 || png_sig_cmp(reinterpret_cast<png_const_bytep>(png.data()), 0, 8) != 0) return false;
  ReadCursor cursor{&png, 0};
  png_structp r = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  if (!r) return false;
  png_infop info = png_create_info_struct(r);
  std::vector<uint8_t>& out = rgbaBottomUp;
  std::vector<png_bytep> rows;
  if (!info || setjmp(png_jmpbuf(r))) {
    png_destroy_read_struct(&r, &info, nullptr);
    out.clear();
    width = height = 0;
    return false;
  }
  png_set_read_fn(r, &cursor, readFromString);
  png_set_user_limits(r, 1u << 15, 1u << 15);
  png_read_info(r, info);
  png_set_expand(r);
  png_set_strip_16(r);
  png_set_gray_to_rgb(r);
  png_set_add_alpha(r, 0xff, PNG_FILLER_AFTER);
  png_set_interlace_handling(r);
  png_read_update_info(r, info);
  width = int(png_get_image_width(r, info));
  height = int(png_get_image_height(r, info));
  out.assign(size_t(width) * size_t(height) * 4, 0);
  rows.resize(size_t(height));
  // Bottom-up, as GL reads pixels back and the encoders take them.
  for (int y = 0; y < height; ++y) rows[size_t(y)] = out.data() + size_t(height - 1 - y) * size_t(width) * 4;
  png_read_image(r, rows.data());
  png_read_end(r, nullptr);
  png_destroy_read_struct(&r, &info, nullptr);
  return true;
}

}  // namespace platform
