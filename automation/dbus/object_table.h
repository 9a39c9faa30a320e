#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "automation/value.h"

namespace tarnwick::automation::dbus {

/// The objects that clients hold and their paths. An object has an entry, and with it a path, from
/// the first time that a client is handed it until no client holds it; objects that nobody was
/// handed are unknown here. Holding is not counted: a client holds an object or does not.
///
/// Paths are <root>/<class>/<run>_<number>: the number is never used twice, and the run is one of
/// this process, so that a path of an earlier process never names an object of this one.
class ObjectTable {
 public:
  using Number = std::uint64_t;

  /// The objects that one client holds.
  class Holder {
   public:
    [[nodiscard]] std::size_t size() const { return numbers_.size(); }

   private:
    friend class ObjectTable;
    std::unordered_set<Number> numbers_;
  };

  /// `run`: letters and digits.
  explicit ObjectTable(std::string run);

  /// Lets `holder` hold `object`, which is not Nothing. Returns its path.
  std::string hand_out(Holder& holder, const Object& object);

  /// Whether `holder` holds `object`.
  [[nodiscard]] bool holds(const Holder& holder, const Object& object) const;

  /// The object at `path`; Nothing when there is none. Stays put until it is released.
  [[nodiscard]] const Object& find(std::string_view path) const;

  /// Ends the holding of the object at `path`. False when `holder` does not hold it.
  bool release(Holder& holder, std::string_view path);

  /// Ends all that `holder` holds, the youngest first: records go before the Server whose
  /// connection they use.
  void release_all(Holder& holder);

  [[nodiscard]] bool empty() const { return entries_.empty(); }

  /// Paths of objects of the class, at most `limit`.
  [[nodiscard]] std::vector<std::string> paths(ClassId of, std::size_t limit) const;
  /// Whether any object of the class is held.
  [[nodiscard]] bool any(ClassId of) const;

 private:
  struct Entry {
    Object object;
    std::size_t holders = 0;
  };
  using Entries = std::unordered_map<Number, Entry>;

  [[nodiscard]] std::string path_of(ClassId of, Number number) const;
  [[nodiscard]] Entries::const_iterator locate(std::string_view path) const;
  void let_go(Number number);

  std::string run_;
  Entries entries_;
  std::unordered_map<const void*, Number> numbers_;
  std::size_t class_sizes_[kClassCount] = {};
  Number next_ = 1;
};

}  // namespace tarnwick::automation::dbus
