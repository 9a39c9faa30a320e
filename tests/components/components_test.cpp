#include "components/components.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::raised;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kDuplicate =
    u"This key is already associated with an element of this collection";

class ComponentsList : public test_support::ConnectedTest {
 protected:
  Components& components() { return *process_.server->components(); }

  /// Rows with these ids, as SQL values "id, meta id".
  void insert(std::initializer_list<const char*> rows) {
    for (const std::string row : rows) {
      database_.run("INSERT INTO DW_SEC_COMP (CompID, MetaID, ForceDisplay, MaintType) VALUES (" +
                    row + ", 0, 2)");
    }
  }

  std::shared_ptr<Component> add(std::int16_t id, TextView name = {}) {
    return components().add(id, name, 0, 0, 1, false, 0, None_rc, u"", u"");
  }

  std::vector<Text> keys() {
    std::vector<Text> result;
    StoreEnumerator<Component> enumerator = components().new_enum();
    while (const auto component = enumerator.next()) result.push_back(component->key());
    return result;
  }
};

TEST_F(ComponentsList, LoadsByAscendingIdWithOneStatement) {
  insert({"30, 'a'", "4, 'b'", "12, 'c'"});
  EXPECT_TRUE(components().refresh());
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Open client static optimistic: Select * From  DW_SEC_COMP Order By "
                          u"CompID",
                          u"Execute SET LOCK_TIMEOUT 2000"));
  EXPECT_EQ(components().count(), 3);
  EXPECT_EQ(components().item(std::int32_t{1})->comp_id(), 4);
  EXPECT_EQ(components().item(std::int32_t{2})->comp_id(), 12);
  EXPECT_EQ(components().item(std::int32_t{3})->comp_id(), 30);
  EXPECT_THAT(keys(), ElementsAre(u"C4", u"C12", u"C30"));
}

TEST_F(ComponentsList, IsChangedRightAfterLoadingRows) {
  EXPECT_TRUE(components().refresh());
  EXPECT_FALSE(components().changed());
  insert({"1, 'a'"});
  EXPECT_TRUE(components().refresh());
  EXPECT_TRUE(components().changed());
  EXPECT_EQ(components().item(std::int32_t{1})->update(), OK_ue);
  EXPECT_FALSE(components().changed());
}

TEST_F(ComponentsList, LoadsAnEmptyTableToAnEmptyListWithoutAMessage) {
  insert({"1, 'a'"});
  ASSERT_TRUE(components().refresh());
  EXPECT_TRUE(components().initialized());
  database_.run("DELETE FROM DW_SEC_COMP");
  EXPECT_TRUE(components().refresh());
  EXPECT_EQ(components().count(), 0);
  EXPECT_FALSE(components().initialized());
  EXPECT_EQ(message(), u"");
}

TEST_F(ComponentsList, StaysAsItWasWhenTheTableCannotBeOpened) {
  insert({"1, 'a'"});
  ASSERT_TRUE(components().refresh());
  const auto before = components().item(Text(u"C1"));
  database_.run("DROP TABLE DW_SEC_COMP");
  EXPECT_TRUE(components().refresh());
  EXPECT_EQ(components().item(Text(u"C1")), before);
  EXPECT_TRUE(
      message().starts_with(u"\r\nError in Component: 'General', Proceedure: 'GetRecordset'."));
}

TEST_F(ComponentsList, LeavesOutRowsThatCannotBeLoaded) {
  database_.loosen("DW_SEC_COMP");
  database_.run(
      "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 0), (2, NULL, 0),"
      "  (3, 0, 0)");
  EXPECT_TRUE(components().refresh());
  EXPECT_THAT(keys(), ElementsAre(u"C1", u"C3"));
  EXPECT_EQ(message(), account(u"General", u"RefreshComponent", 94, u"Invalid use of Null"));
}

TEST_F(ComponentsList, ListsOneNegativeIdUnderTheEmptyKeyAndStopsAtTheSecond) {
  insert({"-5, 'a'", "-4, 'b'", "1, 'c'"});
  EXPECT_FALSE(components().refresh());
  EXPECT_EQ(components().count(), 1);
  EXPECT_EQ(components().item(Text())->comp_id(), -5);
  EXPECT_EQ(message(), account(u"Components", u"Refresh", 457, kDuplicate));
}

TEST_F(ComponentsList, GivesAFetchedComponentUpButLeavesItValid) {
  insert({"1, 'a'"});
  ASSERT_TRUE(components().refresh());
  const auto fetched = components().item(Text(u"C1"));
  ASSERT_TRUE(components().refresh());
  EXPECT_NE(components().item(Text(u"C1")), fetched);
  EXPECT_EQ(fetched->meta_id(), u"A");
}

TEST_F(ComponentsList, AddStoresEveryArgument) {
  const auto added = components().add(7, u"Desk", 3, 20, 4, true, 3, PCAll_rc, u"SRV-1", u"Admins",
                                      u"meta-7", u"Keeper");
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(added->comp_id(), 7);
  EXPECT_EQ(added->name(), u"Desk");
  EXPECT_EQ(added->parent_id(), 3);
  EXPECT_EQ(added->priority(), 20);
  EXPECT_EQ(added->image_index(), 4);
  EXPECT_TRUE(added->force_display());
  EXPECT_EQ(added->maintenance_type(), ComponentWithPCs_mt);
  EXPECT_EQ(added->report_code(), PCAll_rc);
  EXPECT_EQ(added->server_name(), u"SRV-1");
  EXPECT_EQ(added->security_group(), u"Admins");
  EXPECT_EQ(added->meta_id(), u"META-7");
  EXPECT_EQ(added->authorized_role(), u"Keeper");
  EXPECT_EQ(added->row_version(), u"");
  EXPECT_TRUE(added->changed());
  EXPECT_EQ(components().item(Text(u"C7")), added);
  EXPECT_THAT(process_.trace(), IsEmpty()) << "nothing is written";
}

TEST_F(ComponentsList, AddLeavesMetaIdAndRoleEmptyWhereTheyAreLeftOut) {
  const auto added = add(7);
  EXPECT_EQ(added->meta_id(), u"");
  EXPECT_EQ(added->authorized_role(), u"");
}

TEST_F(ComponentsList, AddTakesId0) {
  EXPECT_NE(add(0), nullptr);
  EXPECT_THAT(keys(), ElementsAre(u"C0"));
}

TEST_F(ComponentsList, AddRefusesANegativeId) {
  EXPECT_EQ(add(-1), nullptr);
  EXPECT_EQ(message(), raised(u"No ComponentID provided, unable to add component to collection!",
                              u"Components", u"Add"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_EQ(components().count(), 0);
}

TEST_F(ComponentsList, AddRefusesAnIdThatIsThere) {
  const auto first = add(7, u"first");
  EXPECT_EQ(add(7, u"second"), nullptr);
  EXPECT_EQ(message(), account(u"Components", u"Add", 457, kDuplicate));
  EXPECT_EQ(components().count(), 1);
  EXPECT_EQ(components().item(Text(u"C7")), first);
}

TEST_F(ComponentsList, AddRecordsThatThereIsNoList) {
  { const Components another(state()); }
  EXPECT_EQ(add(7), nullptr);
  EXPECT_EQ(message(),
            account(u"Components", u"Add", 91, u"Object variable or With block variable not set"));
}

TEST_F(ComponentsList, AddCompObjectTakesAComponentOnce) {
  const auto component = std::make_shared<Component>(state());
  test_support::ComponentSetters{*component}.comp_id(7);
  EXPECT_TRUE(components().add_comp_object(component));
  EXPECT_EQ(components().item(Text(u"C7")), component);
  state().errors.set_message(u"older");
  EXPECT_FALSE(components().add_comp_object(component));
  EXPECT_EQ(message(),
            u"Component '7' is already on file. Unable to add to the components collection!");
  EXPECT_EQ(number(), 0) << "nothing is raised";
  EXPECT_EQ(components().count(), 1);
}

TEST_F(ComponentsList, AddCompObjectTakesANewComponentUnderTheEmptyKey) {
  const auto component = std::make_shared<Component>(state());
  EXPECT_TRUE(components().add_comp_object(component));
  EXPECT_FALSE(components().add_comp_object(std::make_shared<Component>(state())));
  EXPECT_EQ(message(),
            u"Component '-1' is already on file. Unable to add to the components collection!");
}

TEST_F(ComponentsList, AddCompObjectRecordsThatThereIsNoComponentOrNoList) {
  EXPECT_FALSE(components().add_comp_object(nullptr));
  const Text not_set = account(u"Components", u"AddCompObject", 91,
                               u"Object variable or With block variable not set");
  EXPECT_EQ(message(), not_set);
  { const Components another(state()); }
  state().errors.set_message({});
  EXPECT_FALSE(components().add_comp_object(std::make_shared<Component>(state())));
  EXPECT_EQ(message(), not_set);
}

TEST_F(ComponentsList, ExistsTakesTheKeyAndNotTheId) {
  add(7);
  EXPECT_TRUE(components().exists(u"C7"));
  EXPECT_TRUE(components().exists(u"c7"));
  EXPECT_FALSE(components().exists(u"7"));
  EXPECT_FALSE(components().exists(u""));
  EXPECT_FALSE(components().exists(u"C8"));
  EXPECT_EQ(message(), u"");
}

TEST_F(ComponentsList, FindsAMetaIdInAnyLetterCaseInOrder) {
  insert({"1, 'abc'", "2, 'abd'", "3, 'ABC'"});
  ASSERT_TRUE(components().refresh());
  const auto found = components().find_meta_id(u"aBc");
  ASSERT_EQ(found->size(), 2u);
  EXPECT_EQ(found->at(std::int64_t{1})->comp_id(), 1);
  EXPECT_EQ(found->at(std::int64_t{2})->comp_id(), 3);
  EXPECT_EQ(found->at(u"C3"), components().item(Text(u"C3"))) << "the same objects";
}

TEST_F(ComponentsList, FindsNothingForAnEmptyOrUnknownMetaId) {
  insert({"1, NULL", "2, 'abd'"});
  ASSERT_TRUE(components().refresh());
  EXPECT_TRUE(components().find_meta_id(u"")->empty());
  EXPECT_TRUE(components().find_meta_id(u"ab")->empty());
  EXPECT_TRUE(components().find_meta_id(u" abd")->empty());
  EXPECT_EQ(message(), u"");
}

TEST_F(ComponentsList, FindMetaIdRecordsThatThereIsNoListAndReturnsNothingFound) {
  { const Components another(state()); }
  const auto found = components().find_meta_id(u"abc");
  ASSERT_NE(found, nullptr);
  EXPECT_TRUE(found->empty());
  EXPECT_EQ(message(), account(u"Components", u"FindMetaID", 91,
                               u"Object variable or With block variable not set"));
}

TEST_F(ComponentsList, ItemIsNothingForWhatIsNotThere) {
  add(7);
  EXPECT_EQ(components().item(Text(u"C8")), nullptr);
  EXPECT_EQ(components().item(Text(u"7")), nullptr);
  EXPECT_EQ(components().item(std::int32_t{0}), nullptr);
  EXPECT_EQ(components().item(std::int32_t{2}), nullptr);
  EXPECT_EQ(components().item(Null{}), nullptr);
  EXPECT_EQ(components().item(Empty{}), nullptr);
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ComponentsList, IsEmptiedForAllByASecondOne) {
  add(7);
  Components second(state());
  EXPECT_EQ(components().count(), 0);
  second.add(8, u"", 0, 0, 1, false, 0, None_rc, u"", u"");
  EXPECT_TRUE(components().exists(u"C8"));
}

TEST_F(ComponentsList, IsDroppedForAllAtTheEndOfAnotherOne) {
  add(7);
  { const Components second(state()); }
  EXPECT_EQ(components().count(), 0);
  EXPECT_EQ(components().item(std::int32_t{1}), nullptr);
  EXPECT_FALSE(components().exists(u"C7"));
  EXPECT_FALSE(components().changed());
  EXPECT_FALSE(components().initialized());
  EXPECT_THAT(keys(), IsEmpty());
  EXPECT_EQ(message(), u"");
}

TEST_F(ComponentsList, IsInitializedWithAnEntryAndAnOpenConnection) {
  EXPECT_FALSE(components().initialized());
  add(7);
  EXPECT_TRUE(components().initialized());
  state().connection->close();
  EXPECT_FALSE(components().initialized());
  state().connection.reset();
  EXPECT_FALSE(components().initialized());
}

TEST_F(ComponentsList, TellsTheSharedErrorState) {
  add(-1);
  EXPECT_EQ(components().last_error_msg(), message());
  EXPECT_EQ(components().last_error_number(), -2147221504);
  EXPECT_EQ(Component(state()).last_error_msg(), message());
  EXPECT_EQ(Component(state()).last_error_number(), -2147221504);
}

}  // namespace
}  // namespace tarnwick
