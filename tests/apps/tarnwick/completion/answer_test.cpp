#include "apps/tarnwick/completion/answer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "apps/tarnwick/command_tree.h"

namespace tarnwick::cli {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

/// Questions about the program as it is, with no database at hand.
class Answers : public ::testing::Test {
 protected:
  Answers() {
    for (const char* name : {"TARNWICK_CONNECT", "TARNWICK_ROLE", "TARNWICK_PASSWORD_FILE"}) {
      unsetenv(name);
    }
  }

  [[nodiscard]] Answer answer(const std::vector<std::string>& words) const {
    return answer_for(find_place(*program_, words));
  }
  [[nodiscard]] std::vector<std::string> offered(const std::vector<std::string>& words) const {
    std::vector<std::string> texts;
    for (const Candidate& candidate : answer(words).candidates) texts.push_back(candidate.text);
    return texts;
  }

  /// Whether all that `command` has is offered behind the words that lead to it.
  void expect_everything_offered(const CLI::App& command, std::vector<std::string> words) const {
    for (const CLI::App* inner : command.get_subcommands({})) {
      words.emplace_back();
      EXPECT_THAT(offered(words), Contains(inner->get_name()));
      words.back() = inner->get_name();
      expect_everything_offered(*inner, words);
      words.pop_back();
    }
    words.emplace_back("-");
    for (const CLI::Option* option : command.get_options()) {
      if (option->nonpositional()) {
        EXPECT_THAT(offered(words), Contains(option->get_name()));
      }
    }
    for (const char* general : {"--connect", "--json", "--in-process"}) {
      EXPECT_THAT(offered(words), Contains(general));
    }
  }

  CommandLine line_;
  std::unique_ptr<CLI::App> program_ = make_command_tree(line_);
};

TEST_F(Answers, OfferEveryCommandAndEveryOption) { expect_everything_offered(*program_, {}); }

TEST_F(Answers, OfferWhatBeginsAsWhatWasTyped) {
  EXPECT_THAT(offered({"pc", "de"}), ElementsAre("deactivate", "delete"));
  EXPECT_THAT(offered({"pc", "DEL"}), ElementsAre("delete"));
  EXPECT_THAT(offered({"nonsense", "x"}), IsEmpty());
}

TEST_F(Answers, FollowWhatStandsBefore) {
  EXPECT_THAT(offered({"--json", "pc", "deac"}), ElementsAre("deactivate"));
  EXPECT_THAT(offered({"--role", "pc", "rep"}), ElementsAre("report"));
  EXPECT_THAT(offered({"--role=pc", "rep"}), ElementsAre("report"));
  EXPECT_THAT(offered({"-v", "rep"}), ElementsAre("report"));
  EXPECT_THAT(offered({"report", "update", "X", "--tit"}), ElementsAre("--title"));
}

TEST_F(Answers, OfferNothingTwiceAndNothingThatIsExcluded) {
  EXPECT_THAT(offered({"pc", "list", "--active", "--"}), Not(Contains("--active")));
  EXPECT_THAT(offered({"pc", "list", "--active", "--"}), Not(Contains("--inactive")));
  EXPECT_THAT(offered({"pc", "list", "--inactive", "--"}), Not(Contains("--active")));
  EXPECT_THAT(offered({"report", "set", "X", "--sql", "x", "--sql"}), IsEmpty());
}

TEST_F(Answers, OfferTheValuesOfAnOption) {
  EXPECT_THAT(offered({"component", "set", "1", "--report-code", ""}),
              ElementsAre("PC", "PCA", "CRY", "none"));
  EXPECT_THAT(offered({"component", "set", "1", "--force-display=y"}),
              ElementsAre("--force-display=yes"));
  EXPECT_THAT(offered({"completion", ""}), ElementsAre("bash", "zsh", "fish", "powershell"));
  EXPECT_THAT(offered({"report", "show", "X", "--field", "SoftL"}), ElementsAre("SoftLock"));
  EXPECT_THAT(offered({"--connect", ""}), IsEmpty());
}

TEST_F(Answers, SendTheShellToItsFilesAndFolders) {
  EXPECT_EQ(answer({"init", ""}).kind, Answer::Kind::kFolders);
  EXPECT_EQ(answer({"init", "x", "--sample-folder", ""}).kind, Answer::Kind::kFolders);
  EXPECT_EQ(answer({"--password-file", ""}).kind, Answer::Kind::kFiles);
  EXPECT_EQ(answer({"--trace=x"}).kind, Answer::Kind::kFiles);
  EXPECT_EQ(answer({"report", "store", "X", ""}).kind, Answer::Kind::kFiles);
  EXPECT_EQ(answer({"report", "store", ""}).kind, Answer::Kind::kWords);
}

TEST_F(Answers, OfferNoOptionsBehindTheirEnd) {
  EXPECT_THAT(offered({"pc", "list", "--", "--"}), IsEmpty());
}

TEST_F(Answers, ShowTheOptionsWhereNothingElseCanFollow) {
  EXPECT_THAT(offered({"pc", "list", ""}), Contains("--inactive"));
  EXPECT_THAT(offered({"pc", "list", ""}), Not(Contains("--connect")));
}

TEST_F(Answers, HaveNoNamesWithoutAConnection) {
  EXPECT_THAT(offered({"report", "show", ""}), IsEmpty());
  EXPECT_THAT(offered({"component", "show", ""}), IsEmpty());
}

}  // namespace
}  // namespace tarnwick::cli
