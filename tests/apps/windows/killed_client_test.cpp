#include <gtest/gtest.h>

#include "tests/apps/windows/process.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick {
namespace {

using test_support::ConnectedClient;
using test_support::LateBound;
using test_support::Process;

#define READY L"Local\\Tarnwick.Test.KilledClient"
constexpr wchar_t kHolder[] = L"\"" ACTIVATE L"\" hold-row " READY;

/// A client whose list has one component; others lock it.
class KilledClient : public ConnectedClient {
 protected:
  KilledClient() {
    EXPECT_EQ(stored_component(1, u"One").call(L"Key").text(), u"C1");
    EXPECT_TRUE(server_.call(L"Refresh").boolean());
  }
  ~KilledClient() override { CloseHandle(ready_); }

  /// The component that a client of its own has locked, once it has.
  [[nodiscard]] LateBound locked_component() const {
    EXPECT_EQ(WaitForSingleObject(ready_, 30'000), WAIT_OBJECT_0);
    const LateBound component = server_.object(L"Components").object(L"Item", {1});
    EXPECT_TRUE(component.call(L"Locked").boolean());
    return component;
  }

  HANDLE ready_ = CreateSemaphoreW(nullptr, 0, 1, READY);
};

/// What has ended is noticed a moment later.
bool becomes_free(const LateBound& component) {
  for (int i = 0; i < 300; ++i) {
    if (!component.call(L"Locked").boolean()) return true;
    Sleep(100);
  }
  return false;
}

TEST_F(KilledClient, GivesItsRowBack) {
  LateBound component(nullptr);
  {
    const Process holder(kHolder);
    component = locked_component();
  }  // and ends by force
  EXPECT_TRUE(becomes_free(component));
  EXPECT_TRUE(component.call(L"LockRecord").boolean()) << to_display_utf8(message());
  EXPECT_TRUE(component.call(L"ReleaseRecord").boolean());
}

TEST_F(KilledClient, LeavesTheRowsOfOthersAlone) {
  const Process holder(kHolder);
  const LateBound component = locked_component();
  Process another(L"\"" ACTIVATE L"\" once");
  EXPECT_EQ(another.exit_code(), 0u);
  Sleep(500);
  EXPECT_TRUE(component.call(L"Locked").boolean());
}

TEST_F(KilledClient, DoesNotTakeALockAlongThatAnotherClientHasTakenSince) {
  LateBound component(nullptr);
  {
    const Process holder(kHolder);
    component = locked_component();
    ASSERT_TRUE(component.call(L"ReleaseRecord").boolean());
    ASSERT_TRUE(component.call(L"LockRecord").boolean());
  }
  Sleep(500);
  EXPECT_TRUE(component.call(L"Locked").boolean());
  EXPECT_TRUE(component.call(L"ReleaseRecord").boolean());
}

}  // namespace
}  // namespace tarnwick
