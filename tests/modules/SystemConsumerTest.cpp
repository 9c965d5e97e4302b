// The System module as a consumer sees it: TL-family calls, the interface list, the system
// port's registers, URL, description and port information.
#include <pugixml.hpp>

#include "support/StderrCapture.h"
#include "support/SystemConsumer.h"

using namespace GenTL;

namespace {

class SystemTest : public SystemConsumerTest {};

TEST_F(SystemTest, OpenTwiceIsResourceInUseAndFirstHandleStaysValid) {
  void* second = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(Lib().TLOpen(&second), GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(second, reinterpret_cast<void*>(0x1));
  uint32_t count = 7;
  EXPECT_EQ(Lib().TLGetNumInterfaces(system_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
}

TEST_F(SystemTest, CloseWithNullIsInvalidHandle) {
  EXPECT_EQ(Lib().TLClose(nullptr), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(LastErrorCode(), GC_ERR_INVALID_HANDLE);
  int other = 0;
  EXPECT_EQ(Lib().TLClose(&other), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().TLClose(system_), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().TLClose(system_), GC_ERR_INVALID_HANDLE);
  void* again = nullptr;
  EXPECT_EQ(Lib().TLOpen(&again), GC_ERR_SUCCESS);
  EXPECT_NE(again, nullptr);
}

TEST_F(SystemTest, NullHandleAnswersDifferPerFamily) {
  INFO_DATATYPE type = 0;
  size_t size = 0;
  EXPECT_EQ(Lib().IFGetInfo(nullptr, INTERFACE_INFO_ID, &type, nullptr, &size),
            GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Lib().DevGetInfo(nullptr, DEVICE_INFO_ID, &type, nullptr, &size),
            GC_ERR_INVALID_HANDLE);
  void* parent = nullptr;
  EXPECT_EQ(Lib().IFGetParentTL(nullptr, &parent), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().DevGetParentIF(nullptr, &parent), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().DevGetPort(nullptr, &parent), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().DSGetInfo(nullptr, STREAM_INFO_ID, &type, nullptr, &size), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().EventKill(nullptr), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().GCRegisterEvent(nullptr, EVENT_NEW_BUFFER, &parent), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().GCUnregisterEvent(system_, EVENT_NEW_BUFFER), GC_ERR_INVALID_HANDLE);
}

TEST_F(SystemTest, TLCallsRefuseAnyHandleButTheSystem) {
  int other = 0;
  uint32_t count = 0;
  EXPECT_EQ(Lib().TLGetNumInterfaces(&other, &count), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().TLUpdateInterfaceList(nullptr, nullptr, 0), GC_ERR_INVALID_HANDLE);
  size_t size = 0;
  EXPECT_EQ(Lib().TLGetInfo(&other, TL_INFO_ID, nullptr, nullptr, &size), GC_ERR_INVALID_HANDLE);
}

TEST_F(SystemTest, ReadPortOnAnAddressThatWasNeverAModuleIsInvalidHandle) {
  int notAModule = 0;
  char buffer[4];
  size_t size = sizeof buffer;
  EXPECT_EQ(Lib().GCReadPort(&notAModule, 0, buffer, &size), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().GCWritePort(&notAModule, 0, buffer, &size), GC_ERR_INVALID_HANDLE);
  uint32_t urls = 0;
  EXPECT_EQ(Lib().GCGetNumPortURLs(&notAModule, &urls), GC_ERR_INVALID_HANDLE);
}

TEST_F(SystemTest, FailingReadPortLeavesThePreviousLastError) {
  uint32_t count = 0;
  EXPECT_EQ(Lib().TLGetNumInterfaces(system_, nullptr), GC_ERR_INVALID_PARAMETER);
  char buffer[4];
  size_t size = sizeof buffer;
  StderrCapture capture;
  EXPECT_EQ(Lib().GCReadPort(system_, 0x12345, buffer, &size), GC_ERR_ACCESS_DENIED);
  std::string log = capture.Text();
  EXPECT_EQ(LastErrorCode(), GC_ERR_INVALID_PARAMETER);
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: error \[GenTL::GCReadPort\] \[0x12345, 0x4\] completed with code Access was denied in [0-9]+ ms)"))
      << log;
  EXPECT_EQ(Lib().TLGetNumInterfaces(system_, &count), GC_ERR_SUCCESS);
}

TEST_F(SystemTest, WritePortRecordsLastErrorAndLogsRegisterAccess) {
  StderrCapture capture;
  EXPECT_EQ(WriteU32(system_, 0x10900, 1), GC_ERR_ACCESS_DENIED);
  std::string log = capture.Text();
  EXPECT_EQ(LastErrorCode(), GC_ERR_ACCESS_DENIED);
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: error \[GenTL::GCWritePort\] \[0x10900, 0x4\] completed with code Access was denied in [0-9]+ ms)"))
      << log;
}

TEST_F(SystemTest, InterfaceCountBeforeAndAfterUpdate) {
  uint32_t count = 9;
  EXPECT_EQ(Lib().TLGetNumInterfaces(system_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
  bool8_t changed = false;
  EXPECT_EQ(Lib().TLUpdateInterfaceList(system_, &changed, 1000), GC_ERR_SUCCESS);
  EXPECT_TRUE(changed);
  EXPECT_EQ(Lib().TLGetNumInterfaces(system_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(Lib().TLUpdateInterfaceList(system_, &changed, 0), GC_ERR_SUCCESS);
  EXPECT_FALSE(changed);
  EXPECT_EQ(Lib().TLUpdateInterfaceList(system_, nullptr, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().TLGetNumInterfaces(system_, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(SystemTest, InterfaceIdsInOrderAndIndexThreeIsInvalidParameter) {
  UpdateInterfaces();
  const char* ids[] = {"Simulated", "GEV", "U3V"};
  for (uint32_t i = 0; i < 3; ++i) {
    char id[32];
    size_t size = sizeof id;
    EXPECT_EQ(Lib().TLGetInterfaceID(system_, i, id, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(id, ids[i]);
    EXPECT_EQ(size, strlen(ids[i]) + 1);
  }
  char id[32];
  size_t size = sizeof id;
  EXPECT_EQ(Lib().TLGetInterfaceID(system_, 3, id, &size), GC_ERR_INVALID_PARAMETER);
}

TEST_F(SystemTest, InterfaceIdSizeRules) {
  UpdateInterfaces();
  size_t size = 0;
  EXPECT_EQ(Lib().TLGetInterfaceID(system_, 0, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, strlen("Simulated") + 1);
  char id[4];
  size = sizeof id;
  EXPECT_EQ(Lib().TLGetInterfaceID(system_, 0, id, &size), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Lib().TLGetInterfaceID(system_, 0, id, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(SystemTest, OpenInterfaceMatchIsCaseSensitive) {
  void* handle = nullptr;
  EXPECT_EQ(Lib().TLOpenInterface(system_, "GEV", &handle), GC_ERR_INVALID_ID);
  UpdateInterfaces();
  EXPECT_EQ(Lib().TLOpenInterface(system_, "simulated", &handle), GC_ERR_INVALID_ID);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(Lib().TLOpenInterface(system_, nullptr, &handle), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Lib().TLOpenInterface(system_, "GEV", nullptr), GC_ERR_INVALID_PARAMETER);
  void* first = OpenInterface("Simulated");
  void* second = OpenInterface("Simulated");
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(first, second);
}

TEST_F(SystemTest, InterfaceInfoThroughTheSystem) {
  char text[32];
  size_t size = sizeof text;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().TLGetInterfaceInfo(system_, "U3V", INTERFACE_INFO_ID, &type, text, &size),
            GC_ERR_INVALID_ID);
  UpdateInterfaces();
  EXPECT_EQ(Lib().TLGetInterfaceInfo(system_, "U3V", INTERFACE_INFO_TLTYPE, &type, text, &size),
            GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "U3V");
  EXPECT_EQ(type, INFO_DATATYPE_STRING);
  EXPECT_EQ(Lib().TLGetInterfaceInfo(system_, "u3v", INTERFACE_INFO_ID, &type, text, &size),
            GC_ERR_INVALID_ID);
  EXPECT_EQ(Lib().TLGetInterfaceInfo(system_, nullptr, INTERFACE_INFO_ID, &type, text, &size),
            GC_ERR_INVALID_PARAMETER);
}

TEST_F(SystemTest, SelectorRegisterSelectsTheInterfaceIdRegisters) {
  UpdateInterfaces();
  EXPECT_EQ(WriteU32(system_, 0x10810, 2), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(system_, 0x10810), 2u);
  EXPECT_EQ(ReadText(system_, 0x10820), "U3V");
  EXPECT_EQ(ReadText(system_, 0x10818), "U3V");
  EXPECT_EQ(WriteU32(system_, 0x10810, 3), GC_ERR_INVALID_INDEX);
  EXPECT_EQ(ReadU32(system_, 0x10810), 2u);
  EXPECT_EQ(WriteU32(system_, 0x10810, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadText(system_, 0x10818), "GEV");
}

TEST_F(SystemTest, InterfaceIdRegisterBeforeUpdateIsInvalidIndexAndTooSmallIsRefused) {
  EXPECT_EQ(ReadText(system_, 0x10818, GC_ERR_INVALID_INDEX), "");
  UpdateInterfaces();
  char text[9];
  size_t size = sizeof text;
  EXPECT_EQ(Lib().GCReadPort(system_, 0x10818, text, &size), GC_ERR_BUFFER_TOO_SMALL);
}

TEST_F(SystemTest, ShortReadOfTimeoutRegisterSucceedsWithoutWriting) {
  EXPECT_EQ(WriteU32(system_, 0x10808, 0x12345678), GC_ERR_SUCCESS);
  uint8_t buffer[4] = {0xAA, 0xBB, 0xCC, 0xDD};
  size_t size = 2;
  EXPECT_EQ(Lib().GCReadPort(system_, 0x10808, buffer, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 2u);
  EXPECT_EQ(buffer[0], 0xAA);
  EXPECT_EQ(buffer[1], 0xBB);
  EXPECT_EQ(ReadU32(system_, 0x10808), 0x12345678u);
  uint16_t small = 1;
  size = 2;
  EXPECT_EQ(Lib().GCWritePort(system_, 0x10808, &small, &size), GC_ERR_BUFFER_TOO_SMALL);
}

TEST_F(SystemTest, WritingUpdateListRegisterCreatesTheInterfaces) {
  EXPECT_EQ(WriteU32(system_, 0x10800, 0), GC_ERR_SUCCESS);
  uint32_t count = 0;
  EXPECT_EQ(Lib().TLGetNumInterfaces(system_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(ReadU32(system_, 0x10800, GC_ERR_ACCESS_DENIED), 0u);
}

TEST_F(SystemTest, UrlLengthFieldIsTheDescriptionLengthAndReadingItYieldsTheWholeText) {
  std::string url = Url(system_);
  ASSERT_EQ(url.rfind("local:///vantora_systemgentl.xml;0;", 0), 0u) << url;
  std::string text = Description(system_);
  EXPECT_EQ(text.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", 0), 0u);
  EXPECT_EQ(text.find('\0'), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 23), "</RegisterDescription>\n");
  char after = 'x';
  size_t size = 1;
  EXPECT_EQ(Lib().GCReadPort(system_, text.size(), &after, &size), GC_ERR_ACCESS_DENIED);
  EXPECT_LT(text.size(), 0x10800u);
}

TEST_F(SystemTest, UrlRequestedTwiceGivesTheSameLengthAndBuildsOnce) {
  StderrCapture first;
  std::string url = Url(system_);
  std::string firstLog = first.Text();
  StderrCapture second;
  EXPECT_EQ(Url(system_), url);
  std::string secondLog = second.Text();
  EXPECT_TRUE(HasLogLine(
      firstLog, R"(gentl: debug \[GenTL::GCGetInfo\] completed successfully in [0-9]+ ms)"));
  EXPECT_FALSE(HasLogLine(
      secondLog, R"(gentl: debug \[GenTL::GCGetInfo\] completed successfully in [0-9]+ ms)"));
  EXPECT_TRUE(HasLogLine(secondLog, "gentl: debug \\[tcSystem::GetPortURLInfo\\] URL = " + url));
  EXPECT_EQ(LastErrorCode(), GC_ERR_SUCCESS);
}

TEST_F(SystemTest, DescriptionHasTLTypeFiveAndGenTLVersionOnePointFive) {
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(Description(system_).c_str()));
  pugi::xml_node root = doc.child("RegisterDescription");
  EXPECT_STREQ(root.attribute("xmlns").value(), "http://www.genicam.org/GenApi/Version_1_1");
  EXPECT_STREQ(root.attribute("ModelName").value(), "SFNC_Camera");
  EXPECT_STREQ(root.attribute("VendorName").value(), "Vantora_LLC");
  auto feature = [&](const char* element, const char* name) {
    return doc.select_node(("//" + std::string(element) + "[@Name='" + name + "']").c_str()).node();
  };
  EXPECT_STREQ(feature("Enumeration", "TLType").child_value("Value"), "5");
  EXPECT_STREQ(feature("Integer", "GenTLVersionMajor").child_value("Value"), "1");
  EXPECT_STREQ(feature("Integer", "GenTLVersionMinor").child_value("Value"), "5");
  EXPECT_STREQ(feature("String", "TLVendorName").child_value("Value"), "Vantora LLC");
  EXPECT_STREQ(feature("Port", "TLPort").child_value("Visibility"), "Invisible");
  EXPECT_STREQ(root.first_child().attribute("Comment").value(), "RootCategory");
  EXPECT_NE(std::string(Description(system_)).find("\n\t<Group"), std::string::npos);
}

TEST_F(SystemTest, PortUrlInfoCommands) {
  INFO_DATATYPE type = -1;
  size_t size = 0;
  EXPECT_EQ(Lib().GCGetPortURLInfo(system_, 1, URL_INFO_URL, nullptr, nullptr, nullptr),
            GC_ERR_INVALID_INDEX);
  EXPECT_EQ(Lib().GCGetPortURLInfo(system_, 0, URL_INFO_URL, nullptr, nullptr, &size),
            GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Lib().GCGetPortURLInfo(system_, 0, 11, &type, nullptr, &size), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, -1);
  const std::pair<int, INFO_DATATYPE> types[] = {
      {1, INFO_DATATYPE_INT32},  {2, INFO_DATATYPE_INT32},  {3, INFO_DATATYPE_INT32},
      {4, INFO_DATATYPE_INT32},  {5, INFO_DATATYPE_INT32},  {6, INFO_DATATYPE_BUFFER},
      {7, INFO_DATATYPE_UINT64}, {8, INFO_DATATYPE_UINT64}, {9, INFO_DATATYPE_INT32},
      {10, INFO_DATATYPE_STRING}};
  for (auto [command, expected] : types) {
    EXPECT_EQ(Lib().GCGetPortURLInfo(system_, 0, command, &type, nullptr, &size),
              GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(type, expected) << command;
  }
  std::string url = Url(system_);
  EXPECT_EQ(Lib().GCGetPortURLInfo(system_, 0, URL_INFO_URL, &type, nullptr, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(size, url.size() + 1);
  char small[8];
  size = sizeof small;
  EXPECT_EQ(Lib().GCGetPortURLInfo(system_, 0, URL_INFO_URL, &type, small, &size),
            GC_ERR_BUFFER_TOO_SMALL);
  uint32_t count = 0;
  EXPECT_EQ(Lib().GCGetNumPortURLs(system_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(Lib().GCGetNumPortURLs(system_, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(SystemTest, NumPortUrlsLogsEntryAndResult) {
  uint32_t count = 0;
  StderrCapture capture;
  EXPECT_EQ(Lib().GCGetNumPortURLs(system_, &count), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: debug \[GenTL::GCGetNumPortURLs\] hPort = 0x[0-9A-F]+, piNumURLs = 0x[0-9A-F]+)"))
      << log;
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: debug \[GenTL::GCGetNumPortURLs\] hPort = 0x[0-9A-F]+, \*piNumURLs = 1)"))
      << log;
}

TEST_F(SystemTest, PortInformationTable) {
  const std::pair<int, const char*> texts[] = {
      {PORT_INFO_ID, "SystemPort"},    {PORT_INFO_VENDOR, "Vantora LLC"},
      {PORT_INFO_MODEL, "SystemPort"}, {PORT_INFO_TLTYPE, "Custom"},
      {PORT_INFO_MODULE, "System"},    {PORT_INFO_VERSION, "1.1.1"},
      {PORT_INFO_PORTNAME, "TLPort"}};
  for (auto [command, expected] : texts) {
    char text[64];
    size_t size = sizeof text;
    INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().GCGetPortInfo(system_, command, &type, text, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_STREQ(text, expected);
    EXPECT_EQ(size, strlen(expected) + 1);
    size = strlen(expected);
    EXPECT_EQ(Lib().GCGetPortInfo(system_, command, &type, text, &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(size, strlen(expected) + 1);
  }
  const std::pair<int, bool> flags[] = {
      {PORT_INFO_LITTLE_ENDIAN, true}, {PORT_INFO_BIG_ENDIAN, false}, {PORT_INFO_ACCESS_READ, true},
      {PORT_INFO_ACCESS_WRITE, true},  {PORT_INFO_ACCESS_NA, false},  {PORT_INFO_ACCESS_NI, false}};
  for (auto [command, expected] : flags) {
    uint8_t value = 0x55;
    size_t size = 1;
    INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().GCGetPortInfo(system_, command, &type, &value, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_BOOL8);
    EXPECT_EQ(value, expected ? 1 : 0) << command;
    size = 0;
    EXPECT_EQ(Lib().GCGetPortInfo(system_, command, &type, &value, &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(size, 1u);
  }
  INFO_DATATYPE type = 5;
  size_t size = 8;
  EXPECT_EQ(Lib().GCGetPortInfo(system_, 13, &type, nullptr, &size), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, INFO_DATATYPE_UNKNOWN);
  EXPECT_EQ(Lib().GCGetPortInfo(system_, 1000, &type, nullptr, &size), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Lib().GCGetPortInfo(system_, PORT_INFO_ID, nullptr, nullptr, &size),
            GC_ERR_INVALID_PARAMETER);
}

TEST_F(SystemTest, StackedReadStopsAtTheFirstFailureAndCountsIt) {
  UpdateInterfaces();
  uint32_t first = 0, third = 0xDEADBEEF;
  char second[4];
  PORT_REGISTER_STACK_ENTRY entries[3] = {
      {0x10810, &first, 4}, {0x12000, second, 4}, {0x10808, &third, 4}};
  size_t count = 3;
  EXPECT_EQ(Lib().GCReadPortStacked(system_, entries, &count), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(third, 0xDEADBEEFu);
  count = 0;
  EXPECT_EQ(Lib().GCReadPortStacked(system_, entries, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(Lib().GCReadPortStacked(system_, nullptr, &count), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Lib().GCReadPortStacked(system_, entries, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(SystemTest, StackedWriteAppliesEachEntry) {
  UpdateInterfaces();
  uint32_t selector = 1, timeout = 250;
  PORT_REGISTER_STACK_ENTRY entries[2] = {{0x10810, &selector, 4}, {0x10808, &timeout, 4}};
  size_t count = 2;
  EXPECT_EQ(Lib().GCWritePortStacked(system_, entries, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(ReadU32(system_, 0x10810), 1u);
  EXPECT_EQ(ReadU32(system_, 0x10808), 250u);
}

TEST_F(SystemTest, TLGetInfoRunsTheLibraryInformation) {
  char text[64];
  size_t size = sizeof text;
  INFO_DATATYPE type = 0;
  StderrCapture capture;
  EXPECT_EQ(Lib().TLGetInfo(system_, TL_INFO_MODEL, &type, text, &size), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  EXPECT_STREQ(text, "GenTL for U3V");
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: debug \[GenTL::GCGetInfo\] completed successfully in [0-9]+ ms)"));
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: debug \[GenTL::TLGetInfo\] completed successfully in [0-9]+ ms)"));
}

TEST_F(SystemTest, SystemConstructionLineUsesPointerFormat) {
  EXPECT_EQ(Lib().TLClose(system_), GC_ERR_SUCCESS);
  StderrCapture capture;
  ASSERT_EQ(Lib().TLOpen(&system_), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  char expected[128];
  snprintf(expected, sizeof expected,
           "gentl: debug \\[tcSystem::tcSystem\\] System, this = 0x%016llX",
           static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(system_)));
  EXPECT_TRUE(HasLogLine(log, expected)) << log;
}

TEST_F(SystemTest, CloseLibDestroysTheSystem) {
  UpdateInterfaces();
  EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_SUCCESS);
  ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
  void* fresh = nullptr;
  EXPECT_EQ(Lib().TLOpen(&fresh), GC_ERR_SUCCESS);
  uint32_t count = 5;
  EXPECT_EQ(Lib().TLGetNumInterfaces(fresh, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
}

}  // namespace
