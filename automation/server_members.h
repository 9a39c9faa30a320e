#pragma once

#include "automation/binding.h"

namespace tarnwick::automation {

template <>
struct MembersOf<Server> {
  static constexpr std::string_view kName = "Server";
  static constexpr std::tuple kAll{
      get<&Server::initialized>("Initialized"),
      get<&Server::last_error_msg>("LastErrorMsg"),
      get<&Server::last_error_number>("LastErrorNumber"),
      get<&Server::reports>("Reports"),
      get<&Server::registered_pcs>("RegisteredPCs"),
      get<&Server::components>("Components"),
      method<&Server::set_connection>("SetConnection",
                                      {"sConnectString", "sAppRole", "sAppPassword"}),
      method<&Server::refresh>("Refresh")};
};

}  // namespace tarnwick::automation
