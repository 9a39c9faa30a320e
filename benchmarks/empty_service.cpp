#include <systemd/sd-bus.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

// What libsystemd's sd-bus costs by itself: a service that has one object with one method and one
// property, of the same names and types as those that are measured, and that does nothing.

namespace {

int on_method(sd_bus_message* message, void*, sd_bus_error*) {
  const char* text = nullptr;
  const int result = sd_bus_message_read_basic(message, 's', static_cast<void*>(&text));
  return result < 0 ? result : sd_bus_reply_method_return(message, "i", 1);
}

int on_get(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
           sd_bus_error*) {
  return sd_bus_message_append_basic(reply, 's', "Orders not delivered in full");
}

const sd_bus_vtable kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("GetReportTypeFromString", "s", "i", &on_method, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("Title", "s", &on_get, 0, 0),
    SD_BUS_VTABLE_END,
};

int fail(const char* what) {
  std::fprintf(stderr, "%s failed\n", what);
  return EXIT_FAILURE;
}

}  // namespace

/// empty_service ADDRESS NAME PATH INTERFACE: serves until it is killed.
int main(int argc, char** argv) {
  if (argc != 5) return fail("counting arguments");
  sd_bus* bus = nullptr;
  if (sd_bus_new(&bus) < 0 || sd_bus_set_address(bus, argv[1]) < 0 ||
      sd_bus_set_bus_client(bus, 1) < 0 || sd_bus_start(bus) < 0) {
    return fail("opening the bus");
  }
  if (sd_bus_add_object_vtable(bus, nullptr, argv[3], argv[4], kVtable, nullptr) < 0) {
    return fail("exporting the object");
  }
  // Driven as services are: by an event loop.
  sd_event* event = nullptr;
  if (sd_event_new(&event) < 0 || sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL) < 0 ||
      sd_bus_request_name(bus, argv[2], 0) < 0 || sd_event_loop(event) < 0) {
    return fail("serving");
  }
  return EXIT_SUCCESS;
}
