#include "apps/tarnwick/database/samples.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "ado/recordset.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/options.h"
#include "runtime/conversions.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::string_view, 4> kDateColumns{"LastLogin", "ActivateDate",
                                                       "DeactivateDate", "Created"};
constexpr std::array<std::string_view, 2> kFileColumns{"TTX_Binary", "Report_Binary"};

bool is_one_of(std::span<const std::string_view> names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
}

Bytes bytes_of(const std::filesystem::path& file) {
  const std::string content = content_of(file, ExitCode::kFailed);
  const auto bytes = std::as_bytes(std::span(content));
  return ByteBuffer(bytes.begin(), bytes.end());
}

}  // namespace

SampleFile::SampleFile(std::filesystem::path file) : file_(std::move(file)) {
  try {
    rows_ = Json::parse(content_of(file_, ExitCode::kFailed));
  } catch (const Json::parse_error& error) {
    throw Failure(ExitCode::kFailed,
                  fmt::format("The file '{}' is not JSON: {}", file_.string(), error.what()));
  }
  const bool table = rows_.is_array() &&
                     std::ranges::all_of(rows_, [](const Json& row) { return row.is_object(); });
  if (!table) complain("it is no array of objects");
}

void SampleFile::insert_into(const std::shared_ptr<ado::Connection>& connection,
                             TextView table) const {
  ado::Recordset recordset;
  recordset.set_active_connection(connection);
  recordset.set_cursor_location(ado::CursorLocation::kClient);
  recordset.set_cursor_type(ado::CursorType::kStatic);
  recordset.set_lock_type(ado::LockType::kOptimistic);
  recordset.open(join({u"Select * From ", table}), ado::kCommandText);
  for (const Json& row : rows_) {
    recordset.add_new();
    for (const auto& [column, value] : row.items()) {
      if (!value.is_null()) recordset.field(from_utf8(column)).set_value(variant_of(column, value));
    }
    recordset.update();
  }
}

Variant SampleFile::variant_of(const std::string& column, const Json& value) const {
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (!value.is_string()) complain(fmt::format("{} cannot be {}", column, value.dump()));
  const auto& text = value.get_ref<const std::string&>();
  if (is_one_of(kFileColumns, column)) return bytes_of(file_.parent_path() / "reports" / text);
  if (is_one_of(kDateColumns, column)) return date_from_iso_text(from_utf8(text));
  return from_utf8(text);
}

void SampleFile::complain(const std::string& what) const {
  throw Failure(ExitCode::kFailed, fmt::format("The file '{}': {}.", file_.string(), what));
}

Samples::Samples(const std::filesystem::path& folder)
    : components(folder / "components.json"),
      pcs(folder / "pcs.json"),
      reports(folder / "reports.json") {}

void Samples::insert_into(const std::shared_ptr<ado::Connection>& connection) const {
  connection->begin_trans();
  components.insert_into(connection, u"DW_SEC_COMP");
  pcs.insert_into(connection, u"DW_SEC_PC");
  reports.insert_into(connection, u"DW_Reports");
  connection->commit_trans();
}

std::filesystem::path samples_folder() {
  const auto program = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  for (const auto& folder : {program.parent_path() / "share/tarnwick/samples",
                             std::filesystem::path(TARNWICK_SAMPLES)}) {
    if (std::filesystem::is_directory(folder)) return folder;
  }
  throw Failure(ExitCode::kFailed,
                "The sample data are not there; say where they are by --sample-folder.");
}

}  // namespace tarnwick::cli
