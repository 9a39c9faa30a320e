#include "apps/tarnwick/maintenance/naming.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/output/table.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {
std::string describe(const Row& row) {
  if (row.record_class() == ClassId::kComponent) {
    return fmt::format("Component {}", row.get<Component, "CompID">());
  }
  if (row.record_class() == ClassId::kReport) {
    return fmt::format("Report '{}'", printable(row.get<Report, "Name">()));
  }
  using PC = RegisteredPC;
  return fmt::format("PC {} ({}) of component {}", printable(row.get<PC, "ComputerID">()),
                     printable(row.get<PC, "MACNumber">()), row.get<PC, "CompID">());
}

Row key_of(const Row& row) {
  Row key(row.record_class());
  for (const Attribute& attribute : row.attributes()) {
    if (attribute.key) key.set(attribute, row[attribute]);
  }
  return key;
}

bool same_value(const AttributeValue& a, const AttributeValue& b) {
  const Text* const text = std::get_if<Text>(&a);
  const Text* const other = std::get_if<Text>(&b);
  return text != nullptr && other != nullptr ? equals_ignoring_case(*text, *other) : a == b;
}

bool same_key(const Row& a, const Row& b) {
  return std::ranges::all_of(a.attributes(), [&](const Attribute& attribute) {
    return !attribute.key || same_value(a[attribute], b[attribute]);
  });
}

Text version_of(const Row& row) {
  for (const Attribute& attribute : row.attributes()) {
    if (attribute.form != Form::kRowVersion) continue;
    if (const Text* const version = std::get_if<Text>(&row[attribute])) return *version;
  }
  return {};
}

// The holder's computer name, " - ", and the time; a name may hold a dash itself.
Stamp parse_stamp(TextView stamp) {
  const std::string text = to_display_utf8(stamp);
  const std::size_t dash = text.rfind(" - ");
  if (dash == std::string::npos) return {text, ""};
  return {text.substr(0, dash), text.substr(dash + 3)};
}

void require_plain_key(const Row& row) {
  for (const Attribute& attribute : row.attributes()) {
    const Text* const part = attribute.key ? std::get_if<Text>(&row[attribute]) : nullptr;
    if (part == nullptr || part->find(u'\'') == Text::npos) continue;
    throw Failure(ExitCode::kUsage,
                  fmt::format("\"{}\" holds a single quote ('), which would end the text in the "
                              "statements that find a record: they could reach other rows. A "
                              "record with a quote in its key can be listed, but not looked up or "
                              "changed.",
                              printable(*part)));
  }
}

}  // namespace tarnwick::cli
