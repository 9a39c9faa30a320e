#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "automation/value.h"
#include "records/row_look.h"
#include "state/enums.h"
#include "state/shared_state.h"

namespace tarnwick::automation {

// The object model as clients see it: one table per class, from which both wire forms are made.
// Names and order are what clients were built against.

/// What kind of value an argument or a result is.
enum class Kind : std::uint8_t {
  kNothing,  ///< no result
  kText,
  kBoolean,
  kInt16,
  kInt32,
  kEnumeration,  ///< an int32
  kDate,
  kObject,         ///< of the class `class_id`, or Nothing
  kKeyOrPosition,  ///< a text is a key, a number a position from 1
  kEmpty,          ///< a variant; always empty, but for an item of COM's plain collections
  kCollection,     ///< of objects of the class `class_id`
  kEnumerator,     ///< over objects of the class `class_id`
  kAnyObject,      ///< of any class, or Nothing; of no member of the classes
  kValues,         ///< of no member of the classes
};

/// Those that are known by name to clients.
enum class EnumerationId : std::uint8_t {
  kUpdateError,
  kMaintType,
  kReportCode,
  kReportTypes,
  // Of no member of the classes.
  kFailureKind,
  kLookOutcome,
};

/// The type of an argument or a result.
struct Type {
  Kind kind = Kind::kNothing;
  EnumerationId enumeration{};  ///< for kEnumeration
  ClassId class_id{};           ///< for kObject, kCollection and kEnumerator
  friend bool operator==(const Type&, const Type&) = default;
};

/// An argument of a member.
struct Argument {
  std::string_view name;
  Type type;
  /// What stands for the argument where a client leaves it out; none: it has to be given. Only the
  /// last arguments of a member have one.
  std::optional<Value> default_value;
};

/// The dispatch ids that automation itself gives to two members (DISPID_VALUE and DISPID_NEWENUM).
inline constexpr std::int32_t kIdOfDefaultMember = 0;
inline constexpr std::int32_t kIdOfEnumerator = -4;

/// A method or a property of a class.
struct Member {
  /// kGet may have arguments (Item); kGetLet never has.
  enum class Access : std::uint8_t { kMethod, kGet, kGetLet };

  std::string_view name;
  Access access = Access::kMethod;
  Type result;
  std::vector<Argument> arguments;
  /// The one that is meant where a client names no member.
  bool is_default = false;

  using Call = Value (*)(void* instance, std::span<const Value> arguments);
  Call call = nullptr;
  Call let = nullptr;  ///< one argument, no result

  /// The dispatch id: its place in the table, from 1, but for the default member and the one that
  /// enumerates.
  std::int32_t id = 0;
};

/// One of the seven classes, with its members in the order that clients know.
struct Class {
  ClassId id{};
  std::string_view name;
  std::vector<Member> members;
  Object (*create)(SharedState& state) = nullptr;
  /// Of a record class, whose objects are rows of a table; see insert().
  UpdateErrorEnum (*insert)(void* instance, TextView full_report_name) = nullptr;
  /// Of a record class; see look().
  Look (*look)(void* instance) = nullptr;
};

/// A member of an enumeration.
struct Enumerand {
  std::string_view name;
  std::int32_t value = 0;
};

/// An enumeration that members take or return.
struct Enumeration {
  EnumerationId id{};
  std::string_view name;
  std::span<const Enumerand> members;
};

/// All of them, in the order of their ids.
[[nodiscard]] std::span<const Class> classes();
[[nodiscard]] const Class& class_of(ClassId id);

/// The class with this name, in any letter case, alone (Server) or as a ProgID (Tarnwick.Server);
/// null where there is none.
[[nodiscard]] const Class* find_class(TextView name);

/// The member with exactly this name, or null.
[[nodiscard]] const Member* find_member(const Class& of, std::string_view name);

/// Whether the member is one of those that are read together where a record is read in one go. Ones
/// with arguments are not, nor those that return many objects: reading must not hand out a whole
/// register.
[[nodiscard]] bool is_property(const Member& member);

[[nodiscard]] const Enumeration& enumeration_of(EnumerationId id);

/// `arguments` and the defaults of those that are missing at the end. Throws Error 449 for a
/// missing one that has no default and Error 450 for one too many.
[[nodiscard]] std::vector<Value> with_defaults(const Member& member,
                                               std::span<const Value> arguments);

/// Calls `member` (reads it, where it is a property) of `object`, which is of the member's class;
/// arguments that are missing at the end take their defaults. Throws what the member lets through,
/// Error 13 for an argument of another type than the table says, and what with_defaults throws.
Value call(const Object& object, const Member& member, std::span<const Value> arguments = {});

/// Sets the property `member`. Throws Error 13 as `call` does.
void let(const Object& object, const Member& member, const Value& value);

/// Writes `record`, of a class that is one, to a row of its own: as its Update, but a row that is
/// there already is refused (RecordChanged_ue). `full_report_name`: the report file to store, as
/// Update takes it; throws Error 5 for a record of another class unless it is empty.
[[nodiscard]] UpdateErrorEnum insert(const Object& record, TextView full_report_name = {});

/// Loads `record`, of a class that is one, from its row as it was committed: locks nothing, writes
/// nothing and waits for nobody. See look_at_row.
[[nodiscard]] Look look(const Object& record);

}  // namespace tarnwick::automation
