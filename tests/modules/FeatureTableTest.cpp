// The feature table: the description it yields, its register dispatch, and a module subclass
// that adds a feature and a register range to its base's table.
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <cstring>

#include "modules/tcFeatureTable.h"
#include "support/TestModules.h"

using namespace GenTL;

namespace {

// Root -> Info (Count, Name, Go) and Empty; Name is a constant, Count a register, Go a command.
// The table lists Name before Count.
class FeatureTable : public ::testing::Test {
 protected:
  void SetUp() override {
    table_.Category({"Root", "Root", "The root.", "Beginner"}, {"Info", "Empty"});
    table_.Category({"Info", "Info", "Information.", "Beginner"}, {"Count", "Name", "Go"});
    table_.Category({"Empty", "Empty", "Nothing.", "Expert"}, {});
    table_.Feature({.kind = FeatureKind::kConstantString,
                    .text = {"Name", "Name", "A name.", "Expert"},
                    .string = [] { return "Alpha"; }});
    table_.Feature(
        {.kind = FeatureKind::kRegisterInteger,
         .text = {"Count", "Count", "A count.", "Beginner"},
         .unit = "ms",
         .address = 0x20000,
         .length = 8,
         .noCache = true,
         .read = [this](void* buffer, size_t* size) { return ReadWord(count_, buffer, size); }});
    table_.Feature({.kind = FeatureKind::kCommand,
                    .text = {"Go", "Go", "Starts.", "Beginner"},
                    .address = 0x20010,
                    .access = "WO",
                    .write = [this](const void*, size_t*) {
                      ++commands_;
                      return GC_ERR_SUCCESS;
                    }});
    table_.Range({.address = 0x30000,
                  .length = 0x100,
                  .read = [](uint64_t address, void* buffer, size_t* size) {
                    return ReadWord(static_cast<uint32_t>(address), buffer, size);
                  }});
  }

  tcFeatureTable table_;
  uint32_t count_ = 7;
  int commands_ = 0;
};

TEST_F(FeatureTable, FeaturesFollowTheTableInTheGroupOfTheirCategoryAndIntRegsComeLast) {
  pugi::xml_document doc;
  ASSERT_TRUE(
      doc.load_string(table_.Describe("Test:X", "TestPort", "Test Port", "The port.").c_str()));
  pugi::xml_node root = doc.child("RegisterDescription");
  std::vector<std::string> groups;
  for (pugi::xml_node group : root.children("Group"))
    groups.push_back(group.attribute("Comment").value());
  EXPECT_EQ(groups,
            (std::vector<std::string>{"RootCategory", "SubCategories", "Info", "Registers"}));
  EXPECT_STREQ(doc.select_node("//Category[@Name='Info']/pFeature").node().child_value(), "Count");
  pugi::xml_node name = root.find_child_by_attribute("Group", "Comment", "Info").first_child();
  EXPECT_STREQ(name.child_value("Value"), "Alpha");
  pugi::xml_node count = name.next_sibling();
  EXPECT_STREQ(count.child_value("pValue"), "CountReg");
  EXPECT_STREQ(count.child_value("Unit"), "ms");
  EXPECT_STREQ(count.next_sibling().child_value("pValue"), "GoReg");
  pugi::xml_node registers = root.find_child_by_attribute("Group", "Comment", "Registers");
  pugi::xml_node countReg = registers.first_child();
  EXPECT_STREQ(countReg.attribute("Name").value(), "CountReg");
  EXPECT_STREQ(countReg.child_value("Address"), "0x20000");
  EXPECT_STREQ(countReg.child_value("Length"), "8");
  EXPECT_STREQ(countReg.child_value("AccessMode"), "RO");
  EXPECT_STREQ(countReg.child_value("pPort"), "TestPort");
  EXPECT_STREQ(countReg.child_value("Cachable"), "NoCache");
  EXPECT_STREQ(countReg.next_sibling().attribute("Name").value(), "GoReg");
  EXPECT_STREQ(countReg.next_sibling().child_value("AccessMode"), "WO");
  EXPECT_STREQ(registers.last_child().name(), "Port");
  EXPECT_STREQ(registers.last_child().child_value("DisplayName"), "Test Port");
}

TEST_F(FeatureTable, ReadsAndWritesGoToTheRegisterAtTheAddressOrAreDenied) {
  uint32_t value = 0;
  size_t size = sizeof value;
  EXPECT_EQ(table_.Read(0x20000, &value, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 7u);
  EXPECT_EQ(table_.Write(0x20000, &value, &size), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(table_.Read(0x20010, &value, &size), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(table_.Write(0x20010, &value, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(commands_, 1);
  EXPECT_EQ(table_.Read(0x20004, &value, &size), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(table_.Read(0, &value, &size), GC_ERR_ACCESS_DENIED);
}

TEST_F(FeatureTable, RangesAnswerEveryAddressInsideWithTheAddressItself) {
  uint32_t value = 0;
  size_t size = sizeof value;
  EXPECT_EQ(table_.Read(0x300FC, &value, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 0x300FCu);
  EXPECT_EQ(table_.Read(0x30100, &value, &size), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(table_.Write(0x30000, &value, &size), GC_ERR_ACCESS_DENIED);
}

// An interface whose transport adds a constant to InterfaceInformation and a register window.
class tcWindowInterface : public tcTestInterface {
 protected:
  void AddFeatures(tcFeatureTable& table) override {
    tcTestInterface::AddFeatures(table);
    table.AddToCategory("InterfaceInformation", "InterfaceSpeed");
    table.Feature({.kind = FeatureKind::kConstantInteger,
                   .text = {"InterfaceSpeed", "Interface Speed", "Link speed.", "Expert"},
                   .number = [] { return 1000; }});
    table.Range({.address = 0x40000,
                 .length = 4,
                 .read = [this](uint64_t, void* buffer,
                                size_t* size) { return ReadWord(window_, buffer, size); },
                 .write = [this](uint64_t, const void* buffer,
                                 size_t* size) { return WriteWord(&window_, buffer, *size); }});
  }

 private:
  uint32_t window_ = 0;
};

TEST(FeatureTableHook, SubclassFeaturesAndRangesJoinThoseOfTheBase) {
  tcWindowInterface interface;
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(interface.Description().c_str()));
  pugi::xml_node information =
      doc.child("RegisterDescription")
          .find_child_by_attribute("Group", "Comment", "InterfaceInformation");
  EXPECT_STREQ(information.last_child().attribute("Name").value(), "InterfaceSpeed");
  EXPECT_STREQ(information.last_child().child_value("Value"), "1000");
  EXPECT_STREQ(doc.select_node("//Category[@Name='InterfaceInformation']/pFeature[last()]")
                   .node()
                   .child_value(),
               "InterfaceSpeed");
  uint32_t value = 0x1234;
  size_t size = sizeof value;
  EXPECT_EQ(interface.WritePort(0x40000, &value, &size), GC_ERR_SUCCESS);
  value = 0;
  EXPECT_EQ(interface.ReadPort(0x40000, &value, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 0x1234u);
  value = 2;
  EXPECT_EQ(interface.WritePort(0x10004, &value, &size), GC_ERR_SUCCESS);
  value = 0;
  EXPECT_EQ(interface.ReadPort(0x10004, &value, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 2u);
}

}  // namespace
