#include "pcs/find_pcs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_test.h"
#include "tests/support/thrown_error.h"

namespace tarnwick {
namespace {

using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FindPcs : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
        "VALUES ('BB', 'PC1', 7, 5, 1, 10), ('AA', 'pc1', 8, 5, 1, 10), ('PC1', 'Other', 7, 5, 1, "
        "10), ('CC', 'PC2', 7, 5, 1, 10), ('DD', 'ÄPFEL', 7, 5, 1, 10)");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
  }

  std::vector<std::string> found(TextView name) {
    std::vector<std::string> keys;
    for (const PcKey& key : find_pcs(state(), name)) {
      keys.push_back(to_utf8(key.mac_number) + " " + to_utf8(key.computer_id) + " " +
                     std::to_string(key.comp_id));
    }
    return keys;
  }
};

TEST_F(FindPcs, TellsTheKeysUnderAComputerIdOrAMacNumberInTheOrderOfTheRegister) {
  EXPECT_THAT(found(u"Pc1"), ElementsAre("AA pc1 8", "BB PC1 7", "PC1 Other 7"));
  EXPECT_THAT(found(u"cc"), ElementsAre("CC PC2 7"));
  EXPECT_THAT(found(u"None"), IsEmpty());
}

TEST_F(FindPcs, FoldsLettersThatTheTablesDoNot) {
  EXPECT_THAT(found(u"äpfel"), ElementsAre("DD ÄPFEL 7"));
}

TEST_F(FindPcs, WaitsForNobody) {
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  ASSERT_TRUE(other.server->registered_pcs()->refresh());
  ASSERT_TRUE(other.server->registered_pcs()->item(Text(u"BB\u00FEPC1\u00FE7"))->lock_record());
  EXPECT_THAT(found(u"PC1"), ElementsAre("AA pc1 8", "BB PC1 7", "PC1 Other 7"));
}

TEST_F(FindPcs, LeavesTheStoresAsTheyAre) {
  ASSERT_TRUE(process_.server->registered_pcs()->refresh());
  const auto store = state().registered_pcs;
  EXPECT_EQ(found(u"PC1").size(), 3u);
  EXPECT_EQ(state().registered_pcs, store);
  EXPECT_THAT(message(), IsEmpty());
}

TEST_F(FindPcs, NeedsAConnection) {
  ServerProcess unconnected(database_);
  EXPECT_THROW((void)find_pcs(unconnected.state, u"PC1"), Error);
}

}  // namespace
}  // namespace tarnwick
