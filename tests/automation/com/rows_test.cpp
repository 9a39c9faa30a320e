#include <gtest/gtest.h>

#include "tests/apps/windows/process.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick::automation::com {
namespace {

using test_support::ConnectedClient;
using test_support::LateBound;
using test_support::Process;

using RowsOverCom = ConnectedClient;

TEST_F(RowsOverCom, AreArraysToAScript) {
  const LateBound pcs = server_.object(L"RegisteredPCs");
  for (const char16_t* number : {u"02-B", u"02-A"}) {
    const LateBound pc = LateBound::create(L"Tarnwick.RegisteredPC");
    pc.put(L"MACNumber", number);
    pc.put(L"ComputerID", u"DESK");
    pc.put(L"CompID", 7);
    EXPECT_EQ(pc.call(L"Update").number(), 0) << to_display_utf8(message());
  }
  EXPECT_TRUE(pcs.call(L"Refresh").boolean());
  Process script(L"cscript.exe //nologo \"" ROWS L"\"");
  EXPECT_EQ(script.output(),
            "MACNumber CompID\r\n"
            "02-A 7\r\n"
            "02-B 7\r\n"
            "-1\r\n"
            "02-A\r\n"
            "1 False [] 0\r\n"
            "5\r\n"
            "0 02-B DESK 7\r\n"
            "-1\r\n"
            "91 Object variable or With block variable not set\r\n"
            "13\r\n");
  EXPECT_EQ(script.exit_code(), 0u);
}

}  // namespace
}  // namespace tarnwick::automation::com
