#pragma once

#include "automation/component_members.h"
#include "automation/pc_members.h"
#include "automation/report_members.h"
#include "automation/server_members.h"

namespace tarnwick::automation {

/// The class of the object model behind an id.
template <ClassId kClass>
using TypeOf = std::tuple_element_t<static_cast<std::size_t>(kClass), ClassTypes>;

/// The place of the member of `T` with exactly this name. Does not compile where there is none.
template <class T>
consteval std::size_t place_of_member(std::string_view name) {
  return place_in(MembersOf<T>::kAll, name);
}

}  // namespace tarnwick::automation
