#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "runtime/error.h"

namespace tarnwick::ado {

/// Numbers of the data-access layer's errors: ADO's own (ErrorValueEnum) and the OLE DB codes that
/// providers return. Numbers and descriptions are those of the public ADO and OLE DB references.
enum class AdoErrorNumber : std::int32_t {
  kInvalidArgument = 3001,
  kCannotOpenFile = 3002,
  kCannotReadFile = 3003,
  kCannotWriteFile = 3004,
  kNoCurrentRecord = 3021,
  kIllegalOperation = 3219,
  kInTransaction = 3246,
  kFeatureNotAvailable = 3251,
  kItemNotFound = 3265,
  kDataConversion = 3421,
  kObjectClosed = 3704,
  kObjectOpen = 3705,
  kProviderNotFound = 3706,
  kInvalidConnection = 3709,
  kUnspecified = static_cast<std::int32_t>(0x80004005u),
  kPermissionDenied = static_cast<std::int32_t>(0x80040E09u),
  kCommandError = static_cast<std::int32_t>(0x80040E14u),
  kIntegrityViolation = static_cast<std::int32_t>(0x80040E2Fu),
  kTimeout = static_cast<std::int32_t>(0x80040E31u),
  kRowNotLocated = static_cast<std::int32_t>(0x80040E38u),
  kAuthenticationFailed = static_cast<std::int32_t>(0x80040E4Du),
  kOneTransactionOnly = static_cast<std::int32_t>(0x8004D013u),
  kNoTransaction = static_cast<std::int32_t>(0x8004D00Eu),
};

/// SQL Server's native number of a lock time-out; both engines report it.
inline constexpr std::int32_t kNativeLockTimeout = 1222;
inline constexpr TextView kLockTimeoutText = u"Lock request time out period exceeded.";

/// What kind of failure an error stands for, for whoever has to act on it. The values are those
/// that clients are told.
enum class FailureKind : std::int32_t {
  kNone = 0,
  kOther = 1,
  kLockTimeout = 2,     ///< another session holds the row
  kDeadlock = 3,        ///< the engine gave this transaction up for another one
  kConnectionLost = 4,  ///< the connection is closed
  kDiskFull = 5,        ///< also a quota, a log, the largest size of a file
  kTimeout = 6,         ///< the database did not answer in time
  kChanged = 7,         ///< the row is not what it was when it was read
  kRefused = 8,         ///< by a rule: of the database, or of the object model
};

/// The description that goes with `number`, or an empty text where the provider words it.
[[nodiscard]] TextView description_of(AdoErrorNumber number);

/// The kind that an error with this number is of where nothing more is known.
[[nodiscard]] FailureKind kind_of(AdoErrorNumber number);

/// An error of the data-access layer or of an engine. `sqlstate` and `native` are the engine's own
/// codes (empty and 0 where it has none).
class AdoError : public Error {
 public:
  explicit AdoError(AdoErrorNumber number);
  AdoError(AdoErrorNumber number, Text description, std::int32_t native = 0,
           std::string sqlstate = {}, std::optional<FailureKind> kind = std::nullopt);

  [[nodiscard]] std::int32_t native() const noexcept { return native_; }
  [[nodiscard]] const std::string& sqlstate() const noexcept { return sqlstate_; }
  [[nodiscard]] FailureKind kind() const noexcept { return kind_; }

 private:
  std::int32_t native_ = 0;
  std::string sqlstate_;
  FailureKind kind_;
};

/// The engine has lost its database for good: the connection is closed, its transaction is gone.
class ConnectionLost : public AdoError {
 public:
  explicit ConnectionLost(AdoErrorNumber number);
  ConnectionLost(AdoErrorNumber number, Text description, std::int32_t native = 0,
                 std::string sqlstate = {});
};

/// Lock time-out: -2147467259 (unspecified), native 1222.
[[nodiscard]] AdoError lock_timeout();

}  // namespace tarnwick::ado
