// The error table's rows, order and fallback text; the handle registry's kinds.
#include "api/ErrorTable.h"

#include <gtest/gtest.h>

#include "base/HandleRegistry.h"

using namespace GenTL;

namespace {

TEST(ErrorTable, TwentyFourRowsInGenTLOrder) {
  const GC_ERROR codes[] = {0,     -1001, -1002, -1003, -1004, -1005, -1006, -1007,
                            -1008, -1009, -1010, -1011, -1012, -1013, -1014, -1015,
                            -1016, -1017, -1018, -1019, -1020, -1021, -1022, -10000};
  ASSERT_EQ(kErrorTableRows, 24u);
  for (size_t i = 0; i < kErrorTableRows; ++i)
    EXPECT_EQ(ErrorTable[i].code, codes[i]) << i;
  EXPECT_STREQ(ErrorText(GC_ERR_BUFFER_TOO_SMALL), "Buffer was too small");
  EXPECT_STREQ(ErrorText(GC_ERR_PARSING_CHUNK_DATA), "Could not parse Chunk Data");
  EXPECT_STREQ(ErrorText(GC_ERR_BUSY), "Device was Busy");
  EXPECT_STREQ(ErrorText(GC_ERR_CUSTOM_ID), "Custom ID");
}

TEST(ErrorTable, UnknownCodeRendersAsUnknownError) {
  EXPECT_STREQ(ErrorText(-5), "Unknown Error");
  EXPECT_EQ(FindErrorRow(-5), nullptr);
}

TEST(HandleRegistry, EnterRefineFindLeave) {
  int object = 0;
  EXPECT_FALSE(HandleRegistry::Find(&object).has_value());
  HandleRegistry::Enter(&object, HandleKind::kPort);
  HandleRegistry::Enter(&object, HandleKind::kDevice);
  EXPECT_EQ(HandleRegistry::Find(&object), HandleKind::kDevice);
  HandleRegistry::Leave(&object);
  EXPECT_FALSE(HandleRegistry::Find(&object).has_value());
}

}  // namespace
