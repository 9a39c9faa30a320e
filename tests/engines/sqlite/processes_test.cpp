#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/engines/sqlite/session_test.h"
#include "tests/support/forked_process.h"

// Sessions in processes of their own.

namespace tarnwick::sqlite {
namespace {

using test_support::Conversation;
using test_support::ForkedProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kComponent = u"Select * From DW_SEC_COMP Where CompID = 7";
constexpr TextView kOtherComponent = u"Select * From DW_SEC_COMP Where CompID = 8";

class Processes : public SessionTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType, Priority) "
        "VALUES (7, 'Old', 0, 2, 0), (8, 'Old', 0, 2, 0)");
  }

  /// Holds component 7 and gives it a stamp and the name New; does one step for every line.
  void maintain(Conversation& test) {
    const auto session = open_session();
    test.say("connected");
    (void)test.hear();
    session->begin();
    const auto row = hold(*session, kComponent);
    test.say(row.size() == 1 ? "held" : "nothing");
    (void)test.hear();
    row.update({{u"SoftLock", Text(u"CHILD - now")}});
    test.say("stamped");
    (void)test.hear();
    row.update({{u"CompName", Text(u"New")}, {u"SoftLock", Text()}});
    test.say("written");
    (void)test.hear();
    session->commit();
    test.say("committed");
    (void)test.hear();
  }

  std::string refusal() const {
    return "-2147217911 The database '" + database_.file().string() +
           "' cannot be opened: attempt to write a readonly database";
  }

  std::string component() const {
    return database_.value(
        "SELECT CompName || '|' || ifnull(SoftLock, '') FROM DW_SEC_COMP WHERE CompID = 7");
  }
};

TEST_F(Processes, MaintainDifferentRowsAtOnce) {
  ForkedProcess child([&](Conversation& test) { maintain(test); });
  EXPECT_EQ(child.hear(), "connected");
  const auto session = open_session();
  session->begin();
  auto row = hold(*session, kOtherComponent);
  ASSERT_EQ(row.size(), 1u);
  row.update({{u"CompName", Text(u"Mine")}});
  for (const char* step : {"held", "stamped", "written", "committed"}) {
    child.say("go on");
    EXPECT_EQ(child.hear(), step);
  }
  session->commit();
  EXPECT_THAT(database_.run("SELECT CompName FROM DW_SEC_COMP ORDER BY CompID"),
              ElementsAre(ElementsAre("New"), ElementsAre("Mine")));
}

TEST_F(Processes, MeetOnTheSameRow) {
  ForkedProcess child([&](Conversation& test) { maintain(test); });
  EXPECT_EQ(child.hear(), "connected");
  const auto session = open_session();
  for (const char* step : {"held", "stamped", "written"}) {
    child.say("go on");
    EXPECT_EQ(child.hear(), step);
    session->begin();
    EXPECT_EQ(hold(*session, kComponent).size(), 0u) << step;
    session->rollback();
    EXPECT_EQ(error_of([&] { return read(*session, kComponent); }).native(), 1222) << step;
    const auto held = session->held_rows();
    ASSERT_EQ(held.size(), 1u);
    EXPECT_EQ(held[0].process_id, child.id());
    EXPECT_EQ(held[0].key, u"7");
    EXPECT_EQ(held[0].stamp, Text(std::string_view(step) == "stamped" ? u"CHILD - now" : u""));
  }
  child.say("go on");
  EXPECT_EQ(child.hear(), "committed");
  session->begin();
  EXPECT_EQ(hold(*session, kComponent).value(u"CompName"), Variant(Text(u"New")));
  session->rollback();
}

TEST_F(Processes, WaitForARowAndSeeWhatItsHolderHasWritten) {
  ForkedProcess child([&](Conversation& test) { maintain(test); });
  for (const char* step : {"connected", "held", "stamped", "written"}) {
    EXPECT_EQ(child.hear(), step);
    child.say("go on");  // the last of these lets it commit, some time
  }
  const auto session = open_session(-1);
  session->begin();
  EXPECT_EQ(hold(*session, kComponent).value(u"CompName"), Variant(Text(u"New")));
  session->rollback();
  EXPECT_EQ(read(*session, kComponent).value(u"CompName"), Variant(Text(u"New")));
}

// The first session of a database that a plain program has made switches it to the write-ahead log.
TEST(ProcessesAtOnce, MayAllBeTheFirst) {
  constexpr int kDatabases = 8;
  constexpr int kProcesses = 4;
  for (int i = 0; i < kDatabases; ++i) {
    const test_support::EmbeddedDatabase database;
    std::vector<std::unique_ptr<ForkedProcess>> children;
    for (int k = 0; k < kProcesses; ++k) {
      children.push_back(std::make_unique<ForkedProcess>([&](Conversation& test) {
        SqliteEngine engine;
        const auto session =
            engine.connect(ado::ConnectionString::parse(database.connection_string()));
        session->set_default_database(test_support::EmbeddedDatabase::kName);
        (void)test.hear();
        session->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
      }));
    }
    for (const auto& child : children) child->say("go on");
    for (const auto& child : children) EXPECT_TRUE(child->ended_well());
  }
}

TEST_F(Processes, LoseNoUpdate) {
  constexpr int kProcesses = 4;
  constexpr int kRounds = 25;
  std::vector<std::unique_ptr<ForkedProcess>> children;
  for (int i = 0; i < kProcesses; ++i) {
    children.push_back(std::make_unique<ForkedProcess>([&](Conversation& test) {
      const auto session = open_session(-1);
      (void)test.hear();
      for (int round = 0; round < kRounds; ++round) {
        session->begin();
        const auto row = hold(*session, kComponent);
        const auto priority = std::get<std::int16_t>(row.value(u"Priority"));
        row.update({{u"SoftLock", Text(u"CHILD - now")}});
        row.update({{u"Priority", static_cast<std::int16_t>(priority + 1)}, {u"SoftLock", Text()}});
        session->commit();
        session->execute(u"Update DW_SEC_COMP Set Priority = Priority + 1 Where CompID = 8");
        (void)read(*session, u"Select * From DW_SEC_COMP");
      }
    }));
  }
  for (const auto& child : children) child->say("go on");
  for (const auto& child : children) EXPECT_TRUE(child->ended_well());
  EXPECT_THAT(database_.run("SELECT Priority, SoftLock FROM DW_SEC_COMP ORDER BY CompID"),
              ElementsAre(ElementsAre("100", ""), ElementsAre("100", "NULL")));
  EXPECT_EQ(database_.value("SELECT Counter FROM DW_ROW_VERSION"), "202");
  EXPECT_THAT(open_session()->held_rows(), IsEmpty());
}

TEST_F(Processes, KilledAtAnyStepLeaveNoLockAndNoHalfWrittenRow) {
  const std::vector<std::string> steps = {"connected", "held", "stamped", "written", "committed"};
  const auto session = open_session();
  for (std::size_t last = 0; last < steps.size(); ++last) {
    ForkedProcess child([&](Conversation& test) { maintain(test); });
    for (std::size_t step = 0; step <= last; ++step) {
      ASSERT_EQ(child.hear(), steps[step]);
      if (step < last) child.say("go on");
    }
    child.kill();
    EXPECT_THAT(session->held_rows(), IsEmpty()) << steps[last];
    EXPECT_EQ(component(), steps[last] == "committed" ? "New|" : "Old|") << steps[last];
    session->begin();
    EXPECT_EQ(hold(*session, kComponent).size(), 1u) << steps[last];
    session->rollback();
  }
}

TEST_F(Processes, KilledWhileTheyCommitLeaveTheOldRowOrTheNewOne) {
  const auto session = open_session();
  for (int round = 0; round < 25; ++round) {
    ForkedProcess child([&](Conversation& test) {
      const auto child_session = open_session();
      for (int number = 0;; ++number) {
        child_session->begin();
        const auto row = hold(*child_session, kComponent);
        const auto text = decimal(number);
        row.update({{u"CompName", text}, {u"SoftLock", Text(u"CHILD - now")}});
        row.update({{u"MetaID", text}, {u"SoftLock", Text()}});
        test.say("committing");
        child_session->commit();
      }
    });
    // Killed at any moment of the commit that follows, or of the next ones.
    for (int heard = 0; heard < 1 + round % 3; ++heard) ASSERT_EQ(child.hear(), "committing");
    child.kill();
    EXPECT_EQ(
        database_.value("SELECT CompName = ifnull(MetaID, CompName) AND ifnull(SoftLock, '') = '' "
                        "FROM DW_SEC_COMP WHERE CompID = 7"),
        "1");
    EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
    EXPECT_THAT(session->held_rows(), IsEmpty());
    session->begin();
    EXPECT_EQ(hold(*session, kComponent).size(), 1u);
    session->rollback();
  }
}

TEST_F(Processes, OfAUserWhoMayNotWriteAreToldSo) {
  namespace fs = std::filesystem;
  constexpr uid_t kNobody = 65534;
  fs::permissions(database_.file(), fs::perms{0444});
  ForkedProcess child([&](Conversation& test) {
    if (::geteuid() == 0 && ::setuid(kNobody) != 0) throw std::runtime_error("setuid");
    const auto error = error_of([&] { return open_session(); });
    test.say(std::to_string(error.number()) + " " + to_utf8(error.description()));
  });
  EXPECT_EQ(child.hear(), refusal());
}

TEST_F(Processes, OfAUserWhoMayNotWriteTheFolderAreToldSo) {
  namespace fs = std::filesystem;
  constexpr uid_t kNobody = 65534;
  fs::permissions(database_.file(), fs::perms{0666});
  fs::permissions(database_.folder(), fs::perms{0555});
  ForkedProcess child([&](Conversation& test) {
    if (::geteuid() == 0 && ::setuid(kNobody) != 0) throw std::runtime_error("setuid");
    const auto error = error_of([&] { return open_session(); });
    test.say(std::to_string(error.number()) + " " + to_utf8(error.description()));
  });
  const auto heard = child.hear();
  fs::permissions(database_.folder(), fs::perms{0755});
  EXPECT_EQ(heard, refusal());
}

}  // namespace
}  // namespace tarnwick::sqlite
