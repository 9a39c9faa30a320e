#include "fuzz/raw_bus.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "fuzz/target.h"

namespace tarnwick::fuzz {
namespace {

constexpr std::uint8_t kMember = 3;
constexpr std::uint8_t kReplySerial = 5;
constexpr std::uint8_t kDestination = 6;
constexpr std::uint8_t kSender = 7;
constexpr std::uint8_t kSignature = 8;

void pad(std::string& bytes, std::size_t alignment) {
  while (bytes.size() % alignment != 0) bytes += '\0';
}

void put(std::string& bytes, std::uint64_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
}

std::uint32_t number_at(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  require(at + sizeof number <= bytes.size(), "the service writes whole messages");
  std::memcpy(&number, bytes.data() + at, sizeof number);
  return number;
}

std::size_t padded(std::size_t size) { return (size + 7) / 8 * 8; }

struct Fields {
  std::string_view member;
  std::string_view destination;
  std::uint32_t reply_serial = 0;
};

// Those of a header that sd-bus wrote.
Fields read_fields(std::string_view fields) {
  Fields read;
  for (std::size_t at = 0; at < fields.size(); at = padded(at)) {
    const auto kind = static_cast<std::uint8_t>(fields[at]);
    const char type = fields[at + 2];
    at += 4;
    if (type == 'u') {
      if (kind == kReplySerial) read.reply_serial = number_at(fields, at);
      at += 4;
    } else if (type == 'g') {
      at += static_cast<std::uint8_t>(fields[at]) + 2;
    } else {
      const std::uint32_t size = number_at(fields, at);
      const std::string_view text = fields.substr(at + 4, size);
      if (kind == kMember) read.member = text;
      if (kind == kDestination) read.destination = text;
      at += 4 + size + 1;
    }
  }
  return read;
}

}  // namespace

void RawMessage::field(std::uint8_t kind, char type, std::string_view text) {
  pad(fields_, 8);
  fields_ += static_cast<char>(kind);
  fields_ += '\1';
  fields_ += type;
  fields_ += '\0';
  if (type == 'g') {
    fields_ += static_cast<char>(text.size());
  } else {
    put(fields_, text.size(), 4);
  }
  fields_ += text;
  fields_ += '\0';
}

void RawMessage::field(std::uint8_t kind, std::uint32_t number) {
  pad(fields_, 8);
  fields_ += static_cast<char>(kind);
  fields_.append("\1u\0", 3);
  put(fields_, number, 4);
}

void RawMessage::align(std::size_t size) { pad(body_, size); }

void RawMessage::number(std::uint64_t value, std::size_t size) {
  align(size);
  put(body_, value, size);
}

void RawMessage::text(std::string_view text) {
  number(text.size(), 4);
  body_ += text;
  body_ += '\0';
}

void RawMessage::signature(std::string_view text) {
  body_ += static_cast<char>(text.size());
  body_ += text;
  body_ += '\0';
}

std::size_t RawMessage::begin_array(std::size_t alignment) {
  number(0, 4);
  const std::size_t begin = body_.size();
  align(alignment);
  return begin;
}

void RawMessage::end_array(std::size_t begin, std::size_t alignment) {
  const std::size_t first = (begin + alignment - 1) / alignment * alignment;
  std::string size;
  put(size, body_.size() - first, 4);
  body_.replace(begin - 4, 4, size);
}

std::string RawMessage::bytes(std::uint32_t serial) const {
  std::string message{'l', static_cast<char>(type_), static_cast<char>(flags_), '\1'};
  put(message, body_.size(), 4);
  put(message, serial, 4);
  put(message, fields_.size(), 4);
  message += fields_;
  pad(message, 8);
  return message + body_;
}

RawBus::RawBus() {
  struct sigaction interrupting {};
  interrupting.sa_handler = [](int) {};
  require(::sigaction(SIGURG, &interrupting, nullptr) == 0, "a signal that does nothing");
  std::array<int, 2> ends{};
  require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0, "a socket");
  end_ = Descriptor(ends[0]);
  client_end_ = ends[1];
  thread_ = std::thread([this] { serve(); });
}

RawBus::~RawBus() {
  ::shutdown(end_.get(), SHUT_RDWR);
  if (thread_.joinable()) thread_.join();
  if (client_end_ >= 0) ::close(client_end_);
}

int RawBus::take_client_end() { return std::exchange(client_end_, -1); }

void RawBus::send(std::string_view bytes) {
  const std::lock_guard lock(sending_);
  while (!bytes.empty()) {
    const ssize_t sent = ::send(end_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return;  // the other end has had enough
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

std::map<std::uint32_t, int> RawBus::answers() {
  thread_.join();
  return answers_;
}

void RawBus::serve() {
  if (!let_in()) return;
  while (serve_message()) {
  }
}

bool RawBus::receive(std::string& bytes, std::size_t size) {
  bytes.resize(size);
  for (std::size_t got = 0; got < size;) {
    const ssize_t count = ::recv(end_.get(), bytes.data() + got, size - got, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    got += static_cast<std::size_t>(count);
  }
  return true;
}

bool RawBus::let_in() {
  constexpr std::string_view kWelcome = "OK 0123456789abcdef0123456789abcdef\r\n";
  std::string byte;
  if (!receive(byte, 1)) return false;  // a NUL
  for (std::string line;;) {
    if (!receive(byte, 1)) return false;
    line += byte;
    if (!line.ends_with("\r\n")) continue;
    if (line.starts_with("BEGIN")) return true;
    if (line == "AUTH EXTERNAL\r\n") {
      send("DATA\r\n");
    } else if (line.starts_with("AUTH") || line.starts_with("DATA")) {
      send(kWelcome);
    } else {
      send("ERROR\r\n");
    }
    line.clear();
  }
}

bool RawBus::serve_message() {
  std::string head;
  std::string rest;
  if (!receive(head, 16)) return false;
  const std::uint32_t fields = number_at(head, 12);
  if (!receive(rest, padded(fields) + number_at(head, 4))) return false;
  const Fields read = read_fields(std::string_view(rest).substr(0, fields));
  const auto type = static_cast<RawMessage::Type>(head[1]);
  const std::uint32_t serial = number_at(head, 8);
  if (type == RawMessage::Type::kCall) {
    if ((head[2] & RawMessage::kNoReply) != 0) return true;
    answer(serial, read.destination == "org.freedesktop.DBus" ? read.member : "");
  } else if (type != RawMessage::Type::kSignal) {
    ++answers_[read.reply_serial];
  }
  return true;
}

void RawBus::answer(std::uint32_t serial, std::string_view member) {
  const bool is_known = member == "Hello" || member == "GetNameOwner" || member == "NameHasOwner" ||
                        member == "AddMatch" || member == "RemoveMatch";
  RawMessage reply(is_known ? RawMessage::Type::kReply : RawMessage::Type::kError,
                   RawMessage::kNoReply);
  reply.field(kReplySerial, serial);
  reply.field(kSender, 's', "org.freedesktop.DBus");
  reply.field(kDestination, 's', ":1.1");
  if (!is_known) reply.field(4, 's', "org.freedesktop.DBus.Error.Failed");
  if (member == "Hello" || member == "GetNameOwner") {
    reply.field(kSignature, 'g', "s");
    reply.text(member == "Hello" ? ":1.1" : ":1.7");
  } else if (member == "NameHasOwner") {
    reply.field(kSignature, 'g', "b");
    reply.number(1, 4);
  }
  if (member == "GetNameOwner" || member == "NameHasOwner" || member == "AddMatch") {
    pthread_kill(asking_, SIGURG);
  }
  send(reply.bytes(++serial_));
}

}  // namespace tarnwick::fuzz
