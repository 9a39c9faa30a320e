#include "automation/com/other_objects.h"

#include <utility>
#include <vector>

#include "automation/com/dual_slots.h"
#include "automation/com/other_interfaces.h"
#include "automation/rows.h"

namespace tarnwick::automation::com {
namespace {

template <class T>
const DualInterface& dual_interface(const IID& iid, const CLSID* clsid, const wchar_t* source,
                                    bool counts_failures) {
  static const std::vector<Member> members = members_of<T>();
  static const DualInterface dual{iid, clsid, source, members, dual_slots<T>(), counts_failures};
  return dual;
}

template <class T, class C>
const DualInterface& dual_interface_of_class(bool counts_failures) {
  return dual_interface<T>(__uuidof(typename C::Interface), &C::clsid(), C::kProgId,
                           counts_failures);
}

class CollectionObject final : public DispatchObject {
 public:
  CollectionObject(Apartment& apartment, std::shared_ptr<Collection> collection)
      : DispatchObject(apartment, dual_interface<Collection>(__uuidof(::_Collection), nullptr,
                                                             L"Tarnwick.Collection", false)),
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
      : DispatchObject(apartment, dual_interface_of_class<FailureCause, LastCauseClass>(false)) {}

  Value call(const Member& member, std::span<const Value> arguments) override {
    const GUID client = calling_client();
    FailureCause cause = apartment().causes().of(client);
    Value result = member.call(&cause, arguments);
    if (cause.kind == ado::FailureKind::kNone) apartment().causes().forget(client);
    return result;
  }
};

class RowsObject final : public DispatchObject {
 public:
  explicit RowsObject(Apartment& apartment)
      : DispatchObject(apartment, dual_interface_of_class<Rows, RowsClass>(true)),
        rows_(apartment.state()) {}

  Value call(const Member& member, std::span<const Value> arguments) override {
    const auto body = [&] { return member.call(&rows_, arguments); };
    const auto* record = arguments.empty() ? nullptr : std::get_if<Object>(&arguments.front());
    return record != nullptr && *record ? apartment().call_locking(*record, body) : body();
  }

 private:
  Rows rows_;
};

}  // namespace

ComPtr<IUnknown> new_collection(Apartment& apartment, std::shared_ptr<Collection> collection) {
  return adopt((new CollectionObject(apartment, std::move(collection)))->identity());
}

ComPtr<IUnknown> new_last_cause(Apartment& apartment) {
  return adopt((new LastCauseObject(apartment))->identity());
}

ComPtr<IUnknown> new_rows(Apartment& apartment) {
  return adopt((new RowsObject(apartment))->identity());
}

}  // namespace tarnwick::automation::com
