// write-manual FOLDER: writes the manual pages of the programs into a folder.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>

#include "apps/manual/page.h"
#include "apps/tarnwick-server/options.h"
#include "apps/tarnwick/command_tree.h"

namespace tarnwick::manual {
namespace {

const Terms kDatabaseFiles{
    {"Velmar_Sec.db",
     "The data of an embedded database, in the folder that the connection string names."},
    {"Velmar_Sec.db-wal, Velmar_Sec.db-shm",
     "SQLite's write-ahead log beside it; part of the data while programs run."},
    {"Velmar_Sec.db-locks", "Its row locks; may be deleted when no program runs."}};

About about_tarnwick(const std::vector<std::string>& pages) {
  About about;
  about.version = TARNWICK_VERSION;
  about.environment = {
      {"VISUAL, EDITOR", "The editor that the edit commands start."},
      {"DBUS_SESSION_BUS_ADDRESS, DBUS_SYSTEM_BUS_ADDRESS", "Where the buses are."},
      {"XDG_RUNTIME_DIR",
       "The user's own folder: the session's bus, and the files of a service "
       "that is started."},
      {"TMPDIR", "Where temporary files go."}};
  about.files = kDatabaseFiles;
  about.see_also = pages;
  return about;
}

About about_server() {
  About about;
  about.section = "8";
  about.version = TARNWICK_VERSION;
  about.environment = {
      {"DBUS_STARTER_ADDRESS", "The bus that has started the service; it serves this one."},
      {"DBUS_SESSION_BUS_ADDRESS, XDG_RUNTIME_DIR", "Otherwise, where the session's bus is."},
      {"DBUS_SYSTEM_BUS_ADDRESS", "Where the system's bus is."},
      {"JOURNAL_STREAM",
       "Set by systemd where standard error is the journal: there the lines of the log have "
       "fields."},
      {"NOTIFY_SOCKET, WATCHDOG_USEC", "Set by systemd: what the service tells of itself."},
      {"INVOCATION_ID",
       "Set by systemd for what it starts: such a service ends by itself where "
       "nobody uses it."},
      {"DISPLAY, XAUTHORITY", "The screen on which Retry or Cancel is asked."}};
  about.files = kDatabaseFiles;
  about.files.insert(
      about.files.end(),
      {{"TTX.bin", "What loading reports leaves behind, in the folder that --folder names."},
       {"/etc/default/tarnwick", "Limits, as variables, for the units of systemd."},
       {"tarnwick-server.service", "The units of systemd, for users and for the system."},
       {"org.tarnwick.Security1.service", "Lets a bus start the service on demand."},
       {"org.tarnwick.Security1.conf", "Who may use the service on the system's bus."}});
  about.see_also = {"tarnwick(1)", "busctl(1)", "systemctl(1)", "dbus-daemon(1)"};
  about.examples =
      "tarnwick-server --when-locked retry:5 --folder /tmp\n"
      "tarnwick-server --system --folder /var/lib/tarnwick --trace /var/log/tarnwick.trace";
  about.exit_status = {
      {"0", "It was told to end, nobody used it any more, or another process serves the bus."},
      {"1", "It could not begin, or the bus went away; the log tells why."},
      {"other", "The switches are wrong."}};
  return about;
}

void write(const std::filesystem::path& folder, const CLI::App& command, const About& about) {
  std::ofstream file(folder / fmt::format("{}.{}", page_name(command), about.section));
  file.exceptions(std::ios::failbit | std::ios::badbit);
  file << page_of(command, about);
  file.close();
}

void write_all(const std::filesystem::path& folder) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);

  cli::CommandLine line;
  const auto program = cli::make_command_tree(line);
  const auto groups = program->get_subcommands(
      [](const CLI::App* command) { return !command->get_subcommands({}).empty(); });
  std::vector<std::string> pages;
  for (const CLI::App* group : groups) pages.push_back(page_name(*group) + "(1)");
  pages.emplace_back("tarnwick-server(8)");
  write(folder, *program, about_tarnwick(pages));
  for (const CLI::App* group : groups) {
    std::vector<std::string> others{"tarnwick(1)"};
    for (const std::string& page : pages) {
      if (page != page_name(*group) + "(1)") others.push_back(page);
    }
    write(folder, *group, about_tarnwick(others));
  }

  server_app::Options options;
  CLI::App server;
  server_app::add_options(server, options);
  write(folder, server, about_server());
}

}  // namespace
}  // namespace tarnwick::manual

int main(int argc, char** argv) {
  try {
    if (argc != 2) throw std::runtime_error("usage: write-manual FOLDER");
    tarnwick::manual::write_all(argv[1]);
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    fmt::print(stderr, "write-manual: {}\n", failure.what());
    return EXIT_FAILURE;
  }
}
