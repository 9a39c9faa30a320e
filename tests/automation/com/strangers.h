#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "automation/model.h"
#include "platform/windows/wide.h"
#include "tests/automation/com/connected_client.h"
#include "tests/automation/com/serving_process.h"

namespace tarnwick::test_support {

inline constexpr WORD kCall = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
inline constexpr std::size_t kMegabyte = 1u << 20;

/// Runs `body` on a client's thread of its own. False when it has not come back after a time in
/// which it would have done so many times over; it is left alone then.
inline bool comes_back(std::function<void()> body) {
  auto task = std::make_shared<std::packaged_task<void()>>([body = std::move(body)] {
    const ComThread com;
    body();
  });
  std::future<void> done = task->get_future();
  std::thread([task] { (*task)(); }).detach();
  return done.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
}

/// A server with one row of each kind, whose other clients must not notice what a client does that
/// is forbidden, oversized, malformed, too often or at the wrong time.
class Strangers : public ConnectedClient {
 protected:
  Strangers() {
    EXPECT_EQ(stored_component(1, u"One").call(L"Key").text(), u"C1");
    const LateBound pc = server_.object(L"RegisteredPCs")
                             .object(L"Add", {u"MAC", 1, u"PC-1", u"me", Var::date(45000.0)});
    EXPECT_EQ(pc.call(L"Update").number(), 0) << to_display_utf8(message());
    const LateBound report =
        server_.object(L"Reports")
            .object(L"Add", {u"Sales", u"Title", u"Author", Var::date(45000.25), u"1.0", u"G", 11,
                             u"Select 1", u"", 1, u"Text", 4, u"", u"Def"});
    EXPECT_EQ(report.call(L"Update").number(), 0) << to_display_utf8(message());
    EXPECT_TRUE(server_.call(L"Refresh").boolean());
    before_ = what_another_client_sees();
  }

  void TearDown() override {
    EXPECT_TRUE(process_.runs());
    EXPECT_EQ(what_another_client_sees(), before_);
  }

  /// All properties of all rows, of an object of his own, and what comes of a wrong call.
  [[nodiscard]] std::vector<Text> what_another_client_sees() const {
    auto seen = std::make_shared<std::vector<Text>>();
    EXPECT_TRUE(comes_back([seen, server = server_] { *seen = look_around(server); }))
        << "another client is held up";
    return std::move(*seen);
  }

  /// One object of each of the seven classes, in their order.
  [[nodiscard]] std::vector<LateBound> objects() const {
    const LateBound components = server_.object(L"Components");
    const LateBound pcs = server_.object(L"RegisteredPCs");
    const LateBound reports = server_.object(L"Reports");
    return {server_,
            components,
            components.object(L"Item", {1}),
            pcs,
            pcs.object(L"Item", {1}),
            reports,
            reports.object(L"Item", {1})};
  }

  ServingProcess process_;

 private:
  static std::vector<Text> look_around(const LateBound& server) {
    std::vector<Text> seen;
    const auto see = [&](const LateBound& object, automation::ClassId id) {
      for (const automation::Member& member : automation::class_of(id).members) {
        if (!automation::is_property(member) || member.name.starts_with("LastError")) continue;
        Var value = object.call(platform::to_wide(from_utf8(member.name)).c_str());
        if (value.type() == VT_DISPATCH || value.type() == VT_EMPTY) continue;
        EXPECT_EQ(VariantChangeType(value.get(), value.get(), 0, VT_BSTR), S_OK);
        seen.push_back(value.text());
      }
    };
    const LateBound components = server.object(L"Components");
    const LateBound pcs = server.object(L"RegisteredPCs");
    const LateBound reports = server.object(L"Reports");
    see(components, automation::ClassId::kComponents);
    see(components.object(L"Item", {1}), automation::ClassId::kComponent);
    see(pcs, automation::ClassId::kRegisteredPCs);
    see(pcs.object(L"Item", {1}), automation::ClassId::kRegisteredPC);
    see(reports, automation::ClassId::kReports);
    see(reports.object(L"Item", {1}), automation::ClassId::kReport);
    see(LateBound::create(L"Tarnwick.Report"), automation::ClassId::kReport);
    const Outcome wrong = pcs.attempt(L"Item", kCall, {u"nobody"});
    seen.push_back(decimal(wrong.error));
    seen.push_back(wrong.source);
    seen.push_back(wrong.description);
    return seen;
  }

  std::vector<Text> before_;
};

}  // namespace tarnwick::test_support
