#include "tests/engines/sqlite/intercepting.h"
#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

using test_support::InterceptedCall;
using test_support::SystemCall;

class ConnectingBesideOthers : public SessionTest {};

TEST_F(ConnectingBesideOthers, WaitsAndSaysThatOneHasTheFileForItself) {
  auto program = database_.open_plainly();
  program.run("PRAGMA journal_mode = DELETE; BEGIN EXCLUSIVE");
  const auto session = connect();
  int waits = 0;
  {
    const Intercepting sleeps([&](const InterceptedCall& call) {
      if (call.kind != SystemCall::kSleep) return test_support::kGoOn;
      ++waits;
      return test_support::kPassOver;
    });
    EXPECT_EQ(error_of([&] {
                session->set_default_database(u"Velmar_Sec");
                return 0;
              }).native(),
              1222);
  }
  EXPECT_GT(waits, 100);
  program.run("COMMIT");
  EXPECT_NE(open_session(), nullptr);
}

}  // namespace
}  // namespace tarnwick::sqlite
