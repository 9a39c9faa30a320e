#include "apps/tarnwick-server/options.h"

#include <CLI/CLI.hpp>
#include <cstdint>

namespace tarnwick::server_app {
namespace {

constexpr std::uint32_t kMostSeconds = 86400;

void add_seconds(CLI::App& app, const char* name, const char* variable, std::chrono::seconds& value,
                 const char* help) {
  app.add_option_function<std::uint32_t>(
         name, [&value](std::uint32_t seconds) { value = std::chrono::seconds(seconds); }, help)
      ->type_name("SECONDS")
      ->envname(variable)
      ->check(CLI::Range(std::uint32_t{0}, kMostSeconds));
}

}  // namespace

void add_options(CLI::App& app, Options& options) {
  app.name("tarnwick-server");
  app.description("The security object model as a D-Bus service, org.tarnwick.Security1.");
  auto* system = app.add_flag("--system", options.system_bus, "Serve the system bus");
  app.add_option("--address", options.address, "Serve the bus at this D-Bus address")
      ->type_name("ADDRESS")
      ->excludes(system);
  app.add_option_function<std::string>(
         "--when-locked",
         [&options](const std::string& text) {
           const auto parsed = platform::WhenLocked::parse(text);
           if (!parsed) throw CLI::ValidationError("--when-locked", "not ask, cancel or retry:N");
           options.when_locked = *parsed;
         },
         "What answers when a row is locked and nobody can be asked: ask (as cancel), cancel, or "
         "retry:N")
      ->type_name("ANSWER")
      ->envname("TARNWICK_SERVER_WHEN_LOCKED");
  add_seconds(app, "--question-timeout", "TARNWICK_SERVER_QUESTION_TIMEOUT",
              options.question_timeout, "Answer an open question with Cancel after this time (60)");
  app.add_option("--folder", options.folder, "Where TTX.bin goes (the folder of the executable)")
      ->type_name("DIR")
      ->check(CLI::ExistingDirectory);
  app.add_option("--trace", options.trace,
                 "Append one line per statement and transaction step to this file; passwords are "
                 "blanked")
      ->type_name("FILE")
      ->envname("TARNWICK_SERVER_TRACE");
  app.add_option("--most-objects", options.most_objects,
                 "How many objects one client may hold at once")
      ->type_name("N")
      ->envname("TARNWICK_SERVER_MOST_OBJECTS")
      ->check(CLI::Range(std::size_t{1}, std::size_t{100'000'000}))
      ->capture_default_str();
  app.add_option("--most-memory", options.most_memory,
                 "With more memory in use (MiB) the service takes no texts and makes no objects "
                 "until some is released (half of the machine's)")
      ->type_name("MIB")
      ->envname("TARNWICK_SERVER_MOST_MEMORY")
      ->check(CLI::Range(std::size_t{1}, std::size_t{100'000'000}));
  add_seconds(app, "--idle", "TARNWICK_SERVER_IDLE", options.idle,
              "End after this time without an object that a client holds (2)");
}

}  // namespace tarnwick::server_app
