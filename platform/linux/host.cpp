#include "platform/linux/host.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <utility>

#include "platform/system_host.h"

namespace tarnwick::platform {

Text computer_name_of(TextView host_name) {
  constexpr std::size_t kLongest = 15;
  return Text(host_name.substr(0, std::min(host_name.find(u'.'), kLongest)));
}

LinuxHost::LinuxHost(MessageBox& message_box, std::filesystem::path folder)
    : message_box_(message_box),
      folder_(folder.empty() ? std::filesystem::read_symlink("/proc/self/exe").parent_path()
                             : std::move(folder)) {}

bool LinuxHost::computer_name(std::span<char16_t> buffer) {
  char name[HOST_NAME_MAX + 1];
  if (gethostname(name, sizeof name) != 0) return false;
  const Text text = computer_name_of(from_stored_utf8(name));
  if (text.size() > buffer.size()) return false;
  std::ranges::copy(text, buffer.begin());
  if (text.size() < buffer.size()) buffer[text.size()] = u'\0';
  return true;
}

std::unique_ptr<Host> make_host(MessageBox& message_box, std::filesystem::path folder) {
  return std::make_unique<LinuxHost>(message_box, std::move(folder));
}

}  // namespace tarnwick::platform
