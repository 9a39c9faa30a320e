#include <windows.h>
// after windows.h
#include <lmcons.h>

#include <array>
#include <filesystem>
#include <string>

#include "engines/sqlite/holder.h"
#include "runtime/text.h"

namespace tarnwick::sqlite {
namespace {

std::string utf8(const std::wstring& text) {
  return to_display_utf8(Text(text.begin(), text.end()));
}

std::string user_name() {
  std::array<wchar_t, UNLEN + 1> name{};
  auto size = static_cast<DWORD>(name.size());
  return GetUserNameW(name.data(), &size) != 0 ? utf8(name.data()) : std::string();
}

std::string program_name() {
  constexpr std::size_t kLongest = 32'768;
  std::wstring file(kLongest, L'\0');
  const DWORD size = GetModuleFileNameW(nullptr, file.data(), static_cast<DWORD>(file.size()));
  file.resize(size);
  return utf8(std::filesystem::path(file).filename().wstring());
}

}  // namespace

Holder present_process() { return {program_name(), user_name()}; }

}  // namespace tarnwick::sqlite
