#pragma once

#include <functional>
#include <memory>

#include "client/transport.h"
#include "platform/message_box.h"

struct sd_bus;

namespace tarnwick::client {

/// Answers the questions that calls meet at the service.
struct Questions {
  /// Must outlive the transport.
  platform::MessageBox& box;
  /// Told what has to be looked after while `box` waits for somebody: `look` is to be called before
  /// the wait and whenever there is something in `file`; when it returns false, the question is
  /// moot. Once more with -1 and nothing when the transport ends.
  std::function<void(int file, const std::function<bool()>& look)> attend =
      [](int, const std::function<bool()>&) {};
};

/// The object model in the service on a bus.
class DbusTransport : public Transport {
 public:
  /// Makes sure that connecting with this string takes nothing from another client of the service,
  /// and that no other client that asks so connects as long as this lives. False if it would.
  [[nodiscard]] virtual bool reserve(TextView connect_string) = 0;
};

/// `bus` is one on which the service runs or can be started by its name; it must outlive the
/// result. Throws CallError and std::system_error.
[[nodiscard]] std::unique_ptr<DbusTransport> make_dbus_transport(sd_bus* bus, Questions questions);

}  // namespace tarnwick::client
