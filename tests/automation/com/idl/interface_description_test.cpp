#include "automation/com/idl/interface_description.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace tarnwick::automation::com {
namespace {

std::string content(const char* file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

/// Number and text of the first line in which two texts differ.
std::string first_difference(const std::string& kept, const std::string& made) {
  std::istringstream kept_lines(kept);
  std::istringstream made_lines(made);
  for (int number = 1;; ++number) {
    std::string kept_line;
    std::string made_line;
    const bool is_kept = static_cast<bool>(std::getline(kept_lines, kept_line));
    const bool is_made = static_cast<bool>(std::getline(made_lines, made_line));
    if (is_kept && is_made && kept_line == made_line) continue;
    return "line " + std::to_string(number) +
           "\n  in the tree: " + (is_kept ? kept_line : "no such line") +
           "\n  by the tables: " + (is_made ? made_line : "no such line");
  }
}

TEST(InterfaceDescription, InTheTreeIsWhatTheTablesMake) {
  const std::string kept = content(DESCRIPTION);
  const std::string made = interface_description();
  EXPECT_TRUE(kept == made) << "What COM clients were built against would change, in "
                            << first_difference(kept, made)
                            << "\nIf that is meant, this writes " DESCRIPTION
                               " anew:\n"
                               "  cmake --build build/native --target interface_description";
}

}  // namespace
}  // namespace tarnwick::automation::com
