#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>

#include "apps/tarnwick-server/options.h"
#include "apps/tarnwick-server/serve.h"

namespace {

using tarnwick::automation::Event;
using tarnwick::automation::Severity;

// To standard error, which is the journal under systemd.
void write_to_log(const Event& event) {
  const auto level = [&] {
    switch (severity_of(event.kind)) {
      case Severity::kInformation:
        return spdlog::level::info;
      case Severity::kWarning:
        return spdlog::level::warn;
      case Severity::kError:
        break;
    }
    return spdlog::level::critical;
  }();
  spdlog::log(level, "{}", tarnwick::to_display_utf8(event.text));
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tarnwick::server_app;
  spdlog::set_default_logger(spdlog::stderr_logger_st("tarnwick-server"));
  Options options;
  CLI::App app;
  add_options(app, options);
  CLI11_PARSE(app, argc, argv);
  const tarnwick::automation::Events events(write_to_log);
  try {
    return serve(options, events);
  } catch (const std::exception& failure) {
    events.broken(tarnwick::from_stored_utf8(failure.what()));
    return EXIT_FAILURE;
  }
}
