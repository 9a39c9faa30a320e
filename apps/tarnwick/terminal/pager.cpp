#include "apps/tarnwick/terminal/pager.h"

#include <cstdlib>
#include <optional>
#include <string>

#include "apps/tarnwick/output/print.h"
#include "platform/reading_program.h"
#include "platform/terminal.h"

namespace tarnwick::cli {
namespace {

// Nothing: the usual one; empty: none.
std::optional<std::string> pager_command() {
  for (const char* name : {"TARNWICK_PAGER", "PAGER"}) {
    const char* value = std::getenv(name);
    if (value != nullptr) return value;
  }
  return std::nullopt;
}

bool run_pager(std::string_view text) {
  const std::optional<std::string> command = pager_command();
  return (!command || !command->empty()) && platform::show_in_program(command, text);
}

}  // namespace

void page(const Options& options, std::string_view text) {
  flush_output();
  const bool paged =
      !options.no_pager && platform::is_terminal(platform::Standard::kOutput) && run_pager(text);
  if (!paged) print_text(text);
}

}  // namespace tarnwick::cli
