#pragma once

#include <functional>

#include "apps/tarnwick/options.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

// Changes of records from the reading to the telling.

/// What keeps others from the row between reading and writing.
enum class Holding {
  kNothing,  // a change by someone else is noticed when the row is written
  kLock,     // the row lock
};

/// Reads the row of `key`, has `change` change it, and writes it. Throws Failure.
void change_record(const Session& session, const Options& options, const Row& key, Holding holding,
                   const std::function<void(Row&)>& change);

/// The command `set`: `find` names the row, `given` knows the values. Throws Failure.
void set_values(const Options& options, const Row& given, Holding holding,
                const std::function<Row(const Session&)>& find);

/// The command `edit`. Throws Failure.
void edit_record(const Session& session, const Options& options, const Row& key);

}  // namespace tarnwick::cli
