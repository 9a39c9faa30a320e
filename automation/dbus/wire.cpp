#include "automation/dbus/wire.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "automation/dbus/error.h"
#include "automation/dbus/interface.h"
#include "automation/dbus/names.h"
#include "runtime/error.h"

namespace tarnwick::automation::dbus {

namespace {

template <class T>
T read_basic(sd_bus_message* message, char type) {
  T value{};
  check(sd_bus_message_read_basic(message, type, &value), "reading an argument");
  return value;
}

WireError not_representable(const std::string& what) {
  return WireError::own("NotRepresentable", what + ", which cannot go over the bus");
}

template <class T>
Value integer(sd_bus_message* message, char type) {
  const T value = read_basic<T>(message, type);
  if constexpr (std::is_same_v<T, std::uint64_t>) {
    // Far outside any list, whichever way.
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    if (value > static_cast<std::uint64_t>(kMost)) return kMost;
  }
  return static_cast<std::int64_t>(value);
}

Value read_key_or_position(sd_bus_message* message) {
  char type = 0;
  const char* contents = nullptr;
  check(sd_bus_message_peek_type(message, &type, &contents), "reading a variant");
  const std::string inner(contents);
  check(sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, contents),
        "reading a variant");
  Value value;
  if (inner == "s") {
    value = from_utf8(read_text(message, 's'));
  } else if (inner == "y") {
    value = integer<std::uint8_t>(message, 'y');
  } else if (inner == "n") {
    value = integer<std::int16_t>(message, 'n');
  } else if (inner == "q") {
    value = integer<std::uint16_t>(message, 'q');
  } else if (inner == "i") {
    value = integer<std::int32_t>(message, 'i');
  } else if (inner == "u") {
    value = integer<std::uint32_t>(message, 'u');
  } else if (inner == "x") {
    value = integer<std::int64_t>(message, 'x');
  } else if (inner == "t") {
    value = integer<std::uint64_t>(message, 't');
  } else {
    throw Error(ErrorNumber::kTypeMismatch);
  }
  check(sd_bus_message_exit_container(message), "reading a variant");
  return value;
}

Object read_object(sd_bus_message* message, Paths& paths) {
  const std::string path = read_text(message, 'o');
  if (path == kNothingPath) return {};
  Object object = paths.resolve(path.c_str());
  if (!object) throw object_required(path);
  return object;
}

Date read_date(sd_bus_message* message) {
  const Date date{read_basic<double>(message, 'd')};
  if (!std::isfinite(date.days)) throw Error(ErrorNumber::kTypeMismatch);
  return date;
}

// The first thing in a text that a message cannot hold.
struct Obstacle {
  std::size_t at = 0;
  const char* what = nullptr;  // null: there is none
};

// sd-bus lets no code point through that Unicode keeps for inner use.
Obstacle find_obstacle(const Text& text, std::size_t from = 0) {
  constexpr const char* kNoCharacter = "a code point that is no character";
  for (std::size_t at = from; at < text.size(); ++at) {
    const char16_t unit = text[at];
    if (unit == 0) return {at, "a character U+0000"};
    if (unit < 0xD800) continue;
    if (unit > 0xDFFF) {
      if ((unit >= 0xFDD0 && unit <= 0xFDEF) || unit >= 0xFFFE) return {at, kNoCharacter};
      continue;
    }
    const bool pair = unit < 0xDC00 && at + 1 < text.size() && (text[at + 1] & 0xFC00) == 0xDC00;
    if (!pair) return {at, "an unpaired surrogate"};
    if ((unit & 0x3F) == 0x3F && (text[at + 1] & 0x3FE) == 0x3FE) return {at, kNoCharacter};
    ++at;
  }
  return {};
}

std::string wire_text(const Text& text) {
  if (const char* obstacle = find_obstacle(text).what) {
    throw not_representable(std::string("The text holds ") + obstacle);
  }
  std::string utf8 = to_utf8(text);
  if (utf8.size() > kMostBytes) {
    throw limit_exceeded("The text has " + std::to_string(utf8.size()) +
                         " bytes, more than one message carries (" + std::to_string(kMostBytes) +
                         ")");
  }
  return utf8;
}

std::vector<Object> objects_of(const Value& value) {
  const auto enumerator =
      std::holds_alternative<std::shared_ptr<Collection>>(value)
          ? std::shared_ptr(std::get<std::shared_ptr<Collection>>(value)->enumerate())
          : std::get<std::shared_ptr<Enumerator>>(value);
  std::vector<Object> objects;
  while (Object object = enumerator->next()) objects.push_back(std::move(object));
  return objects;
}

std::int64_t position(const Value& value) {
  return std::visit(
      []<class T>(const T& held) -> std::int64_t {
        if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
          return held;
        } else {
          throw Error(ErrorNumber::kTypeMismatch);
        }
      },
      value);
}

}  // namespace

void append_basic(sd_bus_message* message, char type, const void* value) {
  check(sd_bus_message_append_basic(message, type, value), "writing a value");
}

void open_part(sd_bus_message* message, char type, const char* contents) {
  check(sd_bus_message_open_container(message, type, contents), "writing a value");
}

void close_part(sd_bus_message* message) {
  check(sd_bus_message_close_container(message), "writing a value");
}

std::string read_text(sd_bus_message* message, char type) {
  const char* text = nullptr;
  const int result = sd_bus_message_read_basic(message, type, &text);
  // The bus lets no other text through that is wrong, but paths that are longer than sd-bus has
  // them.
  if (result == -EBADMSG && type == 'o')
    throw WireError(SD_BUS_ERROR_INVALID_ARGS, "An object path is too long");
  if (result == -EBADMSG)
    throw not_representable("An argument holds a code point that is no character");
  check(result, "reading an argument");
  return text;
}

Text readable(Text text) {
  Obstacle obstacle = find_obstacle(text);
  while (obstacle.what != nullptr) {
    text[obstacle.at] = u'\xFFFD';
    obstacle = find_obstacle(text, obstacle.at);
  }
  return text;
}

Value read(sd_bus_message* message, const Type& type, Paths& paths) {
  switch (type.kind) {
    case Kind::kText:
      return from_utf8(read_text(message, 's'));
    case Kind::kBoolean:
      return read_basic<int>(message, 'b') != 0;
    case Kind::kInt16:
      return read_basic<std::int16_t>(message, 'n');
    case Kind::kInt32:
    case Kind::kEnumeration:
      return read_basic<std::int32_t>(message, 'i');
    case Kind::kDate:
      return read_date(message);
    case Kind::kObject:
      return read_object(message, paths);
    case Kind::kKeyOrPosition:
      return read_key_or_position(message);
    // Untaken: no argument on the bus is of any other.
    default:
      throw Error(ErrorNumber::kTypeMismatch);
  }
}

std::vector<Value> read_arguments(sd_bus_message* message, const Member& member, Paths& paths) {
  std::vector<Value> values;
  values.reserve(member.arguments.size());
  for (const Argument& argument : member.arguments) {
    values.push_back(read(message, argument.type, paths));
  }
  return values;
}

Outgoing::Outgoing(const Type& type, Value value, Paths& paths)
    : type_(type), value_(std::move(value)) {
  switch (type_.kind) {
    case Kind::kText:
      text_ = wire_text(std::get<Text>(value_));
      break;
    case Kind::kKeyOrPosition:
      if (const Text* key = std::get_if<Text>(&value_)) {
        text_ = wire_text(*key);
      } else {
        value_ = position(value_);
      }
      break;
    case Kind::kObject:
      text_ = paths.hand_out(std::get<Object>(value_));
      break;
    case Kind::kCollection:
    case Kind::kEnumerator:
      paths_ = paths.hand_out_all(objects_of(value_));
      break;
    default:
      break;
  }
}

std::size_t Outgoing::size() const {
  constexpr std::size_t kMostOfOneNumber = 16;
  std::size_t bytes = kMostOfOneNumber + text_.size();
  for (const std::string& path : paths_) bytes += kMostOfOneNumber + path.size();
  return bytes;
}

void Outgoing::append_to(sd_bus_message* message) const {
  switch (type_.kind) {
    case Kind::kText:
    case Kind::kObject:
      append_basic(message, type_.kind == Kind::kText ? 's' : 'o', text_.c_str());
      return;
    case Kind::kBoolean: {
      const int value = std::get<bool>(value_) ? 1 : 0;
      append_basic(message, 'b', &value);
      return;
    }
    case Kind::kInt16:
      append_basic(message, 'n', &std::get<std::int16_t>(value_));
      return;
    case Kind::kInt32:
    case Kind::kEnumeration:
      append_basic(message, 'i', &std::get<std::int32_t>(value_));
      return;
    case Kind::kDate:
      append_basic(message, 'd', &std::get<Date>(value_).days);
      return;
    case Kind::kKeyOrPosition:
      if (const auto* position = std::get_if<std::int64_t>(&value_)) {
        check(sd_bus_message_append(message, "v", "x", *position), "writing a value");
      } else {
        check(sd_bus_message_append(message, "v", "s", text_.c_str()), "writing a value");
      }
      return;
    case Kind::kEmpty:
      open_part(message, SD_BUS_TYPE_VARIANT, "ay");
      check(sd_bus_message_append_array(message, 'y', nullptr, 0), "writing a value");
      close_part(message);
      return;
    case Kind::kCollection:
    case Kind::kEnumerator:
      open_part(message, SD_BUS_TYPE_ARRAY, "o");
      for (const std::string& path : paths_) append_basic(message, 'o', path.c_str());
      close_part(message);
      return;
    // Untaken: nothing on the bus is of any other.
    default:
      return;
  }
}

}  // namespace tarnwick::automation::dbus
