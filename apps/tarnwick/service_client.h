#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/tarnwick/client.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/service_connection.h"
#include "apps/tarnwick/terminal_input.h"
#include "platform/message_box.h"

namespace tarnwick::cli {

/// The object model in the service.
class ServiceClient final : public Client {
 public:
  /// `message_box` answers when a call meets a lock; see ServiceConnection for `input`.
  ServiceClient(std::unique_ptr<platform::MessageBox> message_box,
                std::shared_ptr<TerminalInput> input)
      : message_box_(std::move(message_box)), input_(std::move(input)) {}

  /// Finds a service that can be connected to `connect_string` without taking anything from its
  /// other clients: that of the bus that `options` name or of the session, or one of this process's
  /// own. Throws Failure.
  void open(const Options& options, TextView connect_string);

  Text last_error_msg() override;
  FailureCause last_cause() override;
  void clear_last_cause() override;
  bool set_connection(TextView connect_string, TextView role, TextView password) override;
  bool refresh() override;
  bool refresh_components() override;
  bool refresh_pcs() override;
  bool refresh_reports() override;
  std::vector<ComponentRow> components() override;
  std::vector<PcRow> pcs() override;
  std::vector<ReportRow> reports() override;
  std::vector<PcRow> find_pcs(TextView name) override;
  std::unique_ptr<ComponentRecord> new_component(const ComponentRow& row) override;
  std::unique_ptr<PcRecord> new_pc(const PcRow& row) override;
  std::unique_ptr<ReportRecord> new_report(const ReportRow& row) override;

 private:
  [[nodiscard]] std::string collection(const char* name);

  void wait_for_turn(ServiceConnection& service, const std::string& connect_string);

  std::unique_ptr<platform::MessageBox> message_box_;
  std::shared_ptr<TerminalInput> input_;
  std::unique_ptr<ServiceConnection> service_;
  std::unique_ptr<RemoteObject> server_;
};

}  // namespace tarnwick::cli
