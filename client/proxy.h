#pragma once

#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "automation/members.h"
#include "client/transport.h"

namespace tarnwick::client {

template <class T>
class Proxy;

template <class T, Name kName>
concept HasMember = requires {
  typename std::integral_constant<std::size_t, automation::place_of_member<T>(kName.view())>;
};

/// The entry of the member in the table of its class.
template <class T, Name kName>
requires HasMember<T, kName>
inline constexpr auto& kMemberOf =
    std::get<automation::place_of_member<T>(kName.view())>(automation::MembersOf<T>::kAll);

template <class T, Name kName>
using MemberBinding =
    automation::Binding<std::remove_cvref_t<decltype(kMemberOf<T, kName>)>::kFunction>;

template <class T, Name kName>
concept HasMethod = HasMember<T, kName> &&
    (kMemberOf<T, kName>.access == Member::Access::kMethod ||
     std::tuple_size_v<typename MemberBinding<T, kName>::Arguments> > 0);
template <class T, Name kName>
concept HasProperty = HasMember<T, kName> && !HasMethod<T, kName>;
template <class T, Name kName>
concept HasSetter = HasProperty<T, kName> &&(kMemberOf<T, kName>.access == Member::Access::kGetLet);

/// How a C++ type of the tables stands on this side.
template <class T>
struct Passing {
  using Type = T;
  static Value to(Type value) { return automation::Automated<T>::to(std::move(value)); }
  static Type from(const Value& value, Transport&) {
    return Type(automation::Automated<T>::from(value));
  }
};
template <>
struct Passing<void> {
  using Type = void;
  static void from(const Value&, Transport&) {}
};
template <>
struct Passing<Empty> {
  using Type = Empty;
  static Empty from(const Value&, Transport&) { return {}; }
};
template <>
struct Passing<TextView> {
  using Type = TextView;
  static Value to(TextView text) { return Text(text); }
};
template <>
struct Passing<Variant> {
  using Type = Variant;
  static Value to(const Variant& value) {
    return std::visit(
        []<class T>(const T& held) -> Value {
          if constexpr (std::constructible_from<Value, T>) {
            return held;
          } else {
            throw Error(ErrorNumber::kTypeMismatch);
          }
        },
        value);
  }
};
template <class T>
struct Passing<std::shared_ptr<T>> {
  using Type = Proxy<T>;
  static Value to(const Proxy<T>& proxy) { return proxy.object(); }
  static Proxy<T> from(const Value& value, Transport& transport) {
    return {transport, std::get<Object>(value)};
  }
};
template <class T>
using PassingAs = Passing<std::remove_cvref_t<T>>;

// What members with many objects for a result hand out.
template <class T>
T entry_of(const std::shared_ptr<Store<T>>&);
template <class T>
T entry_of(const StoreEnumerator<T>&);
template <class R>
concept HandsOutMany = requires(const R& many) {
  entry_of(many);
};

/// An object of the class T, wherever it lives; given up with the last copy. Must not outlive its
/// transport. All members throw as those of Transport do.
template <class T>
class Proxy final {
 public:
  Proxy(Transport& transport, Object object) : transport_(&transport), object_(std::move(object)) {}

  /// Makes an object of the class.
  [[nodiscard]] static Proxy create(Transport& transport) {
    return {transport, transport.create(automation::class_of(automation::kClassOf<T>))};
  }

  [[nodiscard]] const Object& object() const { return object_; }
  /// Whether it is an object at all, and not Nothing.
  explicit operator bool() const { return static_cast<bool>(object_); }

  /// Calls a method; arguments may be left out at the end where they have a default.
  template <Name kName, class... A>
  requires HasMethod<T, kName>
  auto call(const A&... arguments) const {
    using Arguments = typename MemberBinding<T, kName>::Arguments;
    return run<kName>(values<Arguments>(std::index_sequence_for<A...>(), arguments...));
  }

  template <Name kName>
  requires HasProperty<T, kName>
  [[nodiscard]] auto get() const { return run<kName>({}); }

  template <Name kName>
  requires HasSetter<T, kName>
  void set(const typename PassingAs<typename MemberBinding<T, kName>::Result>::Type& value) const {
    transport_->let(object_, member<kName>(),
                    PassingAs<typename MemberBinding<T, kName>::Result>::to(value));
  }

  /// The attributes of a record.
  [[nodiscard]] Row read() const requires HasMember<T, "LockRecord"> {
    return transport_->read(object_);
  }
  /// Those of the records of a collection.
  [[nodiscard]] std::vector<Row> rows() const requires HasMember<T, "Item"> {
    return transport_->rows(object_);
  }

 private:
  template <Name kName>
  static const Member& member() {
    return automation::class_of(automation::kClassOf<T>)
        .members[automation::place_of_member<T>(kName.view())];
  }

  template <class Arguments, std::size_t... kIndex, class... A>
  static std::vector<Value> values(std::index_sequence<kIndex...>, const A&... arguments) {
    return {PassingAs<std::tuple_element_t<kIndex, Arguments>>::to(arguments)...};
  }

  template <Name kName>
  auto run(const std::vector<Value>& given) const {
    using Result = std::remove_cvref_t<typename MemberBinding<T, kName>::Result>;
    const Member& of = member<kName>();
    const auto arguments = automation::with_defaults(of, given);
    if constexpr (HandsOutMany<Result>) {
      std::vector<Proxy<decltype(entry_of(std::declval<Result>()))>> entries;
      for (Object& entry : transport_->call_for_all(object_, of, arguments)) {
        entries.emplace_back(*transport_, std::move(entry));
      }
      return entries;
    } else {
      return Passing<Result>::from(transport_->call(object_, of, arguments), *transport_);
    }
  }

  Transport* transport_;
  Object object_;
};

}  // namespace tarnwick::client
