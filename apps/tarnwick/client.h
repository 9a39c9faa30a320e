#pragma once

#include <memory>
#include <vector>

#include "apps/tarnwick/rows.h"
#include "state/failures.h"

namespace tarnwick::cli {

// What the command line needs of the object model. Each function stands for a member (or a few) of
// the automation classes and means what that member means, so that whoever can reach those members,
// in this process or in another, can stand behind this interface. Failures of the object model are
// results, with the account in Client::last_error_msg; a Failure is thrown only when the object
// model itself cannot be reached. Files are named by absolute paths.

/// One record object. Gives up what it holds at its end. Must not outlive its Client.
class Record {
 public:
  virtual ~Record() = default;

  /// LockRecord: opens the row for maintenance and loads the object from it.
  virtual bool lock_record() = 0;
  /// ReleaseRecord.
  virtual bool release_record() = 0;
  /// Delete. What it returns says little (it also depends on the lists in memory): see whether the
  /// row is still there.
  virtual void remove() = 0;
};

class ComponentRecord : public Record {
 public:
  virtual ComponentRow row() = 0;
  virtual UpdateErrorEnum update() = 0;
  /// As update, but refuses a row that is there already: RecordChanged_ue.
  virtual UpdateErrorEnum insert() = 0;
  /// PCs: reads the register anew.
  virtual std::vector<PcRow> pcs() = 0;
};

class PcRecord : public Record {
 public:
  virtual PcRow row() = 0;
  /// Sets every property that can be set.
  virtual void assign(const PcRow& row) = 0;
  virtual UpdateErrorEnum update() = 0;
  /// As update, but refuses a row that is there already: RecordChanged_ue.
  virtual UpdateErrorEnum insert() = 0;
};

class ReportRecord : public Record {
 public:
  virtual ReportRow row() = 0;
  /// Sets every property that can be set.
  virtual void assign(const ReportRow& row) = 0;
  /// `report_file`: what is stored as the report file; empty: the stored one stays.
  virtual UpdateErrorEnum update(TextView report_file) = 0;
  /// As update, but refuses a row that is there already: RecordChanged_ue.
  virtual UpdateErrorEnum insert(TextView report_file) = 0;
  virtual bool import_ttx(TextView file) = 0;
  virtual bool extract_ttx(TextView file) = 0;
  virtual bool extract_report(TextView file) = 0;
};

class Client {
 public:
  virtual ~Client() = default;

  /// LastErrorMsg, of any object.
  virtual Text last_error_msg() = 0;

  /// The cause of the last failure; kind kNone where there has been none since it was cleared. That
  /// of a call that went through may be error 3021: an update that found no row and inserted one.
  virtual FailureCause last_cause() = 0;
  virtual void clear_last_cause() = 0;

  /// Server.SetConnection.
  virtual bool set_connection(TextView connect_string, TextView role, TextView password) = 0;

  /// Server.Refresh, and Refresh of one collection. They may return true and leave an account: of
  /// a table that cannot be read, or of rows that cannot be loaded.
  virtual bool refresh() = 0;
  virtual bool refresh_components() = 0;
  virtual bool refresh_pcs() = 0;
  virtual bool refresh_reports() = 0;

  /// The collections as they were loaded last, in their order.
  virtual std::vector<ComponentRow> components() = 0;
  virtual std::vector<PcRow> pcs() = 0;
  virtual std::vector<ReportRow> reports() = 0;

  /// The keys of the PCs whose computer id or MAC number is `name`, in the order of the register.
  /// Loads nothing and waits for nobody. `name` must hold no quote. Throws Failure.
  virtual std::vector<PcRow> find_pcs(TextView name) = 0;

  /// A record object that bears these values: in memory, with no row version. A component's
  /// properties are read-only, so it comes from the Add of a Components object of its own.
  virtual std::unique_ptr<ComponentRecord> new_component(const ComponentRow& row) = 0;
  virtual std::unique_ptr<PcRecord> new_pc(const PcRow& row) = 0;
  virtual std::unique_ptr<ReportRecord> new_report(const ReportRow& row) = 0;
};

}  // namespace tarnwick::cli
