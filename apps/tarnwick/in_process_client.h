#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/common/engines.h"
#include "apps/common/trace_file.h"
#include "apps/tarnwick/client.h"
#include "apps/tarnwick/scratch_folder.h"
#include "platform/linux/host.h"
#include "platform/message_box.h"
#include "server/server.h"
#include "state/shared_state.h"

namespace tarnwick::cli {

/// The object model in this very process.
class InProcessClient final : public Client {
 public:
  /// `trace_file`: where the statements go; empty for nowhere. Throws std::system_error.
  InProcessClient(std::unique_ptr<platform::MessageBox> message_box,
                  const std::filesystem::path& trace_file);

  Text last_error_msg() override { return state_.errors.message(); }
  FailureCause last_cause() override { return state_.failures.last(); }
  void clear_last_cause() override { state_.failures.clear(); }
  bool set_connection(TextView connect_string, TextView role, TextView password) override;
  bool refresh() override { return server_.refresh(); }
  bool refresh_components() override { return server_.components()->refresh(); }
  bool refresh_pcs() override { return server_.registered_pcs()->refresh(); }
  bool refresh_reports() override { return server_.reports()->refresh(); }
  std::vector<ComponentRow> components() override;
  std::vector<PcRow> pcs() override;
  std::vector<ReportRow> reports() override;
  std::vector<PcRow> find_pcs(TextView name) override;
  std::unique_ptr<ComponentRecord> new_component(const ComponentRow& row) override;
  std::unique_ptr<PcRecord> new_pc(const PcRow& row) override;
  std::unique_ptr<ReportRecord> new_report(const ReportRow& row) override;

 private:
  std::unique_ptr<platform::MessageBox> message_box_;
  // The intermediate file of field definitions: the program's own folder may not be writable.
  ScratchFolder scratch_;
  platform::LinuxHost host_;
  apps::ProgramEngines engines_;
  std::optional<apps::TraceFile> trace_;
  SharedState state_;
  Server server_;
};

}  // namespace tarnwick::cli
