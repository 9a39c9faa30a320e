#include "tests/interleavings/script.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarnwick::interleavings {
namespace {

using Kind = Command::Kind;

constexpr std::pair<std::string_view, Kind> kWords[] = {
    {"open", Kind::kOpen},       {"close", Kind::kClose},      {"begin", Kind::kBegin},
    {"load", Kind::kLoad},       {"hold", Kind::kHold},        {"append", Kind::kAppend},
    {"add", Kind::kAdd},         {"add both", Kind::kAddBoth}, {"insert", Kind::kInsert},
    {"delete", Kind::kDelete},   {"read", Kind::kRead},        {"read both", Kind::kReadBoth},
    {"list", Kind::kList},       {"commit", Kind::kCommit},    {"rollback", Kind::kRollback},
    {"release", Kind::kRelease},
};

Command parse_command(std::string_view text) {
  Command command{};
  const auto blank = text.rfind(' ');
  if (blank + 2 == text.size() && text.back() >= 'A' && text.back() < 'A' + kRows) {
    command.row = text.back() - 'A' + 1;
    text = text.substr(0, blank);
  }
  const auto* const word = std::find_if(std::begin(kWords), std::end(kWords),
                                        [&](const auto& each) { return each.first == text; });
  if (word == std::end(kWords)) throw std::invalid_argument(std::string(text));
  command.kind = word->second;
  return command;
}

}  // namespace

const std::vector<Scenario>& all_scenarios() {
  static const std::vector<Scenario> kScenarios = {
      {"OneRow", {"begin, hold A, append A, commit", "begin, hold A, append A, commit"}},
      {"OneRowRolledBack",
       {"begin, hold A, append A, rollback", "begin, hold A, append A, commit"}},
      {"OneRowHeldOutsideATransaction", {"hold A, append A, release", "hold A, append A, release"}},
      {"StatementsOutsideTransactions", {"add A, add B", "add A, add B"}},
      {"TwoRowsAtOnce",
       {"begin, hold A, append A, hold B, append B, commit", "read both, read both"}},
      {"TwoRowsByStatements",
       {"begin, add A, add B, commit", "begin, hold A, append A, add B, commit"}},
      {"TwoRowsByOneStatement",
       {"add both, add both", "begin, hold B, append B, hold A, append A, commit"}},
      {"TwoRowsCrosswise",
       {"begin, hold A, append A, add B, commit", "begin, hold B, append B, add A, commit"},
       3},
      {"ReadsWhatIsMaintained", {"begin, hold A, append A, commit", "read A, read A"}},
      {"ReadsItsOwnWrites", {"begin, add A, read A, add A, read both, commit", "add B, add A"}},
      {"InsertsOneRow", {"insert C, add C", "begin, insert C, commit"}},
      {"DeletesWhatIsMaintained",
       {"begin, hold A, delete A, commit", "begin, hold A, append A, commit"}},
      {"RefusedAtOnce", {"begin, hold A, append A, commit", "begin, hold A, append A, commit"}, 0},
      {"LoadsInBulk", {"load, add A, add B, commit", "begin, hold A, append A, commit"}},
      {"ListsWhoHolds", {"hold B, release, hold A, release", "hold B, release", "list, list"}},
      {"ListsAHolderThatWaits",
       {"hold B, release, hold A, release", "hold B, hold A, release", "list"}},
      {"ListsAHolderThatFollows", {"hold A, hold B, release", "hold A, hold B, release", "list"}},
      {"ThreeOnOneRow",
       {"begin, hold A, append A, commit", "begin, hold A, append A, commit",
        "begin, hold A, append A, commit"}},
      {"ThreeInARing",
       {"begin, hold A, append A, commit", "begin, add A, add B, commit", "read both, add B"}},
      {"Opens",
       {"open, begin, hold A, append A, commit", "open, begin, hold A, append A, commit"},
       -1,
       false},
      {"OpensAndCloses",
       {"open, add A, close", "open, begin, hold A, append A, commit, close"},
       -1,
       false},
  };
  return kScenarios;
}

std::vector<Scenario> fine_scenarios() {
  std::vector<Scenario> scenarios = all_scenarios();
  for (Scenario& scenario : scenarios) {
    scenario.name += "Fine";
    scenario.fine = true;
  }
  return scenarios;
}

Script parse_script(std::string_view text) {
  Script script;
  for (;;) {
    const auto end = text.find(", ");
    script.push_back(parse_command(text.substr(0, end)));
    if (end == std::string_view::npos) return script;
    text.remove_prefix(end + 2);
  }
}

std::vector<int> rows_of(const Command& command) {
  if (command.kind == Kind::kAddBoth || command.kind == Kind::kReadBoth) return {1, 2};
  if (command.row == 0) return {};
  return {command.row};
}

std::string describe(const Command& command) {
  const auto* const word =
      std::find_if(std::begin(kWords), std::end(kWords),
                   [&](const auto& each) { return each.second == command.kind; });
  std::string text(word->first);
  if (command.row != 0) text += {' ', static_cast<char>('A' + command.row - 1)};
  return text;
}

std::string tag_of(std::size_t process, std::size_t command) {
  return std::to_string(process) + '.' + std::to_string(command);
}

}  // namespace tarnwick::interleavings
