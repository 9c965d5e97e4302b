// Stream faults drawn from one seeded generator.
#include "tcFaultInjector.h"

#include <algorithm>

bool tcFaultInjector::Chance(double ratio) {
  // Drawn for every packet, so a seed gives the same faults whatever the ratios.
  double draw = std::uniform_real_distribution<double>(0.0, 1.0)(random_);
  return draw < ratio;
}

std::vector<tsDatagram> tcFaultInjector::Frame(std::span<const tsDatagram> packets) {
  std::vector<tsDatagram> sent;
  sent.reserve(packets.size() * 2);
  for (size_t id = 0; id < packets.size(); ++id) {
    bool marker = id == 0 || id + 1 == packets.size();
    bool lost = Chance(marker ? options_.markerLoss : options_.dataLoss);
    bool twice = Chance(options_.duplicates);
    if (lost || static_cast<int64_t>(id) == options_.dropPacketId) continue;
    sent.push_back(packets[id]);
    if (twice) sent.push_back(packets[id]);
  }
  if (options_.reorderWindow > 1) {
    for (size_t begin = 0; begin < sent.size(); begin += options_.reorderWindow) {
      size_t end = std::min<size_t>(begin + options_.reorderWindow, sent.size());
      std::shuffle(sent.begin() + begin, sent.begin() + end, random_);
    }
  }
  return sent;
}

bool tcFaultInjector::KeepResent() {
  return !Chance(options_.resentLoss);
}
