#include "state/failures.h"

#include <gtest/gtest.h>

#include "state/guard.h"
#include "tests/support/object_model.h"

namespace tarnwick {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;
using ado::FailureKind;
using test_support::ScriptedHost;

constexpr Procedure kUpdate{u"Report", u"Update"};

class LastCause : public ::testing::Test {
 protected:
  template <class Failure>
  void fail(Failure failure) {
    guarded(state_, kUpdate, 0, [&](int&) { throw failure; });
  }
  const FailureCause& last() const { return state_.failures.last(); }

  test_support::TemporaryFolder folder_;
  ScriptedHost host_{folder_.path()};
  SharedState state_{host_, {}};
};

TEST_F(LastCause, IsNoneAtFirstAndOnceCleared) {
  EXPECT_EQ(last().kind, FailureKind::kNone);
  EXPECT_EQ(last().number, 0);
  EXPECT_EQ(last().native, 0);
  fail(Error(ErrorNumber::kOverflow));
  state_.failures.clear();
  EXPECT_EQ(last().kind, FailureKind::kNone);
  EXPECT_EQ(last().number, 0);
}

TEST_F(LastCause, TellsTheEnginesNumberAndText) {
  fail(AdoError(AdoErrorNumber::kUnspecified, u"database or disk is full", 13, {},
                FailureKind::kDiskFull));
  EXPECT_EQ(last().kind, FailureKind::kDiskFull);
  EXPECT_EQ(last().number, -2147467259);
  EXPECT_EQ(last().native, 13);
  EXPECT_EQ(last().text, u"database or disk is full");
  EXPECT_FALSE(last().outcome_unknown);
}

TEST_F(LastCause, FollowsFromTheNumberWhereTheEngineSaysNothingElse) {
  const auto kind_of = [&](AdoErrorNumber number) {
    fail(AdoError(number, u"so it is"));
    return last().kind;
  };
  EXPECT_EQ(kind_of(AdoErrorNumber::kRowNotLocated), FailureKind::kChanged);
  EXPECT_EQ(kind_of(AdoErrorNumber::kTimeout), FailureKind::kTimeout);
  EXPECT_EQ(kind_of(AdoErrorNumber::kCommandError), FailureKind::kRefused);
  EXPECT_EQ(kind_of(AdoErrorNumber::kIntegrityViolation), FailureKind::kRefused);
  EXPECT_EQ(kind_of(AdoErrorNumber::kPermissionDenied), FailureKind::kRefused);
  EXPECT_EQ(kind_of(AdoErrorNumber::kAuthenticationFailed), FailureKind::kRefused);
  EXPECT_EQ(kind_of(AdoErrorNumber::kObjectClosed), FailureKind::kOther);
  fail(ado::lock_timeout());
  EXPECT_EQ(last().kind, FailureKind::kLockTimeout);
  fail(ado::ConnectionLost(AdoErrorNumber::kUnspecified, u"gone"));
  EXPECT_EQ(last().kind, FailureKind::kConnectionLost);
}

TEST_F(LastCause, IsRefusedWhereTheObjectModelRaisesAMessage) {
  guarded(state_, kUpdate, 0, [&](int&) { raise_message(state_, u"No name!"); });
  EXPECT_EQ(last().kind, FailureKind::kRefused);
  EXPECT_EQ(last().number, -2147221504);
  EXPECT_EQ(last().text, u"No name!");
}

TEST_F(LastCause, IsTheFirstOfAPublicCall) {
  guarded(state_, kUpdate, 0, [&](int&) {
    fail(ado::lock_timeout());
    fail(Error(ErrorNumber::kOverflow));
    throw Error(ErrorNumber::kTypeMismatch);
  });
  EXPECT_EQ(last().kind, FailureKind::kLockTimeout);
}

TEST_F(LastCause, OfTheNextPublicCallTakesItsPlace) {
  fail(ado::lock_timeout());
  fail(Error(ErrorNumber::kOverflow));
  EXPECT_EQ(last().kind, FailureKind::kOther);
  EXPECT_EQ(last().number, 6);
}

TEST_F(LastCause, StaysThroughCallsThatSucceed) {
  fail(ado::lock_timeout());
  EXPECT_TRUE(guarded(state_, kUpdate, false, [](bool& result) { result = true; }));
  EXPECT_EQ(last().kind, FailureKind::kLockTimeout);
}

TEST_F(LastCause, KnowsNoOutcomeWhereACommitLostTheConnection) {
  const auto commit = [&](const AdoError& error) {
    state_.failures.clear();
    guarded(state_, kUpdate, 0, [&](int&) {
      try {
        if (error.kind() == FailureKind::kConnectionLost) {
          throw ado::ConnectionLost(AdoErrorNumber::kUnspecified, error.description());
        }
        throw error;
      } catch (...) {
        note_cause_of_commit(state_);
      }
    });
    return last().outcome_unknown;
  };
  EXPECT_TRUE(commit(ado::ConnectionLost(AdoErrorNumber::kUnspecified, u"gone")));
  EXPECT_FALSE(commit(AdoError(AdoErrorNumber::kUnspecified, u"full")));
}

}  // namespace
}  // namespace tarnwick
