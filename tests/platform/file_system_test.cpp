#include "platform/file_system.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::platform {
namespace {

using test_support::error_number_of;
using test_support::TemporaryFolder;

const FileSystemObject kFiles;

Text text(const std::filesystem::path& path) { return path.u16string(); }

TEST(FileExists, IsTrueForFilesOnly) {
  const TemporaryFolder folder;
  const auto file = folder.write("a report.rpt", "x");
  EXPECT_TRUE(kFiles.file_exists(text(file)));
  EXPECT_FALSE(kFiles.file_exists(text(folder.path())));
  EXPECT_FALSE(kFiles.file_exists(text(folder.path() / "other")));
  EXPECT_FALSE(kFiles.file_exists(text(file / "below a file")));
  EXPECT_FALSE(kFiles.file_exists(u""));
}

TEST(FolderExists, IsTrueForFoldersOnly) {
  const TemporaryFolder folder;
  const auto file = folder.write("a.ttx", "x");
  EXPECT_TRUE(kFiles.folder_exists(text(folder.path())));
  EXPECT_FALSE(kFiles.folder_exists(text(file)));
  EXPECT_FALSE(kFiles.folder_exists(text(folder.path() / "other")));
  EXPECT_FALSE(kFiles.folder_exists(u""));
}

TEST(FileExists, TakesNamesBeyondAscii) {
  const TemporaryFolder folder;
  const auto file = folder.write(u"Umsatz \u00FC\u20AC\U0001F600.rpt", "x");
  EXPECT_TRUE(kFiles.file_exists(text(folder.path()) + u"/Umsatz \u00FC\u20AC\U0001F600.rpt"));
}

TEST(FileExists, IsFalseForAPathThatTheSystemCannotExpress) {
  const TemporaryFolder folder;
  const Text file = text(folder.write("a", "x"));
  EXPECT_FALSE(kFiles.file_exists(file + u'\0'));
  EXPECT_FALSE(kFiles.file_exists(file + char16_t{0xD800}));
  EXPECT_FALSE(kFiles.folder_exists(text(folder.path()) + u'\0'));
  EXPECT_FALSE(kFiles.file_exists(Text(100'000, u'a')));
}

TEST(GetParentFolderName, IsAllBeforeTheLastComponent) {
  EXPECT_EQ(kFiles.get_parent_folder_name(u"/a/b/c.rpt"), u"/a/b");
  EXPECT_EQ(kFiles.get_parent_folder_name(u"/a/b/"), u"/a");
  EXPECT_EQ(kFiles.get_parent_folder_name(u"a/b"), u"a");
  EXPECT_EQ(kFiles.get_parent_folder_name(u"a//b"), u"a");
  EXPECT_EQ(kFiles.get_parent_folder_name(u"/x"), u"/");
  EXPECT_EQ(kFiles.get_parent_folder_name(u"//x"), u"/");
}

TEST(GetParentFolderName, IsEmptyWhereThereIsNone) {
  EXPECT_EQ(kFiles.get_parent_folder_name(u"x.rpt"), u"");
  EXPECT_EQ(kFiles.get_parent_folder_name(u"/"), u"");
  EXPECT_EQ(kFiles.get_parent_folder_name(u""), u"");
}

TEST(GetBaseName, IsTheLastComponentWithoutItsLastExtension) {
  EXPECT_EQ(kFiles.get_base_name(u"/a/b/Sales.rpt"), u"Sales");
  EXPECT_EQ(kFiles.get_base_name(u"Sales.2024.rpt"), u"Sales.2024");
  EXPECT_EQ(kFiles.get_base_name(u"/a.b/Sales"), u"Sales");
  EXPECT_EQ(kFiles.get_base_name(u"/a/b.c/"), u"b");
  EXPECT_EQ(kFiles.get_base_name(u"Sales."), u"Sales");
  EXPECT_EQ(kFiles.get_base_name(u".hidden"), u"");
  EXPECT_EQ(kFiles.get_base_name(u"/"), u"");
  EXPECT_EQ(kFiles.get_base_name(u""), u"");
}

TEST(BuildPath, PutsExactlyOneSeparatorBetween) {
  // The system's own.
  const Text separator(1, static_cast<char16_t>(std::filesystem::path::preferred_separator));
  EXPECT_EQ(kFiles.build_path(u"/a", u"b.ttx"), u"/a" + separator + u"b.ttx");
  EXPECT_EQ(kFiles.build_path(u"/a/", u"b.ttx"), u"/a" + separator + u"b.ttx");
  EXPECT_EQ(kFiles.build_path(u"/a//", u"/b.ttx"), u"/a" + separator + u"b.ttx");
  EXPECT_EQ(kFiles.build_path(u"/", u"b.ttx"), separator + u"b.ttx");
  EXPECT_EQ(kFiles.build_path(u"/a", u"//"), u"/a" + separator);
}

TEST(BuildPath, AddsNothingToAnEmptyPart) {
  EXPECT_EQ(kFiles.build_path(u"", u"b.ttx"), u"b.ttx");
  EXPECT_EQ(kFiles.build_path(u"/a", u""), u"/a");
  EXPECT_EQ(kFiles.build_path(u"", u""), u"");
}

TEST(ToNativePath, RefusesWhatTheSystemCannotExpressWithError5) {
  EXPECT_EQ(to_native_path(u"/a/\u00FC"), std::filesystem::path(u8"/a/\u00FC"));
  EXPECT_EQ(error_number_of([] { return to_native_path(Text(u"a\0b", 3)); }), 5);
  EXPECT_EQ(error_number_of([] { return to_native_path(Text{char16_t{0xDC00}}); }), 5);
}

}  // namespace
}  // namespace tarnwick::platform
