#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "automation/model.h"
#include "runtime/error.h"
#include "server/server.h"
#include "state/enums.h"

namespace tarnwick::automation {

// Makes a member's table entry from the C++ function that does the work: the types in the table
// are those of the function, so that the two cannot differ.

template <class T>
inline constexpr ClassId kClassOf = [] {
  if constexpr (std::same_as<T, Server>) return ClassId::kServer;
  if constexpr (std::same_as<T, Components>) return ClassId::kComponents;
  if constexpr (std::same_as<T, Component>) return ClassId::kComponent;
  if constexpr (std::same_as<T, RegisteredPCs>) return ClassId::kRegisteredPCs;
  if constexpr (std::same_as<T, RegisteredPC>) return ClassId::kRegisteredPC;
  if constexpr (std::same_as<T, Reports>) return ClassId::kReports;
  if constexpr (std::same_as<T, Report>) return ClassId::kReport;
}();

template <class T>
inline constexpr EnumerationId kEnumerationOf = [] {
  if constexpr (std::same_as<T, UpdateErrorEnum>) return EnumerationId::kUpdateError;
  if constexpr (std::same_as<T, MaintTypeEnum>) return EnumerationId::kMaintType;
  if constexpr (std::same_as<T, ReportCodeEnum>) return EnumerationId::kReportCode;
  if constexpr (std::same_as<T, ReportTypesEnum>) return EnumerationId::kReportTypes;
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
struct Wire;

template <class T, Kind kKind>
struct PlainWire {
  static constexpr Type kType{kKind, {}, {}};
  static const T& from(const Value& value) { return std::get<T>(value); }
  static Value to(T result) { return result; }
};
template <>
struct Wire<bool> : PlainWire<bool, Kind::kBoolean> {};
template <>
struct Wire<std::int16_t> : PlainWire<std::int16_t, Kind::kInt16> {};
template <>
struct Wire<std::int32_t> : PlainWire<std::int32_t, Kind::kInt32> {};
template <>
struct Wire<Date> : PlainWire<Date, Kind::kDate> {};
template <>
struct Wire<Text> : PlainWire<Text, Kind::kText> {};

template <>
struct Wire<TextView> {
  static constexpr Type kType{Kind::kText, {}, {}};
  static TextView from(const Value& value) { return std::get<Text>(value); }
};

template <class T>
requires std::is_enum_v<T>
struct Wire<T> {
  static constexpr Type kType{Kind::kEnumeration, kEnumerationOf<T>, {}};
  static T from(const Value& value) { return static_cast<T>(std::get<std::int32_t>(value)); }
  static Value to(T result) { return static_cast<std::int32_t>(result); }
};

template <class T>
struct Wire<std::shared_ptr<T>> {
  static constexpr Type kType{Kind::kObject, {}, kClassOf<T>};
  static std::shared_ptr<T> from(const Value& value) {
    const Object& object = std::get<Object>(value);
    if (object && object.class_id != kClassOf<T>) throw Error(ErrorNumber::kTypeMismatch);
    return std::static_pointer_cast<T>(object.instance);
  }
  static Value to(std::shared_ptr<T> result) { return Object{kClassOf<T>, std::move(result)}; }
};

template <>
struct Wire<Variant> {
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
struct Wire<Empty> {
  static constexpr Type kType{Kind::kEmpty, {}, {}};
  static Value to(Empty result) { return result; }
};

template <class Record>
struct Wire<std::shared_ptr<Store<Record>>> {
  static constexpr Type kType{Kind::kCollection, {}, kClassOf<Record>};
  static Value to(std::shared_ptr<Store<Record>> result) {
    return std::make_shared<RecordCollection<Record>>(std::move(result));
  }
};

template <class Record>
struct Wire<StoreEnumerator<Record>> {
  static constexpr Type kType{Kind::kEnumerator, {}, kClassOf<Record>};
  static Value to(StoreEnumerator<Record> result) {
    return std::make_shared<RecordEnumerator<Record>>(std::move(result));
  }
};

template <class T>
using WireOf = Wire<std::remove_cvref_t<T>>;

// A member function, or a free function whose first parameter is the object.
template <auto kFunction, class C, class R, class... A>
struct Bound {
  static Value call(void* instance, std::span<const Value> arguments) {
    return call(*static_cast<C*>(instance), arguments, std::index_sequence_for<A...>());
  }
  static std::vector<Type> argument_types() { return {WireOf<A>::kType...}; }
  static Type result_type() {
    if constexpr (std::is_void_v<R>)
      return {};
    else
      return WireOf<R>::kType;
  }

 private:
  template <std::size_t... kIndex>
  static Value call(C& object, [[maybe_unused]] std::span<const Value> arguments,
                    std::index_sequence<kIndex...>) {
    if constexpr (std::is_void_v<R>) {
      std::invoke(kFunction, object, WireOf<A>::from(arguments[kIndex])...);
      return Empty{};
    } else {
      return WireOf<R>::to(std::invoke(kFunction, object, WireOf<A>::from(arguments[kIndex])...));
    }
  }
};

template <auto kFunction, class F = decltype(kFunction)>
struct Binding;
template <auto kFunction, class C, class R, class... A>
struct Binding<kFunction, R (C::*)(A...)> : Bound<kFunction, C, R, A...> {};
template <auto kFunction, class C, class R, class... A>
struct Binding<kFunction, R (C::*)(A...) const> : Bound<kFunction, C, R, A...> {};
template <auto kFunction, class C, class R, class... A>
struct Binding<kFunction, R (*)(C&, A...)> : Bound<kFunction, C, R, A...> {};
template <auto kFunction, class C, class R, class... A>
struct Binding<kFunction, R (*)(const C&, A...)> : Bound<kFunction, C, R, A...> {};

/// The name of an argument, and what stands for it where it is left out.
struct ArgumentName {
  ArgumentName(const char* name_in) : name(name_in) {}
  ArgumentName(const char* name_in, Value value) : name(name_in), default_value(std::move(value)) {}
  std::string_view name;
  std::optional<Value> default_value;
};

template <auto kFunction>
Member bind(std::string_view name, Member::Access access,
            std::initializer_list<ArgumentName> names) {
  using B = Binding<kFunction>;
  Member member{name, access, B::result_type(), {}, false, &B::call, nullptr};
  const std::vector<Type> types = B::argument_types();
  if (types.size() != names.size()) throw Error(ErrorNumber::kInternalError);
  auto type = types.begin();
  for (const ArgumentName& argument : names) {
    member.arguments.push_back({argument.name, *type++, argument.default_value});
  }
  return member;
}

template <auto kFunction>
Member method(std::string_view name, std::initializer_list<ArgumentName> names = {}) {
  return bind<kFunction>(name, Member::Access::kMethod, names);
}

template <auto kGet>
Member get(std::string_view name) {
  return bind<kGet>(name, Member::Access::kGet, {});
}

template <auto kGet, auto kLet>
Member get_let(std::string_view name) {
  Member member = bind<kGet>(name, Member::Access::kGetLet, {});
  member.let = &Binding<kLet>::call;
  return member;
}

/// Item, the default member of a collection.
template <auto kItem>
Member item() {
  Member member = bind<kItem>("Item", Member::Access::kGet, {"vntIndexKey"});
  member.is_default = true;
  return member;
}

template <class T>
Class make_class(std::string_view name, std::vector<Member> members) {
  return {kClassOf<T>, name, std::move(members), [](SharedState& state) {
            return Object{kClassOf<T>, std::make_shared<T>(state)};
          }};
}

}  // namespace tarnwick::automation
