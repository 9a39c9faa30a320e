#include <fmt/chrono.h>
#include <fmt/core.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/jobs.h"
#include "benchmarks/results/saved_results.h"
#include "benchmarks/results/table.h"

namespace {

using namespace tarnwick::benchmarks;

// A new folder, gone at the end.
class ScratchFolder {
 public:
  explicit ScratchFolder(const std::filesystem::path& parent) {
    std::string name = (parent / "bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder can be made there");
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

struct Job {
  std::string_view name;
  std::vector<Row> (*measure)(const std::filesystem::path& scratch);
};

constexpr std::array kJobs{
    Job{"pcs", measure_pc_loading},      Job{"reports", measure_report_loading},
    Job{"odbc", measure_odbc_loading},   Job{"copy", measure_copy},
    Job{"update", measure_update_cycle}, Job{"processes", measure_processes},
    Job{"look-up", measure_look_up},     Job{"dbus", measure_dbus},
    Job{"payloads", measure_payloads}};

struct Options {
  std::filesystem::path folder;
  std::vector<std::string> jobs;
  std::vector<std::filesystem::path> also;
  std::filesystem::path save;
  std::filesystem::path against;
  std::string source;
};

std::vector<Row> measure(const Options& options) {
  const ScratchFolder scratch(std::filesystem::absolute(options.folder));
  std::vector<Row> rows;
  const auto add = [&](const std::vector<Row>& more) {
    rows.insert(rows.end(), more.begin(), more.end());
  };
  for (const Job& job : kJobs) {
    const bool wanted = std::ranges::find(options.jobs, job.name) != options.jobs.end();
    if (options.jobs.empty() || wanted) add(job.measure(scratch.path()));
  }
  for (const auto& file : options.also) add(read_saved(file).rows);
  return rows;
}

int exit_code(Verdict verdict) {
  if (verdict == Verdict::kOver) return 1;
  return verdict == Verdict::kTooNoisy ? 3 : 0;
}

int run(const Options& options) {
  // Before anything is measured, which takes minutes.
  std::optional<SavedResults> earlier;
  if (!options.against.empty()) earlier = read_saved(options.against);
  const std::vector<Row> rows = measure(options);
  if (!options.save.empty()) {
    const std::string now = fmt::format("{:%Y-%m-%d %H:%M}", fmt::localtime(std::time(nullptr)));
    save(options.save, {options.source, now, rows});
  }
  if (earlier) {
    fmt::print("\nWhat has changed since {}, {}:\n", earlier->source, earlier->date);
    fmt::print("\n{}", table_of(rows, earlier->rows));
  } else {
    fmt::print("\n{}", table_of(rows));
  }
  return exit_code(verdict_of(rows));
}

std::vector<std::string> job_names() {
  std::vector<std::string> names;
  for (const Job& job : kJobs) names.emplace_back(job.name);
  return names;
}

}  // namespace

// What ./bench runs; its exit codes are explained there.
int main(int argc, char** argv) {
  Options options;
  CLI::App app("Measures the system against floors that are written by hand.");
  app.add_option("--also", options.also, "Results of another measurement, to show with these");
  app.add_option("--save", options.save, "File to keep the results in");
  app.add_option("--against", options.against, "Results that were kept, to compare with");
  app.add_option("--source", options.source, "What is measured, for the file");
  app.add_option("FOLDER", options.folder,
                 "Takes the data while it runs; on a real disk, since commits are measured")
      ->required();
  app.add_option("JOB", options.jobs, "All, when there is none")->check(CLI::IsMember(job_names()));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? EXIT_SUCCESS : 2;
  }
  try {
    return run(options);
  } catch (const std::exception& exception) {
    fmt::print(stderr, "bench: {}\n", exception.what());
    return EXIT_FAILURE;
  }
}
