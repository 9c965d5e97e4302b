// One queued event entry; subclasses carry the event's data.
#pragma once

class tcEventData {
 public:
  virtual ~tcEventData() = default;
};
