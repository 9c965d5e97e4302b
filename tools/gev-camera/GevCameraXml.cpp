// The GenApi description gev-camera serves from its memory. Every feature reads its own
// register (no read cycles over value links); the register addresses are tcGevRegisters'.
#include "GevCameraXml.h"

#include "GenApiXml.h"
#include "tcGevRegisters.h"

using namespace genapixml;

namespace {

constexpr Endianness kBig = Endianness::kBig;

// Identity, straight from the bootstrap registers.
std::string DeviceControl() {
  return StringReg("DeviceVendorName", 0x48, 32, "RO") +
         StringReg("DeviceModelName", 0x68, 32, "RO") + StringReg("DeviceVersion", 0x88, 32, "RO") +
         StringReg("DeviceSerialNumber", 0xD8, 16, "RO") +
         StringReg("DeviceUserID", 0xE8, 16, "RW");
}

// The stream channel's packet size and delay, and the time stamp tick frequency.
std::string TransportLayerControl() {
  return "  <Integer Name=\"GevSCPSPacketSize\">\n    <pValue>GevSCPSPacketSizeReg</pValue>\n"
         "    <Min>576</Min>\n    <Max>9000</Max>\n    <Inc>4</Inc>\n  </Integer>\n"
         "  <MaskedIntReg Name=\"GevSCPSPacketSizeReg\">\n    <Address>0xD04</Address>\n"
         "    <Length>4</Length>\n    <AccessMode>RW</AccessMode>\n    <pPort>Device</pPort>\n"
         "    <LSB>31</LSB>\n    <MSB>16</MSB>\n    <Sign>Unsigned</Sign>\n"
         "    <Endianess>BigEndian</Endianess>\n  </MaskedIntReg>\n" +
         Integer("GevSCPD", "") + IntReg("GevSCPDReg", 0xD08, 4, "RW", kBig) +
         Integer("GevTimestampTickFrequency", "") +
         IntReg("GevTimestampTickFrequencyReg", 0x93C, 8, "RO", kBig);
}

}  // namespace

std::string GevCameraXml(const tsGevCameraOptions& options) {
  const tsDescriptionHeader header = {options.model,
                                      options.vendor,
                                      "GigE Vision camera emulator",
                                      "GEV",
                                      "6C1D2E0A-4B7F-4E55-9D3A-0F5B7A6E2C11",
                                      "9E2F4A61-3C8B-4D07-A1E5-7B6C5D4E3F21"};
  return DescriptionStart(header) +
         Categories({"DeviceVendorName", "DeviceModelName", "DeviceVersion", "DeviceSerialNumber",
                     "DeviceUserID"},
                    {"PayloadSize", "GevSCPSPacketSize", "GevSCPD", "GevTimestampTickFrequency"}) +
         DeviceControl() +
         BlockFeatures(tcGevRegisters::kFeatures, kBig,
                       {{"Off", 0}, {"GreyHorizontalRamp", 1}, {"GreyDiagonalRampMoving", 2}}) +
         TransportLayerControl() + DescriptionEnd();
}
