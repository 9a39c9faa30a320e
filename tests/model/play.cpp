// Plays made-up sequences until the time is over, and prints the shortest form of the first one in
// which the system does something else than the reference model.
// Usage: model_play SECONDS [SEED [LENGTH [STAGE]]] (the seed of the first sequence, 1 without it;
// the stage, "here" without it: "bus", where the processes are services on buses of their own,
// "odbc", where the database is what stands in for SQL Server, or, on Windows, "com", where the
// first process is the registered server)

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "tests/model/player.h"

namespace {

std::uint32_t seed = 1;

}  // namespace

int main(int count, char** arguments) try {
  using namespace tarnwick::model;
  using Clock = std::chrono::steady_clock;
  const std::string_view name = count > 4 ? arguments[4] : "here";
  const auto chosen = std::find_if(stages().begin(), stages().end(),
                                   [&](const NamedStage& each) { return each.name == name; });
  if (count < 2 || count > 5 || chosen == stages().end()) {
    std::fputs("usage: model_play SECONDS [SEED [LENGTH [STAGE]]]\n", stderr);
    return 2;
  }
  const Stage& stage = *chosen->stage;
  const auto end = Clock::now() + std::chrono::seconds(std::strtol(arguments[1], nullptr, 10));
  if (count > 2) seed = static_cast<std::uint32_t>(std::strtoul(arguments[2], nullptr, 10));
  const std::size_t length = count > 3 ? std::strtoul(arguments[3], nullptr, 10) : 150;
  unsigned long sequences = 0;
  bool found = false;
  while (!found && Clock::now() < end) {
    const Steps steps = made_up_steps(seed, length);
    if (const auto difference = play(steps, stage)) {
      // The shortest form takes its time.
      std::printf("seed %lu, step %zu:\n%s\n", static_cast<unsigned long>(seed), difference->step,
                  difference->what.c_str());
      std::fflush(stdout);
      std::puts(as_test(shrunk(steps, stage), stage).c_str());
      found = true;
    }
    ++seed;
    ++sequences;
  }
  std::printf("sequences: %lu, steps: %lu, the next seed: %lu\n", sequences,
              sequences * static_cast<unsigned long>(length), static_cast<unsigned long>(seed));
  return found ? 1 : 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "seed %lu: %s\n", static_cast<unsigned long>(seed), error.what());
  return 1;
}
