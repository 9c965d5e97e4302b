// Writes an 8-bit grey or RGB image to a PNG file with libpng.
#pragma once

#include <string>

#include "tsImage.h"

class tcPngWriter {
 public:
  // Throws a tool error naming `path` when the file cannot be written.
  static void Write(const tsImage& image, const std::string& path);
};
