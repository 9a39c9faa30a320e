#include "client/in_process_transport.h"

#include "client/call_error.h"

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

std::unique_ptr<automation::Enumerator> walk_through(const automation::Value& many) {
  if (const auto* collection = std::get_if<std::shared_ptr<automation::Collection>>(&many)) {
    return (*collection)->enumerate();
  }
  return std::get<std::shared_ptr<automation::Enumerator>>(many)->clone();
}

Row row_of(const automation::Object& record) {
  Row row(record.class_id);
  for (const Attribute& attribute : row.attributes()) {
    row.set(attribute, from_member_value(attribute, automation::call(record, *attribute.member)));
  }
  return row;
}

}  // namespace

automation::Object InProcessTransport::create(const automation::Class& of) {
  return carried_out([&] { return of.create(state_); });
}

automation::Value InProcessTransport::call(const automation::Object& object,
                                           const automation::Member& member,
                                           const std::vector<automation::Value>& arguments) {
  return carried_out([&] { return automation::call(object, member, arguments); });
}

std::vector<automation::Object> InProcessTransport::call_for_all(
    const automation::Object& object, const automation::Member& member,
    const std::vector<automation::Value>& arguments) {
  return carried_out([&] {
    const auto walk = walk_through(automation::call(object, member, arguments));
    std::vector<automation::Object> entries;
    while (automation::Object entry = walk->next()) entries.push_back(std::move(entry));
    return entries;
  });
}

void InProcessTransport::let(const automation::Object& object, const automation::Member& member,
                             const automation::Value& value) {
  carried_out([&] { automation::let(object, member, value); });
}

Row InProcessTransport::read(const automation::Object& record) {
  return carried_out([&] { return row_of(record); });
}

std::vector<Row> InProcessTransport::rows(const automation::Object& collection) {
  return carried_out([&] {
    const automation::Class& of = automation::class_of(collection.class_id);
    const auto count = automation::call(collection, *automation::find_member(of, "Count"));
    const auto walk =
        walk_through(automation::call(collection, *automation::find_member(of, "NewEnum")));
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(std::get<std::int32_t>(count)));
    while (const automation::Object entry = walk->next()) rows.push_back(row_of(entry));
    return rows;
  });
}

UpdateErrorEnum InProcessTransport::insert(const automation::Object& record, TextView report_file) {
  return carried_out([&] { return automation::insert(record, report_file); });
}

std::vector<PcKey> InProcessTransport::find_pcs(TextView name) {
  return carried_out([&] { return tarnwick::find_pcs(state_, name); });
}

}  // namespace tarnwick::client
