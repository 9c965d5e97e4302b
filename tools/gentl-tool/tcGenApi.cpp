// Building a module's node map over its port, and finding its features.
#include "tcGenApi.h"

#include <cstring>
#include <utility>

#include "tcFeature.h"
#include "tcToolError.h"

namespace {

// Appends the features among the children of `parent`, descending into Group elements.
void CollectFeatures(ArvDomNode* parent, std::vector<ArvGcFeatureNode*>& features) {
  for (ArvDomNode* child = arv_dom_node_get_first_child(parent); child != nullptr;
       child = arv_dom_node_get_next_sibling(child)) {
    if (strcmp(arv_dom_node_get_node_name(child), "Group") == 0) {
      CollectFeatures(child, features);
    } else if (ARV_IS_GC_FEATURE_NODE(child) && IsFeature(ARV_GC_FEATURE_NODE(child))) {
      features.push_back(ARV_GC_FEATURE_NODE(child));
    }
  }
}

}  // namespace

tcGenApi::tcGenApi(GenTLLibrary& lib, void* port, std::string owner) : owner_(std::move(owner)) {
  std::string error;
  description_ = FetchPortDescription(lib, port, &error);
  if (description_.text.empty()) {
    throw tcToolError("cannot fetch the GenApi description of " + owner_ + ": " + error + ".");
  }
  device_ = NewPortDevice(PortAccessFor(lib, port));
  gc_ = NewGenApi(device_.get(), description_.text);
  if (gc_ == nullptr) {
    throw tcToolError("the GenApi description of " + owner_ + " (" + description_.url +
                      ") is not a description the GenApi engine can read.");
  }
  UseRegisterCache(gc_.get(), false);
  arv_gc_set_range_check_policy(gc_.get(), ARV_RANGE_CHECK_POLICY_ENABLE);
  arv_gc_set_access_check_policy(gc_.get(), ARV_ACCESS_CHECK_POLICY_ENABLE);
}

ArvGcFeatureNode* tcGenApi::Find(const std::string& name) const {
  ArvGcNode* node = arv_gc_get_node(gc_.get(), name.c_str());
  if (node == nullptr || !ARV_IS_GC_FEATURE_NODE(node)) return nullptr;
  ArvGcFeatureNode* feature = ARV_GC_FEATURE_NODE(node);
  return IsFeature(feature) ? feature : nullptr;
}

ArvGcFeatureNode* tcGenApi::Feature(const std::string& name) const {
  ArvGcFeatureNode* feature = Find(name);
  if (feature == nullptr) throw tcToolError(owner_ + " has no feature named \"" + name + "\".");
  return feature;
}

std::vector<ArvGcFeatureNode*> tcGenApi::AllFeatures() const {
  std::vector<ArvGcFeatureNode*> features;
  ArvDomElement* root = arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(gc_.get()));
  if (root != nullptr) CollectFeatures(ARV_DOM_NODE(root), features);
  return features;
}
