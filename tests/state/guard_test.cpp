#include "state/guard.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "tests/support/object_model.h"

namespace tarnwick {
namespace {

using ado::FailureKind;
using test_support::account;
using test_support::ScriptedHost;
using test_support::ScriptedMessageBox;

constexpr Procedure kProcedure{u"Report", u"Update"};

class Guard : public ::testing::Test {
 protected:
  test_support::TemporaryFolder folder_;
  ScriptedHost host_{folder_.path()};
  SharedState state_{host_, {}};
};

TEST_F(Guard, ReturnsWhatTheBodyMadeOfTheResult) {
  const int result = guarded(state_, kProcedure, 1, [](int& value) { value = 7; });
  EXPECT_EQ(result, 7);
  EXPECT_EQ(state_.errors.message(), u"");
  EXPECT_EQ(state_.errors.number(), 0);
}

TEST_F(Guard, ReturnsTheFailureValueWhenTheBodyFailsBeforeSettingOne) {
  const int result =
      guarded(state_, kProcedure, 1, [](int&) { throw Error(ErrorNumber::kObjectNotSet); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(state_.errors.message(),
            account(u"Report", u"Update", 91, u"Object variable or With block variable not set"));
}

TEST_F(Guard, KeepsTheResultThatWasSetBeforeTheError) {
  const int result = guarded(state_, kProcedure, 1, [](int& value) {
    value = 5;
    throw Error(ErrorNumber::kOverflow);
  });
  EXPECT_EQ(result, 5);
}

TEST_F(Guard, LetsNoExceptionOut) {
  EXPECT_FALSE(guarded(state_, kProcedure, false, [](bool&) { throw std::bad_alloc(); }));
  EXPECT_EQ(state_.errors.message(), account(u"Report", u"Update", 7, u"Out of memory"));
  state_.errors.set_message({});
  EXPECT_FALSE(
      guarded(state_, kProcedure, false, [](bool&) { throw std::runtime_error("by chance"); }));
  EXPECT_EQ(state_.errors.message(), account(u"Report", u"Update", 51, u"by chance"));
}

TEST_F(Guard, RaisesAMessageAsItsOwnDescription) {
  EXPECT_FALSE(guarded(state_, kProcedure, false,
                       [&](bool&) { raise_message(state_, u"No name, no update!"); }));
  EXPECT_EQ(state_.errors.message(),
            u"No name, no update!"
            u"\r\nError in Component: 'Report', Proceedure: 'Update'."
            u"\r\nError #:    \t-2147221504"
            u"\r\nDescription:\tNo name, no update!");
  EXPECT_EQ(state_.errors.number(), -2147221504);
}

TEST_F(Guard, ShowsNoErrorOutsideTheDevelopmentEnvironment) {
  guarded(state_, kProcedure, 0, [](int&) { throw Error(ErrorNumber::kOverflow); });
  EXPECT_TRUE(host_.box.notices.empty());
  EXPECT_EQ(host_.debugger_stops, 0);
}

TEST_F(Guard, ShowsEachErrorInTheDevelopmentEnvironmentAndStopsInTheDebugger) {
  state_.in_development_environment = true;
  guarded(state_, kProcedure, 0, [](int&) { throw Error(ErrorNumber::kOverflow); });
  ASSERT_EQ(host_.box.notices.size(), 1u);
  EXPECT_EQ(host_.box.notices[0], (ScriptedMessageBox::Box{state_.errors.message(), u"Tarnwick"}));
  EXPECT_EQ(host_.debugger_stops, 1);
}

TEST_F(Guard, IgnoresErrorsOfQuietStepsWithoutARecord) {
  EXPECT_TRUE(quietly([] {}));
  EXPECT_FALSE(quietly([] { throw Error(ErrorNumber::kOverflow); }));
  EXPECT_EQ(state_.errors.message(), u"");
  EXPECT_EQ(state_.errors.number(), 0);
}

TEST_F(Guard, NotesTheCauseOfAStepWithoutAnAccount) {
  EXPECT_TRUE(succeeds(state_, [] {}));
  EXPECT_EQ(state_.failures.last().kind, FailureKind::kNone);
  EXPECT_FALSE(succeeds(state_, [] { throw ado::lock_timeout(); }));
  EXPECT_EQ(state_.failures.last().kind, FailureKind::kLockTimeout);
  EXPECT_EQ(state_.errors.message(), u"");
  EXPECT_EQ(state_.errors.number(), 0);
}

TEST_F(Guard, PutsFurtherLinesIntoTheAccount) {
  const auto lines = [] { return Text(u"Field :     \tTitle\r\n"); };
  EXPECT_FALSE(guarded(state_, kProcedure, false, lines,
                       [](bool&) { throw Error(ErrorNumber::kOverflow); }));
  EXPECT_EQ(state_.errors.message(),
            u"\r\nError in Component: 'Report', Proceedure: 'Update'."
            u"\r\nField :     \tTitle"
            u"\r\nError #:    \t6"
            u"\r\nDescription:\tOverflow");
}

TEST_F(Guard, EmptiesTheMessageAfterAStepThatSucceeded) {
  state_.errors.set_message(u"an older message");
  const int made = make_under_step_text(state_, u"Unable to make it", [&] {
    EXPECT_EQ(state_.errors.message(), u"Unable to make it");
    return 3;
  });
  EXPECT_EQ(made, 3);
  EXPECT_EQ(state_.errors.message(), u"");
}

TEST_F(Guard, BeginsTheAccountOfAFailedStepWithItsText) {
  guarded(state_, kProcedure, 0, [&](int& value) {
    value = make_under_step_text(state_, u"Unable to create Scripting.FileSystemObject",
                                 []() -> int { throw Error(429, u"no such thing"); });
  });
  EXPECT_EQ(state_.errors.message(), join({u"Unable to create Scripting.FileSystemObject",
                                           account(u"Report", u"Update", 429, u"no such thing")}));
}

}  // namespace
}  // namespace tarnwick
