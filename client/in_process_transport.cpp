#include "client/transport.h"

namespace tarnwick::client {
namespace {

// What a member raises is what a client is told.
template <class Step>
auto carried_out(Step&& step) {
  try {
    return step();
  } catch (const Error& error) {
    throw CallError(CallError::Reason::kRefused, error.what(), error.number());
  }
}

std::unique_ptr<automation::Enumerator> walk_through(const Value& many) {
  if (const auto* collection = std::get_if<std::shared_ptr<automation::Collection>>(&many)) {
    return (*collection)->enumerate();
  }
  return std::get<std::shared_ptr<automation::Enumerator>>(many)->clone();
}

class InProcessTransport final : public Transport {
 public:
  explicit InProcessTransport(SharedState& state) : state_(state) {}

  Object create(const Class& of) override {
    return carried_out([&] { return of.create(state_); });
  }

  Value call(const Object& object, const Member& member,
             const std::vector<Value>& arguments) override {
    return carried_out([&] { return automation::call(object, member, arguments); });
  }

  std::vector<Object> call_for_all(const Object& object, const Member& member,
                                   const std::vector<Value>& arguments) override {
    return carried_out([&] {
      const auto walk = walk_through(automation::call(object, member, arguments));
      std::vector<Object> entries;
      while (Object entry = walk->next()) entries.push_back(std::move(entry));
      return entries;
    });
  }

  void let(const Object& object, const Member& member, const Value& value) override {
    carried_out([&] { automation::let(object, member, value); });
  }

  UpdateErrorEnum insert(const Object& record, TextView report_file) override {
    return carried_out([&] { return automation::insert(record, report_file); });
  }

  std::vector<PcKey> find_pcs(TextView name) override {
    return carried_out([&] { return tarnwick::find_pcs(state_, name); });
  }

  Look look(const Object& record) override {
    return carried_out([&] { return automation::look(record); });
  }

  std::vector<StoredReportFile> stored_report_files() override {
    return carried_out([&] { return tarnwick::stored_report_files(state_); });
  }

  FailureCause last_cause() override { return state_.failures.last(); }
  void clear_last_cause() override { state_.failures.clear(); }

 private:
  SharedState& state_;
};

}  // namespace

std::unique_ptr<Transport> make_in_process_transport(SharedState& state) {
  return std::make_unique<InProcessTransport>(state);
}

}  // namespace tarnwick::client
