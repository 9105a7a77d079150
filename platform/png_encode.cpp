// PNG pixel encoding with libpng: speed over size, since a shot or a photo is
// written while the user waits. Level 1 with run-length matching and no row
// filters is many times faster than the defaults at a similar size for
// rendered images.
#include "platform/platform.h"

#include <png.h>
#include <zlib.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
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

// [SECTION] Rows, a band at a time

namespace platform {

struct PngRowWriter {
  png_structp png = nullptr;
  png_infop info = nullptr;
  PngSink sink;
  int width = 0, height = 0, written = 0;
  bool failed = false;
  std::vector<uint8_t> row;
};

struct PngRowReader {
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::FILE* file = nullptr;
  int width = 0, height = 0, read = 0;
  std::string message;  // libpng's complaint, kept for the reason
};

namespace {

void sinkBytes(png_structp png, png_bytep data, png_size_t length) {
  auto* w = static_cast<PngRowWriter*>(png_get_io_ptr(png));
  if (!w->sink(data, length)) png_error(png, "sink");
}

// libpng's errors end in a longjmp back to the call that started the step;
// its warnings are not the user's business.
void quietWarning(png_structp, png_const_charp) {}
void writerError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void readerError(png_structp png, png_const_charp message) {
  auto* r = static_cast<PngRowReader*>(png_get_error_ptr(png));
  if (r) r->message = message;
  png_longjmp(png, 1);
}

// The one part that may longjmp: no object with a destructor is created here.
bool writeRowsGuarded(PngRowWriter* w, png_bytep row) {
  if (setjmp(png_jmpbuf(w->png))) return false;
  png_write_row(w->png, row);
  return true;
}

bool startGuarded(PngRowWriter* w) {
  if (setjmp(png_jmpbuf(w->png))) return false;
  png_set_write_fn(w->png, w, sinkBytes, flushNothing);
  png_set_compression_level(w->png, 1);
  png_set_compression_strategy(w->png, Z_RLE);
  png_set_filter(w->png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
  png_set_IHDR(w->png, w->info, png_uint_32(w->width), png_uint_32(w->height), 8, PNG_COLOR_TYPE_RGBA,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
  png_write_info(w->png, w->info);
  return true;
}

bool endGuarded(PngRowWriter* w) {
  if (setjmp(png_jmpbuf(w->png))) return false;
  png_write_end(w->png, nullptr);
  return true;
}

bool openGuarded(PngRowReader* r) {
  if (setjmp(png_jmpbuf(r->png))) return false;
  png_init_io(r->png, r->file);
  png_read_info(r->png, r->info);
  png_uint_32 w = 0, h = 0;
  int depth = 0, color = 0, interlace = 0;
  png_get_IHDR(r->png, r->info, &w, &h, &depth, &color, &interlace, nullptr, nullptr);
  if (interlace != PNG_INTERLACE_NONE || w > 65535 || h > 65535) png_error(r->png, "interlace");
  // Whatever the file holds becomes 8-bit RGBA.
  png_set_expand(r->png);
  png_set_strip_16(r->png);
  if (color == PNG_COLOR_TYPE_GRAY || color == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_gray_to_rgb(r->png);
  if (!(color & PNG_COLOR_MASK_ALPHA)) png_set_filler(r->png, 0xff, PNG_FILLER_AFTER);
  png_read_update_info(r->png, r->info);
  r->width = int(w);
  r->height = int(h);
  return true;
}

bool readGuarded(PngRowReader* r, uint8_t* rgba, int rowCount) {
  if (setjmp(png_jmpbuf(r->png))) return false;
  for (int i = 0; i < rowCount; ++i) png_read_row(r->png, rgba + size_t(i) * size_t(r->width) * 4, nullptr);
  return true;
}

}  // namespace

PngRowWriter* beginPngRows(int width, int height, PngSink sink) {
  if (width < 1 || height < 1 || width > 65535 || height > 65535 || !sink) return nullptr;
  auto* w = new PngRowWriter;
  w->sink = std::move(sink);
  w->width = width;
  w->height = height;
  w->row.resize(size_t(width) * 4);
  w->png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, writerError, quietWarning);
  if (w->png) w->info = png_create_info_struct(w->png);
  if (!w->info || !startGuarded(w)) {
    abandonPngRows(w);
    return nullptr;
  }
  return w;
}

bool writePngRows(PngRowWriter* w, const uint8_t* rgbaTopDown, int rowCount) {
  if (!w || w->failed) return false;
  if (rowCount < 0 || w->written + rowCount > w->height) return w->failed = true, false;
  const size_t stride = size_t(w->width) * 4;
  for (int y = 0; y < rowCount; ++y) {
    std::memcpy(w->row.data(), rgbaTopDown + stride * size_t(y), stride);
    for (size_t x = 3; x < stride; x += 4) w->row[x] = 255;
    if (!writeRowsGuarded(w, w->row.data())) return w->failed = true, false;
    ++w->written;
  }
  return true;
}

bool finishPngRows(PngRowWriter* w) {
  if (!w) return false;
  bool ok = !w->failed && w->written == w->height && endGuarded(w);
  abandonPngRows(w);
  return ok;
}

void abandonPngRows(PngRowWriter* w) {
  if (!w) return;
  if (w->png) png_destroy_write_struct(&w->png, w->info ? &w->info : nullptr);
  delete w;
}

PngRowReader* openPngRows(const std::string& path, int& width, int& height, std::string& reason) {
  auto* r = new PngRowReader;
  r->file = std::fopen(path.c_str(), "rb");
  if (!r->file) {
    reason = "не удалось открыть файл";
    closePngRows(r);
    return nullptr;
  }
  r->png = png_create_read_struct(PNG_LIBPNG_VER_STRING, r, readerError, quietWarning);
  if (r->png) r->info = png_create_info_struct(r->png);
  if (!r->info || !openGuarded(r)) {
    reason = "не PNG или файл повреждён";
    closePngRows(r);
    return nullptr;
  }
  width = r->width;
  height = r->height;
  return r;
}

bool readPngRows(PngRowReader* r, uint8_t* rgba, int rowCount, std::string& reason) {
  if (!r || rowCount < 0 || r->read + rowCount > r->height || !readGuarded(r, rgba, rowCount)) {
    reason = "файл обрывается или повреждён";
    return false;
  }
  r->read += rowCount;
  return true;
}

void closePngRows(PngRowReader* r) {
  if (!r) return;
  if (r->png) png_destroy_read_struct(&r->png, r->info ? &r->info : nullptr, nullptr);
  if (r->file) std::fclose(r->file);
  delete r;
}

}  // namespace platform

// [SECTION] Peak memory (the poster's report states it)

#include <fstream>

namespace platform {

uint64_t peakResidentBytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmHWM:", 0) == 0) return uint64_t(std::strtoull(line.c_str() + 6, nullptr, 10)) * 1024;
  return 0;
}

}  // namespace platform
