// The read-link graph of a GenApi description and a depth-first walk that reports its cycles.
#include "tcReadCycleCheck.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

namespace {

// Links whose target is read to compute the node's value, range, address or access mode.
// pSelected, pInvalidator, pValueCopy (written, not read) and pFeature (category members) are
// structure and do not count.
constexpr std::array<std::string_view, 16> kReadLinks = {
    "pValue",         "pValueIndexed", "pValueDefault", "pMin",     "pMax",  "pInc",
    "pVariable",      "pAddress",      "pIndex",        "pLength",  "pPort", "pIsAvailable",
    "pIsImplemented", "pIsLocked",     "pCommandValue", "pChunkID",
};

// The access links an enumeration entry adds to its enumeration.
constexpr std::array<std::string_view, 3> kEntryLinks = {"pIsAvailable", "pIsImplemented",
                                                         "pIsLocked"};

template <size_t N>
bool Contains(const std::array<std::string_view, N>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// Link elements carry a Name too (a SwissKnife's pVariable): they start with "p" and an
// upper-case letter. Nodes are the other named elements.
bool IsNode(pugi::xml_node element) {
  const char* tag = element.name();
  if (element.type() != pugi::node_element || element.attribute("Name").empty()) return false;
  return !(tag[0] == 'p' && tag[1] >= 'A' && tag[1] <= 'Z');
}

std::string Place(std::string_view text, ptrdiff_t offset) {
  const std::string_view before = text.substr(0, static_cast<size_t>(offset));
  const size_t line = static_cast<size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
  const size_t lineStart = before.rfind('\n');
  const size_t column =
      lineStart == std::string_view::npos ? before.size() + 1 : before.size() - lineStart;
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

}  // namespace

tcReadCycleCheck::tcReadCycleCheck(std::string_view text) {
  pugi::xml_document document;
  const pugi::xml_parse_result parsed = document.load_buffer(text.data(), text.size());
  if (!parsed) {
    throw std::runtime_error(Place(text, parsed.offset) + ": " + parsed.description());
  }
  const pugi::xml_node root = document.child("RegisterDescription");
  if (root.empty()) throw std::runtime_error("no RegisterDescription element");
  AddNodes(root, "");
  for (const std::string& name : order_) {
    std::vector<std::string> path;
    if (marks_.at(name) == teMark::kUnvisited) Visit(name, path);
  }
}

// Named elements below `parent`; a node nested in another one (an address computed in place)
// is read by the node that encloses it.
void tcReadCycleCheck::AddNodes(pugi::xml_node parent, const std::string& enclosing) {
  for (pugi::xml_node child : parent.children()) {
    if (strcmp(child.name(), "EnumEntry") == 0) continue;
    if (strcmp(child.name(), "StructEntry") == 0) {
      AddNode(child, child.attribute("Name").value());
      AddLinks(child.attribute("Name").value(), parent);
    } else if (IsNode(child)) {
      const std::string name = child.attribute("Name").value();
      if (!enclosing.empty()) reads_[enclosing].push_back(name);
      AddNode(child, name);
      AddNodes(child, name);
    } else if (child.type() == pugi::node_element) {
      AddNodes(child, enclosing);
    }
  }
}

void tcReadCycleCheck::AddNode(pugi::xml_node node, const std::string& name) {
  order_.push_back(name);
  marks_[name] = teMark::kUnvisited;
  AddLinks(name, node);
  for (pugi::xml_node entry : node.children("EnumEntry")) {
    for (pugi::xml_node link : entry.children()) {
      if (Contains(kEntryLinks, link.name())) reads_[name].push_back(link.text().get());
    }
  }
}

void tcReadCycleCheck::AddLinks(const std::string& name, pugi::xml_node node) {
  for (pugi::xml_node link : node.children()) {
    if (!Contains(kReadLinks, link.name())) continue;
    reads_[name].push_back(link.text().get());
    const pugi::xml_attribute offset = link.attribute("pOffset");
    if (!offset.empty()) reads_[name].push_back(offset.value());
  }
}

// Depth-first: meeting a node that is still on the path closes a cycle.
void tcReadCycleCheck::Visit(const std::string& name, std::vector<std::string>& path) {
  marks_[name] = teMark::kOnPath;
  path.push_back(name);
  for (const std::string& target : reads_[name]) {
    const auto mark = marks_.find(target);
    if (mark == marks_.end()) continue;  // a name the description does not define
    if (mark->second == teMark::kUnvisited) {
      Visit(target, path);
    } else if (mark->second == teMark::kOnPath) {
      std::string cycle;
      for (auto it = std::find(path.begin(), path.end(), target); it != path.end(); ++it)
        cycle += *it + " -> ";
      cyclePaths_.push_back(cycle + target);
    }
  }
  path.pop_back();
  marks_[name] = teMark::kDone;
}
