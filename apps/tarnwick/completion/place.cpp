#include "apps/tarnwick/completion/place.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

namespace tarnwick::cli {
namespace {

bool takes_value(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

bool begins_option(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

// "--name=value" in its two parts; without a "=" there is no second one.
struct Assignment {
  explicit Assignment(const std::string& word)
      : name(word.substr(0, word.find('='))),
        has_value(name.size() < word.size()),
        value(has_value ? word.substr(name.size() + 1) : std::string()) {}
  std::string name;
  bool has_value;
  std::string value;
};

class Walk final {
 public:
  explicit Walk(CLI::App& program) { place_.command = &program; }

  void pass(const std::string& word) {
    if (waiting_ != nullptr) {
      place_.given[waiting_] = word;
      waiting_ = nullptr;
    } else if (place_.only_arguments || !begins_option(word)) {
      pass_argument(word);
    } else if (word == "--") {
      place_.only_arguments = true;
    } else if (word.starts_with("--")) {
      pass_long_option(Assignment(word));
    } else {
      pass_short_options(word);
    }
  }

  Place stand_in(const std::string& word) {
    place_.typed = word;
    if (waiting_ != nullptr) {
      place_.option = waiting_;
    } else if (place_.only_arguments || !word.starts_with('-')) {
      place_.option = next_argument();
    } else if (const Assignment assignment(word); assignment.has_value) {
      place_.option = find_option(*place_.command, assignment.name);
      place_.kept = assignment.name + "=";
      place_.typed = assignment.value;
    }
    return std::move(place_);
  }

 private:
  void pass_long_option(const Assignment& assignment) {
    CLI::Option* option = find_option(*place_.command, assignment.name);
    if (option == nullptr) return;
    place_.given[option] = assignment.value;
    if (takes_value(*option) && !assignment.has_value) waiting_ = option;
  }

  // "-v", "-vx", "-fvalue".
  void pass_short_options(const std::string& word) {
    for (std::size_t at = 1; at < word.size(); ++at) {
      CLI::Option* option = find_option(*place_.command, std::string{'-', word[at]});
      if (option == nullptr) return;
      place_.given[option] = word.substr(at + 1);
      if (!takes_value(*option)) continue;
      if (at + 1 == word.size()) waiting_ = option;
      return;
    }
  }

  void pass_argument(const std::string& word) {
    if (CLI::Option* argument = next_argument()) {
      place_.given[argument] = word;
      return;
    }
    const auto named = place_.command->get_subcommands(
        [&](const CLI::App* command) { return command->check_name(word); });
    if (!named.empty()) place_.command = named.front();
  }

  [[nodiscard]] CLI::Option* next_argument() const {
    for (CLI::Option* option : place_.command->get_options()) {
      if (option->get_positional() && !place_.given.contains(option)) return option;
    }
    return nullptr;
  }

  Place place_;
  CLI::Option* waiting_ = nullptr;  // for its value, in the next word
};

}  // namespace

Place find_place(CLI::App& program, std::span<const std::string> words) {
  Walk walk(program);
  for (const std::string& word : words.first(words.size() - 1)) walk.pass(word);
  return walk.stand_in(words.back());
}

CLI::Option* find_option(CLI::App& command, const std::string& name) {
  for (CLI::App* at = &command; at != nullptr; at = at->get_parent()) {
    if (CLI::Option* option = at->get_option_no_throw(name)) return option;
  }
  return nullptr;
}

std::string value_given(const Place& place, const std::string& name) {
  CLI::Option* option = find_option(*place.command, name);
  if (option == nullptr) return {};
  if (const auto found = place.given.find(option); found != place.given.end()) return found->second;
  const std::string variable = option->get_envname();
  const char* value = variable.empty() ? nullptr : std::getenv(variable.c_str());
  return value == nullptr ? "" : value;
}

}  // namespace tarnwick::cli
