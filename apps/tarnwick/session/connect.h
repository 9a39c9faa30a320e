#pragma once

#include <memory>

#include "apps/tarnwick/options.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// How a database is reached.
struct Login {
  Text connect_string;
  Text role;
  Text password;
};

/// What `options` say, the password read or asked for. Throws Failure.
[[nodiscard]] Login login_of(const Options& options);

/// The object model, connected as `options` say. Throws Failure.
[[nodiscard]] std::unique_ptr<Session> connect(const Options& options);
/// The same for who has to connect once more.
[[nodiscard]] std::unique_ptr<Session> connect(const Options& options, const Login& login);
/// After the connection was lost. Throws Failure.
void connect_again(const Session& session, const Login& login);

}  // namespace tarnwick::cli
