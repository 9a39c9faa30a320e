#include "client/dbus_transport.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "automation/dbus/interface.h"
#include "automation/dbus/names.h"
#include "client/call_error.h"

namespace tarnwick::client {
namespace {

namespace dbus = automation::dbus;
using automation::Class;
using automation::ClassId;
using automation::Kind;
using automation::Member;
using automation::Object;
using automation::Type;
using automation::Value;
using dbus::check;

constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr std::uint32_t kRowsAtOnce = 2000;

constexpr Type kText{Kind::kText, {}, {}};
constexpr Type kBoolean{Kind::kBoolean, {}, {}};
constexpr Type kInt16{Kind::kInt16, {}, {}};
constexpr Type kInt32{Kind::kInt32, {}, {}};

bool enter(const DbusConnection::Message& message, char type, const char* contents) {
  return check(sd_bus_message_enter_container(message.get(), type, contents), "reading a reply") >
         0;
}

void leave(const DbusConnection::Message& message) {
  check(sd_bus_message_exit_container(message.get()), "reading a reply");
}

bool is_at_end(const DbusConnection::Message& message) {
  return check(sd_bus_message_at_end(message.get(), 0), "reading a reply") != 0;
}

ClassId record_class_of(const Object& collection) {
  return automation::find_member(automation::class_of(collection.class_id), "Item")
      ->result.class_id;
}

const Class& class_of(const Object& object) { return automation::class_of(object.class_id); }

}  // namespace

// An object of the service that this client holds.
class DbusTransport::Held final {
 public:
  Held(DbusTransport& transport, std::string path)
      : transport_(transport), path_(std::move(path)) {}
  ~Held() {
    transport_.held_.erase(path_);
    try {
      transport_.connection_.call(dbus::kRootPath, dbus::kAutomationInterface, "Release", "o",
                                  path_.c_str());
    } catch (const std::exception&) {
      // The service is gone, and the object with it.
    }
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  DbusTransport& transport_;
  std::string path_;
};

Object DbusTransport::resolve(const char* path) {
  std::weak_ptr<Held>& known = held_[path];
  auto held = known.lock();
  if (held == nullptr) known = held = std::make_shared<Held>(*this, path);
  return {{}, std::move(held)};
}

std::string DbusTransport::hand_out(const Object& object) {
  return object ? std::static_pointer_cast<Held>(object.instance)->path() : dbus::kNothingPath;
}

std::vector<std::string> DbusTransport::hand_out_all(const std::vector<Object>& objects) {
  std::vector<std::string> paths;
  for (const Object& object : objects) paths.push_back(hand_out(object));
  return paths;
}

Object DbusTransport::object_at(const char* path, ClassId class_id) {
  if (std::string_view(path) == dbus::kNothingPath) return {class_id, nullptr};
  Object object = resolve(path);
  object.class_id = class_id;
  return object;
}

void DbusTransport::append(const Message& message, const Type& type, Value value) {
  try {
    dbus::Outgoing(type, std::move(value), *this).append_to(message.get());
  } catch (const dbus::WireError&) {
    throw CallError(CallError::Reason::kNotCarried,
                    "A text holds a character that the bus cannot carry.");
  } catch (const Error& error) {
    throw CallError(CallError::Reason::kRefused, error.what(), error.number());
  }
}

Value DbusTransport::read_value(const Message& message, const Type& type) {
  if (type.kind == Kind::kObject) {
    return object_at(dbus::read_text(message.get(), 'o').c_str(), type.class_id);
  }
  if (type.kind == Kind::kEmpty) return Empty{};
  return dbus::read(message.get(), type, *this);
}

// An a{sv}, taken by the names of the properties. The service leaves out what the bus cannot carry.
Row DbusTransport::read_row(const Message& message, ClassId record_class) {
  Row row(record_class);
  enter(message, SD_BUS_TYPE_ARRAY, "{sv}");
  while (enter(message, SD_BUS_TYPE_DICT_ENTRY, "sv")) {
    const std::string name = dbus::read_text(message.get(), 's');
    const Attribute* attribute = find_attribute(record_class, name);
    if (attribute == nullptr) {
      check(sd_bus_message_skip(message.get(), "v"), "reading a reply");
    } else {
      const Type& type = attribute->member->result;
      enter(message, SD_BUS_TYPE_VARIANT, dbus::signature_of(type));
      row.set(*attribute, from_member_value(*attribute, read_value(message, type)));
      leave(message);
    }
    leave(message);
  }
  leave(message);
  return row;
}

bool DbusTransport::reserve(TextView connect_string) {
  Message message = connection_.new_call(dbus::kRootPath, dbus::kAutomationInterface, "Reserve");
  check(sd_bus_message_sensitive(message.get()), "making a call");
  append(message, kText, Text(connect_string));
  const Message reply = connection_.send(std::move(message));
  return std::get<bool>(read_value(reply, kBoolean));
}

Object DbusTransport::create(const Class& of) {
  const Message reply = connection_.call(dbus::kRootPath, dbus::kAutomationInterface,
                                         "CreateObject", "s", std::string(of.name).c_str());
  return object_at(dbus::read_text(reply.get(), 'o').c_str(), of.id);
}

DbusTransport::Message DbusTransport::send_call(const Object& object, const Member& member,
                                                const std::vector<Value>& arguments) {
  const std::string interface = dbus::interface_of(class_of(object));
  const std::string name(member.name);
  const std::string path = hand_out(object);
  if (dbus::is_property(member)) {
    Message reply =
        connection_.call(path, kProperties, "Get", "ss", interface.c_str(), name.c_str());
    enter(reply, SD_BUS_TYPE_VARIANT, dbus::signature_of(member.result));
    return reply;
  }
  Message message = connection_.new_call(path, interface, name);
  if (dbus::has_secret(member)) check(sd_bus_message_sensitive(message.get()), "making a call");
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    append(message, member.arguments[i].type, arguments[i]);
  }
  return connection_.send(std::move(message));
}

Value DbusTransport::call(const Object& object, const Member& member,
                          const std::vector<Value>& arguments) {
  return read_value(send_call(object, member, arguments), member.result);
}

std::vector<Object> DbusTransport::call_for_all(const Object& object, const Member& member,
                                                const std::vector<Value>& arguments) {
  const Message reply = send_call(object, member, arguments);
  std::vector<Object> entries;
  enter(reply, SD_BUS_TYPE_ARRAY, "o");
  while (!is_at_end(reply)) {
    entries.push_back(object_at(dbus::read_text(reply.get(), 'o').c_str(), member.result.class_id));
  }
  return entries;
}

void DbusTransport::let(const Object& object, const Member& member, const Value& value) {
  Message message = connection_.new_call(hand_out(object), kProperties, "Set");
  check(sd_bus_message_append(message.get(), "ss", dbus::interface_of(class_of(object)).c_str(),
                              std::string(member.name).c_str()),
        "making a call");
  check(sd_bus_message_open_container(message.get(), SD_BUS_TYPE_VARIANT,
                                      dbus::signature_of(member.result)),
        "making a call");
  append(message, member.result, value);
  check(sd_bus_message_close_container(message.get()), "making a call");
  connection_.send(std::move(message));
}

Row DbusTransport::read(const Object& record) {
  const Message reply = connection_.call(hand_out(record), kProperties, "GetAll", "s",
                                         dbus::interface_of(class_of(record)).c_str());
  return read_row(reply, record.class_id);
}

std::vector<Row> DbusTransport::rows(const Object& collection) {
  const ClassId record_class = record_class_of(collection);
  const std::string path = hand_out(collection);
  std::vector<Row> rows;
  for (std::uint32_t at_once = kRowsAtOnce;;) {
    const auto before = static_cast<std::uint32_t>(rows.size());
    try {
      const Message reply =
          connection_.call(path, dbus::kRowsInterface, "GetRows", "uu", before + 1, at_once);
      enter(reply, SD_BUS_TYPE_ARRAY, "a{sv}");
      while (!is_at_end(reply)) rows.push_back(read_row(reply, record_class));
      if (rows.size() - before < at_once) return rows;
    } catch (const DbusRefusal& refusal) {
      // Rows may be as large as a message.
      if (!refusal.name().ends_with(".LimitExceeded") || at_once == 1) throw;
      at_once = std::max(at_once / 8, 1u);
    }
  }
}

UpdateErrorEnum DbusTransport::insert(const Object& record, TextView report_file) {
  Message message = connection_.new_call(hand_out(record), dbus::kRecordInterface, "Insert");
  append(message, kText, Text(report_file));
  const Message reply = connection_.send(std::move(message));
  return static_cast<UpdateErrorEnum>(std::get<std::int32_t>(read_value(reply, kInt32)));
}

std::vector<PcKey> DbusTransport::find_pcs(TextView name) {
  Message message = connection_.new_call(dbus::kRootPath, dbus::kAutomationInterface, "FindPCs");
  append(message, kText, Text(name));
  const Message reply = connection_.send(std::move(message));
  std::vector<PcKey> keys;
  enter(reply, SD_BUS_TYPE_ARRAY, "(ssn)");
  while (enter(reply, SD_BUS_TYPE_STRUCT, "ssn")) {
    PcKey& key = keys.emplace_back();
    key.mac_number = std::get<Text>(read_value(reply, kText));
    key.computer_id = std::get<Text>(read_value(reply, kText));
    key.comp_id = std::get<std::int16_t>(read_value(reply, kInt16));
    leave(reply);
  }
  return keys;
}

FailureCause DbusTransport::last_cause() {
  const Message reply =
      connection_.call(dbus::kRootPath, dbus::kLastCauseInterface, "GetLastCause");
  FailureCause cause;
  cause.kind = static_cast<ado::FailureKind>(std::get<std::int32_t>(read_value(reply, kInt32)));
  cause.number = std::get<std::int32_t>(read_value(reply, kInt32));
  cause.native = std::get<std::int32_t>(read_value(reply, kInt32));
  cause.text = std::get<Text>(read_value(reply, kText));
  cause.outcome_unknown = std::get<bool>(read_value(reply, kBoolean));
  return cause;
}

void DbusTransport::clear_last_cause() {
  connection_.call(dbus::kRootPath, dbus::kLastCauseInterface, "ClearLastCause");
}

}  // namespace tarnwick::client
