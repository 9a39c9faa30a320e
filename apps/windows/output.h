#pragma once

#include <string>

namespace tarnwick::apps {

/// Tells the user: where the standard streams lead, or on the console that started the program. A
/// program without a console of its own has to look for them. False when there is neither.
bool print(const std::wstring& text);
bool print_error(const std::wstring& text);

}  // namespace tarnwick::apps
