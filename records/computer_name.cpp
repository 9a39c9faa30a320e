#include "records/computer_name.h"

#include <array>

namespace tarnwick {

Text local_computer_name(platform::Host& host) {
  std::array<char16_t, 16> buffer{};
  if (!host.computer_name(buffer)) return {};
  const TextView name(buffer.data(), buffer.size());
  const std::size_t end = name.find(u'\0');
  // Without a NUL the name is taken as unusable, not as 16 characters long.
  return end == TextView::npos ? Text() : Text(name.substr(0, end));
}

}  // namespace tarnwick
