#include "automation/events.h"

#include <gtest/gtest.h>

#include <vector>

#include "runtime/error.h"

namespace tarnwick::automation {
namespace {

constexpr std::int32_t kUnspecified = -2147467259;

class EventsTest : public ::testing::Test {
 protected:
  std::vector<Event> told_;
  Events events_{[this](const Event& event) { told_.push_back(event); }};

  /// The one event that a call which failed so becomes.
  Event failed(const FailureCause& cause) {
    told_.clear();
    events_.failed(u"somebody", cause);
    return told_.size() == 1 ? told_.front() : Event{EventKind::kBroken, u"not one event"};
  }
};

TEST_F(EventsTest, TellWhatAnEngineRefused) {
  const Event event =
      failed({ado::FailureKind::kLockTimeout, kUnspecified, 1222, u"Lock request time out."});
  EXPECT_EQ(event.kind, EventKind::kRefused);
  EXPECT_EQ(event.text, u"A call of somebody failed: -2147467259 (1222): Lock request time out.");
  EXPECT_EQ(event.client, u"somebody");
  EXPECT_EQ(event.cause.native, 1222);
}

TEST_F(EventsTest, TellALostConnectionApartFromOneThatLeavesTheOutcomeOpen) {
  FailureCause cause{ado::FailureKind::kConnectionLost, kUnspecified, 20003, u"Gone"};
  EXPECT_EQ(failed(cause).kind, EventKind::kConnectionLost);
  cause.outcome_unknown = true;
  EXPECT_EQ(failed(cause).kind, EventKind::kOutcomeUnknown);
}

TEST_F(EventsTest, AreOneLineWhateverTheEngineSays) {
  EXPECT_EQ(failed({ado::FailureKind::kOther, kUnspecified, 1, u"two\r\nlines\tand more"}).text,
            u"A call of somebody failed: -2147467259 (1): two  lines and more");
}

TEST_F(EventsTest, TellNothingOfWhatTheObjectModelRefusesByItself) {
  const auto refused = static_cast<std::int32_t>(ErrorNumber::kUserDefined);
  events_.failed(u"somebody", {ado::FailureKind::kRefused, refused, 0, u"Name is missing"});
  events_.failed(u"somebody", {ado::FailureKind::kOther, 3021, 0, u"Either BOF or EOF"});
  EXPECT_TRUE(told_.empty());
}

TEST_F(EventsTest, GrowGraverFromACourseOfThingsToAnEndOfThem) {
  events_.started();
  events_.unanswered(u"Retry?");
  events_.broken(u"No bus");
  events_.ended();
  ASSERT_EQ(told_.size(), 4u);
  EXPECT_EQ(severity_of(told_[0].kind), Severity::kInformation);
  EXPECT_EQ(severity_of(told_[1].kind), Severity::kWarning);
  EXPECT_EQ(told_[1].text, u"Retry?");
  EXPECT_EQ(severity_of(told_[2].kind), Severity::kError);
  EXPECT_EQ(severity_of(told_[3].kind), Severity::kInformation);
}

}  // namespace
}  // namespace tarnwick::automation
