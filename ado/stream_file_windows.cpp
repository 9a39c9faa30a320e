#include <windows.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "ado/stream_file.h"

namespace tarnwick::ado {
namespace {

namespace fs = std::filesystem;

// One call of the system moves at most that much.
constexpr std::size_t kMostAtOnce = std::size_t{64} << 20;

// What listens at a pipe's name may not act as this process.
constexpr DWORD kHarmless = SECURITY_SQOS_PRESENT | SECURITY_ANONYMOUS;

std::error_code last_error() {
  const DWORD code = GetLastError();
  // What another program has open and does not share: in the words of the C library's files.
  if (code == ERROR_SHARING_VIOLATION) return std::make_error_code(std::errc::permission_denied);
  // The system's own words come in the user's language; the standard ones stay the same.
  const std::error_condition condition =
      std::error_code(static_cast<int>(code), std::system_category()).default_error_condition();
  return {condition.value(), condition.category()};
}

class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() { close(); }
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE get() const { return handle_; }
  bool close() {
    const HANDLE handle = std::exchange(handle_, INVALID_HANDLE_VALUE);
    return handle == INVALID_HANDLE_VALUE || CloseHandle(handle) != 0;
  }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

/// Devices answer to reserved names in every folder, and pipes to names of their own.
bool is_on_disk(const Handle& handle) { return GetFileType(handle.get()) == FILE_TYPE_DISK; }

/// Who may do what with the file that is replaced; empty where there is none.
using AccessRights = std::vector<std::byte>;

AccessRights access_rights_of(const fs::path& file) {
  constexpr SECURITY_INFORMATION kWanted = DACL_SECURITY_INFORMATION;
  DWORD size = 0;
  GetFileSecurityW(file.c_str(), kWanted, nullptr, 0, &size);
  if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    throw file_error(AdoErrorNumber::kCannotWriteFile, file, last_error());
  }
  AccessRights rights(size);
  if (GetFileSecurityW(file.c_str(), kWanted, rights.data(), size, &size) == 0) {
    throw file_error(AdoErrorNumber::kCannotWriteFile, file, last_error());
  }
  return rights;
}

/// Those of what is at `file`. Throws unless it is a regular file that may be written, or nothing.
AccessRights require_replaceable(const fs::path& file) {
  constexpr auto kFailure = AdoErrorNumber::kCannotWriteFile;
  const Handle probe(CreateFileW(file.c_str(), GENERIC_WRITE,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                 OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | kHarmless, nullptr));
  if (!probe) {
    if (GetLastError() == ERROR_FILE_NOT_FOUND) return {};
    throw file_error(kFailure, file, last_error());
  }
  if (!is_on_disk(probe)) throw file_error(kFailure, file, kNotRegular);
  BY_HANDLE_FILE_INFORMATION information{};
  if (GetFileInformationByHandle(probe.get(), &information) == 0) {
    throw file_error(kFailure, file, last_error());
  }
  if ((information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    throw file_error(kFailure, file, kSymbolicLink);
  }
  return access_rights_of(file);
}

/// The file that is to be, under a name of its own until it is whole.
class NewFile {
 public:
  /// `rights`: empty for those that the folder hands down.
  NewFile(const fs::path& file, AccessRights rights) : file_(file), name_(temporary_beside(file)) {
    SECURITY_ATTRIBUTES attributes{sizeof attributes, rights.data(), FALSE};
    handle_ =
        Handle(CreateFileW(name_.c_str(), GENERIC_WRITE, 0, rights.empty() ? nullptr : &attributes,
                           CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle_) throw failure();
  }
  ~NewFile() {
    if (name_.empty()) return;
    handle_.close();
    DeleteFileW(name_.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(std::span<const std::byte> content) {
    while (!content.empty()) {
      const auto size = static_cast<DWORD>(std::min(content.size(), kMostAtOnce));
      DWORD put = 0;
      if (WriteFile(handle_.get(), content.data(), size, &put, nullptr) == 0) throw failure();
      content = content.subspan(put);
    }
    if (!handle_.close()) throw failure();
  }

  void take_name(bool replacing) {
    if (MoveFileExW(name_.c_str(), file_.c_str(), replacing ? MOVEFILE_REPLACE_EXISTING : 0) == 0) {
      throw failure();
    }
    name_.clear();
  }

 private:
  [[nodiscard]] AdoError failure() const {
    return file_error(AdoErrorNumber::kCannotWriteFile, file_, last_error());
  }

  const fs::path& file_;
  fs::path name_;
  Handle handle_;
};

}  // namespace

Bytes read_file(const fs::path& file) {
  constexpr auto kNotOpened = AdoErrorNumber::kCannotOpenFile;
  const Handle opened(CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN | kHarmless,
                                  nullptr));
  if (!opened) throw file_error(kNotOpened, file, last_error());
  if (!is_on_disk(opened)) throw file_error(kNotOpened, file, kNotRegular);
  LARGE_INTEGER size{};
  if (GetFileSizeEx(opened.get(), &size) == 0) throw file_error(kNotOpened, file, last_error());
  if (static_cast<std::uint64_t>(size.QuadPart) > kMostFileBytes) {
    throw file_error(AdoErrorNumber::kCannotReadFile, file,
                     std::make_error_code(std::errc::file_too_large));
  }
  ByteBuffer content(static_cast<std::size_t>(size.QuadPart));
  std::size_t have = 0;
  while (have < content.size()) {
    const auto wanted = static_cast<DWORD>(std::min(content.size() - have, kMostAtOnce));
    DWORD got = 0;
    if (ReadFile(opened.get(), content.data() + have, wanted, &got, nullptr) == 0) {
      throw file_error(AdoErrorNumber::kCannotReadFile, file, last_error());
    }
    if (got == 0) break;
    have += got;
  }
  content.resize(have);
  return content;
}

void write_file(const fs::path& file, std::span<const std::byte> content, SaveOption option) {
  const bool replacing = option == SaveOption::kCreateOverWrite;
  NewFile made(file, replacing ? require_replaceable(file) : AccessRights());
  made.write(content);
  made.take_name(replacing);
}

}  // namespace tarnwick::ado
