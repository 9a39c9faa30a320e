#include "apps/tarnwick/service_client.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string_view>
#include <utility>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/fields.h"
#include "apps/tarnwick/kinds.h"
#include "apps/tarnwick/process_setup.h"
#include "automation/dbus/names.h"

namespace tarnwick::cli {
namespace {

namespace dbus = automation::dbus;
using dbus::check;
using Message = ServiceConnection::Message;

constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr std::uint32_t kRowsAtOnce = 2000;
// How long to wait for other clients before anybody is asked: as for a row.
constexpr std::chrono::seconds kTurnTime{2};
constexpr useconds_t kPollTime = 20'000;  // microseconds

template <class T>
T read_basic(sd_bus_message* message, char type) {
  T value{};
  check(sd_bus_message_read_basic(message, type, &value), "reading a reply");
  return value;
}

// One property's value, of the type of what it is read into.
void read_value(sd_bus_message* message, Text& value) {
  value = from_utf8(read_basic<const char*>(message, 's'));
}
void read_value(sd_bus_message* message, std::int16_t& value) {
  value = read_basic<std::int16_t>(message, 'n');
}
void read_value(sd_bus_message* message, std::int32_t& value) {
  value = read_basic<std::int32_t>(message, 'i');
}
void read_value(sd_bus_message* message, bool& value) {
  value = read_basic<int>(message, 'b') != 0;
}
void read_value(sd_bus_message* message, Date& value) {
  value.days = read_basic<double>(message, 'd');
}
template <class Enum>
requires std::is_enum_v<Enum>
void read_value(sd_bus_message* message, Enum& value) {
  value = static_cast<Enum>(read_basic<std::int32_t>(message, 'i'));
}

void append_value(sd_bus_message* message, const Text& value) {
  check_argument(value.find(u'\0') == Text::npos
                     ? sd_bus_message_append(message, "v", "s", to_utf8(value).c_str())
                     : -EINVAL);
}
void append_value(sd_bus_message* message, std::int16_t value) {
  check_argument(sd_bus_message_append(message, "v", "n", value));
}
void append_value(sd_bus_message* message, std::int32_t value) {
  check_argument(sd_bus_message_append(message, "v", "i", value));
}
void append_value(sd_bus_message* message, bool value) {
  check_argument(sd_bus_message_append(message, "v", "b", value ? 1 : 0));
}
void append_value(sd_bus_message* message, Date value) {
  check_argument(sd_bus_message_append(message, "v", "d", value.days));
}

// An a{sv}, taken by the names of the properties. False when the service left some of them out: the
// bus cannot carry every text.
template <class Row>
bool read_row(sd_bus_message* message, Row& row) {
  const auto fields = fields_of(row);
  std::size_t found = 0;
  check(sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}"), "reading a reply");
  while (check(sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv"),
               "reading a reply") > 0) {
    const std::string_view name = read_basic<const char*>(message, 's');
    const auto field = std::ranges::find(fields, name, &Field<Row>::name);
    if (field == fields.end()) {
      check(sd_bus_message_skip(message, "v"), "reading a reply");
    } else {
      const char* type = nullptr;
      check(sd_bus_message_peek_type(message, nullptr, &type), "reading a reply");
      check(sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, type), "reading a reply");
      std::visit([&](auto member) { read_value(message, row.*member); }, field->member);
      check(sd_bus_message_exit_container(message), "reading a reply");
      ++found;
    }
    check(sd_bus_message_exit_container(message), "reading a reply");
  }
  check(sd_bus_message_exit_container(message), "reading a reply");
  return found == fields.size();
}

// For a record that may be written back: a text that is missing here would be lost there.
template <class Row>
Row row_of(const RemoteObject& object) {
  const Message reply =
      object.service().call(object.path(), kProperties, "GetAll", "s", object.interface().c_str());
  Row row;
  if (!read_row(reply.get(), row)) {
    throw Failure(ExitCode::kFailed,
                  fmt::format("{} has a text that the bus cannot carry. With --in-process the "
                              "service is not needed.",
                              describe(row)));
  }
  return row;
}

// The rows of one message; how many there are is in them.
template <class Row>
std::size_t append_rows(const Message& reply, std::vector<Row>& rows) {
  const std::size_t before = rows.size();
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "a{sv}"), "reading a reply");
  while (check(sd_bus_message_at_end(reply.get(), 0), "reading a reply") == 0) {
    Row& row = rows.emplace_back();
    if (!read_row(reply.get(), row)) {
      tell_error(fmt::format("{} has a text that the bus cannot carry; it is shown as empty. With "
                             "--in-process the service is not needed.",
                             describe(row))
                     .c_str());
    }
  }
  return rows.size() - before;
}

template <class Row>
std::vector<Row> rows_of(ServiceConnection& service, const std::string& collection) {
  std::vector<Row> rows;
  for (std::uint32_t at_once = kRowsAtOnce;;) {
    const auto first = static_cast<std::uint32_t>(rows.size()) + 1;
    try {
      const Message reply =
          service.call(collection, dbus::kRowsInterface, "GetRows", "uu", first, at_once);
      if (append_rows(reply, rows) < at_once) return rows;
    } catch (const Refusal& refusal) {
      // Rows may be as large as a message.
      if (!refusal.name().ends_with(".LimitExceeded") || at_once == 1) throw;
      at_once = std::max(at_once / 8, 1u);
    }
  }
}

// Sets what the command line can set and what identifies the record; the rest is the service's.
template <class Row>
void assign_row(const RemoteObject& object, const Row& row) {
  for (const auto& field : fields_of(row)) {
    if (field.name == "SoftLock" || field.name == "RowVersion") continue;
    Message call = object.service().new_call(object.path(), kProperties, "Set");
    check_argument(sd_bus_message_append(call.get(), "ss", object.interface().c_str(),
                                         std::string(field.name).c_str()));
    std::visit([&](auto member) { append_value(call.get(), row.*member); }, field.member);
    object.service().send(std::move(call));
  }
}

// What the three kinds of record share.
template <class Base>
class RemoteRecord : public Base {
 public:
  RemoteRecord(ServiceConnection& service, const char* class_name) : object_(service, class_name) {}
  RemoteRecord(ServiceConnection& service, const char* class_name, std::string path)
      : object_(service, class_name, std::move(path)) {}

  bool lock_record() override { return boolean_result(object_.call("LockRecord")); }
  bool release_record() override { return boolean_result(object_.call("ReleaseRecord")); }
  void remove() override { object_.call("Delete"); }

 protected:
  [[nodiscard]] const RemoteObject& object() const { return object_; }

 private:
  RemoteObject object_;
};

// Of a call that writes. A service that goes meanwhile tells nobody whether it has written.
template <class... Arguments>
UpdateErrorEnum write_by(const RemoteObject& object, const std::string& interface,
                         const char* member, const char* types = "", Arguments... arguments) {
  try {
    return static_cast<UpdateErrorEnum>(number_result(
        object.service().call(object.path(), interface, member, types, arguments...)));
  } catch (const Refusal& refusal) {
    if (refusal.name() != SD_BUS_ERROR_NO_REPLY) throw;
    throw Failure(ExitCode::kUnknown,
                  "The service ended while it was writing: nobody knows whether it has written.");
  }
}

class RemoteComponent final : public RemoteRecord<ComponentRecord> {
 public:
  RemoteComponent(ServiceConnection& service, std::string path, std::string register_path)
      : RemoteRecord(service, "Component", std::move(path)),
        register_path_(std::move(register_path)) {}

  ComponentRow row() override { return row_of<ComponentRow>(object()); }
  UpdateErrorEnum update() override { return write_by(object(), object().interface(), "Update"); }
  UpdateErrorEnum insert() override {
    return write_by(object(), dbus::kRecordInterface, "Insert", "s", "");
  }
  std::vector<PcRow> pcs() override {
    // What PCs hands out, without an object for each PC.
    const std::int16_t comp_id = row().comp_id;
    object().service().call(register_path_, std::string(dbus::kBusName) + ".RegisteredPCs",
                            "Refresh");
    auto rows = rows_of<PcRow>(object().service(), register_path_);
    std::erase_if(rows, [&](const PcRow& pc) { return pc.comp_id != comp_id; });
    return rows;
  }

 private:
  std::string register_path_;
};

class RemotePc final : public RemoteRecord<PcRecord> {
 public:
  RemotePc(ServiceConnection& service, std::string register_path)
      : RemoteRecord(service, "RegisteredPC"), register_path_(std::move(register_path)) {}

  void remove() override {
    // Delete takes the PC out of the register too, and calls it a failure if it is not there.
    object().service().call(register_path_, std::string(dbus::kBusName) + ".RegisteredPCs",
                            "AddPCObject", "o", object().path().c_str());
    RemoteRecord::remove();
  }
  PcRow row() override { return row_of<PcRow>(object()); }
  void assign(const PcRow& row) override { assign_row(object(), row); }
  UpdateErrorEnum update() override { return write_by(object(), object().interface(), "Update"); }
  UpdateErrorEnum insert() override {
    return write_by(object(), dbus::kRecordInterface, "Insert", "s", "");
  }

 private:
  std::string register_path_;
};

class RemoteReport final : public RemoteRecord<ReportRecord> {
 public:
  RemoteReport(ServiceConnection& service, std::string catalog_path)
      : RemoteRecord(service, "Report"), catalog_path_(std::move(catalog_path)) {}

  void remove() override {
    // As with PCs.
    object().service().call(catalog_path_, std::string(dbus::kBusName) + ".Reports",
                            "AddReportObject", "o", object().path().c_str());
    RemoteRecord::remove();
  }
  ReportRow row() override { return row_of<ReportRow>(object()); }
  void assign(const ReportRow& row) override { assign_row(object(), row); }
  UpdateErrorEnum update(TextView report_file) override {
    return write_by(object(), object().interface(), "Update", "s", to_utf8(report_file).c_str());
  }
  UpdateErrorEnum insert(TextView report_file) override {
    return write_by(object(), dbus::kRecordInterface, "Insert", "s", to_utf8(report_file).c_str());
  }
  bool import_ttx(TextView file) override { return call_with_file("ImportTTX", file); }
  bool extract_ttx(TextView file) override { return call_with_file("ExtractTTX", file); }
  bool extract_report(TextView file) override { return call_with_file("ExtractReport", file); }

 private:
  bool call_with_file(const char* member, TextView file) {
    return boolean_result(object().call(member, "s", to_utf8(file).c_str()));
  }

  std::string catalog_path_;
};

}  // namespace

void ServiceClient::open(const Options& options, TextView connect_string) {
  const bool named = options.system_bus || !options.address.empty();
  const std::string string = to_utf8(connect_string);
  // A service that others use cannot be told to write a trace.
  if (options.trace_file.empty()) {
    if (auto bus = ServiceBus::find(options)) {
      service_ = std::make_unique<ServiceConnection>(std::move(bus), *message_box_, *input_);
      if (named) {
        wait_for_turn(*service_, string);
      } else if (!service_->reserve(string)) {
        service_.reset();
      }
    }
  }
  if (service_ == nullptr) {
    service_ =
        std::make_unique<ServiceConnection>(ServiceBus::make(options), *message_box_, *input_);
  }
  server_ = std::make_unique<RemoteObject>(*service_, "Server");
}

void ServiceClient::wait_for_turn(ServiceConnection& service, const std::string& connect_string) {
  for (std::uint32_t retried = 0;; ++retried) {
    const auto deadline = std::chrono::steady_clock::now() + kTurnTime;
    do {
      if (service.reserve(connect_string)) return;
      usleep(kPollTime);
    } while (std::chrono::steady_clock::now() < deadline);
    if (message_box_->retry_or_cancel(u"The service is being used by another client!",
                                      u"Service In Use", retried) != platform::Answer::kRetry) {
      break;
    }
  }
  throw Failure(ExitCode::kLocked,
                "Another client of the service maintains a record or uses another database. With "
                "--in-process the service is not needed.");
}

Text ServiceClient::last_error_msg() {
  return from_utf8(text_result(server_->get("LastErrorMsg", "s"), 's'));
}

FailureCause ServiceClient::last_cause() {
  const Message reply = service_->call(dbus::kRootPath, dbus::kLastCauseInterface, "GetLastCause");
  FailureCause cause;
  read_value(reply.get(), cause.kind);
  read_value(reply.get(), cause.number);
  read_value(reply.get(), cause.native);
  read_value(reply.get(), cause.text);
  read_value(reply.get(), cause.outcome_unknown);
  return cause;
}

void ServiceClient::clear_last_cause() {
  service_->call(dbus::kRootPath, dbus::kLastCauseInterface, "ClearLastCause");
}

bool ServiceClient::set_connection(TextView connect_string, TextView role, TextView password) {
  Message call = service_->new_call(server_->path(), server_->interface(), "SetConnection");
  check(sd_bus_message_sensitive(call.get()), "making a call");
  check_argument(sd_bus_message_append(call.get(), "sss", to_utf8(connect_string).c_str(),
                                       to_utf8(role).c_str(), to_utf8(password).c_str()));
  return boolean_result(service_->send(std::move(call)));
}

std::string ServiceClient::collection(const char* name) {
  return text_result(server_->get(name, "o"), 'o');
}

bool ServiceClient::refresh() { return boolean_result(server_->call("Refresh")); }

bool ServiceClient::refresh_components() {
  return boolean_result(service_->call(collection("Components"),
                                       std::string(dbus::kBusName) + ".Components", "Refresh"));
}

bool ServiceClient::refresh_pcs() {
  return boolean_result(service_->call(collection("RegisteredPCs"),
                                       std::string(dbus::kBusName) + ".RegisteredPCs", "Refresh"));
}

bool ServiceClient::refresh_reports() {
  return boolean_result(
      service_->call(collection("Reports"), std::string(dbus::kBusName) + ".Reports", "Refresh"));
}

std::vector<ComponentRow> ServiceClient::components() {
  return rows_of<ComponentRow>(*service_, collection("Components"));
}

std::vector<PcRow> ServiceClient::pcs() {
  return rows_of<PcRow>(*service_, collection("RegisteredPCs"));
}

std::vector<ReportRow> ServiceClient::reports() {
  return rows_of<ReportRow>(*service_, collection("Reports"));
}

std::vector<PcRow> ServiceClient::find_pcs(TextView name) {
  const Message reply = service_->call(dbus::kRootPath, dbus::kAutomationInterface, "FindPCs", "s",
                                       to_utf8(name).c_str());
  std::vector<PcRow> rows;
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "(ssn)"), "reading a reply");
  while (check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_STRUCT, "ssn"),
               "reading a reply") > 0) {
    PcRow& row = rows.emplace_back();
    read_value(reply.get(), row.mac_number);
    read_value(reply.get(), row.computer_id);
    read_value(reply.get(), row.comp_id);
    check(sd_bus_message_exit_container(reply.get()), "reading a reply");
  }
  return rows;
}

std::unique_ptr<ComponentRecord> ServiceClient::new_component(const ComponentRow& row) {
  // A list of its own, for the shared one may hold the id already.
  const RemoteObject list(*service_, "Components");
  std::string path =
      text_result(list.call("Add", "nsnnnbnissss", row.comp_id, to_utf8(row.name).c_str(),
                            row.parent_id, row.priority, row.image_index, row.force_display ? 1 : 0,
                            static_cast<std::int16_t>(row.maintenance_type),
                            static_cast<std::int32_t>(row.report_code),
                            to_utf8(row.server_name).c_str(), to_utf8(row.security_group).c_str(),
                            to_utf8(row.meta_id).c_str(), to_utf8(row.authorized_role).c_str()),
                  'o');
  if (path == dbus::kNothingPath) {
    throw Failure(ExitCode::kFailed, "The component cannot be made.", last_error_msg());
  }
  return std::make_unique<RemoteComponent>(*service_, std::move(path), collection("RegisteredPCs"));
}

std::unique_ptr<PcRecord> ServiceClient::new_pc(const PcRow& row) {
  auto pc = std::make_unique<RemotePc>(*service_, collection("RegisteredPCs"));
  pc->assign(row);
  return pc;
}

std::unique_ptr<ReportRecord> ServiceClient::new_report(const ReportRow& row) {
  auto report = std::make_unique<RemoteReport>(*service_, collection("Reports"));
  report->assign(row);
  return report;
}

}  // namespace tarnwick::cli
