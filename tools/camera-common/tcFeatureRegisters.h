// The feature registers both camera emulators serve: where they lie, the pixel formats they
// offer and which values may be written to them.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>

#include "tsNamedValue.h"

// The block of 32-bit feature registers at `Base` in a camera's memory. The camera's register
// map derives from it, so that the addresses are its own.
template <typename Address, Address Base>
class tcFeatureRegisters {
 public:
  static constexpr Address kFeatures = Base;
  static constexpr Address kWidth = Base + 0x00;
  static constexpr Address kHeight = Base + 0x04;
  static constexpr Address kOffsetX = Base + 0x08;
  static constexpr Address kOffsetY = Base + 0x0C;
  static constexpr Address kPixelFormat = Base + 0x10;
  static constexpr Address kPayloadSize = Base + 0x14;
  static constexpr Address kAcquisitionMode = Base + 0x18;
  static constexpr Address kAcquisitionStart = Base + 0x1C;
  static constexpr Address kAcquisitionStop = Base + 0x20;
  static constexpr Address kTestPattern = Base + 0x24;
  static constexpr Address kFrameRate = Base + 0x28;
  static constexpr Address kSensorWidth = Base + 0x2C;
  static constexpr Address kSensorHeight = Base + 0x30;
  static constexpr Address kAcquisitionActive = Base + 0x34;
  static constexpr Address kFeaturesEnd = Base + 0x38;

  // The pixel formats PixelFormat offers, in the order of the description.
  static constexpr std::array<tsNamedValue, 5> kPixelFormats = {{{"Mono8", 0x01080001},
                                                                 {"Mono16", 0x01100007},
                                                                 {"RGB8", 0x02180014},
                                                                 {"BayerRG8", 0x01080009},
                                                                 {"Mono12p", 0x010C0047}}};

  // Whether `value` may be written to the register at `address`: the image must stay inside
  // the sensor (width a multiple of 4 from 16, x offset a multiple of 4), the pixel format must
  // be offered, the mode 0 or 1 and the test pattern at most `lastTestPattern`; any other
  // register takes any value. `get` reads the current value of a register.
  static bool Accepts(Address address, uint32_t value, const std::function<uint64_t(Address)>& get,
                      uint32_t lastTestPattern) {
    switch (address) {
      case kWidth:
        return value >= 16 && value % 4 == 0 && value <= get(kSensorWidth) - get(kOffsetX);
      case kHeight:
        return value >= 1 && value <= get(kSensorHeight) - get(kOffsetY);
      case kOffsetX:
        return value % 4 == 0 && value <= get(kSensorWidth) - get(kWidth);
      case kOffsetY:
        return value <= get(kSensorHeight) - get(kHeight);
      case kPixelFormat:
        return std::any_of(kPixelFormats.begin(), kPixelFormats.end(),
                           [&](const tsNamedValue& format) { return format.value == value; });
      case kAcquisitionMode:
        return value <= 1;
      case kTestPattern:
        return value <= lastTestPattern;
      default:
        return true;
    }
  }
};
