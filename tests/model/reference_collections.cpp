// The collections of the reference model: how they are loaded and added to.

#include "tests/model/reference_model.h"

namespace tarnwick::model {
namespace {

constexpr std::array<const char*, kKinds> kCollections{"Components", "RegisteredPCs", "Reports"};

RecordPtr component_to_add(Process& process, const Step& step) {
  const std::int16_t id = chosen(kComponentIds, step.key);
  if (id < 0) {
    raise(process, "No ComponentID provided, unable to add component to collection!");
  }
  auto record = std::make_shared<Record>(process, kComponents);
  const std::string text = chosen(kTexts, step.value);
  const std::int64_t number = chosen(kSmallNumbers, step.value);
  record->set("CompID", std::int64_t{id});
  for (const char* name : {"ParentID", "Priority", "ImageIndex"}) record->set(name, number);
  for (const char* name : {"Name", "ServerName", "SecurityGroup", "AuthorizedRole"}) {
    record->set(name, text);
  }
  record->set("ForceDisplay", step.value % 2 == 1);
  record->set("MaintenanceType", std::int64_t{2});
  record->set("ReportCode", std::int64_t{step.value % 4});
  record->set("MetaID", std::string(chosen(kMetaIds, step.value)));
  return record;
}

RecordPtr pc_to_add(Process& process, const Step& step) {
  auto record = std::make_shared<Record>(process, kPcs);
  const PcName& name = chosen(kPcNames, step.key);
  const std::string text = chosen(kTexts, step.value);
  const std::int64_t number = chosen(kSmallNumbers, step.value);
  record->set("MACNumber", std::string(name.mac));
  record->set("CompID", std::int64_t{name.component});
  record->set("ComputerID", std::string(name.computer));
  record->set("Active", step.value % 2 == 1);
  if (number >= 0) record->set("ImageIndex", number);
  record->set("TotalLogins", number);
  for (const char* property : {"LastUser", "ActivatedBy", "DeActivatedBy", "SoftwareVersion"}) {
    record->set(property, text);
  }
  for (const char* property : {"LastLogin", "ActivateDate", "DeActivatedDate"}) {
    record->set(property, chosen(kDates, step.value));
  }
  return record;
}

RecordPtr report_to_add(Process& process, const Step& step) {
  const std::string name = chosen(kReportNames, step.key);
  if (name.empty()) {
    raise(process, "No report name provided, unable to add report to collection!");
  }
  auto record = std::make_shared<Record>(process, kReports);
  const std::string text = chosen(kTexts, step.value);
  record->set("ImageIndex", std::int64_t{chosen(kSmallNumbers, step.value)});
  record->set("MaintenanceType", std::int64_t{4});
  record->set("ReportType", std::int64_t{step.value % 2});
  record->set("Name", name);
  for (const char* property :
       {"Title", "Author", "Version", "ReportGroupID", "SQL", "Description", "Definition"}) {
    record->set(property, text);
  }
  record->set("Created", chosen(kDates, step.value));
  record->set("TTX", std::string(chosen(kTtxTexts, step.value)));
  return record;
}

}  // namespace

RecordPtr add(Process& process, Kind kind, const Step& step) {
  RecordPtr added;
  guarded(process, kCollections[kind], "Add", [&] {
    RecordPtr record = kind == kComponents ? component_to_add(process, step)
                       : kind == kPcs      ? pc_to_add(process, step)
                                           : report_to_add(process, step);
    process.require_store(kind).add(record->key(), record);
    added = std::move(record);
  });
  return added;
}

bool add_object(Process& process, const RecordPtr& record) {
  bool result = false;
  static constexpr std::array<const char*, kKinds> kProcedures{"AddCompObject", "AddPCObject",
                                                               "AddReportObject"};
  const Kind kind = record->kind;
  guarded(process, kCollections[kind], kProcedures[kind], [&] {
    const std::string key = record->key();
    if (process.stores[kind] != nullptr && process.stores[kind]->find(key) != nullptr) {
      process.message =
          kind == kComponents
              ? "Component '" + std::to_string(record->number("CompID")) +
                    "' is already on file. Unable to add to the components collection!"
          : kind == kPcs
              ? "PC '" + key + "' is already on file. Unable to add to the PC collection!"
              : "Report '" + key + "' is already on file. Unable to add to the reports collection!";
      return;
    }
    process.require_store(kind).add(key, record);
    result = true;
  });
  return result;
}

bool refresh_collection(Process& process, Kind kind) {
  bool result = false;
  std::string field, report;
  const auto extra = [&]() -> std::string {
    if (kind == kPcs) return "Field :     \t\r\nRegPCMacNbr:\t\r\n";
    if (kind == kReports) return "Field :     \t" + field + "\r\nRegRptName :\t" + report + "\r\n";
    return {};
  };
  const char* component = kind == kComponents ? "Components"
                          : kind == kPcs      ? "Tarnwick"
                                              : "RegisteredPCs";
  guarded(
      process, component, kind == kPcs ? "General.RefreshPCs" : "Refresh",
      [&] {
        if (kind == kReports) process.cached.reset();
        const auto rows = read_table(process, kind);
        if (rows) {
          // The old entries go when the new list is there.
          process.stores[kind] = std::make_shared<Store>();
          const auto store = process.stores[kind];
          for (const StoredRow& row : *rows) {
            auto record = std::make_shared<Record>(process, kind);
            field = "ReportName";
            if (kind == kReports) report = std::get<std::string>(row.columns.at("ReportName"));
            const bool loaded = load(*record, &row);
            if (kind == kComponents && !loaded) continue;
            store->add(kind == kReports ? report : record->key(), record);
          }
        }
        result = true;
      },
      extra);
  return result;
}

}  // namespace tarnwick::model
