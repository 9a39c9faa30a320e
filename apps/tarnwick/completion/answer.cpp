#include "apps/tarnwick/completion/answer.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "apps/tarnwick/completion/names.h"
#include "apps/tarnwick/completion/values.h"
#include "apps/tarnwick/options.h"

namespace tarnwick::cli {
namespace {

// As a shell would have put it, had the word been complete: what is known of the environment.
std::string expanded(const std::string& word) {
  std::string text;
  std::size_t at = 0;
  if (word.starts_with("~/") && std::getenv("HOME") != nullptr) {
    text = std::getenv("HOME");
    at = 1;
  }
  while (at < word.size()) {
    const bool braced = word.compare(at, 2, "${") == 0;
    const std::size_t begin = at + (braced ? 2 : 1);
    const std::size_t end =
        std::min(word.find_first_not_of(
                     "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_", begin),
                 word.size());
    const char* value =
        word[at] == '$' ? std::getenv(word.substr(begin, end - begin).c_str()) : nullptr;
    if (value == nullptr) {
      text += word[at++];
    } else {
      text += value;
      at = end + (braced ? 1 : 0);
    }
  }
  return text;
}

Options options_of(const Place& place) {
  Options options;
  options.connect = expanded(value_given(place, "--connect"));
  options.role = expanded(value_given(place, "--role"));
  options.password_file = expanded(value_given(place, "--password-file"));
  return options;
}

bool is_excluded(const Place& place, const CLI::Option& option) {
  return std::ranges::any_of(option.get_excludes(),
                             [&](CLI::Option* other) { return place.given.contains(other); });
}

bool is_offered(const Place& place, CLI::Option& option) {
  return option.nonpositional() && !option.get_group().empty() && !place.given.contains(&option) &&
         !is_excluded(place, option);
}

void add_options_of(CLI::App& command, const Place& place, std::vector<Candidate>& to) {
  for (CLI::Option* option : command.get_options()) {
    if (is_offered(place, *option)) to.push_back({option->get_name(), option->get_description()});
  }
}

// The command's own first. Each has a --help, which is offered once.
std::vector<Candidate> all_options(const Place& place) {
  std::vector<Candidate> options;
  for (CLI::App* at = place.command; at != nullptr; at = at->get_parent()) {
    std::vector<Candidate> found;
    add_options_of(*at, place, found);
    for (Candidate& candidate : found) {
      if (std::ranges::find(options, candidate.text, &Candidate::text) == options.end()) {
        options.push_back(std::move(candidate));
      }
    }
  }
  return options;
}

std::vector<Candidate> commands_below(const CLI::App& command) {
  std::vector<Candidate> commands;
  for (const CLI::App* each : command.get_subcommands({})) {
    if (!each->get_group().empty()) commands.push_back({each->get_name(), each->get_description()});
  }
  return commands;
}

Answer values_for(const Place& place) {
  const Values values = values_of(*place.option);
  switch (values.kind) {
    case Values::Kind::kAny:
      return {};
    case Values::Kind::kListed: {
      Answer answer;
      for (const std::string& value : values.listed) answer.candidates.push_back({value});
      return answer;
    }
    case Values::Kind::kFile:
      return {Answer::Kind::kFiles};
    case Values::Kind::kFolder:
      return {Answer::Kind::kFolders};
    default:
      return {Answer::Kind::kWords,
              stored_names(options_of(place), {.kind = values.kind,
                                               .typed = place.typed,
                                               .component = value_given(place, "--component"),
                                               .computer = value_given(place, "COMPUTER")})};
  }
}

Answer all_candidates(const Place& place) {
  if (place.option != nullptr) return values_for(place);
  if (!place.kept.empty()) return {};
  if (!place.only_arguments && place.typed.starts_with('-')) {
    return {Answer::Kind::kWords, all_options(place)};
  }
  Answer answer{Answer::Kind::kWords, commands_below(*place.command)};
  // Where nothing but options can follow, nobody needs to type the "-" to see them.
  if (answer.candidates.empty() && !place.only_arguments && place.typed.empty()) {
    add_options_of(*place.command, place, answer.candidates);
  }
  return answer;
}

}  // namespace

Answer answer_for(const Place& place) {
  Answer answer = all_candidates(place);
  answer.candidates = beginning_with(place.typed, std::move(answer.candidates));
  for (Candidate& candidate : answer.candidates) candidate.text.insert(0, place.kept);
  return answer;
}

}  // namespace tarnwick::cli
