#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/apps/windows/process.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick {
namespace {

using test_support::ConnectedClient;
using test_support::LateBound;
using test_support::Process;
using test_support::Var;
using ::testing::HasSubstr;

class Samples : public ConnectedClient {
 protected:
  Samples() {
    EXPECT_EQ(stored_component(7, u"Ledger").call(L"Key").text(), u"C7");
    const LateBound pc = server_.object(L"RegisteredPCs")
                             .object(L"Add", {u"00-11", 7, u"PC-1", u"me", Var::date(45000.0)});
    EXPECT_EQ(pc.call(L"Update").number(), 0) << to_display_utf8(message());
    const LateBound report =
        server_.object(L"Reports")
            .object(L"Add", {u"Sales", u"Old title", u"Author", Var::date(45000.25), u"1.0", u"G",
                             11, u"Select", u"", 1, u"Text", 4, u"", u"Def"});
    EXPECT_EQ(report.call(L"Update").number(), 0) << to_display_utf8(message());
  }

  /// The arguments that all samples begin with.
  [[nodiscard]] std::wstring connection() const {
    return L" \"" + platform::to_wide(connect_string()) + L"\" Maintainer sesame";
  }
  [[nodiscard]] static std::wstring script(const wchar_t* name) {
    return std::wstring(L"cscript.exe //nologo \"" SAMPLES L"\\") + name + L"\"";
  }
};

TEST_F(Samples, InVBScriptListsComponentsAndPCs) {
  Process process(script(L"components.vbs") + connection());
  EXPECT_THAT(process.output(),
              HasSubstr("C7 Ledger\r\n  PC-1 (00-11), logins: 0\r\n1 components\r\n"));
  EXPECT_EQ(process.exit_code(), 0u);
}

TEST_F(Samples, InVBScriptShowsTheErrorAndFails) {
  Process process(script(L"components.vbs") +
                  L" \"Provider=Tarnwick.Embedded;Data Source=C:\\nowhere\" Maintainer sesame");
  EXPECT_THAT(process.output(), HasSubstr("'SetConnection'"));
  EXPECT_EQ(process.exit_code(), 1u);
}

TEST_F(Samples, InJScriptRetitlesAReport) {
  Process process(script(L"retitle.js") + connection() + L" Sales \"New title\"");
  EXPECT_EQ(process.output(), "Sales: New title\r\n");
  EXPECT_EQ(process.exit_code(), 0u);
  ASSERT_TRUE(server_.call(L"Refresh").boolean());
  EXPECT_EQ(server_.object(L"Reports").object(L"Item", {1}).call(L"Title").text(), u"New title");
}

TEST_F(Samples, InJScriptListsTheReportsWhenItDoesNotFindOne) {
  Process process(script(L"retitle.js") + connection() + L" Sails \"New title\"");
  EXPECT_EQ(process.output(), "There is no report 'Sails'. There are: Sales\r\n");
  EXPECT_EQ(process.exit_code(), 1u);
}

TEST_F(Samples, InCppCountsLogins) {
  Process process(L"\"" COUNT_LOGINS L"\"" + connection() + L" 7 someone");
  EXPECT_EQ(process.output(), "1 PCs\r\n");
  EXPECT_EQ(process.exit_code(), 0u);
  ASSERT_TRUE(server_.call(L"Refresh").boolean());
  const LateBound pc = server_.object(L"RegisteredPCs").object(L"Item", {1});
  EXPECT_EQ(pc.call(L"TotalLogins").number(), 1);
  EXPECT_EQ(pc.call(L"LastUser").text(), u"someone");
}

}  // namespace
}  // namespace tarnwick
