// A record of the reference model: its values, its names, and whether it holds its row.

#include "tests/model/reference_model.h"

namespace tarnwick::model {

void end_transaction(Record& record) {
  if (record.fetched && record.fetched->connection != nullptr) {
    auto& transaction = record.fetched->connection->transaction;
    if (transaction && transaction->owner == &record) transaction.reset();
  }
}

Record::Record(Process& of, Kind what) : process(of), kind(what) {
  for (const Property& property : properties_of(kind)) {
    using Type = Property::Type;
    Datum value = std::string();
    if (property.type == Type::kBoolean) value = false;
    if (property.type == Type::kDate) value = 0.0;
    if (property.type == Type::kShort || property.type == Type::kLong ||
        property.type == Type::kReportCode || property.type == Type::kReportType) {
      value = std::int64_t{0};
    }
    values[property.name] = value;
  }
  static constexpr std::array<int, kKinds> kImages{1, 10, 11};
  static constexpr std::array<int, kKinds> kMaintenance{0, 5, 4};
  values["ImageIndex"] = std::int64_t{kImages[kind]};
  values["MaintenanceType"] = std::int64_t{kMaintenance[kind]};
  if (kind != kReports) values["CompID"] = std::int64_t{-1};
  if (kind == kReports) values["ReportType"] = std::int64_t{1};
}

Record::~Record() { end_transaction(*this); }

std::string Record::key() const {
  switch (kind) {
    case kComponents:
      return number("CompID") < 0 ? "" : "C" + std::to_string(number("CompID"));
    case kPcs:
      return pc_key(text("MACNumber"), text("ComputerID"), number("CompID"));
    case kReports:
      break;
  }
  return text("Name");
}

bool Record::initialized() const {
  switch (kind) {
    case kComponents:
      return number("CompID") >= 0 && process.connection != nullptr;
    case kPcs:
      return process.connection != nullptr;
    case kReports:
      break;
  }
  return !text("Name").empty();
}

bool Record::locked() const {
  return marked_locked && fetched && fetched->connection != nullptr && fetched->connection->open;
}

bool Record::holds_row() const {
  return locked() && fetched->connection->transaction &&
         fetched->connection->transaction->owner == this;
}

const std::string& Record::text(const char* property) const {
  return std::get<std::string>(values.at(property));
}

std::int64_t Record::number(const char* property) const {
  return std::get<std::int64_t>(values.at(property));
}

RowName Record::row() const {
  switch (kind) {
    case kComponents:
      return row_of_component(number("CompID"));
    case kPcs:
      return row_of_pc(text("MACNumber"), text("ComputerID"), number("CompID"));
    case kReports:
      break;
  }
  return row_of_report(text("Name"));
}

void Record::set(const std::string& property, Datum value) {
  Datum& held = values[property];
  if (held != value) changed = true;
  if (property == "MetaID") {
    std::string& text = std::get<std::string>(value);
    for (char& letter : text) {
      if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    }
  }
  if (property == "MACNumber" && first_mac.empty()) first_mac = std::get<std::string>(value);
  if (property == "ComputerID" && first_computer.empty()) {
    first_computer = std::get<std::string>(value);
  }
  if (property == "Name" && first_name.empty()) first_name = std::get<std::string>(value);
  if (property == "CompID" && first_id == -1) first_id = std::get<std::int64_t>(value);
  held = std::move(value);
}

}  // namespace tarnwick::model
