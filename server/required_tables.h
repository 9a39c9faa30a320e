#pragma once

#include "ado/connection.h"

namespace tarnwick {

/// Throws one error, of the number of a statement that names an unknown table or column, that names
/// all tables and columns which the object model needs and the database lacks. What cannot be told
/// of a database is taken to be there.
void require_tables(ado::Connection& connection);

}  // namespace tarnwick
