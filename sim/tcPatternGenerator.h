// Base of the simulated camera's test patterns: a pattern draws its picture line by line in
// sensor coordinates and this class writes it in the requested pixel format.
//
// How a picture becomes pixels:
// - Components are in the pixel format's own units, 0 .. 2^componentBits - 1.
// - A pattern draws a line either as luminance or as red, green and blue planes. Mono formats
//   store the luminance of a colour line, Y = (19595 R + 38470 G + 7471 B + 32768) >> 16
//   (BT.601 weights). Bayer formats store, at each pixel, the component its colour filter
//   passes; the filter is laid on the image, so the first pixel of every image is the first
//   colour of the format's name whatever the region's offset. RGB formats store a luminance
//   line as grey; alpha is 255.
// - YCbCr422_8 is BT.601 full range from 8-bit R, G, B: Y as above,
//   Cb = (-11059 R - 21709 G + 32768 B + 8421375) >> 16,
//   Cr = (32768 R - 27439 G - 5329 B + 8421375) >> 16 (always 0..255, grey gives 128).
//   A pixel pair takes its chroma from its first pixel (co-sited), so the last pixel of a line
//   of odd width writes its Y and Cb only.
// - The look-up table of tsPatternParams applies to the components the format stores: the
//   mono value, the Bayer sample, or R, G and B before the YCbCr conversion.
// - Binning samples: pixel (x, y) shows the sensor pixel at the top-left of its bin.
// - Lines are written in order from the first byte of `out`; when the image needs more than
//   `capacity` bytes the output stops at `capacity`, the last line cut where it ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sim/tsPatternParams.h"

// Marks a hot pixel loop to be compiled for AVX2 and SSSE3 besides the baseline, the best
// version picked when the library loads: SSSE3's byte shuffles let the compiler vectorise the
// interleaving of colour pixels, AVX2 doubles the vector width. ThreadSanitizer instruments
// the version resolvers, which run before its runtime is ready, so that build keeps one version.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define PATTERN_NO_CLONES
#endif
#endif
#if defined(__x86_64__) && !defined(PATTERN_NO_CLONES)
#define PATTERN_VECTOR_CLONES __attribute__((target_clones("avx2", "ssse3", "default")))
#else
#define PATTERN_VECTOR_CLONES
#endif

// One line of a picture: luminance in `luma`, or red, green and blue planes when `color` is set.
// `uniform` tells that all its pixels are equal, so that its first pixels are written and
// repeated.
struct tsPatternLine {
  uint16_t* luma;
  uint16_t* red;
  uint16_t* green;
  uint16_t* blue;
  bool color;
  bool uniform;
};

// What a pattern knows while it draws one frame.
struct tsPatternFrame {
  const tsPatternParams* params;
  uint32_t width;          // pixels of a line
  uint32_t componentBits;  // of the pixel format: 8 .. 16
  uint32_t maxValue;       // 2^componentBits - 1: white
  uint32_t sensorWidth;    // at least the region's far edge, so never 0
  uint32_t sensorHeight;
  bool color;                         // params->isColor on a format that carries colour
  const uint32_t* sensorX;            // sensor column of each pixel of a line
  tsPatternLine columns;              // per-column values the pattern prepared in FillColumns
  const std::vector<int16_t>* table;  // other per-frame values it prepared in FillTable
};

class tcPatternGenerator {
 public:
  static constexpr int kUnknownPixelFormat = -1;
  // LineKey of a line that matches no other.
  static constexpr uint64_t kUniqueLine = UINT64_MAX;

  virtual ~tcPatternGenerator() = default;

  // Draws frame `params.frameId` into `out`, writing at most `capacity` bytes. Returns 0, or
  // kUnknownPixelFormat (nothing written) when `params.pixelFormat` is not supported.
  virtual int Draw(const tsPatternParams& params, uint8_t* out, size_t capacity) const;

  // Calls draw(x) for x in [0, count) in blocks of fixed size, telling the compiler that
  // pixels do not depend on each other, so that it vectorises the body at -O2. The body must
  // not read what it writes for another x.
  template <typename DrawPixel>
  static void ForEachPixel(size_t count, DrawPixel&& draw) {
    constexpr size_t kBlock = 16;
    const size_t blocked = count - count % kBlock;
    for (size_t start = 0; start < blocked; start += kBlock) {
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC ivdep
#endif
      for (size_t i = 0; i < kBlock; ++i)
        draw(start + i);
    }
    for (size_t x = blocked; x < count; ++x)
      draw(x);
  }

 protected:
  // Fills `columns` (luma and colour planes, frame.width each) with whatever depends on the
  // column only; called once per frame before the first FillLine.
  virtual void FillColumns(const tsPatternFrame& frame, tsPatternLine& columns) const;
  // Fills `table` (empty) with any other values the pattern computes once per frame.
  virtual void FillTable(const tsPatternFrame& frame, std::vector<int16_t>& table) const;
  // Draws the line at sensor row `sensorY`; sets line.color when it drew the colour planes and
  // line.uniform when all its pixels are equal.
  virtual void FillLine(const tsPatternFrame& frame, uint32_t sensorY,
                        tsPatternLine& line) const = 0;
  // Lines of one frame with the same key other than kUniqueLine are identical, so a line
  // already written is copied instead of drawn again.
  virtual uint64_t LineKey(const tsPatternFrame& frame, uint32_t sensorY) const;

  // Sets `count` values of `plane` to `value` (std::fill_n is not vectorised at -O2).
  static void Fill(uint16_t* plane, uint32_t count, uint32_t value);
  // The colour of the ramp values in line.luma, as ramps draw it on a colour camera: red
  // follows the ramp, green rises twice as fast and wraps, blue falls; sets line.color.
  static void ColorRamp(uint32_t maxValue, uint32_t width, tsPatternLine& line);
};
