#pragma once

#include <map>
#include <memory>
#include <string>

#include "automation/dbus/wire.h"
#include "client/dbus_connection.h"
#include "client/transport.h"

namespace tarnwick::client {

/// The object model in the service on a bus. What a call needs is converted as the service does it.
class DbusTransport final : public Transport, private automation::dbus::Paths {
 public:
  /// See DbusConnection.
  DbusTransport(sd_bus* bus, Questions questions) : connection_(bus, std::move(questions)) {}

  /// Makes sure that connecting with this string takes nothing from another client of the service,
  /// and that no other client that asks so connects as long as this lives. False if it would.
  [[nodiscard]] bool reserve(TextView connect_string);

  automation::Object create(const automation::Class& of) override;
  automation::Value call(const automation::Object& object, const automation::Member& member,
                         const std::vector<automation::Value>& arguments) override;
  std::vector<automation::Object> call_for_all(
      const automation::Object& object, const automation::Member& member,
      const std::vector<automation::Value>& arguments) override;
  void let(const automation::Object& object, const automation::Member& member,
           const automation::Value& value) override;
  Row read(const automation::Object& record) override;
  std::vector<Row> rows(const automation::Object& collection) override;
  UpdateErrorEnum insert(const automation::Object& record, TextView report_file) override;
  std::vector<PcKey> find_pcs(TextView name) override;
  FailureCause last_cause() override;
  void clear_last_cause() override;

 private:
  using Message = DbusConnection::Message;
  class Held;

  // As a client sees it, who is handed objects and hands them back.
  automation::Object resolve(const char* path) override;
  std::string hand_out(const automation::Object& object) override;
  std::vector<std::string> hand_out_all(const std::vector<automation::Object>& objects) override;

  automation::Object object_at(const char* path, automation::ClassId class_id);
  void append(const Message& message, const automation::Type& type, automation::Value value);
  automation::Value read_value(const Message& message, const automation::Type& type);
  Row read_row(const Message& message, automation::ClassId record_class);
  Message send_call(const automation::Object& object, const automation::Member& member,
                    const std::vector<automation::Value>& arguments);

  DbusConnection connection_;
  // What is held at each path: giving it up once gives it up, however often it was handed out.
  std::map<std::string, std::weak_ptr<Held>> held_;
};

}  // namespace tarnwick::client
