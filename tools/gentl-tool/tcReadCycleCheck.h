// Finds read cycles in a GenApi description: nodes whose value, range or availability depends,
// through value links, on itself.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

class tcReadCycleCheck {
 public:
  // Parses `text` and walks its read links. Throws std::runtime_error with the place and the
  // reason ("line 3, column 7: Start-end tags mismatch") when the text is not well-formed XML
  // or has no RegisterDescription element.
  explicit tcReadCycleCheck(std::string_view text);

  // One path per cycle found, such as "Width -> WidthMax -> OffsetX -> OffsetXMax -> Width":
  // each node reads the next one, and the last is the first again. Empty without cycles.
  const std::vector<std::string>& CyclePaths() const { return cyclePaths_; }

 private:
  enum class teMark { kUnvisited, kOnPath, kDone };

  void AddNodes(pugi::xml_node parent, const std::string& enclosing);
  void AddNode(pugi::xml_node node, const std::string& name);
  void AddLinks(const std::string& name, pugi::xml_node node);
  void Visit(const std::string& name, std::vector<std::string>& path);

  std::vector<std::string> order_;                         // nodes in document order
  std::map<std::string, std::vector<std::string>> reads_;  // node -> the nodes it reads
  std::map<std::string, teMark> marks_;
  std::vector<std::string> cyclePaths_;
};
