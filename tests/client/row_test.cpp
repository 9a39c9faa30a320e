#include "client/row.h"

#include <gtest/gtest.h>

#include "tests/support/thrown_error.h"

namespace tarnwick::client {
namespace {

using test_support::error_number_of;

TEST(Rows, KnowNothingAtFirst) {
  const Row row = Row::of<RegisteredPC>();
  EXPECT_FALSE(row.any());
  EXPECT_FALSE(row.complete());
  EXPECT_EQ(row[row.attributes()[0]], AttributeValue(Empty{}));
  EXPECT_EQ(error_number_of([&] {
              (void)row.get<RegisteredPC, "CompID">();
              return 0;
            }),
            13);
}

TEST(Rows, HoldWhatWasSetByName) {
  Row row = Row::of<RegisteredPC>();
  row.set<RegisteredPC, "CompID">(7);
  row.set<RegisteredPC, "LastUser">(u"eva");
  EXPECT_EQ((row.get<RegisteredPC, "CompID">()), 7);
  EXPECT_EQ((row.get<RegisteredPC, "LastUser">()), u"eva");
  EXPECT_TRUE(row.any());
  EXPECT_FALSE(row.complete());
}

TEST(Rows, OfAnotherClassAreRefused) {
  Row pc = Row::of<RegisteredPC>();
  EXPECT_EQ(error_number_of([&] {
              pc.set<Component, "CompID">(7);
              return 0;
            }),
            13);
  EXPECT_EQ(error_number_of([&] {
              pc.overlay(Row::of<Report>());
              return 0;
            }),
            13);
  EXPECT_NE(pc, Row::of<Report>());
}

TEST(Rows, TakeOverWhatAnotherOneKnows) {
  Row row = Row::of<Component>();
  row.set<Component, "Name">(u"Sales");
  row.set<Component, "Priority">(1);
  Row other = Row::of<Component>();
  other.set<Component, "Priority">(2);
  row.overlay(other);
  EXPECT_EQ((row.get<Component, "Name">()), u"Sales");
  EXPECT_EQ((row.get<Component, "Priority">()), 2);
}

TEST(Rows, FillWhatIsNotKnown) {
  Row row = Row::of<Report>();
  row.set<Report, "Title">(u"Orders");
  row.fill();
  EXPECT_TRUE(row.complete());
  EXPECT_EQ((row.get<Report, "Title">()), u"Orders");
  EXPECT_EQ((row.get<Report, "ImageIndex">()), 0);
  EXPECT_EQ((row.get<Report, "Created">()), Date{});
}

}  // namespace
}  // namespace tarnwick::client
