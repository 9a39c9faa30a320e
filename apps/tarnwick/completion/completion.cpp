#include "apps/tarnwick/completion/completion.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/completion/answer.h"
#include "apps/tarnwick/completion/scripts.h"
#include "apps/tarnwick/completion/shell_line.h"
#include "apps/tarnwick/output/print.h"
#include "platform/process.h"

namespace tarnwick::cli {
namespace {

// Whoever has pressed a key waits for no server that does not answer.
constexpr std::chrono::seconds kPatience{2};
// COMP_TYPE where bash only shows what there is: on the second press.
constexpr std::string_view kOnlyShown = "63";
constexpr std::size_t kLongestDescription = 60;

std::string_view heading(Answer::Kind kind) {
  switch (kind) {
    case Answer::Kind::kFiles:
      return "files";
    case Answer::Kind::kFolders:
      return "folders";
    default:
      return "words";
  }
}

// On one line, and before it anything that would end the line.
std::string in_one_line(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  }
  return text;
}

void print_for_any_shell(const Answer& answer) {
  print("{}\n", heading(answer.kind));
  for (const Candidate& candidate : answer.candidates) {
    print("{}{}{}\n", candidate.text, candidate.description.empty() ? "" : "\t",
          in_one_line(candidate.description));
  }
}

std::string shortened(const std::string& description) {
  if (description.size() <= kLongestDescription) return description;
  return description.substr(0, description.rfind(' ', kLongestDescription)) + " ...";
}

void print_for_bash(const Answer& answer, const ShellLine& line, bool only_shown) {
  print("{}\n", heading(line.redirects ? Answer::Kind::kFiles : answer.kind));
  if (line.redirects) return;
  const std::string kept = line.words.back().substr(0, line.kept);
  for (const Candidate& candidate : answer.candidates) {
    if (only_shown && answer.candidates.size() > 1) {
      const std::string description = in_one_line(shortened(candidate.description));
      print("{}{}\n", candidate.text,
            description.empty() ? "" : fmt::format("  ({})", description));
    } else if (candidate.text.starts_with(kept)) {
      print("{}\n", quoted_for_shell(candidate.text.substr(kept.size()), line.open_quote));
    }
  }
}

std::vector<std::string> lines_of(std::istream& input) {
  std::vector<std::string> lines;
  for (std::string line; std::getline(input, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  if (lines.empty()) lines.emplace_back();
  return lines;
}

// `words` without the name of the program.
Answer answer_to(CLI::App& app, std::span<const std::string> words) {
  platform::end_in(kPatience);
  return answer_for(find_place(app, words));
}

void answer_bash(CLI::App& app, std::span<const std::string> question) {
  const ShellLine line = parse_shell_line(question[0], question[2]);
  if (line.words.size() < 2) return;
  print_for_bash(answer_to(app, std::span(line.words).subspan(1)), line, question[1] == kOnlyShown);
}

}  // namespace

void add_completion_command(CLI::App& app, CommandLine& line) {
  const auto shell = std::make_shared<std::string>();
  add_command(
      app, line, "completion",
      "Prints what makes a shell complete commands, options and names. To switch it on in bash: "
      "source <(tarnwick completion bash)",
      "", [shell](const Options&) { print_text(completion_script(*shell)); })
      ->add_option("SHELL", *shell, "the shell: bash, zsh, fish or powershell")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish", "powershell"}));
}

std::optional<int> answer_shell(CLI::App& app, std::span<const std::string> words) {
  if (words.size() < 2 || words[0] != "complete") return std::nullopt;
  const auto question = std::span(words).subspan(2);
  if (words[1] == "--" && !question.empty()) {
    print_for_any_shell(answer_to(app, question));
  } else if (words[1] == "powershell" && question.empty()) {
    print_for_any_shell(answer_to(app, lines_of(std::cin)));
  } else if (words[1] == "bash" && question.size() == 3) {
    answer_bash(app, question);
  } else {
    return std::nullopt;
  }
  flush_output();
  return EXIT_SUCCESS;
}

}  // namespace tarnwick::cli
