#pragma once

#include <vector>

#include "automation/model.h"
#include "client/row.h"
#include "pcs/find_pcs.h"
#include "state/enums.h"
#include "state/failures.h"

namespace tarnwick::client {

/// How the object model is reached. Objects are what the transport says they are: their class, and
/// an instance that only it can read. An object is given up when the last reference to its instance
/// goes; all of them have to be gone before the transport goes.
///
/// What the object model answers is a result. All members throw CallError, and std::system_error
/// when the object model cannot be reached any more.
class Transport {
 public:
  virtual ~Transport() = default;

  [[nodiscard]] virtual automation::Object create(const automation::Class& of) = 0;

  /// Calls `member`, or reads it where it is a property. `arguments` are all that the table names.
  /// The result is none of many objects.
  virtual automation::Value call(const automation::Object& object, const automation::Member& member,
                                 const std::vector<automation::Value>& arguments) = 0;
  /// The same for a member whose result is a collection or an enumerator.
  [[nodiscard]] virtual std::vector<automation::Object> call_for_all(
      const automation::Object& object, const automation::Member& member,
      const std::vector<automation::Value>& arguments) = 0;
  virtual void let(const automation::Object& object, const automation::Member& member,
                   const automation::Value& value) = 0;

  /// All attributes of a record in one go. A value that cannot be had stays Empty.
  [[nodiscard]] virtual Row read(const automation::Object& record) = 0;
  /// Those of all records of a collection, in its order.
  [[nodiscard]] virtual std::vector<Row> rows(const automation::Object& collection) = 0;

  /// See automation::insert.
  virtual UpdateErrorEnum insert(const automation::Object& record, TextView report_file) = 0;
  /// See tarnwick::find_pcs.
  [[nodiscard]] virtual std::vector<PcKey> find_pcs(TextView name) = 0;

  /// The cause of the last failure; kind kNone where there has been none since it was cleared. That
  /// of a call that went through may be error 3021: an update that found no row and inserted one.
  [[nodiscard]] virtual FailureCause last_cause() = 0;
  virtual void clear_last_cause() = 0;
};

}  // namespace tarnwick::client
