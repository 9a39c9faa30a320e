#include "apps/tarnwick/command_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> names_in(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* inner : command.get_subcommands({})) names.push_back(inner->get_name());
  return names;
}

std::vector<std::string> names_for(const std::vector<std::string>& words) {
  CommandLine line;
  return names_in(*make_command_tree(line, words));
}

/// The help of a command and of all that are under it.
std::vector<std::string> helps_of(const CLI::App& command) {
  std::vector<std::string> texts{command.help()};
  for (const CLI::App* inner : command.get_subcommands({})) {
    for (std::string& text : helps_of(*inner)) texts.push_back(std::move(text));
  }
  return texts;
}

class CommandTree : public ::testing::Test {
 protected:
  CommandLine line_;
  std::unique_ptr<CLI::App> whole_ = make_command_tree(line_);
};

TEST_F(CommandTree, OfACommandHasAllOfThatCommand) {
  for (const std::string& name : names_in(*whole_)) {
    CommandLine line;
    const auto tree = make_command_tree(line, std::vector<std::string>{name, "--help"});
    EXPECT_EQ(helps_of(*tree->get_subcommand(name)), helps_of(*whole_->get_subcommand(name)))
        << name;
    EXPECT_LT(names_in(*tree).size(), 4u) << name;
  }
}

TEST_F(CommandTree, HasACommandWhoseNameStandsAnywhere) {
  EXPECT_THAT(names_for({"report", "show", "Open Orders"}), ElementsAre("report"));
  EXPECT_THAT(names_for({"report", "show", "pc"}), ElementsAre("pc", "report"));
}

TEST_F(CommandTree, IsWholeWhereTheFirstWordIsNoCommand) {
  const auto all = names_in(*whole_);
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{},
                                             {""},
                                             {"--help"},
                                             {"--role", "pc", "--help"},
                                             {"reports"},
                                             {"complete", "--", "pc"}}) {
    EXPECT_EQ(names_for(words), all) << ::testing::PrintToString(words);
  }
}

}  // namespace
}  // namespace tarnwick::cli
