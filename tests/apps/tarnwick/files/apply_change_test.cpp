#include "apps/tarnwick/files/apply_change.h"

#include <gtest/gtest.h>

#include <memory>

#include "apps/tarnwick/failure.h"
#include "client/transport.h"
#include "tests/support/object_model.h"

namespace tarnwick::cli {
namespace {

using automation::Class;
using automation::Member;
using automation::Object;
using automation::Value;

/// One that offers no Insert, as that of COM.
class WithoutInsert final : public client::Transport {
 public:
  explicit WithoutInsert(SharedState& state) : whole_(client::make_in_process_transport(state)) {}

  Object create(const Class& of) override { return whole_->create(of); }
  Value call(const Object& object, const Member& member,
             const std::vector<Value>& arguments) override {
    return whole_->call(object, member, arguments);
  }
  std::vector<Object> call_for_all(const Object& object, const Member& member,
                                   const std::vector<Value>& arguments) override {
    return whole_->call_for_all(object, member, arguments);
  }
  void let(const Object& object, const Member& member, const Value& value) override {
    whole_->let(object, member, value);
  }
  Row read(const Object& record) override { return whole_->read(record); }
  std::vector<Row> rows(const Object& collection) override { return whole_->rows(collection); }
  UpdateErrorEnum insert(const Object&, TextView) override {
    throw client::CallError(client::CallError::Reason::kNotOffered, "no Insert");
  }
  std::vector<PcKey> find_pcs(TextView name) override { return whole_->find_pcs(name); }
  Look look(const Object& record) override { return whole_->look(record); }
  std::vector<StoredReportFile> stored_report_files() override {
    return whole_->stored_report_files();
  }
  FailureCause last_cause() override { return whole_->last_cause(); }
  void clear_last_cause() override { whole_->clear_last_cause(); }

 private:
  std::unique_ptr<client::Transport> whole_;
};

TEST(ApplyChange, AddsWhereTheTransportOffersNoInsert) {
  const test_support::EmbeddedDatabase database;
  test_support::ServerProcess process(database);
  ASSERT_TRUE(process.connect());
  const Session session(nullptr, std::make_unique<WithoutInsert>(process.state));
  RecordFolder folder;
  FileRecord& report = folder[2].emplace_back(FileRecord{.row = Row::of<Report>()});
  report.row.set<Report, "Name">(u"New");
  report.row.set<Report, "Title">(u"Mine");
  const auto changes = compare(session, folder, {});
  ASSERT_EQ(changes.size(), 1u);
  apply_change(session, changes[0]);
  EXPECT_EQ(database.value("Select Title From DW_Reports Where ReportName = 'New'"), "Mine");

  // Somebody else's, by now.
  database.run("Update DW_Reports Set Title = 'Theirs'");
  try {
    apply_change(session, changes[0]);
    ADD_FAILURE() << "it was added twice";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), ExitCode::kChanged);
  }
  EXPECT_EQ(database.value("Select Title From DW_Reports Where ReportName = 'New'"), "Theirs");
}

}  // namespace
}  // namespace tarnwick::cli
