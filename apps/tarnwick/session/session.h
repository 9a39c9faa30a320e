#pragma once

#include <memory>
#include <utility>

#include "client/proxy.h"
#include "client/record.h"

namespace tarnwick::cli {

using client::Attribute;
using client::AttributeValue;
using client::ClassId;
using client::Proxy;
using client::Record;
using client::Row;

/// The object model as one command uses it, through one Server. Failures of the object model are
/// results, with the account in last_error_msg; see client::Transport for what is thrown.
class Session final {
 public:
  /// `foundation`: what the transport stands on, which goes after it.
  Session(std::shared_ptr<void> foundation, std::unique_ptr<client::Transport> transport)
      : foundation_(std::move(foundation)),
        transport_(std::move(transport)),
        server_(Proxy<Server>::create(*transport_)) {}

  [[nodiscard]] client::Transport& transport() const { return *transport_; }
  [[nodiscard]] const Proxy<Server>& server() const { return server_; }

  [[nodiscard]] Text last_error_msg() const { return server_.get<"LastErrorMsg">(); }
  [[nodiscard]] FailureCause last_cause() const { return transport_->last_cause(); }
  void clear_last_cause() const { transport_->clear_last_cause(); }

 private:
  std::shared_ptr<void> foundation_;
  std::unique_ptr<client::Transport> transport_;
  Proxy<Server> server_;
};

}  // namespace tarnwick::cli
