#include "client/dbus_transport.h"

#include <gtest/gtest.h>

#include <optional>

#include "automation/dbus/error.h"
#include "client/proxy.h"
#include "tests/client/private_service.h"
#include "tests/client/transport_contract.h"
#include "tests/support/embedded_database.h"
#include "tests/support/object_model.h"

namespace tarnwick::client {
namespace {

using test_support::EmbeddedDatabase;

class OverTheBus final : public Reach {
 public:
  Transport& transport() override { return *transport_; }

 private:
  test_support::PrivateService service_;
  test_support::ScriptedMessageBox box_;
  std::unique_ptr<Transport> transport_ = make_dbus_transport(service_.bus(), Questions{box_});
};

INSTANTIATE_TEST_SUITE_P(DBus, TransportContract, ::testing::Values(Way{"DBus", &open<OverTheBus>}),
                         name_of);

class DbusTransports : public ::testing::Test {
 protected:
  [[nodiscard]] Proxy<Server> connected_server() {
    auto server = Proxy<Server>::create(transport_);
    EXPECT_TRUE(server.call<"SetConnection">(database_.connection_string(), EmbeddedDatabase::kRole,
                                             EmbeddedDatabase::kPassword));
    return server;
  }

  EmbeddedDatabase database_;
  test_support::PrivateService service_;
  test_support::ScriptedMessageBox box_;
  std::unique_ptr<DbusTransport> client_ = make_dbus_transport(service_.bus(), Questions{box_});
  DbusTransport& transport_ = *client_;
};

template <class Step>
std::optional<CallError::Reason> reason_of(Step&& step) {
  try {
    step();
  } catch (const CallError& error) {
    return error.reason();
  }
  ADD_FAILURE() << "The call came to a result.";
  return std::nullopt;
}

TEST_F(DbusTransports, RefuseATextThatTheBusCannotCarry) {
  const auto pc = Proxy<RegisteredPC>::create(transport_);
  EXPECT_EQ(reason_of([&] { pc.set<"LastUser">(Text(u"a\0b", 3)); }),
            CallError::Reason::kNotCarried);
  EXPECT_EQ(reason_of([&] { (void)transport_.find_pcs(u"\xFFFE"); }),
            CallError::Reason::kNotCarried);
  EXPECT_EQ(pc.get<"LastUser">(), u"");
}

TEST_F(DbusTransports, LeaveOutOfARowWhatTheBusCannotCarry) {
  const auto server = connected_server();
  database_.run(
      "INSERT INTO DW_Reports (ReportName, Title, ImageIndex, MaintType, ReportType) "
      "VALUES ('Orders', char(65534), 11, 4, 1)");
  const auto reports = server.get<"Reports">();
  ASSERT_TRUE(reports.call<"Refresh">());
  const std::vector<Row> rows = reports.rows();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_FALSE(rows[0].complete());
  EXPECT_EQ((rows[0].get<Report, "Name">()), u"Orders");
  EXPECT_EQ(rows[0][*find_attribute(automation::ClassId::kReport, "Title")],
            AttributeValue(Empty{}));
}

TEST_F(DbusTransports, FetchRowsThatAreLargeInSmallerNumbers) {
  const auto server = connected_server();
  database_.run(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 4) "
      "INSERT INTO DW_Reports (ReportName, Definition, ImageIndex, MaintType, ReportType) "
      "SELECT printf('Orders %d', i), printf('%.*c', 12000000, 'x'), 11, 4, 1 FROM n");
  const auto reports = server.get<"Reports">();
  ASSERT_TRUE(reports.call<"Refresh">());
  const std::vector<Row> rows = reports.rows();
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ((rows[3].get<Report, "Name">()), u"Orders 4");
}

TEST_F(DbusTransports, ReserveTheServiceForOneDatabase) {
  EXPECT_TRUE(transport_.reserve(database_.connection_string()));
  const auto server = connected_server();
  EXPECT_TRUE(transport_.reserve(database_.connection_string()));
  EXPECT_FALSE(transport_.reserve(u"Provider=Tarnwick.Embedded;Data Source=/elsewhere"));
}

TEST_F(DbusTransports, GiveUpWhatTheyHeld) {
  {
    const auto pc = Proxy<RegisteredPC>::create(transport_);
    pc.set<"CompID">(std::int16_t{3});
  }
  // The service shows what somebody holds.
  sd_bus_message* received = nullptr;
  automation::dbus::ErrorHandle error;
  automation::dbus::check(
      sd_bus_call_method(service_.bus(), "org.tarnwick.Security1", "/org/tarnwick/Security1",
                         "org.freedesktop.DBus.Introspectable", "Introspect", error.get(),
                         &received, ""),
      "introspecting");
  const automation::dbus::MessageHandle reply(received);
  const char* xml = nullptr;
  automation::dbus::check(sd_bus_message_read_basic(reply.get(), 's', &xml), "introspecting");
  EXPECT_EQ(std::string(xml).find("RegisteredPC"), std::string::npos) << xml;
}

class LockedRow : public DbusTransports {
 protected:
  void SetUp() override {
    pc_.set<"MACNumber">(u"02-A");
    pc_.set<"ComputerID">(u"DESK");
    pc_.set<"CompID">(std::int16_t{7});
    ASSERT_EQ(pc_.call<"Update">(), OK_ue);
    // Whoever has loaded something waits less long.
    ASSERT_TRUE(server_.call<"Refresh">());
    ASSERT_TRUE(other_.connect());
    theirs_.set_mac_number(u"02-A");
    theirs_.set_computer_id(u"DESK");
    theirs_.set_comp_id(7);
    ASSERT_TRUE(theirs_.lock_record());
  }

  Proxy<Server> server_ = connected_server();
  Proxy<RegisteredPC> pc_ = Proxy<RegisteredPC>::create(transport_);
  test_support::ServerProcess other_{database_};
  RegisteredPC theirs_{other_.state};
};

TEST_F(LockedRow, HasItsQuestionAnswered) {
  box_.will_answer(platform::Answer::kRetry, [&] { theirs_.release_record(); });
  EXPECT_TRUE(pc_.call<"LockRecord">());
  EXPECT_EQ(box_.questions.size(), 1u);
  EXPECT_TRUE(pc_.call<"ReleaseRecord">());
}

TEST_F(LockedRow, TellsWhenTheServiceGoesMeanwhile) {
  box_.will_answer(platform::Answer::kCancel, [&] { service_.kill_service(); });
  EXPECT_EQ(reason_of([&] { (void)pc_.call<"Update">(); }), CallError::Reason::kNotAnswered);
}

}  // namespace
}  // namespace tarnwick::client
