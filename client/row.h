#pragma once

#include <span>
#include <vector>

#include "client/attributes.h"
#include "runtime/error.h"

namespace tarnwick::client {

/// The attributes of one record of any of the three classes, by their names. A value that was not
/// set is Empty.
class Row final {
 public:
  /// One without values. `record_class` is that of a component, a PC or a report.
  explicit Row(automation::ClassId record_class)
      : class_(record_class), values_(attributes_of(record_class).size()) {}

  template <class Record>
  [[nodiscard]] static Row of() {
    return Row(automation::kClassOf<Record>);
  }

  [[nodiscard]] automation::ClassId record_class() const { return class_; }
  [[nodiscard]] std::span<const Attribute> attributes() const { return attributes_of(class_); }

  // By an attribute that attributes() holds.
  [[nodiscard]] const AttributeValue& operator[](const Attribute& attribute) const {
    return values_[place_of(attribute)];
  }
  void set(const Attribute& attribute, AttributeValue value) {
    values_[place_of(attribute)] = std::move(value);
  }

  // By a name, which has to be an attribute of `Record`. They throw Error 13 on a row of another
  // class.
  /// The value; null where it is not known.
  template <class Record, Name kName>
  requires HasAttribute<Record, kName>
  [[nodiscard]] const AttributeType<Record, kName>* find() const {
    require_class<Record>();
    return std::get_if<AttributeType<Record, kName>>(
        &values_[place_of_attribute<Record>(kName.view())]);
  }
  /// Throws Error 13 where the value is not known, too.
  template <class Record, Name kName>
  [[nodiscard]] const AttributeType<Record, kName>& get() const {
    const auto* value = find<Record, kName>();
    if (value == nullptr) throw Error(ErrorNumber::kTypeMismatch);
    return *value;
  }
  template <class Record, Name kName>
  requires HasAttribute<Record, kName>
  void set(AttributeType<Record, kName> value) {
    require_class<Record>();
    values_[place_of_attribute<Record>(kName.view())] = std::move(value);
  }

  /// Takes over every value that is known there. `other` is of the same class.
  void overlay(const Row& other);

  /// Whether any value is known, and whether every one is.
  [[nodiscard]] bool any() const;
  [[nodiscard]] bool complete() const;
  /// Sets what is not known: to "", 0, False, or no date.
  void fill();

  friend bool operator==(const Row&, const Row&) = default;

 private:
  [[nodiscard]] std::size_t place_of(const Attribute& attribute) const {
    return static_cast<std::size_t>(&attribute - attributes().data());
  }
  template <class Record>
  void require_class() const {
    if (class_ != automation::kClassOf<Record>) throw Error(ErrorNumber::kTypeMismatch);
  }

  automation::ClassId class_;
  std::vector<AttributeValue> values_;
};

}  // namespace tarnwick::client
