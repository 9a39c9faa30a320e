// Whole messages to a service, byte by byte as a bus would hand them over, well-formed or not:
// every call that asks for an answer gets one, and whatever comes leaves nothing behind.

#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "automation/dbus/clients.h"
#include "automation/dbus/departures.h"
#include "automation/dbus/error.h"
#include "automation/dbus/interface.h"
#include "automation/dbus/memory_limit.h"
#include "automation/dbus/names.h"
#include "automation/dbus/service.h"
#include "automation/events.h"
#include "engines/sqlite/engine.h"
#include "fuzz/quiet_host.h"
#include "fuzz/raw_bus.h"
#include "fuzz/target.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::fuzz {
namespace {

using namespace automation;
using dbus::check;

constexpr char kClient[] = ":1.7";

// --- What a call can be about
// ----------------------------------------------------------------------

struct Callee {
  std::string interface;
  std::string member;
  std::string signature;
};

std::vector<Callee> all_callees() {
  std::vector<Callee> all;
  const auto add = [&](const dbus::Interface& interface) {
    for (const auto& member : interface.members) {
      all.push_back({interface.name, member.name, member.argument_signature()});
    }
  };
  add(dbus::automation_interface());
  add(dbus::last_cause_interface());
  add(dbus::rows_interface());
  add(dbus::record_interface());
  for (const Class& of : classes()) add(dbus::class_interface(of));
  all.push_back({"org.freedesktop.DBus.Properties", "Get", "ss"});
  all.push_back({"org.freedesktop.DBus.Properties", "Set", "ssv"});
  all.push_back({"org.freedesktop.DBus.Properties", "GetAll", "s"});
  all.push_back({"org.freedesktop.DBus.Introspectable", "Introspect", ""});
  all.push_back({"org.freedesktop.DBus.Peer", "GetMachineId", ""});
  all.push_back({"org.freedesktop.DBus.ObjectManager", "GetManagedObjects", ""});
  return all;
}

const std::vector<Callee>& callees() {
  static const std::vector<Callee> all = all_callees();
  return all;
}

// --- The service
// -----------------------------------------------------------------------------------

using Bus = std::unique_ptr<sd_bus, dbus::Unref<sd_bus_close_unref>>;

Bus connect(RawBus& other_end) {
  sd_bus* bus = nullptr;
  check(sd_bus_new(&bus), "making a bus");
  Bus handle(bus);
  const int end = other_end.take_client_end();
  check(sd_bus_set_fd(bus, end, end), "making a bus");
  check(sd_bus_set_bus_client(bus, 1), "making a bus");
  check(sd_bus_negotiate_fds(bus, 0), "making a bus");
  check(sd_bus_start(bus), "making a bus");
  return handle;
}

// The database, with the same rows before each try.
class Rows {
 public:
  Rows() { refill(); }

  [[nodiscard]] Text connection_string() const { return database_.connection_string(); }
  [[nodiscard]] const std::filesystem::path& folder() const { return database_.folder(); }

  void restore() {
    if (version() != version_) refill();
  }

 private:
  // Opened anew each time: as long as one connection reads, SQLite keeps the files of others open.
  [[nodiscard]] std::string version() const {
    return database_.value(
        "SELECT Counter || ' ' || (SELECT count(*) FROM DW_SEC_COMP) || ' ' ||"
        " (SELECT count(*) FROM DW_SEC_PC) || ' ' || (SELECT count(*) FROM DW_Reports)"
        " FROM DW_ROW_VERSION");
  }

  void refill() {
    database_.run(
        "BEGIN; DELETE FROM DW_SEC_COMP; DELETE FROM DW_SEC_PC; DELETE FROM DW_Reports;"
        "UPDATE DW_ROW_VERSION SET Counter = 0;"
        "INSERT INTO DW_SEC_COMP (CompID, CompName, ParentID, ForceDisplay, MaintType)"
        " VALUES (1, 'Payroll', 0, 1, 0), (2, NULL, 1, 0, 0);"
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
        " VALUES ('M', 'C', 1, 0, 1, 0);"
        "INSERT INTO DW_Reports (ReportName, Title, Report_Binary)"
        " VALUES ('Sales', 'What was sold', x'00FF'), ('Stock', NULL, NULL); COMMIT");
    version_ = version();
  }

  test_support::EmbeddedDatabase database_;
  std::string version_;
};

Object result_of(const Object& object, const char* member, std::vector<Value> arguments = {}) {
  return std::get<Object>(
      automation::call(object, *find_member(class_of(object.class_id), member), arguments));
}

// One process with a client that holds an object of every class.
class Process {
 public:
  Process(Rows& rows, ado::Engine& engine, sd_bus* side_bus)
      : host_(rows.folder()), state_(host_, {&engine}), departures_(side_bus) {
    const Object server = class_of(ClassId::kServer).create(state_);
    automation::call(
        server, *find_member(class_of(ClassId::kServer), "SetConnection"),
        std::vector<Value>{rows.connection_string(), Text(test_support::EmbeddedDatabase::kRole),
                           Text(test_support::EmbeddedDatabase::kPassword)});
    automation::call(server, *find_member(class_of(ClassId::kServer), "Refresh"));
    objects_ = {server, result_of(server, "Components"), result_of(server, "RegisteredPCs"),
                result_of(server, "Reports")};
    for (std::size_t i = 1; i < 4; ++i) {
      objects_.push_back(result_of(objects_[i], "Item", {std::int64_t{1}}));
      require(static_cast<bool>(objects_.back()), "there is a row");
    }
    paths_ = clients_.hand_out(kClient, {}, objects_);
    // Where a message is cut short, what the bus answers is taken for the rest of it.
    check(sd_bus_set_method_call_timeout(end_.get(), 500'000), "limiting how long calls take");
  }

  /// Of the object of this class that the client holds.
  [[nodiscard]] std::string path_of(std::string_view interface) const {
    for (std::size_t i = 0; i < objects_.size(); ++i) {
      if (dbus::interface_of(class_of(objects_[i].class_id)) == interface) return paths_[i];
    }
    return dbus::kRootPath;
  }
  [[nodiscard]] const std::vector<std::string>& paths() const { return paths_; }

  void send(std::string_view bytes) { bus_.send(bytes); }

  /// Carries out what came. Nothing where the connection was ended for it.
  std::optional<std::map<std::uint32_t, int>> finish() {
    int result = 0;
    do {
      result = sd_bus_process(end_.get(), nullptr);
    } while (result > 0);
    if (result >= 0) result = sd_bus_flush(end_.get());
    objects_.clear();
    ::shutdown(sd_bus_get_fd(end_.get()), SHUT_WR);
    if (result < 0) return std::nullopt;
    return bus_.answers();
  }

 private:
  RawBus bus_;
  Bus end_ = connect(bus_);
  QuietHost host_;
  SharedState state_;
  dbus::Caller caller_;
  dbus::Clients clients_{end_.get(), "r", 100};
  dbus::Departures departures_;
  dbus::MemoryLimit memory_{std::size_t{1} << 40};
  Events events_{[](const Event&) {}};
  dbus::Service service_{end_.get(), state_, clients_, departures_, caller_, memory_, events_};
  std::vector<Object> objects_;
  std::vector<std::string> paths_;
};

// --- The messages
// ----------------------------------------------------------------------------------

// What a try sends.
class Sender {
 public:
  Sender(Process& process, Input& input) : process_(process), input_(input) {}

  void send_all() {
    for (int sent = 0; sent < 8 && !input_.empty(); ++sent) send_one();
  }

  /// Whether all that was sent was well-formed.
  [[nodiscard]] bool is_sound() const { return is_sound_; }
  [[nodiscard]] const std::set<std::uint32_t>& asked() const { return asked_; }

 private:
  void send_one() {
    const std::size_t way = input_.choice(16);
    if (way == 15) {
      is_sound_ = false;
      return process_.send(input_.piece());
    }
    if (way == 14) return send_departure();
    const bool spoiled = way == 13;
    const Callee& callee = callees()[input_.choice(callees().size())];
    const std::uint8_t how = input_.byte();
    const std::uint8_t flags = (how & 1) != 0 ? RawMessage::kNoReply : 0;
    std::string path = process_.path_of(callee.interface);
    if ((how & 2) != 0) path = any_path();
    std::string signature = callee.signature;
    if ((how & 4) != 0) signature = any_signature();
    std::string interface = callee.interface;
    if ((how & 8) != 0) interface = callees()[input_.choice(callees().size())].interface;

    RawMessage message(RawMessage::Type::kCall, flags);
    message.field(1, 'o', path);
    if ((how & 16) == 0) message.field(2, 's', interface);
    message.field(3, 's', callee.member);
    message.field(6, 's', ":1.1");
    message.field(7, 's', (how & 32) == 0 ? kClient : ":1.8");
    if (!signature.empty()) message.field(8, 'g', signature);
    std::string_view rest = signature;
    while (!rest.empty()) append(message, rest, 0);
    if (message_is_spoiled_) is_sound_ = false;

    std::string bytes = message.bytes(++serial_);
    if (spoiled) {
      is_sound_ = false;
      for (std::size_t change = 1 + input_.choice(4); change > 0; --change) {
        const auto place = static_cast<std::size_t>(input_.byte()) * (input_.choice(4) + 1);
        bytes[place % bytes.size()] = static_cast<char>(input_.byte());
      }
    } else if (flags == 0) {
      asked_.insert(serial_);
    }
    process_.send(bytes);
  }

  void send_departure() {
    RawMessage message(RawMessage::Type::kSignal, RawMessage::kNoReply);
    message.field(1, 'o', "/org/freedesktop/DBus");
    message.field(2, 's', "org.freedesktop.DBus");
    message.field(3, 's', "NameOwnerChanged");
    message.field(7, 's', "org.freedesktop.DBus");
    message.field(8, 'g', "sss");
    message.text(kClient);
    message.text(kClient);
    message.text("");
    process_.send(message.bytes(++serial_));
  }

  std::string any_path() {
    const std::size_t choice = input_.choice(16);
    if (choice < process_.paths().size()) return process_.paths()[choice];
    if (choice < 12) return choice < 10 ? "/" : dbus::kRootPath;
    // The next that will be handed out, and others that never were.
    std::string path = process_.paths().front();
    if (choice == 12) return std::string(dbus::kRootPath) + "/Server";
    path.back() = static_cast<char>('0' + choice - 6);
    return choice == 13 ? path + "9999999999999999999999" : path;
  }

  std::string any_signature() {
    constexpr std::array<std::string_view, 24> kAll{
        "",    "s",   "v",  "vv", "i",      "n",         "o",        "b",
        "x",   "d",   "av", "as", "a{sv}",  "(sv)",      "aav",      "a(sa{sv})",
        "ssv", "sss", "uu", "g",  "ssssss", "a{s(avd)}", "ybnqiuxt", "((((s))))"};
    const std::string_view chosen = kAll[input_.choice(kAll.size())];
    return std::string(chosen);
  }

  static std::size_t alignment_of(char type) {
    if (std::string_view("ygv").find(type) != std::string_view::npos) return 1;
    if (std::string_view("nq").find(type) != std::string_view::npos) return 2;
    return std::string_view("xtd({").find(type) != std::string_view::npos ? 8 : 4;
  }

  // The whole type that a signature begins with.
  static std::string_view first_type(std::string_view signature) {
    std::size_t end = 0;
    while (signature[end] == 'a') ++end;
    int depth = 0;
    do {
      const char type = signature[end++];
      if (type == '(' || type == '{') ++depth;
      if (type == ')' || type == '}') --depth;
    } while (depth > 0);
    return signature.substr(0, end);
  }

  std::string any_text() {
    const std::size_t way = input_.choice(8);
    if (way == 0) {
      const Callee& callee = callees()[input_.choice(callees().size())];
      return input_.choice(2) == 0 ? callee.interface : callee.member;
    }
    std::string text(input_.piece());
    if (way == 1) {
      // As it stands, which a bus lets through where it is UTF-8.
      message_is_spoiled_ = true;
      return text;
    }
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
    text = to_utf8(from_stored_utf8(text));
    if (way == 2) {
      const std::string once = text;
      for (int i = 0; i < 40; ++i) text += once;
    }
    return text;
  }

  // One value of the type that `signature` begins with, and moves behind it.
  void append(RawMessage& message, std::string_view& signature, int depth) {
    const std::string_view type = first_type(signature);
    signature.remove_prefix(type.size());
    switch (type.front()) {
      case 's':
        return message.text(any_text());
      case 'o':
        return message.text(any_path());
      case 'g':
        return message.signature(any_signature());
      case 'b':
        return message.number(input_.choice(2), 4);
      case 'v':
        return append_variant(message, depth);
      case 'a':
        return append_array(message, type.substr(1), depth);
      case '(':
      case '{': {
        message.align(8);
        std::string_view inner = type.substr(1, type.size() - 2);
        while (!inner.empty()) append(message, inner, depth + 1);
        return;
      }
      default:
        return message.number(static_cast<std::uint64_t>(input_.integer()),
                              alignment_of(type.front()));
    }
  }

  void append_variant(RawMessage& message, int depth) {
    std::string inner = any_signature();
    if (inner.empty() || depth > 20) inner = "y";
    inner = std::string(first_type(inner));
    message.signature(inner);
    std::string_view rest = inner;
    append(message, rest, depth + 1);
  }

  void append_array(RawMessage& message, std::string_view element, int depth) {
    const std::size_t alignment = alignment_of(element.front());
    const std::size_t begin = message.begin_array(alignment);
    for (std::size_t count = depth > 20 ? 0 : input_.choice(4); count > 0; --count) {
      std::string_view one = element;
      append(message, one, depth + 1);
    }
    message.end_array(begin, alignment);
  }

  Process& process_;
  Input& input_;
  bool is_sound_ = true;
  bool message_is_spoiled_ = false;
  std::uint32_t serial_ = 0;
  std::set<std::uint32_t> asked_;
};

// Pipes are left out: a sanitizer talks to a process of its own over some.
std::size_t open_descriptors() {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // the one that this reads the folder with
    const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
    if (!target.starts_with("pipe:")) ++count;
  }
  return count;
}

void try_messages(Input& input, Rows& rows, ado::Engine& engine, sd_bus* side_bus) {
  Process process(rows, engine, side_bus);
  Sender sender(process, input);
  sender.send_all();
  const auto answers = process.finish();
  if (!sender.is_sound()) return;
  require(answers.has_value(), "a message that is well-formed ends no connection");
  for (const std::uint32_t serial : sender.asked()) {
    const auto found = answers->find(serial);
    require(found != answers->end() && found->second == 1, "each call has one answer");
  }
}

}  // namespace

void attempt(Input input) {
  static Rows rows;
  static sqlite::SqliteEngine engine;
  static RawBus side;
  static const Bus side_bus = connect(side);
  rows.restore();
  try_messages(input, rows, engine, side_bus.get());
  static const std::size_t usual = open_descriptors();
  require(open_descriptors() <= usual, "no descriptor is left open");
}

}  // namespace tarnwick::fuzz
