#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <thread>

#include "automation/com/last_causes.h"
#include "automation/com/values.h"
#include "tests/apps/windows/process.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick::automation::com {
namespace {

using ado::AdoErrorNumber;
using ado::FailureKind;
using test_support::ComThread;
using test_support::ConnectedClient;
using test_support::LateBound;
using test_support::Outcome;
using test_support::Process;

GUID client(unsigned long number) { return {number, 0, 0, {}}; }

FailureCause cause(std::int32_t number) { return {FailureKind::kOther, number, 0, u"why"}; }

TEST(LastCauses, KeepTheLastOneOfEveryClient) {
  LastCauses causes;
  causes.keep(client(1), cause(5));
  causes.keep(client(2), cause(9));
  causes.keep(client(1), cause(13));
  EXPECT_EQ(causes.of(client(1)).number, 13);
  EXPECT_EQ(causes.of(client(2)).number, 9);
  EXPECT_EQ(causes.of(client(3)).kind, FailureKind::kNone);
  causes.forget(client(1));
  EXPECT_EQ(causes.of(client(1)).kind, FailureKind::kNone);
  EXPECT_EQ(causes.of(client(2)).text, u"why");
}

TEST(LastCauses, OfTooManyClientsForgetTheOldest) {
  LastCauses causes;
  for (unsigned long i = 0; i < LastCauses::kClients; ++i) causes.keep(client(i), cause(5));
  causes.keep(client(0), cause(9));  // is the youngest now
  causes.keep(client(1000), cause(13));
  EXPECT_EQ(causes.of(client(1)).kind, FailureKind::kNone);
  EXPECT_EQ(causes.of(client(0)).number, 9);
  EXPECT_EQ(causes.of(client(2)).number, 5);
  EXPECT_EQ(causes.of(client(1000)).number, 13);
}

/// What a client is told, all of it.
struct Told {
  int kind = -1;
  int number = -1;
  int native = -1;
  Text text;
  bool outcome_unknown = true;

  explicit Told(const LateBound& cause)
      : kind(cause.call(L"Kind").number()),
        number(cause.call(L"Number").number()),
        native(cause.call(L"NativeNumber").number()),
        text(cause.call(L"NativeText").text()),
        outcome_unknown(cause.call(L"OutcomeUnknown").boolean()) {}
};

class LastCauseTest : public ConnectedClient {
 protected:
  LastCauseTest() { cause_.call(L"Clear"); }

  void expect_none() const {
    const Told told(cause_);
    EXPECT_EQ(told.kind, ::None_fk);
    EXPECT_EQ(told.number, 0);
    EXPECT_EQ(told.native, 0);
    EXPECT_EQ(told.text, u"");
    EXPECT_FALSE(told.outcome_unknown);
  }

  /// Error 9, raised.
  [[nodiscard]] Outcome ask_for_a_pc_that_is_not_there(const LateBound& server) const {
    return server.object(L"RegisteredPCs").attempt(L"Item", DISPATCH_PROPERTYGET, {1});
  }

  LateBound cause_ = LateBound::create(L"Tarnwick.LastCause");
};

TEST_F(LastCauseTest, IsNoneWithoutAFailure) { expect_none(); }

TEST_F(LastCauseTest, OfARefusedRoleTellsItsKindAndNumberAndNoPassword) {
  EXPECT_FALSE(
      server_.call(L"SetConnection", {connect_string(), u"Maintainer", u"opensesame"}).boolean());
  const Told told(cause_);
  EXPECT_EQ(told.kind, ::Refused_fk);
  EXPECT_EQ(told.number, static_cast<int>(AdoErrorNumber::kAuthenticationFailed));
  EXPECT_NE(told.text, u"");
  EXPECT_EQ(told.text.find(u"opensesame"), Text::npos);
  EXPECT_FALSE(told.outcome_unknown);
}

TEST_F(LastCauseTest, OfARowThatSomebodyChangedTellsSo) {
  static_cast<void>(stored_component(7, u"Seven"));
  EXPECT_TRUE(server_.call(L"Refresh").boolean());
  const LateBound component = server_.object(L"Components").object(L"Item", {u"C7"});
  database_.run("UPDATE DW_SEC_COMP SET RowVersion = x'00000000000000FF'");
  EXPECT_EQ(component.call(L"Update").number(), 5) << to_display_utf8(message());
  EXPECT_EQ(Told(cause_).kind, ::Changed_fk);
}

TEST_F(LastCauseTest, OfARaisedErrorTellsItsNumber) {
  const Outcome outcome = ask_for_a_pc_that_is_not_there(server_);
  EXPECT_EQ(outcome.error & 0xFFFF, 9);
  const Told told(cause_);
  EXPECT_EQ(told.kind, ::Other_fk);
  EXPECT_EQ(told.number, 9);
  EXPECT_EQ(told.text, outcome.description);
}

TEST_F(LastCauseTest, StaysUntilTheNextFailureOrUntilItIsCleared) {
  EXPECT_NE(ask_for_a_pc_that_is_not_there(server_).error, 0);
  EXPECT_TRUE(server_.call(L"Refresh").boolean());
  EXPECT_EQ(server_.object(L"Components").call(L"Count").number(), 0);
  EXPECT_EQ(Told(cause_).number, 9);
  // Every object of the class tells one client the same.
  EXPECT_EQ(Told(LateBound::create(L"Tarnwick.LastCause.1")).number, 9);
  cause_.call(L"Clear");
  expect_none();
}

TEST_F(LastCauseTest, IsToldToTheThreadWhoseCallItWas) {
  EXPECT_NE(ask_for_a_pc_that_is_not_there(server_).error, 0);
  std::optional<Told> before;
  std::optional<Told> after;
  std::thread([&] {
    const ComThread com;
    const LateBound server = LateBound::create(L"Tarnwick.Server");
    const LateBound cause = LateBound::create(L"Tarnwick.LastCause");
    before.emplace(cause);
    EXPECT_FALSE(server.object(L"Components")
                     .call(L"AddCompObject", {static_cast<IDispatch*>(nullptr)})
                     .boolean());
    after.emplace(cause);
  }).join();
  EXPECT_EQ(before->kind, ::None_fk);
  EXPECT_EQ(after->number, 91);
  EXPECT_EQ(Told(cause_).number, 9);
}

TEST_F(LastCauseTest, IsToldToTheProcessWhoseCallItWas) {
  EXPECT_FALSE(server_.call(L"SetConnection", {connect_string(), u"Nobody", u"x"}).boolean());
  Process script(L"cscript.exe //nologo \"" LAST_CAUSE L"\"");
  EXPECT_EQ(script.output(),
            "0 0 0  False\r\n"
            "1 9 0 Subscript out of range False\r\n"
            "0 0 0  False\r\n");
  EXPECT_EQ(script.exit_code(), 0u);
  EXPECT_EQ(Told(cause_).kind, ::Refused_fk);
}

TEST_F(LastCauseTest, IsNoServerAndLeavesTheListsAlone) {
  server_.object(L"Components").call(L"Add", {1, u"One", 0, 1, 1, true, 2, 1, u"", u""});
  EXPECT_EQ(server_.object(L"Components").call(L"Count").number(), 1);
  { const LateBound another = LateBound::create(L"Tarnwick.LastCause"); }
  EXPECT_EQ(server_.object(L"Components").call(L"Count").number(), 1);
  EXPECT_TRUE(server_.call(L"Initialized").boolean());
  // The connection lives as long as a Server.
  server_ = LateBound(nullptr);
  EXPECT_FALSE(LateBound::create(L"Tarnwick.Server").call(L"Initialized").boolean());
}

TEST_F(LastCauseTest, HasADualInterface) {
  EXPECT_NE(ask_for_a_pc_that_is_not_there(server_).error, 0);
  ComPtr<::_LastCause> early;
  ASSERT_EQ(cause_.get()->QueryInterface(IID_PPV_ARGS(&early)), S_OK);
  ::FailureKindEnum kind{};
  EXPECT_EQ(early->get_Kind(&kind), S_OK);
  EXPECT_EQ(kind, ::Other_fk);
  long number = 0;
  EXPECT_EQ(early->get_Number(&number), S_OK);
  EXPECT_EQ(number, 9);
  EXPECT_EQ(early->get_NativeNumber(&number), S_OK);
  EXPECT_EQ(number, 0);
  BSTR text = nullptr;
  EXPECT_EQ(early->get_NativeText(&text), S_OK);
  EXPECT_EQ(text_of(text), u"Subscript out of range");
  SysFreeString(text);
  VARIANT_BOOL unknown = VARIANT_TRUE;
  EXPECT_EQ(early->get_OutcomeUnknown(&unknown), S_OK);
  EXPECT_EQ(unknown, VARIANT_FALSE);
  EXPECT_EQ(early->Clear(), S_OK);
  EXPECT_EQ(early->get_Kind(&kind), S_OK);
  EXPECT_EQ(kind, ::None_fk);
}

TEST_F(LastCauseTest, CannotBeSet) {
  EXPECT_NE(cause_.attempt(L"Kind", DISPATCH_PROPERTYPUT, {1}).result, S_OK);
}

}  // namespace
}  // namespace tarnwick::automation::com
