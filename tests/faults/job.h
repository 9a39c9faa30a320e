#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string_view>
#include <vector>

#include "tests/support/object_model.h"

namespace tarnwick::test_support {

/// One server process at work, with a record of each kind in its hands.
struct Site {
  std::unique_ptr<ServerProcess> process;
  std::shared_ptr<Component> component;
  std::shared_ptr<RegisteredPC> pc;
  std::shared_ptr<Report> report;
  std::filesystem::path files;  // see Job
  // What is passed to calls, made beforehand: no failure is the caller's own.
  Text field_definitions, report_file, extracted, extracted_report;

  /// Puts the files that every job finds into a folder of their own in `folder`, anew.
  void put_files(const TemporaryFolder& folder);
  /// Loads the collections, and takes hold of one record of each.
  void load();
  [[nodiscard]] bool locked() const;
  /// Gives back what is locked.
  void release();
  /// What the collections show, a record in each line.
  [[nodiscard]] Text shown() const;
};

/// Something that a client does. It finds the components 1 and 2, the PC PC1, the reports Sales and
/// Stock, and the files fields.ttx, report.rpt and extracted.rpt.
struct Job {
  /// What a failure leaves behind: an account in the error state, or the last cause alone.
  enum class Failure { kAccount, kCause };
  /// Whether a failure may leave one of two statements behind.
  enum class Writes { kAtOnce, kInSteps };

  std::string_view name;
  std::function<bool(Site&)> run;  // whether it went well
  /// Of a site that is connected and loaded; without one it is neither.
  std::function<void(Site&)> prepare = [](Site&) {};
  Failure failure = Failure::kAccount;
  Writes writes = Writes::kAtOnce;

  friend void PrintTo(const Job& job, std::ostream* out) { *out << job.name; }
};

[[nodiscard]] const std::vector<Job>& all_jobs();

}  // namespace tarnwick::test_support
