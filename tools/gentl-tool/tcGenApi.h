// A module's GenApi description running in Aravis's GenApi engine, with register access
// through the module's port: the features of a module or of the camera, found by name.
#pragma once

#include <string>
#include <vector>

#include "ArvPortDevice.h"
#include "GenTLPort.h"

class tcGenApi {
 public:
  // Fetches the description of `port` through its URL and builds the node map with the
  // engine's range and access checks on and without a register cache, so that every read
  // asks the module. `owner` names the module in messages ("the camera", "interface GEV").
  // Throws a tool error when the description cannot be fetched or parsed. `lib` must outlive
  // the object.
  tcGenApi(GenTLLibrary& lib, void* port, std::string owner);

  const std::string& Owner() const { return owner_; }
  const tsPortDescription& Description() const { return description_; }
  ArvGc* Gc() const { return gc_.get(); }

  // The feature `name` (any node a user can read, write, execute or browse), or null.
  ArvGcFeatureNode* Find(const std::string& name) const;
  // The same, but throws "<owner> has no feature named "<name>"." when there is none.
  ArvGcFeatureNode* Feature(const std::string& name) const;

  // Every feature of the description in document order.
  std::vector<ArvGcFeatureNode*> AllFeatures() const;

 private:
  tsPortDescription description_;
  tcGObjectPtr<ArvDevice> device_;
  tcGObjectPtr<ArvGc> gc_;  // declared after device_: destroyed first
  std::string owner_;
};
