#include "ado/stream_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "ado/error.h"
#include "tests/support/intercepted_calls.h"
#include "tests/support/temporary_folder.h"

// One or two of the calls to the system that writing or reading a file makes fail.

namespace tarnwick::ado {
namespace {

using test_support::InterceptedCall;
using test_support::TemporaryFolder;

constexpr int kNever = -1;

struct Faults {
  int first = kNever;   // which call
  int second = kNever;  // which one besides
  int number = 0;       // the error of both
  bool from_second_on = false;
};

Faults faults;
int calls = 0;

int fail(const InterceptedCall& /*call*/) {
  const int call = calls++;
  const bool behind = faults.from_second_on && faults.second != kNever && call > faults.second;
  const bool fails = call == faults.first || call == faults.second || behind;
  return fails ? faults.number : test_support::kGoOn;
}

/// Runs `body` with these faults. Whether it went through; otherwise it threw an AdoError.
template <class Body>
bool goes_through(const Faults& wanted, Body&& body) {
  faults = wanted;
  calls = 0;
  test_support::intercept_calls(fail);
  bool through = true;
  try {
    body();
  } catch (const AdoError&) {
    through = false;
  }
  test_support::intercept_calls(nullptr);
  return through;
}

/// Runs `body` with no fault, with each one, with each two, and with one and all behind another.
template <class Body>
void with_all_faults(Body&& body) {
  body(Faults{});
  const int most = calls + 4;  // what fails may be followed by other calls
  for (const int number : {EIO, EINTR, EEXIST, ENOENT, ENODATA, ENOTSUP}) {
    for (int first = 0; first < most; ++first) {
      for (int second = kNever; second < most; ++second) {
        if (second != kNever && second <= first) continue;
        SCOPED_TRACE("calls " + std::to_string(first) + " and " + std::to_string(second) +
                     ", error " + std::to_string(number));
        body(Faults{first, second, number});
        if (number == EIO) body(Faults{first, second, number, true});
        if (::testing::Test::HasFailure()) return;
      }
    }
  }
}

std::span<const std::byte> bytes_of(const std::string& text) {
  return std::as_bytes(std::span(text));
}

std::optional<std::string> content(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

long entries(const std::filesystem::path& folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

const std::string kOld(100, 'o');
const std::string kNew(5'000, 'n');

class FailingFileCalls : public ::testing::Test {
 protected:
  /// Writes over a file that belongs to this user and group.
  void write_over(uid_t user, gid_t group) {
    with_all_faults([&](const Faults& wanted) {
      clear();
      folder_.write("file.bin", kOld);
      if (::chown(file_.c_str(), user, group) != 0) GTEST_SKIP() << "takes root";
      const bool through = goes_through(
          wanted, [&] { write_file(file_, bytes_of(kNew), SaveOption::kCreateOverWrite); });
      const auto left = content(file_);
      EXPECT_EQ(left, through ? kNew : kOld);
      // To clean up behind the first fault may be what the second one keeps from being done.
      if (wanted.second == kNever) {
        EXPECT_EQ(entries(folder_.path()), 1);
      }
    });
  }

  void clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      std::filesystem::remove(entry.path());
    }
  }

  TemporaryFolder folder_;
  const std::filesystem::path file_ = folder_.path() / "file.bin";
};

TEST_F(FailingFileCalls, LeaveTheOldFileOrTheNewOneWhole) { write_over(::geteuid(), ::getegid()); }

TEST_F(FailingFileCalls, LeaveTheOldFileOrTheNewOneWholeThatIsSomebodyElses) {
  write_over(65534, ::getegid());
  if (!IsSkipped()) write_over(65534, 65534);
}

TEST_F(FailingFileCalls, LeaveNoFileOrAWholeOneWhereThereWasNone) {
  with_all_faults([&](const Faults& wanted) {
    clear();
    const bool through = goes_through(
        wanted, [&] { write_file(file_, bytes_of(kNew), SaveOption::kCreateNotExist); });
    EXPECT_EQ(content(file_), through ? std::optional(kNew) : std::nullopt);
    if (wanted.second == kNever) {
      EXPECT_EQ(entries(folder_.path()), through ? 1 : 0);
    }
  });
}

TEST_F(FailingFileCalls, AreNoneForAFileOfThePresentFolder) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.path());
  EXPECT_TRUE(goes_through(
      {}, [&] { write_file("file.bin", bytes_of(kNew), SaveOption::kCreateNotExist); }));
  std::filesystem::current_path(before);
  EXPECT_EQ(content(file_), kNew);
}

TEST_F(FailingFileCalls, ReadAFileWholeOrNotAtAll) {
  folder_.write("file.bin", kNew);
  with_all_faults([&](const Faults& wanted) {
    Bytes read;
    const bool through = goes_through(wanted, [&] { read = read_file(file_); });
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(read.data()), read.size()),
              through ? kNew : "");
  });
}

}  // namespace
}  // namespace tarnwick::ado
