#pragma once

#include "automation/component_members.h"
#include "automation/pc_members.h"
#include "automation/report_members.h"
#include "automation/server_members.h"

namespace tarnwick::automation {

/// The seven classes in the order of their ids.
using ClassTypes =
    std::tuple<Server, Components, Component, RegisteredPCs, RegisteredPC, Reports, Report>;

/// The class of the object model behind an id.
template <ClassId kClass>
using TypeOf = std::tuple_element_t<static_cast<std::size_t>(kClass), ClassTypes>;

/// The place of the member of `T` with exactly this name. Does not compile where there is none.
template <class T>
consteval std::size_t place_of_member(std::string_view name) {
  constexpr auto kNames = std::apply(
      [](const auto&... members) { return std::array{members.name...}; }, MembersOf<T>::kAll);
  for (std::size_t place = 0; place < kNames.size(); ++place) {
    if (kNames[place] == name) return place;
  }
  throw "the class has no member of this name";
}

}  // namespace tarnwick::automation
