#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <numeric>

#include "engines/odbc/engine.h"
#include "engines/sqlite/engine.h"
#include "runtime/case_mapping.h"
#include "runtime/conversions.h"
#include "tests/engines/odbc/scratch_database.h"
#include "tests/support/object_model.h"

// The object model on a SQL Server, where TARNWICK_TEST_SQLSERVER names one.

namespace tarnwick {
namespace {

using odbc_test::ScratchDatabase;
using test_support::EmbeddedDatabase;
using test_support::locked_box;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// A server process on any engine.
struct Process {
  explicit Process(std::unique_ptr<ado::Engine> its_engine) : engine(std::move(its_engine)) {}

  [[nodiscard]] const Text& message() const { return state.errors.message(); }
  [[nodiscard]] std::shared_ptr<Report> report(TextView name) {
    return server.reports()->item(Text(name));
  }
  void wait_for_no_lock() { state.connection->execute(u"SET LOCK_TIMEOUT 0"); }

  test_support::TemporaryFolder folder;
  test_support::ScriptedHost host{folder.path()};
  test_support::RecordingTrace recorder;
  std::unique_ptr<ado::Engine> engine;
  SharedState state{host, {engine.get()}, &recorder};
  Server server{state};
};

class SqlServerModel : public testing::Test {
 protected:
  void SetUp() override {
    const std::string why_not = odbc_test::why_no_velmar_sec();
    if (!why_not.empty()) GTEST_SKIP() << why_not;
    database_ = std::make_unique<ScratchDatabase>(u"Velmar_Sec");
  }

  [[nodiscard]] std::unique_ptr<Process> process() {
    return std::make_unique<Process>(std::make_unique<odbc::OdbcEngine>());
  }
  bool connect(Process& to) {
    return to.server.set_connection(database_->login_string(), database_->role(),
                                    database_->role_password());
  }
  /// Connected, everything loaded, and waiting for no lock.
  [[nodiscard]] std::unique_ptr<Process> loaded_process() {
    auto made = process();
    EXPECT_TRUE(connect(*made)) << to_display_utf8(made->message());
    EXPECT_TRUE(made->server.refresh()) << to_display_utf8(made->message());
    made->wait_for_no_lock();
    (void)made->recorder.take();
    return made;
  }

  void add_rows() {
    database_->session()->execute(
        u"Insert Into DW_SEC_COMP (CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay, "
        u"MaintType, SecGrpID, RptCode, Server, MetaID, AuthorizedRole) Values (7, N'Desk', 0, 1, "
        u"2, 1, 2, N'Group', 'PC', 'host', 'meta', 'role')");
    database_->session()->execute(
        u"Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, "
        u"LastUser, LastLogin, TotalLogins) Values ('00-1A', 'PC1', 7, 5, 1, 10, 'ann', "
        u"'2023-12-24T18:00:00', 3)");
    database_->session()->execute(
        u"Insert Into DW_Reports (ReportName, Title, Created, SQLStmnt, ReportType, MaintType) "
        u"Values ('Sales', 'Old', '2023-12-24T06:00:00', 'Select 1', 'CRY', 4)");
  }

  std::unique_ptr<ScratchDatabase> database_;
};

TEST_F(SqlServerModel, LoadsEveryCollection) {
  add_rows();
  const auto made = process();
  ASSERT_TRUE(connect(*made)) << to_display_utf8(made->message());
  ASSERT_TRUE(made->server.refresh()) << to_display_utf8(made->message());
  EXPECT_TRUE(made->server.initialized());
  const auto component = made->server.components()->item(Text(u"C7"));
  ASSERT_TRUE(component);
  EXPECT_EQ(component->name(), u"Desk");
  EXPECT_TRUE(component->force_display());
  EXPECT_EQ(component->report_code(), PCs_rc);
  EXPECT_EQ(component->row_version().size(), 16u);
  const auto pc = made->server.registered_pcs()->item(Text(u"00-1A\u00FEPC1\u00FE7"));
  ASSERT_TRUE(pc);
  EXPECT_TRUE(pc->active());
  EXPECT_EQ(pc->last_login(), Date{45284.75});
  EXPECT_EQ(pc->total_logins(), 3);
  const auto sales = made->report(u"Sales");
  ASSERT_TRUE(sales);
  EXPECT_EQ(sales->title(), u"Old");
  EXPECT_EQ(sales->created(), Date{45284.25});
  EXPECT_EQ(sales->report_type(), CrystalReport_rt);
  EXPECT_EQ(made->message(), u"");
}

TEST_F(SqlServerModel, WritesReadsRenamesAndDeletesAReport) {
  const auto made = loaded_process();
  NewReport values;
  values.report_name = u"Sales";
  values.title = u"\u017clu\u0165 \U0001F5C4";
  values.created = Date{45284.75};
  const auto sales = made->server.reports()->add(values);
  ASSERT_TRUE(sales);
  EXPECT_EQ(sales->update(), OK_ue) << to_display_utf8(made->message());
  const auto other = loaded_process();
  EXPECT_EQ(other->report(u"Sales")->title(), values.title);
  EXPECT_EQ(other->report(u"Sales")->created(), values.created);
  sales->set_title(u"New");
  EXPECT_EQ(sales->update(), OK_ue) << to_display_utf8(made->message());
  EXPECT_TRUE(other->server.reports()->refresh()) << to_display_utf8(other->message());
  EXPECT_EQ(other->report(u"Sales")->title(), u"New");
  sales->set_name(u"Turnover");
  EXPECT_EQ(sales->update(), OK_ue) << to_display_utf8(made->message());
  EXPECT_TRUE(other->server.reports()->refresh()) << to_display_utf8(other->message());
  EXPECT_EQ(other->server.reports()->count(), 1);
  EXPECT_EQ(other->report(u"Turnover")->title(), u"New");
  EXPECT_TRUE(other->report(u"Turnover")->remove()) << to_display_utf8(other->message());
  EXPECT_EQ(loaded_process()->server.reports()->count(), 0);
}

TEST_F(SqlServerModel, WhoeverComesSecondIsAskedAndMayCancelOrRetry) {
  add_rows();
  const auto first = loaded_process();
  const auto second = loaded_process();
  const auto held = first->report(u"Sales");
  const auto wanted = second->report(u"Sales");
  ASSERT_TRUE(held->lock_record()) << to_display_utf8(first->message());

  second->host.box.will_answer(platform::Answer::kCancel);
  EXPECT_FALSE(wanted->lock_record());
  EXPECT_FALSE(wanted->locked());
  EXPECT_THAT(second->host.box.questions, ElementsAre(locked_box()));

  second->host.box.will_answer(platform::Answer::kRetry, [&] { held->release_record(); });
  EXPECT_TRUE(wanted->lock_record()) << to_display_utf8(second->message());
  EXPECT_TRUE(wanted->locked());
  wanted->set_title(u"Second");
  EXPECT_EQ(wanted->update(), OK_ue) << to_display_utf8(second->message());
  EXPECT_EQ(loaded_process()->report(u"Sales")->title(), u"Second");
}

TEST_F(SqlServerModel, ARowThatChangedMeanwhileIsNotOverwritten) {
  add_rows();
  const auto first = loaded_process();
  const auto second = loaded_process();
  first->report(u"Sales")->set_title(u"First");
  ASSERT_EQ(first->report(u"Sales")->update(), OK_ue);
  const auto stale = second->report(u"Sales");
  stale->set_title(u"Second");
  EXPECT_EQ(stale->update(), RecordChanged_ue);
  EXPECT_TRUE(stale->locked());
  EXPECT_TRUE(stale->release_record());
  EXPECT_EQ(loaded_process()->report(u"Sales")->title(), u"First");
}

TEST_F(SqlServerModel, AReportFileOfTensOfMegabytesIsStoredAndExtracted) {
  add_rows();
  const auto made = loaded_process();
  std::string content;
  content.resize(30'000'001);
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7 + i / 251);
  const auto file = made->folder.write("sales.rpt", content);
  const auto back = made->folder.path() / "back.rpt";
  const auto sales = made->report(u"Sales");
  ASSERT_EQ(sales->update(from_utf8(file.string())), OK_ue) << to_display_utf8(made->message());
  ASSERT_TRUE(sales->extract_report(from_utf8(back.string()))) << to_display_utf8(made->message());
  std::ifstream stream(back, std::ios::binary);
  const std::string read{std::istreambuf_iterator<char>(stream), {}};
  EXPECT_TRUE(read == content) << read.size();
}

TEST_F(SqlServerModel, AServerThatEndsASessionInATransactionLeavesTheObjectModelUsable) {
  add_rows();
  const auto made = loaded_process();
  const auto sales = made->report(u"Sales");
  ASSERT_TRUE(sales->lock_record()) << to_display_utf8(made->message());
  sales->set_title(u"New");
  database_->end_sessions_of_login();

  EXPECT_EQ(sales->update(), Error_ue);
  EXPECT_FALSE(sales->locked());
  EXPECT_FALSE(made->state.connected());
  EXPECT_FALSE(made->server.initialized());
  EXPECT_NE(made->state.errors.number(), 0);
  EXPECT_NE(made->message(), u"");
  // Nothing pretends to be locked, and nothing falls over.
  EXPECT_FALSE(sales->lock_record());
  EXPECT_FALSE(sales->locked());
  EXPECT_FALSE(sales->release_record());
  EXPECT_FALSE(sales->remove());

  EXPECT_TRUE(connect(*made)) << to_display_utf8(made->message());
  EXPECT_TRUE(made->server.refresh()) << to_display_utf8(made->message());
  const auto again = made->report(u"Sales");
  ASSERT_TRUE(again);
  EXPECT_EQ(again->title(), u"Old");
  again->set_title(u"Newer");
  EXPECT_EQ(again->update(), OK_ue) << to_display_utf8(made->message());
}

TEST_F(SqlServerModel, ALoginOrARoleThatIsRefusedIsToldWithoutAPassword) {
  const auto made = process();
  EXPECT_FALSE(made->server.set_connection(database_->login_string(u"No-Such-Password"),
                                           database_->role(), database_->role_password()));
  EXPECT_EQ(made->state.errors.number(), -2147217843);
  EXPECT_FALSE(made->state.connected());
  EXPECT_FALSE(made->server.set_connection(database_->login_string(), database_->role(),
                                           u"Not-The-Password"));
  EXPECT_EQ(made->state.errors.number(), -2147217843);
  for (const Text& line : made->recorder.take()) {
    EXPECT_THAT(to_display_utf8(line), Not(HasSubstr("Password_")));
    EXPECT_THAT(to_display_utf8(line), Not(HasSubstr("-Password")));
  }
  EXPECT_THAT(to_display_utf8(made->message()), Not(HasSubstr("-Password")));
  EXPECT_TRUE(connect(*made)) << to_display_utf8(made->message());
}

// --- The trace ---------------------------------------------------------------------------------

/// What a client does, on whichever engine; the trace of it.
std::vector<Text> play(Process& made, const std::function<bool()>& connect) {
  EXPECT_TRUE(connect()) << to_display_utf8(made.message());
  EXPECT_TRUE(made.server.refresh()) << to_display_utf8(made.message());
  const auto component = made.server.components()->item(Text(u"C7"));
  EXPECT_TRUE(component->lock_record());
  EXPECT_TRUE(component->release_record());
  EXPECT_EQ(component->update(), OK_ue) << to_display_utf8(made.message());
  const auto pc = made.server.registered_pcs()->item(Text(u"00-1A\u00FEPC1\u00FE7"));
  pc->set_last_user(u"bob");
  EXPECT_EQ(pc->update(), OK_ue) << to_display_utf8(made.message());
  NewReport values;
  values.report_name = u"Stock";
  const auto stock = made.server.reports()->add(values);
  EXPECT_EQ(stock->update(), OK_ue) << to_display_utf8(made.message());
  stock->set_ttx(u"x");
  EXPECT_TRUE(stock->lock_record());
  const auto file = made.folder.write("stock.rpt", "content");
  EXPECT_EQ(stock->update(from_utf8(file.string())), OK_ue) << to_display_utf8(made.message());
  EXPECT_FALSE(stock->refresh());  // no database accepts its statement
  EXPECT_TRUE(stock->extract_report(from_utf8((made.folder.path() / "out.rpt").string())));
  stock->set_name(u"Turnover");
  EXPECT_EQ(stock->update(), OK_ue) << to_display_utf8(made.message());
  EXPECT_TRUE(made.server.reports()->refresh()) << to_display_utf8(made.message());
  EXPECT_TRUE(made.server.reports()->item(Text(u"Turnover"))->remove());
  EXPECT_TRUE(pc->remove());
  EXPECT_FALSE(made.server.set_connection(u"Provider=None", u"role", u"pass-word"));
  return made.recorder.take();
}

TEST_F(SqlServerModel, ATraceHasTheSameLinesOnBothEngines) {
  add_rows();
  const auto on_server = process();
  std::vector<Text> server_lines = play(*on_server, [&] { return connect(*on_server); });

  const EmbeddedDatabase embedded;
  embedded.run(
      "INSERT INTO DW_SEC_COMP (CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay,"
      " MaintType) VALUES (7, 'Desk', 0, 1, 2, 1, 2);"
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
      " LastLogin) VALUES ('00-1A', 'PC1', 7, 5, 1, 10, 45284.75);"
      "INSERT INTO DW_Reports (ReportName, Title, MaintType) VALUES ('Sales', 'Old', 4)");
  Process on_file(std::make_unique<sqlite::SqliteEngine>());
  std::vector<Text> file_lines = play(on_file, [&] {
    return on_file.server.set_connection(embedded.connection_string(), EmbeddedDatabase::kRole,
                                         EmbeddedDatabase::kPassword);
  });

  // The two differ in how the database is reached, and in nothing else.
  ASSERT_GT(server_lines.size(), 40u);
  ASSERT_GT(file_lines.size(), 3u);
  EXPECT_EQ(server_lines.at(2), u"Execute EXEC sp_setapprole 'tarnwick_app','***'");
  EXPECT_EQ(file_lines.at(2), u"Execute EXEC sp_setapprole 'Maintainer','***'");
  for (auto* lines : {&server_lines, &file_lines}) {
    EXPECT_TRUE(lines->at(0).starts_with(u"Connect Provider=")) << to_display_utf8(lines->at(0));
    EXPECT_EQ(find_ignoring_case(lines->at(0), database_->login_password()), Text::npos);
    lines->erase(lines->begin());
    lines->erase(lines->begin() + 1);
  }
  EXPECT_EQ(server_lines, file_lines);
}

}  // namespace
}  // namespace tarnwick
