#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>

#include "apps/tarnwick-server/log.h"
#include "apps/tarnwick-server/options.h"
#include "apps/tarnwick-server/serve.h"

int main(int argc, char** argv) {
  using namespace tarnwick::server_app;
  const Log log;
  Options options;
  CLI::App app;
  add_options(app, options);
  CLI11_PARSE(app, argc, argv);
  try {
    return serve(options, log);
  } catch (const std::exception& failure) {
    log.write(Severity::kCritical, "end", failure.what());
    return EXIT_FAILURE;
  }
}
