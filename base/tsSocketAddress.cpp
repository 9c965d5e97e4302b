// An IPv4 address and UDP port in host order.
#include "base/tsSocketAddress.h"

#include <arpa/inet.h>

std::string tsSocketAddress::Text(uint32_t address) {
  in_addr in{htonl(address)};
  char text[INET_ADDRSTRLEN] = {};
  inet_ntop(AF_INET, &in, text, sizeof text);
  return text;
}
