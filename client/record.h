#pragma once

#include <string_view>

#include "client/proxy.h"

namespace tarnwick::client {

/// A record object of whichever of the three classes. Must not outlive its transport; all members
/// throw as those of Transport do.
class Record final {
 public:
  /// A new object that bears the values of `row` that are known: in memory, with no row version. A
  /// component's properties are read-only for the most part, so it comes from the Add of a
  /// collection of its own; Nothing where that refuses it.
  [[nodiscard]] static Record make(Transport& transport, const Row& row);

  /// Whether it is an object at all, and not Nothing.
  explicit operator bool() const { return static_cast<bool>(object_); }

  /// The record as one of the class T, which it has to be. Throws Error 13.
  template <class T>
  [[nodiscard]] Proxy<T> as() const {
    if (object_.class_id != automation::kClassOf<T>) throw Error(ErrorNumber::kTypeMismatch);
    return {*transport_, object_};
  }

  /// LockRecord: opens the row for maintenance and loads the object from it.
  [[nodiscard]] bool lock() const;
  /// Loads the object from its row without locking it; see automation::look.
  [[nodiscard]] Look look() const { return transport_->look(object_); }
  /// ReleaseRecord.
  bool release() const;
  [[nodiscard]] Row read() const { return transport_->read(object_); }
  /// Sets every property that clients may set and whose value is known.
  void assign(const Row& row) const;
  /// Update; `report_file` is what a report stores as its report file, empty for the one that it
  /// has, and for the other classes.
  [[nodiscard]] UpdateErrorEnum update(TextView report_file = {}) const;
  /// As update, but refuses a row that is there already: RecordChanged_ue.
  [[nodiscard]] UpdateErrorEnum insert(TextView report_file = {}) const;
  /// Delete, of a record that stands in the list of its class.
  bool remove() const;

 private:
  Record(Transport& transport, Object object)
      : transport_(&transport), object_(std::move(object)) {}

  // Calls the member with this name, which all three classes have.
  template <Name kName>
  requires HasMethod<Component, kName> && HasMethod<RegisteredPC, kName> && HasMethod<Report, kName>
  [[nodiscard]] Value call(const std::vector<Value>& arguments = {}) const {
    return call_named(kName.view(), arguments);
  }
  [[nodiscard]] Value call_named(std::string_view name, const std::vector<Value>& arguments) const;

  Transport* transport_;
  Object object_;
};

}  // namespace tarnwick::client
