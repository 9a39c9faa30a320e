#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "automation/members.h"
#include "components/component_properties.h"
#include "pcs/registered_pc_properties.h"
#include "reports/report_properties.h"

// A property is declared once. These tests name every place that does not follow from its table by
// itself and was forgotten.

namespace tarnwick::agreement {

/// The text of a file of the source tree.
inline std::string content_of(const std::string& file) {
  std::ifstream stream(std::filesystem::path(SOURCE_TREE) / file, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read " + file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The names of the record's properties for which `holds` is true, in the order of the table.
template <class Record, class Predicate>
std::vector<std::string> properties_that(Predicate&& holds) {
  std::vector<std::string> names;
  for_each_property<Record>([&](const auto& property) {
    if (holds(property)) names.emplace_back(property.name);
  });
  return names;
}

}  // namespace tarnwick::agreement
