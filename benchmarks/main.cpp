#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "benchmarks/jobs.h"

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
    Job{"pcs", measure_pc_loading},    Job{"reports", measure_report_loading},
    Job{"odbc", measure_odbc_loading}, Job{"update", measure_update_cycle},
    Job{"look-up", measure_look_up},   Job{"dbus", measure_dbus},
    Job{"payloads", measure_payloads}};

}  // namespace

// Usage: tarnwick_benchmarks [FOLDER [JOB...]]: FOLDER (default: the present one) takes the data
// while it runs; it should lie on a real disk, since commits are measured. Without a JOB: all.
int main(int argc, char** argv) {
  try {
    const ScratchFolder scratch(std::filesystem::absolute(argc > 1 ? argv[1] : "."));
    const std::set<std::string_view> wanted(argv + std::min(argc, 2), argv + argc);
    for (const std::string_view name : wanted) {
      if (std::ranges::find(kJobs, name, &Job::name) == kJobs.end()) {
        throw std::runtime_error(fmt::format("there is no job '{}'", name));
      }
    }
    std::vector<Row> rows;
    for (const Job& job : kJobs) {
      if (!wanted.empty() && !wanted.contains(job.name)) continue;
      const std::vector<Row> measured = job.measure(scratch.path());
      rows.insert(rows.end(), measured.begin(), measured.end());
    }
    return print(rows) ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& exception) {
    fmt::print(stderr, "bench: {}\n", exception.what());
    return EXIT_FAILURE;
  }
}
