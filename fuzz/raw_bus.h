#pragma once

#include <pthread.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "runtime/descriptor_linux.h"

namespace tarnwick::fuzz {

/// A message on the wire, put together byte by byte: it may be one that no library would make.
class RawMessage {
 public:
  enum class Type : std::uint8_t { kCall = 1, kReply = 2, kError = 3, kSignal = 4 };
  static constexpr std::uint8_t kNoReply = 1;

  explicit RawMessage(Type type, std::uint8_t flags = 0) : type_(type), flags_(flags) {}

  /// A field of the header: `kind` as the protocol numbers them, `type` one of "osgu".
  void field(std::uint8_t kind, char type, std::string_view text);
  void field(std::uint8_t kind, std::uint32_t number);

  // The body: the values in order, of the types that the field 8 tells.
  void align(std::size_t size);
  void raw(std::string_view bytes) { body_ += bytes; }
  void number(std::uint64_t value, std::size_t size);
  void text(std::string_view text);       // also an object path
  void signature(std::string_view text);  // also that of a variant
  /// Where the elements of an array begin, whose size is told by end_array.
  [[nodiscard]] std::size_t begin_array(std::size_t alignment);
  void end_array(std::size_t begin, std::size_t alignment);

  [[nodiscard]] std::string bytes(std::uint32_t serial) const;

 private:
  Type type_;
  std::uint8_t flags_;
  std::string fields_;
  std::string body_;
};

/// The other end of a connection to a bus: lets whoever connects in, answers what is asked of the
/// bus, and has a signal come to the thread that made this while it waits; every question to a
/// client with an error, and counts the answers to what is sent here.
class RawBus {
 public:
  RawBus();
  ~RawBus();
  RawBus(const RawBus&) = delete;
  RawBus& operator=(const RawBus&) = delete;

  /// The end that is to be connected; whoever takes it closes it.
  [[nodiscard]] int take_client_end();
  void send(std::string_view bytes);
  /// Waits until the other end has closed or shut down its half; then how many answers came for
  /// each serial.
  [[nodiscard]] std::map<std::uint32_t, int> answers();

 private:
  void serve();
  bool let_in();
  bool serve_message();
  bool receive(std::string& bytes, std::size_t size);
  void answer(std::uint32_t serial, std::string_view member);

  Descriptor end_;
  int client_end_ = -1;
  std::mutex sending_;
  std::uint32_t serial_ = 0x40000000;
  std::map<std::uint32_t, int> answers_;
  pthread_t asking_ = pthread_self();
  std::thread thread_;
};

}  // namespace tarnwick::fuzz
