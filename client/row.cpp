#include "client/row.h"

#include <algorithm>

namespace tarnwick::client {

bool Row::complete() const {
  return std::ranges::none_of(
      values_, [](const AttributeValue& value) { return std::holds_alternative<Empty>(value); });
}

void Row::fill() {
  for (const Attribute& attribute : attributes()) {
    AttributeValue& value = values_[place_of(attribute)];
    if (std::holds_alternative<Empty>(value)) value = attribute.zero;
  }
}

}  // namespace tarnwick::client
