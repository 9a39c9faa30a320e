#include "client/record.h"

namespace tarnwick::client {
namespace {

// What an argument of Add is where the row does not tell.
template <Name kName>
AttributeType<Component, kName> value_or_zero(const Row& row) {
  const auto& value = row[row.attributes()[place_of_attribute<Component>(kName.view())]];
  const auto* held = std::get_if<AttributeType<Component, kName>>(&value);
  return held == nullptr ? AttributeType<Component, kName>() : *held;
}

automation::Object add_component(Transport& transport, const Row& row) {
  // A list of its own, for the shared one may hold the id already.
  const auto list = Proxy<Components>::create(transport);
  return list
      .call<"Add">(value_or_zero<"CompID">(row), value_or_zero<"Name">(row),
                   value_or_zero<"ParentID">(row), value_or_zero<"Priority">(row),
                   value_or_zero<"ImageIndex">(row), value_or_zero<"ForceDisplay">(row),
                   static_cast<std::int16_t>(value_or_zero<"MaintenanceType">(row)),
                   value_or_zero<"ReportCode">(row), value_or_zero<"ServerName">(row),
                   value_or_zero<"SecurityGroup">(row), value_or_zero<"MetaID">(row),
                   value_or_zero<"AuthorizedRole">(row))
      .object();
}

}  // namespace

Record Record::make(Transport& transport, const Row& row) {
  const automation::ClassId id = row.record_class();
  Record record(transport, id == automation::ClassId::kComponent
                               ? add_component(transport, row)
                               : transport.create(automation::class_of(id)));
  if (record) record.assign(row);
  return record;
}

bool Record::lock() const {
  return with_proxy([](const auto& proxy) { return proxy.template call<"LockRecord">(); });
}

bool Record::release() const {
  return with_proxy([](const auto& proxy) { return proxy.template call<"ReleaseRecord">(); });
}

void Record::assign(const Row& row) const {
  if (row.record_class() != object_.class_id) throw Error(ErrorNumber::kTypeMismatch);
  for (const Attribute& attribute : row.attributes()) {
    const AttributeValue& value = row[attribute];
    if (!attribute.settable || std::holds_alternative<Empty>(value)) continue;
    transport_->let(object_, *attribute.member, to_member_value(value));
  }
}

UpdateErrorEnum Record::update(TextView report_file) const {
  return with_proxy([&]<class T>(const Proxy<T>& proxy) {
    if constexpr (std::same_as<T, Report>) {
      return proxy.template call<"Update">(report_file);
    } else {
      return proxy.template call<"Update">();
    }
  });
}

UpdateErrorEnum Record::insert(TextView report_file) const {
  return transport_->insert(object_, report_file);
}

bool Record::remove() const {
  return with_proxy([](const auto& proxy) { return proxy.template call<"Delete">(); });
}

}  // namespace tarnwick::client
