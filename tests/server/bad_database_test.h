#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "server/server.h"
#include "tests/support/object_model.h"

namespace tarnwick {

namespace fs = std::filesystem;
using test_support::account;
using test_support::EmbeddedDatabase;

inline constexpr std::int32_t kUnspecified = -2147467259;
inline constexpr std::int32_t kInvalidArgument = 3001;
inline constexpr std::int32_t kCommandError = -2147217900;
inline constexpr std::int32_t kAuthenticationFailed = -2147217843;
inline constexpr std::int32_t kPermissionDenied = -2147217911;

inline Text quoted(const fs::path& path) { return join({u"'", from_utf8(path.string()), u"'"}); }

/// Connecting to a database that is none.
class BadDatabase : public ::testing::Test {
 protected:
  void expect_refused(const fs::path& folder, std::int32_t number, TextView description) {
    expect_string_refused(
        join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder.string())}), number,
        description);
  }

  void expect_string_refused(TextView string, std::int32_t number, TextView description) {
    EXPECT_FALSE(process_.server->set_connection(string, EmbeddedDatabase::kRole,
                                                 EmbeddedDatabase::kPassword));
    EXPECT_EQ(process_.message(), account(u"Server", u"SetConnection", number, description));
    EXPECT_EQ(process_.number(), number);
  }

  void expect_role_refused(TextView role, TextView password, std::int32_t number,
                           TextView description) {
    EXPECT_FALSE(process_.server->set_connection(database_.connection_string(), role, password));
    EXPECT_EQ(process_.message(), account(u"Server", u"SetConnection", number, description));
  }

  /// All that the folder holds, with the sizes of the files.
  static std::vector<std::pair<std::string, std::uintmax_t>> content(const fs::path& folder) {
    std::vector<std::pair<std::string, std::uintmax_t>> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
      files.emplace_back(entry.path().filename().string(),
                         entry.is_directory() ? 0 : entry.file_size());
    }
    return files;
  }

  test_support::TemporaryFolder folder_;
  EmbeddedDatabase database_;
  test_support::ServerProcess process_{database_};
};

}  // namespace tarnwick
