#include "apps/tarnwick/kinds.h"

#include <fmt/format.h>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/table.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {
namespace {

std::string shown(const Text& text) { return printable(to_display_utf8(text)); }

}  // namespace

std::string describe(const ComponentRow& row) { return fmt::format("Component {}", row.comp_id); }

std::string describe(const PcRow& row) {
  return fmt::format("PC {} ({}) of component {}", shown(row.computer_id), shown(row.mac_number),
                     row.comp_id);
}

std::string describe(const ReportRow& row) { return fmt::format("Report '{}'", shown(row.name)); }

ComponentRow key_of(const ComponentRow& row) {
  ComponentRow key;
  key.comp_id = row.comp_id;
  return key;
}

PcRow key_of(const PcRow& row) {
  PcRow key;
  key.mac_number = row.mac_number;
  key.computer_id = row.computer_id;
  key.comp_id = row.comp_id;
  return key;
}

ReportRow key_of(const ReportRow& row) {
  ReportRow key;
  key.name = row.name;
  return key;
}

void require_plain_key_part(const Text& part) {
  if (part.find(u'\'') == Text::npos) return;
  throw Failure(ExitCode::kUsage,
                fmt::format("\"{}\" holds a single quote ('), which would end the text in the "
                            "statements that find a record: they could reach other rows. A record "
                            "with a quote in its key can be listed, but not looked up or changed.",
                            shown(part)));
}

bool same_key(const ComponentRow& a, const ComponentRow& b) { return a.comp_id == b.comp_id; }

bool same_key(const PcRow& a, const PcRow& b) {
  return equals_ignoring_case(a.mac_number, b.mac_number) &&
         equals_ignoring_case(a.computer_id, b.computer_id) && a.comp_id == b.comp_id;
}

bool same_key(const ReportRow& a, const ReportRow& b) {
  return equals_ignoring_case(a.name, b.name);
}

ComponentRow row_of(ComponentRecord& record) { return record.row(); }

PcRow row_of(PcRecord& record) {
  PcRow row = record.row();
  row.soft_lock.clear();
  return row;
}

ReportRow row_of(ReportRecord& record) {
  ReportRow row = record.row();
  row.soft_lock.clear();
  return row;
}

std::unique_ptr<ComponentRecord> new_record(Client& client, const ComponentRow& row) {
  return client.new_component(row);
}

std::unique_ptr<PcRecord> new_record(Client& client, const PcRow& row) {
  require_plain_key(row);
  return client.new_pc(row);
}

std::unique_ptr<ReportRecord> new_record(Client& client, const ReportRow& row) {
  require_plain_key(row);
  return client.new_report(row);
}

}  // namespace tarnwick::cli
