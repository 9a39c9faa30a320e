#include "tests/client/transport_contract.h"

#include <gmock/gmock.h>

#include <array>
#include <vector>

namespace tarnwick::client {
namespace {

using test_support::EmbeddedDatabase;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What came of a call that comes to no result.
template <class Step>
CallError refusal_of(Step&& step) {
  try {
    step();
  } catch (const CallError& error) {
    return error;
  }
  ADD_FAILURE() << "The call came to a result.";
  return {CallError::Reason::kRefused, "", -1};
}

// In memory; without the last two arguments.
Proxy<Component> add_component(const Proxy<Components>& components, std::int16_t id) {
  constexpr std::int16_t kTop = 0;
  constexpr std::int16_t kPriority = 1;
  constexpr std::int16_t kPicture = 1;
  constexpr std::int16_t kMaintenance = 2;
  return components.call<"Add">(id, u"Sales", kTop, kPriority, kPicture, true, kMaintenance, PCs_rc,
                                u"server", u"group");
}

std::vector<Text> mac_numbers(const std::vector<Row>& rows) {
  std::vector<Text> numbers;
  for (const Row& row : rows) numbers.push_back(row.get<RegisteredPC, "MACNumber">());
  return numbers;
}

}  // namespace

void TransportContract::SetUp() {
  reach_ = GetParam().open();
  server_ = std::make_unique<Proxy<Server>>(Proxy<Server>::create(transport()));
  ASSERT_TRUE(server_->call<"SetConnection">(database_.connection_string(), EmbeddedDatabase::kRole,
                                             EmbeddedDatabase::kPassword))
      << to_display_utf8(message());
}

Record TransportContract::pc(TextView mac_number, std::int16_t comp_id) const {
  Row row = Row::of<RegisteredPC>();
  row.set<RegisteredPC, "MACNumber">(Text(mac_number));
  row.set<RegisteredPC, "ComputerID">(u"DESK");
  row.set<RegisteredPC, "CompID">(comp_id);
  return Record::make(transport(), row);
}

Record TransportContract::stored_pc(TextView mac_number, std::int16_t comp_id) const {
  const Record made = pc(mac_number, comp_id);
  EXPECT_EQ(made.update(), OK_ue) << to_display_utf8(message());
  return made;
}

TEST_P(TransportContract, MakesObjectsWithTheValuesOfNewOnes) {
  const auto made = Proxy<RegisteredPC>::create(transport());
  EXPECT_EQ(made.get<"MACNumber">(), u"");
  EXPECT_EQ(made.get<"CompID">(), -1);
  EXPECT_EQ(made.get<"ImageIndex">(), 10);
  EXPECT_EQ(made.get<"MaintenanceType">(), PCReg_mt);
  EXPECT_FALSE(made.get<"Active">());
  EXPECT_EQ(made.get<"LastLogin">(), Date{});
}

TEST_P(TransportContract, SetsPropertiesOfEveryType) {
  const auto made = Proxy<RegisteredPC>::create(transport());
  made.set<"LastUser">(u"Größe 日本");
  made.set<"CompID">(std::int16_t{-32768});
  made.set<"TotalLogins">(2147483647);
  made.set<"Active">(true);
  made.set<"LastLogin">(Date{45284.5});
  made.set<"MaintenanceType">(Report_mt);
  EXPECT_EQ(made.get<"LastUser">(), u"Größe 日本");
  EXPECT_EQ(made.get<"CompID">(), -32768);
  EXPECT_EQ(made.get<"TotalLogins">(), 2147483647);
  EXPECT_TRUE(made.get<"Active">());
  EXPECT_EQ(made.get<"LastLogin">(), Date{45284.5});
  EXPECT_EQ(made.get<"MaintenanceType">(), Report_mt);
}

TEST_P(TransportContract, ReadsARecordInOneGo) {
  const auto made = Proxy<Report>::create(transport());
  made.set<"Name">(u"Orders");
  made.set<"TTX">(u"a\tString\r\n");
  const Row row = made.read();
  EXPECT_TRUE(row.complete());
  EXPECT_EQ((row.get<Report, "Name">()), u"Orders");
  EXPECT_EQ((row.get<Report, "TTX">()), u"a\tString\r\n");
  EXPECT_EQ((row.get<Report, "ImageIndex">()), 11);
  EXPECT_EQ((row.get<Report, "ReportType">()), CrystalReport_rt);
  EXPECT_EQ((row.get<Report, "RowVersion">()), u"");
}

TEST_P(TransportContract, FillsInDefaultsOfArgumentsThatAreLeftOut) {
  const auto components = server_->get<"Components">();
  const auto component = add_component(components, 7);
  ASSERT_TRUE(component);
  EXPECT_EQ(component.get<"Name">(), u"Sales");
  EXPECT_EQ(component.get<"MetaID">(), u"");
  EXPECT_EQ(component.get<"ReportCode">(), PCs_rc);
}

TEST_P(TransportContract, HandsOutNothingAsNothing) {
  const auto components = server_->get<"Components">();
  EXPECT_FALSE(components.call<"Item">(Text(u"C7")));
  EXPECT_FALSE(add_component(components, -1));
}

TEST_P(TransportContract, MakesNoComponentThatTheCollectionRefuses) {
  Row row = Row::of<Component>();
  row.set<Component, "CompID">(std::int16_t{-1});
  EXPECT_FALSE(Record::make(transport(), row));
}

TEST_P(TransportContract, TakesARecordForNoneOfAnotherClass) {
  const Record made = pc(u"02-A");
  EXPECT_EQ(made.as<RegisteredPC>().get<"MACNumber">(), u"02-A");
  EXPECT_THROW((void)made.as<Report>(), Error);
  Row report = Row::of<Report>();
  report.set<Report, "Title">(u"Orders");
  EXPECT_THROW(made.assign(report), Error);
  EXPECT_EQ(made.as<RegisteredPC>().get<"MACNumber">(), u"02-A");
}

TEST_P(TransportContract, TakesNothingForNoObject) {
  const auto components = server_->get<"Components">();
  const auto nothing = components.call<"Item">(Text(u"C7"));
  ASSERT_FALSE(nothing);
  EXPECT_FALSE(components.call<"AddCompObject">(nothing));
  EXPECT_EQ(components.get<"Count">(), 0);
}

TEST_P(TransportContract, FindsEntriesByKeyAndByPosition) {
  const auto components = server_->get<"Components">();
  for (const std::int16_t id : std::array<std::int16_t, 2>{3, 5}) {
    ASSERT_TRUE(add_component(components, id));
  }
  EXPECT_EQ(components.call<"Item">(Text(u"C5")).get<"CompID">(), 5);
  EXPECT_EQ(components.call<"Item">(std::int32_t{1}).get<"CompID">(), 3);
}

TEST_P(TransportContract, TellsTheRunTimeErrorOfAMemberThatFails) {
  const auto pcs = server_->get<"RegisteredPCs">();
  ASSERT_TRUE(pcs.call<"Refresh">());
  const CallError unknown = refusal_of([&] { (void)pcs.call<"Item">(Text(u"nobody")); });
  EXPECT_EQ(unknown.number(), 5);
  EXPECT_EQ(unknown.reason(), CallError::Reason::kRefused);
  EXPECT_EQ(refusal_of([&] { (void)pcs.call<"Item">(std::int32_t{1}); }).number(), 9);
}

TEST_P(TransportContract, TakesObjectsAsArguments) {
  const auto made = Proxy<Report>::create(transport());
  made.set<"Name">(u"Orders");
  const auto reports = server_->get<"Reports">();
  EXPECT_TRUE(reports.call<"AddReportObject">(made));
  EXPECT_EQ(reports.call<"Item">(Text(u"orders")).get<"Name">(), u"Orders");
}

TEST_P(TransportContract, FetchesTheRowsOfACollectionInItsOrder) {
  (void)stored_pc(u"02-B");
  (void)stored_pc(u"02-C", 8);
  (void)stored_pc(u"02-A");
  const auto pcs = server_->get<"RegisteredPCs">();
  ASSERT_TRUE(pcs.call<"Refresh">());
  EXPECT_EQ(pcs.get<"Count">(), 3);
  const std::vector<Row> rows = pcs.rows();
  EXPECT_THAT(mac_numbers(rows), ElementsAre(u"02-A", u"02-B", u"02-C"));
  EXPECT_EQ(rows.at(2), pcs.call<"Item">(std::int32_t{3}).read());
  EXPECT_NE((rows.at(2).get<RegisteredPC, "RowVersion">()), u"");
}

TEST_P(TransportContract, FetchesMoreRowsThanOneMessageWouldBear) {
  database_.run(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2001) "
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, "
      "LastUser) SELECT printf('M%05d', i), 'D', 1, 5, 1, 10, 'u' FROM n");
  const auto pcs = server_->get<"RegisteredPCs">();
  ASSERT_TRUE(pcs.call<"Refresh">());
  const std::vector<Row> rows = pcs.rows();
  ASSERT_EQ(rows.size(), 2001u);
  EXPECT_EQ((rows.back().get<RegisteredPC, "MACNumber">()), u"M02001");
}

TEST_P(TransportContract, HandsOutEveryObjectOfACollectionThatAMemberReturns) {
  (void)stored_pc(u"02-B");
  (void)stored_pc(u"02-C", 8);
  (void)stored_pc(u"02-A");
  const auto component = add_component(server_->get<"Components">(), 7);
  std::vector<Text> numbers;
  for (const auto& each : component.get<"PCs">()) numbers.push_back(each.get<"MACNumber">());
  EXPECT_THAT(numbers, ElementsAre(u"02-A", u"02-B"));
  std::size_t all = 0;
  for (const auto& each : server_->get<"RegisteredPCs">().get<"NewEnum">()) {
    all += each.get<"MACNumber">().size();
  }
  EXPECT_EQ(all, 12u);
}

TEST_P(TransportContract, KeepsAnObjectUntilItsLastReferenceGoes) {
  auto first = std::make_unique<Proxy<Components>>(server_->get<"Components">());
  const auto second = server_->get<"Components">();
  first.reset();
  EXPECT_EQ(second.get<"Count">(), 0);
}

TEST_P(TransportContract, LocksReadsAndWritesARecordOfAnyClass) {
  Row row = Row::of<Component>();
  row.set<Component, "CompID">(7);
  row.set<Component, "Name">(u"Sales");
  row.set<Component, "ReportCode">(PCs_rc);
  ASSERT_EQ(Record::make(transport(), row).update(), OK_ue) << to_display_utf8(message());
  EXPECT_EQ(database_.value("SELECT CompName || RptCode FROM DW_SEC_COMP WHERE CompID = 7"),
            "SalesPC");

  Row key = Row::of<Component>();
  key.set<Component, "CompID">(7);
  const Record component = Record::make(transport(), key);
  EXPECT_TRUE(component.lock());
  EXPECT_TRUE(component.as<Component>().get<"Locked">());
  EXPECT_EQ((component.read().get<Component, "Name">()), u"Sales");
  EXPECT_TRUE(component.release());
  // Its list has no entry at this position, so that it answers False.
  EXPECT_FALSE(component.remove());
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_COMP"), "0");
}

TEST_P(TransportContract, SetsWhatARowKnowsAndNothingElse) {
  const Record record = stored_pc(u"02-A");
  Row change = Row::of<RegisteredPC>();
  change.set<RegisteredPC, "LastUser">(u"eva");
  record.assign(change);
  const Row row = record.read();
  EXPECT_EQ((row.get<RegisteredPC, "LastUser">()), u"eva");
  EXPECT_EQ((row.get<RegisteredPC, "MACNumber">()), u"02-A");
  EXPECT_EQ((row.get<RegisteredPC, "ImageIndex">()), 10);
}

TEST_P(TransportContract, InsertsARecordButOverNone) {
  EXPECT_EQ(pc(u"02-A").insert(), OK_ue);
  const Record second = pc(u"02-A");
  EXPECT_EQ(second.insert(), RecordChanged_ue);
  EXPECT_TRUE(second.release());
  EXPECT_EQ(refusal_of([&] { (void)pc(u"02-B").insert(u"/report.rpt"); }).number(), 5);
}

TEST_P(TransportContract, FindsTheKeysOfPcs) {
  (void)stored_pc(u"02-B", 8);
  (void)stored_pc(u"02-A");
  const auto keys = transport().find_pcs(u"desk");
  ASSERT_EQ(keys.size(), 2u);
  EXPECT_EQ(keys[0].mac_number, u"02-A");
  EXPECT_EQ(keys[1].comp_id, 8);
  EXPECT_THAT(transport().find_pcs(u"nobody"), IsEmpty());
}

TEST_P(TransportContract, LooksAtARecordWithoutLockingIt) {
  const Record stored = stored_pc(u"02-A");
  const Record seen = pc(u"02-a");
  Look look = seen.look();
  EXPECT_EQ(look.outcome, LookOutcome::kLoaded);
  EXPECT_FALSE(look.held);
  EXPECT_EQ((seen.read().get<RegisteredPC, "MACNumber">()), u"02-A");
  EXPECT_EQ(pc(u"nobody").look().outcome, LookOutcome::kMissing);
  ASSERT_TRUE(stored.lock());
  look = seen.look();
  EXPECT_TRUE(look.held);
  EXPECT_NE(look.stamp.find(u" - "), Text::npos);
  EXPECT_TRUE(look.process_id.has_value());
  EXPECT_TRUE(stored.release());
}

TEST_P(TransportContract, TellsTheLengthsOfReportFiles) {
  EXPECT_THAT(transport().stored_report_files(), IsEmpty());
  database_.run(
      "INSERT INTO DW_Reports (ReportName, Report_Binary) VALUES ('Größe', X'000102'), "
      "('None', NULL)");
  const auto files = transport().stored_report_files();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].report, u"Größe");
  EXPECT_EQ(files[0].length, 3);
}

TEST_P(TransportContract, TellsTheCauseOfTheLastFailureUntilItIsCleared) {
  transport().clear_last_cause();
  EXPECT_EQ(transport().last_cause().kind, ado::FailureKind::kNone);
  EXPECT_FALSE(pc(u"nobody").lock());
  const FailureCause cause = transport().last_cause();
  EXPECT_EQ(cause.kind, ado::FailureKind::kOther);
  EXPECT_EQ(cause.number, 3021);
  EXPECT_NE(cause.text, u"");
  EXPECT_FALSE(cause.outcome_unknown);
  transport().clear_last_cause();
  EXPECT_EQ(transport().last_cause().kind, ado::FailureKind::kNone);
}

}  // namespace tarnwick::client
