#include "automation/locked_record.h"

namespace tarnwick::automation {

bool is_locked(const Object& object) {
  const Member* locked = find_member(class_of(object.class_id), "Locked");
  return locked != nullptr && std::get<bool>(automation::call(object, *locked));
}

bool locks_record(const Member& member) {
  return member.name == "LockRecord" || member.name == "Update";
}

void LockedRecord::release() const {
  const Object record{class_id_, instance_.lock()};
  if (record && is_locked(record)) {
    automation::call(record, *find_member(class_of(class_id_), "ReleaseRecord"));
  }
}

}  // namespace tarnwick::automation
