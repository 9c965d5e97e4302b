// PNG output through libpng's simplified write interface.
#include "tcPngWriter.h"

#include <png.h>

#include <cstring>

#include "tcToolError.h"

void tcPngWriter::Write(const tsImage& image, const std::string& path) {
  png_image png;
  memset(&png, 0, sizeof png);
  png.version = PNG_IMAGE_VERSION;
  png.width = image.width;
  png.height = image.height;
  png.format = image.channels == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
  const png_int_32 stride = static_cast<png_int_32>(image.width * image.channels);
  if (png_image_write_to_file(&png, path.c_str(), 0, image.pixels.data(), stride, nullptr) == 0) {
    const std::string reason = png.message;
    png_image_free(&png);
    throw tcToolError("cannot write " + path + ": " + reason + ".");
  }
}
