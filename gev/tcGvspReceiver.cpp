// tcGvspReceiver: expectations for a batch, the scattered receive, and the hand-over in
// arrival order.
#include "gev/tcGvspReceiver.h"

#include <algorithm>
#include <cstring>

#include "gev/tcBufferGEV.h"
#include "gev/tcGvspAssembler.h"

tcGvspReceiver::tcGvspReceiver(tcGvspAssembler& assembler, uint32_t cameraAddress)
    : assembler_(assembler), cameraAddress_(cameraAddress), staging_(kBatch * kMaxPacket) {}

std::span<std::byte> tcGvspReceiver::Staging(size_t index) {
  return std::span(staging_).subspan(index * kMaxPacket, kMaxPacket);
}

// The slots expect the newest frame's packets after its highest one, as long as those have
// not arrived yet; the slots after the run receive whole datagrams. A batch after a run ends
// two datagrams later (the trailer and the next leader), and so does one that expects nothing
// while frames are starting: the next batch can then expect the new frame's packets. While
// no frame starts (no buffer for them, say) the batches are full.
size_t tcGvspReceiver::Expect() {
  tcBufferGEV* frame = assembler_.NewestFrame();
  uint32_t next = frame != nullptr ? frame->highestStoredId + 1 : 0;
  size_t run = 0;
  for (size_t i = 0; i < kBatch; ++i) {
    tsExpectation& expectation = expected_[i];
    expectation = {};
    if (frame != nullptr && next <= frame->received.size() && frame->received[next - 1] == 0 &&
        frame->headerLength + frame->payloadPerPacket <= kMaxPacket) {
      expectation = {frame, frame->blockId, next, frame->PacketPlace(next)};
      ++next;
      ++run;
    } else {
      frame = nullptr;
    }
    tsScatterDatagram& datagram = datagrams_[i];
    if (expectation.frame == nullptr) {
      datagram.parts = {Staging(i), {}, {}};
      continue;
    }
    size_t header = expectation.frame->headerLength;
    datagram.parts = {std::span(headers_[i]).first(header), expectation.place,
                      Staging(i).first(kMaxPacket - header - expectation.place.size())};
  }
  if (run == 0 && !framesStarting_) return kBatch;
  return std::min(kBatch, run + 2);
}

bool tcGvspReceiver::IsExpected(size_t index, tsGvspPacket* packet) const {
  const tsExpectation& expectation = expected_[index];
  const tsScatterDatagram& datagram = datagrams_[index];
  if (expectation.frame == nullptr || datagram.peer.address != cameraAddress_) return false;
  size_t header = datagram.parts[0].size();
  if (datagram.length < header || datagram.length - header > expectation.place.size()) {
    return false;
  }
  if (tsGvspPacket::Parse(datagram.parts[0], packet) != tsGvspPacket::tcResult::kOk ||
      packet->headerLength != header || packet->format != tsGvspPacket::kPayload ||
      packet->blockId != expectation.blockId || packet->packetId != expectation.packetId) {
    return false;
  }
  packet->data = expectation.place.first(datagram.length - header);
  return true;
}

// The part received into the staging room comes after the header and the bytes that went
// to the expected place: it moves up, and those two are copied in front of it.
std::span<const std::byte> tcGvspReceiver::Gather(size_t index) {
  const tsScatterDatagram& datagram = datagrams_[index];
  std::span<std::byte> room = Staging(index);
  if (expected_[index].frame != nullptr) {
    size_t header = std::min(datagram.length, datagram.parts[0].size());
    size_t placed = std::min(datagram.length - header, datagram.parts[1].size());
    size_t rest = datagram.length - header - placed;
    std::memmove(room.data() + header + placed, room.data(), rest);
    std::memcpy(room.data(), datagram.parts[0].data(), header);
    std::memcpy(room.data() + header, datagram.parts[1].data(), placed);
  }
  return room.first(datagram.length);
}

tsIoResult tcGvspReceiver::Receive(const tcUdpSocket& socket, uint64_t frameLimit) {
  size_t batch = Expect();
  bool expectedNothing = assembler_.NewestFrame() == nullptr;
  tsIoResult result = socket.ReceiveScattered(std::span(datagrams_).first(batch));
  filled_ = result.Ok() && result.count == batch;
  if (!result.Ok()) return result;
  received_ += result.count;
  // Everything that did not arrive as expected is put together first: handling an earlier
  // datagram may write into the place where a later one landed.
  std::array<tsGvspPacket, kBatch> packets;
  std::array<std::span<const std::byte>, kBatch> whole;
  std::array<bool, kBatch> inPlace{};
  for (size_t i = 0; i < result.count; ++i) {
    inPlace[i] = IsExpected(i, &packets[i]);
    if (!inPlace[i]) whole[i] = Gather(i);
  }
  for (size_t i = 0; i < result.count && assembler_.Completed() < frameLimit; ++i) {
    if (inPlace[i]) {
      ++placed_;
      assembler_.HandleParsed(packets[i]);
    } else {
      assembler_.HandlePacket(whole[i], datagrams_[i].peer.address);
    }
  }
  if (expectedNothing) framesStarting_ = assembler_.NewestFrame() != nullptr;
  return result;
}
