// tcSystem: the interface list, the TL-family operations and the system registers.
#include "modules/tcSystem.h"

#include <cstring>

#include "base/Config.h"
#include "base/Log.h"
#include "gev/tcInterfaceGEV.h"
#include "modules/tcDescriptionBuilder.h"
#include "sim/tcInterfaceSIM.h"
#include "u3v/tcInterfaceU3V.h"

using namespace GenTL;

namespace {

constexpr tsModulePortIdentity kSystemPort = {
    "tcSystem",
    "SystemPort",
    "System",
    "TLPort",
    "TL Port",
    "The GenICam port through which the System module is accessed.",
    "vantora_systemgentl",
    false,
    false};

}  // namespace

tcSystem::tcSystem(GenTL::PGCGetInfo libraryInfo)
    : tcModulePort("System", kSystemPort), libraryInfo_(libraryInfo) {
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

// The library information as a consumer reads it (through GCGetInfo, handed in by the entry
// layer): the description build writes that call's lines and leaves the last error at 0.
std::string tcSystem::LibraryText(TL_INFO_CMD command) {
  char value[2048] = "";
  size_t size = sizeof value;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  libraryInfo_(command, &type, value, &size);
  return value;
}

int64_t tcSystem::LibraryNumber(TL_INFO_CMD command) {
  uint32_t value = 0;
  size_t size = sizeof value;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  libraryInfo_(command, &type, &value, &size);
  return value;
}

void tcSystem::AddFeatures(tcFeatureTable& table) {
  using enum FeatureKind;
  table.Category(
      {"Root", "Root", "Provides the Root of the GenTL Producer System features.", "Beginner"},
      {"SystemInformation", "InterfaceEnumeration", "EventControl"});
  table.Category(
      {"SystemInformation", "System Information",
       "Category that contains all System Information features of the System module.", "Beginner"},
      {"TLID", "TLVendorName", "TLModelName", "TLVersion", "TLFileName", "TLDisplayName", "TLPath",
       "TLType", "GenTLVersionMajor", "GenTLVersionMinor", "GenTLSFNCVersionMajor",
       "GenTLSFNCVersionMinor"});
  table.Category({"InterfaceEnumeration", "Interface Enumeration",
                  "Category that contains all Interface Enumeration features of the System module.",
                  "Beginner"},
                 {"InterfaceUpdateList", "InterfaceUpdateTimeout", "InterfaceSelector",
                  "InterfaceID", "InterfaceDisplayName"});
  table.Category(
      {"EventControl", "Event Control", "Category that contains Event control features.", "Expert"},
      {"EventSelector", "EventNotification", "EventInterfaceListChangedData"});
  table.Category({"EventInterfaceListChangedData", "Event Interface List Changed Data",
                  "Data of the Interface List Changed event.", "Expert"},
                 {});

  const std::pair<tsFeatureText, TL_INFO_CMD> libraryTexts[] = {
      {{"TLID", "TLID", "Unique identifier of the GenTL Producer like a GUID.", "Expert"},
       TL_INFO_ID},
      {{"TLVendorName", "Vendor Name", "Name of the GenTL Producer vendor.", "Beginner"},
       TL_INFO_VENDOR},
      {{"TLModelName", "Model Name",
        "Name of the GenTL Producer to distinguish different kinds of GenTL Producer "
        "implementations from one vendor.",
        "Beginner"},
       TL_INFO_MODEL},
      {{"TLVersion", "Version", "Vendor specific version string.", "Beginner"}, TL_INFO_VERSION},
      {{"TLFileName", "File Name", "Filename including extension of the GenTL Producer.", "Expert"},
       TL_INFO_NAME},
      {{"TLDisplayName", "Display Name", "User readable name of the GenTL Producer.", "Beginner"},
       TL_INFO_DISPLAYNAME},
      {{"TLPath", "Path", "Full path to the GenTL Producer including filename and extension.",
        "Expert"},
       TL_INFO_PATHNAME},
  };
  for (const auto& [text, command] : libraryTexts) {
    table.Feature({.kind = kConstantString, .text = text, .string = [this, command = command] {
                     return LibraryText(command);
                   }});
  }
  table.Feature({.kind = kConstantEnumeration,
                 .text = {"TLType", "Type",
                          "Transport layer type of the GenTL Producer implementation.", "Beginner"},
                 .number = [] { return 5; },
                 .entries = TransportTypeEntries()});
  table.Feature({.kind = kConstantInteger,
                 .text = {"GenTLVersionMajor", "GenTL Version Major",
                          "Major version number of the GenTL Standard version this GenTL "
                          "Producer complies with.",
                          "Expert"},
                 .number = [this] { return LibraryNumber(TL_INFO_GENTL_VER_MAJOR); }});
  table.Feature({.kind = kConstantInteger,
                 .text = {"GenTLVersionMinor", "GenTL Version Minor",
                          "Minor version number of the GenTL Standard version this GenTL "
                          "Producer complies with.",
                          "Expert"},
                 .number = [this] { return LibraryNumber(TL_INFO_GENTL_VER_MINOR); }});
  table.Feature(
      {.kind = kConstantInteger,
       .text = {"GenTLSFNCVersionMajor", "GenTL SFNC Version Major",
                "Major version number of the GenTL Standard Features Naming Convention that was "
                "used to create the GenTL Producer's XML.",
                "Expert"},
       .number = [] { return 1; }});
  table.Feature(
      {.kind = kConstantInteger,
       .text = {"GenTLSFNCVersionMinor", "GenTL SFNC Version Minor",
                "Minor version number of the GenTL Standard Features Naming Convention that was "
                "used to create the GenTL Producer's XML.",
                "Expert"},
       .number = [] { return 1; }});

  table.Feature({.kind = kCommand,
                 .text = {"InterfaceUpdateList", "Interface Update List",
                          "Updates the internal list of the interfaces.", "Beginner"},
                 .address = 0x10800,
                 .access = "WO",
                 .write = [this](const void*, size_t*) {
                   return UpdateInterfaceList(nullptr, InterfaceUpdateTimeout);
                 }});
  table.Feature(
      {.kind = kRegisterInteger,
       .text = {"InterfaceUpdateTimeout", "Interface Update Timeout",
                "Specifies the timeout for the InterfaceUpdateList command.", "Expert"},
       .unit = "ms",
       .address = 0x10808,
       .access = "RW",
       .read = [this](void* buffer,
                      size_t* size) { return ReadWord(InterfaceUpdateTimeout, buffer, size); },
       .write =
           [this](const void* buffer, size_t* size) {
             if (*size != 4) return GC_ERR_BUFFER_TOO_SMALL;
             memcpy(&InterfaceUpdateTimeout, buffer, 4);
             return GC_ERR_SUCCESS;
           }});
  table.Feature(
      {.kind = kRegisterInteger,
       .text = {"InterfaceSelector", "Interface Selector",
                "Selector for the different GenTL Producer interfaces.", "Beginner"},
       .selected = {"InterfaceID", "InterfaceDisplayName"},
       .address = 0x10810,
       .access = "RW",
       .read = [this](void* buffer,
                      size_t* size) { return ReadWord(interfaceSelector_, buffer, size); },
       .write =
           [this](const void* buffer, size_t* size) {
             uint32_t value = 0;
             memcpy(&value, buffer, *size < 4 ? *size : 4);
             if (value >= InterfaceCount()) return GC_ERR_INVALID_INDEX;
             interfaceSelector_ = value;
             return GC_ERR_SUCCESS;
           }});
  // Both texts are the selected interface's ID.
  auto selectedId = [this](void* buffer, size_t* size) -> GC_ERROR {
    tcInterface* interface = InterfaceAt(interfaceSelector_);
    if (interface == nullptr) return GC_ERR_INVALID_INDEX;
    return ReadText(interface->Name(), buffer, size);
  };
  table.Feature(
      {.kind = kStringRegister,
       .text = {"InterfaceID", "Interface ID",
                "GenTL Producer wide unique identifier of the selected interface.", "Beginner"},
       .address = 0x10818,
       .length = 128,
       .invalidators = {"InterfaceSelectorReg"},
       .read = selectedId});
  table.Feature({.kind = kStringRegister,
                 .text = {"InterfaceDisplayName", "Interface Display Name",
                          "User readable name of the selected interface.", "Beginner"},
                 .address = 0x10820,
                 .length = 128,
                 .invalidators = {"InterfaceSelectorReg"},
                 .read = selectedId});

  table.Feature({.kind = kConstantEnumeration,
                 .text = {"EventSelector", "Event Selector",
                          "Selects which Event to signal to the host application.", "Expert"},
                 .number = [] { return 0; },
                 .entries = {{"InterfaceListChanged", "Interface List Changed",
                              "The list of interfaces changed.", 0}}});
  table.Feature({.kind = kConstantEnumeration,
                 .text = {"EventNotification", "Event Notification",
                          "Activate or deactivate the notification to the host application of "
                          "the occurrence of the selected Event.",
                          "Expert"},
                 .number = [] { return 0; },
                 .entries = {{"Off", "Off", "The selected Event notification is disabled.", 0},
                             {"On", "On", "The selected Event notification is enabled.", 1}}});
}
