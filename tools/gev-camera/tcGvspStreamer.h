// Stream channel 0 of the emulated camera: frames (leader, payload, trailer) while acquiring,
// and test packets on request.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "base/tcEventFd.h"
#include "base/tcThread.h"
#include "base/tcUdpSocket.h"
#include "tcFaultInjector.h"
#include "tcGevCamera.h"
#include "tsResendRequest.h"
#include "tsStreamSettings.h"

// The last frames are kept, so packets named by a resend command go again, with status
// 0x0100 (the trailer is never resent). Frames go to SCDA0:SCP0 at the frame rate, only while
// acquisition is started and the port is not 0 (a port written during packet-size negotiation alone
// sends nothing). Packets leave from the camera's address with the do-not-fragment bit, so a packet
// above the path MTU does not arrive. Byte i of frame n's payload is (i + n) modulo 256, n counting
// frames from 1, so a receiver can check every byte.
class tcGvspStreamer {
 public:
  // The first frame's 64-bit block id is `firstBlockId` (at least 1).
  tcGvspStreamer(tcGevCamera& camera, const tsFaultOptions& faults, uint64_t firstBlockId = 1);
  ~tcGvspStreamer() { Stop(); }
  tcGvspStreamer(const tcGvspStreamer&) = delete;
  tcGvspStreamer& operator=(const tcGvspStreamer&) = delete;

  // An empty text or why the thread could not start.
  std::string Start();
  void Stop();
  // Looks at the registers again at once (after a command changed them).
  void Wake() { wake_.Signal(); }

 private:
  void Run(const std::atomic<bool>& stop);
  bool Prepare(const tsStreamSettings& settings);
  void SendTestPacket(const tsStreamSettings& settings);
  void SendFrame(const tsStreamSettings& settings);
  size_t BuildFrame(const tsStreamSettings& settings, size_t dataPerPacket);
  void SendFrameSlices(std::span<const tsDatagram> datagrams, uint64_t delayNs);
  // False when the socket refuses them.
  bool Send(std::span<const tsDatagram> datagrams);
  void Resend(const tsResendRequest& request);

  // A frame as sent, kept for resend requests.
  struct tsKeptFrame {
    uint64_t blockId64 = 0;
    uint16_t blockId16 = 0;
    bool extendedIds = false;
    std::vector<std::byte> storage;
    std::vector<tsDatagram> datagrams;  // headers in storage, payloads as tails in the ramp
  };
  static constexpr size_t kKeptFrames = 4;

  tcGevCamera& camera_;
  tcFaultInjector faults_;
  tcUdpSocket socket_;
  uint32_t boundSource_ = 0;
  tcEventFd wake_;
  uint64_t frameCount_ = 0;                    // frames sent; the 64-bit block id of the last one
  uint16_t blockId_ = 0;                       // the 16-bit block id of the last frame (1 to 65535)
  std::vector<std::byte> ramp_;                // 0, 1, ..., 255, 0, 1, ... over more than a packet
  std::array<tsKeptFrame, kKeptFrames> kept_;  // frame n is at n modulo kKeptFrames
  tcThread thread_;                            // last: stopped first
};
