// Makes calls with made-up variants until the time is over, and says what did not hold.
// Usage: variant_play SECONDS [SEED [CALLS [across]]] (the seed of the first sequence, 1 without
// it; with "across" the objects are those of the registered server)

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <thread>

#include "tests/automation/com/variant_player.h"

#include "automation/com/com.h"

namespace {

volatile std::uint32_t seed = 1;

/// Ends the process when one sequence takes longer than a hundred of them would, on a busy machine:
/// beside another prefix of Wine one was seen to take a minute instead of two seconds.
void watch() {
  for (std::uint32_t watched = 0;;) {
    watched = seed;
    std::this_thread::sleep_for(std::chrono::minutes(5));
    if (watched != seed) continue;
    std::printf("seed %lu: no answer\n", static_cast<unsigned long>(watched));
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 1);
  }
}

LONG WINAPI tell_seed(EXCEPTION_POINTERS* what) {
  std::printf("seed %lu: exception %08lx at %p\n", static_cast<unsigned long>(seed),
              what->ExceptionRecord->ExceptionCode, what->ExceptionRecord->ExceptionAddress);
  std::fflush(stdout);
  TerminateProcess(GetCurrentProcess(), 1);
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

int main(int count, char** arguments) try {
  using namespace tarnwick::test_support;
  using Clock = std::chrono::steady_clock;
  if (count < 2 || count > 5 || (count == 5 && std::string_view(arguments[4]) != "across")) {
    std::fputs("usage: variant_play SECONDS [SEED [CALLS [across]]]\n", stderr);
    return 2;
  }
  SetUnhandledExceptionFilter(tell_seed);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  const auto end = Clock::now() + std::chrono::seconds(std::strtol(arguments[1], nullptr, 10));
  seed = static_cast<std::uint32_t>(count > 2 ? std::strtoul(arguments[2], nullptr, 10) : 1);
  const std::size_t calls = count > 3 ? std::strtoul(arguments[3], nullptr, 10) : 300;
  std::thread(watch).detach();
  const auto play = count > 4 ? &play_variants_across : &play_variants;
  unsigned long sequences = 0;
  std::string found;
  while (found.empty() && Clock::now() < end) {
    found = play(seed, calls);
    if (!found.empty())
      std::printf("seed %lu: %s\n", static_cast<unsigned long>(seed), found.c_str());
    seed = seed + 1;
    ++sequences;
  }
  std::printf("sequences: %lu, calls: %zu, the next seed: %lu\n", sequences, sequences * calls,
              static_cast<unsigned long>(seed));
  return found.empty() ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
