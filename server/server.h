#pragma once

#include <cstdint>
#include <memory>

#include "components/components.h"
#include "pcs/registered_pcs.h"
#include "reports/reports.h"
#include "state/model_object.h"

namespace tarnwick {

/// The root object of the security object model, the one that a client creates first: owns the
/// three collections, opens the connection that all objects of the process use, and loads the
/// collections. The connection lives as long as a Server lives. Errors stay inside: methods return
/// False and leave an account in the error state.
class Server final : public ModelObject {
 public:
  explicit Server(SharedState& state);
  ~Server();

  /// The shared connection is open and this Server was refreshed once.
  [[nodiscard]] bool initialized() const;

  /// Never null, but when a collection cannot be created.
  [[nodiscard]] std::shared_ptr<Reports> reports();
  [[nodiscard]] std::shared_ptr<RegisteredPCs> registered_pcs();
  [[nodiscard]] std::shared_ptr<Components> components();

  /// Opens the connection of the process anew, for all its objects, enters the application role and
  /// sets the lock time-out to 5,000 ms. An empty `connect_string` does nothing and returns True.
  /// Role and password go into the statement as they stand: a quote in them makes it malformed.
  /// After a failure the connection is in the state that the failed step left it in.
  bool set_connection(TextView connect_string, TextView app_role, TextView app_password);

  /// Loads the components, the PCs and the reports, in this order; stops at the first that fails.
  bool refresh();

 private:
  std::shared_ptr<Components> components_;
  std::shared_ptr<RegisteredPCs> registered_pcs_;
  std::shared_ptr<Reports> reports_;
  bool initialized_ = false;
};

}  // namespace tarnwick
