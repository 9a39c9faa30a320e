#include "benchmarks/results/saved_results.h"

#include <array>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace tarnwick::benchmarks {
namespace {

using nlohmann::json;

// Goes up when an older program would misread what is written.
constexpr int kFormat = 1;

constexpr std::array<std::pair<const char*, double Row::*>, 6> kNumbers{
    {{"time", &Row::time},
     {"time_bar", &Row::time_bar},
     {"cpu", &Row::cpu},
     {"memory", &Row::memory},
     {"memory_bar", &Row::memory_bar},
     {"spread", &Row::spread}}};

json to_json(const Row& row) {
  json object{{"job", row.job}};
  for (const auto& [name, number] : kNumbers) object[name] = row.*number;
  return object;
}

Row row_from(const json& object) {
  Row row{.job = object.at("job").get<std::string>()};
  for (const auto& [name, number] : kNumbers) row.*number = object.at(name).get<double>();
  return row;
}

SavedResults results_from(const json& document) {
  if (document.at("format") != kFormat) throw std::runtime_error("it has another format");
  SavedResults results{
      document.at("source").get<std::string>(), document.at("date").get<std::string>(), {}};
  for (const json& row : document.at("rows")) results.rows.push_back(row_from(row));
  return results;
}

}  // namespace

void save(const std::filesystem::path& file, const SavedResults& results) {
  json rows = json::array();
  for (const Row& row : results.rows) rows.push_back(to_json(row));
  const json document{{"format", kFormat},
                      {"source", results.source},
                      {"date", results.date},
                      {"rows", std::move(rows)}};
  std::ofstream stream(file);
  stream << document.dump(2) << '\n';
  if (!stream.flush()) throw std::runtime_error(file.string() + " cannot be written");
}

SavedResults read_saved(const std::filesystem::path& file) {
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error(file.string() + " cannot be read");
  try {
    return results_from(json::parse(stream));
  } catch (const std::exception& exception) {
    throw std::runtime_error(file.string() + " holds no results: " + exception.what());
  }
}

}  // namespace tarnwick::benchmarks
