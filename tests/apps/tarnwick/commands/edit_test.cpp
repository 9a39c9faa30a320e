#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;

/// An editor that is a script: what it does to the file, and what others do meanwhile.
class Edit : public CommandLineTest {
 protected:
  /// `script` runs with the file as $1 and the command line as $tarnwick.
  [[nodiscard]] Ending edit(const std::vector<std::string>& arguments, const std::string& script) {
    Start edited = start(arguments);
    const auto file =
        folder_.write("editor", "#!/bin/sh\nset -e\ntarnwick='" TARNWICK "'\n" + script + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    edited.environment["EDITOR"] = file.string();
    return test_support::run(edited);
  }

  static constexpr const char* kMine = R"(sed -i 's/"Title": ".*"/"Title": "Mine"/' "$1")";
  static constexpr const char* kTheirs = R"($tarnwick report set Headcount --title Theirs >&2)";

  [[nodiscard]] std::string version() const {
    return value("Select hex(RowVersion) From DW_Reports Where ReportName = 'Headcount'");
  }
  [[nodiscard]] std::string title() const {
    return value("Select Title From DW_Reports Where ReportName = 'Headcount'");
  }

  static constexpr const char* kAccount =
      "tarnwick: Report 'Headcount' was changed by someone else since it was read; nothing was "
      "written.\n"
      "The data for 'Headcount' has changed since it was originally read! Unable to update!\n"
      "Error in Component: 'Report', Proceedure: 'Update'.\n"
      "Error #:    \t-2147221504\n"
      "Description:\tThe data for 'Headcount' has changed since it was originally read! Unable to "
      "update!\n";
};

TEST_F(Edit, WritesWhatWasChanged) {
  const Ending ending = edit({"report", "edit", "Headcount"}, kMine);
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(ending.out,
            "Report 'Headcount' written.\n  Title: 'Headcount by Department' -> 'Mine'\n");
  EXPECT_EQ(title(), "Mine");
}

TEST_F(Edit, WorksOnPcsToo) {
  const Ending ending = edit({"pc", "edit", "VEL-SAL-012", "--component", "10"},
                             R"(sed -i 's/"TotalLogins": 88/"TotalLogins": 8/' "$1")");
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(ending.out,
            "PC VEL-SAL-012 (02-5A-CD-1D-C9-76) of component 10 written.\n"
            "  TotalLogins: '88' -> '8'\n");
}

TEST_F(Edit, ShowsColumnByColumnWhyAChangeWasRefused) {
  const std::string before = version();
  const Ending ending = edit({"report", "edit", "Headcount"}, std::string(kMine) + "\n" + kTheirs);
  EXPECT_EQ(ending.exit_code, 3);
  EXPECT_EQ(ending.out,
            "Field      Read                    Stored           ToWrite\n"
            "Title      Headcount by Department Theirs           Mine\n"
            "RowVersion " +
                before + "        " + version() + " \n");
  EXPECT_THAT(ending.err, HasSubstr(kAccount));
  EXPECT_EQ(title(), "Theirs");
}

TEST_F(Edit, ShowsARefusalToMachines) {
  const std::string before = version();
  const Ending ending =
      edit({"report", "edit", "Headcount", "--json"}, std::string(kMine) + "\n" + kTheirs);
  EXPECT_EQ(ending.exit_code, 3);
  EXPECT_EQ(
      Json::parse(ending.out),
      (Json{{"Conflict",
             {{{"Field", "Title"},
               {"Read", "Headcount by Department"},
               {"Stored", "Theirs"},
               {"ToWrite", "Mine"}},
              {{"Field", "RowVersion"}, {"Read", before}, {"Stored", version()}, {"ToWrite", ""}}}},
            {"RowIsThere", true}}));
}

TEST_F(Edit, RefusesAlsoWhereTheOtherChangedAnotherColumn) {
  const Ending ending =
      edit({"report", "edit", "Headcount"},
           std::string(kMine) + "\n$tarnwick report set Headcount --author Them >&2");
  EXPECT_EQ(ending.exit_code, 3);
  EXPECT_THAT(
      ending.out,
      HasSubstr("\nAuthor     S. Okafor               Them                    S. Okafor\n"));
  EXPECT_EQ(title(), "Headcount by Department");
}

TEST_F(Edit, SaysThatARowThatHadVanishedWasInsertedAgain) {
  const Ending ending = edit({"report", "edit", "Headcount"},
                             std::string(kMine) + "\n$tarnwick report delete Headcount >&2");
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_THAT(ending.err, HasSubstr("Report 'Headcount': its row had vanished since it was read, "
                                    "and was inserted again.\n"));
  EXPECT_EQ(title(), "Mine");
}

TEST_F(Edit, ShowsARowThatAnotherHasPutInThePlaceOfTheOneThatWasRead) {
  const Ending ending = edit({"report", "edit", "Headcount"},
                             std::string(kMine) + "\n$tarnwick report delete Headcount >&2\n" +
                                 "$tarnwick report add Headcount --title Anew >&2");
  EXPECT_EQ(ending.exit_code, 3);
  EXPECT_THAT(ending.out, HasSubstr("\nTitle "));
  EXPECT_THAT(ending.out, HasSubstr(" Anew "));
  EXPECT_EQ(title(), "Anew");
}

TEST_F(Edit, WritesNothingWhereNothingWasChanged) {
  const std::string before = version();
  const Ending ending = edit({"report", "edit", "Headcount"}, "true");
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: Nothing was changed.\n");
  EXPECT_EQ(version(), before);
}

TEST_F(Edit, WritesNothingWhereTheEditorFails) {
  const Ending ending = edit({"report", "edit", "Headcount"}, std::string(kMine) + "\nexit 3");
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err,
            "tarnwick: The editor '" + (folder_.path() / "editor").string() + "' failed.\n");
  EXPECT_EQ(title(), "Headcount by Department");
}

TEST_F(Edit, WritesNothingThatCannotBeRead) {
  Ending ending = edit({"report", "edit", "Headcount"}, R"(echo oops > "$1")");
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: What was edited is not JSON any more; nothing was written.\n");
  ending = edit({"report", "edit", "Headcount"}, R"(echo '{"Colour": 1}' > "$1")");
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: 'Colour' is no field that can be set.\n");
  ending = edit({"report", "edit", "Headcount"}, R"(echo '{"ImageIndex": 70000}' > "$1")");
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err,
            "tarnwick: ImageIndex: '70000' is not a whole number from -32768 to 32767.\n");
  ending = edit({"report", "edit", "Headcount"}, R"(echo '{"Title": 7}' > "$1")");
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: Title: '7' is not a text.\n");
  EXPECT_EQ(title(), "Headcount by Department");
}

}  // namespace
}  // namespace tarnwick::cli
