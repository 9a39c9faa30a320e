#include "tests/support/intercepted_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <type_traits>

namespace tarnwick::test_support {
namespace {

Interceptor interceptor = nullptr;
thread_local bool asking = false;
constexpr long kSecond = 1'000'000'000;
// By how much sleeps that were passed over have moved the clock on, in nanoseconds.
std::atomic<long> clock_moved{0};
bool clock_stands = false;
timespec time_of_standing_clock{};

int ask(const InterceptedCall& call) {
  if (interceptor == nullptr || asking) return kGoOn;
  const int before = errno;
  asking = true;
  const int answer = interceptor(call);
  asking = false;
  errno = before;
  return answer;
}

template <class Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <class First, class... Rest>
InterceptedCall described(SystemCall kind, First first, Rest... /*rest*/) {
  InterceptedCall call{.kind = kind};
  if constexpr (std::is_same_v<First, int>) call.file = first;
  if constexpr (std::is_same_v<First, const char*>) call.name = first;
  return call;
}

InterceptedCall described(SystemCall kind, int file, const void* bytes, size_t size,
                          off_t offset = -1) {
  return {.kind = kind,
          .file = file,
          .bytes = bytes,
          .offset = offset,
          .size = static_cast<std::int64_t>(size)};
}

template <class Flags>
InterceptedCall described(SystemCall kind, int /*folder*/, const char* /*file*/, int /*other*/,
                          const char* name, Flags /*flags*/) {
  return {.kind = kind, .name = name};
}

/// The call that `function` makes, unless the interceptor says otherwise.
template <class Result, class... Arguments>
Result call(const InterceptedCall& asked, Result failure, Result (*function)(Arguments...),
            std::type_identity_t<Arguments>... arguments) {
  const int answer = ask(asked);
  if (answer == kGoOn) return function(arguments...);
  if (answer == kPassOver) return Result{};
  errno = answer;
  return failure;
}

InterceptedCall described_command(int file, int command, const void* argument) {
  InterceptedCall call{.kind = SystemCall::kLookForLock, .file = file};
  const bool locks = command == F_SETLK || command == F_OFD_SETLK;
  if (!locks && command != F_GETLK && command != F_OFD_GETLK) return call;
  const auto& lock = *static_cast<const struct flock*>(argument);
  if (locks) call.kind = lock.l_type == F_UNLCK ? SystemCall::kUnlock : SystemCall::kLock;
  call.offset = lock.l_start;
  call.size = lock.l_len;
  call.shared = lock.l_type == F_RDLCK;
  return call;
}

/// As `call`, of a function that writes so many bytes.
template <class... Arguments>
ssize_t call_write(ssize_t (*function)(int, const void*, size_t, Arguments...), int file,
                   const void* bytes, size_t size, std::type_identity_t<Arguments>... arguments) {
  const int answer = ask(described(SystemCall::kWrite, file, bytes, size, arguments...));
  if (answer == kGoOn) return function(file, bytes, size, arguments...);
  if (answer == kHalf) return function(file, bytes, (size + 1) / 2, arguments...);
  if (answer == kPassOver) return 0;
  errno = answer;
  return -1;
}

int pass_over_sleep(const timespec& length) {
  clock_moved += length.tv_sec * kSecond + length.tv_nsec;
  return 0;
}

}  // namespace

void intercept_calls(Interceptor wanted) { interceptor = wanted; }

void stop_clock() {
  ::clock_gettime(CLOCK_MONOTONIC, &time_of_standing_clock);
  clock_moved = 0;
  clock_stands = true;
}

}  // namespace tarnwick::test_support

using namespace tarnwick::test_support;

// A function of the C library under its own symbol. The headers declare it, with attributes that
// differ between systems; so here it has a name of its own.
#define TARNWICK_INTERCEPTED(kind, result, failure, name, parameters, ...)                        \
  extern "C" result intercepted_##name parameters asm(#name);                                     \
  result intercepted_##name parameters {                                                          \
    static auto* const function = real<result parameters>(#name);                                 \
    return call(described(SystemCall::kind, __VA_ARGS__), static_cast<result>(failure), function, \
                __VA_ARGS__);                                                                     \
  }

TARNWICK_INTERCEPTED(kOpen, int, -1, open, (const char* file, int flags, mode_t mode), file, flags,
                     mode)
TARNWICK_INTERCEPTED(kOpen, int, -1, open64, (const char* file, int flags, mode_t mode), file,
                     flags, mode)
TARNWICK_INTERCEPTED(kStatus, int, -1, stat, (const char* file, void* status), file, status)
TARNWICK_INTERCEPTED(kStatus, int, -1, stat64, (const char* file, void* status), file, status)
TARNWICK_INTERCEPTED(kStatus, int, -1, lstat, (const char* file, void* status), file, status)
TARNWICK_INTERCEPTED(kStatus, int, -1, lstat64, (const char* file, void* status), file, status)
TARNWICK_INTERCEPTED(kStatus, int, -1, fstat, (int file, void* status), file, status)
TARNWICK_INTERCEPTED(kStatus, int, -1, fstat64, (int file, void* status), file, status)
TARNWICK_INTERCEPTED(kStatus, char*, nullptr, realpath, (const char* file, char* path), file, path)
TARNWICK_INTERCEPTED(kRead, ssize_t, -1, read, (int file, void* bytes, size_t size), file, bytes,
                     size)
TARNWICK_INTERCEPTED(kRead, ssize_t, -1, pread, (int file, void* bytes, size_t size, off_t offset),
                     file, bytes, size, offset)
TARNWICK_INTERCEPTED(kRead, ssize_t, -1, pread64,
                     (int file, void* bytes, size_t size, off_t offset), file, bytes, size, offset)
TARNWICK_INTERCEPTED(kResize, int, -1, ftruncate, (int file, off_t size), file, size)
TARNWICK_INTERCEPTED(kResize, int, -1, ftruncate64, (int file, off_t size), file, size)
TARNWICK_INTERCEPTED(kSync, int, -1, fsync, (int file), file)
TARNWICK_INTERCEPTED(kSync, int, -1, fdatasync, (int file), file)
TARNWICK_INTERCEPTED(kMap, void*, MAP_FAILED, mmap64,
                     (void* place, size_t size, int protection, int flags, int file, off_t offset),
                     place, size, protection, flags, file, offset)
TARNWICK_INTERCEPTED(kName, int, -1, fchmod, (int file, mode_t mode), file, mode)
TARNWICK_INTERCEPTED(kName, int, -1, fchown, (int file, uid_t user, gid_t group), file, user, group)
TARNWICK_INTERCEPTED(kName, int, -1, unlink, (const char* file), file)
TARNWICK_INTERCEPTED(kName, int, -1, rename, (const char* file, const char* name), file, name)
TARNWICK_INTERCEPTED(kName, int, -1, link, (const char* file, const char* name), file, name)
TARNWICK_INTERCEPTED(kName, int, -1, linkat,
                     (int folder, const char* file, int other, const char* name, int flags), folder,
                     file, other, name, flags)

TARNWICK_INTERCEPTED(kName, int, -1, renameat2,
                     (int folder, const char* file, int other, const char* name, unsigned flags),
                     folder, file, other, name, flags)
TARNWICK_INTERCEPTED(kName, ssize_t, -1, fgetxattr,
                     (int file, const char* name, void* value, size_t size), file, name, value,
                     size)
TARNWICK_INTERCEPTED(kName, int, -1, fsetxattr,
                     (int file, const char* name, const void* value, size_t size, int flags), file,
                     name, value, size, flags)
TARNWICK_INTERCEPTED(kName, int, -1, fremovexattr, (int file, const char* name), file, name)

#define TARNWICK_INTERCEPTED_WRITE(name, parameters, ...)          \
  extern "C" ssize_t intercepted_##name parameters asm(#name);     \
  ssize_t intercepted_##name parameters {                          \
    static auto* const function = real<ssize_t parameters>(#name); \
    return call_write(function, __VA_ARGS__);                      \
  }

TARNWICK_INTERCEPTED_WRITE(write, (int file, const void* bytes, size_t size), file, bytes, size)
TARNWICK_INTERCEPTED_WRITE(pwrite, (int file, const void* bytes, size_t size, off_t offset), file,
                           bytes, size, offset)
TARNWICK_INTERCEPTED_WRITE(pwrite64, (int file, const void* bytes, size_t size, off_t offset), file,
                           bytes, size, offset)

#define TARNWICK_INTERCEPTED_FCNTL(name)                                                 \
  extern "C" int intercepted_##name(int file, int command, void* argument) asm(#name);   \
  int intercepted_##name(int file, int command, void* argument) {                        \
    static auto* const function = real<int(int, int, void*)>(#name);                     \
    return call(described_command(file, command, argument), -1, function, file, command, \
                argument);                                                               \
  }

TARNWICK_INTERCEPTED_FCNTL(fcntl)
TARNWICK_INTERCEPTED_FCNTL(fcntl64)

extern "C" int intercepted_nanosleep(const timespec* length, timespec* left) asm("nanosleep");
int intercepted_nanosleep(const timespec* length, timespec* left) {
  static auto* const function = real<int(const timespec*, timespec*)>("nanosleep");
  return ask({.kind = SystemCall::kSleep}) == kGoOn ? function(length, left)
                                                    : pass_over_sleep(*length);
}

extern "C" int intercepted_usleep(useconds_t length) asm("usleep");
int intercepted_usleep(useconds_t length) {
  static auto* const function = real<int(useconds_t)>("usleep");
  if (ask({.kind = SystemCall::kSleep}) == kGoOn) return function(length);
  return pass_over_sleep({length / 1'000'000, static_cast<long>(length % 1'000'000) * 1'000});
}

extern "C" int intercepted_clock_gettime(clockid_t clock, timespec* time) asm("clock_gettime");
int intercepted_clock_gettime(clockid_t clock, timespec* time) {
  static auto* const function = real<int(clockid_t, timespec*)>("clock_gettime");
  const int result = function(clock, time);
  if (clock == CLOCK_MONOTONIC && result == 0) {
    if (clock_stands) *time = time_of_standing_clock;
    const long nanoseconds = time->tv_nsec + clock_moved;
    time->tv_sec += nanoseconds / kSecond;
    time->tv_nsec = nanoseconds % kSecond;
  }
  return result;
}
