// Values that come in messages, and go out in others.

#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/dbus/error.h"
#include "automation/dbus/handles.h"
#include "automation/dbus/interface.h"
#include "automation/dbus/wire.h"
#include "fuzz/target.h"
#include "runtime/error.h"

namespace tarnwick::fuzz {
namespace {

using namespace automation;
using dbus::check;
using dbus::MessageHandle;

class NoPaths final : public dbus::Paths {
 public:
  Object resolve(const char*) override { return {}; }
  std::string hand_out(const Object&) override { return "/"; }
  std::vector<std::string> hand_out_all(const std::vector<Object>&) override { return {}; }
};

using UnusedBus = std::unique_ptr<sd_bus, dbus::Unref<sd_bus_close_unref>>;

// Messages need a bus that they could be sent on: one end of a socket on which nothing is said.
sd_bus* bus() {
  static const UnusedBus made = [] {
    std::array<int, 2> ends{};
    require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends.data()) == 0, "a socket");
    sd_bus* bus = nullptr;
    check(sd_bus_new(&bus), "making a bus");
    UnusedBus handle(bus);
    check(sd_bus_set_fd(bus, ends[0], ends[0]), "making a bus");
    check(sd_bus_start(bus), "making a bus");
    return handle;
  }();
  return made.get();
}

MessageHandle new_message() {
  sd_bus_message* made = nullptr;
  check(sd_bus_message_new_method_call(bus(), &made, "a.b", "/", "a.b", "C"), "making a message");
  return MessageHandle(made);
}

MessageHandle sealed(MessageHandle message) {
  check(sd_bus_message_seal(message.get(), 1, 0), "sealing a message");
  check(sd_bus_message_rewind(message.get(), 1), "reading a message");
  return message;
}

bool append_basic(sd_bus_message* message, Input& input, char type) {
  if (std::string_view("sog").find(type) != std::string_view::npos) {
    const std::string text(input.piece());
    return sd_bus_message_append_basic(message, type, text.c_str()) >= 0;
  }
  const std::int64_t number = input.integer();
  return sd_bus_message_append_basic(message, type, &number) >= 0;
}

// Appends a variant of a variant and so on of something. False where sd-bus takes no such value.
bool append_variant(sd_bus_message* message, Input& input) {
  constexpr std::string_view kTypes = "ybnqiuxtdsog";
  const std::size_t around = input.choice(4) == 0 ? input.choice(200) : 0;
  const std::array<char, 2> type{kTypes[input.choice(kTypes.size())], '\0'};
  for (std::size_t depth = 0; depth < around; ++depth) {
    if (sd_bus_message_open_container(message, 'v', "v") < 0) return false;
  }
  if (sd_bus_message_open_container(message, 'v', type.data()) < 0) return false;
  if (!append_basic(message, input, type[0])) return false;
  for (std::size_t depth = 0; depth <= around; ++depth) {
    check(sd_bus_message_close_container(message), "making a message");
  }
  return true;
}

const Type kKey{Kind::kKeyOrPosition, {}, {}};

Value written_and_read(const Type& type, const Value& value, NoPaths& paths) {
  MessageHandle message = new_message();
  dbus::Outgoing(type, value, paths).append_to(message.get());
  message = sealed(std::move(message));
  return dbus::read(message.get(), type, paths);
}

void try_key(Input& input) {
  NoPaths paths;
  MessageHandle message = new_message();
  if (!append_variant(message.get(), input)) return;
  message = sealed(std::move(message));
  Value value;
  try {
    value = dbus::read(message.get(), kKey, paths);
  } catch (const Error& error) {
    require(error.number() == 13, "what is no key is a type mismatch");
    return;
  } catch (const dbus::WireError&) {
    return;
  }
  require(written_and_read(kKey, value, paths) == value, "a key that was read goes out as it came");
}

void try_text(Input& input) {
  NoPaths paths;
  const Type type{Kind::kText, {}, {}};
  const Text text = input.rest_as_text();
  const Text readable = dbus::readable(text);
  require(readable.size() == text.size(), "what is replaced is one unit");
  require(written_and_read(type, Value(readable), paths) == Value(readable),
          "what is readable goes over the bus");
  try {
    require(written_and_read(type, Value(text), paths) == Value(text) && text == readable,
            "a text goes over the bus as it is");
  } catch (const dbus::WireError&) {
    require(text != readable, "what cannot go over the bus has something to replace");
  }
}

}  // namespace

void attempt(Input input) { return input.choice(2) == 0 ? try_key(input) : try_text(input); }

}  // namespace tarnwick::fuzz
