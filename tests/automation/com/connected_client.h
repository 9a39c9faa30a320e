#pragma once

#include <gtest/gtest.h>

#include "platform/windows/wide.h"
#include "tests/automation/com/late_bound.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::test_support {

/// COM for the calling thread, in the multi-threaded apartment: its calls wait without taking any.
class ComThread {
 public:
  ComThread() { EXPECT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0); }
  ~ComThread() { CoUninitialize(); }
  ComThread(const ComThread&) = delete;
  ComThread& operator=(const ComThread&) = delete;
};

/// A client of the registered server, connected to a new embedded database.
class ConnectedClient : public ::testing::Test {
 protected:
  ConnectedClient() {
    EXPECT_TRUE(server_
                    .call(L"SetConnection", {connect_string(), Text(EmbeddedDatabase::kRole),
                                             Text(EmbeddedDatabase::kPassword)})
                    .boolean())
        << to_display_utf8(message());
    EXPECT_TRUE(server_.call(L"Refresh").boolean()) << to_display_utf8(message());
  }

  [[nodiscard]] Text connect_string() const { return database_.connection_string(); }
  [[nodiscard]] Text message() const { return server_.call(L"LastErrorMsg").text(); }

  /// A component that is in the list and in the table.
  [[nodiscard]] LateBound stored_component(int id, const char16_t* name) const {
    const LateBound component =
        server_.object(L"Components")
            .object(L"Add", {id, name, 0, 1, 1, true, 2, 1, u"srv", u"grp"});
    EXPECT_EQ(component.call(L"Update").number(), 0) << to_display_utf8(message());
    return component;
  }

  ComThread com_;
  EmbeddedDatabase database_;
  LateBound server_ = LateBound::create(L"Tarnwick.Server");
};

}  // namespace tarnwick::test_support
