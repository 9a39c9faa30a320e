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

int ask(SystemCall call) {
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

/// The call that `function` makes, unless the interceptor says otherwise.
template <class Result, class... Arguments>
Result call(SystemCall kind, Result failure, Result (*function)(Arguments...),
            std::type_identity_t<Arguments>... arguments) {
  const int answer = ask(kind);
  if (answer == kGoOn) return function(arguments...);
  if (answer == kPassOver) return Result{};
  errno = answer;
  return failure;
}

/// As `call`, of a function that writes so many bytes.
template <class... Arguments>
ssize_t call_write(ssize_t (*function)(int, const void*, size_t, Arguments...), int file,
                   const void* bytes, size_t size, std::type_identity_t<Arguments>... arguments) {
  const int answer = ask(SystemCall::kWrite);
  if (answer == kGoOn) return function(file, bytes, size, arguments...);
  if (answer == kHalf) return function(file, bytes, (size + 1) / 2, arguments...);
  if (answer == kPassOver) return 0;
  errno = answer;
  return -1;
}

SystemCall kind_of_command(int command, const void* argument) {
  if (command != F_SETLK && command != F_OFD_SETLK) return SystemCall::kLookForLock;
  const short type = static_cast<const struct flock*>(argument)->l_type;
  return type == F_UNLCK ? SystemCall::kUnlock : SystemCall::kLock;
}

int pass_over_sleep(const timespec& length) {
  clock_moved += length.tv_sec * kSecond + length.tv_nsec;
  return 0;
}

}  // namespace

void intercept_calls(Interceptor wanted) { interceptor = wanted; }

}  // namespace tarnwick::test_support

using namespace tarnwick::test_support;

// A function of the C library under its own symbol. The headers declare it, with attributes that
// differ between systems; so here it has a name of its own.
#define TARNWICK_INTERCEPTED(kind, result, failure, name, parameters, ...)              \
  extern "C" result intercepted_##name parameters asm(#name);                           \
  result intercepted_##name parameters {                                                \
    static auto* const function = real<result parameters>(#name);                       \
    return call(SystemCall::kind, static_cast<result>(failure), function, __VA_ARGS__); \
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
TARNWICK_INTERCEPTED(kName, int, -1, linkat,
                     (int folder, const char* file, int other, const char* name, int flags), folder,
                     file, other, name, flags)

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
#define TARNWICK_INTERCEPTED_FCNTL(name)                                                    \
  extern "C" int intercepted_##name(int file, int command, void* argument) asm(#name);      \
  int intercepted_##name(int file, int command, void* argument) {                           \
    static auto* const function = real<int(int, int, void*)>(#name);                        \
    return call(kind_of_command(command, argument), -1, function, file, command, argument); \
  }

TARNWICK_INTERCEPTED_FCNTL(fcntl)
TARNWICK_INTERCEPTED_FCNTL(fcntl64)

extern "C" int intercepted_nanosleep(const timespec* length, timespec* left) asm("nanosleep");
int intercepted_nanosleep(const timespec* length, timespec* left) {
  static auto* const function = real<int(const timespec*, timespec*)>("nanosleep");
  return ask(SystemCall::kSleep) == kGoOn ? function(length, left) : pass_over_sleep(*length);
}

extern "C" int intercepted_usleep(useconds_t length) asm("usleep");
int intercepted_usleep(useconds_t length) {
  static auto* const function = real<int(useconds_t)>("usleep");
  if (ask(SystemCall::kSleep) == kGoOn) return function(length);
  return pass_over_sleep({length / 1'000'000, static_cast<long>(length % 1'000'000) * 1'000});
}

extern "C" int intercepted_clock_gettime(clockid_t clock, timespec* time) asm("clock_gettime");
int intercepted_clock_gettime(clockid_t clock, timespec* time) {
  static auto* const function = real<int(clockid_t, timespec*)>("clock_gettime");
  const int result = function(clock, time);
  if (clock == CLOCK_MONOTONIC && result == 0) {
    const long nanoseconds = time->tv_nsec + clock_moved;
    time->tv_sec += nanoseconds / kSecond;
    time->tv_nsec = nanoseconds % kSecond;
  }
  return result;
}
