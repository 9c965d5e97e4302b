// An ArvDevice subclass over tsPortAccess, and by-name feature access through Aravis's ArvGc.
#include "ArvPortDevice.h"

#include <utility>

namespace {

struct tcArvPortDevice {
  ArvDevice parent;
  tsPortAccess* access;
};

struct tcArvPortDeviceClass {
  ArvDeviceClass parent_class;
};

G_DEFINE_TYPE(tcArvPortDevice, tc_arv_port_device, ARV_TYPE_DEVICE)

tsPortAccess& AccessOf(ArvDevice* device) {
  return *G_TYPE_CHECK_INSTANCE_CAST(device, tc_arv_port_device_get_type(), tcArvPortDevice)
              ->access;
}

gboolean FailTransfer(GError** error, const char* what, guint64 address, guint32 size) {
  g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TRANSFER_ERROR,
              "%s of %u bytes at 0x%" G_GINT64_MODIFIER "x failed", what, size, address);
  return FALSE;
}

gboolean ReadMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                    GError** error) {
  if (AccessOf(device).read(address, buffer, size)) return TRUE;
  return FailTransfer(error, "read", address, size);
}

gboolean WriteMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                     GError** error) {
  if (AccessOf(device).write(address, buffer, size)) return TRUE;
  return FailTransfer(error, "write", address, size);
}

gboolean ReadRegister(ArvDevice* device, guint64 address, guint32* value, GError** error) {
  guint32 little_endian = 0;
  if (!ReadMemory(device, address, sizeof little_endian, &little_endian, error)) return FALSE;
  *value = GUINT32_FROM_LE(little_endian);
  return TRUE;
}

gboolean WriteRegister(ArvDevice* device, guint64 address, guint32 value, GError** error) {
  guint32 little_endian = GUINT32_TO_LE(value);
  return WriteMemory(device, address, sizeof little_endian, &little_endian, error);
}

void Finalize(GObject* object) {
  delete reinterpret_cast<tcArvPortDevice*>(object)->access;
  G_OBJECT_CLASS(tc_arv_port_device_parent_class)->finalize(object);
}

void tc_arv_port_device_init(tcArvPortDevice* device) {
  device->access = new tsPortAccess;
}

void tc_arv_port_device_class_init(tcArvPortDeviceClass* device_class) {
  G_OBJECT_CLASS(device_class)->finalize = Finalize;
  ArvDeviceClass* arv_class = ARV_DEVICE_CLASS(device_class);
  arv_class->read_memory = ReadMemory;
  arv_class->write_memory = WriteMemory;
  arv_class->read_register = ReadRegister;
  arv_class->write_register = WriteRegister;
}

// Moves a GError into "<name>: <message>", or "" when there is none.
std::string TakeError(const std::string& name, GError* error) {
  if (error == nullptr) return "";
  std::string text = name + ": " + error->message;
  g_error_free(error);
  return text;
}

// Node `name` when it is an instance of `type`; otherwise null with *error set.
template <typename T>
T* NodeAs(ArvGc* gc, const std::string& name, GType type, std::string* error) {
  ArvGcNode* node = arv_gc_get_node(gc, name.c_str());
  if (node == nullptr) {
    *error = "no node named " + name;
    return nullptr;
  }
  if (!G_TYPE_CHECK_INSTANCE_TYPE(node, type)) {
    *error = name + " is " + NodeKind(gc, name) + ", not " + g_type_name(type);
    return nullptr;
  }
  return reinterpret_cast<T*>(node);
}

}  // namespace

tcGObjectPtr<ArvDevice> NewPortDevice(tsPortAccess access) {
  auto* device =
      static_cast<tcArvPortDevice*>(g_object_new(tc_arv_port_device_get_type(), nullptr));
  *device->access = std::move(access);
  return tcGObjectPtr<ArvDevice>(ARV_DEVICE(device));
}

tcGObjectPtr<ArvGc> NewGenApi(ArvDevice* device, const std::string& xml) {
  return tcGObjectPtr<ArvGc>(arv_gc_new(device, xml.data(), xml.size()));
}

void UseRegisterCache(ArvGc* gc, bool enabled) {
  arv_gc_set_register_cache_policy(
      gc, enabled ? ARV_REGISTER_CACHE_POLICY_ENABLE : ARV_REGISTER_CACHE_POLICY_DISABLE);
}

std::string NodeKind(ArvGc* gc, const std::string& name) {
  ArvGcNode* node = arv_gc_get_node(gc, name.c_str());
  return node != nullptr ? arv_dom_node_get_node_name(ARV_DOM_NODE(node)) : "";
}

std::string GetInteger(ArvGc* gc, const std::string& name, int64_t* value) {
  std::string error;
  auto* node = NodeAs<ArvGcInteger>(gc, name, ARV_TYPE_GC_INTEGER, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  *value = arv_gc_integer_get_value(node, &gerror);
  return TakeError(name, gerror);
}

std::string SetInteger(ArvGc* gc, const std::string& name, int64_t value) {
  std::string error;
  auto* node = NodeAs<ArvGcInteger>(gc, name, ARV_TYPE_GC_INTEGER, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  arv_gc_integer_set_value(node, value, &gerror);
  return TakeError(name, gerror);
}

std::string GetFloat(ArvGc* gc, const std::string& name, double* value) {
  std::string error;
  auto* node = NodeAs<ArvGcFloat>(gc, name, ARV_TYPE_GC_FLOAT, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  *value = arv_gc_float_get_value(node, &gerror);
  return TakeError(name, gerror);
}

std::string SetFloat(ArvGc* gc, const std::string& name, double value) {
  std::string error;
  auto* node = NodeAs<ArvGcFloat>(gc, name, ARV_TYPE_GC_FLOAT, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  arv_gc_float_set_value(node, value, &gerror);
  return TakeError(name, gerror);
}

std::string GetBoolean(ArvGc* gc, const std::string& name, bool* value) {
  std::string error;
  auto* node = NodeAs<ArvGcBoolean>(gc, name, ARV_TYPE_GC_BOOLEAN, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  *value = arv_gc_boolean_get_value(node, &gerror);
  return TakeError(name, gerror);
}

std::string GetString(ArvGc* gc, const std::string& name, std::string* value) {
  std::string error;
  auto* node = NodeAs<ArvGcString>(gc, name, ARV_TYPE_GC_STRING, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  const char* text = arv_gc_string_get_value(node, &gerror);
  *value = text != nullptr ? text : "";
  return TakeError(name, gerror);
}

std::string SetString(ArvGc* gc, const std::string& name, const std::string& value) {
  std::string error;
  auto* node = NodeAs<ArvGcString>(gc, name, ARV_TYPE_GC_STRING, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  arv_gc_string_set_value(node, value.c_str(), &gerror);
  return TakeError(name, gerror);
}

std::string GetEnumeration(ArvGc* gc, const std::string& name, std::string* entry) {
  std::string error;
  auto* node = NodeAs<ArvGcEnumeration>(gc, name, ARV_TYPE_GC_ENUMERATION, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  const char* text = arv_gc_enumeration_get_string_value(node, &gerror);
  *entry = text != nullptr ? text : "";
  return TakeError(name, gerror);
}

std::string SetEnumeration(ArvGc* gc, const std::string& name, const std::string& entry) {
  std::string error;
  auto* node = NodeAs<ArvGcEnumeration>(gc, name, ARV_TYPE_GC_ENUMERATION, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  arv_gc_enumeration_set_string_value(node, entry.c_str(), &gerror);
  return TakeError(name, gerror);
}

std::string ExecuteCommand(ArvGc* gc, const std::string& name) {
  std::string error;
  auto* node = NodeAs<ArvGcCommand>(gc, name, ARV_TYPE_GC_COMMAND, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  arv_gc_command_execute(node, &gerror);
  return TakeError(name, gerror);
}

std::string GetRegisterBytes(ArvGc* gc, const std::string& name, std::vector<uint8_t>* bytes) {
  std::string error;
  auto* node = NodeAs<ArvGcRegister>(gc, name, ARV_TYPE_GC_REGISTER, &error);
  if (node == nullptr) return error;
  GError* gerror = nullptr;
  guint64 length = arv_gc_register_get_length(node, &gerror);
  if (gerror == nullptr) {
    bytes->assign(length, 0);
    arv_gc_register_get(node, bytes->data(), length, &gerror);
  }
  return TakeError(name, gerror);
}

std::string GetEnumEntryValues(ArvGc* gc, const std::string& name,
                               std::vector<std::pair<std::string, int64_t>>* entries) {
  std::string error;
  auto* node = NodeAs<ArvGcEnumeration>(gc, name, ARV_TYPE_GC_ENUMERATION, &error);
  if (node == nullptr) return error;
  entries->clear();
  for (const GSList* item = arv_gc_enumeration_get_entries(node); item; item = item->next) {
    auto* entry = ARV_GC_ENUM_ENTRY(item->data);
    GError* gerror = nullptr;
    int64_t value = arv_gc_enum_entry_get_value(entry, &gerror);
    std::string entry_name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(entry));
    if (gerror != nullptr) return TakeError(entry_name, gerror);
    entries->emplace_back(entry_name, value);
  }
  return "";
}

std::string GetCategoryFeatures(ArvGc* gc, const std::string& name,
                                std::vector<std::string>* features) {
  std::string error;
  auto* node = NodeAs<ArvGcCategory>(gc, name, ARV_TYPE_GC_CATEGORY, &error);
  if (node == nullptr) return error;
  features->clear();
  for (const GSList* item = arv_gc_category_get_features(node); item; item = item->next) {
    features->emplace_back(static_cast<const char*>(item->data));
  }
  return "";
}
