#include <regex>

#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class PcCommands : public CommandLineTest {
 protected:
  static constexpr const char* kMac = "02-5A-CD-1D-C9-76";
  static constexpr const char* kName = "PC VEL-SAL-012 (02-5A-CD-1D-C9-76) of component 10";

  [[nodiscard]] std::string column(const std::string& name) const {
    return value("Select " + name +
                 " From DW_SEC_PC Where ComputerID = 'VEL-SAL-012' And CompID = 10");
  }

  /// `out` with every date and time in it replaced by NOW.
  static std::string without_times(const std::string& out) {
    static const std::regex time(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)");
    return std::regex_replace(out, time, "NOW");
  }
};

TEST_F(PcCommands, ListAllByMacNumber) {
  const auto lines = lines_of(say({"pc", "list"}));
  ASSERT_EQ(lines.size(), 65u);
  EXPECT_EQ(lines[0],
            "ComputerID  MACNumber         CompID Active LastUser          LastLogin           "
            "TotalLogins SoftwareVersion");
  EXPECT_EQ(lines[1],
            "VEL-FIN-005 02-5A-04-B2-2F-77     20 yes    VELMAR\\cmartinez  2024-03-13 10:41:03    "
            "      17 4.1.0");
}

TEST_F(PcCommands, ListThoseOfOneComponent) {
  const Json list = json({"pc", "list", "--component", "10"});
  ASSERT_EQ(list.size(), 3u);
  for (const Json& pc : list) EXPECT_EQ(pc["CompID"], 10);
  EXPECT_EQ(list[0]["MACNumber"], "02-5A-34-44-A0-CD");
  EXPECT_EQ(list[2]["MACNumber"], "02-5A-E6-EE-DE-E6");
}

TEST_F(PcCommands, ListNoneOfAComponentThatNobodyUses) {
  EXPECT_EQ(json({"pc", "list", "--component", "13"}), Json::array());
  EXPECT_EQ(say({"pc", "list", "--component", "13"}), "None.\n");
}

TEST_F(PcCommands, ListActiveOnesAndDeactivatedOnes) {
  const Json active = json({"pc", "list", "--active"});
  const Json inactive = json({"pc", "list", "--inactive"});
  EXPECT_EQ(active.size(), std::stoul(value("Select Sum(ActiveStatus) From DW_SEC_PC")));
  EXPECT_EQ(active.size() + inactive.size(), 64u);
  for (const Json& pc : inactive) EXPECT_EQ(pc["Active"], false);
  EXPECT_EQ(run({"pc", "list", "--active", "--inactive"}).exit_code, 2);
}

TEST_F(PcCommands, ShowOneByComputerOrMacNumber) {
  const std::string shown = say({"pc", "show", "vel-sal-012", "--component", "10"});
  EXPECT_EQ(shown,
            "MACNumber        02-5A-CD-1D-C9-76\n"
            "ComputerID       VEL-SAL-012\n"
            "CompID           10\n"
            "MaintenanceType  PCReg\n"
            "Active           yes\n"
            "ImageIndex       10\n"
            "LastUser         VELMAR\\mduval\n"
            "LastLogin        2024-04-19 12:39:38\n"
            "TotalLogins      88\n"
            "ActivatedBy      " +
                column("ActivatedBy") +
                "\n"
                "ActivateDate     2023-07-07 12:00:00\n"
                "DeActivatedBy\n"
                "DeActivatedDate\n"
                "SoftwareVersion  4.2.0\n"
                "SoftLock\n"
                "RowVersion       " +
                column("hex(RowVersion)") + "\n");
  EXPECT_EQ(say({"pc", "show", kMac, "--component", "10"}), shown);
  EXPECT_EQ(say({"pc", "show", "VEL-SAL-012", "--component", "10", "--mac", kMac}), shown);
  EXPECT_EQ(say({"pc", "show", kMac, "--component", "10", "--field", "TotalLogins"}), "88\n");
}

TEST_F(PcCommands, AskWhichOneWhereSeveralRowsAnswer) {
  const Ending ending = run({"pc", "show", "VEL-SAL-012"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err,
            "tarnwick: Which one? Say so by --component or --mac.\n"
            "  PC VEL-SAL-012 (02-5A-CD-1D-C9-76) of component 10\n"
            "  PC VEL-SAL-012 (02-5A-CD-1D-C9-76) of component 100\n");
}

TEST_F(PcCommands, SayThatThereIsNoSuchPc) {
  Ending ending = run({"pc", "show", "VEL-XXX-001"});
  EXPECT_EQ(ending.exit_code, 5);
  EXPECT_EQ(ending.err, "tarnwick: No PC 'VEL-XXX-001' is registered.\n");
  ending = run({"pc", "delete", "VEL-SAL-012", "--component", "20"});
  EXPECT_EQ(ending.exit_code, 5);
  EXPECT_EQ(ending.err, "tarnwick: No PC 'VEL-SAL-012' of component 20 is registered.\n");
  ending = run({"pc", "login", "VEL-SAL-012", "--component", "20", "--mac", kMac});
  EXPECT_EQ(ending.exit_code, 5);
  EXPECT_EQ(ending.err,
            "tarnwick: PC VEL-SAL-012 (02-5A-CD-1D-C9-76) of component 20 does not exist.\n");
}

TEST_F(PcCommands, RegisterAPc) {
  EXPECT_EQ(say({"pc", "register", "02-5A-00-00-00-01", "VEL-SAL-099", "--component", "10",
                 "--user", "VELMAR\\ewatts", "--software-version", "5.0.1"}),
            "PC VEL-SAL-099 (02-5A-00-00-00-01) of component 10 written.\n");
  EXPECT_THAT(
      sql("Select MACNbr, CompID, MaintType, ActiveStatus, ImageIndex, LastUser, LastLogin, "
          "TotalLogins, ActivatedBy, DeactivateDate, SoftwareVersion "
          "From DW_SEC_PC Where ComputerID = 'VEL-SAL-099'"),
      ElementsAre(ElementsAre("02-5A-00-00-00-01", "10", "5", "1", "10", "", "NULL", "0",
                              "VELMAR\\ewatts", "NULL", "5.0.1")));
  EXPECT_EQ(value("Select ActivateDate > 45000 From DW_SEC_PC Where ComputerID = 'VEL-SAL-099'"),
            "1");
}

TEST_F(PcCommands, RegisterOneForAnotherComponentBesideTheFirst) {
  say({"pc", "register", kMac, "VEL-SAL-012", "--component", "11", "--user", "x"});
  EXPECT_EQ(value("Select Count(*) From DW_SEC_PC Where ComputerID = 'VEL-SAL-012'"), "3");
}

TEST_F(PcCommands, DoNotRegisterOneThatIsThere) {
  const Ending ending = run(
      {"pc", "register", "02-5a-cd-1d-c9-76", "vel-sal-012", "--component", "10", "--user", "x"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(
      ending.err,
      "tarnwick: PC vel-sal-012 (02-5a-cd-1d-c9-76) of component 10 is registered already.\n");
  EXPECT_EQ(column("TotalLogins"), "88");
}

TEST_F(PcCommands, RecordALogin) {
  const std::string before = column("hex(RowVersion)");
  const std::string out = say({"pc", "login", "VEL-SAL-012", "--component", "10", "--user", "eva",
                               "--software-version", "5.1.0", "--verbose"});
  EXPECT_EQ(without_times(out), std::string(kName) + " locked.\n  row version " + before + "\n" +
                                    kName +
                                    " written.\n"
                                    "  LastUser: 'VELMAR\\mduval' -> 'eva'\n"
                                    "  LastLogin: 'NOW' -> 'NOW'\n"
                                    "  TotalLogins: '88' -> '89'\n"
                                    "  SoftwareVersion: '4.2.0' -> '5.1.0'\n"
                                    "  row version " +
                                    before + " -> " + column("hex(RowVersion)") + "\n");
  EXPECT_EQ(column("TotalLogins"), "89");
  EXPECT_EQ(column("LastUser"), "eva");
  EXPECT_EQ(column("SoftLock"), "");
}

TEST_F(PcCommands, CountLoginsThatComeAtTheSameTime) {
  std::vector<std::unique_ptr<Program>> programs;
  for (int i = 0; i < 4; ++i) {
    programs.push_back(
        std::make_unique<Program>(start({"--when-locked", "retry:20", "pc", "login", "VEL-SAL-012",
                                         "--component", "10", "--mac", kMac, "--user", "eva"})));
  }
  for (const auto& program : programs) {
    const Ending ending = program->end();
    EXPECT_EQ(ending.exit_code, 0) << ending.err;
  }
  EXPECT_EQ(column("TotalLogins"), "92");
}

TEST_F(PcCommands, RefuseALoginThatCannotBeCounted) {
  sql("Update DW_SEC_PC Set TotalLogins = 2147483647 "
      "Where ComputerID = 'VEL-SAL-012' And CompID = 10");
  const Ending ending = run({"pc", "login", "VEL-SAL-012", "--component", "10", "--user", "eva"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: The count of logins is full.\n");
  EXPECT_EQ(column("LastUser"), "VELMAR\\mduval");
}

TEST_F(PcCommands, ShutAPcOutAndLetItInAgain) {
  EXPECT_EQ(without_times(
                say({"pc", "deactivate", "VEL-SAL-012", "--component", "10", "--user", "boss"})),
            std::string(kName) +
                " written.\n  Active: 'yes' -> 'no'\n  DeActivatedBy: '' -> 'boss'\n"
                "  DeActivatedDate: '' -> 'NOW'\n");
  EXPECT_EQ(column("ActiveStatus"), "0");
  EXPECT_THAT(
      without_times(say({"pc", "activate", "VEL-SAL-012", "--component", "10", "--user", "boss"})),
      HasSubstr(" written.\n  Active: 'no' -> 'yes'\n  ActivatedBy: '"));
  EXPECT_EQ(column("ActiveStatus"), "1");
  EXPECT_EQ(column("DeactivatedBy"), "boss");
}

TEST_F(PcCommands, SetFields) {
  EXPECT_EQ(say({"pc", "set", "VEL-SAL-012", "--component", "10", "--last-login",
                 "2024-05-01 09:30:00", "--total-logins", "100", "--image", "0", "--active", "no"}),
            std::string(kName) +
                " written.\n"
                "  Active: 'yes' -> 'no'\n"
                "  ImageIndex: '10' -> '0'\n"
                "  LastLogin: '2024-04-19 12:39:38' -> '2024-05-01 09:30:00'\n"
                "  TotalLogins: '88' -> '100'\n");
  EXPECT_EQ(column("ImageIndex"), "10");  // 0 stands for the first picture
  EXPECT_EQ(column("TotalLogins"), "100");
}

TEST_F(PcCommands, SetFieldsUnderALock) {
  const std::string before = column("hex(RowVersion)");
  const std::string out =
      say({"pc", "set", "VEL-SAL-012", "--component", "10", "--last-user", "eva", "--lock", "-v"});
  EXPECT_EQ(out, std::string(kName) + " locked.\n  row version " + before + "\n" + kName +
                     " written.\n  LastUser: 'VELMAR\\mduval' -> 'eva'\n  row version " + before +
                     " -> " + column("hex(RowVersion)") + "\n");
  EXPECT_NE(column("hex(RowVersion)"), before);
}

TEST_F(PcCommands, DeleteOneRowOfAPc) {
  EXPECT_EQ(say({"pc", "delete", "VEL-SAL-012", "--component", "10"}),
            std::string(kName) + " deleted.\n");
  EXPECT_THAT(sql("Select CompID From DW_SEC_PC Where ComputerID = 'VEL-SAL-012'"),
              ElementsAre(ElementsAre("100")));
}

TEST_F(PcCommands, FindAPcWhileAnotherOneIsMaintained) {
  Program holder(start({"lock", "hold", "pc", "VEL-FIN-005", "--component", "20"}));
  holder.wait_for(" locked. Press Enter to release it.\n");
  EXPECT_THAT(say({"pc", "login", "VEL-SAL-012", "--component", "10", "--user", "anna"}),
              HasSubstr("written."));
  EXPECT_EQ(say({"pc", "show", "VEL-SAL-012", "--component", "10", "--field", "LastUser"}),
            "anna\n");
  EXPECT_THAT(say({"pc", "set", kMac, "--component", "10", "--software-version", "9"}),
              HasSubstr("written."));
}

TEST_F(PcCommands, TellThatThePcItselfIsMaintained) {
  Program holder(start({"lock", "hold", "pc", "VEL-SAL-012", "--component", "10"}));
  holder.wait_for(" locked. Press Enter to release it.\n");
  const Ending ending =
      run({"--when-locked", "cancel", "pc", "login", "VEL-SAL-012", "--component", "10"});
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_THAT(ending.err, HasSubstr(std::string("tarnwick: ") + kName +
                                    " is being maintained by another process.\n"));
}

TEST_F(PcCommands, ReadNothingButKeysToFindAPc) {
  const std::string trace = (folder_.path() / "trace").string();
  say({"--trace", trace, "pc", "show", "VEL-SAL-012", "--component", "10"});
  std::vector<std::string> opened;
  for (const std::string& line : lines_of(content_of(trace))) {
    if (line.starts_with("Open ")) opened.push_back(line);
  }
  EXPECT_THAT(
      opened,
      ElementsAre("Open server forward-only read-only: Select MACNbr, ComputerID, CompID "
                  "From DW_SEC_PC Where ComputerID = 'VEL-SAL-012' Or MACNbr = "
                  "'VEL-SAL-012' Order By MACNbr, ComputerID, CompID",
                  "Open server forward-only read-only: Select * From DW_SEC_PC Where MACNbr = "
                  "'02-5A-CD-1D-C9-76' And ComputerID = 'VEL-SAL-012' And CompID = 10"));
}

TEST_F(PcCommands, FindAPcWhateverTheLetterCaseOfItsName) {
  sql("Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
      "Values ('M', 'VEL-ÜBUNG', 10, 5, 1, 10)");
  EXPECT_EQ(say({"pc", "show", "vel-übung", "--field", "MACNumber"}), "M\n");
  EXPECT_EQ(say({"pc", "show", "vel-sal-012", "--component", "10", "--field", "MACNumber"}),
            std::string(kMac) + "\n");
}

}  // namespace
}  // namespace tarnwick::cli
