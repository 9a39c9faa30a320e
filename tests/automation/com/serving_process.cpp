#include "tests/automation/com/serving_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/apps/windows/process.h"

#include <psapi.h>  // behind windows.h

namespace tarnwick::test_support {
namespace {

constexpr wchar_t kProgram[] = L"Tarnwick.exe";

/// An open handle of any process (SystemExtendedHandleInformation). Wine does not count those of
/// one process.
struct OpenHandle {
  void* object;
  ULONG_PTR process;
  ULONG_PTR handle;
  ULONG access;
  USHORT creator;
  USHORT type;
  ULONG attributes;
  ULONG reserved;
};
struct OpenHandles {
  ULONG_PTR count;
  ULONG_PTR reserved;
  OpenHandle first;
};

}  // namespace

ServingProcess::ServingProcess() {
  // Of several that were started at once the one that serves came first.
  const std::vector<PROCESSENTRY32W> all = processes(kProgram);
  EXPECT_FALSE(all.empty());
  if (all.empty()) return;
  id_ = all.front().th32ProcessID;
  process_ = OpenProcess(PROCESS_QUERY_INFORMATION | SYNCHRONIZE, FALSE, id_);
  EXPECT_NE(process_, nullptr) << GetLastError();
}

std::size_t ServingProcess::memory() const {
  PROCESS_MEMORY_COUNTERS counters{};
  EXPECT_NE(GetProcessMemoryInfo(process_, &counters, sizeof counters), 0);
  EXPECT_GT(counters.PagefileUsage, 0u);
  return counters.PagefileUsage;
}

std::size_t ServingProcess::handles() const {
  constexpr ULONG kExtendedHandles = 64;
  // The header does not know that number.
  using Query = LONG WINAPI(ULONG what, void* buffer, ULONG size, ULONG* needed);
  auto* const query = reinterpret_cast<Query*>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"ntdll"), "NtQuerySystemInformation")));
  std::vector<OpenHandles> buffer(1u << 16);
  ULONG needed = 0;
  EXPECT_EQ(query(kExtendedHandles, buffer.data(),
                  static_cast<ULONG>(buffer.size() * sizeof(OpenHandles)), &needed),
            0);
  const OpenHandle* first = &buffer.front().first;
  const auto count = std::count_if(first, first + buffer.front().count,
                                   [&](const OpenHandle& each) { return each.process == id_; });
  EXPECT_GT(count, 0);
  return static_cast<std::size_t>(count);
}

std::size_t ServingProcess::threads() const {
  for (const PROCESSENTRY32W& each : processes(kProgram)) {
    if (each.th32ProcessID == id_) return each.cntThreads;
  }
  ADD_FAILURE() << "the process has ended";
  return 0;
}

}  // namespace tarnwick::test_support
