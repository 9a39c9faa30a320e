#include "apps/tarnwick/in_process_client.h"

#include <utility>

#include "apps/tarnwick/failure.h"
#include "pcs/find_pcs.h"

namespace tarnwick::cli {
namespace {

ComponentRow row_of(const Component& component) {
  return {.comp_id = component.comp_id(),
          .name = component.name(),
          .parent_id = component.parent_id(),
          .priority = component.priority(),
          .image_index = component.image_index(),
          .force_display = component.force_display(),
          .maintenance_type = component.maintenance_type(),
          .security_group = component.security_group(),
          .report_code = component.report_code(),
          .server_name = component.server_name(),
          .meta_id = component.meta_id(),
          .authorized_role = component.authorized_role(),
          .row_version = component.row_version()};
}

PcRow row_of(const RegisteredPC& pc) {
  return {.mac_number = pc.mac_number(),
          .computer_id = pc.computer_id(),
          .comp_id = pc.comp_id(),
          .maintenance_type = pc.maintenance_type(),
          .active = pc.active(),
          .image_index = pc.image_index(),
          .last_user = pc.last_user(),
          .last_login = pc.last_login(),
          .total_logins = pc.total_logins(),
          .activated_by = pc.activated_by(),
          .activate_date = pc.activate_date(),
          .deactivated_by = pc.deactivated_by(),
          .deactivated_date = pc.deactivated_date(),
          .software_version = pc.software_version(),
          .soft_lock = pc.soft_lock(),
          .row_version = pc.row_version()};
}

ReportRow row_of(const Report& report) {
  return {.name = report.name(),
          .title = report.title(),
          .author = report.author(),
          .created = report.created(),
          .version = report.version(),
          .report_group_id = report.report_group_id(),
          .image_index = report.image_index(),
          .sql = report.sql(),
          .ttx = report.ttx(),
          .report_type = report.report_type(),
          .description = report.description(),
          .maintenance_type = report.maintenance_type(),
          .definition = report.definition(),
          .soft_lock = report.soft_lock(),
          .row_version = report.row_version()};
}

template <class Row, class Collection>
std::vector<Row> rows_of(const Collection& collection) {
  std::vector<Row> rows;
  rows.reserve(static_cast<std::size_t>(collection.count()));
  auto entries = collection.new_enum();
  while (const auto entry = entries.next()) rows.push_back(row_of(*entry));
  return rows;
}

class InProcessComponent final : public ComponentRecord {
 public:
  explicit InProcessComponent(std::shared_ptr<Component> component)
      : component_(std::move(component)) {}

  bool lock_record() override { return component_->lock_record(); }
  bool release_record() override { return component_->release_record(); }
  void remove() override { component_->remove(); }
  ComponentRow row() override { return row_of(*component_); }
  UpdateErrorEnum update() override { return component_->update(); }
  UpdateErrorEnum insert() override { return component_->insert(); }
  std::vector<PcRow> pcs() override {
    std::vector<PcRow> rows;
    for (const auto& pc : *component_->pcs()) rows.push_back(row_of(*pc));
    return rows;
  }

 private:
  std::shared_ptr<Component> component_;
};

class InProcessPc final : public PcRecord {
 public:
  InProcessPc(SharedState& state, Server& server)
      : server_(server), pc_(std::make_shared<RegisteredPC>(state)) {}

  bool lock_record() override { return pc_->lock_record(); }
  bool release_record() override { return pc_->release_record(); }
  void remove() override {
    // Delete takes the PC out of the register too, and calls it a failure if it is not there.
    server_.registered_pcs()->add_pc_object(pc_);
    pc_->remove();
  }
  PcRow row() override { return row_of(*pc_); }
  void assign(const PcRow& row) override {
    pc_->set_mac_number(row.mac_number);
    pc_->set_computer_id(row.computer_id);
    pc_->set_comp_id(row.comp_id);
    pc_->set_maintenance_type(row.maintenance_type);
    pc_->set_active(row.active);
    pc_->set_image_index(row.image_index);
    pc_->set_last_user(row.last_user);
    pc_->set_last_login(row.last_login);
    pc_->set_total_logins(row.total_logins);
    pc_->set_activated_by(row.activated_by);
    pc_->set_activate_date(row.activate_date);
    pc_->set_deactivated_by(row.deactivated_by);
    pc_->set_deactivated_date(row.deactivated_date);
    pc_->set_software_version(row.software_version);
  }
  UpdateErrorEnum update() override { return pc_->update(); }
  UpdateErrorEnum insert() override { return pc_->insert(); }

 private:
  Server& server_;
  std::shared_ptr<RegisteredPC> pc_;
};

class InProcessReport final : public ReportRecord {
 public:
  InProcessReport(SharedState& state, Server& server)
      : server_(server), report_(std::make_shared<Report>(state)) {}

  bool lock_record() override { return report_->lock_record(); }
  bool release_record() override { return report_->release_record(); }
  void remove() override {
    // As with PCs.
    server_.reports()->add_report_object(report_);
    report_->remove();
  }
  ReportRow row() override { return row_of(*report_); }
  void assign(const ReportRow& row) override {
    report_->set_name(row.name);
    report_->set_title(row.title);
    report_->set_author(row.author);
    report_->set_created(row.created);
    report_->set_version(row.version);
    report_->set_report_group_id(row.report_group_id);
    report_->set_image_index(row.image_index);
    report_->set_sql(row.sql);
    report_->set_ttx(row.ttx);
    report_->set_report_type(row.report_type);
    report_->set_description(row.description);
    report_->set_maintenance_type(row.maintenance_type);
    report_->set_definition(row.definition);
  }
  UpdateErrorEnum update(TextView report_file) override { return report_->update(report_file); }
  UpdateErrorEnum insert(TextView report_file) override { return report_->insert(report_file); }
  bool import_ttx(TextView file) override { return report_->import_ttx(file); }
  bool extract_ttx(TextView file) override { return report_->extract_ttx(file); }
  bool extract_report(TextView file) override { return report_->extract_report(file); }

 private:
  Server& server_;
  std::shared_ptr<Report> report_;
};

}  // namespace

InProcessClient::InProcessClient(std::unique_ptr<platform::MessageBox> message_box,
                                 const std::filesystem::path& trace_file)
    : message_box_(std::move(message_box)),
      host_(*message_box_, scratch_.path()),
      trace_(trace_file.empty() ? std::nullopt : std::make_optional<apps::TraceFile>(trace_file)),
      state_(host_, engines_.list(), trace_ ? &*trace_ : nullptr),
      server_(state_) {}

bool InProcessClient::set_connection(TextView connect_string, TextView role, TextView password) {
  return server_.set_connection(connect_string, role, password);
}

std::vector<ComponentRow> InProcessClient::components() {
  return rows_of<ComponentRow>(*server_.components());
}

std::vector<PcRow> InProcessClient::pcs() { return rows_of<PcRow>(*server_.registered_pcs()); }

std::vector<ReportRow> InProcessClient::reports() { return rows_of<ReportRow>(*server_.reports()); }

std::vector<PcRow> InProcessClient::find_pcs(TextView name) {
  std::vector<PcRow> rows;
  for (PcKey& key : tarnwick::find_pcs(state_, name)) {
    PcRow& row = rows.emplace_back();
    row.mac_number = std::move(key.mac_number);
    row.computer_id = std::move(key.computer_id);
    row.comp_id = key.comp_id;
  }
  return rows;
}

std::unique_ptr<ComponentRecord> InProcessClient::new_component(const ComponentRow& row) {
  // A list of its own, for the shared one may hold the id already.
  Components list(state_);
  auto component =
      list.add(row.comp_id, row.name, row.parent_id, row.priority, row.image_index,
               row.force_display, static_cast<std::int16_t>(row.maintenance_type), row.report_code,
               row.server_name, row.security_group, row.meta_id, row.authorized_role);
  if (component == nullptr) {
    throw Failure(ExitCode::kFailed, "The component cannot be made.", last_error_msg());
  }
  return std::make_unique<InProcessComponent>(std::move(component));
}

std::unique_ptr<PcRecord> InProcessClient::new_pc(const PcRow& row) {
  auto pc = std::make_unique<InProcessPc>(state_, server_);
  pc->assign(row);
  return pc;
}

std::unique_ptr<ReportRecord> InProcessClient::new_report(const ReportRow& row) {
  auto report = std::make_unique<InProcessReport>(state_, server_);
  report->assign(row);
  return report;
}

}  // namespace tarnwick::cli
