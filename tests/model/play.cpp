// Plays made-up sequences until the time is over, and prints the shortest form of the first one in
// which the system does something else than the reference model.
// Usage: model_play SECONDS [SEED [LENGTH [bus | odbc]]] (the seed of the first sequence, 1
// without it; with "bus" the processes are services on buses of their own, with "odbc" the database
// is what stands in for SQL Server)

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "tests/model/player.h"

int main(int count, char** arguments) try {
  using namespace tarnwick::model;
  using Clock = std::chrono::steady_clock;
  const std::string_view way = count > 4 ? arguments[4] : "";
  if (count < 2 || count > 5 || (count == 5 && way != "bus" && way != "odbc")) {
    std::fputs("usage: model_play SECONDS [SEED [LENGTH [bus | odbc]]]\n", stderr);
    return 2;
  }
  const auto end = Clock::now() + std::chrono::seconds(std::strtol(arguments[1], nullptr, 10));
  auto seed = static_cast<std::uint32_t>(count > 2 ? std::strtoul(arguments[2], nullptr, 10) : 1);
  const std::size_t length = count > 3 ? std::strtoul(arguments[3], nullptr, 10) : 150;
  const Stage& stage = way == "bus" ? kOnBuses : way == "odbc" ? kOnSqlServer : kInHere;
  unsigned long sequences = 0;
  bool found = false;
  while (!found && Clock::now() < end) {
    const Steps steps = made_up_steps(seed, length);
    found = play(steps, stage).has_value();
    if (found) std::printf("seed %u\n%s", seed, as_test(shrunk(steps, stage), stage).c_str());
    ++seed;
    ++sequences;
  }
  std::printf("sequences: %lu, steps: %zu, the next seed: %u\n", sequences, sequences * length,
              seed);
  return found ? 1 : 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
