#include "fuzz/tds_server.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

#include "fuzz/target.h"

namespace tarnwick::fuzz {
namespace {

using namespace std::string_view_literals;

constexpr char kTransaction = 14;
constexpr char kAttention = 6;
constexpr char kLogin = 16;
constexpr char kPrelogin = 18;

// Milliseconds that a driver is waited for, which may be waiting itself, for the rest of an answer.
// One that comes later finds its connection ended, as it may at any time.
constexpr int kPatience = 30;

// Encrypts nothing.
constexpr auto kPreloginAnswer =
    "\0\0\x1a\0\6\1\0\x20\0\1\2\0\x21\0\1\3\0\x22\0\0\4\0\x22\0\1\xff\x0f\0\0\0\0\0\2\0\0"sv;
constexpr auto kDone = "\xfd\0\0\0\0\0\0\0\0\0\0\0\0"sv;
constexpr auto kCancelled = "\xfd\x20\0\0\0\0\0\0\0\0\0\0\0"sv;
constexpr auto kLoggedIn =
    "\xe3\x07\0\7\5\x09\4\xd0\0\x34\0"
    "\xad\x16\0\1\x74\0\0\4\6S\0e\0r\0v\0e\0r\0\x0f\0\7\xd0"
    "\xe3\x13\0\4\4"
    "4\0000\0009\0006\0\4"
    "4\0000\0009\0006\0"sv;
constexpr auto kBegun = "\xe3\x0b\0\x08\x08\1\0\0\0\0\0\0\0\0"sv;
constexpr auto kEnded = "\xe3\x0b\0\x09\0\x08\1\0\0\0\0\0\0\0"sv;

bool receive(int connection, std::string& bytes, std::size_t size) {
  bytes.resize(size);
  for (std::size_t got = 0; got < size;) {
    pollfd waiting{connection, POLLIN, 0};
    if (::poll(&waiting, 1, kPatience) == 0 && got == 0 && size == 8) return false;
    const ssize_t count = ::recv(connection, bytes.data() + got, size - got, 0);
    if (count <= 0) return false;
    got += static_cast<std::size_t>(count);
  }
  return true;
}

// The kind of a request, whose content is of no interest but for a transaction's; 0: none came.
char receive_request(int connection, std::string& content) {
  content.clear();
  for (std::string head;;) {
    if (!receive(connection, head, 8)) return 0;
    const std::size_t size =
        static_cast<std::uint8_t>(head[2]) * 256u + static_cast<std::uint8_t>(head[3]);
    std::string rest;
    if (size > 8 && !receive(connection, rest, size - 8)) return 0;
    content += rest;
    if ((head[1] & 1) != 0) return head[0];
  }
}

void send_answer(int connection, std::string_view tokens) {
  constexpr std::size_t kRoom = 4096 - 8;
  std::string bytes;
  std::uint8_t number = 0;
  do {
    const std::string_view piece = tokens.substr(0, kRoom);
    tokens.remove_prefix(piece.size());
    const std::size_t size = piece.size() + 8;
    bytes += {'\4',
              tokens.empty() ? '\1' : '\0',
              static_cast<char>(size >> 8),
              static_cast<char>(size),
              '\0',
              '\0',
              static_cast<char>(++number),
              '\0'};
    bytes += piece;
  } while (!tokens.empty());
  for (std::string_view left = bytes; !left.empty();) {
    const ssize_t sent = ::send(connection, left.data(), left.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    left.remove_prefix(static_cast<std::size_t>(sent));
  }
}

sockaddr_in address_of(int listener) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  require(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0, "a port");
  return address;
}

}  // namespace

TdsServer::TdsServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  require(::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
              ::listen(listener_.get(), 8) == 0,
          "a port of this machine");
  thread_ = std::thread([this] { serve(); });
}

TdsServer::~TdsServer() {
  ::shutdown(listener_.get(), SHUT_RDWR);
  thread_.join();
}

Text TdsServer::connection_string() const {
  const std::uint16_t port = ntohs(address_of(listener_.get()).sin_port);
  return join({u"Provider=MSOLEDBSQL;Data Source=127.0.0.1,", from_utf8(std::to_string(port)),
               u";User ID=sa;Password=x"});
}

void TdsServer::will_answer(std::deque<Answer> answers, bool from_login) {
  const std::lock_guard lock(lock_);
  scripted_ = true;
  from_login_ = from_login;
  answers_ = std::move(answers);
}

void TdsServer::relent() {
  const std::lock_guard lock(lock_);
  scripted_ = false;
}

void TdsServer::serve() {
  for (;;) {
    const Descriptor connection(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection) return;
    const int on = 1;
    ::setsockopt(connection.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    serve_connection(connection.get());
  }
}

void TdsServer::serve_connection(int connection) {
  std::string content;
  while (const char kind = receive_request(connection, content)) {
    {
      const std::lock_guard lock(lock_);
      if (scripted_ && kind != kPrelogin && kind != kAttention && (kind != kLogin || from_login_)) {
        if (answers_.empty()) return;
        const Answer next = std::move(answers_.front());
        answers_.pop_front();
        send_answer(connection, next.tokens);
        if (next.ends) return;
        continue;
      }
    }
    if (kind == kPrelogin) {
      send_answer(connection, kPreloginAnswer);
    } else if (kind == kLogin) {
      send_answer(connection, std::string(kLoggedIn).append(kDone));
    } else if (kind == kAttention) {
      send_answer(connection, kCancelled);
    } else if (kind == kTransaction) {
      const bool begins = content.size() > 22 && content[22] == 5;
      send_answer(connection, std::string(begins ? kBegun : kEnded).append(kDone));
    } else {
      send_answer(connection, kDone);
    }
  }
}

}  // namespace tarnwick::fuzz
