#include "automation/dbus/service.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

#include "automation/dbus/error.h"
#include "automation/dbus/interface.h"
#include "automation/dbus/names.h"
#include "pcs/find_pcs.h"
#include "reports/stored_report_files.h"
#include "runtime/error.h"
#include "server/connect_string.h"

namespace tarnwick::automation::dbus {

namespace {

constexpr char kProperties[] = "org.freedesktop.DBus.Properties";

// Answers that the bus has not taken yet: each may have kMostBytes.
constexpr std::uint64_t kMostUnsent = 3;

// A listing of a class shows that many of its objects; a tool that asks each of them what it is
// would not come to an end with a whole register.
constexpr std::size_t kMostListed = 1000;

MessageHandle new_reply(sd_bus_message* call) {
  sd_bus_message* reply = nullptr;
  check(sd_bus_message_new_method_return(call, &reply), "making a reply");
  return MessageHandle(reply);
}

int send(MessageHandle reply) {
  return check(sd_bus_send(nullptr, reply.get(), nullptr), "sending a reply");
}

WireError unknown_object(const std::string& path) {
  return {SD_BUS_ERROR_UNKNOWN_OBJECT, "Unknown object '" + path + "'."};
}

const Member& member_named(const Object& object, const char* name) {
  const Member* member = find_member(class_of(object.class_id), name);
  // Untaken: sd-bus lets nothing else through.
  if (member == nullptr) throw Error(ErrorNumber::kInternalError);
  return *member;
}

bool brings_text(const Argument& argument) { return argument.type.kind == Kind::kText; }

int to_string_list(const std::vector<std::string>& texts, char*** list) {
  auto** made = static_cast<char**>(std::calloc(texts.size() + 1, sizeof(char*)));
  // Untaken: it takes a machine without memory.
  if (made == nullptr) return -ENOMEM;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    made[i] = strdup(texts[i].c_str());
    // Untaken: as above.
    if (made[i] == nullptr) {
      // Untaken: as above.
      for (std::size_t j = 0; j < i; ++j) std::free(made[j]);
      std::free(made);
      return -ENOMEM;
    }
  }
  *list = made;
  return 0;
}

}  // namespace

// One call by one client: names the caller while it runs, and hands out objects to it.
class Service::Call final : public Paths {
 public:
  Call(Service& service, sd_bus_message* message, Object source)
      : service_(service), source_(std::move(source)) {
    const char* sender = sd_bus_message_get_sender(message);
    // Untaken: each bus names the sender of what it delivers.
    std::string name = sender == nullptr ? "" : sender;
    if (service_.departures_.has_left(name)) throw client_has_left();
    service_.wait_for_readers();
    service_.caller_.name = std::move(name);
    service_.state_.failures.clear();
  }
  ~Call() override {
    const FailureCause& cause = service_.state_.failures.last();
    if (cause.kind != ado::FailureKind::kNone) service_.keep(caller(), cause);
    service_.caller_.name.clear();
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  [[nodiscard]] const std::string& caller() const { return service_.caller_.name; }
  [[nodiscard]] const Object& source() const { return source_; }

  Object resolve(const char* path) override { return service_.clients_.objects().find(path); }
  std::string hand_out(const Object& object) override { return hand_out_all({object}).front(); }
  std::vector<std::string> hand_out_all(const std::vector<Object>& objects) override {
    return service_.clients_.hand_out(caller(), source_, objects);
  }

 private:
  Service& service_;
  Object source_;  // kept alive: the call may be about its last holder
};

Service::Service(sd_bus* bus, SharedState& state, Clients& clients, Departures& departures,
                 Caller& caller, const MemoryLimit& memory, const Events& events)
    : bus_(bus),
      state_(state),
      clients_(clients),
      departures_(departures),
      caller_(caller),
      memory_(memory),
      events_(events) {
  sd_bus_slot* slot = nullptr;
  check(sd_bus_add_filter(bus_, &slot, &Service::on_message, this), "watching messages");
  slots_.emplace_back(slot);

  constexpr auto kRoot = &Service::on_call<&Service::call_root>;
  constexpr auto kMember = &Service::on_call<&Service::call_member>;
  constexpr auto kRows = &Service::on_call<&Service::get_rows>;
  constexpr auto kLastCause = &Service::on_call<&Service::call_last_cause>;
  constexpr auto kRecord = &Service::on_call<&Service::call_record>;
  export_interface(automation_interface(), &Service::find_root, kRoot);
  export_interface(last_cause_interface(), &Service::find_root, kLastCause);
  for (const Class& of : classes()) {
    export_interface(class_interface(of), &Service::find_object, kMember);
  }
  export_interface(rows_interface(), &Service::find_object, kRows);
  export_interface(record_interface(), &Service::find_object, kRecord);
  check(sd_bus_add_node_enumerator(bus_, &slot, kRootPath, &Service::list_children, this),
        "listing objects");
  slots_.emplace_back(slot);
}

void Service::export_interface(const Interface& interface, sd_bus_object_find_t find,
                               sd_bus_message_handler_t call) {
  const Vtable& vtable = vtables_.emplace_back(
      interface, call, &Service::on_property<&Service::get>, &Service::on_property<&Service::set>);
  sd_bus_slot* slot = nullptr;
  check(sd_bus_add_fallback_vtable(bus_, &slot, kRootPath, interface.name.c_str(), vtable.entries(),
                                   find, this),
        "exporting an interface");
  slots_.emplace_back(slot);
}

int Service::call_root(sd_bus_message* message) {
  const std::string_view name = sd_bus_message_get_member(message);
  if (name == "CreateObject") return create_object(message);
  if (name == "Release") return release(message);
  if (name == "SetLockPrompt") return set_lock_prompt(message);
  if (name == "Reserve") return reserve(message);
  if (name == "FindPCs") return find_pcs(message);
  if (name == "ReportFiles") return report_files(message);
  return share(message);
}

int Service::create_object(sd_bus_message* message) {
  Call call(*this, message, {});
  const Class* of = find_class(from_utf8(read_text(message, 's')));
  if (of == nullptr) throw Error(429, u"ActiveX component can't create object");
  // First of all: making a collection replaces the one that all share.
  memory_.require_room();
  clients_.require_room(call.caller());
  const std::string path = call.hand_out(of->create(state_));
  return sd_bus_reply_method_return(message, "o", path.c_str());
}

int Service::release(sd_bus_message* message) {
  Call call(*this, message, {});
  const std::string path = read_text(message, 'o');
  if (!clients_.objects().find(path)) throw unknown_object(path);
  if (!clients_.release(call.caller(), path)) {
    throw WireError::own("NotHeld", "This client does not hold " + path);
  }
  return sd_bus_reply_method_return(message, nullptr);
}

int Service::set_lock_prompt(sd_bus_message* message) {
  Call call(*this, message, {});
  const std::string path = read_text(message, 'o');
  clients_.set_lock_prompt(call.caller(), path == kNothingPath ? std::string() : path);
  return sd_bus_reply_method_return(message, nullptr);
}

// A new connection ends the maintenance of a record, and moves all clients to its database.
int Service::reserve(sd_bus_message* message) {
  Call call(*this, message, {});
  const Text wanted = without_ole_db_services(from_utf8(read_text(message, 's')));
  const bool disturbs = state_.connected() && (state_.connection->connection_string() != wanted ||
                                               state_.connection->in_transaction());
  const bool reserved = !disturbs && clients_.reserve(call.caller());
  return sd_bus_reply_method_return(message, "b", reserved ? 1 : 0);
}

int Service::share(sd_bus_message* message) {
  Call call(*this, message, {});
  int on = 0;
  check(sd_bus_message_read_basic(message, 'b', &on), "reading an argument");
  clients_.set_sharing(call.caller(), on != 0);
  return sd_bus_reply_method_return(message, nullptr);
}

int Service::find_pcs(sd_bus_message* message) {
  Call call(*this, message, {});
  const Text name = from_utf8(read_text(message, 's'));
  MessageHandle reply = new_reply(message);
  open_part(reply.get(), SD_BUS_TYPE_ARRAY, "(ssn)");
  for (const PcKey& key : tarnwick::find_pcs(state_, name)) {
    const Outgoing mac_number({Kind::kText}, key.mac_number, call);
    const Outgoing computer_id({Kind::kText}, key.computer_id, call);
    open_part(reply.get(), SD_BUS_TYPE_STRUCT, "ssn");
    mac_number.append_to(reply.get());
    computer_id.append_to(reply.get());
    check(sd_bus_message_append(reply.get(), "n", key.comp_id), "making a reply");
    close_part(reply.get());
  }
  close_part(reply.get());
  return send(std::move(reply));
}

int Service::report_files(sd_bus_message* message) {
  const Call call(*this, message, {});
  MessageHandle reply = new_reply(message);
  open_part(reply.get(), SD_BUS_TYPE_ARRAY, "(sx)");
  for (const StoredReportFile& file : stored_report_files(state_)) {
    // A name that the bus cannot carry stands in no row that it carries either.
    if (file.report.find(u'\0') != Text::npos) continue;
    check(sd_bus_message_append(reply.get(), "(sx)", to_utf8(readable(file.report)).c_str(),
                                file.length),
          "making a reply");
  }
  close_part(reply.get());
  return send(std::move(reply));
}

int Service::call_member(sd_bus_message* message) {
  Call call(*this, message, clients_.objects().find(sd_bus_message_get_path(message)));
  const Member& member = member_named(call.source(), sd_bus_message_get_member(message));
  if (std::ranges::any_of(member.arguments, brings_text)) memory_.require_room();
  const std::vector<Value> arguments = read_arguments(message, member, call);
  const auto body = [&] { return automation::call(call.source(), member, arguments); };
  Value result = locks_record(member) ? call_locking(call, body) : body();
  // Nobody would learn the paths of what is handed out.
  if (sd_bus_message_get_expect_reply(message) == 0) return 1;
  const Outgoing outgoing(member.result, std::move(result), call);
  MessageHandle reply = new_reply(message);
  outgoing.append_to(reply.get());
  return send(std::move(reply));
}

int Service::call_record(sd_bus_message* message) {
  const bool looks = std::string_view(sd_bus_message_get_member(message)) == "Look";
  return looks ? look(message) : insert(message);
}

int Service::look(sd_bus_message* message) {
  const Call call(*this, message, clients_.objects().find(sd_bus_message_get_path(message)));
  const Look look = automation::look(call.source());
  return sd_bus_reply_method_return(message, "ibsx", static_cast<std::int32_t>(look.outcome),
                                    look.held ? 1 : 0, to_utf8(readable(look.stamp)).c_str(),
                                    look.process_id.value_or(0));
}

int Service::insert(sd_bus_message* message) {
  Call call(*this, message, clients_.objects().find(sd_bus_message_get_path(message)));
  const Text file = from_utf8(read_text(message, 's'));
  const Value result =
      call_locking(call, [&] { return std::int32_t{automation::insert(call.source(), file)}; });
  return sd_bus_reply_method_return(message, "i", std::get<std::int32_t>(result));
}

int Service::call_last_cause(sd_bus_message* message) {
  const Call call(*this, message, {});
  if (std::string_view(sd_bus_message_get_member(message)) == "ClearLastCause") {
    clients_.set_last_cause(call.caller(), {});
    return sd_bus_reply_method_return(message, nullptr);
  }
  const FailureCause cause = clients_.last_cause_of(call.caller());
  return sd_bus_reply_method_return(
      message, "iiisb", static_cast<std::int32_t>(cause.kind), cause.number, cause.native,
      to_utf8(readable(cause.text)).c_str(), cause.outcome_unknown ? 1 : 0);
}

// Answers to whoever reads slowly stay here once the bus takes no more: no further one is made as
// long as there are some.
void Service::wait_for_readers() {
  std::uint64_t unsent = 0;
  check(sd_bus_get_n_queued_write(bus_, &unsent), "looking at what is unsent");
  if (unsent > kMostUnsent) check(sd_bus_flush(bus_), "sending replies");
}

void Service::keep(const std::string& client, const FailureCause& cause) noexcept {
  try {
    events_.failed(from_stored_utf8(client), cause);
    clients_.set_last_cause(client, cause);
  } catch (...) {
    // The client has left, or there is no memory: nobody will ask.
  }
}

Value Service::call_locking(const Call& call, const std::function<Value()>& body) {
  // First of all: nobody would end the lock of a client that has left.
  clients_.watch(call.caller());
  const bool was_locked = is_locked(call.source());
  Value result = body();
  if (!was_locked && is_locked(call.source())) clients_.set_locker(call.caller(), call.source());
  return result;
}

int Service::get_all(sd_bus_message* message) {
  const Object& object = clients_.objects().find(sd_bus_message_get_path(message));
  if (!object) return 0;
  const std::string interface = read_text(message, 's');
  const std::string own = interface_of(class_of(object.class_id));
  if (!interface.empty() && interface != own) {
    check(sd_bus_message_rewind(message, 1), "reading a call");
    return 0;
  }
  Call call(*this, message, object);
  MessageHandle reply = new_reply(message);
  if (properties_.append_all(reply.get(), call.source(), call) > kMostBytes) {
    throw limit_exceeded("The properties together are more than one message carries (" +
                         std::to_string(kMostBytes) + " bytes). Read them one by one");
  }
  send(std::move(reply));
  return 1;
}

int Service::get_rows(sd_bus_message* message) {
  Call call(*this, message, clients_.objects().find(sd_bus_message_get_path(message)));
  std::uint32_t first = 0;
  std::uint32_t count = 0;
  check(sd_bus_message_read(message, "uu", &first, &count), "reading an argument");
  if (first == 0) throw Error(ErrorNumber::kSubscriptOutOfRange);

  const Member& size = member_named(call.source(), "Count");
  const Member& item = member_named(call.source(), "Item");
  const std::int64_t last_row = std::get<std::int32_t>(automation::call(call.source(), size));
  const std::int64_t last = std::min(last_row, std::int64_t{first} + count - 1);

  MessageHandle reply = new_reply(message);
  std::size_t bytes = 0;
  open_part(reply.get(), SD_BUS_TYPE_ARRAY, "a{sv}");
  for (std::int64_t position = first; position <= last; ++position) {
    const Value where = position;
    const Value row = automation::call(call.source(), item, {&where, 1});
    const Object& record = std::get<Object>(row);
    // Untaken: there is one at each position up to the count.
    if (!record) break;
    bytes += properties_.append_row(reply.get(), record, call);
    if (bytes > kMostBytes) {
      throw limit_exceeded("The rows from " + std::to_string(first) + " to " +
                           std::to_string(position) + " are more than one message carries (" +
                           std::to_string(kMostBytes) + " bytes). Ask for fewer");
    }
  }
  close_part(reply.get());
  return send(std::move(reply));
}

void Service::get(const char* path, const char* property, sd_bus_message* reply) {
  Call call(*this, sd_bus_get_current_message(bus_), clients_.objects().find(path));
  const Member& member = member_named(call.source(), property);
  Outgoing(member.result, read_property(call.source(), member), call).append_to(reply);
}

void Service::set(const char* path, const char* property, sd_bus_message* value) {
  Call call(*this, sd_bus_get_current_message(bus_), clients_.objects().find(path));
  const Member& member = member_named(call.source(), property);
  if (member.result.kind == Kind::kText) memory_.require_room();
  let(call.source(), member, read(value, member.result, call));
}

template <int (Service::*kHandler)(sd_bus_message*)>
int Service::on_call(sd_bus_message* message, void* service, sd_bus_error* error) {
  try {
    return (static_cast<Service*>(service)->*kHandler)(message);
  } catch (...) {
    return fill_error(error);
  }
}

int Service::on_message(sd_bus_message* message, void* service, sd_bus_error* error) {
  // sd-bus would answer GetAll with nothing but an error if one property cannot be read.
  if (sd_bus_message_is_method_call(message, kProperties, "GetAll") > 0 &&
      sd_bus_message_has_signature(message, "s") > 0) {
    return on_call<&Service::get_all>(message, service, error);
  }
  // A call may leave the interface out, which sd-bus takes for a call to no object at all.
  if (sd_bus_message_is_method_call(message, nullptr, nullptr) > 0 &&
      sd_bus_message_get_interface(message) == nullptr) {
    return on_call<&Service::call_without_interface>(message, service, error);
  }
  return 0;
}

int Service::call_without_interface(sd_bus_message* message) {
  const char* path = sd_bus_message_get_path(message);
  const auto called = [&](const Interface& interface) {
    const auto member = std::ranges::find(interface.members, sd_bus_message_get_member(message),
                                          &InterfaceMember::name);
    if (member == interface.members.end() || member->kind != InterfaceMember::Kind::kMethod) {
      return false;
    }
    const std::string signature = member->argument_signature();
    if (sd_bus_message_has_signature(message, signature.c_str()) > 0) return true;
    throw WireError(SD_BUS_ERROR_INVALID_ARGS,
                    "The arguments have to be of the types '" + signature + "'");
  };
  if (std::string_view(path) == kRootPath) {
    if (called(automation_interface())) return call_root(message);
    return called(last_cause_interface()) ? call_last_cause(message) : 0;
  }
  const Object& object = clients_.objects().find(path);
  if (!object) return 0;
  const Class& of = class_of(object.class_id);
  if (called(class_interface(of))) return call_member(message);
  if (is_collection(of) && called(rows_interface())) return get_rows(message);
  return of.insert != nullptr && called(record_interface()) ? call_record(message) : 0;
}

template <void (Service::*kHandler)(const char*, const char*, sd_bus_message*)>
int Service::on_property(sd_bus*, const char* path, const char*, const char* property,
                         sd_bus_message* value, void* service, sd_bus_error* error) {
  try {
    (static_cast<Service*>(service)->*kHandler)(path, property, value);
    return 0;
  } catch (...) {
    return fill_error(error);
  }
}

// One path has fallback interfaces or others, not both.
int Service::find_root(sd_bus*, const char* path, const char*, void* service, void** found,
                       sd_bus_error*) {
  if (std::string_view(path) != kRootPath) return 0;
  *found = service;
  return 1;
}

int Service::find_object(sd_bus*, const char* path, const char* interface, void* service,
                         void** found, sd_bus_error*) {
  const Object& object = static_cast<Service*>(service)->clients_.objects().find(path);
  if (!object) return 0;
  const Class& of = class_of(object.class_id);
  const std::string_view wanted = interface;
  const bool has = wanted == interface_of(of) || (wanted == kRowsInterface && is_collection(of)) ||
                   (wanted == kRecordInterface && of.insert != nullptr);
  if (!has) return 0;
  *found = service;
  return 1;
}

int Service::list_children(sd_bus*, const char* prefix, void* service, char*** children,
                           sd_bus_error*) {
  try {
    const ObjectTable& objects = static_cast<Service*>(service)->clients_.objects();
    std::vector<std::string> paths;
    for (const Class& of : classes()) {
      const std::string path = std::string(kRootPath) + "/" + std::string(of.name);
      if (path == prefix) {
        paths = objects.paths(of.id, kMostListed);
      } else if (std::string_view(prefix) == kRootPath && objects.any(of.id)) {
        paths.push_back(path);
      }
    }
    return to_string_list(paths, children);
  } catch (...) {
    return -ENOMEM;
  }
}

}  // namespace tarnwick::automation::dbus
