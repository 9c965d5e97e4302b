// What a test pattern is asked to draw: the image region, its pixel format and the camera
// settings that shape the picture.
#pragma once

#include <cstdint>

struct tsPatternParams {
  uint32_t pixelFormat = 0;  // PFNC code
  uint32_t width = 0;        // pixels of the image (after binning)
  uint32_t height = 0;
  // Position of the region in binned pixels: the image shows sensor pixel
  // ((offsetX + x) * binningHorizontal, (offsetY + y) * binningVertical) at (x, y).
  uint32_t offsetX = 0;
  uint32_t offsetY = 0;
  // Unbinned sensor size the pictures are laid out on; a sensor smaller than the region's far
  // edge counts as that edge.
  uint32_t sensorWidth = 0;
  uint32_t sensorHeight = 0;
  uint64_t frameId = 0;
  // Grid lines at sensor columns gridOffsetX + k * gridStrideX and rows
  // gridOffsetY + k * gridStrideY (k >= 0); a stride of 0 draws no lines in that direction.
  uint32_t gridOffsetX = 0;
  uint32_t gridOffsetY = 0;
  uint32_t gridStrideX = 0;
  uint32_t gridStrideY = 0;
  // Noise in digital numbers of the pixel format's component depth.
  double noiseMean = 0.0;
  double noiseStdDev = 0.0;
  // Linear look-up table v -> min(v, lutMaxIndex) * lutMaxValue / lutMaxIndex (rounded down,
  // at most the format's largest value) applied to every drawn component; 0 switches it off.
  uint32_t lutMaxIndex = 0;
  uint32_t lutMaxValue = 0;
  uint32_t binningHorizontal = 1;  // 0 counts as 1
  uint32_t binningVertical = 1;
  // Colour camera: ramps, grid and noise draw colour on the Bayer, RGB and YCbCr formats.
  bool isColor = false;
};
