#pragma once

#include <string>

namespace tarnwick::automation::com {

/// The object model as COM clients see it, in the language of interface descriptions: the tables,
/// and what only COM knows of them.
[[nodiscard]] std::string interface_description();

}  // namespace tarnwick::automation::com
