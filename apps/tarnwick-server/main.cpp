#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>

#include "apps/tarnwick-server/options.h"
#include "apps/tarnwick-server/serve.h"

int main(int argc, char** argv) {
  using namespace tarnwick::server_app;
  spdlog::set_default_logger(spdlog::stderr_logger_st("tarnwick-server"));
  Options options;
  CLI::App app;
  add_options(app, options);
  CLI11_PARSE(app, argc, argv);
  try {
    return serve(options);
  } catch (const std::exception& failure) {
    spdlog::critical("{}", failure.what());
    return EXIT_FAILURE;
  }
}
