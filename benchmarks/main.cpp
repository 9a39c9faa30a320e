#include <fmt/core.h>

#include <cstdlib>
#include <exception>
#include <filesystem>

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

}  // namespace

// Usage: tarnwick_benchmarks [FOLDER]: FOLDER (default: the present one) takes the data while it
// runs; it should lie on a real disk, since commits are measured.
int main(int argc, char** argv) {
  try {
    const ScratchFolder scratch(std::filesystem::absolute(argc > 1 ? argv[1] : "."));
    std::vector<Row> rows;
    const auto take = [&](std::vector<Row> measured) {
      rows.insert(rows.end(), measured.begin(), measured.end());
    };
    take(measure_pc_loading(scratch.path()));
    take(measure_report_loading(scratch.path()));
    take(measure_odbc_loading(scratch.path()));
    take(measure_update_cycle(scratch.path()));
    take(measure_look_up());
    return print(rows) ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& exception) {
    fmt::print(stderr, "bench: {}\n", exception.what());
    return EXIT_FAILURE;
  }
}
