#include "apps/windows/output.h"

#include "platform/windows/api.h"
#include "platform/windows/wide.h"

namespace tarnwick::apps {
namespace {

bool write_to_stream(HANDLE stream, const std::string& utf8) {
  if (stream == nullptr || stream == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  return WriteFile(stream, utf8.data(), static_cast<DWORD>(utf8.size()), &written, nullptr) != 0;
}

bool write_to_console(const std::wstring& text) {
  if (AttachConsole(ATTACH_PARENT_PROCESS) == 0) return false;
  const HANDLE console = CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                     nullptr, OPEN_EXISTING, 0, nullptr);
  DWORD written = 0;
  const bool done =
      console != INVALID_HANDLE_VALUE &&
      WriteConsoleW(console, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != 0;
  if (console != INVALID_HANDLE_VALUE) CloseHandle(console);
  FreeConsole();
  return done;
}

bool write(DWORD stream, const std::wstring& text) {
  const std::wstring line = text + L"\r\n";
  return write_to_stream(GetStdHandle(stream), to_display_utf8(platform::from_wide(line))) ||
         write_to_console(line);
}

}  // namespace

bool print(const std::wstring& text) { return write(STD_OUTPUT_HANDLE, text); }

bool print_error(const std::wstring& text) { return write(STD_ERROR_HANDLE, text); }

}  // namespace tarnwick::apps
