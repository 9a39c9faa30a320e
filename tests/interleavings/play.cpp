// Plays the scenarios in one order of their processes' steps after the other until the time is
// over, first those with few deviations. Where a promise is broken, it prints which, and how to
// play that order again. Usage: interleavings_play SECONDS [FILE]     FILE: where it was up to,
// kept for the next time
//        interleavings_play SCENARIO [ORDER]   one order, with all its steps

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/interleavings/order.h"

namespace {

using namespace tarnwick::interleavings;

constexpr std::size_t kMostDeviations = 9;

/// The finer steps behind the others.
std::vector<Scenario> played_scenarios() {
  std::vector<Scenario> scenarios = all_scenarios();
  for (Scenario& scenario : fine_scenarios()) scenarios.push_back(std::move(scenario));
  return scenarios;
}

/// Where it is up to.
struct Place {
  std::size_t deviations = 1;
  std::size_t scenario = 0;
  std::string order;
};

Place read_place(const char* file, const std::vector<Scenario>& scenarios) {
  Place place;
  std::string line;
  std::ifstream stream(file);
  if (!std::getline(stream, line)) return place;
  const auto first = line.find(' ');
  const auto second = line.find(' ', first + 1);
  if (second == std::string::npos) return place;
  const std::string name = line.substr(first + 1, second - first - 1);
  const auto found = std::find_if(scenarios.begin(), scenarios.end(),
                                  [&](const Scenario& each) { return each.name == name; });
  if (found == scenarios.end()) return place;
  place.deviations =
      std::clamp<std::size_t>(std::strtoul(line.c_str(), nullptr, 10), 1, kMostDeviations);
  place.scenario = static_cast<std::size_t>(found - scenarios.begin());
  const std::string order = line.substr(second + 1);
  if (order.find_first_not_of("0123456789:,") == std::string::npos) place.order = order;
  return place;
}

int play_for(long seconds, const char* file) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  const auto scenarios = played_scenarios();
  Playground playground;
  Place place = file != nullptr ? read_place(file, scenarios) : Place{};
  std::size_t orders = 0;
  bool found = false;
  while (!found && Clock::now() < end && place.deviations <= kMostDeviations) {
    const Scenario& scenario = scenarios[place.scenario];
    Search tried = search(playground, scenario, place.deviations, Defect::kNone, place.order,
                          [&] { return Clock::now() < end; });
    orders += tried.orders;
    std::printf("%s, up to %zu deviations, from '%s': tried %zu of up to %zu steps%s\n",
                scenario.name.c_str(), place.deviations, place.order.c_str(), tried.orders,
                tried.longest, tried.complete ? ", that is all" : "");
    found = tried.found.has_value();
    if (found) std::fputs(account_of(scenario, tried.at, *tried.found).c_str(), stdout);
    std::fflush(stdout);
    if (tried.complete) {
      place.order.clear();
      if (++place.scenario == scenarios.size()) {
        place.scenario = 0;
        ++place.deviations;
      }
    } else {
      place.order = tried.at;
    }
  }
  // An order that broke a promise is where the next run begins.
  if (file != nullptr) {
    std::ofstream(file) << place.deviations << ' ' << scenarios[place.scenario].name << ' '
                        << place.order << '\n';
  }
  std::printf("orders: %zu\n", orders);
  return found ? 1 : 0;
}

int play_once(std::string_view name, std::string_view order) {
  for (const Scenario& scenario : played_scenarios()) {
    if (scenario.name != name) continue;
    Choices choices(kMostDeviations, order);
    const Result outcome = Playground().play(scenario, choices);
    std::fputs(account_of(scenario, std::string(order), outcome).c_str(), stdout);
    return outcome.broken ? 1 : 0;
  }
  std::fprintf(stderr, "there is no scenario %.*s; there are:\n", static_cast<int>(name.size()),
               name.data());
  for (const Scenario& scenario : played_scenarios()) {
    std::fprintf(stderr, "  %s\n", scenario.name.c_str());
  }
  return 2;
}

}  // namespace

int main(int count, char** arguments) try {
  if (count < 2 || count > 3) {
    std::fputs("usage: interleavings_play SECONDS [FILE] | SCENARIO [ORDER]\n", stderr);
    return 2;
  }
  char* end = nullptr;
  const long seconds = std::strtol(arguments[1], &end, 10);
  if (*end == '\0') return play_for(seconds, count > 2 ? arguments[2] : nullptr);
  return play_once(arguments[1], count > 2 ? arguments[2] : "");
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
