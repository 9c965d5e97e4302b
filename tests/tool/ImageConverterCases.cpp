// tcImageConverter against hand-computed pixels for each layout, and tcPngWriter round trips.
#include <gtest/gtest.h>

#include <stdexcept>

#include "PngFile.h"
#include "tcImageConverter.h"
#include "tcPngWriter.h"
#include "tcToolError.h"
#include "tcToolRunner.h"

namespace {

using tBytes = std::vector<uint8_t>;

tsImage Convert(uint32_t format, uint32_t width, uint32_t height, const tBytes& data) {
  return tcImageConverter::Convert(format, width, height, data.data(), data.size());
}

// The RGB triple of pixel (x, y).
tBytes Rgb(const tsImage& image, uint32_t x, uint32_t y) {
  const size_t at = (size_t{y} * image.width + x) * 3;
  return {image.pixels[at], image.pixels[at + 1], image.pixels[at + 2]};
}

}  // namespace

TEST(ImageConverter, Mono8IsCopied) {
  const tsImage image = Convert(kPixelMono8, 3, 2, {0, 10, 20, 30, 40, 255});
  EXPECT_EQ(image.width, 3u);
  EXPECT_EQ(image.height, 2u);
  EXPECT_EQ(image.channels, 1u);
  EXPECT_EQ(image.pixels, (tBytes{0, 10, 20, 30, 40, 255}));
}

TEST(ImageConverter, UnpackedWideMonoKeepsTheTopEightBits) {
  EXPECT_EQ(Convert(kPixelMono10, 2, 1, {0xFF, 0x03, 0x00, 0x02}).pixels, (tBytes{0xFF, 0x80}));
  EXPECT_EQ(Convert(kPixelMono12, 2, 1, {0xBC, 0x0A, 0x0F, 0x00}).pixels, (tBytes{0xAB, 0x00}));
  EXPECT_EQ(Convert(kPixelMono14, 2, 1, {0xFF, 0x3F, 0x00, 0x20}).pixels, (tBytes{0xFF, 0x80}));
  EXPECT_EQ(Convert(kPixelMono16, 2, 1, {0x34, 0x12, 0xFF, 0xFF}).pixels, (tBytes{0x12, 0xFF}));
}

TEST(ImageConverter, Mono12pRunsOneBitStreamAcrossLines) {
  // Pixels ABC 123 FFF / 000 801 7F0: the second line starts in the middle of byte 4.
  const tBytes data = {0xBC, 0x3A, 0x12, 0xFF, 0x0F, 0x00, 0x01, 0x08, 0x7F};
  const tsImage image = Convert(kPixelMono12p, 3, 2, data);
  EXPECT_EQ(image.channels, 1u);
  EXPECT_EQ(image.pixels, (tBytes{0xAB, 0x12, 0xFF, 0x00, 0x80, 0x7F}));
}

TEST(ImageConverter, Mono10pOfOddWidth) {
  // Pixels 3FF 001 2AA in 30 bits.
  EXPECT_EQ(Convert(kPixelMono10p, 3, 1, {0xFF, 0x07, 0xA0, 0x2A}).pixels,
            (tBytes{0xFF, 0x00, 0xAA}));
}

TEST(ImageConverter, Mono10PackedPacksEachLineOnItsOwn) {
  // Lines 3FF 001 200 and 155 2AB 004; an odd line ends with a half-used 3-byte group.
  const tBytes data = {0xFF, 0x13, 0x00, 0x80, 0x00, 0x00, 0x55, 0x31, 0xAA, 0x01, 0x00, 0x00};
  EXPECT_EQ(Convert(kPixelMono10Packed, 3, 2, data).pixels,
            (tBytes{0xFF, 0x00, 0x80, 0x55, 0xAA, 0x01}));
}

TEST(ImageConverter, Mono12PackedOfOddWidth) {
  // Pixels ABC 123 456.
  EXPECT_EQ(Convert(kPixelMono12Packed, 3, 1, {0xAB, 0x3C, 0x12, 0x45, 0x06, 0x00}).pixels,
            (tBytes{0xAB, 0x12, 0x45}));
}

TEST(ImageConverter, BayerRG8IsDemosaicedBilinearly) {
  // R G R G / G B G B / R G R G / G B G B
  const tBytes data = {200, 10, 100, 20, 30, 40, 50, 60, 0, 70, 80, 90, 11, 12, 13, 14};
  const tsImage image = Convert(kPixelBayerRG8, 4, 4, data);
  EXPECT_EQ(image.channels, 3u);
  EXPECT_EQ(Rgb(image, 0, 0), (tBytes{200, 20, 40}));  // corner red: G (10+30)/2, B 40
  EXPECT_EQ(Rgb(image, 1, 0), (tBytes{150, 10, 40}));  // green on a red line
  EXPECT_EQ(Rgb(image, 1, 1), (tBytes{95, 40, 40}));   // blue: R of 4 diagonals, G of 4 sides
  EXPECT_EQ(Rgb(image, 2, 1), (tBytes{90, 50, 50}));   // green on a blue line
  EXPECT_EQ(Rgb(image, 3, 3), (tBytes{80, 52, 14}));   // corner blue: G (90+13)/2 rounded
}

TEST(ImageConverter, OtherBayerOrders) {
  const tBytes data = {200, 10, 30, 40};
  EXPECT_EQ(Rgb(Convert(kPixelBayerBG8, 2, 2, data), 0, 0), (tBytes{40, 20, 200}));
  EXPECT_EQ(Rgb(Convert(kPixelBayerGR8, 2, 2, data), 0, 0), (tBytes{10, 200, 30}));
  EXPECT_EQ(Rgb(Convert(kPixelBayerGB8, 2, 2, data), 0, 0), (tBytes{30, 200, 10}));
}

TEST(ImageConverter, BayerOfOddWidthAndSixteenBits) {
  // R G R on one line: the green pixel's red is the mean of both sides; no blue exists.
  const tsImage image = Convert(kPixelBayerRG16, 3, 1, {0, 10, 0, 20, 0, 30});
  EXPECT_EQ(Rgb(image, 1, 0), (tBytes{20, 20, 0}));
  EXPECT_EQ(Rgb(image, 2, 0), (tBytes{30, 20, 0}));
}

TEST(ImageConverter, RgbOrdersAndAlpha) {
  EXPECT_EQ(Convert(kPixelRGB8, 2, 1, {1, 2, 3, 4, 5, 6}).pixels, (tBytes{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(Convert(kPixelBGR8, 2, 1, {1, 2, 3, 4, 5, 6}).pixels, (tBytes{3, 2, 1, 6, 5, 4}));
  EXPECT_EQ(Convert(kPixelRGBa8, 2, 1, {1, 2, 3, 255, 4, 5, 6, 0}).pixels,
            (tBytes{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(Convert(kPixelBGRa8, 2, 1, {1, 2, 3, 9, 4, 5, 6, 9}).pixels,
            (tBytes{3, 2, 1, 6, 5, 4}));
}

TEST(ImageConverter, YCbCr422UsesFullRangeBT601) {
  // Y 76 with Cb 85 and Cr 255 is nearly pure red: R = 76 + 1.402 * 127 = 254.05.
  const tsImage red = Convert(kPixelYCbCr422_8, 2, 1, {76, 85, 76, 255});
  EXPECT_EQ(Rgb(red, 0, 0), (tBytes{254, 0, 0}));
  EXPECT_EQ(Rgb(red, 1, 0), (tBytes{254, 0, 0}));
  const tsImage grey = Convert(kPixelYCbCr422_8, 2, 1, {100, 128, 150, 128});
  EXPECT_EQ(grey.pixels, (tBytes{100, 100, 100, 150, 150, 150}));
}

TEST(ImageConverter, YCbCr422OfOddWidth) {
  // Lines of 3 pixels take 6 bytes; the last pixel has Y and Cb and a neutral Cr:
  // G = 76 + 0.344136 * 43 = 90.8, B = 76 - 1.772 * 43 < 0.
  const tBytes data = {100, 128, 150, 128, 76, 85, 10, 128, 20, 128, 30, 128};
  const tsImage image = Convert(kPixelYCbCr422_8, 3, 2, data);
  EXPECT_EQ(Rgb(image, 2, 0), (tBytes{76, 91, 0}));
  EXPECT_EQ(Rgb(image, 0, 1), (tBytes{10, 10, 10}));
  EXPECT_EQ(Rgb(image, 2, 1), (tBytes{30, 30, 30}));
}

TEST(ImageConverter, RejectsUnknownFormatsAndShortBuffers) {
  EXPECT_THROW(Convert(0x12345678, 1, 1, {0}), std::invalid_argument);
  EXPECT_THROW(Convert(kPixelMono10Packed, 3, 2, tBytes(11)), std::invalid_argument);
  EXPECT_THROW(Convert(kPixelRGB8, 2, 2, tBytes(11)), std::invalid_argument);
  EXPECT_NO_THROW(Convert(kPixelRGB8, 2, 2, tBytes(12)));
}

TEST(PngWriter, WritesGreyAndRgbThatReadBack) {
  const std::string folder = tcToolRunner::TempFolder();
  const tsImage grey{3, 2, 1, {0, 50, 100, 150, 200, 250}};
  tcPngWriter::Write(grey, folder + "/grey.png");
  const tsPngFile greyFile = ReadPngFile(folder + "/grey.png");
  ASSERT_TRUE(greyFile.ok);
  EXPECT_EQ(greyFile.channels, 1u);
  EXPECT_EQ(greyFile.pixels, grey.pixels);

  const tsImage rgb{2, 1, 3, {255, 0, 0, 0, 0, 255}};
  tcPngWriter::Write(rgb, folder + "/rgb.png");
  const tsPngFile rgbFile = ReadPngFile(folder + "/rgb.png");
  ASSERT_TRUE(rgbFile.ok);
  EXPECT_EQ(rgbFile.width, 2u);
  EXPECT_EQ(rgbFile.channels, 3u);
  EXPECT_EQ(rgbFile.pixels, rgb.pixels);
}

TEST(PngWriter, NamesTheFileItCannotWrite) {
  const tsImage grey{1, 1, 1, {0}};
  try {
    tcPngWriter::Write(grey, "/nonexistent/folder/x.png");
    FAIL() << "no error";
  } catch (const tcToolError& error) {
    EXPECT_NE(std::string(error.what()).find("cannot write /nonexistent/folder/x.png"),
              std::string::npos);
  }
}
