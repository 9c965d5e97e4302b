// tcAdapterList inside private namespaces: loopback skipped, veth and tun typed, mask and state.
#include "base/tcAdapterList.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/tsSocketAddress.h"
#include "support/PrivateNetwork.h"

namespace {

const tsAdapter* Find(const std::vector<tsAdapter>& adapters, const std::string& name) {
  auto it = std::find_if(adapters.begin(), adapters.end(),
                         [&](const tsAdapter& a) { return a.name == name; });
  return it == adapters.end() ? nullptr : &*it;
}

TEST(tcAdapterList, OnlyLoopbackMeansNothingUsable) {
  ENTER_PRIVATE_NETWORK_OR_SKIP();
  tcAdapterList list;
  ASSERT_EQ(list.Load(), 0);
  ASSERT_EQ(list.All().size(), 1u);
  const tsAdapter& lo = list.All()[0];
  EXPECT_EQ(lo.name, "lo");
  EXPECT_EQ(lo.type, 24);
  EXPECT_EQ(tsSocketAddress::Text(lo.address), "127.0.0.1");
  EXPECT_EQ(tsSocketAddress::Text(lo.mask), "255.0.0.0");
  EXPECT_TRUE(lo.up);
  EXPECT_FALSE(lo.Usable());
  EXPECT_TRUE(list.Usable().empty());
}

TEST(tcAdapterList, VethWithAnAddressIsEthernetAndUsable) {
  ENTER_PRIVATE_NETWORK_OR_SKIP();
  if (!RunIp("link add pio0 type veth peer name pio1")) GTEST_SKIP() << "no veth support";
  ASSERT_TRUE(RunIp("addr add 10.201.7.1/30 dev pio0"));
  ASSERT_TRUE(RunIp("addr add 10.201.7.9/30 dev pio0"));
  ASSERT_TRUE(RunIp("link set pio0 up"));
  tcAdapterList list;
  ASSERT_EQ(list.Load(), 0);
  // pio1 has no address and is not listed.
  ASSERT_EQ(list.All().size(), 2u);
  EXPECT_EQ(Find(list.All(), "pio1"), nullptr);
  std::vector<tsAdapter> usable = list.Usable();
  ASSERT_EQ(usable.size(), 1u);
  EXPECT_EQ(usable[0].name, "pio0");
  EXPECT_EQ(usable[0].type, 6);
  // Only the first address of an interface is kept.
  EXPECT_EQ(tsSocketAddress::Text(usable[0].address), "10.201.7.1");
  EXPECT_EQ(tsSocketAddress::Text(usable[0].mask), "255.255.255.252");
  EXPECT_TRUE(usable[0].up);
}

TEST(tcAdapterList, AnInterfaceThatIsDownIsListedButNotUsable) {
  ENTER_PRIVATE_NETWORK_OR_SKIP();
  if (!RunIp("link add pio2 type veth peer name pio3")) GTEST_SKIP() << "no veth support";
  ASSERT_TRUE(RunIp("addr add 10.201.8.2/24 dev pio3"));
  tcAdapterList list;
  ASSERT_EQ(list.Load(), 0);
  const tsAdapter* down = Find(list.All(), "pio3");
  ASSERT_NE(down, nullptr);
  EXPECT_FALSE(down->up);
  EXPECT_EQ(down->type, 6);
  EXPECT_EQ(tsSocketAddress::Text(down->address), "10.201.8.2");
  EXPECT_EQ(tsSocketAddress::Text(down->mask), "255.255.255.0");
  EXPECT_FALSE(down->Usable());
  EXPECT_TRUE(list.Usable().empty());
}

TEST(tcAdapterList, TunDeviceIsATunnel) {
  ENTER_PRIVATE_NETWORK_OR_SKIP();
  if (!RunIp("tuntap add pio4 mode tun")) GTEST_SKIP() << "no tun support (/dev/net/tun)";
  ASSERT_TRUE(RunIp("addr add 10.201.9.1/30 dev pio4"));
  ASSERT_TRUE(RunIp("link set pio4 up"));
  tcAdapterList list;
  ASSERT_EQ(list.Load(), 0);
  const tsAdapter* tunnel = Find(list.All(), "pio4");
  ASSERT_NE(tunnel, nullptr);
  EXPECT_EQ(tunnel->type, 131);
  EXPECT_TRUE(tunnel->Usable());
}

TEST(tcAdapterList, LoadReplacesThePreviousList) {
  ENTER_PRIVATE_NETWORK_OR_SKIP();
  tcAdapterList list;
  ASSERT_EQ(list.Load(), 0);
  ASSERT_EQ(list.Load(), 0);
  EXPECT_EQ(list.All().size(), 1u);
}

}  // namespace
