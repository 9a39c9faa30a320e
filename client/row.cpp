#include "client/row.h"

#include <algorithm>

namespace tarnwick::client {
namespace {

bool is_known(const AttributeValue& value) { return !std::holds_alternative<Empty>(value); }

}  // namespace

void Row::overlay(const Row& other) {
  if (other.class_ != class_) throw Error(ErrorNumber::kTypeMismatch);
  for (std::size_t place = 0; place < values_.size(); ++place) {
    if (is_known(other.values_[place])) values_[place] = other.values_[place];
  }
}

bool Row::any() const { return std::ranges::any_of(values_, is_known); }

bool Row::complete() const { return std::ranges::all_of(values_, is_known); }

void Row::fill() {
  for (const Attribute& attribute : attributes()) {
    if (!is_known((*this)[attribute])) set(attribute, attribute.zero);
  }
}

}  // namespace tarnwick::client
