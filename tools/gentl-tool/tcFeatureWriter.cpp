// Checks and writes for each feature type.
#include "tcFeatureWriter.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>

#include "FeatureText.h"
#include "Numbers.h"
#include "tcToolError.h"

using teType = tcFeature::teType;

namespace {

std::string Join(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words)
    text += (text.empty() ? "" : ", ") + word;
  return text;
}

template <typename T, typename Query>
bool Bound(Query query, T* value) {
  GError* error = nullptr;
  *value = query(&error);
  if (error == nullptr) return true;
  g_error_free(error);
  return false;
}

}  // namespace

void tcFeatureWriter::Refuse(const std::string& text, const std::string& why) const {
  throw tcToolError("cannot set " + feature_.Name() + " to " + text + ": " + why + ".");
}

void tcFeatureWriter::CheckEngine(const std::string& text, GError* error) const {
  if (error != nullptr) Refuse(text, TakeMessage(error));
}

void tcFeatureWriter::CheckWritable(const std::string& verb) const {
  const std::string name = feature_.Name();
  const std::string what = "cannot " + verb + " " + name + ": it is ";
  const teType type = feature_.Type();
  if (type == teType::kCategory || type == teType::kOther) {
    throw tcToolError(name + " is " + feature_.TypeWithArticle() + ", which has no value to set.");
  }
  if (!feature_.Implemented()) throw tcToolError(what + "not implemented.");
  if (!feature_.Available()) throw tcToolError(what + "not available now.");
  if (feature_.Locked()) throw tcToolError(what + "locked.");
  if (arv_gc_feature_node_get_actual_access_mode(feature_.Node()) == ARV_GC_ACCESS_MODE_RO) {
    throw tcToolError(what + "read-only.");
  }
}

void tcFeatureWriter::Set(const std::string& text) {
  CheckWritable("set");
  switch (feature_.Type()) {
    case teType::kInteger:
      return SetInteger(text);
    case teType::kFloat:
      return SetFloat(text);
    case teType::kEnumeration:
      return SetEnumeration(text);
    case teType::kBoolean:
      return SetBoolean(text);
    case teType::kString:
      return SetString(text);
    case teType::kRegister:
      return SetRegister(text);
    default:
      if (text != "1" && text != "true" && text != "execute") {
        Refuse(text, "it is a Command, executed by the value 1, true or execute");
      }
      return Execute();
  }
}

void tcFeatureWriter::SetInteger(const std::string& text) {
  auto* integer = ARV_GC_INTEGER(feature_.Node());
  int64_t value = 0;
  if (!ParseInteger(text, arv_gc_integer_get_representation(integer), &value)) {
    Refuse(text, "it is an Integer, and that is not a decimal or 0x-hexadecimal number");
  }
  int64_t min = INT64_MIN;
  int64_t max = INT64_MAX;
  int64_t inc = 1;
  const bool hasMin =
      Bound([integer](GError** error) { return arv_gc_integer_get_min(integer, error); }, &min);
  Bound([integer](GError** error) { return arv_gc_integer_get_max(integer, error); }, &max);
  Bound([integer](GError** error) { return arv_gc_integer_get_inc(integer, error); }, &inc);
  if (value < min) Refuse(text, "the minimum is " + std::to_string(min));
  if (value > max) Refuse(text, "the maximum is " + std::to_string(max));
  const int64_t base = hasMin ? min : 0;
  if (inc > 1 && (static_cast<uint64_t>(value) - static_cast<uint64_t>(base)) % inc != 0) {
    Refuse(text, "it goes in steps of " + std::to_string(inc) + " from " + std::to_string(base));
  }
  GError* error = nullptr;
  arv_gc_integer_set_value(integer, value, &error);
  CheckEngine(text, error);
}

void tcFeatureWriter::SetFloat(const std::string& text) {
  auto* number = ARV_GC_FLOAT(feature_.Node());
  double value = 0;
  if (!ParseFloat(text, &value) || !std::isfinite(value)) {
    Refuse(text, "it is a Float, and that is not a number");
  }
  double min = -DBL_MAX;
  double max = DBL_MAX;
  double inc = 0;
  Bound([number](GError** error) { return arv_gc_float_get_min(number, error); }, &min);
  Bound([number](GError** error) { return arv_gc_float_get_max(number, error); }, &max);
  Bound([number](GError** error) { return arv_gc_float_get_inc(number, error); }, &inc);
  if (value < min) Refuse(text, "the minimum is " + FormatFloat(min));
  if (value > max) Refuse(text, "the maximum is " + FormatFloat(max));
  // Aravis answers the smallest double when the description gives no increment.
  if (inc > DBL_MIN) {
    const double steps = (value - min) / inc;
    if (std::fabs(steps - std::round(steps)) > 1e-9 * std::max(1.0, std::fabs(steps))) {
      Refuse(text, "it goes in steps of " + FormatFloat(inc) + " from " + FormatFloat(min));
    }
  }
  GError* error = nullptr;
  arv_gc_float_set_value(number, value, &error);
  CheckEngine(text, error);
}

void tcFeatureWriter::SetEnumeration(const std::string& text) {
  auto* enumeration = ARV_GC_ENUMERATION(feature_.Node());
  bool known = false;
  for (const GSList* item = arv_gc_enumeration_get_entries(enumeration); item; item = item->next) {
    known = known || text == arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(item->data));
  }
  const std::vector<std::string> available = feature_.Entries();
  if (!known) {
    throw tcToolError("feature " + feature_.Name() + " has no entry \"" + text +
                      "\"; its entries are " + Join(available) + ".");
  }
  if (std::find(available.begin(), available.end(), text) == available.end()) {
    Refuse(text, "that entry is not available now; the available ones are " + Join(available));
  }
  GError* error = nullptr;
  arv_gc_enumeration_set_string_value(enumeration, text.c_str(), &error);
  CheckEngine(text, error);
}

void tcFeatureWriter::SetBoolean(const std::string& text) {
  const bool on = text == "true" || text == "1";
  if (!on && text != "false" && text != "0") {
    Refuse(text, "it is a Boolean, whose value is true or false");
  }
  GError* error = nullptr;
  arv_gc_boolean_set_value(ARV_GC_BOOLEAN(feature_.Node()), on, &error);
  CheckEngine(text, error);
}

void tcFeatureWriter::SetString(const std::string& text) {
  auto* string = ARV_GC_STRING(feature_.Node());
  int64_t max = INT64_MAX;
  Bound([string](GError** error) { return arv_gc_string_get_max_length(string, error); }, &max);
  if (max > 0 && static_cast<int64_t>(text.size()) > max) {
    Refuse("\"" + text + "\"", "it holds at most " + std::to_string(max) + " characters");
  }
  GError* error = nullptr;
  arv_gc_string_set_value(string, text.c_str(), &error);
  CheckEngine("\"" + text + "\"", error);
}

void tcFeatureWriter::SetRegister(const std::string& text) {
  const std::vector<uint8_t> bytes = ParseHexBytes(text, "the value of " + feature_.Name());
  const uint64_t length = feature_.Length();
  if (bytes.size() != length) {
    Refuse(text, "it is a Register of " + std::to_string(length) + " bytes, and that is " +
                     std::to_string(bytes.size()) + (bytes.size() == 1 ? " byte" : " bytes"));
  }
  GError* error = nullptr;
  arv_gc_register_set(ARV_GC_REGISTER(feature_.Node()), bytes.data(), bytes.size(), &error);
  CheckEngine(text, error);
}

void tcFeatureWriter::Execute() {
  const std::string name = feature_.Name();
  if (feature_.Type() != teType::kCommand) {
    throw tcToolError(name + " is " + feature_.TypeWithArticle() +
                      ", not a Command that can be executed.");
  }
  CheckWritable("execute");
  GError* error = nullptr;
  arv_gc_command_execute(ARV_GC_COMMAND(feature_.Node()), &error);
  if (error != nullptr) {
    throw tcToolError("cannot execute " + name + ": " + TakeMessage(error) + ".");
  }
}
