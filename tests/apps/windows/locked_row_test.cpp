#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "engines/sqlite/engine.h"
#include "platform/unattended_message_box.h"
#include "platform/windows/host.h"
#include "server/server.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick {
namespace {

using test_support::ComThread;
using test_support::ConnectedClient;
using test_support::LateBound;

/// Maintains the component 1 in this process, while the registered server's process wants it.
class Maintainer {
 public:
  explicit Maintainer(const Text& connect_string) {
    EXPECT_TRUE(server_.set_connection(connect_string, test_support::EmbeddedDatabase::kRole,
                                       test_support::EmbeddedDatabase::kPassword));
    EXPECT_TRUE(server_.refresh());
    component_ = server_.components()->item(std::int32_t{1});
    EXPECT_TRUE(component_->lock_record()) << to_display_utf8(server_.last_error_msg());
  }
  void release() { EXPECT_TRUE(component_->release_record()); }

 private:
  platform::UnattendedMessageBox box_{platform::WhenLocked{}, [](TextView) {}};
  platform::WindowsHost host_{box_};
  sqlite::SqliteEngine engine_;
  SharedState state_{host_, {&engine_}};
  Server server_{state_};
  std::shared_ptr<Component> component_;
};

/// The box that the server shows, once it does.
HWND wait_for_box() {
  for (int i = 0; i < 300; ++i) {
    const HWND box = FindWindowW(nullptr, L"Record Lock Encountered");
    if (box != nullptr && IsWindowVisible(box) != FALSE) return box;
    Sleep(100);
  }
  return nullptr;
}

void wait_until_gone(HWND box) {
  for (int i = 0; i < 300 && IsWindow(box) != FALSE; ++i) Sleep(100);
}

void press(HWND box, int button) { PostMessageW(GetDlgItem(box, button), BM_CLICK, 0, 0); }

class LockedRow : public ConnectedClient {
 protected:
  LockedRow() {
    EXPECT_EQ(stored_component(1, u"One").call(L"Key").text(), u"C1");
    EXPECT_TRUE(server_.call(L"Refresh").boolean());
  }

  /// Asks the registered server for the row, on a thread of its own.
  void ask_for_row() {
    asking_ = std::thread([this] {
      const ComThread com;
      locked_ = server_.object(L"Components").object(L"Item", {1}).call(L"LockRecord").boolean();
    });
  }
  bool answer() {
    asking_.join();
    return locked_;
  }

  std::thread asking_;
  std::atomic<bool> locked_ = false;
};

TEST_F(LockedRow, AsksAndIsGivenUpByCancel) {
  const Maintainer maintainer(connect_string());
  ask_for_row();
  const HWND box = wait_for_box();
  ASSERT_NE(box, nullptr);
  wchar_t text[256]{};
  const HWND label = GetDlgItem(box, 0xFFFF);
  EXPECT_GT(SendMessageW(label, WM_GETTEXT, 256, reinterpret_cast<LPARAM>(text)), 0);
  EXPECT_STREQ(text, L"Record is currently being updated by another process!");
  press(box, IDCANCEL);
  EXPECT_FALSE(answer());
}

TEST_F(LockedRow, IsLockedByRetryOnceItIsFree) {
  Maintainer maintainer(connect_string());
  ask_for_row();
  HWND box = wait_for_box();
  ASSERT_NE(box, nullptr);
  press(box, IDRETRY);
  wait_until_gone(box);
  box = wait_for_box();
  ASSERT_NE(box, nullptr);
  maintainer.release();
  press(box, IDRETRY);
  EXPECT_TRUE(answer());
}

TEST_F(LockedRow, HoldsOtherClientsCallsBackWhileTheBoxIsOpen) {
  const Maintainer maintainer(connect_string());
  ask_for_row();
  const HWND box = wait_for_box();
  ASSERT_NE(box, nullptr);
  std::atomic<bool> called = false;
  std::thread other([&] {
    const ComThread com;
    EXPECT_TRUE(server_.call(L"Initialized").boolean());
    called = true;
  });
  Sleep(500);
  EXPECT_FALSE(called);
  press(box, IDCANCEL);
  EXPECT_FALSE(answer());
  other.join();
  EXPECT_TRUE(called);
}

}  // namespace
}  // namespace tarnwick
