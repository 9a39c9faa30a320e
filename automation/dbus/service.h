#pragma once

#include <systemd/sd-bus.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "automation/dbus/clients.h"
#include "automation/dbus/departures.h"
#include "automation/dbus/handles.h"
#include "automation/dbus/interface.h"
#include "automation/dbus/memory_limit.h"
#include "automation/dbus/property_lists.h"
#include "automation/dbus/vtable.h"
#include "automation/dbus/wire.h"
#include "automation/events.h"
#include "state/shared_state.h"

namespace tarnwick::automation::dbus {

/// Who is calling, while a call runs.
struct Caller {
  std::string name;  // unique name; empty between calls
};

/// The object model on a bus: exports the root object and whatever clients were handed. Registers
/// with `bus` when it is made and leaves it when it ends; owns no name. Single-threaded: calls are
/// carried out one after the other, as they come in. What clients hold ends with it. Calls of
/// clients that have left are not carried out. All arguments must outlive this.
class Service {
 public:
  Service(sd_bus* bus, SharedState& state, Clients& clients, Departures& departures, Caller& caller,
          const MemoryLimit& memory, const Events& events);
  ~Service() { clients_.release_all(); }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

 private:
  class Call;

  void export_interface(const Interface& interface, sd_bus_object_find_t find,
                        sd_bus_message_handler_t call);

  int call_root(sd_bus_message* message);
  int create_object(sd_bus_message* message);
  int release(sd_bus_message* message);
  int set_lock_prompt(sd_bus_message* message);
  int reserve(sd_bus_message* message);
  int share(sd_bus_message* message);
  int call_last_cause(sd_bus_message* message);
  int find_pcs(sd_bus_message* message);
  int report_files(sd_bus_message* message);
  int call_member(sd_bus_message* message);
  int call_record(sd_bus_message* message);
  int insert(sd_bus_message* message);
  int look(sd_bus_message* message);
  // Makes a call that may lock the record, and notes who locked it.
  Value call_locking(const Call& call, const std::function<Value()>& body);
  int get_rows(sd_bus_message* message);
  int call_without_interface(sd_bus_message* message);
  int get_all(sd_bus_message* message);
  void wait_for_readers();
  // What a call of `client` left.
  void keep(const std::string& client, const FailureCause& cause) noexcept;
  void get(const char* path, const char* property, sd_bus_message* reply);
  void set(const char* path, const char* property, sd_bus_message* value);

  template <int (Service::*kHandler)(sd_bus_message*)>
  static int on_call(sd_bus_message* message, void* service, sd_bus_error* error);
  static int on_message(sd_bus_message* message, void* service, sd_bus_error* error);
  template <void (Service::*kHandler)(const char*, const char*, sd_bus_message*)>
  static int on_property(sd_bus*, const char* path, const char* interface, const char* property,
                         sd_bus_message* value, void* service, sd_bus_error* error);
  static int find_root(sd_bus*, const char* path, const char* interface, void* service,
                       void** found, sd_bus_error* error);
  static int find_object(sd_bus*, const char* path, const char* interface, void* service,
                         void** found, sd_bus_error* error);
  static int list_children(sd_bus*, const char* prefix, void* service, char*** children,
                           sd_bus_error* error);

  sd_bus* bus_;
  SharedState& state_;
  Clients& clients_;
  Departures& departures_;
  Caller& caller_;
  const MemoryLimit& memory_;
  const Events& events_;
  const PropertyLists properties_;
  std::deque<Vtable> vtables_;
  std::vector<SlotHandle> slots_;
};

}  // namespace tarnwick::automation::dbus
