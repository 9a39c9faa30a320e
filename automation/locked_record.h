#pragma once

#include <memory>

#include "automation/model.h"

namespace tarnwick::automation {

/// Whether the object is a record and has its row locked.
[[nodiscard]] bool is_locked(const Object& object);

/// Whether a call of the member may leave its record locked: an update that was refused does.
[[nodiscard]] bool locks_record(const Member& member);

/// The record that a client's call left locked; keeps no record alive.
class LockedRecord {
 public:
  LockedRecord() = default;
  explicit LockedRecord(const Object& record)
      : class_id_(record.class_id), instance_(record.instance) {}

  [[nodiscard]] bool is(const std::shared_ptr<void>& instance) const {
    return instance_.lock() == instance;
  }
  /// As if the client had called ReleaseRecord, if the record is there and still locked.
  void release() const;

 private:
  ClassId class_id_{};
  std::weak_ptr<void> instance_;
};

}  // namespace tarnwick::automation
