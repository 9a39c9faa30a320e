#include <fmt/core.h>
#include <sched.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

#include "automation/dbus/error.h"
#include "automation/dbus/handles.h"
#include "benchmarks/dataset.h"
#include "benchmarks/jobs.h"
#include "benchmarks/private_bus.h"

namespace tarnwick::benchmarks {
namespace {

namespace dbus = automation::dbus;

constexpr char kName[] = "org.tarnwick.Security1";
constexpr char kEmptyName[] = "org.tarnwick.Empty1";
constexpr char kReport[] = "org.tarnwick.Security1.Report";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";

constexpr int kCalls = 300;
constexpr int kBulkReads = 2;
constexpr int kRuns = 80;
constexpr int kPcs = 2000;
constexpr std::uint32_t kRows = 1000;
// A row of a PC holds that many properties.
constexpr int kPropertiesOfRow = 20;
// Bulk reading is to be that many times cheaper, for each property.
constexpr int kCheaper = 50;

/// An object of a service on a bus.
struct Target {
  std::string name;
  std::string path;
};

/// Keeps this process, and what it starts meanwhile, on one processor. Where the scheduler puts
/// client, bus and service makes more of a difference than what they do, and lasts for a whole
/// measurement.
class OneProcessor {
 public:
  OneProcessor() {
    if (sched_getaffinity(0, sizeof before_, &before_) != 0) fail();
    int first = 0;
    while (!CPU_ISSET(first, &before_)) ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    if (sched_setaffinity(0, sizeof one, &one) != 0) fail();
  }
  ~OneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;

 private:
  [[noreturn]] static void fail() {
    throw std::runtime_error("this process cannot be kept on one processor");
  }
  cpu_set_t before_;
};

dbus::MessageHandle call(sd_bus* bus, dbus::MessageHandle message) {
  dbus::ErrorHandle error;
  sd_bus_message* reply = nullptr;
  if (sd_bus_call(bus, message.get(), 0, error.get(), &reply) < 0) {
    throw std::runtime_error(error.message());
  }
  return dbus::MessageHandle(reply);
}

template <class... Arguments>
dbus::MessageHandle call(sd_bus* bus, const Target& target, const char* interface,
                         const char* member, const char* types, Arguments... arguments) {
  sd_bus_message* made = nullptr;
  dbus::check(sd_bus_message_new_method_call(bus, &made, target.name.c_str(), target.path.c_str(),
                                             interface, member),
              "making a call");
  dbus::MessageHandle message(made);
  dbus::check(sd_bus_message_append(made, types, arguments...), "making a call");
  return call(bus, std::move(message));
}

std::string read_path(const dbus::MessageHandle& reply) {
  const char* path = nullptr;
  dbus::check(sd_bus_message_read(reply.get(), "o", &path), "reading a path");
  return path;
}

/// The bus with both services on it, and a client that holds what is measured.
class Services {
 public:
  explicit Services(const std::filesystem::path& folder)
      : bus_(folder),
        client_(bus_.connect()),
        server_({TARNWICK_SERVER, "--address", bus_.address(), "--folder", folder.string()}),
        floor_{kEmptyName, "/org/tarnwick/Security1/Report/00000000_1"},
        empty_service_({EMPTY_SERVICE, bus_.address(), kEmptyName, floor_.path, kReport}) {
    wait_for_owner(client_.get(), kName);
    wait_for_owner(client_.get(), kEmptyName);
    report_ = {kName, create("Report")};
    call(client_.get(), report_, kProperties, "Set", "ssv", kReport, "Title", "s",
         "Orders not delivered in full");
    load(folder);
  }

  [[nodiscard]] const PrivateBus& bus() const { return bus_; }
  [[nodiscard]] const Target& report() const { return report_; }
  [[nodiscard]] const Target& pcs() const { return pcs_; }
  [[nodiscard]] const Target& floor() const { return floor_; }

 private:
  std::string create(const char* class_name) {
    return read_path(call(client_.get(), {kName, "/org/tarnwick/Security1"},
                          "org.tarnwick.Security1.Automation", "CreateObject", "s", class_name));
  }

  void load(const std::filesystem::path& folder) {
    const std::filesystem::path database = folder / "database";
    make_dataset(database, {.pcs = kPcs});
    const Target server{kName, create("Server")};
    const char* interface = "org.tarnwick.Security1.Server";
    require(call(client_.get(), server, interface, "SetConnection", "sss",
                 ("Provider=Tarnwick.Embedded;Data Source=" + database.string()).c_str(),
                 to_utf8(kRole).c_str(), to_utf8(kPassword).c_str()));
    require(call(client_.get(), server, interface, "Refresh", ""));
    const auto reply =
        call(client_.get(), server, kProperties, "Get", "ss", interface, "RegisteredPCs");
    dbus::check(sd_bus_message_enter_container(reply.get(), 'v', "o"), "reading a property");
    pcs_ = {kName, read_path(reply)};
  }

  static void require(const dbus::MessageHandle& reply) {
    int good = 0;
    dbus::check(sd_bus_message_read(reply.get(), "b", &good), "reading a result");
    if (good == 0) throw std::runtime_error("the service did not load the data");
  }

  PrivateBus bus_;
  dbus::BusHandle client_;
  Process server_;
  Target floor_;
  Process empty_service_;
  Target report_;
  Target pcs_;
};

void read_properties(benchmark::State& state, const Services& services, const Target& target) {
  const dbus::BusHandle bus = services.bus().connect();
  for (auto _ : state) {
    const auto reply = call(bus.get(), target, kProperties, "Get", "ss", kReport, "Title");
    const char* text = nullptr;
    dbus::check(sd_bus_message_read(reply.get(), "v", "s", &text), "reading a property");
    benchmark::DoNotOptimize(text);
  }
}

void call_methods(benchmark::State& state, const Services& services, const Target& target) {
  const dbus::BusHandle bus = services.bus().connect();
  for (auto _ : state) {
    const auto reply = call(bus.get(), target, kReport, "GetReportTypeFromString", "s", "CRY");
    int type = 0;
    dbus::check(sd_bus_message_read(reply.get(), "i", &type), "reading a result");
    if (type != 1) throw std::runtime_error("a wrong result");
  }
}

// Counts what is in the rows, entry by entry.
int count_properties(sd_bus_message* rows) {
  int count = 0;
  dbus::check(sd_bus_message_enter_container(rows, 'a', "a{sv}"), "reading rows");
  while (dbus::check(sd_bus_message_enter_container(rows, 'a', "{sv}"), "reading rows") > 0) {
    while (dbus::check(sd_bus_message_enter_container(rows, 'e', "sv"), "reading rows") > 0) {
      dbus::check(sd_bus_message_skip(rows, "sv"), "reading rows");
      dbus::check(sd_bus_message_exit_container(rows), "reading rows");
      ++count;
    }
    dbus::check(sd_bus_message_exit_container(rows), "reading rows");
  }
  return count;
}

void read_rows(benchmark::State& state, const Services& services, const Target& target,
               const char* interface, bool unpacked) {
  const dbus::BusHandle bus = services.bus().connect();
  for (auto _ : state) {
    const auto reply = call(bus.get(), target, interface, "GetRows", "uu", std::uint32_t{1}, kRows);
    if (unpacked && count_properties(reply.get()) != int{kRows} * kPropertiesOfRow) {
      throw std::runtime_error("a wrong number of properties");
    }
  }
}

}  // namespace

std::vector<Row> measure_dbus(const std::filesystem::path& scratch) {
  const std::filesystem::path folder = scratch / "dbus";
  std::filesystem::create_directory(folder);
  const OneProcessor one;
  const Services services(folder);
  const auto on = [&](auto side, const Target& target) {
    return [&, side](benchmark::State& state) { side(state, services, target); };
  };

  struct Job {
    Side side;
    int iterations;
    double seconds = std::numeric_limits<double>::infinity();  // of the best run
  };
  Job read{on(read_properties, services.report()), kCalls};
  Job read_floor{on(read_properties, services.floor()), kCalls};
  Job method{on(call_methods, services.report()), kCalls};
  Job method_floor{on(call_methods, services.floor()), kCalls};
  const auto rows_of = [&](const Target& target, const char* interface, bool unpacked) {
    return [&services, &target, interface, unpacked](benchmark::State& state) {
      read_rows(state, services, target, interface, unpacked);
    };
  };
  constexpr char kRowsInterface[] = "org.tarnwick.Security1.Rows";
  Job rows{rows_of(services.pcs(), kRowsInterface, false), kBulkReads};
  Job rows_floor{rows_of(services.floor(), kReport, false), kBulkReads};
  Job unpacked{rows_of(services.pcs(), kRowsInterface, true), kBulkReads};

  fmt::print(stderr, "measuring: calls over D-Bus\n");
  // In turns: whatever else the machine does then meets all alike.
  for (int run = 0; run < kRuns; ++run) {
    for (Job* job : {&read, &read_floor, &method, &method_floor, &rows, &rows_floor, &unpacked}) {
      job->seconds = std::min(job->seconds, measure(job->side, job->iterations, 1).seconds);
    }
  }
  const auto in_bulk = [&](const Job& job) {
    return job.seconds / (int{kRows} * kPropertiesOfRow) * kCheaper / read.seconds;
  };
  // The bar is for the round trip. What a client's library takes to unpack the rows comes on top of
  // it; with sd-bus that is half as long again.
  return {{"D-Bus: read one property", read.seconds / read_floor.seconds, 1.1},
          {"D-Bus: call a method", method.seconds / method_floor.seconds, 1.1},
          {"D-Bus: read rows", rows.seconds / rows_floor.seconds, 1.1},
          {fmt::format("D-Bus: {} properties in rows over one alone", kCheaper), in_bulk(rows), 1},
          {"  the same, with sd-bus unpacking the rows", in_bulk(unpacked), 0}};
}

}  // namespace tarnwick::benchmarks
