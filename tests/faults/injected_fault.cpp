#include "tests/faults/injected_fault.h"

#include <dlfcn.h>
#include <sqlite3.h>

#include <cstdlib>
#include <string_view>
#include <type_traits>

#include "tests/support/intercepted_calls.h"

namespace tarnwick::test_support {
namespace {

struct Countdown {
  std::size_t left = 0;
  int error = 0;

  /// The error that the present call is to fail with; 0 where it is not its turn.
  int take() { return left != 0 && --left == 0 ? error : 0; }
};
Countdown memory;
Countdown calls;
Countdown system_calls;
Countdown writes;

sqlite3_mem_methods plain_memory;

/// SQLite's memory, as it has it by default but for the allocation that fails.
struct FailingMemory {
  FailingMemory() {
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &plain_memory);
    sqlite3_mem_methods failing = plain_memory;
    failing.xMalloc = [](int size) {
      return memory.take() != 0 ? nullptr : plain_memory.xMalloc(size);
    };
    failing.xRealloc = [](void* block, int size) {
      return memory.take() != 0 ? nullptr : plain_memory.xRealloc(block, size);
    };
    sqlite3_config(SQLITE_CONFIG_MALLOC, &failing);
    // Small blocks come from there, and would never fail.
    sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0);
  }
} const failing_memory;

int fail_system_call(const InterceptedCall& call) {
  if (call.kind == SystemCall::kUnlock) return kGoOn;
  if (call.kind == SystemCall::kSleep) return kPassOver;
  if (call.kind == SystemCall::kWrite && writes.take() != 0) return kHalf;
  const int error = system_calls.take();
  if (error == 0 && call.kind == SystemCall::kSync) return kPassOver;
  return error;
}

// From the beginning to the end: what is never cut off from its power need not wait for the disk.
struct FailingSystem {
  FailingSystem() { intercept_calls(fail_system_call); }
} const failing_system;

template <class... Arguments>
int call(int (*function)(Arguments...), std::type_identity_t<Arguments>... arguments) {
  const int error = calls.take();
  return error != 0 ? error : function(arguments...);
}

}  // namespace

InjectedFault::InjectedFault(FaultKind kind, std::size_t nth, int error) {
  switch (kind) {
    case FaultKind::kAllocation:
      allocation_.emplace(nth);
      break;
    case FaultKind::kSqliteMemory:
      memory = {nth, SQLITE_NOMEM};
      break;
    case FaultKind::kSqliteCall:
      calls = {nth, error};
      break;
    case FaultKind::kShortWrite:
      writes = {nth, kHalf};
      break;
    case FaultKind::kSystemCall:
      system_calls = {nth, error};
      break;
  }
}

InjectedFault::~InjectedFault() { memory = calls = system_calls = writes = {}; }

bool InjectedFault::struck() const {
  if (allocation_) return allocation_->failed();
  return memory.left + calls.left + system_calls.left + writes.left == 0;
}

}  // namespace tarnwick::test_support

using tarnwick::test_support::call;

#define TARNWICK_FAILING(name, parameters, ...)                                                 \
  extern "C" int name parameters {                                                              \
    static auto* const function = reinterpret_cast<int(*) parameters>(dlsym(RTLD_NEXT, #name)); \
    return call(function, __VA_ARGS__);                                                         \
  }

extern "C" int sqlite3_open_v2(const char* file, sqlite3** handle, int flags, const char* layer) {
  static auto* const function = reinterpret_cast<int (*)(const char*, sqlite3**, int, const char*)>(
      dlsym(RTLD_NEXT, "sqlite3_open_v2"));
  *handle = nullptr;
  return call(function, file, handle, flags, layer);
}

extern "C" int sqlite3_step(sqlite3_stmt* statement) {
  static auto* const function =
      reinterpret_cast<int (*)(sqlite3_stmt*)>(dlsym(RTLD_NEXT, "sqlite3_step"));
  // The end of a transaction is what all else relies on: whatever it reports, SQLite rolls back.
  const char* const sql = sqlite3_sql(statement);
  if (sql != nullptr && std::string_view(sql) == "ROLLBACK") return function(statement);
  return call(function, statement);
}

TARNWICK_FAILING(sqlite3_prepare_v3,
                 (sqlite3 * handle, const char* sql, int size, unsigned flags,
                  sqlite3_stmt** statement, const char** tail),
                 handle, sql, size, flags, statement, tail)
TARNWICK_FAILING(sqlite3_bind_int64, (sqlite3_stmt * statement, int place, sqlite3_int64 value),
                 statement, place, value)
TARNWICK_FAILING(sqlite3_bind_double, (sqlite3_stmt * statement, int place, double value),
                 statement, place, value)
TARNWICK_FAILING(sqlite3_bind_null, (sqlite3_stmt * statement, int place), statement, place)
TARNWICK_FAILING(sqlite3_bind_text64,
                 (sqlite3_stmt * statement, int place, const char* text, sqlite3_uint64 size,
                  void (*release)(void*), unsigned char encoding),
                 statement, place, text, size, release, encoding)
TARNWICK_FAILING(sqlite3_bind_blob64,
                 (sqlite3_stmt * statement, int place, const void* bytes, sqlite3_uint64 size,
                  void (*release)(void*)),
                 statement, place, bytes, size, release)
TARNWICK_FAILING(sqlite3_bind_zeroblob64,
                 (sqlite3_stmt * statement, int place, sqlite3_uint64 size), statement, place, size)
TARNWICK_FAILING(sqlite3_blob_open,
                 (sqlite3 * handle, const char* schema, const char* table, const char* column,
                  sqlite3_int64 row, int flags, sqlite3_blob** blob),
                 handle, schema, table, column, row, flags, blob)
TARNWICK_FAILING(sqlite3_blob_read, (sqlite3_blob * blob, void* bytes, int size, int offset), blob,
                 bytes, size, offset)
TARNWICK_FAILING(sqlite3_blob_write, (sqlite3_blob * blob, const void* bytes, int size, int offset),
                 blob, bytes, size, offset)
TARNWICK_FAILING(sqlite3_vfs_register, (sqlite3_vfs * layer, int make_default), layer, make_default)
TARNWICK_FAILING(sqlite3_preupdate_old, (sqlite3 * handle, int column, sqlite3_value** value),
                 handle, column, value)
TARNWICK_FAILING(sqlite3_preupdate_new, (sqlite3 * handle, int column, sqlite3_value** value),
                 handle, column, value)
