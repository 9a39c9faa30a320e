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
  const tarnwick::automation::Events events(
      [&log](const tarnwick::automation::Event& event) { log.write(event); });
  try {
    return serve(options, events);
  } catch (const std::exception& failure) {
    events.broken(tarnwick::from_stored_utf8(failure.what()));
    return EXIT_FAILURE;
  }
}
