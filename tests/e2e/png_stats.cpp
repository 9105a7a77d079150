// Prints the standard deviation of a PNG's luma (0..255) and how many
// distinct grey levels it has: enough to tell a picture with surface detail
// from a flat colour or a blank.
#include <png.h>

#include <cmath>
#include <cstdio>
#include <set>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  png_image img{};
  img.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&img, argv[1])) return 1;
  img.format = PNG_FORMAT_RGB;
  std::vector<unsigned char> px(PNG_IMAGE_SIZE(img));
  if (!png_image_finish_read(&img, nullptr, px.data(), 0, nullptr)) return 1;
  double sum = 0, sum2 = 0;
  std::set<int> levels;
  size_t n = size_t(img.width) * img.height;
  for (size_t i = 0; i < n; ++i) {
    double y = 0.2126 * px[i * 3] + 0.7152 * px[i * 3 + 1] + 0.0722 * px[i * 3 + 2];
    sum += y;
    sum2 += y * y;
    levels.insert(int(y));
  }
  double mean = sum / double(n);
  std::printf("%.2f %zu\n", std::sqrt(std::fmax(0.0, sum2 / double(n) - mean * mean)), levels.size());
  return 0;
}
