#include <dlfcn.h>
#include <systemd/sd-bus.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

// Functions of the program that stand before those of sd-bus. The environment says which call
// fails: TARNWICK_FAILING_CALL, counted from 1, with the system's number TARNWICK_FAILING_ERROR.
// The name of the function goes into the file TARNWICK_FAILING_NOTE once it has struck.

namespace {

long number_in(const char* variable) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? 0 : std::strtol(text, nullptr, 10);
}

/// What the present call returns in place of its result; 0 where it is not its turn.
int take(const char* function) {
  static long left = number_in("TARNWICK_FAILING_CALL");
  if (left == 0 || --left != 0) return 0;
  if (std::FILE* const note = std::fopen(std::getenv("TARNWICK_FAILING_NOTE"), "w")) {
    static_cast<void>(std::fputs(function, note));
    static_cast<void>(std::fclose(note));
  }
  return -static_cast<int>(number_in("TARNWICK_FAILING_ERROR"));
}

template <class Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define TARNWICK_FAILING_BUS(name, parameters, ...)            \
  extern "C" int name parameters {                             \
    static auto* const function = real<int parameters>(#name); \
    if (const int error = take(#name)) return error;           \
    return function(__VA_ARGS__);                              \
  }

// Those with any number of arguments have a form that takes a list of them.
#define TARNWICK_FAILING_BUS_LIST(name, list_form, last, parameters, list_parameters, ...) \
  extern "C" int name parameters {                                                         \
    static auto* const function = real<int list_parameters>(#list_form);                   \
    if (const int error = take(#name)) return error;                                       \
    va_list list;                                                                          \
    va_start(list, last);                                                                  \
    const int result = function(__VA_ARGS__, list);                                        \
    va_end(list);                                                                          \
    return result;                                                                         \
  }

TARNWICK_FAILING_BUS_LIST(sd_bus_reply_method_return, sd_bus_reply_method_returnv, types,
                          (sd_bus_message * call, const char* types, ...),
                          (sd_bus_message * call, const char* types, va_list), call, types)
TARNWICK_FAILING_BUS_LIST(sd_bus_message_append, sd_bus_message_appendv, types,
                          (sd_bus_message * message, const char* types, ...),
                          (sd_bus_message * message, const char* types, va_list), message, types)
TARNWICK_FAILING_BUS_LIST(sd_bus_message_read, sd_bus_message_readv, types,
                          (sd_bus_message * message, const char* types, ...),
                          (sd_bus_message * message, const char* types, va_list), message, types)
TARNWICK_FAILING_BUS_LIST(sd_bus_call_method, sd_bus_call_methodv, types,
                          (sd_bus * bus, const char* destination, const char* path,
                           const char* interface, const char* member, sd_bus_error* error_of_call,
                           sd_bus_message** reply, const char* types, ...),
                          (sd_bus * bus, const char* destination, const char* path,
                           const char* interface, const char* member, sd_bus_error* error_of_call,
                           sd_bus_message** reply, const char* types, va_list),
                          bus, destination, path, interface, member, error_of_call, reply, types)

TARNWICK_FAILING_BUS(sd_bus_new, (sd_bus * *bus), bus)
TARNWICK_FAILING_BUS(sd_bus_set_address, (sd_bus * bus, const char* address), bus, address)
TARNWICK_FAILING_BUS(sd_bus_set_bus_client, (sd_bus * bus, int on), bus, on)
TARNWICK_FAILING_BUS(sd_bus_negotiate_fds, (sd_bus * bus, int on), bus, on)
TARNWICK_FAILING_BUS(sd_bus_start, (sd_bus * bus), bus)
TARNWICK_FAILING_BUS(sd_bus_attach_event, (sd_bus * bus, sd_event* event, int priority), bus, event,
                     priority)
TARNWICK_FAILING_BUS(sd_bus_set_exit_on_disconnect, (sd_bus * bus, int on), bus, on)
TARNWICK_FAILING_BUS(sd_bus_request_name, (sd_bus * bus, const char* name, uint64_t flags), bus,
                     name, flags)
TARNWICK_FAILING_BUS(sd_bus_release_name, (sd_bus * bus, const char* name), bus, name)
TARNWICK_FAILING_BUS(sd_bus_process, (sd_bus * bus, sd_bus_message** message), bus, message)
TARNWICK_FAILING_BUS(sd_bus_wait, (sd_bus * bus, uint64_t patience), bus, patience)
TARNWICK_FAILING_BUS(sd_bus_flush, (sd_bus * bus), bus)
TARNWICK_FAILING_BUS(sd_bus_get_n_queued_write, (sd_bus * bus, uint64_t* number), bus, number)
TARNWICK_FAILING_BUS(sd_bus_send, (sd_bus * bus, sd_bus_message* message, uint64_t* cookie), bus,
                     message, cookie)
TARNWICK_FAILING_BUS(sd_bus_call,
                     (sd_bus * bus, sd_bus_message* message, uint64_t patience,
                      sd_bus_error* error_of_call, sd_bus_message** reply),
                     bus, message, patience, error_of_call, reply)
TARNWICK_FAILING_BUS(sd_bus_add_match,
                     (sd_bus * bus, sd_bus_slot** slot, const char* match,
                      sd_bus_message_handler_t handler, void* context),
                     bus, slot, match, handler, context)
TARNWICK_FAILING_BUS(sd_bus_match_signal,
                     (sd_bus * bus, sd_bus_slot** slot, const char* sender, const char* path,
                      const char* interface, const char* member, sd_bus_message_handler_t handler,
                      void* context),
                     bus, slot, sender, path, interface, member, handler, context)
TARNWICK_FAILING_BUS(sd_bus_add_filter,
                     (sd_bus * bus, sd_bus_slot** slot, sd_bus_message_handler_t handler,
                      void* context),
                     bus, slot, handler, context)
TARNWICK_FAILING_BUS(sd_bus_add_fallback_vtable,
                     (sd_bus * bus, sd_bus_slot** slot, const char* prefix, const char* interface,
                      const sd_bus_vtable* table, sd_bus_object_find_t find, void* context),
                     bus, slot, prefix, interface, table, find, context)
TARNWICK_FAILING_BUS(sd_bus_add_node_enumerator,
                     (sd_bus * bus, sd_bus_slot** slot, const char* path,
                      sd_bus_node_enumerator_t list, void* context),
                     bus, slot, path, list, context)
TARNWICK_FAILING_BUS(sd_bus_track_new,
                     (sd_bus * bus, sd_bus_track** track, sd_bus_track_handler_t handler,
                      void* context),
                     bus, track, handler, context)
TARNWICK_FAILING_BUS(sd_bus_track_add_name, (sd_bus_track * track, const char* name), track, name)
TARNWICK_FAILING_BUS(sd_bus_get_name_creds,
                     (sd_bus * bus, const char* name, uint64_t mask, sd_bus_creds** credentials),
                     bus, name, mask, credentials)
TARNWICK_FAILING_BUS(sd_bus_message_new_method_return,
                     (sd_bus_message * call, sd_bus_message** reply), call, reply)
TARNWICK_FAILING_BUS(sd_bus_message_new_method_call,
                     (sd_bus * bus, sd_bus_message** call, const char* destination,
                      const char* path, const char* interface, const char* member),
                     bus, call, destination, path, interface, member)
TARNWICK_FAILING_BUS(sd_bus_message_open_container,
                     (sd_bus_message * message, char type, const char* contents), message, type,
                     contents)
TARNWICK_FAILING_BUS(sd_bus_message_close_container, (sd_bus_message * message), message)
TARNWICK_FAILING_BUS(sd_bus_message_enter_container,
                     (sd_bus_message * message, char type, const char* contents), message, type,
                     contents)
TARNWICK_FAILING_BUS(sd_bus_message_exit_container, (sd_bus_message * message), message)
TARNWICK_FAILING_BUS(sd_bus_message_append_basic,
                     (sd_bus_message * message, char type, const void* value), message, type, value)
TARNWICK_FAILING_BUS(sd_bus_message_append_array,
                     (sd_bus_message * message, char type, const void* values, size_t size),
                     message, type, values, size)
TARNWICK_FAILING_BUS(sd_bus_message_read_basic, (sd_bus_message * message, char type, void* value),
                     message, type, value)
TARNWICK_FAILING_BUS(sd_bus_message_peek_type,
                     (sd_bus_message * message, char* type, const char** contents), message, type,
                     contents)
TARNWICK_FAILING_BUS(sd_bus_message_rewind, (sd_bus_message * message, int complete), message,
                     complete)
