#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using namespace std::string_view_literals;
using platform::Answer;
using ::testing::ElementsAre;

/// Values at and beyond the edges of what a row takes.
class ExtremeValues : public test_support::ConnectedTest {
 protected:
  std::shared_ptr<Report> new_report(TextView name) {
    auto report = std::make_shared<Report>(state());
    report->set_name(Text(name));
    return report;
  }

  /// The only report, as a fresh load shows it.
  std::shared_ptr<Report> reloaded() {
    EXPECT_TRUE(process_.server->reports()->refresh());
    EXPECT_EQ(process_.server->reports()->count(), 1);
    return process_.server->reports()->item(std::int32_t{1});
  }

  std::string count() const { return database_.value("SELECT COUNT(*) FROM DW_Reports"); }
};

TEST_F(ExtremeValues, TextsWithANulAreRefusedAndNothingIsWritten) {
  const auto report = new_report(u"Sales");
  report->set_title(Text(u"a\0b"sv));
  EXPECT_EQ(report->update(), Error_ue);
  EXPECT_EQ(number(), 3421);
  EXPECT_NE(message().find(u"\r\nDescription:\tThe text holds a NUL character, which the database "
                           u"cannot keep.\r\nUnable to update the report 'Sales' in the "
                           u"DW_Reports table!"),
            Text::npos)
      << to_display_utf8(message());
  EXPECT_TRUE(report->release_record());
  EXPECT_EQ(count(), "0");
}

TEST_F(ExtremeValues, TextsOfAMillionCharactersAreStoredWhole) {
  const Text text = Text(500'000, u'\u20AC') + Text(500'000, u'x');
  const auto report = new_report(u"Sales");
  report->set_sql(text);
  report->set_definition(text);
  ASSERT_EQ(report->update(), OK_ue);
  EXPECT_EQ(reloaded()->sql(), text);
  EXPECT_EQ(reloaded()->definition(), text);
}

TEST_F(ExtremeValues, TextsBeyondTheFirstPlaneAreStoredWhole) {
  const auto report = new_report(u"Sales");
  report->set_title(u"\U0001F600\u00E9\uFFFF");
  ASSERT_EQ(report->update(), OK_ue);
  EXPECT_EQ(reloaded()->title(), u"\U0001F600\u00E9\uFFFF");
}

TEST_F(ExtremeValues, TextsWithAnUnpairedSurrogateAreRefusedAndNothingIsWritten) {
  const auto report = new_report(u"Sales");
  ASSERT_EQ(report->update(), OK_ue);
  const auto loaded = reloaded();
  const char16_t half = 0xD83D;
  loaded->set_author(u"new");
  loaded->set_title(Text(1, half));
  EXPECT_EQ(loaded->update(), Error_ue);
  EXPECT_NE(message().find(u"\r\nUnable to update the report 'Sales' in the DW_Reports table!"),
            Text::npos)
      << to_display_utf8(message());
  EXPECT_NE(message().find(u"\r\nError in Component: 'Report', Proceedure: 'Update'."), Text::npos);
  EXPECT_TRUE(loaded->release_record());
  EXPECT_THAT(database_.run("SELECT Title, Author FROM DW_Reports"),
              ElementsAre(ElementsAre("", "")));
}

TEST_F(ExtremeValues, NamesThatNoStatementCanHoldAreRefusedAndNothingIsWritten) {
  const char16_t half = 0xD83D;
  for (const Text& name : {Text(u"a\0b"sv), Text(1, half), Text(u"O'Hara")}) {
    process_.host.box.will_answer(Answer::kRetry);
    state().errors.set_message({});
    EXPECT_EQ(new_report(name)->update(), Error_ue);
    EXPECT_TRUE(message().starts_with(
        join({u"Error Opening Recordset! SQL=Select * From DW_Reports Where ReportName = '", name,
              u"'\r\nError in Component: 'General', Proceedure: 'UpdateRead'."})))
        << to_display_utf8(message());
  }
  EXPECT_EQ(count(), "0");
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(ExtremeValues, NamesThatEndTheQuoteBecomePartOfTheStatement) {
  ASSERT_EQ(new_report(u"Sales")->update(), OK_ue);
  (void)process_.trace();
  EXPECT_FALSE(new_report(u"x' Or 'a' = 'a")->remove()) << "it is in no list";
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Execute Delete from dbo.DW_Reports Where ReportName = 'x' Or 'a' = "
                          u"'a'"));
  EXPECT_EQ(count(), "0");
}

TEST_F(ExtremeValues, SecondStatementsInAKeyAreRefused) {
  ASSERT_EQ(new_report(u"Sales")->update(), OK_ue);
  const auto sly = new_report(u"x'; Delete From DW_Reports; --");
  EXPECT_FALSE(sly->remove());
  EXPECT_EQ(count(), "1");
}

TEST_F(ExtremeValues, IntegersAreStoredOverTheirWholeRange) {
  for (const std::int16_t value : {std::int16_t{-32768}, std::int16_t{32767}}) {
    const auto component =
        process_.server->components()->add(value < 0 ? std::int16_t{1} : std::int16_t{2}, u"",
                                           value, value, value, true, value, None_rc, u"", u"");
    ASSERT_EQ(component->update(), OK_ue);
  }
  ASSERT_TRUE(process_.server->components()->refresh());
  const auto low = process_.server->components()->item(std::int32_t{1});
  EXPECT_EQ(low->parent_id(), -32768);
  EXPECT_EQ(low->maintenance_type(), -32768);
  const auto high = process_.server->components()->item(std::int32_t{2});
  EXPECT_EQ(high->priority(), 32767);
  EXPECT_EQ(high->image_index(), 32767);
}

TEST_F(ExtremeValues, TheHighestIdCanBeMaintained) {
  const auto component =
      process_.server->components()->add(32767, u"last", 0, 0, 1, false, 0, None_rc, u"", u"");
  EXPECT_EQ(component->update(), OK_ue);
  EXPECT_TRUE(component->lock_record());
  EXPECT_TRUE(component->release_record());
}

TEST_F(ExtremeValues, LoginsAndDatesAreStoredOverTheirWholeRange) {
  const Date last{2958465.999988426};  // the last second of the year 9999
  const Date before_zero{-1.25};
  NewRegisteredPC values;
  values.mac_number = u"AA";
  values.computer_id = u"PC";
  values.total_logins = std::numeric_limits<std::int32_t>::max();
  values.last_login = last;
  values.activate_date = before_zero;
  const auto pc = process_.server->registered_pcs()->add(values);
  ASSERT_EQ(pc->update(), OK_ue);
  ASSERT_TRUE(process_.server->registered_pcs()->refresh());
  const auto loaded = process_.server->registered_pcs()->item(std::int32_t{1});
  EXPECT_EQ(loaded->total_logins(), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(loaded->last_login(), last);
  EXPECT_EQ(loaded->activate_date(), before_zero);
}

TEST_F(ExtremeValues, KeysOfAThousandCharactersAreMaintained) {
  const Text name(1000, u'n');
  ASSERT_EQ(new_report(name)->update(), OK_ue);
  const auto report = reloaded();
  EXPECT_EQ(report->key(), name);
  EXPECT_TRUE(report->lock_record());
  report->set_title(u"T");
  EXPECT_EQ(report->update(), OK_ue);
}

}  // namespace
}  // namespace tarnwick
