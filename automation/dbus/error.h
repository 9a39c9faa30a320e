#pragma once

#include <systemd/sd-bus.h>

#include <cerrno>
#include <exception>
#include <string>
#include <utility>

namespace tarnwick::automation::dbus {

/// What is wrong with a call as such, under its name on the bus.
class WireError : public std::exception {
 public:
  /// A name of ours: `name` stands behind org.tarnwick.Security1.Error.
  static WireError own(const char* name, std::string text);
  /// `name`: a standard one, as sd-bus-protocol.h defines them.
  WireError(std::string name, std::string text) : name_(std::move(name)), text_(std::move(text)) {}

  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string name_;
  std::string text_;
};

/// More than one message may carry, or more objects than one client may hold.
[[nodiscard]] WireError limit_exceeded(std::string text);
/// There is no object at `path`, which an argument named.
[[nodiscard]] WireError object_required(const std::string& path);
[[nodiscard]] WireError client_has_left();

/// Throws std::system_error for a negative result of libsystemd; returns any other.
int check(int result, const char* what);

/// What `ask` gets from libsystemd, asked again where a signal interrupted it: that says nothing of
/// the bus. For what may be asked twice.
template <class Ask>
int past_signals(Ask&& ask) {
  int result = 0;
  do {
    result = ask();
  } while (result == -EINTR);
  return result;
}

/// The one place where exceptions become errors on the bus: fills `error` from the exception that
/// is being handled and returns what sd-bus wants returned. For catch blocks only.
int fill_error(sd_bus_error* error) noexcept;

}  // namespace tarnwick::automation::dbus
