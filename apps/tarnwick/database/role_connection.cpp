#include "apps/tarnwick/database/role_connection.h"

#include <utility>

namespace tarnwick::cli {

std::shared_ptr<ado::Connection> open_in_role(ado::Engines engines, TextView connect_string,
                                              TextView role, TextView password, ado::Trace* trace,
                                              TextView database) {
  auto connection = std::make_shared<ado::Connection>(std::move(engines), trace);
  connection->open(connect_string);
  connection->set_default_database(database);
  connection->execute(join({u"EXEC sp_setapprole '", role, u"','", password, u"'"}));
  return connection;
}

}  // namespace tarnwick::cli
