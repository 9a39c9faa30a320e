#pragma once

#include <map>

#include "automation/com/com.h"
#include "automation/com/own_variant.h"
#include "client/transport.h"

namespace tarnwick::client {

/// The object model in the registered COM server, by its dispatch interfaces. For a thread that has
/// initialised COM. Insert and FindPCs are not offered.
class ComTransport final : public Transport {
 public:
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
  FailureCause last_cause() override;
  void clear_last_cause() override;

 private:
  using Dispatch = automation::com::ComPtr<IDispatch>;

  void invoke(const automation::Object& object, const automation::Member& member, WORD flags,
              const std::vector<automation::Value>& arguments, VARIANT* result);
  DISPID id_of(IDispatch* object, const automation::Member& member);
  ::_LastCause* cause();

  std::map<const automation::Member*, DISPID> ids_;
  automation::com::ComPtr<::_LastCause> cause_;
};

}  // namespace tarnwick::client
