// Plays made-up sequences until the time is over, and prints the shortest form of the first one in
// which the system does something else than the reference model.
// Usage: model_play MINUTES [SEED [LENGTH]] (the seed of the first sequence, 1 without it)

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "tests/model/player.h"

int main(int count, char** arguments) try {
  using namespace tarnwick::model;
  using Clock = std::chrono::steady_clock;
  if (count < 2 || count > 4) {
    std::fputs("usage: model_play MINUTES [SEED [LENGTH]]\n", stderr);
    return 2;
  }
  const double minutes = std::strtod(arguments[1], nullptr);
  auto seed = static_cast<std::uint32_t>(count > 2 ? std::strtoul(arguments[2], nullptr, 10) : 1);
  const std::size_t length = count > 3 ? std::strtoul(arguments[3], nullptr, 10) : 150;
  const auto end = Clock::now() + std::chrono::duration<double>(minutes * 60);
  unsigned long sequences = 0;
  for (; Clock::now() < end; ++seed, ++sequences) {
    const Steps steps = made_up_steps(seed, length);
    if (!play(steps, &make_process_in_here)) continue;
    std::printf("seed %u, after %lu sequences\n%s", seed, sequences,
                as_test(shrunk(steps, &make_process_in_here), &make_process_in_here).c_str());
    return 1;
  }
  std::printf("%lu sequences, %lu steps, the next seed is %u\n", sequences,
              static_cast<unsigned long>(sequences * length), seed);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
