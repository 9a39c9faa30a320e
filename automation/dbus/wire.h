#pragma once

#include <systemd/sd-bus.h>

#include <cstddef>
#include <string>
#include <vector>

#include "automation/model.h"

namespace tarnwick::automation::dbus {

/// What one message carries at most, in bytes. A bus drops a client that sends more than its limit:
/// 32 MiB, where its configuration says nothing else.
inline constexpr std::size_t kMostBytes = 31u << 20;

/// Turns objects into paths and back.
class Paths {
 public:
  virtual ~Paths() = default;
  /// The object at `path`; Nothing when there is none.
  [[nodiscard]] virtual Object resolve(const char* path) = 0;
  /// The path under which the caller holds `object` from now on; "/" for Nothing.
  [[nodiscard]] virtual std::string hand_out(const Object& object) = 0;
  /// All of them, or none: throws when the caller would hold too many.
  [[nodiscard]] virtual std::vector<std::string> hand_out_all(
      const std::vector<Object>& objects) = 0;
};

/// Reads a text or a path. Throws WireError for a text with code points that sd-bus refuses: U+FFFE
/// and the others that are no characters.
[[nodiscard]] std::string read_text(sd_bus_message* message, char type);

/// Reads what the types say, which is what the message's signature says. Throws WireError for an
/// object path without an object, Error 13 for a variant of a type that is neither text nor
/// integer, and for a date that is no number.
[[nodiscard]] Value read(sd_bus_message* message, const Type& type, Paths& paths);
[[nodiscard]] std::vector<Value> read_arguments(sd_bus_message* message, const Member& member,
                                                Paths& paths);

/// The parts of a message that is being made, as sd-bus knows them.
void append_basic(sd_bus_message* message, char type, const void* value);
void open_part(sd_bus_message* message, char type, const char* contents);
void close_part(sd_bus_message* message);

/// The text with U+FFFD for whatever no message can hold.
[[nodiscard]] Text readable(Text text);

/// A value ready for a message: made first, so that a value that the bus cannot carry leaves no
/// half a message behind.
class Outgoing {
 public:
  /// Throws WireError for a text that no message can hold (unpaired surrogates, U+0000, code points
  /// that are no characters), for one that is too long, Error 13 for a key or position that is
  /// neither text nor integer, and what `paths` throws.
  Outgoing(const Type& type, Value value, Paths& paths);

  void append_to(sd_bus_message* message) const;
  /// Roughly what it takes up in a message.
  [[nodiscard]] std::size_t size() const;

 private:
  Type type_;
  Value value_;
  std::string text_;                // of a text, or the path of an object
  std::vector<std::string> paths_;  // of objects
};

}  // namespace tarnwick::automation::dbus
