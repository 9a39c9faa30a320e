#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "components/components.h"
#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ComponentDelete : public test_support::ConnectedTest {
 protected:
  void load(std::initializer_list<int> ids) {
    for (const int id : ids) {
      database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (" +
                    std::to_string(id) + ", 0, 2)");
    }
    ASSERT_TRUE(components().refresh());
    (void)process_.trace();
  }

  Components& components() { return *process_.server->components(); }
  std::shared_ptr<Component> item(TextView key) { return components().item(Text(key)); }

  std::vector<Text> keys() {
    std::vector<Text> result;
    for (const auto& component : *state().components) result.push_back(component->key());
    return result;
  }
};

TEST_F(ComponentDelete, DeletesTheRowAndTheEntryAtThePositionOfItsId) {
  load({3, 11, 12, 13, 14});
  EXPECT_TRUE(item(u"C3")->remove());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Execute Delete from dbo.DW_Sec_Comp Where CompID = "
                                            u"3"));
  EXPECT_THAT(keys(), ElementsAre(u"C3", u"C11", u"C13", u"C14"));
  EXPECT_THAT(
      database_.run("SELECT CompID FROM DW_SEC_COMP"),
      ElementsAre(ElementsAre("11"), ElementsAre("12"), ElementsAre("13"), ElementsAre("14")));
  EXPECT_EQ(message(), u"");
}

TEST_F(ComponentDelete, DeletesTheRowAndReturnsFalseWhereThePositionIsNotInTheList) {
  load({3, 11});
  EXPECT_FALSE(item(u"C3")->remove());
  EXPECT_THAT(keys(), ElementsAre(u"C3", u"C11"));
  EXPECT_THAT(database_.run("SELECT CompID FROM DW_SEC_COMP"), ElementsAre(ElementsAre("11")));
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ComponentDelete, ReturnsFalseForId0ThoughTheRowIsGone) {
  load({0, 1});
  EXPECT_FALSE(item(u"C0")->remove());
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_COMP"), "1");
}

TEST_F(ComponentDelete, ReturnsFalseWithoutAListThoughTheRowIsGone) {
  load({1});
  const auto component = item(u"C1");
  { const Components another(state()); }
  ASSERT_EQ(state().components, nullptr);
  EXPECT_FALSE(component->remove());
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_COMP"), "0");
}

TEST_F(ComponentDelete, ReleasesTheRowFirstWhereItIsLocked) {
  load({1});
  const auto component = item(u"C1");
  ASSERT_TRUE(component->lock_record());
  (void)process_.trace();
  EXPECT_TRUE(component->remove());
  EXPECT_FALSE(component->locked());
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Rollback", u"Execute Delete from dbo.DW_Sec_Comp Where CompID = 1"));
}

TEST_F(ComponentDelete, ReturnsFalseWithoutAConnectionAndRecordsNothing) {
  load({1});
  const auto component = item(u"C1");
  state().connection.reset();
  EXPECT_FALSE(component->remove());
  EXPECT_THAT(keys(), ElementsAre(u"C1"));
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ComponentDelete, ReturnsFalseWhenTheStatementFailsAndRecordsNothing) {
  load({1});
  const auto component = item(u"C1");
  database_.run(
      "CREATE TRIGGER Refuse BEFORE DELETE ON DW_SEC_COMP"
      " BEGIN SELECT RAISE(ABORT, 'kept'); END");
  EXPECT_FALSE(component->remove());
  EXPECT_THAT(keys(), ElementsAre(u"C1"));
  EXPECT_EQ(message(), u"");
}

TEST_F(ComponentDelete, OfARowThatIsGoneRemovesTheEntry) {
  load({1});
  database_.run("DELETE FROM DW_SEC_COMP");
  EXPECT_TRUE(item(u"C1")->remove());
  EXPECT_THAT(keys(), IsEmpty());
}

TEST_F(ComponentDelete, InsideTheTransactionOfAnotherRecordIsTakenBackWithIt) {
  load({1, 2});
  const auto maintained = item(u"C2");
  const auto deleted = item(u"C1");
  ASSERT_TRUE(maintained->lock_record());
  EXPECT_TRUE(deleted->remove());
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_COMP"), "2") << "not committed yet";
  EXPECT_TRUE(maintained->release_record());
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_COMP"), "2");
}

TEST_F(ComponentDelete, InsideTheTransactionOfAnotherRecordIsCommittedWithIt) {
  load({1, 2});
  const auto maintained = item(u"C2");
  const auto deleted = item(u"C1");
  ASSERT_TRUE(maintained->lock_record());
  EXPECT_TRUE(deleted->remove());
  EXPECT_EQ(maintained->update(), OK_ue);
  EXPECT_THAT(database_.run("SELECT CompID FROM DW_SEC_COMP"), ElementsAre(ElementsAre("2")));
}

TEST_F(ComponentDelete, LeavesThePcsOfTheComponent) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
      "  VALUES ('00-AA', 'PC1', 1, 5, 1, 10)");
  load({1});
  EXPECT_TRUE(item(u"C1")->remove());
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_PC"), "1");
}

}  // namespace
}  // namespace tarnwick
