#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

#include "records/recordset_access.h"
#include "reports/refresh_report.h"
#include "tests/reports/report_fixture.h"

// Disks that are full, what is there and is no file, links, and folders that take no files.

namespace tarnwick {
namespace {

using test_support::account;
using test_support::hexadecimal;
using test_support::raised;
using ::testing::IsEmpty;

class ReportFilesOfLinux : public test_support::ReportTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ReportTest::SetUp());
    ASSERT_EQ(mkfifo((files_.path() / "pipe").c_str(), 0600), 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = (files_.path() / "socket").string();
    ASSERT_LT(name.size(), sizeof address.sun_path);
    name.copy(address.sun_path, name.size());
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(socket);
    std::filesystem::create_symlink("/dev/zero", files_.path() / "link");
  }

  /// What is there and is no file that could be stored.
  [[nodiscard]] std::vector<Text> no_files() const {
    return {path("pipe"), path("socket"), path("link"), path(""), u"/dev/zero", u"/dev/tty"};
  }

  /// While it lives, no file grows beyond a few bytes: a disk that is full.
  class FullDisk {
   public:
    FullDisk() {
      old_handler_ = signal(SIGXFSZ, SIG_IGN);
      getrlimit(RLIMIT_FSIZE, &old_limit_);
      rlimit limit = old_limit_;
      limit.rlim_cur = 1;
      if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("cannot limit file sizes");
    }
    ~FullDisk() {
      setrlimit(RLIMIT_FSIZE, &old_limit_);
      signal(SIGXFSZ, old_handler_);
    }

   private:
    rlimit old_limit_{};
    void (*old_handler_)(int) = nullptr;
  };

  [[nodiscard]] std::filesystem::path intermediate_file() const {
    return process_.host.payload_folder / "TTX.bin";
  }

  Report report_{state()};
};

TEST_F(ReportFilesOfLinux, ThatAreNotRegularCannotBeImportedSinceTheyDoNotCount) {
  report_.set_ttx(u"old");
  for (const Text& file : no_files()) {
    EXPECT_FALSE(report_.import_ttx(file));
    EXPECT_TRUE(message().ends_with(
        raised(join({u"The File '", file, u"' doesn't exist!"}), u"Report", u"ImportTTX")))
        << to_display_utf8(message());
  }
  EXPECT_EQ(report_.ttx(), u"old");
}

TEST_F(ReportFilesOfLinux, ThatAreNotRegularAreNoReportFiles) {
  const auto before = table();
  const auto sales = report(u"Sales");
  for (const Text& file : no_files()) {
    EXPECT_EQ(sales->update(file), MissReportFile_ue);
    EXPECT_TRUE(message().ends_with(
        raised(join({u"Unable to read '", file, u"' from disk. Unable to update!"}), u"Report",
               u"Update")))
        << to_display_utf8(message());
  }
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_EQ(table(), before);
}

TEST_F(ReportFilesOfLinux, ThatAreLargerThanAColumnHoldsAreNotStored) {
  const auto before = table();
  std::filesystem::resize_file(files_.write("large.rpt", ""), 1'000'000'001);
  const auto sales = report(u"Sales");
  EXPECT_EQ(sales->update(path("large.rpt")), Error_ue);
  EXPECT_EQ(
      message(),
      account(u"Report", u"Update", 3003,
              join({u"File could not be read. '", path("large.rpt"), u"': File too large."})));
  EXPECT_FALSE(report_.import_ttx(path("large.rpt")));
  sales->release_record();
  EXPECT_EQ(table(), before);
}

TEST_F(ReportFilesOfLinux, AreNotExtractedOverWhatIsNotRegular) {
  report_.set_ttx(u"caf\u00E9\r\n");
  const auto sales = report(u"Sales");
  for (const Text& target : no_files()) {
    EXPECT_FALSE(sales->extract_report(target)) << to_display_utf8(target);
  }
  EXPECT_EQ(number(), 3004);
  std::filesystem::rename(files_.path() / "pipe", files_.path() / "pipe.ttx");
  EXPECT_FALSE(report_.extract_ttx(path("pipe.rpt")));
  EXPECT_TRUE(message().ends_with(
      account(u"Report", u"ExtractTTX", 3004,
              join({u"Write to file failed. '", path("pipe.ttx"), u"': Not a regular file."}))))
      << to_display_utf8(message());
  EXPECT_TRUE(std::filesystem::is_fifo(files_.path() / "pipe.ttx"));
}

TEST_F(ReportFilesOfLinux, AreNotExtractedThroughLinksThatOthersPlant) {
  const auto victim = files_.write("victim", "as it was");
  std::filesystem::create_symlink(victim, files_.path() / "sales.rpt");
  std::filesystem::create_symlink(victim, files_.path() / "list.ttx");
  report_.set_ttx(u"caf\u00E9\r\n");
  EXPECT_FALSE(report_.extract_ttx(path("list.rpt")));
  EXPECT_FALSE(report(u"Sales")->extract_report(path("sales.rpt")));
  EXPECT_EQ(content("victim"), "as it was");
}

TEST_F(ReportFilesOfLinux, OfFieldsAreNotExtractedToAFolderThatTakesNone) {
  report_.set_ttx(u"caf\u00E9\r\n");
  EXPECT_FALSE(report_.extract_ttx(u"/proc/list.rpt"));
  EXPECT_EQ(message(),
            account(u"Report", u"ExtractTTX", 3004,
                    u"Write to file failed. '/proc/list.ttx': No such file or directory."));
}

TEST_F(ReportFilesOfLinux, OfFieldsAreNotExtractedToAFullDisk) {
  report_.set_ttx(u"caf\u00E9\r\n");
  const FullDisk full;
  EXPECT_FALSE(report_.extract_ttx(path("list.rpt")));
  EXPECT_EQ(message(),
            account(u"Report", u"ExtractTTX", 3004,
                    join({u"Write to file failed. '", path("list.ttx"), u"': File too large."})));
}

TEST_F(ReportFilesOfLinux, AreNotExtractedToAFullDisk) {
  const auto sales = report(u"Sales");
  const FullDisk full;
  EXPECT_FALSE(sales->extract_report(path("sales.rpt")));
  EXPECT_EQ(message(),
            account(u"Report", u"ExtractReport", 3004,
                    join({u"Write to file failed. '", path("sales.rpt"), u"': File too large."})));
}

TEST_F(ReportFilesOfLinux, AreNotExtractedToAFolderThatTakesNone) {
  EXPECT_FALSE(report(u"Sales")->extract_report(u"/proc/sales.rpt"));
  EXPECT_EQ(message(),
            account(u"Report", u"ExtractReport", 3004,
                    u"Write to file failed. '/proc/sales.rpt': No such file or directory."));
}

TEST_F(ReportFilesOfLinux, WhereTheIntermediateFileIsOnAFullDiskFailTheLoading) {
  const auto rows = get_recordset(state(), u"Select * From DW_Reports Where ReportName = 'Sales'",
                                  ado::LockType::kOptimistic);
  ASSERT_NE(rows, nullptr) << to_display_utf8(message());
  {
    const FullDisk full;
    EXPECT_FALSE(refresh_report(state(), &report_, rows.get()));
  }
  EXPECT_EQ(message(),
            account(u"General", u"RefreshReport", 3004,
                    join({u"Write to file failed. '", from_utf8(intermediate_file().string()),
                          u"': File too large."})));
  EXPECT_EQ(report_.ttx(), u"");
}

TEST_F(ReportFilesOfLinux, WhereTheIntermediateFileIsOnAFullDiskFailTheReportsThatDoNotFitAlone) {
  database_.run(
      "DELETE FROM DW_Reports; INSERT INTO DW_Reports (ReportName, TTX_Binary) VALUES"
      " ('a', X'61'), ('b', X'6262'), ('c', X'63'), ('d', X'6464')");
  {
    const FullDisk full;
    EXPECT_TRUE(reports().refresh());
  }
  const Text failed =
      account(u"General", u"RefreshReport", 3004,
              join({u"Write to file failed. '", from_utf8(intermediate_file().string()),
                    u"': File too large."}));
  EXPECT_EQ(message(), join({failed, failed}));
  EXPECT_EQ(report(u"a")->ttx(), u"a");
  EXPECT_EQ(report(u"b")->ttx(), u"");
  EXPECT_EQ(report(u"c")->ttx(), u"c");
  EXPECT_EQ(report(u"d")->ttx(), u"");
  EXPECT_EQ(content_of(intermediate_file()), "c");
}

TEST_F(ReportFilesOfLinux, TakeThePlaceOfALinkWhereTheIntermediateFileBelongs) {
  const auto victim = files_.write("victim", "as it was");
  std::filesystem::remove(intermediate_file());
  std::filesystem::create_symlink(victim, intermediate_file());
  EXPECT_TRUE(reports().refresh()) << to_display_utf8(message());
  EXPECT_EQ(content("victim"), "as it was");
  EXPECT_FALSE(std::filesystem::is_symlink(intermediate_file()));
  EXPECT_EQ(hexadecimal(content_of(intermediate_file())), "E92E");
}

}  // namespace
}  // namespace tarnwick
