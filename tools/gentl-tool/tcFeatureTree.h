// The feature tree of a node map as text: categories as headings, then one line per feature
// with its type, access, value and unit, range, enumeration entries and selected features.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tcFeature.h"
#include "tcGenApi.h"

class tcFeatureTree {
 public:
  // `all`: also invisible features, and after the tree the features that no category lists.
  tcFeatureTree(const tcGenApi& genapi, bool all) : genapi_(genapi), all_(all) {}

  std::string Text();

 private:
  struct tsRow {
    int depth;
    std::string name;
    std::string columns;  // type, access, value and details; empty for a category
  };

  // The categories the tree starts from: Root, else those no other category lists.
  std::vector<std::string> TopCategories() const;
  void AddCategory(const std::string& name, int depth, std::vector<std::string>& path);
  void AddFeature(const std::string& name, int depth);
  bool Shown(ArvGcFeatureNode* node) const;
  static std::string Columns(ArvGcFeatureNode* node);
  static std::string Details(const tcFeature& feature);

  const tcGenApi& genapi_;
  bool all_;
  std::vector<tsRow> rows_;
  std::set<std::string> listed_;
};
