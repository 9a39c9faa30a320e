#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/apps/windows/process.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick {
namespace {

using test_support::ComThread;
using test_support::LateBound;
using test_support::Process;
using test_support::running;

void wait_until_no_server_runs() {
  for (int i = 0; i < 600 && running(L"Tarnwick.exe") > 0; ++i) Sleep(100);
  ASSERT_EQ(running(L"Tarnwick.exe"), 0);
}

TEST(Activation, OfManyColdClientsAtOnceServesThemAllFromOneProcess) {
  wait_until_no_server_runs();
  std::vector<std::unique_ptr<Process>> clients;
  for (int i = 0; i < 4; ++i) {
    clients.push_back(std::make_unique<Process>(L"\"" ACTIVATE L"\" once"));
  }
  for (const auto& client : clients) {
    EXPECT_EQ(client->output(), "");
    EXPECT_EQ(client->exit_code(), 0u);
  }
}

TEST(Activation, EndsTheProcessAfterItsLastClient) {
  {
    const ComThread com;
    EXPECT_FALSE(LateBound::create(L"Tarnwick.Server").call(L"Initialized").boolean());
    EXPECT_GE(running(L"Tarnwick.exe"), 1);
  }
  wait_until_no_server_runs();
}

TEST(Activation, BeforeAndAfterTheEndGetsALivingServer) {
  Process client(L"\"" ACTIVATE L"\" again");
  EXPECT_EQ(client.output(), "");
  EXPECT_EQ(client.exit_code(), 0u);
}

TEST(Activation, GivesTwoClientsObjectsOfTheSameProcess) {
  const ComThread com;
  const LateBound components = LateBound::create(L"Tarnwick.Components");
  EXPECT_EQ(
      components.object(L"Add", {1, u"One", 0, 1, 1, true, 2, 1, u"", u""}).call(L"Key").text(),
      u"C1");
  // Another client's process finds the component in the list that all objects of the process share.
  Process other(L"\"" ACTIVATE L"\" new-components");
  EXPECT_EQ(other.exit_code(), 0u);
  EXPECT_EQ(components.call(L"Count").number(), 0);
}

}  // namespace
}  // namespace tarnwick
