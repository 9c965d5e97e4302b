// A scripted GVCP responder for producer tests: runs as a camera side of the network bench,
// answers discovery and register and memory commands from a small register map, writes one
// line per command it receives to a file, and lets a test replace any answer with its own.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "base/tcPoll.h"
#include "base/tcUdpSocket.h"
#include "base/tcWireReader.h"
#include "base/tcWireWriter.h"

// One command as the fake camera received it.
struct tsFakeCommand {
  uint8_t flags = 0;
  uint16_t code = 0;
  uint16_t length = 0;
  uint16_t id = 0;
  uint32_t address = 0;  // the first payload word (READREG, WRITEREG, READMEM, WRITEMEM)
  uint32_t second = 0;   // WRITEREG value; READMEM count (low 16 bits of the second word)
  std::vector<std::byte> bytes;
};

using tfFakeDatagrams = std::vector<std::vector<std::byte>>;

struct tsFakeCamera {
  std::string model = "FakeCam";
  std::string serial = "FAKE1";
  std::string vendor = "Fake Vendor";
  std::string version = "1.2.3";
  uint64_t mac = 0x020000000001;
  std::map<uint32_t, uint32_t> registers;  // host order; unknown registers read 0
  std::map<uint32_t, std::string> texts;   // memory blocks (URLs, descriptions)
  std::string logPath;                     // one line per command (see Log)
  // Returns true when it has put the answer to `command` into `replies` (none: no answer).
  std::function<bool(const tsFakeCommand& command, uint32_t local, tfFakeDatagrams* replies)>
      script;
};

inline std::vector<std::byte> FakeAck(uint16_t status, uint16_t answer, uint16_t id,
                                      const std::vector<std::byte>& payload) {
  std::vector<std::byte> bytes(8 + payload.size());
  tcWireWriter writer(bytes);
  writer.U16Be(status);
  writer.U16Be(answer);
  writer.U16Be(static_cast<uint16_t>(payload.size()));
  writer.U16Be(id);
  writer.Bytes(payload);
  return bytes;
}

inline std::vector<std::byte> FakeWords(std::initializer_list<uint32_t> words) {
  std::vector<std::byte> bytes(4 * words.size());
  tcWireWriter writer(bytes);
  for (uint32_t word : words)
    writer.U32Be(word);
  return bytes;
}

// Sends READREG of address 0 from `host` until the camera at `camera` answers (a camera side
// starts on its own); false after about 4 s.
inline bool WaitForGvcpCamera(uint32_t host, uint32_t camera) {
  tcUdpSocket socket;
  if (socket.Open() != 0 || socket.Bind({host, 0}) != 0) return false;
  std::array<std::byte, 12> command{};
  tcWireWriter writer(command);
  writer.U8(0x42);
  writer.U8(0x01);
  writer.U16Be(0x0080);
  writer.U16Be(4);
  writer.U16Be(0xFFF0);
  for (int attempt = 0; attempt < 200; ++attempt) {
    socket.SendTo(command, {camera, 3956});
    tcPoll poll;
    poll.Add(socket.Fd());
    if (poll.Wait(20).count > 0) return true;
  }
  return false;
}

class tcFakeGvcpCamera {
 public:
  explicit tcFakeGvcpCamera(tsFakeCamera camera) : camera_(std::move(camera)) {}

  // The camera side's body: serves until it is killed.
  int Run() {
    tcUdpSocket socket;
    if (socket.Open() != 0 || socket.SetPacketInfo(true) != 0 || socket.Bind({0, 3956}) != 0) {
      return 1;
    }
    tcPoll poll;
    poll.Add(socket.Fd());
    std::array<std::byte, 2048> datagram;
    for (;;) {
      if (!poll.Wait(-1).Ok()) continue;
      tsSocketAddress from;
      uint32_t local = 0;
      tsIoResult got = socket.ReceiveWithDestination(datagram, &from, &local);
      if (!got.Ok() || got.count < 8) continue;
      tsFakeCommand command = Parse(std::span(datagram).first(got.count));
      Log(command);
      tfFakeDatagrams replies;
      if (!camera_.script || !camera_.script(command, local, &replies)) {
        replies.push_back(Answer(command, local));
      }
      for (const auto& reply : replies)
        if (!reply.empty()) socket.SendFrom(reply, from, local);
    }
  }

  // The 248-byte discovery record of this camera at `local` (host order).
  std::vector<std::byte> Record(uint32_t local) const {
    std::vector<std::byte> record(248);
    tcWireWriter writer(record);
    writer.U32Be(0x00020000);
    writer.U32Be(0x80000001);
    writer.U32Be(static_cast<uint32_t>(camera_.mac >> 32) & 0xFFFF);
    writer.U32Be(static_cast<uint32_t>(camera_.mac));
    writer.Zeros(0x24 - 0x10);
    writer.U32Be(local);
    writer.Zeros(0x48 - 0x28);
    writer.Text(camera_.vendor, 32);
    writer.Text(camera_.model, 32);
    writer.Text(camera_.version, 32);
    writer.Text("fake", 48);
    writer.Text(camera_.serial, 16);
    writer.Zeros(248 - 0xE8);
    return record;
  }

  std::vector<std::byte> Answer(const tsFakeCommand& command, uint32_t local) {
    switch (command.code) {
      case 0x0002:
        return FakeAck(0, 0x0003, command.id, Record(local));
      case 0x0080:
        return FakeAck(0, 0x0081, command.id, FakeWords({camera_.registers[command.address]}));
      case 0x0082:
        camera_.registers[command.address] = command.second;
        return FakeAck(0, 0x0083, command.id, FakeWords({1}));
      case 0x0084: {
        std::vector<std::byte> payload = FakeWords({command.address});
        for (uint32_t i = 0; i < (command.second & 0xFFFF); ++i)
          payload.push_back(static_cast<std::byte>(MemoryByte(command.address + i)));
        return FakeAck(0, 0x0085, command.id, payload);
      }
      case 0x0086:
        return FakeAck(0, 0x0087, command.id, FakeWords({command.length - 4u}));
      default:
        return {};
    }
  }

  // Memory: the text blocks, else the low byte of the address.
  uint8_t MemoryByte(uint32_t address) const {
    for (const auto& [start, text] : camera_.texts) {
      if (address >= start && address < start + 512) {
        size_t offset = address - start;
        return offset < text.size() ? static_cast<uint8_t>(text[offset]) : 0;
      }
    }
    return static_cast<uint8_t>(address);
  }

  // The commands a camera side logged to `path`, one per line, without their ids.
  static std::vector<std::string> Commands(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
      lines.push_back(line.substr(0, line.find(" #")));
    return lines;
  }

 private:
  static tsFakeCommand Parse(std::span<const std::byte> datagram) {
    tsFakeCommand command;
    tcWireReader reader(datagram);
    reader.U8();
    command.flags = reader.U8();
    command.code = reader.U16Be();
    command.length = reader.U16Be();
    command.id = reader.U16Be();
    tcWireReader payload(datagram.subspan(8));
    command.address = payload.U32Be();
    command.second = payload.U32Be();
    command.bytes.assign(datagram.begin(), datagram.end());
    return command;
  }

  // "code flags word word ... #id", every field in hexadecimal but the id.
  void Log(const tsFakeCommand& command) const {
    if (camera_.logPath.empty()) return;
    char field[32];
    snprintf(field, sizeof field, "0x%04x 0x%02x", command.code, command.flags);
    std::string line = field;
    tcWireReader payload(std::span(command.bytes).subspan(8));
    while (payload.Remaining() >= 4) {
      snprintf(field, sizeof field, " 0x%08x", payload.U32Be());
      line += field;
    }
    std::ofstream(camera_.logPath, std::ios::app) << line << " #" << command.id << "\n";
  }

  tsFakeCamera camera_;
};
