#include <windows.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/engines/odbc/sqlite_driver.h"

namespace tarnwick::odbc_test {

// The driver is one of the host, behind Wine's driver manager. Its list of drivers is named in the
// host's environment, which the test run sets: a program under Wine cannot.
SqliteDriver::SqliteDriver() {
  if (std::getenv("ODBCSYSINI") == nullptr) throw std::runtime_error("ODBCSYSINI is not set");
}

Text SqliteDriver::database() const {
  using HostName = char*(CDECL*)(LPCWSTR);
  const auto host_name = reinterpret_cast<HostName>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
  if (host_name == nullptr) throw std::runtime_error("this is not Wine");
  char* name = host_name((folder_.path() / "test.db").c_str());
  if (name == nullptr) throw std::runtime_error("wine_get_unix_file_name");
  const Text text = from_utf8(name);
  HeapFree(GetProcessHeap(), 0, name);
  return text;
}

}  // namespace tarnwick::odbc_test
