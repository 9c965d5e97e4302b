// Library-level exports as a consumer sees them: initialisation, library information, the last
// error and the result lines of the frame.
#include <cstring>
#include <string>

#include "support/Consumer.h"
#include "support/StderrCapture.h"

using namespace GenTL;

namespace {

class LibraryTest : public ConsumerTest {};

TEST_F(LibraryTest, InitTwiceIsResourceInUseLoggedAsErrorAndStaysInitialised) {
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  StderrCapture capture;
  EXPECT_EQ(Lib().GCInitLib(), GC_ERR_RESOURCE_IN_USE);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: error \[GenTL::GCInitLib\] completed with code Resource Already In Use in [0-9]+ ms)"))
      << log;
  EXPECT_EQ(LastErrorCode(), GC_ERR_RESOURCE_IN_USE);
  size_t size = 0;
  EXPECT_EQ(Lib().GCGetInfo(TL_INFO_ID, nullptr, nullptr, &size), GC_ERR_SUCCESS);
}

TEST_F(LibraryTest, SuccessLineIsDebugLevelWithShortName) {
  StderrCapture capture;
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: debug \[GenTL::GCInitLib\] completed successfully in [0-9]+ ms)"))
      << log;
}

TEST_F(LibraryTest, CloseWithoutInitIsNotInitializedAndFlagStaysClear) {
  EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_NOT_INITIALIZED);
  EXPECT_EQ(LastErrorCode(), GC_ERR_NOT_INITIALIZED);
  size_t size = 0;
  EXPECT_EQ(Lib().GCGetInfo(TL_INFO_ID, nullptr, nullptr, &size), GC_ERR_NOT_INITIALIZED);
  EXPECT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
}

TEST_F(LibraryTest, CloseAfterInitClearsTheFlag) {
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_NOT_INITIALIZED);
  EXPECT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
}

TEST_F(LibraryTest, EveryImplementedExportRefusesWorkBeforeInit) {
  char text[64];
  size_t size = sizeof text;
  INFO_DATATYPE type = 0;
  const struct {
    const char* name;
    GC_ERROR result;
  } calls[] = {
      {"GCCloseLib", Lib().GCCloseLib()},
      {"GCGetInfo", Lib().GCGetInfo(TL_INFO_ID, &type, text, &size)},
  };
  for (const auto& call : calls) {
    EXPECT_EQ(call.result, GC_ERR_NOT_INITIALIZED) << call.name;
  }
  EXPECT_EQ(LastErrorCode(), GC_ERR_NOT_INITIALIZED);
}

struct tsExpectedInfo {
  TL_INFO_CMD command;
  INFO_DATATYPE type;
  const char* text;  // null for a number
  uint32_t number;
};

TEST_F(LibraryTest, LibraryInformationTableAnswersExactly) {
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  const tsExpectedInfo expected[] = {
      {TL_INFO_ID, INFO_DATATYPE_STRING, "vantora/gentl.dll", 0},
      {TL_INFO_VENDOR, INFO_DATATYPE_STRING, "Vantora LLC", 0},
      {TL_INFO_MODEL, INFO_DATATYPE_STRING, "GenTL for U3V", 0},
      {TL_INFO_VERSION, INFO_DATATYPE_STRING, "Version 1.00.00", 0},
      {TL_INFO_TLTYPE, INFO_DATATYPE_STRING, "Mixed", 0},
      {TL_INFO_NAME, INFO_DATATYPE_STRING, "gentl.dll", 0},
      {TL_INFO_PATHNAME, INFO_DATATYPE_STRING, "gentl.dll", 0},
      {TL_INFO_DISPLAYNAME, INFO_DATATYPE_STRING, "Vantora GenTL Library", 0},
      {TL_INFO_CHAR_ENCODING, INFO_DATATYPE_INT32, nullptr, 0},
      {TL_INFO_GENTL_VER_MAJOR, INFO_DATATYPE_UINT32, nullptr, 1},
      {TL_INFO_GENTL_VER_MINOR, INFO_DATATYPE_UINT32, nullptr, 5},
  };
  for (const tsExpectedInfo& e : expected) {
    char value[2048];
    memset(value, 0x55, sizeof value);
    size_t size = sizeof value;
    INFO_DATATYPE type = -1;
    ASSERT_EQ(Lib().GCGetInfo(e.command, &type, value, &size), GC_ERR_SUCCESS) << e.command;
    EXPECT_EQ(type, e.type) << e.command;
    if (e.text != nullptr) {
      EXPECT_EQ(size, strlen(e.text) + 1) << e.command;
      EXPECT_STREQ(value, e.text);
    } else {
      uint32_t number;
      memcpy(&number, value, 4);
      EXPECT_EQ(size, 4u) << e.command;
      EXPECT_EQ(number, e.number) << e.command;
      EXPECT_EQ(static_cast<unsigned char>(value[4]), 0x55) << "wrote past the value";
    }
  }
}

TEST_F(LibraryTest, InfoSizeQueryReturnsTextLengthPlusOne) {
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  size_t size = 0;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().GCGetInfo(TL_INFO_ID, &type, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, strlen("vantora/gentl.dll") + 1);
  EXPECT_EQ(type, INFO_DATATYPE_STRING);
}

TEST_F(LibraryTest, InfoUnknownCommandsAreNotImplementedWithWarning) {
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  for (int command : {11, 1000, -1}) {
    StderrCapture capture;
    size_t size = 64;
    char value[64];
    INFO_DATATYPE type = 77;
    EXPECT_EQ(Lib().GCGetInfo(command, &type, value, &size), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(type, 77);
    std::string log = capture.Text();
    EXPECT_TRUE(HasLogLine(log, "gentl: warning \\[GenTL::GCGetInfo\\] iInfoCmd = " +
                                    std::to_string(command) + " \\(Request Not Implemented\\)"))
        << log;
    EXPECT_TRUE(HasLogLine(
        log,
        R"(gentl: error \[GenTL::GCGetInfo\] completed with code Function not implemented in [0-9]+ ms)"))
        << log;
  }
}

TEST_F(LibraryTest, InfoTooSmallLeavesSizeAndNullSizeIsInvalidParameter) {
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  char value[4] = "abc";
  size_t size = sizeof value;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().GCGetInfo(TL_INFO_VENDOR, &type, value, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  EXPECT_STREQ(value, "abc");
  EXPECT_EQ(Lib().GCGetInfo(TL_INFO_VENDOR, &type, value, nullptr), GC_ERR_INVALID_PARAMETER);
  size = 4;
  EXPECT_EQ(Lib().GCGetInfo(TL_INFO_CHAR_ENCODING, nullptr, value, &size), GC_ERR_SUCCESS);
}

TEST_F(LibraryTest, LastErrorSizeZeroWithNullBufferReportsNeededSize) {
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().GCInitLib(), GC_ERR_RESOURCE_IN_USE);
  GC_ERROR code = 0;
  size_t size = 0;
  EXPECT_EQ(Lib().GCGetLastError(&code, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(code, GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(size, strlen("Resource Already In Use") + 1);
}

TEST_F(LibraryTest, LastErrorSizeThreeWithNullBufferIsTooSmall) {
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  GC_ERROR code = -1;
  size_t size = 3;
  EXPECT_EQ(Lib().GCGetLastError(&code, nullptr, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(code, GC_ERR_SUCCESS);
  EXPECT_EQ(size, strlen("No Error") + 1);
}

TEST_F(LibraryTest, LastErrorCopiesTextAndLeavesLastErrorAlone) {
  EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_NOT_INITIALIZED);
  char text[64];
  GC_ERROR code = 0;
  size_t size = sizeof text;
  EXPECT_EQ(Lib().GCGetLastError(&code, text, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(code, GC_ERR_NOT_INITIALIZED);
  EXPECT_STREQ(text, "System not Initialized");
  EXPECT_EQ(size, strlen("System not Initialized") + 1);
  size = strlen("System not Initialized");
  EXPECT_EQ(Lib().GCGetLastError(&code, text, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, strlen("System not Initialized") + 1);
  size = 0;
  EXPECT_EQ(Lib().GCGetLastError(&code, text, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, strlen("System not Initialized") + 1);
  EXPECT_EQ(LastErrorCode(), GC_ERR_NOT_INITIALIZED);
}

TEST_F(LibraryTest, LastErrorNullPointersAreInvalidParameter) {
  GC_ERROR code = 0;
  size_t size = 0;
  EXPECT_EQ(Lib().GCGetLastError(nullptr, nullptr, &size), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Lib().GCGetLastError(&code, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(LibraryTest, LastErrorWorksWithoutInit) {
  GC_ERROR code = 5;
  size_t size = 0;
  EXPECT_EQ(Lib().GCGetLastError(&code, nullptr, &size), GC_ERR_SUCCESS);
}

}  // namespace
