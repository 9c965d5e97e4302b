// cameras/SimCam.xml read with pugixml, without a GenApi engine: the register map that the
// camera's loader builds from it, the loader's rules, and the GenApi element order.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <vector>

#include "SimCamRegisters.h"

namespace {

const std::set<std::string> kRegisterKinds = {"IntReg", "FloatReg", "StringReg", "Register"};

struct tsMappedRegister {
  std::string name;
  std::string kind;
  int64_t address = 0;
  int64_t length = 0;
  pugi::xml_node node;
};

// Decimal or 0x-hexadecimal in 0..INT32_MAX. A leading zero is refused: the loader would read
// the literal as octal.
bool ParseLoaderLiteral(std::string text, int64_t* value) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    base = 16;
    text.erase(0, 2);
  } else if (text.size() > 1 && text[0] == '0') {
    return false;
  }
  const char* end = text.data() + text.size();
  auto [stop, status] = std::from_chars(text.data(), end, *value, base);
  return !text.empty() && status == std::errc() && stop == end && *value >= 0 &&
         *value <= INT32_MAX;
}

std::string NameOf(pugi::xml_node node) {
  return node.attribute("Name").value();
}

// True for the elements that are GenApi nodes: a pVariable's Name names a formula variable.
bool IsNode(pugi::xml_node node) {
  return node.attribute("Name") && std::string(node.name()) != "pVariable";
}

pugi::xml_node FindNode(const pugi::xml_document& doc, const std::string& name) {
  return doc.find_node([&](pugi::xml_node node) { return IsNode(node) && NameOf(node) == name; });
}

std::vector<pugi::xml_node> AllElements(const pugi::xml_document& doc) {
  std::vector<pugi::xml_node> elements;
  doc.find_node([&](pugi::xml_node node) {
    if (node.type() == pugi::node_element) elements.push_back(node);
    return false;
  });
  return elements;
}

// Reads the literal in `node`, recording it in *problems when the loader would reject it.
int64_t LoaderLiteral(pugi::xml_node node, std::vector<std::string>* problems) {
  int64_t value = 0;
  if (!ParseLoaderLiteral(node.child_value(), &value)) {
    problems->push_back(NameOf(node.parent()) + "/" + node.name() + " = '" + node.child_value() +
                        "'");
  }
  return value;
}

int64_t LoaderAddress(const pugi::xml_document& doc, pugi::xml_node reg,
                      std::vector<std::string>* problems) {
  int64_t address = 0;
  for (pugi::xml_node literal : reg.children("Address")) {
    address += LoaderLiteral(literal, problems);
  }
  for (pugi::xml_node pointer : reg.children("pAddress")) {
    pugi::xml_node base = FindNode(doc, pointer.child_value());
    if (std::string(base.name()) != "Integer" || !base.child("Value")) {
      problems->push_back(NameOf(reg) + "/pAddress names no Integer with a literal Value");
      continue;
    }
    address += LoaderLiteral(base.child("Value"), problems);
  }
  return address;
}

// The registers the camera maps: the register elements directly inside top-level Groups.
std::vector<tsMappedRegister> MapRegisters(const pugi::xml_document& doc,
                                           std::vector<std::string>* problems) {
  std::vector<tsMappedRegister> mapped;
  for (pugi::xml_node group : doc.document_element().children("Group")) {
    for (pugi::xml_node node : group.children()) {
      if (!kRegisterKinds.contains(node.name())) continue;
      mapped.push_back({NameOf(node), node.name(), LoaderAddress(doc, node, problems),
                        LoaderLiteral(node.child("Length"), problems), node});
    }
  }
  return mapped;
}

std::vector<std::string> WithNodeElements(std::vector<std::string> tail) {
  std::vector<std::string> order = {
      "Extension",         "ToolTip",      "Description",  "DisplayName",
      "Visibility",        "DocuURL",      "IsDeprecated", "EventID",
      "pIsImplemented",    "pIsAvailable", "pIsLocked",    "pBlockPolling",
      "ImposedAccessMode", "pError",       "pAlias",       "pCastAlias"};
  order.insert(order.end(), tail.begin(), tail.end());
  return order;
}

std::vector<std::string> WithRegisterElements(std::vector<std::string> tail) {
  std::vector<std::string> order =
      WithNodeElements({"Streamable", "Address|IntSwissKnife|pAddress|pIndex", "Length|pLength",
                        "AccessMode", "pPort", "Cachable", "PollingTime", "pInvalidator"});
  order.insert(order.end(), tail.begin(), tail.end());
  return order;
}

// The order of child elements per node type in GenApi schema 1.1; "A|B" are alternatives of
// the same place.
const std::map<std::string, std::vector<std::string>> kChildOrder = {
    {"Category", WithNodeElements({"pFeature"})},
    {"Integer", WithNodeElements({"Streamable", "Value|pValueCopy|pValue", "Min|pMin", "Max|pMax",
                                  "Inc|pInc", "Unit", "Representation", "pSelected"})},
    {"Float",
     WithNodeElements({"Streamable", "Value|pValueCopy|pValue", "Min|pMin", "Max|pMax", "Inc|pInc",
                       "Unit", "Representation", "DisplayNotation", "DisplayPrecision"})},
    {"Boolean", WithNodeElements({"Streamable", "Value|pValue", "OnValue", "OffValue"})},
    {"Command", WithNodeElements({"Value|pValue", "CommandValue|pCommandValue", "PollingTime"})},
    {"Enumeration",
     WithNodeElements({"Streamable", "EnumEntry", "Value|pValue", "pSelected", "PollingTime"})},
    {"EnumEntry", WithNodeElements({"Value", "NumericValue", "Symbolic", "IsSelfClearing"})},
    {"Converter", WithNodeElements({"Streamable", "pVariable", "Constant", "Expression",
                                    "FormulaTo", "FormulaFrom", "pValue", "Unit", "Representation",
                                    "DisplayNotation", "DisplayPrecision", "Slope", "IsLinear"})},
    {"IntSwissKnife", WithNodeElements({"pVariable", "Constant", "Expression", "Formula", "Unit",
                                        "Representation"})},
    {"Port", WithNodeElements({"ChunkID", "SwapEndianess"})},
    {"IntReg", WithRegisterElements({"Sign", "Endianess", "Unit", "Representation", "pSelected"})},
    {"FloatReg", WithRegisterElements({"Endianess", "Unit", "Representation", "DisplayNotation",
                                       "DisplayPrecision"})},
    {"StringReg", WithRegisterElements({})},
    {"Register", WithRegisterElements({})},
};

// Position of `child` in `order`, or -1 when it has none.
int PlaceOf(const std::vector<std::string>& order, const std::string& child) {
  for (size_t place = 0; place < order.size(); ++place) {
    std::string alternatives = "|" + order[place] + "|";
    if (alternatives.find("|" + child + "|") != std::string::npos) return static_cast<int>(place);
  }
  return -1;
}

const std::set<std::string> kReferenceElements = {
    "pFeature",       "pValue",       "pMin",      "pMax",         "pInc",
    "pSelected",      "pInvalidator", "pAddress",  "pPort",        "pVariable",
    "pIsImplemented", "pIsAvailable", "pIsLocked", "pCommandValue"};

std::string Join(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

class CameraFileLayoutTest : public ::testing::Test {
 protected:
  void SetUp() override {
    pugi::xml_parse_result result = doc_.load_file(SIMCAM_DEFAULT_XML);
    ASSERT_TRUE(result) << SIMCAM_DEFAULT_XML << ": " << result.description();
    mapped_ = MapRegisters(doc_, &problems_);
  }

  const tsMappedRegister* Mapped(const std::string& name) {
    auto found = std::find_if(mapped_.begin(), mapped_.end(),
                              [&](const tsMappedRegister& reg) { return reg.name == name; });
    return found != mapped_.end() ? &*found : nullptr;
  }

  pugi::xml_document doc_;
  std::vector<tsMappedRegister> mapped_;
  std::vector<std::string> problems_;
};

TEST_F(CameraFileLayoutTest, RootCarriesTheGenApiAttributes) {
  const std::map<std::string, std::string> expected = {
      {"xmlns", "http://www.genicam.org/GenApi/Version_1_1"},
      {"xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"},
      {"xsi:schemaLocation",
       "http://www.genicam.org/GenApi/Version_1_1 "
       "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd"},
      {"ModelName", "SimCam"},
      {"VendorName", "Vantora"},
      {"StandardNameSpace", "None"},
      {"SchemaMajorVersion", "1"},
      {"SchemaMinorVersion", "1"},
      {"SchemaSubMinorVersion", "0"}};
  pugi::xml_node root = doc_.document_element();
  EXPECT_STREQ(root.name(), "RegisterDescription");
  for (const auto& [name, value] : expected) {
    EXPECT_EQ(std::string(root.attribute(name.c_str()).value()), value) << name;
  }
  for (const char* name : {"MajorVersion", "MinorVersion", "SubMinorVersion", "ProductGuid",
                           "VersionGuid", "ToolTip"}) {
    EXPECT_STRNE(root.attribute(name).value(), "") << name;
  }
}

TEST_F(CameraFileLayoutTest, LiteralsAreSigned32BitDecimalOrHex) {
  EXPECT_TRUE(problems_.empty()) << Join(problems_);
  for (const tsMappedRegister& reg : mapped_) {
    EXPECT_LE(reg.address + reg.length, int64_t{INT32_MAX}) << reg.name;
  }
}

TEST_F(CameraFileLayoutTest, TheLoaderMapsExactlyTheListedRegisters) {
  for (const tsSimCamRegister& expected : SimCamRegisters()) {
    auto count = std::count_if(mapped_.begin(), mapped_.end(), [&](const tsMappedRegister& reg) {
      return reg.name == expected.name;
    });
    ASSERT_EQ(count, 1) << expected.name;
    const tsMappedRegister& reg = *Mapped(expected.name);
    EXPECT_EQ(reg.kind, expected.kind) << expected.name;
    EXPECT_EQ(reg.address, static_cast<int64_t>(expected.address)) << expected.name;
    EXPECT_EQ(reg.length, static_cast<int64_t>(expected.length)) << expected.name;
  }
  EXPECT_EQ(mapped_.size(), SimCamRegisters().size());
}

TEST_F(CameraFileLayoutTest, EveryRegisterElementIsWhereTheLoaderLooks) {
  std::vector<pugi::xml_node> elements = AllElements(doc_);
  auto registers = std::count_if(elements.begin(), elements.end(), [](pugi::xml_node node) {
    return kRegisterKinds.contains(node.name());
  });
  EXPECT_EQ(static_cast<size_t>(registers), mapped_.size());
}

TEST_F(CameraFileLayoutTest, NoTwoRegistersOverlap) {
  std::vector<tsMappedRegister> sorted = mapped_;
  std::sort(sorted.begin(), sorted.end(), [](const tsMappedRegister& a, const tsMappedRegister& b) {
    return a.address < b.address;
  });
  for (size_t i = 1; i < sorted.size(); ++i) {
    EXPECT_LE(sorted[i - 1].address + sorted[i - 1].length, sorted[i].address)
        << sorted[i - 1].name << " overlaps " << sorted[i].name;
  }
}

TEST_F(CameraFileLayoutTest, RegistersAreLittleEndianOnTheDevicePortWithTheirAccessMode) {
  for (const tsSimCamRegister& expected : SimCamRegisters()) {
    const tsMappedRegister* reg = Mapped(expected.name);
    ASSERT_NE(reg, nullptr) << expected.name;
    EXPECT_STREQ(reg->node.child_value("pPort"), "Device") << expected.name;
    EXPECT_EQ(std::string(reg->node.child_value("AccessMode")), expected.access) << expected.name;
    if (reg->kind == "IntReg" || reg->kind == "FloatReg") {
      EXPECT_STREQ(reg->node.child_value("Endianess"), "LittleEndian") << expected.name;
    }
    if (reg->kind == "IntReg") {
      EXPECT_STREQ(reg->node.child_value("Sign"), "Unsigned") << expected.name;
    }
  }
}

TEST_F(CameraFileLayoutTest, RegistersUsedWithAnAddressBaseNameIt) {
  int based = 0;
  for (const tsMappedRegister& reg : mapped_) {
    based += reg.node.child("pAddress") ? 1 : 0;
  }
  EXPECT_GT(based, 0);
  EXPECT_STREQ(Mapped("ROIWidthRegister")->node.child_value("pAddress"), "ImageBaseAddress");
}

TEST_F(CameraFileLayoutTest, VolatileRegistersAreNotCached) {
  for (const char* name : {"PayloadSizeRegister", "SensorTemperatureRegister", "DebugBuffer",
                           "DebugBufferBytesWrittenReg"}) {
    ASSERT_NE(Mapped(name), nullptr) << name;
    EXPECT_STREQ(Mapped(name)->node.child_value("Cachable"), "NoCache") << name;
  }
}

TEST_F(CameraFileLayoutTest, RegionRegistersAreInvalidatedByTheSelector) {
  for (const char* name : {"RegionModeReg", "OffsetXRegister", "OffsetYRegister",
                           "ROIWidthRegister", "ROIHeightRegister"}) {
    ASSERT_NE(Mapped(name), nullptr) << name;
    EXPECT_STREQ(Mapped(name)->node.child_value("pInvalidator"), "RegionSelectorReg") << name;
  }
}

TEST_F(CameraFileLayoutTest, ChildElementsFollowTheSchemaOrder) {
  std::vector<std::string> misplaced;
  for (pugi::xml_node node : AllElements(doc_)) {
    auto order = kChildOrder.find(node.name());
    if (order == kChildOrder.end()) continue;
    int previous = 0;
    for (pugi::xml_node child : node.children()) {
      if (child.type() != pugi::node_element) continue;
      int place = PlaceOf(order->second, child.name());
      if (place < previous) {
        misplaced.push_back(std::string(node.name()) + " " + NameOf(node) + ": " + child.name());
      }
      previous = std::max(previous, place);
    }
  }
  EXPECT_TRUE(misplaced.empty()) << Join(misplaced);
}

TEST_F(CameraFileLayoutTest, ReferencesNameExistingNodes) {
  std::vector<std::string> dangling;
  for (pugi::xml_node node : AllElements(doc_)) {
    if (kReferenceElements.contains(node.name()) && !FindNode(doc_, node.child_value())) {
      dangling.push_back(NameOf(node.parent()) + "/" + node.name() + " = " + node.child_value());
    }
  }
  EXPECT_TRUE(dangling.empty()) << Join(dangling);
}

// Enumeration entries are named by their symbolic value, as Aravis looks them up, so "Off" and
// "On" recur in several enumerations; every other node name is unique.
TEST_F(CameraFileLayoutTest, NodeNamesAreUniqueApartFromEnumEntries) {
  std::map<std::string, int> uses;
  for (pugi::xml_node node : AllElements(doc_)) {
    if (IsNode(node) && std::string(node.name()) != "EnumEntry") ++uses[NameOf(node)];
  }
  for (const auto& [name, count] : uses) {
    EXPECT_EQ(count, 1) << name;
  }
}

}  // namespace
