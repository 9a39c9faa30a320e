#pragma once

#include <memory>

#include "automation/com/dispatch_object.h"

namespace tarnwick::automation::com {

/// A plain keyed collection as clients see it.
class CollectionObject final : public DispatchObject<::_Collection> {
 public:
  CollectionObject(Apartment& apartment, std::shared_ptr<Collection> collection);

  STDMETHODIMP get_Item(VARIANT vntIndexKey, VARIANT* value) override;
  STDMETHODIMP get_Count(long* value) override;
  STDMETHODIMP get_NewEnum(IUnknown** value) override;
  STDMETHODIMP GetClassInfo(ITypeInfo** info) override;

 private:
  std::shared_ptr<Collection> collection_;
};

}  // namespace tarnwick::automation::com
