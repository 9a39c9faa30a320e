#include "client/record.h"

namespace tarnwick::client {
namespace {

Object add_component(Transport& transport, Row row) {
  row.fill();
  // A list of its own, for the shared one may hold the id already.
  const auto list = Proxy<Components>::create(transport);
  using Of = Component;
  return list
      .call<"Add">(
          row.get<Of, "CompID">(), row.get<Of, "Name">(), row.get<Of, "ParentID">(),
          row.get<Of, "Priority">(), row.get<Of, "ImageIndex">(), row.get<Of, "ForceDisplay">(),
          static_cast<std::int16_t>(row.get<Of, "MaintenanceType">()), row.get<Of, "ReportCode">(),
          row.get<Of, "ServerName">(), row.get<Of, "SecurityGroup">(), row.get<Of, "MetaID">(),
          row.get<Of, "AuthorizedRole">())
      .object();
}

}  // namespace

Record Record::make(Transport& transport, const Row& row) {
  const ClassId id = row.record_class();
  Record record(transport, id == ClassId::kComponent ? add_component(transport, row)
                                                     : transport.create(automation::class_of(id)));
  if (record) record.assign(row);
  return record;
}

Value Record::call_named(std::string_view name, const std::vector<Value>& arguments) const {
  const Member& member = *automation::find_member(automation::class_of(object_.class_id), name);
  return transport_->call(object_, member, automation::with_defaults(member, arguments));
}

bool Record::lock() const { return std::get<bool>(call<"LockRecord">()); }

bool Record::release() const { return std::get<bool>(call<"ReleaseRecord">()); }

bool Record::remove() const { return std::get<bool>(call<"Delete">()); }

void Record::assign(const Row& row) const {
  if (row.record_class() != object_.class_id) throw Error(ErrorNumber::kTypeMismatch);
  for (const Attribute& attribute : row.attributes()) {
    const AttributeValue& value = row[attribute];
    if (!attribute.settable || std::holds_alternative<Empty>(value)) continue;
    transport_->let(object_, *attribute.member, to_member_value(value));
  }
}

UpdateErrorEnum Record::update(TextView report_file) const {
  std::vector<Value> arguments;
  if (object_.class_id == ClassId::kReport) arguments.emplace_back(Text(report_file));
  return static_cast<UpdateErrorEnum>(std::get<std::int32_t>(call<"Update">(arguments)));
}

UpdateErrorEnum Record::insert(TextView report_file) const {
  return transport_->insert(object_, report_file);
}

}  // namespace tarnwick::client
