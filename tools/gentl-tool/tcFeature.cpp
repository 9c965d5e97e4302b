// Reading a feature's properties and value through Aravis's GenApi interfaces.
#include "tcFeature.h"

#include <cfloat>
#include <climits>

#include "FeatureText.h"
#include "tcToolError.h"

namespace {

// The result of an engine query that fails when the description leaves the property out
// (a Min, Max or Inc, for example), or `fallback` then.
template <typename T, typename Query>
T OrFallback(Query query, T fallback) {
  GError* error = nullptr;
  const T value = query(&error);
  if (error == nullptr) return value;
  g_error_free(error);
  return fallback;
}

std::vector<std::string> Names(const GSList* list, bool nodes) {
  std::vector<std::string> names;
  for (const GSList* item = list; item != nullptr; item = item->next) {
    names.emplace_back(nodes ? arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(item->data))
                             : static_cast<const char*>(item->data));
  }
  return names;
}

}  // namespace

std::string TakeMessage(GError* error) {
  std::string message = error->message;
  g_error_free(error);
  while (message.size() > 1 && message[0] == '[' && message.find("] ") != std::string::npos) {
    message.erase(0, message.find("] ") + 2);
  }
  if (!message.empty() && message.back() == '.') message.pop_back();
  return message;
}

bool IsFeature(ArvGcFeatureNode* node) {
  return tcFeature(node).Type() != tcFeature::teType::kOther;
}

tcFeature::tcFeature(ArvGcFeatureNode* node) : node_(node), type_(TypeOf(node)) {}

tcFeature::teType tcFeature::TypeOf(ArvGcFeatureNode* node) {
  // Enumerations and Booleans are integers to Aravis too, and string and integer registers
  // are registers: the more specific interface decides.
  if (ARV_IS_GC_CATEGORY(node)) return teType::kCategory;
  if (ARV_IS_GC_ENUMERATION(node)) return teType::kEnumeration;
  if (ARV_IS_GC_BOOLEAN(node)) return teType::kBoolean;
  if (ARV_IS_GC_COMMAND(node)) return teType::kCommand;
  if (ARV_IS_GC_STRING(node)) return teType::kString;
  if (ARV_IS_GC_FLOAT(node)) return teType::kFloat;
  if (ARV_IS_GC_INTEGER(node)) return teType::kInteger;
  if (ARV_IS_GC_REGISTER(node)) return teType::kRegister;
  return teType::kOther;
}

std::string tcFeature::Name() const {
  return arv_gc_feature_node_get_name(node_);
}

const char* tcFeature::TypeName() const {
  static const char* const kNames[] = {"Category", "Integer", "Float",    "Enumeration", "Boolean",
                                       "String",   "Command", "Register", "Node"};
  return kNames[static_cast<int>(type_)];
}

std::string tcFeature::TypeWithArticle() const {
  const bool vowel = type_ == teType::kInteger || type_ == teType::kEnumeration;
  return (vowel ? "an " : "a ") + std::string(TypeName());
}

bool tcFeature::Implemented() const {
  return OrFallback<gboolean>(
      [this](GError** error) { return arv_gc_feature_node_is_implemented(node_, error); }, FALSE);
}

bool tcFeature::Available() const {
  return OrFallback<gboolean>(
      [this](GError** error) { return arv_gc_feature_node_is_available(node_, error); }, FALSE);
}

bool tcFeature::Locked() const {
  return OrFallback<gboolean>(
      [this](GError** error) { return arv_gc_feature_node_is_locked(node_, error); }, FALSE);
}

bool tcFeature::Invisible() const {
  return arv_gc_feature_node_get_visibility(node_) == ARV_GC_VISIBILITY_INVISIBLE;
}

std::string tcFeature::Access() const {
  if (type_ == teType::kCategory) return "";
  if (!Implemented()) return "NI";
  if (!Available()) return "NA";
  switch (arv_gc_feature_node_get_actual_access_mode(node_)) {
    case ARV_GC_ACCESS_MODE_RW:
      return Locked() ? "RO" : "RW";
    case ARV_GC_ACCESS_MODE_WO:
      return "WO";
    default:
      return "RO";
  }
}

bool tcFeature::HasValue() const {
  if (type_ == teType::kCategory || type_ == teType::kCommand || type_ == teType::kOther) {
    return false;
  }
  const std::string access = Access();
  return access == "RO" || access == "RW";
}

void tcFeature::CheckReadable() const {
  if (HasValue()) return;
  const std::string name = Name();
  if (type_ == teType::kCommand) {
    throw tcToolError(name + " is a Command, which has no value; gentl-tool run " + name +
                      " executes it.");
  }
  if (type_ == teType::kCategory || type_ == teType::kOther) {
    throw tcToolError(name + " is " + TypeWithArticle() + ", which has no value.");
  }
  const std::string access = Access();
  const char* why = access == "NI"   ? "not implemented"
                    : access == "NA" ? "not available now"
                                     : "write-only";
  throw tcToolError("cannot read " + name + ": it is " + why + ".");
}

std::string tcFeature::Value() const {
  GError* error = nullptr;
  std::string value;
  switch (type_) {
    case teType::kInteger:
      value = FormatInteger(arv_gc_integer_get_value(ARV_GC_INTEGER(node_), &error),
                            arv_gc_integer_get_representation(ARV_GC_INTEGER(node_)));
      break;
    case teType::kFloat:
      value = FormatFloat(arv_gc_float_get_value(ARV_GC_FLOAT(node_), &error));
      break;
    case teType::kEnumeration: {
      const char* entry = arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(node_), &error);
      if (entry != nullptr && error == nullptr) value = entry;
      if (entry == nullptr && error == nullptr) {
        value =
            std::to_string(arv_gc_enumeration_get_int_value(ARV_GC_ENUMERATION(node_), &error)) +
            " (no entry)";
      }
      break;
    }
    case teType::kBoolean:
      value = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(node_), &error) ? "true" : "false";
      break;
    case teType::kString: {
      // After a failed read Aravis may hand back its buffer without the terminating NUL.
      const char* text = arv_gc_string_get_value(ARV_GC_STRING(node_), &error);
      if (text != nullptr && error == nullptr) value = text;
      break;
    }
    case teType::kRegister:
      return FormatBytes(RegisterBytes());
    default:
      return "";
  }
  if (error != nullptr)
    throw tcToolError("cannot read " + Name() + ": " + TakeMessage(error) + ".");
  return value;
}

uint64_t tcFeature::Length() const {
  GError* error = nullptr;
  const uint64_t length = arv_gc_register_get_length(ARV_GC_REGISTER(node_), &error);
  if (error != nullptr)
    throw tcToolError("cannot read " + Name() + ": " + TakeMessage(error) + ".");
  return length;
}

std::vector<uint8_t> tcFeature::RegisterBytes() const {
  std::vector<uint8_t> bytes(Length());
  GError* error = nullptr;
  arv_gc_register_get(ARV_GC_REGISTER(node_), bytes.data(), bytes.size(), &error);
  if (error != nullptr)
    throw tcToolError("cannot read " + Name() + ": " + TakeMessage(error) + ".");
  return bytes;
}

std::string tcFeature::Unit() const {
  const char* unit = nullptr;
  if (type_ == teType::kInteger) unit = arv_gc_integer_get_unit(ARV_GC_INTEGER(node_));
  if (type_ == teType::kFloat) unit = arv_gc_float_get_unit(ARV_GC_FLOAT(node_));
  return unit != nullptr ? unit : "";
}

std::string tcFeature::Range() const {
  if (type_ == teType::kInteger) return IntegerRange();
  if (type_ == teType::kFloat) return FloatRange();
  return "";
}

std::string tcFeature::IntegerRange() const {
  auto* integer = ARV_GC_INTEGER(node_);
  const int64_t min = OrFallback<int64_t>(
      [integer](GError** error) { return arv_gc_integer_get_min(integer, error); }, INT64_MIN);
  const int64_t max = OrFallback<int64_t>(
      [integer](GError** error) { return arv_gc_integer_get_max(integer, error); }, INT64_MAX);
  const int64_t inc = OrFallback<int64_t>(
      [integer](GError** error) { return arv_gc_integer_get_inc(integer, error); }, 1);
  if (min == INT64_MIN && max == INT64_MAX) return "";
  const ArvGcRepresentation representation = arv_gc_integer_get_representation(integer);
  std::string range =
      FormatInteger(min, representation) + ".." + FormatInteger(max, representation);
  if (inc > 1) range += " step " + std::to_string(inc);
  return range;
}

std::string tcFeature::FloatRange() const {
  auto* number = ARV_GC_FLOAT(node_);
  const double min = OrFallback<double>(
      [number](GError** error) { return arv_gc_float_get_min(number, error); }, -DBL_MAX);
  const double max = OrFallback<double>(
      [number](GError** error) { return arv_gc_float_get_max(number, error); }, DBL_MAX);
  const double inc = OrFallback<double>(
      [number](GError** error) { return arv_gc_float_get_inc(number, error); }, 0.0);
  if (min == -DBL_MAX && max == DBL_MAX) return "";
  std::string range = FormatFloat(min) + ".." + FormatFloat(max);
  // Aravis answers the smallest double when the description gives no increment.
  if (inc > DBL_MIN) range += " step " + FormatFloat(inc);
  return range;
}

std::vector<std::string> tcFeature::Entries() const {
  if (type_ != teType::kEnumeration) return {};
  guint count = 0;
  GError* error = nullptr;
  const char** entries =
      arv_gc_enumeration_dup_available_string_values(ARV_GC_ENUMERATION(node_), &count, &error);
  if (error != nullptr) g_error_free(error);
  std::vector<std::string> names(entries, entries + (entries != nullptr ? count : 0));
  g_free(entries);
  return names;
}

std::vector<std::string> tcFeature::Features() const {
  if (type_ == teType::kCategory) {
    return Names(arv_gc_category_get_features(ARV_GC_CATEGORY(node_)), false);
  }
  if (ARV_IS_GC_SELECTOR(node_) && arv_gc_selector_is_selector(ARV_GC_SELECTOR(node_))) {
    return Names(arv_gc_selector_get_selected_features(ARV_GC_SELECTOR(node_)), true);
  }
  return {};
}
