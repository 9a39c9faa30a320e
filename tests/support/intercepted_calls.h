#pragma once

#include <cstdint>

namespace tarnwick::test_support {

/// What a program is about to ask of the operating system.
enum class SystemCall : std::uint8_t {
  kOpen,
  kStatus,
  kRead,
  kWrite,
  kResize,
  kSync,
  kMap,
  kName,  // a name, an owner or permissions are given or taken
  kLock,
  kUnlock,
  kLookForLock,
  kSleep,
};

/// A call that a program is about to make, as far as its kind has these.
struct InterceptedCall {
  SystemCall kind;
  int file = -1;                // open; that of a folder for names in one
  const char* name = nullptr;   // of a file that is not opened by it, or is opened
  const void* bytes = nullptr;  // that are to be written
  std::int64_t offset = -1;     // where they are written, or where the locked ones begin
  std::int64_t size = 0;        // how many are written or locked
  bool shared = false;          // a lock that others may share
};

/// What an interceptor answers beside the number of the error that the call fails with.
inline constexpr int kGoOn = 0;
/// The call does nothing and succeeds. A sleep: the clock that waits are measured by moves on.
inline constexpr int kPassOver = -1;
/// The first half of what was to be written is written. For kWrite alone.
inline constexpr int kHalf = -2;

/// Asked before each of these calls, whoever in the program makes it: our own code, SQLite, the C++
/// library.
using Interceptor = int (*)(const InterceptedCall& call);

/// From now on `interceptor` is asked; nobody with nullptr. The calls that it makes itself go
/// through. Only for programs that have intercepted_calls.cpp among their sources, where it takes
/// the place of the C library's functions.
void intercept_calls(Interceptor interceptor);

/// From now on the clock that waits are measured by moves on by the sleeps that are passed over,
/// and not otherwise: how often something looks again before its time is over depends on nothing
/// else.
void stop_clock();

}  // namespace tarnwick::test_support
