#pragma once

#include "client/transport.h"

namespace tarnwick::client {

/// The object model in this very process: the tables themselves.
class InProcessTransport final : public Transport {
 public:
  /// `state` must outlive this.
  explicit InProcessTransport(SharedState& state) : state_(state) {}

  automation::Object create(const automation::Class& of) override;
  automation::Value call(const automation::Object& object, const automation::Member& member,
                         const std::vector<automation::Value>& arguments) override;
  std::vector<automation::Object> call_for_all(
      const automation::Object& object, const automation::Member& member,
      const std::vector<automation::Value>& arguments) override;
  void let(const automation::Object& object, const automation::Member& member,
           const automation::Value& value) override;
  Row read(const automation::Object& record) override;
  std::vector<Row> rows(const automation::Object& collection) override;
  UpdateErrorEnum insert(const automation::Object& record, TextView report_file) override;
  std::vector<PcKey> find_pcs(TextView name) override;
  FailureCause last_cause() override { return state_.failures.last(); }
  void clear_last_cause() override { state_.failures.clear(); }

 private:
  SharedState& state_;
};

}  // namespace tarnwick::client
