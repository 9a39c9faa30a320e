#include "automation/dbus/error.h"

#include <algorithm>
#include <array>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include "automation/dbus/names.h"
#include "runtime/error.h"

namespace tarnwick::automation::dbus {
namespace {

struct Row {
  std::int32_t number;
  const char* name;
};

constexpr std::array kNames{
    Row{5, "InvalidProcedureCall"},
    Row{6, "Overflow"},
    Row{7, "OutOfMemory"},
    Row{9, "SubscriptOutOfRange"},
    Row{13, "TypeMismatch"},
    Row{91, "ObjectNotSet"},
    Row{94, "InvalidUseOfNull"},
    Row{424, "ObjectRequired"},
    Row{429, "CannotCreateObject"},
    Row{449, "ArgumentNotOptional"},
    Row{457, "KeyAlreadyAssociated"},
};

std::string own_name(std::string_view name) {
  return std::string(kBusName) + ".Error." + std::string(name);
}

std::string name_of(std::int32_t number) {
  const auto row = std::ranges::find(kNames, number, &Row::number);
  return own_name(row == kNames.end() ? "Failed" : row->name);
}

std::string text_of(const Error& error) {
  return "Run-time error " + std::to_string(error.number()) + ": " + error.what();
}

}  // namespace

WireError WireError::own(const char* name, std::string text) {
  return {own_name(name), std::move(text)};
}

WireError limit_exceeded(std::string text) {
  return WireError::own("LimitExceeded", std::move(text));
}

WireError client_has_left() {
  return {SD_BUS_ERROR_NAME_HAS_NO_OWNER, "The client has left the bus"};
}

WireError object_required(const std::string& path) {
  return WireError::own("ObjectRequired",
                        "Run-time error 424: Object required (there is none at " + path + ")");
}

int check(int result, const char* what) {
  if (result < 0) throw std::system_error(-result, std::generic_category(), what);
  return result;
}

int fill_error(sd_bus_error* error) noexcept {
  try {
    try {
      throw;
    } catch (const WireError& wire) {
      return sd_bus_error_set(error, wire.name().c_str(), wire.what());
    } catch (const Error& run_time) {
      return sd_bus_error_set(error, name_of(run_time.number()).c_str(), text_of(run_time).c_str());
    } catch (const std::bad_alloc&) {
      return sd_bus_error_set_const(error, SD_BUS_ERROR_NO_MEMORY,
                                    "Run-time error 7: Out of memory");
    } catch (const std::exception& other) {
      return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, other.what());
    }
  } catch (...) {
    return sd_bus_error_set_const(error, SD_BUS_ERROR_NO_MEMORY, "Run-time error 7: Out of memory");
  }
}

}  // namespace tarnwick::automation::dbus
