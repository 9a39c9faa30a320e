#include <systemd/sd-bus.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

// What libsystemd's sd-bus costs by itself: a service that has one object with two methods and one
// property, of the same names and types as those that are measured, and that looks nothing up.

namespace {

int on_method(sd_bus_message* message, void*, sd_bus_error*) {
  const char* text = nullptr;
  const int result = sd_bus_message_read_basic(message, 's', static_cast<void*>(&text));
  return result < 0 ? result : sd_bus_reply_method_return(message, "i", 1);
}

// Rows as the PCs of the data set have them: as many entries of the same types, and as long.
int on_rows(sd_bus_message* message, void*, sd_bus_error*) {
  std::uint32_t first = 0;
  std::uint32_t count = 0;
  int result = sd_bus_message_read(message, "uu", &first, &count);
  if (result < 0) return result;
  sd_bus_message* reply = nullptr;
  result = sd_bus_message_new_method_return(message, &reply);
  if (result < 0) return result;
  const auto text = [&](const char* name, const char* value) {
    sd_bus_message_append(reply, "{sv}", name, "s", value);
  };
  const auto number = [&](const char* name, int value) {
    sd_bus_message_append(reply, "{sv}", name, "i", value);
  };
  const auto small = [&](const char* name, int value) {
    sd_bus_message_append(reply, "{sv}", name, "n", value);
  };
  const auto flag = [&](const char* name, int value) {
    sd_bus_message_append(reply, "{sv}", name, "b", value);
  };
  const auto date = [&](const char* name, double value) {
    sd_bus_message_append(reply, "{sv}", name, "d", value);
  };
  sd_bus_message_open_container(reply, 'a', "a{sv}");
  for (std::uint32_t row = 0; row < count; ++row) {
    sd_bus_message_open_container(reply, 'a', "{sv}");
    text("Key", "00-16-9E3779B1\u00FEPC-0000001\u00FE1");
    flag("Changed", 0);
    flag("Initialized", 1);
    flag("Locked", 0);
    text("MACNumber", "00-16-9E3779B1");
    small("CompID", 1);
    text("ComputerID", "PC-0000001");
    number("MaintenanceType", 5);
    flag("Active", 1);
    small("ImageIndex", 10);
    text("LastUser", "user00001");
    date("LastLogin", 45001.25);
    number("TotalLogins", 1);
    text("ActivatedBy", "installer");
    date("ActivateDate", 44000.5);
    text("DeActivatedBy", "");
    date("DeActivatedDate", 0);
    text("SoftLock", "");
    text("RowVersion", "0000000000000001");
    text("SoftwareVersion", "7.2.118");
    sd_bus_message_close_container(reply);
  }
  sd_bus_message_close_container(reply);
  result = sd_bus_send(nullptr, reply, nullptr);
  sd_bus_message_unref(reply);
  return result;
}

int on_get(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
           sd_bus_error*) {
  return sd_bus_message_append_basic(reply, 's', "Orders not delivered in full");
}

const sd_bus_vtable kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("GetReportTypeFromString", "s", "i", &on_method, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetRows", "uu", "aa{sv}", &on_rows, SD_BUS_VTABLE_UNPRIVILEGED),
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
