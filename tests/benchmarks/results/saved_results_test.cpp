#include "benchmarks/results/saved_results.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

#include "tests/support/temporary_folder.h"

namespace tarnwick::benchmarks {
namespace {

using testing::HasSubstr;

class SavedResultsTest : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path file() const { return folder_.path() / "kept.json"; }

  [[nodiscard]] std::string refusal_of(const std::string& content) const {
    std::ofstream(file()) << content;
    try {
      static_cast<void>(read_saved(file()));
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "accepted";
  }

  test_support::TemporaryFolder folder_;
};

TEST_F(SavedResultsTest, AreReadAsTheyWereWritten) {
  save(file(), {"a1b2c3",
                "2026-11-22 15:00",
                {{.job = "load \"all\"",
                  .time = 1.25,
                  .time_bar = 1.5,
                  .cpu = 1.125,
                  .memory = 2.5,
                  .memory_bar = 3,
                  .spread = 0.0625},
                 {.job = "walk", .time = 0.1}}});
  const SavedResults read = read_saved(file());
  EXPECT_EQ(read.source, "a1b2c3");
  EXPECT_EQ(read.date, "2026-11-22 15:00");
  ASSERT_EQ(read.rows.size(), 2u);
  const Row& row = read.rows.front();
  EXPECT_EQ(row.job, "load \"all\"");
  EXPECT_EQ(row.time, 1.25);
  EXPECT_EQ(row.time_bar, 1.5);
  EXPECT_EQ(row.cpu, 1.125);
  EXPECT_EQ(row.memory, 2.5);
  EXPECT_EQ(row.memory_bar, 3);
  EXPECT_EQ(row.spread, 0.0625);
  EXPECT_EQ(read.rows.back().job, "walk");
  EXPECT_EQ(read.rows.back().time, 0.1);
}

TEST_F(SavedResultsTest, ThatAreBrokenAreRefusedByTheNameOfTheirFile) {
  for (const char* content :
       {"", "no JSON", "{\"format\": 1, \"rows\": [", "[]", "{}",
        R"({"format": 1, "source": "a", "date": "b"})",
        R"({"format": 1, "source": "a", "date": "b", "rows": [{"job": "load"}]})",
        R"({"format": 1, "source": "a", "date": "b", "rows": [{"job": 7, "time": 1}]})",
        R"({"format": 1, "source": 7, "date": "b", "rows": []})"}) {
    EXPECT_THAT(refusal_of(content), HasSubstr(file().string() + " holds no results: ")) << content;
  }
}

TEST_F(SavedResultsTest, OfAnotherFormatAreRefused) {
  EXPECT_THAT(refusal_of(R"({"format": 2, "source": "a", "date": "b", "rows": []})"),
              HasSubstr("it has another format"));
}

TEST_F(SavedResultsTest, ThatAreMissingAreRefused) {
  EXPECT_THROW(static_cast<void>(read_saved(file())), std::runtime_error);
}

TEST_F(SavedResultsTest, ThatCannotBeWrittenFail) {
  EXPECT_THROW(save(folder_.path() / "none" / "kept.json", {}), std::runtime_error);
}

}  // namespace
}  // namespace tarnwick::benchmarks
