#include "apps/tarnwick/output/sorting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;

class Sorting : public ::testing::Test {
 protected:
  /// The places of `keys` once they are sorted by the column "Size".
  static std::vector<std::size_t> sorted(const std::vector<AttributeValue>& keys,
                                         std::vector<std::string> switches) {
    Order order({"Name", "Size"});
    CLI::App command;
    order.add_options(command);
    std::reverse(switches.begin(), switches.end());
    command.parse(switches);
    return order.arrange(keys.size(), [&](std::size_t column, std::size_t line) {
      EXPECT_EQ(column, 1u);
      return sort_key(keys[line]);
    });
  }
};

TEST_F(Sorting, LeavesTheLinesAsTheyAreUnlessItIsAskedFor) {
  EXPECT_THAT(sorted({Text(u"b"), Text(u"a")}, {}), ElementsAre(0, 1));
  EXPECT_THAT(sorted({Text(u"b"), Text(u"a")}, {"--reverse"}), ElementsAre(1, 0));
}

TEST_F(Sorting, GoesByTheValueOfNumbersAndDates) {
  EXPECT_THAT(sorted({std::int32_t{10}, std::int32_t{9}, std::int32_t{-1}}, {"--sort", "size"}),
              ElementsAre(2, 1, 0));
  EXPECT_THAT(
      sorted({Date{45000.5}, Date{}, Date{1.0}, Date{-1.25}, Date{-1.5}}, {"--sort", "Size"}),
      ElementsAre(1, 3, 4, 2, 0));
}

TEST_F(Sorting, GoesByTextsWithoutRegardToCase) {
  EXPECT_THAT(
      sorted({Text(u"öl"), Text(u"B"), Text(u"a"), Text(u"ÖL"), Text(u"")}, {"--sort", "Size"}),
      ElementsAre(4, 2, 1, 0, 3));
  EXPECT_THAT(sorted({ServerReg_mt, Component_mt, PCReg_mt}, {"--sort", "Size"}),
              ElementsAre(1, 2, 0));
}

TEST_F(Sorting, KeepsLinesThatAreAlikeInTheirOrderBothWays) {
  const std::vector<AttributeValue> keys{Text(u"x"), Text(u"a"), Text(u"X"), Text(u"A")};
  EXPECT_THAT(sorted(keys, {"--sort", "Size"}), ElementsAre(1, 3, 0, 2));
  EXPECT_THAT(sorted(keys, {"--sort", "Size", "--reverse"}), ElementsAre(0, 2, 1, 3));
}

TEST_F(Sorting, RefusesAColumnThatIsNotThere) {
  Order order({"Name", "Size"});
  CLI::App command;
  order.add_options(command);
  std::vector<std::string> switches{"Colour", "--sort"};
  try {
    command.parse(switches);
    FAIL();
  } catch (const CLI::ParseError& error) {
    EXPECT_STREQ(error.what(), "--sort: there is no column 'Colour', but Name, Size.");
  }
}

}  // namespace
}  // namespace tarnwick::cli
