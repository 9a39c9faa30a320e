#include "apps/tarnwick/output/holds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/examination/holds.h"

namespace tarnwick::cli {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;

const Date kNow = to_date({.year = 2024, .month = 3, .day = 1, .hour = 14});

Hold row(const Text& stamp) { return {.row = {u"DW_Reports", u"Sales", stamp, 815}}; }

TEST(StampOfAHeldRow, TellsComputerAndTime) {
  const HoldStamp stamp = read_stamp(u"VEL-1 - A - 3/1/2024 1:59:15 PM", kNow);
  EXPECT_EQ(stamp.computer, "VEL-1 - A");
  EXPECT_EQ(stamp.since, "3/1/2024 1:59:15 PM");
  EXPECT_EQ(stamp.held, seconds(45));
}

TEST(StampOfAHeldRow, ThatTellsNoTimeOrOneToComeTellsNotHowLong) {
  EXPECT_EQ(read_stamp(u"VEL-1", kNow).computer, "VEL-1");
  EXPECT_EQ(read_stamp(u"", kNow).held, std::nullopt);
  EXPECT_EQ(read_stamp(u"VEL-1 - just now", kNow).held, std::nullopt);
  EXPECT_EQ(read_stamp(u"VEL-1 - 3/1/2024 2:00:01 PM", kNow).held, std::nullopt);
  for (const TextView time :
       {u"3/1", u"3/1/2024 ", u"3/1/2024 9:05", u"3/1/2024 9:05:07", u"3/1/2024 9:05:07 am",
        u"3/1/2024 0:05:07 AM", u"3/1/2024 13:05:07 PM", u"2/30/2024", u"2024-03-01"}) {
    EXPECT_EQ(read_stamp(join({u"VEL-1 - ", time}), kNow).held, std::nullopt)
        << to_display_utf8(time);
  }
}

TEST(StampOfAHeldRow, MayTellMidnightAndNoon) {
  EXPECT_EQ(read_stamp(u"VEL-1 - 3/1/2024", kNow).held, std::chrono::hours(14));
  EXPECT_EQ(read_stamp(u"VEL-1 - 3/1/2024 12:00:00 PM", kNow).held, std::chrono::hours(2));
  EXPECT_EQ(read_stamp(u"VEL-1 - 3/1/2024 12:30:00 AM", kNow).held, minutes(13 * 60 + 30));
}

TEST(Duration, IsToldInTheUnitsThatCount) {
  EXPECT_EQ(duration(seconds(0)), "0 s");
  EXPECT_EQ(duration(seconds(59)), "59 s");
  EXPECT_EQ(duration(seconds(119)), "1 min");
  EXPECT_EQ(duration(minutes(59)), "59 min");
  EXPECT_EQ(duration(minutes(185)), "3 h 05 min");
  EXPECT_EQ(duration(std::chrono::hours(52)), "2 d 4 h");
}

TEST(HolderOfAHeldRow, IsToldAsFarAsItIsKnown) {
  Hold held = row(u"VEL-1 - 3/1/2024 1:00:00 PM");
  held.program = u"tarnwick-server";
  held.user = u"anna";
  EXPECT_EQ(holder_of(held, read_stamp(held.row.stamp, kNow)),
            "VEL-1 (process 815, tarnwick-server, of anna)");
  held.row.process_id.reset();
  held.program = {};
  held.user = {};
  EXPECT_EQ(holder_of(held, read_stamp(held.row.stamp, kNow)), "VEL-1");
  EXPECT_EQ(holder_of(held, {}), "somebody");
}

TEST(HeldRowInJson, HasAllItsMembersAndNullForWhatIsNotKnown) {
  EXPECT_EQ(to_json(row(u"VEL-1 - 3/1/2024 1:00:00 PM"), kNow).dump(),
            R"({"Table":"DW_Reports","Row":"Sales","HeldBy":"VEL-1","Since":"3/1/2024 1:00:00 PM",)"
            R"("Seconds":3600,"Process":815,"Program":null,"User":null,"Session":null})");
  EXPECT_TRUE(to_json(row(u"VEL-1"), kNow)["Seconds"].is_null());
}

TEST(HeldRowsInATable, AreCutToTheLinesThatThereAre) {
  const std::vector<Hold> rows{row(u"VEL-1"), row(u"VEL-2"), row(u"VEL-3")};
  const std::string shown = holds_text(rows, kNow, 2);
  EXPECT_NE(shown.find("VEL-2"), std::string::npos);
  EXPECT_EQ(shown.find("VEL-3"), std::string::npos);
  EXPECT_TRUE(shown.ends_with("\n... and 1 more.\n")) << shown;
}

TEST(HeldRows, AreSortedByEachOfTheirColumns) {
  Hold early = row(u"VEL-1 - 3/1/2024 1:00:00 PM");
  early.row.table = u"A";
  early.row.key = u"A";
  early.program = u"a";
  early.user = u"a";
  early.session = 51;
  Hold late = row(u"VEL-2 - 3/1/2024 1:30:00 PM");
  late.row.process_id = 816;
  late.program = u"B";
  late.user = u"B";
  late.session = 52;
  for (std::size_t column = 0; column < hold_columns().size(); ++column) {
    // Whoever came first holds for longer.
    const bool first = hold_columns()[column] != "For";
    EXPECT_EQ(sort_key(early, column, kNow) < sort_key(late, column, kNow), first)
        << hold_columns()[column];
    EXPECT_NE(sort_key(early, column, kNow), sort_key(late, column, kNow));
  }
}

TEST(HeldRows, OfWhichALittleIsKnownComeFirst) {
  Hold unknown = row(u"");
  unknown.row.process_id.reset();
  for (const char* name : {"Since", "For", "Process", "Session"}) {
    const auto column =
        static_cast<std::size_t>(std::ranges::find(hold_columns(), name) - hold_columns().begin());
    EXPECT_EQ(sort_key(unknown, column, kNow), SortKey()) << name;
  }
}

TEST(HeldRows, NameTheSessionOfAServer) {
  Hold held = row(u"VEL-1 - 3/1/2024 1:00:00 PM");
  held.session = 51;
  EXPECT_EQ(holder_of(held, read_stamp(held.row.stamp, kNow)), "VEL-1 (process 815, session 51)");
}

TEST(RowsHeldForLong, AreThoseThatWereHeldForTheTimeGiven) {
  const std::vector<Hold> rows{row(u"VEL-1 - 3/1/2024 1:00:00 PM"),
                               row(u"VEL-2 - 3/1/2024 1:00:01 PM"), row(u"VEL-3")};
  const Findings findings = examine_holds(rows, kNow, minutes(60));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].kind, "Held");
  EXPECT_EQ(findings[0].record, "Row 'Sales' of DW_Reports");
  EXPECT_EQ(findings[0].what,
            "it has been held for 1 h 00 min by VEL-1 (process 815); whoever reads or maintains it "
            "waits until that process lets go or ends");
  EXPECT_EQ(findings[0].command, "");
}

TEST(RowsHeldForLong, AreAllWhereNoTimeIsAskedFor) {
  const std::vector<Hold> rows{row(u"VEL-1 - 3/1/2024 2:00:00 PM"), row(u"VEL-3")};
  const Findings findings = examine_holds(rows, kNow, minutes(0));
  ASSERT_EQ(findings.size(), 2u);
  EXPECT_EQ(findings[1].what,
            "it is held by VEL-3 (process 815); whoever reads or maintains it waits until that "
            "process lets go or ends");
}

}  // namespace
}  // namespace tarnwick::cli
