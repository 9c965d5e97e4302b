// Library-level exports as a consumer sees them: initialisation, library information, the last
// error and the result lines of the frame.
#include <cstring>
#include <functional>
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

TEST_F(LibraryTest, EveryExportButThreeRefusesWorkBeforeInitAndRecordsIt) {
  GenTLLibrary& l = Lib();
  char text[64];
  size_t size = sizeof text;
  INFO_DATATYPE type = 0;
  uint32_t count = 0;
  bool8_t changed = false;
  void* handle = &count;  // any non-null handle: the initialised check comes first
  void* out = nullptr;
  uint64_t address = 0;
  PORT_REGISTER_STACK_ENTRY entry = {0, text, 4};
  const std::pair<const char*, std::function<GC_ERROR()>> calls[] = {
      {"GCCloseLib", [&] { return l.GCCloseLib(); }},
      {"GCGetInfo", [&] { return l.GCGetInfo(TL_INFO_ID, &type, text, &size); }},
      {"GCGetPortURL", [&] { return l.GCGetPortURL(handle, text, &size); }},
      {"GCGetNumPortURLs", [&] { return l.GCGetNumPortURLs(handle, &count); }},
      {"GCGetPortURLInfo", [&] { return l.GCGetPortURLInfo(handle, 0, 0, &type, text, &size); }},
      {"GCGetPortInfo", [&] { return l.GCGetPortInfo(handle, 0, &type, text, &size); }},
      {"GCReadPort", [&] { return l.GCReadPort(handle, address, text, &size); }},
      {"GCWritePort", [&] { return l.GCWritePort(handle, address, text, &size); }},
      {"GCReadPortStacked", [&] { return l.GCReadPortStacked(handle, &entry, &size); }},
      {"GCWritePortStacked", [&] { return l.GCWritePortStacked(handle, &entry, &size); }},
      {"GCRegisterEvent", [&] { return l.GCRegisterEvent(handle, EVENT_NEW_BUFFER, &out); }},
      {"GCUnregisterEvent", [&] { return l.GCUnregisterEvent(handle, EVENT_NEW_BUFFER); }},
      {"EventGetData", [&] { return l.EventGetData(handle, text, &size, 0); }},
      {"EventGetDataInfo",
       [&] { return l.EventGetDataInfo(handle, text, 16, 0, &type, text, &size); }},
      {"EventGetInfo", [&] { return l.EventGetInfo(handle, 0, &type, text, &size); }},
      {"EventFlush", [&] { return l.EventFlush(handle); }},
      {"EventKill", [&] { return l.EventKill(handle); }},
      {"TLOpen", [&] { return l.TLOpen(&out); }},
      {"TLClose", [&] { return l.TLClose(handle); }},
      {"TLGetInfo", [&] { return l.TLGetInfo(handle, 0, &type, text, &size); }},
      {"TLGetNumInterfaces", [&] { return l.TLGetNumInterfaces(handle, &count); }},
      {"TLGetInterfaceID", [&] { return l.TLGetInterfaceID(handle, 0, text, &size); }},
      {"TLGetInterfaceInfo",
       [&] { return l.TLGetInterfaceInfo(handle, "GEV", 0, &type, text, &size); }},
      {"TLOpenInterface", [&] { return l.TLOpenInterface(handle, "GEV", &out); }},
      {"TLUpdateInterfaceList", [&] { return l.TLUpdateInterfaceList(handle, &changed, 0); }},
      {"IFClose", [&] { return l.IFClose(handle); }},
      {"IFGetInfo", [&] { return l.IFGetInfo(handle, 0, &type, text, &size); }},
      {"IFGetNumDevices", [&] { return l.IFGetNumDevices(handle, &count); }},
      {"IFGetDeviceID", [&] { return l.IFGetDeviceID(handle, 0, text, &size); }},
      {"IFUpdateDeviceList", [&] { return l.IFUpdateDeviceList(handle, &changed, 0); }},
      {"IFGetDeviceInfo", [&] { return l.IFGetDeviceInfo(handle, "X", 0, &type, text, &size); }},
      {"IFOpenDevice", [&] { return l.IFOpenDevice(handle, "X", 4, &out); }},
      {"IFGetParentTL", [&] { return l.IFGetParentTL(handle, &out); }},
      {"DevGetPort", [&] { return l.DevGetPort(handle, &out); }},
      {"DevGetNumDataStreams", [&] { return l.DevGetNumDataStreams(handle, &count); }},
      {"DevGetDataStreamID", [&] { return l.DevGetDataStreamID(handle, 0, text, &size); }},
      {"DevOpenDataStream", [&] { return l.DevOpenDataStream(handle, "S", &out); }},
      {"DevGetInfo", [&] { return l.DevGetInfo(handle, 0, &type, text, &size); }},
      {"DevClose", [&] { return l.DevClose(handle); }},
      {"DevGetParentIF", [&] { return l.DevGetParentIF(handle, &out); }},
      {"DSAnnounceBuffer", [&] { return l.DSAnnounceBuffer(handle, text, 4, nullptr, &out); }},
      {"DSAllocAndAnnounceBuffer",
       [&] { return l.DSAllocAndAnnounceBuffer(handle, 4, nullptr, &out); }},
      {"DSFlushQueue", [&] { return l.DSFlushQueue(handle, 0); }},
      {"DSStartAcquisition", [&] { return l.DSStartAcquisition(handle, 0, 1); }},
      {"DSStopAcquisition", [&] { return l.DSStopAcquisition(handle, 0); }},
      {"DSGetInfo", [&] { return l.DSGetInfo(handle, 0, &type, text, &size); }},
      {"DSGetBufferID", [&] { return l.DSGetBufferID(handle, 0, &out); }},
      {"DSClose", [&] { return l.DSClose(handle); }},
      {"DSRevokeBuffer", [&] { return l.DSRevokeBuffer(handle, handle, &out, &out); }},
      {"DSQueueBuffer", [&] { return l.DSQueueBuffer(handle, handle); }},
      {"DSGetBufferInfo", [&] { return l.DSGetBufferInfo(handle, handle, 0, &type, text, &size); }},
      {"DSGetParentDev", [&] { return l.DSGetParentDev(handle, &out); }},
      {"DSGetBufferChunkData",
       [&] { return l.DSGetBufferChunkData(handle, handle, nullptr, &size); }},
  };
  for (const auto& [name, call] : calls) {
    EXPECT_EQ(call(), GC_ERR_NOT_INITIALIZED) << name;
    l.GCInitLib();
    l.GCCloseLib();  // LastError is now GC_ERR_SUCCESS
    EXPECT_EQ(call(), GC_ERR_NOT_INITIALIZED) << name;
    // GCReadPort deliberately leaves the last error as it was.
    GC_ERROR recorded = strcmp(name, "GCReadPort") == 0 ? GC_ERR_SUCCESS : GC_ERR_NOT_INITIALIZED;
    EXPECT_EQ(LastErrorCode(), recorded) << name;
  }
  EXPECT_EQ(std::size(calls), 53u);  // 57 exports less GCInitLib, GCGetLastError and the two below
  EXPECT_EQ(l.DSGetNumBufferParts(handle, handle, &count), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(LastErrorCode(), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(l.DSGetBufferPartInfo(handle, handle, 0, 0, &type, text, &size),
            GC_ERR_NOT_IMPLEMENTED);
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
