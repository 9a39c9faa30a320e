#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include "runtime/date.h"
#include "runtime/text.h"
#include "runtime/variant.h"

namespace tarnwick::automation {

/// The seven classes that clients know.
enum class ClassId : std::uint8_t {
  kServer,
  kComponents,
  kComponent,
  kRegisteredPCs,
  kRegisteredPC,
  kReports,
  kReport,
};
inline constexpr std::size_t kClassCount = 7;

/// A reference to an object of any class; keeps it alive. Without an instance it is Nothing.
struct Object {
  ClassId class_id = ClassId::kServer;
  std::shared_ptr<void> instance;

  explicit operator bool() const { return instance != nullptr; }
  friend bool operator==(const Object&, const Object&) = default;
};

/// Walks objects in order; what a for-each loop runs on.
class Enumerator {
 public:
  virtual ~Enumerator() = default;
  /// The next object, or Nothing at the end.
  [[nodiscard]] virtual Object next() = 0;
  virtual void reset() = 0;
  /// One that stands where this one stands.
  [[nodiscard]] virtual std::unique_ptr<Enumerator> clone() const = 0;
};

/// A plain keyed collection that a member returned.
class Collection {
 public:
  virtual ~Collection() = default;
  [[nodiscard]] virtual std::int32_t count() const = 0;
  /// The entry under a key or at a position from 1. Throws Error 5 for an unknown key, 9 for a
  /// position out of range, 13 or 94 for anything else.
  [[nodiscard]] virtual Object item(const Variant& key_or_position) const = 0;
  [[nodiscard]] virtual std::unique_ptr<Enumerator> enumerate() const = 0;
};

struct Values;

/// An argument or a result on its way between a client and the object model. An enumeration's value
/// is an int32. Collections, enumerators and lists of values are never null and only ever results.
using Value = std::variant<Empty, Null, bool, std::int16_t, std::int32_t, std::int64_t, double,
                           Date, Text, Object, std::shared_ptr<Collection>,
                           std::shared_ptr<Enumerator>, std::shared_ptr<const Values>>;

/// Many values in one result: a list, or rows one after the other.
struct Values {
  std::vector<Value> all;
  std::size_t columns = 0;  // values of a row; 0: a list
};

}  // namespace tarnwick::automation
