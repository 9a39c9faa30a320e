#include "records/computer_name.h"

#include <gtest/gtest.h>

#include "tests/support/object_model.h"

namespace tarnwick {
namespace {

class ComputerName : public ::testing::Test {
 protected:
  Text name_of(std::optional<Text> system_name) {
    host_.name = std::move(system_name);
    return local_computer_name(host_);
  }

  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
};

TEST_F(ComputerName, IsWhatTheSystemSays) { EXPECT_EQ(name_of(u"DESK-1"), u"DESK-1"); }

TEST_F(ComputerName, OfFifteenCharactersIsWhole) {
  EXPECT_EQ(name_of(u"ABCDEFGHIJKLMNO"), u"ABCDEFGHIJKLMNO");
}

TEST_F(ComputerName, ThatFillsTheBufferWithoutANulIsEmpty) {
  EXPECT_EQ(name_of(u"ABCDEFGHIJKLMNOP"), u"");
}

TEST_F(ComputerName, IsCutAtTheFirstNul) {
  using namespace std::string_view_literals;
  EXPECT_EQ(name_of(Text(u"DESK\0TOP"sv)), u"DESK");
}

TEST_F(ComputerName, WithANulAtItsStartIsEmpty) {
  using namespace std::string_view_literals;
  EXPECT_EQ(name_of(Text(u"\0DESK"sv)), u"");
  EXPECT_EQ(name_of(Text()), u"");
}

TEST_F(ComputerName, IsEmptyWhenTheSystemFails) { EXPECT_EQ(name_of(std::nullopt), u""); }

}  // namespace
}  // namespace tarnwick
