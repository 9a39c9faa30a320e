#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "automation/model.h"
#include "tests/apps/windows/process.h"
#include "tests/automation/com/connected_client.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::automation::com {
namespace {

using test_support::ConnectedClient;
using test_support::Process;
using test_support::TemporaryFolder;
using ::testing::HasSubstr;

std::string script() {
  std::ifstream file(std::filesystem::path(EVERY_MEMBER));
  file.exceptions(std::ios::failbit | std::ios::badbit);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Script, NamesEveryMemberOfEveryClass) {
  const std::string text = script();
  for (const ClassId id :
       {ClassId::kServer, ClassId::kComponents, ClassId::kComponent, ClassId::kRegisteredPCs,
        ClassId::kRegisteredPC, ClassId::kReports, ClassId::kReport}) {
    for (const Member& member : class_of(id).members) {
      const std::string name =
          "\"" + std::string(class_of(id).name) + "." + std::string(member.name) + "\"";
      EXPECT_THAT(text, HasSubstr(name));
      if (member.access != Member::Access::kGetLet) continue;
      std::string object(class_of(id).name == "RegisteredPC" ? "pc" : "report");
      EXPECT_THAT(text, HasSubstr("\n" + object + "." + std::string(member.name) + " = "));
    }
  }
}

using ScriptClient = ConnectedClient;

TEST_F(ScriptClient, UsesEveryMemberOfEveryClass) {
  const TemporaryFolder files;
  Process process(L"cscript.exe //nologo \"" EVERY_MEMBER L"\" \"" +
                  platform::to_wide(connect_string()) + L"\" Maintainer sesame \"" +
                  files.path().wstring() + L"\"");
  EXPECT_EQ(process.output(), "184 values\r\n");
  EXPECT_EQ(process.exit_code(), 0u);
}

}  // namespace
}  // namespace tarnwick::automation::com
