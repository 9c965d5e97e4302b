// The host's IPv4 adapters through getifaddrs, typed through interface ioctls.
#include "base/tcAdapterList.h"

#include <arpa/inet.h>
#include <errno.h>
#include <ifaddrs.h>
// linux/wireless.h brings linux/if.h (ifreq, IFF_*), which cannot be mixed with net/if.h.
#include <linux/wireless.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

#include "base/tcFileDescriptor.h"

namespace {

// ARPHRD_IP6GRE, missing from the C library's net/if_arp.h.
constexpr int kArpIp6Gre = 823;

uint32_t AddressOf(const sockaddr* address) {
  if (!address || address->sa_family != AF_INET) return 0;
  sockaddr_in in;
  std::memcpy(&in, address, sizeof in);
  return ntohl(in.sin_addr.s_addr);
}

bool IsTunnel(int hardwareType) {
  switch (hardwareType) {
    case ARPHRD_TUNNEL:
    case ARPHRD_TUNNEL6:
    case ARPHRD_SIT:
    case ARPHRD_IPGRE:
    case kArpIp6Gre:
    case ARPHRD_NONE:  // tun devices and similar layer-3 links
      return true;
    default:
      return false;
  }
}

// Asked through ioctls rather than /sys, which shows the namespace sysfs was mounted in.
int TypeOf(int probe, const char* name, unsigned flags) {
  if (flags & IFF_LOOPBACK) return tsAdapter::kLoopback;
  if (probe < 0) return tsAdapter::kEthernet;
  iwreq wireless{};
  std::strncpy(wireless.ifr_ifrn.ifrn_name, name, IFNAMSIZ - 1);
  if (ioctl(probe, SIOCGIWNAME, &wireless) == 0) return tsAdapter::kWireless;
  ifreq request{};
  std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
  if (ioctl(probe, SIOCGIFHWADDR, &request) == 0 && IsTunnel(request.ifr_hwaddr.sa_family)) {
    return tsAdapter::kTunnel;
  }
  return tsAdapter::kEthernet;
}

}  // namespace

int tcAdapterList::Load() {
  adapters_.clear();
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) < 0) return errno;
  tcFileDescriptor probe(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  for (ifaddrs* entry = list; entry; entry = entry->ifa_next) {
    if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET) continue;
    auto sameName = [entry](const tsAdapter& a) { return a.name == entry->ifa_name; };
    if (std::any_of(adapters_.begin(), adapters_.end(), sameName)) continue;
    tsAdapter adapter;
    adapter.name = entry->ifa_name;
    adapter.address = AddressOf(entry->ifa_addr);
    adapter.mask = AddressOf(entry->ifa_netmask);
    adapter.up = entry->ifa_flags & IFF_UP;
    adapter.type = TypeOf(probe.Get(), entry->ifa_name, entry->ifa_flags);
    adapters_.push_back(adapter);
  }
  freeifaddrs(list);
  return 0;
}

std::vector<tsAdapter> tcAdapterList::Usable() const {
  std::vector<tsAdapter> usable;
  std::copy_if(adapters_.begin(), adapters_.end(), std::back_inserter(usable),
               [](const tsAdapter& a) { return a.Usable(); });
  return usable;
}
