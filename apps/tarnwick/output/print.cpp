#include "apps/tarnwick/output/print.h"

#include <cerrno>
#include <iostream>
#include <system_error>

namespace tarnwick::cli {

void print_text(std::string_view text) {
  errno = 0;
  if (std::cout << text) return;
  throw std::system_error(errno, std::generic_category(), "cannot write to file");
}

bool flush_output() noexcept { return static_cast<bool>(std::cout.flush()); }

void tell_error(std::string_view line) noexcept { std::cerr << line << std::endl; }

}  // namespace tarnwick::cli
