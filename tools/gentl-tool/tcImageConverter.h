// Converts a delivered image in any pixel format of the simulated camera into an 8-bit grey or
// RGB image for viewing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sim/PixelFormat.h"
#include "tsImage.h"

class tcImageConverter {
 public:
  // The image of `width` x `height` pixels in `pixelFormat` (a PFNC code) at `data`, lines back
  // to back: mono formats become grey, everything else RGB. Components of more than 8 bits
  // keep their top 8 bits; Bayer images are demosaiced bilinearly; YCbCr uses BT.601 full
  // range; alpha is dropped. Throws std::invalid_argument for an unknown format or when `size`
  // is less than the image needs.
  static tsImage Convert(uint64_t pixelFormat, uint32_t width, uint32_t height, const uint8_t* data,
                         size_t size);

 private:
  // One 8-bit sample per pixel, for mono and Bayer formats.
  static std::vector<uint8_t> Samples(const tsPixelFormat& format, uint32_t width, uint32_t height,
                                      const uint8_t* data);
  static uint8_t Sample(const tsPixelFormat& format, uint32_t width, const uint8_t* data,
                        size_t index, uint32_t x, uint32_t y);
  static tsImage Demosaic(CfaOrder order, uint32_t width, uint32_t height,
                          const std::vector<uint8_t>& samples);
  static tsImage FromRgb(const tsPixelFormat& format, uint32_t width, uint32_t height,
                         const uint8_t* data);
  static tsImage FromYCbCr422(uint32_t width, uint32_t height, const uint8_t* data);
};
