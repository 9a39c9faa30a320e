#include <gtest/gtest.h>

#include "tests/ado/stream_file_test.h"
#include "tests/support/thrown_error.h"
#include "tests/support/unreadable_file.h"

namespace tarnwick::ado {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;

TEST_F(StreamFileTest, WhatWasSavedIsLoadedAgain) {
  ByteBuffer content;
  for (int i = 0; i < 300'000; ++i) content.push_back(static_cast<std::byte>(i * 7 % 251));
  Stream stream = binary(content);
  stream.save_to_file(file);
  EXPECT_EQ(stream.position(), 0);
  EXPECT_EQ(stream.size(), 300'000);
  Stream other = binary(bytes("old content"));
  other.load_from_file(file);
  EXPECT_EQ(other.position(), 0);
  EXPECT_EQ(other.read(), Bytes(content));
  EXPECT_EQ(files_in_folder(), 1);
}

TEST_F(StreamFileTest, AnEmptyStreamMakesAnEmptyFile) {
  Stream stream = binary({});
  stream.save_to_file(file);
  EXPECT_TRUE(fs::exists(file));
  stream.write(bytes("x"));
  stream.load_from_file(file);
  EXPECT_EQ(stream.size(), 0);
}

TEST_F(StreamFileTest, TheWholeContentIsSavedWhereverThePositionIs) {
  Stream stream = binary(bytes("abc"));
  stream.set_position(2);
  stream.save_to_file(file);
  EXPECT_EQ(content_of(file), "abc");
}

TEST_F(StreamFileTest, TextIsSavedInItsCharset) {
  Stream stream;
  stream.open();
  stream.write_text(u"naïve");
  stream.save_to_file(file);
  EXPECT_EQ(content_of(file), "na\xEFve");
  stream.close();
  stream.open();
  stream.load_from_file(file);
  EXPECT_EQ(stream.read_text(), u"naïve");
}

TEST_F(StreamFileTest, AFileThatIsThereIsKeptUnlessOverwritingIsAskedFor) {
  folder.write("file.bin", "old");
  Stream stream = binary(bytes("new"));
  EXPECT_EQ(error_number_of([&] { stream.save_to_file(file); }), 3004);
  EXPECT_EQ(content_of(file), "old");
  stream.save_to_file(file, SaveOption::kCreateOverWrite);
  EXPECT_EQ(content_of(file), "new");
  EXPECT_EQ(files_in_folder(), 1);
}

TEST_F(StreamFileTest, AFolderIsNoFile) {
  Stream stream = binary(bytes("content"));
  EXPECT_EQ(error_number_of([&] { stream.load_from_file(folder.path()); }), 3002);
  EXPECT_EQ(
      error_number_of([&] { stream.save_to_file(folder.path(), SaveOption::kCreateOverWrite); }),
      3004);
  EXPECT_EQ(error_number_of([&] { stream.save_to_file(folder.path() / "none" / "x"); }), 3004);
  EXPECT_EQ(files_in_folder(), 0);
}

TEST_F(StreamFileTest, AFileThatCannotBeOpenedOrReadLeavesTheContent) {
  Stream stream = binary(bytes("content"));
  stream.set_position(3);
  EXPECT_EQ(error_description_of([&] { stream.load_from_file(file); }),
            u"File could not be opened. '" + text_of(file) + u"': No such file or directory.");
  EXPECT_EQ(error_number_of([&] { stream.load_from_file(file); }), 3002);
  const test_support::UnreadableFile unreadable;
  const auto load = [&] { stream.load_from_file(unreadable.path()); };
  EXPECT_EQ(error_description_of(load), unreadable.description());
  EXPECT_EQ(error_number_of(load), unreadable.number());
  EXPECT_EQ(stream.position(), 3);
  EXPECT_EQ(stream.size(), 7);
}

TEST_F(StreamFileTest, AFileThatIsLargerThanAColumnHoldsIsRefusedBeforeItIsRead) {
  folder.write("file.bin", "");
  fs::resize_file(file, 1'000'000'001);  // of which the disk keeps nothing
  Stream stream = binary(bytes("content"));
  EXPECT_EQ(error_description_of([&] { stream.load_from_file(file); }),
            u"File could not be read. '" + text_of(file) + u"': File too large.");
  EXPECT_EQ(error_number_of([&] { stream.load_from_file(file); }), 3003);
  EXPECT_EQ(stream.size(), 7);
}

}  // namespace
}  // namespace tarnwick::ado
