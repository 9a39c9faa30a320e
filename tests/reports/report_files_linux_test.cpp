#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "records/recordset_access.h"
#include "reports/refresh_report.h"
#include "tests/reports/report_fixture.h"

// Devices that are full, files that are none, and folders that take no files.

namespace tarnwick {
namespace {

using test_support::account;

class ReportFilesOfLinux : public test_support::ReportTest {
 protected:
  Report report_{state()};
};

TEST_F(ReportFilesOfLinux, CannotBeImportedWhereTheyCannotBeOpened) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = (files_.path() / "socket").string();
  ASSERT_LT(name.size(), sizeof address.sun_path);
  name.copy(address.sun_path, name.size());
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_FALSE(report_.import_ttx(path("socket")));
  close(socket);
  EXPECT_EQ(message(), account(u"Report", u"ImportTTX", 3002,
                               join({u"File could not be opened. '", path("socket"),
                                     u"': No such device or address."})));
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
  std::filesystem::create_symlink("/dev/full", files_.path() / "list.ttx");
  EXPECT_FALSE(report_.extract_ttx(path("list.rpt")));
  EXPECT_EQ(message(), account(u"Report", u"ExtractTTX", 3004,
                               join({u"Write to file failed. '", path("list.ttx"),
                                     u"': No space left on device."})));
}

TEST_F(ReportFilesOfLinux, AreNotExtractedToAFullDisk) {
  EXPECT_FALSE(report(u"Sales")->extract_report(u"/dev/full"));
  EXPECT_EQ(message(), account(u"Report", u"ExtractReport", 3004,
                               u"Write to file failed. '/dev/full': No space left on device."));
}

TEST_F(ReportFilesOfLinux, AreNotExtractedToAFolderThatTakesNone) {
  EXPECT_FALSE(report(u"Sales")->extract_report(u"/proc/sales.rpt"));
  EXPECT_EQ(message(),
            account(u"Report", u"ExtractReport", 3004,
                    u"Write to file failed. '/proc/sales.rpt': No such file or directory."));
}

TEST_F(ReportFilesOfLinux, WhereTheIntermediateFileIsOnAFullDiskFailTheLoading) {
  const auto ttx_file = process_.host.payload_folder / "TTX.bin";
  std::filesystem::remove(ttx_file);
  std::filesystem::create_symlink("/dev/full", ttx_file);
  const auto rows = get_recordset(state(), u"Select * From DW_Reports Where ReportName = 'Sales'",
                                  ado::LockType::kOptimistic);
  ASSERT_NE(rows, nullptr) << to_display_utf8(message());
  EXPECT_FALSE(refresh_report(state(), &report_, rows.get()));
  EXPECT_EQ(message(), account(u"General", u"RefreshReport", 3004,
                               join({u"Write to file failed. '", from_utf8(ttx_file.string()),
                                     u"': No space left on device."})));
  EXPECT_EQ(report_.ttx(), u"");
}

}  // namespace
}  // namespace tarnwick
