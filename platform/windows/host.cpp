#include "platform/windows/host.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/system_host.h"
#include "platform/windows/api.h"
#include "platform/windows/wide.h"

namespace tarnwick::platform {

std::wstring executable_file_name() {
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    if (length < name.size()) {
      name.resize(length);
      return name;
    }
    name.resize(name.size() * 2);
  }
}

WindowsHost::WindowsHost(MessageBox& message_box, std::filesystem::path folder)
    : message_box_(message_box),
      folder_(folder.empty() ? std::filesystem::path(executable_file_name()).parent_path()
                             : std::move(folder)) {}

bool WindowsHost::computer_name(std::span<char16_t> buffer) {
  std::vector<wchar_t> name(buffer.size());
  auto size = static_cast<DWORD>(name.size());
  if (GetComputerNameW(name.data(), &size) == 0) return false;
  std::ranges::copy_n(name.begin(), static_cast<std::ptrdiff_t>(size) + 1, buffer.begin());
  return true;
}

std::optional<Text> WindowsHost::module_file_name() { return from_wide(executable_file_name()); }

void WindowsHost::stop_in_debugger() {
  if (IsDebuggerPresent() != 0) DebugBreak();
}

std::unique_ptr<Host> make_host(MessageBox& message_box, std::filesystem::path folder) {
  return std::make_unique<WindowsHost>(message_box, std::move(folder));
}

}  // namespace tarnwick::platform
