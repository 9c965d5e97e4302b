// tcSystem: the interface list, the TL-family operations and the system registers.
#include "modules/tcSystem.h"

#include <cstring>

#include "base/Config.h"
#include "base/Log.h"
#include "gev/tcInterfaceGEV.h"
#include "modules/LibraryInfo.h"
#include "modules/tcDescriptionBuilder.h"
#include "sim/tcInterfaceSIM.h"
#include "u3v/tcInterfaceU3V.h"

using namespace GenTL;

namespace {

constexpr tsModulePortIdentity kSystemPort = {
    "tcSystem", "SystemPort", "System", "TLPort", "vantora_systemgentl", false, false};

enum : uint64_t {
  kInterfaceUpdateList = 0x10800,
  kInterfaceUpdateTimeout = 0x10808,
  kInterfaceSelector = 0x10810,
  kInterfaceID = 0x10818,
  kInterfaceDisplayName = 0x10820,
};

}  // namespace

tcSystem::tcSystem() : tcModulePort("System", kSystemPort) {
  HandleRegistry::Enter(this, HandleKind::kSystem);
  GENTL_LOG(kLogDebug, "%s, this = 0x%p", Name(), this);
}

tcSystem::~tcSystem() {
  // Last created, first destroyed; the list is left empty before each interface goes.
  for (;;) {
    ModuleOwner<tcInterface> last;
    {
      tcMutexLock lock(listMutex_);
      if (SystemInterfaceList.empty()) break;
      last = std::move(SystemInterfaceList.back());
      SystemInterfaceList.pop_back();
    }
  }
  HandleRegistry::Leave(this);
}

tcInterface* tcSystem::InterfaceAt(size_t index) {
  tcMutexLock lock(listMutex_);
  return index < SystemInterfaceList.size() ? SystemInterfaceList[index].get() : nullptr;
}

size_t tcSystem::InterfaceCount() {
  tcMutexLock lock(listMutex_);
  return SystemInterfaceList.size();
}

GC_ERROR tcSystem::GetNumInterfaces(uint32_t* count) {
  if (count == nullptr) return GC_ERR_INVALID_PARAMETER;
  *count = static_cast<uint32_t>(InterfaceCount());
  return GC_ERR_SUCCESS;
}

GC_ERROR tcSystem::GetInterfaceID(uint32_t index, char* id, size_t* size) {
  tcInterface* interface = InterfaceAt(index);
  if (interface == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  const std::string& name = interface->Name();
  if (id != nullptr) {
    if (*size < name.size() + 1) return GC_ERR_INVALID_PARAMETER;
    memcpy(id, name.c_str(), name.size() + 1);
  }
  *size = name.size() + 1;
  return GC_ERR_SUCCESS;
}

tcInterface* tcSystem::FindInterface(const char* id) {
  tcMutexLock lock(listMutex_);
  for (const auto& interface : SystemInterfaceList) {
    if (interface->Name() == id) return interface.get();
  }
  return nullptr;
}

GC_ERROR tcSystem::GetInterfaceInfo(const char* id, int32_t command, int32_t* type, void* buffer,
                                    size_t* size) {
  if (id == nullptr) return GC_ERR_INVALID_PARAMETER;
  tcInterface* interface = FindInterface(id);
  if (interface == nullptr) return GC_ERR_INVALID_ID;
  return interface->GetInfo(command, type, buffer, size);
}

GC_ERROR tcSystem::OpenInterface(const char* id, void** handle) {
  if (id == nullptr || handle == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (InterfaceCount() == 0 && config::CompatOpen()) {
    GENTL_LOG(kLogInfo, "%s: interface list not updated yet, updating it (GENTL_COMPAT_OPEN)",
              Name());
    UpdateInterfaceList(nullptr, 0);
  }
  tcInterface* interface = FindInterface(id);
  if (interface == nullptr) return GC_ERR_INVALID_ID;
  *handle = interface;
  return interface->Open();
}

namespace {

template <typename T>
ModuleOwner<tcInterface> MakeInterface(tcSystem* system) {
  return MakeModule<T>(system);
}

// The transports, in the order of the interface list. A new transport is one more line here.
constexpr ModuleOwner<tcInterface> (*kTransports[])(tcSystem*) = {
    &MakeInterface<tcInterfaceSIM>,
    &MakeInterface<tcInterfaceGEV>,
    &MakeInterface<tcInterfaceU3V>,
};

}  // namespace

GC_ERROR tcSystem::UpdateInterfaceList(bool8_t* changed, uint64_t /*timeout: unused*/) {
  tcMutexLock lock(listMutex_);
  bool created = SystemInterfaceList.empty();
  if (created) {
    for (auto make : kTransports)
      SystemInterfaceList.push_back(make(this));
  }
  if (changed != nullptr) *changed = created;
  return GC_ERR_SUCCESS;
}

GC_ERROR tcSystem::Read(uint64_t address, void* buffer, size_t* size) {
  if (ReadDescription(address, buffer, *size)) return GC_ERR_SUCCESS;
  switch (address) {
    case kInterfaceUpdateTimeout:
    case kInterfaceSelector: {
      if (*size < 4) return GC_ERR_SUCCESS;
      uint32_t value = address == kInterfaceSelector ? interfaceSelector_ : InterfaceUpdateTimeout;
      memcpy(buffer, &value, 4);
      *size = 4;
      return GC_ERR_SUCCESS;
    }
    case kInterfaceID:
    case kInterfaceDisplayName: {
      tcInterface* interface = InterfaceAt(interfaceSelector_);
      if (interface == nullptr) return GC_ERR_INVALID_INDEX;
      const std::string& id = interface->Name();
      if (id.size() + 1 > *size) return GC_ERR_BUFFER_TOO_SMALL;
      memcpy(buffer, id.c_str(), id.size() + 1);
      return GC_ERR_SUCCESS;
    }
    default:
      return GC_ERR_ACCESS_DENIED;
  }
}

GC_ERROR tcSystem::Write(uint64_t address, const void* buffer, size_t* size) {
  switch (address) {
    case kInterfaceUpdateList:
      return UpdateInterfaceList(nullptr, InterfaceUpdateTimeout);
    case kInterfaceUpdateTimeout:
      if (*size != 4) return GC_ERR_BUFFER_TOO_SMALL;
      memcpy(&InterfaceUpdateTimeout, buffer, 4);
      return GC_ERR_SUCCESS;
    case kInterfaceSelector: {
      uint32_t value = 0;
      memcpy(&value, buffer, *size < 4 ? *size : 4);
      if (value >= InterfaceCount()) return GC_ERR_INVALID_INDEX;
      interfaceSelector_ = value;
      return GC_ERR_SUCCESS;
    }
    default:
      return GC_ERR_ACCESS_DENIED;
  }
}

namespace {

// The text of one library information command, fetched through GCGetInfo as a consumer would.
std::string LibraryText(TL_INFO_CMD command) {
  char value[2048] = "";
  size_t size = sizeof value;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  LibraryInfo("tcSystem::BuildXml", command, &type, value, &size);
  return value;
}

int64_t LibraryNumber(TL_INFO_CMD command) {
  uint32_t value = 0;
  size_t size = sizeof value;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  LibraryInfo("tcSystem::BuildXml", command, &type, &value, &size);
  return value;
}

void AddSystemInformation(tcDescriptionBuilder& xml, pugi::xml_node group) {
  xml.ConstantString(group,
                     {"TLID", "TLID", "Unique identifier of the GenTL Producer like a GUID.",
                      "Unique identifier of the GenTL Producer like a GUID.", "Expert"},
                     LibraryText(TL_INFO_ID));
  xml.ConstantString(group,
                     {"TLVendorName", "Vendor Name", "Name of the GenTL Producer vendor.",
                      "Name of the GenTL Producer vendor.", "Beginner"},
                     LibraryText(TL_INFO_VENDOR));
  xml.ConstantString(group,
                     {"TLModelName", "Model Name",
                      "Name of the GenTL Producer to distinguish different kinds of GenTL Producer "
                      "implementations from one vendor.",
                      "Name of the GenTL Producer to distinguish different kinds of GenTL Producer "
                      "implementations from one vendor.",
                      "Beginner"},
                     LibraryText(TL_INFO_MODEL));
  xml.ConstantString(group,
                     {"TLVersion", "Version", "Vendor specific version string.",
                      "Vendor specific version string.", "Beginner"},
                     LibraryText(TL_INFO_VERSION));
  xml.ConstantString(
      group,
      {"TLFileName", "File Name", "Filename including extension of the GenTL Producer.",
       "Filename including extension of the GenTL Producer.", "Expert"},
      LibraryText(TL_INFO_NAME));
  xml.ConstantString(group,
                     {"TLDisplayName", "Display Name", "User readable name of the GenTL Producer.",
                      "User readable name of the GenTL Producer.", "Beginner"},
                     LibraryText(TL_INFO_DISPLAYNAME));
  xml.ConstantString(
      group,
      {"TLPath", "Path", "Full path to the GenTL Producer including filename and extension.",
       "Full path to the GenTL Producer including filename and extension.", "Expert"},
      LibraryText(TL_INFO_PATHNAME));
  xml.ConstantEnumeration(
      group,
      {"TLType", "Type", "Transport layer type of the GenTL Producer implementation.",
       "Transport layer type of the GenTL Producer implementation.", "Beginner"},
      TransportTypeEntries(), 5);
  xml.ConstantInteger(
      group,
      {"GenTLVersionMajor", "GenTL Version Major",
       "Major version number of the GenTL Standard version this GenTL Producer complies with.",
       "Major version number of the GenTL Standard version this GenTL Producer complies with.",
       "Expert"},
      LibraryNumber(TL_INFO_GENTL_VER_MAJOR));
  xml.ConstantInteger(
      group,
      {"GenTLVersionMinor", "GenTL Version Minor",
       "Minor version number of the GenTL Standard version this GenTL Producer complies with.",
       "Minor version number of the GenTL Standard version this GenTL Producer complies with.",
       "Expert"},
      LibraryNumber(TL_INFO_GENTL_VER_MINOR));
  xml.ConstantInteger(group,
                      {"GenTLSFNCVersionMajor", "GenTL SFNC Version Major",
                       "Major version number of the GenTL Standard Features Naming Convention that "
                       "was used to create the GenTL Producer's XML.",
                       "Major version number of the GenTL Standard Features Naming Convention that "
                       "was used to create the GenTL Producer's XML.",
                       "Expert"},
                      1);
  xml.ConstantInteger(group,
                      {"GenTLSFNCVersionMinor", "GenTL SFNC Version Minor",
                       "Minor version number of the GenTL Standard Features Naming Convention that "
                       "was used to create the GenTL Producer's XML.",
                       "Minor version number of the GenTL Standard Features Naming Convention that "
                       "was used to create the GenTL Producer's XML.",
                       "Expert"},
                      1);
}

void AddInterfaceEnumeration(tcDescriptionBuilder& xml, pugi::xml_node group) {
  xml.Command(group,
              {"InterfaceUpdateList", "Interface Update List",
               "Updates the internal list of the interfaces.",
               "Updates the internal list of the interfaces.", "Beginner"},
              "InterfaceUpdateListReg");
  xml.RegisterInteger(group,
                      {"InterfaceUpdateTimeout", "Interface Update Timeout",
                       "Specifies the timeout for the InterfaceUpdateList command.",
                       "Specifies the timeout for the InterfaceUpdateList command.", "Expert"},
                      "InterfaceUpdateTimeoutReg", "ms");
  xml.RegisterInteger(group,
                      {"InterfaceSelector", "Interface Selector",
                       "Selector for the different GenTL Producer interfaces.",
                       "Selector for the different GenTL Producer interfaces.", "Beginner"},
                      "InterfaceSelectorReg", nullptr, {"InterfaceID", "InterfaceDisplayName"});
  xml.StringReg(group,
                {"InterfaceID", "Interface ID",
                 "GenTL Producer wide unique identifier of the selected interface.",
                 "GenTL Producer wide unique identifier of the selected interface.", "Beginner"},
                {"InterfaceID", kInterfaceID, 128, "RO", {"InterfaceSelectorReg"}});
  xml.StringReg(
      group,
      {"InterfaceDisplayName", "Interface Display Name",
       "User readable name of the selected interface.",
       "User readable name of the selected interface.", "Beginner"},
      {"InterfaceDisplayName", kInterfaceDisplayName, 128, "RO", {"InterfaceSelectorReg"}});
}

void AddEventControl(tcDescriptionBuilder& xml, pugi::xml_node group) {
  xml.ConstantEnumeration(
      group,
      {"EventSelector", "Event Selector", "Selects which Event to signal to the host application.",
       "Selects which Event to signal to the host application.", "Expert"},
      {{"InterfaceListChanged", "Interface List Changed", "The list of interfaces changed.", 0}},
      0);
  xml.ConstantEnumeration(group,
                          {"EventNotification", "Event Notification",
                           "Activate or deactivate the notification to the host application of the "
                           "occurrence of the selected Event.",
                           "Activate or deactivate the notification to the host application of the "
                           "occurrence of the selected Event.",
                           "Expert"},
                          {{"Off", "Off", "The selected Event notification is disabled.", 0},
                           {"On", "On", "The selected Event notification is enabled.", 1}},
                          0);
}

}  // namespace

std::string tcSystem::BuildXml() {
  tcDescriptionBuilder xml("System:" + Name(), "TLPort");
  xml.Category(xml.Group("RootCategory"),
               {"Root", "Root", "Provides the Root of the GenTL Producer System features.",
                "Provides the Root of the GenTL Producer System features.", "Beginner"},
               {"SystemInformation", "InterfaceEnumeration", "EventControl"});
  pugi::xml_node categories = xml.Group("SubCategories");
  xml.Category(
      categories,
      {"SystemInformation", "System Information",
       "Category that contains all System Information features of the System module.",
       "Category that contains all System Information features of the System module.", "Beginner"},
      {"TLID", "TLVendorName", "TLModelName", "TLVersion", "TLFileName", "TLDisplayName", "TLPath",
       "TLType", "GenTLVersionMajor", "GenTLVersionMinor", "GenTLSFNCVersionMajor",
       "GenTLSFNCVersionMinor"});
  xml.Category(categories,
               {"InterfaceEnumeration", "Interface Enumeration",
                "Category that contains all Interface Enumeration features of the System module.",
                "Category that contains all Interface Enumeration features of the System module.",
                "Beginner"},
               {"InterfaceUpdateList", "InterfaceUpdateTimeout", "InterfaceSelector", "InterfaceID",
                "InterfaceDisplayName"});
  xml.Category(categories,
               {"EventControl", "Event Control", "Category that contains Event control features.",
                "Category that contains Event control features.", "Expert"},
               {"EventSelector", "EventNotification", "EventInterfaceListChangedData"});
  xml.Category(categories,
               {"EventInterfaceListChangedData", "Event Interface List Changed Data",
                "Data of the Interface List Changed event.",
                "Data of the Interface List Changed event.", "Expert"},
               {});
  AddSystemInformation(xml, xml.Group("SystemInformation"));
  AddInterfaceEnumeration(xml, xml.Group("InterfaceEnumeration"));
  AddEventControl(xml, xml.Group("EventControl"));
  pugi::xml_node registers = xml.Group("Registers");
  xml.IntReg(registers, {"InterfaceUpdateListReg", kInterfaceUpdateList, 4, "WO"});
  xml.IntReg(registers, {"InterfaceUpdateTimeoutReg", kInterfaceUpdateTimeout, 4, "RW"});
  xml.IntReg(registers, {"InterfaceSelectorReg", kInterfaceSelector, 4, "RW"});
  xml.Port(registers, "TL Port", "The GenICam port through which the System module is accessed.");
  return xml.Print();
}
