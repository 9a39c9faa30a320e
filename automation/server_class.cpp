#include "automation/binding.h"
#include "automation/classes.h"

namespace tarnwick::automation {

Class make_server_class() {
  return make_class<Server>(
      "Server", {
                    get<&Server::initialized>("Initialized"),
                    get<&Server::last_error_msg>("LastErrorMsg"),
                    get<&Server::last_error_number>("LastErrorNumber"),
                    get<&Server::reports>("Reports"),
                    get<&Server::registered_pcs>("RegisteredPCs"),
                    get<&Server::components>("Components"),
                    method<&Server::set_connection>("SetConnection",
                                                    {"sConnectString", "sAppRole", "sAppPassword"}),
                    method<&Server::refresh>("Refresh"),
                });
}

}  // namespace tarnwick::automation
