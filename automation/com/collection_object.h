#pragma once

#include <memory>

#include "automation/com/dispatch_object.h"

namespace tarnwick::automation::com {

/// A plain keyed collection as clients see it.
class CollectionObject final : public DispatchObject {
 public:
  CollectionObject(Apartment& apartment, std::shared_ptr<Collection> collection);

  Value call(const Member& member, std::span<const Value> arguments) override;

 private:
  std::shared_ptr<Collection> collection_;
};

}  // namespace tarnwick::automation::com
