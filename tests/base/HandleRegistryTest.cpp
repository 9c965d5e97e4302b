// The handle registry: kinds, pins, and an owner that waits for the calls still running on an
// object before it goes.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "base/HandleRegistry.h"
#include "base/tcHandlePin.h"

namespace {

TEST(HandleRegistry, APinCarriesTheKindAndAnUnknownObjectGivesAnEmptyPin) {
  int object = 0;
  HandleRegistry::Enter(&object, HandleKind::kDevice);
  tcHandlePin pin = HandleRegistry::Pin(&object);
  EXPECT_TRUE(pin.Is(HandleKind::kDevice));
  EXPECT_FALSE(pin.Is(HandleKind::kDataStream));
  pin = tcHandlePin();
  HandleRegistry::Leave(&object);
  EXPECT_FALSE(HandleRegistry::Pin(&object).Kind().has_value());
  EXPECT_FALSE(HandleRegistry::Pin(nullptr).Kind().has_value());
}

TEST(HandleRegistry, LeaveWaitsForAPinOfAnotherThreadAndRefusesNewPinsMeanwhile) {
  int object = 0;
  HandleRegistry::Enter(&object, HandleKind::kDataStream);
  std::atomic<bool> pinned{false}, release{false}, left{false};
  std::thread caller([&] {
    tcHandlePin pin = HandleRegistry::Pin(&object);
    pinned.store(true);
    while (!release.load())
      std::this_thread::yield();
    EXPECT_FALSE(left.load());  // the owner is still waiting for this pin
  });
  while (!pinned.load())
    std::this_thread::yield();
  std::thread owner([&] {
    HandleRegistry::Leave(&object);
    left.store(true);
  });
  // Once the owner has started leaving, lookups fail although the object still exists.
  while (HandleRegistry::Find(&object).has_value())
    std::this_thread::yield();
  EXPECT_FALSE(HandleRegistry::Pin(&object).Kind().has_value());
  release.store(true);
  caller.join();
  owner.join();
  EXPECT_TRUE(left.load());
}

TEST(HandleRegistry, AnOwnerInsideACallOnTheObjectDoesNotWaitForItself) {
  int object = 0;
  HandleRegistry::Enter(&object, HandleKind::kSystem);
  tcHandlePin pin = HandleRegistry::Pin(&object);
  HandleRegistry::Leave(&object);
  EXPECT_FALSE(HandleRegistry::Find(&object).has_value());
}

}  // namespace
