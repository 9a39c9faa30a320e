#include "automation/com/other_objects.h"

#include <utility>
#include <vector>

#include "automation/com/dual_slots.h"
#include "automation/com/other_interfaces.h"

namespace tarnwick::automation::com {
namespace {

template <class T>
const DualInterface& dual_interface(const IID& iid, const CLSID* clsid, const wchar_t* source) {
  static const std::vector<Member> members = members_of<T>();
  static const DualInterface dual{iid, clsid, source, members, dual_slots<T>(), false};
  return dual;
}

class CollectionObject final : public DispatchObject {
 public:
  CollectionObject(Apartment& apartment, std::shared_ptr<Collection> collection)
      : DispatchObject(apartment, dual_interface<Collection>(__uuidof(::_Collection), nullptr,
                                                             L"Tarnwick.Collection")),
        collection_(std::move(collection)) {}

  Value call(const Member& member, std::span<const Value> arguments) override {
    return member.call(collection_.get(), arguments);
  }

 private:
  std::shared_ptr<Collection> collection_;
};

class LastCauseObject final : public DispatchObject {
 public:
  explicit LastCauseObject(Apartment& apartment)
      : DispatchObject(apartment, dual_interface<FailureCause>(__uuidof(::_LastCause),
                                                               &LastCauseClass::clsid(),
                                                               LastCauseClass::kProgId)) {}

  Value call(const Member& member, std::span<const Value> arguments) override {
    const GUID client = calling_client();
    FailureCause cause = apartment().causes().of(client);
    Value result = member.call(&cause, arguments);
    if (cause.kind == ado::FailureKind::kNone) apartment().causes().forget(client);
    return result;
  }
};

}  // namespace

ComPtr<IUnknown> new_collection(Apartment& apartment, std::shared_ptr<Collection> collection) {
  return adopt((new CollectionObject(apartment, std::move(collection)))->identity());
}

ComPtr<IUnknown> new_last_cause(Apartment& apartment) {
  return adopt((new LastCauseObject(apartment))->identity());
}

}  // namespace tarnwick::automation::com
