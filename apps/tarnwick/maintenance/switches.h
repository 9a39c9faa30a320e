#pragma once

#include <string>

#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// The switch that sets the attribute, made from its name: "--software-version" for
/// SoftwareVersion, but for the few that are called otherwise. Empty where there is none: for a
/// part of the key, for what no write stores, and for what has commands of its own.
[[nodiscard]] std::string switch_of(const Attribute& attribute);

}  // namespace tarnwick::cli
