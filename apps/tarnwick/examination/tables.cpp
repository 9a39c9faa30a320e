#include "apps/tarnwick/examination/tables.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>

#include "ado/recordset.h"
#include "apps/tarnwick/commands/key_arguments.h"
#include "apps/tarnwick/examination/component_parents.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/shell_words.h"
#include "components/component_properties.h"
#include "components/refresh_component.h"
#include "components/report_code.h"
#include "pcs/refresh_pcs.h"
#include "pcs/registered_pc_properties.h"
#include "records/column_values.h"
#include "reports/refresh_report.h"
#include "reports/report_properties.h"
#include "reports/report_type.h"
#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

std::unique_ptr<ado::Recordset> open(const std::shared_ptr<ado::Connection>& connection,
                                     TextView statement) {
  auto rows = std::make_unique<ado::Recordset>();
  rows->set_active_connection(connection);
  rows->set_cursor_location(ado::CursorLocation::kServer);
  rows->set_cursor_type(ado::CursorType::kForwardOnly);
  rows->set_lock_type(ado::LockType::kReadOnly);
  rows->set_held_rows(ado::HeldRowReading::kAsItStands);
  rows->open(statement, ado::kCommandText);
  return rows;
}

// Reads a column as the object model does.
template <auto kGet, auto kSet>
void try_out(ado::Recordset& row, const Property<kGet, kSet>& property) {
  if (property.form != Form::kOwn) {
    static_cast<void>(read(row, property));
    return;
  }
  Variant value = row.field(property.reading.column).value();
  if (!is_null(value)) static_cast<void>(to_bytes(std::move(value)));
}

// Why the object model cannot load the row; nothing where it can.
template <class Record>
std::optional<std::string> obstacle_in(ado::Recordset& row) {
  std::optional<std::string> obstacle;
  for_each_read<Record>([&](const auto& property) {
    if (obstacle) return;
    try {
      try_out(row, property);
    } catch (const Error& error) {
      obstacle = fmt::format("it cannot be loaded, because of its column {}: {}",
                             to_utf8(property.reading.column), to_utf8(error.description()));
    }
  });
  return obstacle;
}

// The property's value; nothing where it cannot be read.
template <class Record, Name kName>
auto value_of(ado::Recordset& row) {
  const auto& property = kPropertyOf<Record, kName>;
  std::optional<decltype(read(row, property))> value;
  try {
    value = read(row, property);
  } catch (const Error&) {
    // Told of by obstacle_in.
  }
  return value;
}

// The rows of one table, one after the other.
class Examination {
 public:
  explicit Examination(Findings& findings) : findings_(findings) {}

 protected:
  void add(std::string kind, const Row& key, std::string what, std::string command = {}) {
    findings_.push_back({std::move(kind), describe(key), std::move(what), std::move(command)});
  }

  // To be called for every row; `key` is what is known of its key, all of it or nothing.
  template <class Record>
  void examine(ado::Recordset& row, const std::optional<Row>& key) {
    ++number_;
    if (auto obstacle = obstacle_in<Record>(row)) {
      findings_.push_back(
          {"NotLoadable",
           key ? describe(*key)
               : fmt::format("Row {} of {}", number_, to_utf8(Properties<Record>::kTable)),
           std::move(*obstacle),
           {}});
    }
    if (!key) return;
    examine_key(*key);
  }

 private:
  void examine_key(const Row& key) {
    Text joined;
    bool quoted = false;
    for (const Attribute& attribute : key.attributes()) {
      if (!attribute.key) continue;
      const Text part = attribute_text(key[attribute]);
      quoted = quoted || part.find(u'\'') != Text::npos;
      joined += part;
      joined += u'\0';
    }
    const auto [first, is_new] = keys_.try_emplace(fold(joined), number_);
    if (!is_new) {
      add("SameKey", key,
          fmt::format("row {} of the table has the same key, but for letter case; loading stops "
                      "here",
                      first->second));
    }
    if (quoted) {
      add("Quote", key,
          "its name holds a single quote ('), so that it can be listed, but not maintained");
    }
  }

  static Text attribute_text(const AttributeValue& value) {
    const Text* text = std::get_if<Text>(&value);
    if (text != nullptr) return *text;
    const auto* number = std::get_if<std::int16_t>(&value);
    return number != nullptr ? decimal(*number) : Text();
  }

  Findings& findings_;
  std::size_t number_ = 0;
  std::unordered_map<Text, std::size_t> keys_;  // folded, with the number of the first row
};

using Parents = std::map<std::int16_t, std::int16_t>;

class ComponentExamination final : public Examination {
 public:
  using Examination::Examination;

  // The parents of all components, as far as they are known.
  Parents run(ado::Recordset& rows) {
    Parents parents;
    for (; !rows.eof(); rows.move_next()) {
      const auto id = value_of<Component, "CompID">(rows);
      std::optional<Row> key;
      if (id) {
        key = Row::of<Component>();
        key->set<Component, "CompID">(*id);
        parents.emplace(*id, value_of<Component, "ParentID">(rows).value_or(0));
      }
      examine<Component>(rows, key);
    }
    return parents;
  }
};

class PcExamination final : public Examination {
 public:
  using Examination::Examination;

  void run(ado::Recordset& rows, const Parents& components) {
    using PC = RegisteredPC;
    for (; !rows.eof(); rows.move_next()) {
      const auto mac = value_of<PC, "MACNumber">(rows);
      const auto computer = value_of<PC, "ComputerID">(rows);
      const auto component = value_of<PC, "CompID">(rows);
      std::optional<Row> key;
      if (mac && computer && component) key = pc_key({*mac, *computer, *component});
      examine<PC>(rows, key);
      if (key && !components.contains(*component)) {
        add("ComponentMissing", *key, fmt::format("component {} does not exist", *component),
            deletion(*mac, *computer, *component));
      }
    }
  }

 private:
  static std::string deletion(const Text& mac, const Text& computer, std::int16_t component) {
    // The commands name no others.
    if (component < 0 || join({mac, computer}).find(u'\'') != Text::npos) return {};
    return fmt::format("tarnwick pc delete {} --mac {} --component {}",
                       shell_word(to_display_utf8(computer)), shell_word(to_display_utf8(mac)),
                       component);
  }
};

class ReportExamination final : public Examination {
 public:
  using Examination::Examination;

  void run(ado::Recordset& rows) {
    for (; !rows.eof(); rows.move_next()) {
      const auto name = value_of<Report, "Name">(rows);
      std::optional<Row> key;
      if (name) {
        key = Row::of<Report>();
        key->set<Report, "Name">(*name);
      }
      examine<Report>(rows, key);
      if (key && wants_definitions(rows) && !has_definitions(rows)) {
        const bool quoted = name->find(u'\'') != Text::npos;
        add("DefinitionsMissing", *key, "it is of the type CRY, but has no field definitions",
            quoted ? std::string()
                   : fmt::format("tarnwick report import-ttx {} FILE.ttx",
                                 shell_word(to_display_utf8(*name))));
      }
    }
  }

 private:
  static bool wants_definitions(ado::Recordset& row) {
    return value_of<Report, "ReportType">(row) == CrystalReport_rt;
  }

  static bool has_definitions(ado::Recordset& row) {
    Variant value = row.field(u"TTX_Binary").value();
    if (is_null(value)) return false;
    try {
      return !to_bytes(std::move(value)).empty();
    } catch (const Error&) {
      return true;  // something is there that is none: told of by obstacle_in
    }
  }
};

}  // namespace

Findings examine_tables(const std::shared_ptr<ado::Connection>& connection) {
  Findings findings;
  const Parents parents = ComponentExamination(findings).run(*open(connection, kComponentList));
  std::ranges::move(examine_parents(parents), std::back_inserter(findings));
  PcExamination(findings).run(*open(connection, kPcList), parents);
  ReportExamination(findings).run(*open(connection, report_list()));
  return findings;
}

}  // namespace tarnwick::cli
