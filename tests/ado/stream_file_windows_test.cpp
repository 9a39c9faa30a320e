#include <windows.h>

#include "tests/ado/stream_file_test.h"
#include "tests/support/thrown_error.h"

// What Windows does to the files of a stream.

namespace tarnwick::ado {
namespace {

using test_support::error_number_of;

TEST_F(StreamFileTest, AFileThatAnotherProgramReadsIsNotReplaced) {
  folder.write("file.bin", "old");
  Stream stream = binary(bytes("new"));
  {
    const std::ifstream reader(file);
    ASSERT_TRUE(reader.is_open());
    EXPECT_EQ(error_number_of([&] { stream.save_to_file(file, SaveOption::kCreateOverWrite); }),
              3004);
  }
  EXPECT_EQ(content_of(file), "old");
  EXPECT_EQ(files_in_folder(), 1);
  stream.save_to_file(file, SaveOption::kCreateOverWrite);
  EXPECT_EQ(content_of(file), "new");
}

TEST_F(StreamFileTest, ANameOfAnyLettersIsSavedAndLoaded) {
  const fs::path name = folder.path() / u"Umsatz \u00FC\u20AC \u65E5\u672C \U0001F600.rpt";
  binary(bytes("content")).save_to_file(name);
  Stream stream = binary({});
  stream.load_from_file(name);
  EXPECT_EQ(stream.read(), bytes("content"));
}

TEST_F(StreamFileTest, NamesThatAreReservedForDevicesAreRefused) {
  Stream stream = binary(bytes("content"));
  for (const fs::path& device : {fs::path("NUL"), folder.path() / "NUL"}) {
    EXPECT_EQ(error_number_of([&] { stream.load_from_file(device); }), 3002) << device;
    EXPECT_EQ(error_number_of([&] { stream.save_to_file(device, SaveOption::kCreateOverWrite); }),
              3004)
        << device;
  }
  EXPECT_EQ(files_in_folder(), 0);
  EXPECT_EQ(stream.size(), 7);
}

TEST_F(StreamFileTest, APipeIsRefusedAndKeepsNobodyWaiting) {
  const std::wstring name = L"\\\\.\\pipe\\tarnwick-test-" + std::to_wstring(GetCurrentProcessId());
  const HANDLE pipe =
      CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_NOWAIT,
                       PIPE_UNLIMITED_INSTANCES, 64, 64, 0, nullptr);
  ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
  Stream stream = binary(bytes("content"));
  EXPECT_EQ(error_number_of([&] { stream.load_from_file(name); }), 3002);
  EXPECT_EQ(error_number_of([&] { stream.save_to_file(name, SaveOption::kCreateOverWrite); }),
            3004);
  CloseHandle(pipe);
}

}  // namespace
}  // namespace tarnwick::ado
