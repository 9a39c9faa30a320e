#include "benchmarks/bench_host.h"

#include <stdexcept>

#include "benchmarks/dataset.h"

namespace tarnwick::benchmarks {

BenchHost::BenchHost(const std::filesystem::path& folder)
    : box_({}, [](TextView) {}), host_(box_, folder), state_(host_, {&engine_}), server_(state_) {
  const Text connect =
      join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder.string())});
  if (!server_.set_connection(connect, kRole, kPassword)) {
    throw std::runtime_error(to_display_utf8(server_.last_error_msg()));
  }
}

}  // namespace tarnwick::benchmarks
