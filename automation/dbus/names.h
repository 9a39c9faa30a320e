#pragma once

#include <string>
#include <string_view>

#include "automation/model.h"

namespace tarnwick::automation::dbus {

/// Names on the bus that clients rely on.
inline constexpr char kBusName[] = "org.tarnwick.Security1";
/// Owned by the one process of a bus that may own kBusName; see NameOwner.
inline constexpr char kInstanceName[] = "org.tarnwick.Security1.Instance";
inline constexpr char kRootPath[] = "/org/tarnwick/Security1";
inline constexpr char kAutomationInterface[] = "org.tarnwick.Security1.Automation";
inline constexpr char kLastCauseInterface[] = "org.tarnwick.Security1.LastCause";
inline constexpr char kRecordInterface[] = "org.tarnwick.Security1.Record";
inline constexpr char kRowsInterface[] = "org.tarnwick.Security1.Rows";
/// Not ours: clients that answer questions export it.
inline constexpr char kLockPromptInterface[] = "org.tarnwick.Security1.LockPrompt";
/// Stands for no object.
inline constexpr char kNothingPath[] = "/";

[[nodiscard]] inline std::string interface_of(const Class& of) {
  return std::string(kBusName) + "." + std::string(of.name);
}

}  // namespace tarnwick::automation::dbus
