#include "client/dbus_transport.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "automation/binding.h"
#include "automation/dbus/interface.h"
#include "automation/dbus/names.h"
#include "automation/dbus/wire.h"
#include "client/dbus_connection.h"

namespace tarnwick::client {
namespace {

namespace dbus = automation::dbus;
using automation::Automated;
using automation::Kind;
using automation::Type;
using dbus::check;
using Message = DbusConnection::Message;

constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr std::uint32_t kRowsAtOnce = 2000;

bool enter(const Message& message, char type, const char* contents) {
  return check(sd_bus_message_enter_container(message.get(), type, contents), "reading a reply") >
         0;
}

void leave(const Message& message) {
  check(sd_bus_message_exit_container(message.get()), "reading a reply");
}

bool is_at_end(const Message& message) {
  return check(sd_bus_message_at_end(message.get(), 0), "reading a reply") != 0;
}

std::int64_t read_int64(const Message& message) {
  std::int64_t value = 0;
  check(sd_bus_message_read_basic(message.get(), SD_BUS_TYPE_INT64, &value), "reading a reply");
  return value;
}

const Class& class_of(const Object& object) { return automation::class_of(object.class_id); }

// What a call needs is converted as the service does it.
class Client final : public DbusTransport, private dbus::Paths {
 public:
  Client(sd_bus* bus, Questions questions) : connection_(bus, std::move(questions)) {}

  bool reserve(TextView connect_string) override {
    return take<bool>(
        call_with_text(dbus::kRootPath, dbus::kAutomationInterface, "Reserve", connect_string));
  }

  Object create(const Class& of) override {
    const Message reply = connection_.call(dbus::kRootPath, dbus::kAutomationInterface,
                                           "CreateObject", "s", std::string(of.name).c_str());
    return take_object(reply, of.id);
  }

  Value call(const Object& object, const Member& member,
             const std::vector<Value>& arguments) override {
    return read_value(send_call(object, member, arguments), member.result);
  }

  std::vector<Object> call_for_all(const Object& object, const Member& member,
                                   const std::vector<Value>& arguments) override {
    const Message reply = send_call(object, member, arguments);
    std::vector<Object> entries;
    enter(reply, SD_BUS_TYPE_ARRAY, "o");
    while (!is_at_end(reply)) entries.push_back(take_object(reply, member.result.class_id));
    return entries;
  }

  void let(const Object& object, const Member& member, const Value& value) override;
  Row read(const Object& record) override;
  std::vector<Row> rows(const Object& collection) override;

  UpdateErrorEnum insert(const Object& record, TextView report_file) override {
    return take<UpdateErrorEnum>(
        call_with_text(hand_out(record), dbus::kRecordInterface, "Insert", report_file));
  }

  std::vector<PcKey> find_pcs(TextView name) override;
  Look look(const Object& record) override;
  std::vector<StoredReportFile> stored_report_files() override;
  FailureCause last_cause() override;

  void clear_last_cause() override {
    connection_.call(dbus::kRootPath, dbus::kLastCauseInterface, "ClearLastCause");
  }

 private:
  // As a client sees it, who is handed objects and hands them back. What an object of the service
  // holds is its path.
  Object resolve(const char* path) override;
  std::string hand_out(const Object& object) override {
    return object ? *std::static_pointer_cast<std::string>(object.instance) : dbus::kNothingPath;
  }
  std::vector<std::string> hand_out_all(const std::vector<Object>& objects) override;

  void give_up(const std::string& path);
  void append(const Message& message, const Type& type, Value value);
  Value read_value(const Message& message, const Type& type);
  template <class T>
  T take(const Message& message) {
    return T(Automated<T>::from(read_value(message, Automated<T>::kType)));
  }
  Object take_object(const Message& message, ClassId class_id);
  Row read_row(const Message& message, ClassId record_class);
  Message send_call(const Object& object, const Member& member,
                    const std::vector<Value>& arguments);
  Message call_with_text(const std::string& path, const char* interface, const char* member,
                         TextView text);

  DbusConnection connection_;
  // What is held at each path: giving it up once gives it up, however often it was handed out.
  std::map<std::string, std::weak_ptr<std::string>> held_;
};

Object Client::resolve(const char* path) {
  std::weak_ptr<std::string>& known = held_[path];
  auto held = known.lock();
  if (held == nullptr) {
    held = std::shared_ptr<std::string>(new std::string(path), [this](std::string* last) {
      const std::unique_ptr<std::string> given_up(last);
      give_up(*given_up);
    });
    known = held;
  }
  return {{}, std::move(held)};
}

void Client::give_up(const std::string& path) {
  held_.erase(path);
  try {
    connection_.call(dbus::kRootPath, dbus::kAutomationInterface, "Release", "o", path.c_str());
  } catch (const std::exception&) {
    // The service is gone, and the object with it.
  }
}

std::vector<std::string> Client::hand_out_all(const std::vector<Object>& objects) {
  std::vector<std::string> paths;
  // Untaken: no member takes a list of objects from a client.
  for (const Object& object : objects) paths.push_back(hand_out(object));
  return paths;
}

Object Client::take_object(const Message& message, ClassId class_id) {
  const std::string path = dbus::read_text(message.get(), 'o');
  if (path == dbus::kNothingPath) return {class_id, nullptr};
  Object object = resolve(path.c_str());
  object.class_id = class_id;
  return object;
}

Value Client::read_value(const Message& message, const Type& type) {
  if (type.kind == Kind::kObject) return take_object(message, type.class_id);
  if (type.kind == Kind::kEmpty) return Empty{};
  return dbus::read(message.get(), type, *this);
}

Message Client::call_with_text(const std::string& path, const char* interface, const char* member,
                               TextView text) {
  Message message = connection_.new_call(path, interface, member);
  // It may be a connection string, with a password.
  check(sd_bus_message_sensitive(message.get()), "making a call");
  append(message, Automated<Text>::kType, Text(text));
  return connection_.send(std::move(message));
}

void Client::append(const Message& message, const Type& type, Value value) {
  try {
    dbus::Outgoing(type, std::move(value), *this).append_to(message.get());
  } catch (const dbus::WireError&) {
    throw CallError(CallError::Reason::kNotCarried,
                    "A text holds a character that the bus cannot carry.");
  } catch (const Error& error) {
    throw CallError(CallError::Reason::kRefused, error.what(), error.number());
  }
}

// An a{sv}, taken by the names of the properties. The service leaves out what the bus cannot carry.
Row Client::read_row(const Message& message, ClassId record_class) {
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

Message Client::send_call(const Object& object, const Member& member,
                          const std::vector<Value>& arguments) {
  const std::string interface = dbus::interface_of(class_of(object));
  const std::string name(member.name);
  const std::string path = hand_out(object);
  if (automation::is_property(member)) {
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

void Client::let(const Object& object, const Member& member, const Value& value) {
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

Row Client::read(const Object& record) {
  const Message reply = connection_.call(hand_out(record), kProperties, "GetAll", "s",
                                         dbus::interface_of(class_of(record)).c_str());
  return read_row(reply, record.class_id);
}

std::vector<Row> Client::rows(const Object& collection) {
  const ClassId record_class =
      automation::find_member(class_of(collection), "Item")->result.class_id;
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

std::vector<PcKey> Client::find_pcs(TextView name) {
  const Message reply =
      call_with_text(dbus::kRootPath, dbus::kAutomationInterface, "FindPCs", name);
  std::vector<PcKey> keys;
  enter(reply, SD_BUS_TYPE_ARRAY, "(ssn)");
  while (enter(reply, SD_BUS_TYPE_STRUCT, "ssn")) {
    keys.push_back({take<Text>(reply), take<Text>(reply), take<std::int16_t>(reply)});
    leave(reply);
  }
  return keys;
}

Look Client::look(const Object& record) {
  const Message reply = connection_.call(hand_out(record), dbus::kRecordInterface, "Look");
  Look look{.outcome = LookOutcome{take<std::int32_t>(reply)}, .stamp = {}, .process_id = {}};
  look.held = take<bool>(reply);
  look.stamp = take<Text>(reply);
  const std::int64_t process = read_int64(reply);
  if (process != 0) look.process_id = process;
  return look;
}

std::vector<StoredReportFile> Client::stored_report_files() {
  const Message reply =
      connection_.call(dbus::kRootPath, dbus::kAutomationInterface, "ReportFiles");
  std::vector<StoredReportFile> files;
  enter(reply, SD_BUS_TYPE_ARRAY, "(sx)");
  while (enter(reply, SD_BUS_TYPE_STRUCT, "sx")) {
    files.push_back({take<Text>(reply), read_int64(reply)});
    leave(reply);
  }
  return files;
}

FailureCause Client::last_cause() {
  const Message reply =
      connection_.call(dbus::kRootPath, dbus::kLastCauseInterface, "GetLastCause");
  FailureCause cause;
  cause.kind = take<ado::FailureKind>(reply);
  cause.number = take<std::int32_t>(reply);
  cause.native = take<std::int32_t>(reply);
  cause.text = take<Text>(reply);
  cause.outcome_unknown = take<bool>(reply);
  return cause;
}

}  // namespace

std::unique_ptr<DbusTransport> make_dbus_transport(sd_bus* bus, Questions questions) {
  return std::make_unique<Client>(bus, std::move(questions));
}

}  // namespace tarnwick::client
