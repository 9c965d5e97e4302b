// Walking the categories of a node map and laying out one aligned line per feature.
#include "tcFeatureTree.h"

#include <algorithm>

#include "tcFeature.h"
#include "tcToolError.h"

namespace {

constexpr size_t kTypeWidth = 13;

std::string Join(const std::vector<std::string>& words, const char* separator = ", ") {
  std::string text;
  for (const std::string& word : words)
    text += (text.empty() ? "" : separator) + word;
  return text;
}

std::string Padded(std::string text, size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

// The value and unit, "(N bytes)" for registers, or why the value cannot be read.
std::string ValueText(const tcFeature& feature) {
  if (!feature.HasValue()) return "";
  try {
    if (feature.Type() == tcFeature::teType::kRegister) {
      return "(" + std::to_string(feature.Length()) + " bytes)";
    }
    const std::string unit = feature.Unit();
    return feature.Value() + (unit.empty() ? "" : " " + unit);
  } catch (const tcToolError& error) {
    std::string why = error.what();
    if (!why.empty() && why.back() == '.') why.pop_back();
    return "(" + why + ")";
  }
}

}  // namespace

std::string tcFeatureTree::Text() {
  for (const std::string& name : TopCategories()) {
    std::vector<std::string> path;
    AddCategory(name, 0, path);
  }
  if (all_) {
    bool heading = false;
    for (ArvGcFeatureNode* node : genapi_.AllFeatures()) {
      const std::string name = arv_gc_feature_node_get_name(node);
      if (listed_.count(name) != 0) continue;
      if (!heading) rows_.push_back({0, "(in no category)", ""});
      heading = true;
      AddFeature(name, 1);
    }
  }
  size_t width = 0;
  for (const tsRow& row : rows_) {
    if (!row.columns.empty()) width = std::max(width, row.depth * 2 + row.name.size());
  }
  std::string text;
  for (const tsRow& row : rows_) {
    std::string line = std::string(row.depth * 2, ' ') + row.name;
    if (!row.columns.empty()) line = Padded(line, width) + "  " + row.columns;
    while (!line.empty() && line.back() == ' ')
      line.pop_back();
    text += line + "\n";
  }
  return text;
}

std::vector<std::string> tcFeatureTree::TopCategories() const {
  if (genapi_.Find("Root") != nullptr) return {"Root"};
  std::vector<std::string> categories;
  std::set<std::string> children;
  for (ArvGcFeatureNode* node : genapi_.AllFeatures()) {
    const tcFeature feature(node);
    if (feature.Type() != tcFeature::teType::kCategory) continue;
    categories.push_back(feature.Name());
    for (const std::string& child : feature.Features())
      children.insert(child);
  }
  std::erase_if(categories, [&](const std::string& name) { return children.count(name) != 0; });
  return categories;
}

bool tcFeatureTree::Shown(ArvGcFeatureNode* node) const {
  return all_ || !tcFeature(node).Invisible();
}

void tcFeatureTree::AddCategory(const std::string& name, int depth,
                                std::vector<std::string>& path) {
  ArvGcFeatureNode* node = genapi_.Find(name);
  // A category that lists itself, directly or not, is shown once along each path.
  if (node == nullptr || !Shown(node) || std::find(path.begin(), path.end(), name) != path.end()) {
    return;
  }
  listed_.insert(name);
  rows_.push_back({depth, name, ""});
  path.push_back(name);
  for (const std::string& child : tcFeature(node).Features()) {
    ArvGcFeatureNode* childNode = genapi_.Find(child);
    if (childNode != nullptr && tcFeature(childNode).Type() == tcFeature::teType::kCategory) {
      AddCategory(child, depth + 1, path);
    } else {
      AddFeature(child, depth + 1);
    }
  }
  path.pop_back();
}

void tcFeatureTree::AddFeature(const std::string& name, int depth) {
  ArvGcFeatureNode* node = genapi_.Find(name);
  if (node == nullptr) {
    rows_.push_back({depth, name, "(no such feature in the description)"});
    return;
  }
  if (!Shown(node)) return;
  listed_.insert(name);
  rows_.push_back({depth, name, Columns(node)});
}

std::string tcFeatureTree::Columns(ArvGcFeatureNode* node) {
  const tcFeature feature(node);
  std::string columns = Padded(feature.TypeName(), kTypeWidth) + Padded(feature.Access(), 4);
  const std::string value = ValueText(feature);
  const std::string details = Details(feature);
  columns += value;
  if (!details.empty()) columns += (value.empty() ? "(" : "  (") + details + ")";
  return columns;
}

std::string tcFeatureTree::Details(const tcFeature& feature) {
  if (!feature.Implemented() || !feature.Available()) return "";
  std::vector<std::string> parts;
  // The range matters to those who write; a read-only feature's is mostly its register's.
  const std::string access = feature.Access();
  const std::string range = access == "RW" || access == "WO" ? feature.Range() : "";
  if (!range.empty()) parts.push_back(range);
  const std::vector<std::string> entries = feature.Entries();
  if (!entries.empty()) parts.push_back("entries: " + Join(entries));
  const std::vector<std::string> selected = feature.Features();
  if (!selected.empty()) parts.push_back("selects: " + Join(selected));
  if (feature.Locked()) parts.push_back("locked");
  return Join(parts, "; ");
}
