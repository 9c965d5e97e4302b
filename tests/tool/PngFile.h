// Reads a PNG file back with libpng for the cases that check what gentl-tool wrote.
#pragma once

#include <png.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

struct tsPngFile {
  bool ok = false;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t channels = 0;  // 1 grey, 3 RGB
  std::vector<uint8_t> pixels;
};

// The file's pixels in its own format (grey or RGB, 8 bits); ok is false when it is no PNG.
inline tsPngFile ReadPngFile(const std::string& path) {
  tsPngFile file;
  png_image image;
  memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) return file;
  const bool colour = (image.format & PNG_FORMAT_FLAG_COLOR) != 0;
  image.format = colour ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
  file.width = image.width;
  file.height = image.height;
  file.channels = colour ? 3 : 1;
  file.pixels.resize(PNG_IMAGE_SIZE(image));
  file.ok = png_image_finish_read(&image, nullptr, file.pixels.data(), 0, nullptr) != 0;
  png_image_free(&image);
  return file;
}
