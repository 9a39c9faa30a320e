#include "automation/dbus/object_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace tarnwick::automation::dbus {
namespace {

using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

Object make(ClassId of) { return {of, std::make_shared<int>()}; }

class Table : public testing::Test {
 protected:
  ObjectTable table{"run"};
  ObjectTable::Holder alice;
  ObjectTable::Holder bob;
};

TEST_F(Table, NamesObjectsByClassRunAndNumber) {
  EXPECT_EQ(table.hand_out(alice, make(ClassId::kServer)), "/org/tarnwick/Security1/Server/run_1");
  EXPECT_EQ(table.hand_out(alice, make(ClassId::kReport)), "/org/tarnwick/Security1/Report/run_2");
}

TEST_F(Table, KeepsAnObjectAndItsPathUntilItsLastHolderReleasesIt) {
  Object object = make(ClassId::kReport);
  const std::weak_ptr<void> watched = object.instance;
  const std::string path = table.hand_out(alice, object);
  EXPECT_EQ(table.hand_out(alice, object), path);
  EXPECT_FALSE(table.holds(bob, object));
  EXPECT_EQ(table.hand_out(bob, object), path);
  EXPECT_TRUE(table.holds(alice, object));
  EXPECT_EQ(table.find(path), object);
  object = {};

  EXPECT_TRUE(table.release(alice, path));
  EXPECT_FALSE(table.release(alice, path));
  EXPECT_TRUE(table.find(path));
  EXPECT_TRUE(table.release(bob, path));
  EXPECT_FALSE(table.find(path));
  EXPECT_TRUE(watched.expired());
  EXPECT_TRUE(table.empty());
}

TEST_F(Table, NeverUsesANumberTwice) {
  const Object object = make(ClassId::kReport);
  const std::string first = table.hand_out(alice, object);
  table.release(alice, first);
  EXPECT_NE(table.hand_out(alice, object), first);
}

TEST_F(Table, FindsNothingUnderOtherPaths) {
  const std::string path = table.hand_out(alice, make(ClassId::kReport));
  ASSERT_EQ(path, "/org/tarnwick/Security1/Report/run_1");
  for (const char* other :
       {"", "/", "/org/tarnwick/Security1", "/org/tarnwick/Security1/Report",
        "/org/tarnwick/Security1/Report/", "/org/tarnwick/Security1/Report/run_",
        "/org/tarnwick/Security1/Report/run_01", "/org/tarnwick/Security1/Report/run_1x",
        "/org/tarnwick/Security1/Report/run_-1", "/org/tarnwick/Security1/Report/run_2",
        "/org/tarnwick/Security1/Report/run1", "/org/tarnwick/Security1/Report/other_1",
        "/org/tarnwick/Security1/Reports/run_1", "/org/tarnwick/Security1/Report/run_1/x",
        "/org/tarnwick/Security1/Report/run_99999999999999999999"}) {
    EXPECT_FALSE(table.find(other)) << other;
  }
}

TEST_F(Table, ReleasesTheYoungestFirstAndEachOnlyWithItsLastHolder) {
  std::vector<int> ended;
  const auto watched = [&](int number) {
    return Object{ClassId::kReport, std::shared_ptr<int>(new int(number), [&ended](int* value) {
                    ended.push_back(*value);
                    delete value;
                  })};
  };
  table.hand_out(alice, watched(1));
  table.hand_out(alice, watched(2));
  const std::string shared = table.hand_out(alice, watched(3));
  table.hand_out(alice, watched(4));
  table.hand_out(bob, table.find(shared));
  table.release_all(alice);
  EXPECT_THAT(ended, testing::ElementsAre(4, 2, 1));
  EXPECT_EQ(alice.size(), 0u);
  EXPECT_TRUE(table.find(shared));
  table.release_all(bob);
  EXPECT_THAT(ended, testing::ElementsAre(4, 2, 1, 3));
}

TEST_F(Table, IsInOrderWhileAnObjectEnds) {
  std::string path;
  bool found = true;
  path = table.hand_out(alice, {ClassId::kReport, std::shared_ptr<int>(new int, [&](int* value) {
                                  found = bool(table.find(path));
                                  table.hand_out(bob, make(ClassId::kServer));
                                  delete value;
                                })});
  table.release(alice, path);
  EXPECT_FALSE(found);
  EXPECT_EQ(bob.size(), 1u);
}

TEST_F(Table, ListsPathsByClassUpToALimit) {
  const std::string first = table.hand_out(alice, make(ClassId::kReport));
  const std::string second = table.hand_out(alice, make(ClassId::kReport));
  table.hand_out(alice, make(ClassId::kServer));
  EXPECT_THAT(table.paths(ClassId::kReport, 10), UnorderedElementsAre(first, second));
  EXPECT_THAT(table.paths(ClassId::kReport, 1), SizeIs(1));
  EXPECT_THAT(table.paths(ClassId::kReports, 10), IsEmpty());
  EXPECT_TRUE(table.any(ClassId::kServer));
  EXPECT_FALSE(table.any(ClassId::kReports));
}

}  // namespace
}  // namespace tarnwick::automation::dbus
