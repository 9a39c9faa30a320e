#include "client/transport.h"

namespace tarnwick::client {

Row Transport::read(const Object& record) {
  Row row(record.class_id);
  for (const Attribute& attribute : row.attributes()) {
    row.set(attribute, from_member_value(attribute, call(record, *attribute.member, {})));
  }
  return row;
}

std::vector<Row> Transport::rows(const Object& collection) {
  const Class& of = automation::class_of(collection.class_id);
  const auto entries = call_for_all(collection, *automation::find_member(of, "NewEnum"), {});
  std::vector<Row> rows;
  rows.reserve(entries.size());
  for (const Object& entry : entries) rows.push_back(read(entry));
  return rows;
}

}  // namespace tarnwick::client
