#include "automation/com/collection_object.h"

#include <array>
#include <utility>

namespace tarnwick::automation::com {
namespace {

// For the arguments only: the calls go to the collection itself.
std::span<const Member> members() {
  static const std::array<Member, 3> all{
      Member{"Item",
             Member::Access::kGet,
             {Kind::kObject, {}, {}},
             {{"vntIndexKey", {Kind::kKeyOrPosition, {}, {}}, {}}},
             true,
             nullptr,
             nullptr},
      Member{"Count", Member::Access::kGet, {Kind::kInt32, {}, {}}, {}, false, nullptr, nullptr},
      Member{"NewEnum",
             Member::Access::kGet,
             {Kind::kEnumerator, {}, {}},
             {},
             false,
             nullptr,
             nullptr}};
  return all;
}

Variant plain(const Value& value) {
  return std::visit(
      []<class T>(const T& held) -> Variant {
        if constexpr (std::constructible_from<Variant, T>) {
          return held;
        } else {
          throw Error(ErrorNumber::kTypeMismatch);
        }
      },
      value);
}

}  // namespace

CollectionObject::CollectionObject(Apartment& apartment, std::shared_ptr<Collection> collection)
    : DispatchObject(apartment, members(), L"Tarnwick.Collection"),
      collection_(std::move(collection)) {}

STDMETHODIMP CollectionObject::get_Item(VARIANT vntIndexKey, VARIANT* value) {
  if (value == nullptr) return E_POINTER;
  VariantInit(value);
  return reporting(
      [&] { give(apartment(), collection_->item(plain(key_or_position(vntIndexKey))), value); });
}

STDMETHODIMP CollectionObject::get_Count(long* value) {
  if (value == nullptr) return E_POINTER;
  return reporting([&] { *value = collection_->count(); });
}

STDMETHODIMP CollectionObject::get_NewEnum(IUnknown** value) {
  if (value == nullptr) return E_POINTER;
  *value = nullptr;
  return reporting(
      [&] { give(apartment(), std::shared_ptr<Enumerator>(collection_->enumerate()), value); });
}

STDMETHODIMP CollectionObject::GetClassInfo(ITypeInfo** info) {
  if (info != nullptr) *info = nullptr;
  return E_NOTIMPL;
}

}  // namespace tarnwick::automation::com
