#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "automation/model.h"
#include "client/row.h"
#include "pcs/find_pcs.h"
#include "reports/stored_report_files.h"
#include "state/enums.h"
#include "state/failures.h"

namespace tarnwick::client {

using automation::Class;
using automation::ClassId;
using automation::Member;
using automation::Object;
using automation::Value;

/// A call that did not come to a result. What the object model answers is a result, also where it
/// could not do what was asked.
class CallError : public std::runtime_error {
 public:
  enum class Reason {
    kRefused,      ///< the member failed, or the call as such is wrong
    kNotCarried,   ///< the transport cannot carry one of the values
    kNotAnswered,  ///< whoever carries out calls ended meanwhile: nobody knows whether it was done
  };

  /// `number`: of the run-time error, 0 where it is none.
  CallError(Reason reason, const std::string& text, std::int32_t number = 0)
      : std::runtime_error(text), reason_(reason), number_(number) {}

  [[nodiscard]] Reason reason() const { return reason_; }
  [[nodiscard]] std::int32_t number() const { return number_; }

 private:
  Reason reason_;
  std::int32_t number_;
};

/// How the object model is reached. Objects are what the transport says they are: their class, and
/// an instance that only it can read. An object is given up when the last reference to its instance
/// goes; all of them have to be gone before the transport goes.
///
/// All members throw CallError, and std::system_error when the object model cannot be reached any
/// more.
class Transport {
 public:
  virtual ~Transport() = default;

  [[nodiscard]] virtual Object create(const Class& of) = 0;

  /// Calls `member`, or reads it where it is a property. `arguments` are all that the table names.
  /// The result is none of many objects.
  virtual Value call(const Object& object, const Member& member,
                     const std::vector<Value>& arguments) = 0;
  /// The same for a member whose result is a collection or an enumerator.
  [[nodiscard]] virtual std::vector<Object> call_for_all(const Object& object, const Member& member,
                                                         const std::vector<Value>& arguments) = 0;
  virtual void let(const Object& object, const Member& member, const Value& value) = 0;

  /// All attributes of a record. A value that cannot be had stays Empty.
  [[nodiscard]] virtual Row read(const Object& record);
  /// Those of all records of a collection, in its order.
  [[nodiscard]] virtual std::vector<Row> rows(const Object& collection);

  /// See automation::insert.
  virtual UpdateErrorEnum insert(const Object& record, TextView report_file) = 0;
  /// See tarnwick::find_pcs.
  [[nodiscard]] virtual std::vector<PcKey> find_pcs(TextView name) = 0;
  /// See automation::look.
  [[nodiscard]] virtual Look look(const Object& record) = 0;
  /// See tarnwick::stored_report_files.
  [[nodiscard]] virtual std::vector<StoredReportFile> stored_report_files() = 0;

  /// The cause of the last failure; kind kNone where there has been none since it was cleared. That
  /// of a call that went through may be error 3021: an update that found no row and inserted one.
  [[nodiscard]] virtual FailureCause last_cause() = 0;
  virtual void clear_last_cause() = 0;
};

/// The object model in this very process: the tables themselves. `state` must outlive the result.
[[nodiscard]] std::unique_ptr<Transport> make_in_process_transport(SharedState& state);

/// On Windows: the object model in the registered COM server, by its dispatch interfaces, for a
/// thread that has initialised COM, and its objects of the class Rows.
[[nodiscard]] std::unique_ptr<Transport> make_com_transport();

}  // namespace tarnwick::client
