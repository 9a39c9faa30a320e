#pragma once

#include <string>
#include <vector>

namespace tarnwick::cli {

/// Something that is wrong in a database.
struct Finding {
  std::string kind;     // one word, for machines
  std::string record;   // where: "Component 10"
  std::string what;     // the rest of the sentence: "its parent 99 does not exist"
  std::string command;  // which mends it; empty where none does
};
using Findings = std::vector<Finding>;

}  // namespace tarnwick::cli
