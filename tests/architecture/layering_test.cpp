#include "tests/architecture/layering.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace tarnwick::architecture {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Layering, OfThisSourceTreeIsKept) {
  const Layering layering = check_layering(SOURCE_TREE);
  EXPECT_GT(layering.files_read, 20u);
  EXPECT_THAT(layering.violations, IsEmpty());
}

class MadeUpTree : public ::testing::Test {
 protected:
  /// The violations of a tree that holds nothing but `file` with the one line `#include header`.
  static std::vector<std::string> violations_of(const std::string& file,
                                                const std::string& header) {
    const test_support::TemporaryFolder tree;
    tree.write(file, "#include " + header + "\n");
    const Layering layering = check_layering(tree.path());
    EXPECT_EQ(layering.files_read, 1u);
    return layering.violations;
  }
};

TEST_F(MadeUpTree, MayIncludeLowerRoomsItsOwnRoomAndTheStandardLibrary) {
  EXPECT_THAT(violations_of("ado/stream.cpp", "\"ado/stream.h\""), IsEmpty());
  EXPECT_THAT(violations_of("ado/stream.cpp", "\"runtime/text.h\""), IsEmpty());
  EXPECT_THAT(violations_of("apps/tarnwick.cpp", "\"automation/dbus/service.h\""), IsEmpty());
  EXPECT_THAT(violations_of("runtime/text.cpp", "<string>"), IsEmpty());
}

TEST_F(MadeUpTree, MayNotIncludeHigherRooms) {
  EXPECT_THAT(violations_of("runtime/text.cpp", "\"platform/host.h\""),
              ElementsAre("runtime/text.cpp:1: runtime may not include platform/host.h"));
  EXPECT_THAT(violations_of("ado/connection.h", "\"engines/sqlite/engine.h\""),
              ElementsAre("ado/connection.h:1: ado may not include engines/sqlite/engine.h"));
  EXPECT_THAT(
      violations_of("records/row_lock.cpp", "\"components/component.h\""),
      ElementsAre("records/row_lock.cpp:1: records may not include components/component.h"));
  EXPECT_THAT(violations_of("automation/members.cpp", "\"automation/dbus/service.h\""),
              ElementsAre("automation/members.cpp:1: automation may not include "
                          "automation/dbus/service.h"));
}

TEST_F(MadeUpTree, MayNotHideAHigherRoomInAngleBracketsOrBehindBlanks) {
  EXPECT_THAT(violations_of("runtime/text.cpp", "<platform/host.h>"),
              ElementsAre("runtime/text.cpp:1: runtime may not include platform/host.h"));
  const test_support::TemporaryFolder tree;
  tree.write("runtime/text.cpp", "\n  #  include   \"platform/host.h\"  // why\n");
  EXPECT_THAT(check_layering(tree.path()).violations,
              ElementsAre("runtime/text.cpp:2: runtime may not include platform/host.h"));
}

TEST_F(MadeUpTree, KeepsTheEnginesApart) {
  EXPECT_THAT(violations_of("engines/sqlite/engine.cpp", "\"engines/odbc/engine.h\""),
              ElementsAre("engines/sqlite/engine.cpp:1: engines/sqlite may not include "
                          "engines/odbc/engine.h"));
  EXPECT_THAT(violations_of("engines/odbc/engine.cpp", "\"engines/sqlite/engine.h\""),
              ElementsAre("engines/odbc/engine.cpp:1: engines/odbc may not include "
                          "engines/sqlite/engine.h"));
}

TEST_F(MadeUpTree, KeepsTheWireFormsApart) {
  EXPECT_THAT(violations_of("automation/com/class.cpp", "\"automation/dbus/service.h\""),
              ElementsAre("automation/com/class.cpp:1: automation/com may not include "
                          "automation/dbus/service.h"));
  EXPECT_THAT(violations_of("automation/dbus/service.cpp", "\"automation/com/class.h\""),
              ElementsAre("automation/dbus/service.cpp:1: automation/dbus may not include "
                          "automation/com/class.h"));
  EXPECT_THAT(violations_of("automation/com/class.cpp", "\"automation/members.h\""), IsEmpty());
}

TEST_F(MadeUpTree, LetsComponentsUsePcsAndKeepsTheRecordClassesApartOtherwise) {
  EXPECT_THAT(violations_of("components/component.cpp", "\"pcs/registered_pc.h\""), IsEmpty());
  EXPECT_THAT(violations_of("components/component.cpp", "\"reports/report.h\""),
              ElementsAre("components/component.cpp:1: components may not include "
                          "reports/report.h"));
  EXPECT_THAT(violations_of("pcs/registered_pc.cpp", "\"components/component.h\""),
              ElementsAre("pcs/registered_pc.cpp:1: pcs may not include components/component.h"));
  EXPECT_THAT(violations_of("pcs/registered_pc.cpp", "\"reports/report.h\""),
              ElementsAre("pcs/registered_pc.cpp:1: pcs may not include reports/report.h"));
  EXPECT_THAT(violations_of("reports/report.cpp", "\"components/component.h\""),
              ElementsAre("reports/report.cpp:1: reports may not include components/component.h"));
  EXPECT_THAT(violations_of("reports/report.cpp", "\"pcs/registered_pc.h\""),
              ElementsAre("reports/report.cpp:1: reports may not include pcs/registered_pc.h"));
}

TEST_F(MadeUpTree, HasTheSharedStateBelowAndTheServerAboveTheRecordClasses) {
  EXPECT_THAT(violations_of("server/server.cpp", "\"reports/reports.h\""), IsEmpty());
  EXPECT_THAT(violations_of("reports/report.cpp", "\"state/guard.h\""), IsEmpty());
  EXPECT_THAT(violations_of("state/guard.h", "\"records/row_lock.h\""),
              ElementsAre("state/guard.h:1: state may not include records/row_lock.h"));
  EXPECT_THAT(violations_of("reports/report.cpp", "\"server/server.h\""),
              ElementsAre("reports/report.cpp:1: reports may not include server/server.h"));
}

TEST_F(MadeUpTree, HasTheClientAboveItsTransportsAndBelowThePrograms) {
  EXPECT_THAT(violations_of("client/client.cpp", "\"automation/dbus/wire.h\""), IsEmpty());
  EXPECT_THAT(violations_of("apps/tarnwick/main.cpp", "\"client/client.h\""), IsEmpty());
  EXPECT_THAT(violations_of("client/client.h", "\"apps/tarnwick/options.h\""),
              ElementsAre("client/client.h:1: client may not include apps/tarnwick/options.h"));
  EXPECT_THAT(violations_of("automation/model.h", "\"client/client.h\""),
              ElementsAre("automation/model.h:1: automation may not include client/client.h"));
}

TEST_F(MadeUpTree, LeavesEachLibraryToOneRoom) {
  EXPECT_THAT(violations_of("engines/sqlite/session.cpp", "<sqlite3.h>"), IsEmpty());
  EXPECT_THAT(violations_of("engines/odbc/session.cpp", "<sqlext.h>"), IsEmpty());
  EXPECT_THAT(violations_of("apps/tarnwick.cpp", "<sqlite3.h>"),
              ElementsAre("apps/tarnwick.cpp:1: apps may not include sqlite3.h, which is for "
                          "engines/sqlite"));
  EXPECT_THAT(violations_of("engines/sqlite/session.cpp", "<sql.h>"),
              ElementsAre("engines/sqlite/session.cpp:1: engines/sqlite may not include sql.h, "
                          "which is for engines/odbc"));
  EXPECT_THAT(violations_of("ado/error.cpp", "\"sqlext.h\""),
              ElementsAre("ado/error.cpp:1: ado may not include sqlext.h, which is for "
                          "engines/odbc"));
}

TEST_F(MadeUpTree, MayNotIncludeWhatIsInNoRoom) {
  EXPECT_THAT(violations_of("ado/stream.cpp", "\"tests/support/temporary_folder.h\""),
              ElementsAre("ado/stream.cpp:1: tests/support/temporary_folder.h is in no room"));
  EXPECT_THAT(violations_of("ado/stream.cpp", "\"../engines/odbc/engine.h\""),
              ElementsAre("ado/stream.cpp:1: ../engines/odbc/engine.h is in no room"));
  EXPECT_THAT(violations_of("engines/engine.cpp", "<string>"),
              ElementsAre("engines/engine.cpp: is in no room"));
}

TEST_F(MadeUpTree, ReportsEveryViolationInOrder) {
  const test_support::TemporaryFolder tree;
  tree.write("runtime/b.cpp", "#include \"ado/field.h\"\n#include \"platform/host.h\"\n");
  tree.write("runtime/a.h", "#include \"apps/main.h\"\n");
  tree.write("tests/runtime/a_test.cpp", "#include <sqlite3.h>\n");
  const Layering layering = check_layering(tree.path());
  EXPECT_EQ(layering.files_read, 2u);
  EXPECT_THAT(layering.violations,
              ElementsAre("runtime/a.h:1: runtime may not include apps/main.h",
                          "runtime/b.cpp:1: runtime may not include ado/field.h",
                          "runtime/b.cpp:2: runtime may not include platform/host.h"));
}

}  // namespace
}  // namespace tarnwick::architecture
