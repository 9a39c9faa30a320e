#pragma once

#include <cstdint>

namespace tarnwick::ado {

// Names and values are those of the ADO enumerations that the constants belong to, as the public
// ADO reference lists them.

/// ObjectStateEnum
enum class ObjectState : std::int32_t { kClosed = 0, kOpen = 1 };

/// CursorLocationEnum
enum class CursorLocation : std::int32_t { kServer = 2, kClient = 3 };

/// CursorTypeEnum
enum class CursorType : std::int32_t { kForwardOnly = 0, kKeyset = 1, kDynamic = 2, kStatic = 3 };

/// LockTypeEnum
enum class LockType : std::int32_t {
  kReadOnly = 1,
  kPessimistic = 2,
  kOptimistic = 3,
  kBatchOptimistic = 4,
};

/// Options of Connection::execute and Recordset::open (CommandTypeEnum, ExecuteOptionEnum).
inline constexpr std::int32_t kOptionUnspecified = -1;
inline constexpr std::int32_t kCommandText = 1;
inline constexpr std::int32_t kExecuteNoRecords = 128;

/// EditModeEnum
enum class EditMode : std::int32_t { kNone = 0, kInProgress = 1, kAdd = 2 };

/// StreamTypeEnum
enum class StreamType : std::int32_t { kBinary = 1, kText = 2 };

/// SaveOptionsEnum
enum class SaveOption : std::int32_t { kCreateNotExist = 1, kCreateOverWrite = 2 };

/// StreamReadEnum, for Stream::read, read_text and copy_to
inline constexpr std::int64_t kReadAll = -1;

}  // namespace tarnwick::ado
