#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/interleavings/ledger.h"
#include "tests/interleavings/script.h"
#include "tests/support/intercepted_calls.h"

namespace tarnwick::interleavings {

/// Something that is wrong with the locks, for a try: whatever looks for broken promises has to
/// find it.
enum class Defect : std::uint8_t {
  kNone,
  kRowLockTakesNothing,     // the system says yes, and locks nothing
  kRowStaysLocked,          // it is not unlocked
  kRowUnlockedTooEarly,     // when the commit begins to write
  kRecordLockTakesNothing,  // the lock of the record of who holds a row
  kFileLockTakesNothing,    // that of SQLite's writer
};

/// The files of a database.
enum class File : std::uint8_t { kDatabase, kLog, kIndex, kLocks, kOther };

/// What a process tells before it goes on.
struct Report {
  enum class What : std::uint8_t {
    kReady,  // to begin with its script
    kCall,   // it is about to make a call
    kWait,   // it is about to sleep a little
    kTold,   // a command has ended; it goes on at once
    kEnd,    // all has been played; it only waits to be gone
  };
  static constexpr std::size_t kLongestText = 500;

  What what = What::kReady;
  test_support::SystemCall call{};
  File file = File::kOther;
  bool shared = false;
  std::int64_t offset = -1;
  std::int64_t size = 0;
  std::size_t command = 0;
  Answer::Outcome outcome = Answer::Outcome::kDone;
  char text[kLongestText + 1] = {};
};

/// A call in words, for people.
[[nodiscard]] std::string describe(const Report& call);

/// What a process is told after such a report.
enum class Order : char { kGoOn, kDieHalfWay };  // in the midst of the write

/// What one process of a run is.
struct Role {
  std::filesystem::path folder;  // of the database
  Script script;                 // its last command is for a transaction that failed
  std::size_t number = 0;
  int lock_timeout = -1;
  bool opened = true;  // before the script begins
  Defect defect = Defect::kNone;
  bool fine = false;  // stops at every call, also at those that only read
};

/// Plays the role in the present process, which stops at `socket` before each of its calls.
void act(const Role& role, int socket);

}  // namespace tarnwick::interleavings
