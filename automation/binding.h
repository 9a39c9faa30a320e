#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "automation/model.h"
#include "records/property.h"
#include "runtime/error.h"
#include "server/server.h"
#include "state/enums.h"

namespace tarnwick::automation {

// Makes a member's table entry from the C++ function that does the work: the types in the table
// are those of the function, so that the two cannot differ. The entries are known to the compiler,
// which makes each face's functions from them.

/// The seven classes in the order of their ids.
using ClassTypes =
    std::tuple<Server, Components, Component, RegisteredPCs, RegisteredPC, Reports, Report>;

template <class T>
inline constexpr ClassId kClassOf = []<class... C>(std::type_identity<std::tuple<C...>>) {
  static_assert((std::same_as<T, C> || ...));
  constexpr std::array kSame{std::same_as<T, C>...};
  return static_cast<ClassId>(std::ranges::find(kSame, true) - kSame.begin());
}(std::type_identity<ClassTypes>());

template <class T>
inline constexpr EnumerationId kEnumerationOf = [] {
  if constexpr (std::same_as<T, UpdateErrorEnum>) return EnumerationId::kUpdateError;
  if constexpr (std::same_as<T, MaintTypeEnum>) return EnumerationId::kMaintType;
  if constexpr (std::same_as<T, ReportCodeEnum>) return EnumerationId::kReportCode;
  if constexpr (std::same_as<T, ReportTypesEnum>) return EnumerationId::kReportTypes;
  if constexpr (std::same_as<T, ado::FailureKind>) return EnumerationId::kFailureKind;
}();

template <class Record>
class RecordEnumerator final : public Enumerator {
 public:
  explicit RecordEnumerator(StoreEnumerator<Record> walk) : walk_(std::move(walk)) {}
  Object next() override { return {kClassOf<Record>, walk_.next()}; }
  void reset() override { walk_.reset(); }
  std::unique_ptr<Enumerator> clone() const override {
    return std::make_unique<RecordEnumerator>(*this);
  }

 private:
  StoreEnumerator<Record> walk_;
};

template <class Record>
class RecordCollection final : public Collection {
 public:
  explicit RecordCollection(std::shared_ptr<Store<Record>> store) : store_(std::move(store)) {}
  std::int32_t count() const override { return static_cast<std::int32_t>(store_->size()); }
  Object item(const Variant& key_or_position) const override {
    return {kClassOf<Record>, entry_at(store_, key_or_position)};
  }
  std::unique_ptr<Enumerator> enumerate() const override {
    return std::make_unique<RecordEnumerator<Record>>(StoreEnumerator<Record>(store_));
  }

 private:
  std::shared_ptr<Store<Record>> store_;
};

// How one C++ type stands in the tables and in a Value.
template <class T>
struct Automated;

template <class T, Kind kKind>
struct PlainlyAutomated {
  static constexpr Type kType{kKind, {}, {}};
  static const T& from(const Value& value) { return std::get<T>(value); }
  static Value to(T result) { return result; }
};
template <>
struct Automated<bool> : PlainlyAutomated<bool, Kind::kBoolean> {};
template <>
struct Automated<std::int16_t> : PlainlyAutomated<std::int16_t, Kind::kInt16> {};
template <>
struct Automated<std::int32_t> : PlainlyAutomated<std::int32_t, Kind::kInt32> {};
template <>
struct Automated<Date> : PlainlyAutomated<Date, Kind::kDate> {};
template <>
struct Automated<Text> : PlainlyAutomated<Text, Kind::kText> {};

template <>
struct Automated<TextView> {
  static constexpr Type kType{Kind::kText, {}, {}};
  static TextView from(const Value& value) { return std::get<Text>(value); }
};

template <class T>
requires std::is_enum_v<T>
struct Automated<T> {
  static constexpr Type kType{Kind::kEnumeration, kEnumerationOf<T>, {}};
  static T from(const Value& value) { return static_cast<T>(std::get<std::int32_t>(value)); }
  static Value to(T result) { return static_cast<std::int32_t>(result); }
};

template <class T>
struct Automated<std::shared_ptr<T>> {
  static constexpr Type kType{Kind::kObject, {}, kClassOf<T>};
  static std::shared_ptr<T> from(const Value& value) {
    const Object& object = std::get<Object>(value);
    if (object && object.class_id != kClassOf<T>) throw Error(ErrorNumber::kTypeMismatch);
    return std::static_pointer_cast<T>(object.instance);
  }
  static Value to(std::shared_ptr<T> result) { return Object{kClassOf<T>, std::move(result)}; }
};

template <>
struct Automated<Variant> {
  static constexpr Type kType{Kind::kKeyOrPosition, {}, {}};
  static Variant from(const Value& value) {
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
};

// No member returns a variant with something in it.
template <>
struct Automated<Empty> {
  static constexpr Type kType{Kind::kEmpty, {}, {}};
  static Value to(Empty result) { return result; }
};

template <class Record>
struct Automated<std::shared_ptr<Store<Record>>> {
  static constexpr Type kType{Kind::kCollection, {}, kClassOf<Record>};
  static Value to(std::shared_ptr<Store<Record>> result) {
    return std::make_shared<RecordCollection<Record>>(std::move(result));
  }
};

template <class Record>
struct Automated<StoreEnumerator<Record>> {
  static constexpr Type kType{Kind::kEnumerator, {}, kClassOf<Record>};
  static Value to(StoreEnumerator<Record> result) {
    return std::make_shared<RecordEnumerator<Record>>(std::move(result));
  }
};

template <class T>
using AutomatedAs = Automated<std::remove_cvref_t<T>>;

template <class T>
inline constexpr Type kAutomatedType = AutomatedAs<T>::kType;
template <>
inline constexpr Type kAutomatedType<void>{};

// A member function, a free function whose first parameter is the object, or a data member.
template <auto kFunction, class C, class R, class... A>
struct Bound {
  using Result = R;
  using Arguments = std::tuple<A...>;
  /// `instance` is a T, whether the function is its own or of what it is derived from.
  template <class T>
  static Value call(void* instance, std::span<const Value> arguments) {
    return run(*static_cast<T*>(instance), arguments, std::index_sequence_for<A...>());
  }
  static constexpr std::array<Type, sizeof...(A)> kArgumentTypes{kAutomatedType<A>...};
  static constexpr Type kResultType = kAutomatedType<R>;

 private:
  template <std::size_t... kIndex>
  static Value run(C& object, [[maybe_unused]] std::span<const Value> arguments,
                   std::index_sequence<kIndex...>) {
    if constexpr (std::is_void_v<R>) {
      std::invoke(kFunction, object, AutomatedAs<A>::from(arguments[kIndex])...);
      return Empty{};
    } else {
      return AutomatedAs<R>::to(
          std::invoke(kFunction, object, AutomatedAs<A>::from(arguments[kIndex])...));
    }
  }
};

template <auto kFunction, class F = std::remove_cv_t<decltype(kFunction)>>
struct Binding;
template <auto kFunction, class C, class R, class... A>
struct Binding<kFunction, R (C::*)(A...)> : Bound<kFunction, C, R, A...> {};
template <auto kFunction, class C, class R, class... A>
struct Binding<kFunction, R (C::*)(A...) const> : Bound<kFunction, C, R, A...> {};
template <auto kFunction, class C, class R, class... A>
struct Binding<kFunction, R (*)(C&, A...)> : Bound<kFunction, C, R, A...> {};
template <auto kFunction, class C, class R, class... A>
struct Binding<kFunction, R (*)(const C&, A...)> : Bound<kFunction, C, R, A...> {};
template <auto kField, class C, class R>
struct Binding<kField, R C::*> : Bound<kField, C, R> {};

/// What stands for an argument that a client leaves out: nothing, or a value.
using Default = std::variant<std::monostate, bool, std::int16_t, std::int32_t, Date, TextView>;

struct ArgumentName {
  constexpr ArgumentName(const char* name_in) : name(name_in) {}
  constexpr ArgumentName(const char* name_in, Default value)
      : name(name_in), default_value(value) {}
  std::string_view name;
  Default default_value;
};

/// One member of a class: the function that reads or calls it, and for a property that can be set
/// the one that sets it.
template <auto kFunctionOf, auto kLetOf, std::size_t kArguments>
struct BoundMember {
  static constexpr auto kFunction = kFunctionOf;
  static constexpr auto kLet = kLetOf;

  std::string_view name;
  Member::Access access;
  std::array<ArgumentName, kArguments> arguments;
  bool is_default = false;

  /// As a member of the class T.
  template <class T>
  [[nodiscard]] Member to_member() const {
    using B = Binding<kFunction>;
    Member member{name, access, B::kResultType, {}, is_default, &B::template call<T>, nullptr};
    if constexpr (!std::is_null_pointer_v<decltype(kLetOf)>) {
      member.let = &Binding<kLet>::template call<T>;
    }
    for (std::size_t i = 0; i < kArguments; ++i) {
      member.arguments.push_back(
          {arguments[i].name, B::kArgumentTypes[i], to_value(arguments[i].default_value)});
    }
    return member;
  }

 private:
  static std::optional<Value> to_value(const Default& value) {
    return std::visit(
        []<class T>(const T& held) -> std::optional<Value> {
          if constexpr (std::same_as<T, std::monostate>) {
            return std::nullopt;
          } else if constexpr (std::same_as<T, TextView>) {
            return Text(held);
          } else {
            return held;
          }
        },
        value);
  }
};

template <auto kFunction>
consteval auto method(std::string_view name) {
  static_assert(Binding<kFunction>::kArgumentTypes.empty());
  return BoundMember<kFunction, nullptr, 0>{name, Member::Access::kMethod, {}};
}

template <auto kFunction, std::size_t kArguments>
consteval auto method(std::string_view name, const ArgumentName (&names)[kArguments]) {
  static_assert(Binding<kFunction>::kArgumentTypes.size() == kArguments);
  return BoundMember<kFunction, nullptr, kArguments>{name, Member::Access::kMethod,
                                                     std::to_array(names)};
}

template <auto kGet>
consteval auto get(std::string_view name) {
  return BoundMember<kGet, nullptr, 0>{name, Member::Access::kGet, {}};
}

/// Item, the default member of a collection.
template <auto kItem>
consteval auto item() {
  return BoundMember<kItem, nullptr, 1>{"Item", Member::Access::kGet, {"vntIndexKey"}, true};
}

/// Specialised for each class that clients know: its name, and all members in the order in which
/// clients know them.
template <class T>
struct MembersOf;

/// The table of `T` for whoever looks at it while the program runs.
template <class T>
std::vector<Member> members_of() {
  auto members = std::apply(
      [](const auto&... each) { return std::vector<Member>{each.template to_member<T>()...}; },
      MembersOf<T>::kAll);
  std::int32_t place = 0;
  for (Member& member : members) {
    ++place;
    const bool enumerates = member.result.kind == Kind::kEnumerator;
    member.id = member.is_default ? kIdOfDefaultMember : enumerates ? kIdOfEnumerator : place;
  }
  return members;
}

namespace member_order {

template <class Record, std::size_t kIndex>
consteval auto property_member() {
  constexpr auto& kProperty = std::get<kIndex>(Properties<Record>::kAll);
  if constexpr (kProperty.access == Access::kReadWrite) {
    return BoundMember<kProperty.kGet, kProperty.kSet, 0>{
        kProperty.name, Member::Access::kGetLet, {}};
  } else {
    return get<kProperty.kGet>(kProperty.name);
  }
}

// At each place, which of the properties and then of the other members stands there.
template <class Record, std::size_t kOthers>
consteval auto places() {
  constexpr auto kIds = std::apply([](const auto&... rows) { return std::array{rows.id...}; },
                                   Properties<Record>::kAll);
  std::array<std::size_t, kIds.size() + kOthers> places{};
  std::size_t next_other = kIds.size();
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto property = std::ranges::find(kIds, static_cast<int>(i) + 1);
    places[i] =
        property == kIds.end() ? next_other++ : static_cast<std::size_t>(property - kIds.begin());
  }
  if (next_other != places.size()) {
    throw "each property has a dispatch id of its own, and none leaves a gap";
  }
  return places;
}

}  // namespace member_order

/// The properties of a record class at the places that their dispatch ids say, and `others`, in
/// their order, at those that are left.
template <class Record, class... Others>
consteval auto members_with_properties(const Others&... others) {
  constexpr auto kPlaces = member_order::places<Record, sizeof...(Others)>();
  const auto all = [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    return std::tuple{member_order::property_member<Record, kIndex>()..., others...};
  }
  (std::make_index_sequence<std::tuple_size_v<decltype(Properties<Record>::kAll)>>());
  return [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    return std::tuple{std::get<kPlaces[kIndex]>(all)...};
  }
  (std::make_index_sequence<kPlaces.size()>());
}

}  // namespace tarnwick::automation
