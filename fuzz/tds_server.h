#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "runtime/descriptor_linux.h"
#include "runtime/text.h"

namespace tarnwick::fuzz {

/// A server for a real driver to talk to, in this process: it lets everybody in and says that all
/// is done, until it is told what to answer.
class TdsServer {
 public:
  struct Answer {
    std::string tokens;
    bool ends = false;  // the connection ends behind it
  };

  TdsServer();
  ~TdsServer();
  TdsServer(const TdsServer&) = delete;
  TdsServer& operator=(const TdsServer&) = delete;

  /// OLE DB's items for a connection to it.
  [[nodiscard]] Text connection_string() const;

  /// From now on the requests get these answers in turn; behind the last one the connection ends.
  /// `from_login`: the login of the next connection is the first of the requests.
  void will_answer(std::deque<Answer> answers, bool from_login);
  /// Back to how it began.
  void relent();

 private:
  void serve();
  void serve_connection(int connection);

  Descriptor listener_;
  std::mutex lock_;
  bool scripted_ = false;
  bool from_login_ = false;
  std::deque<Answer> answers_;
  std::thread thread_;
};

}  // namespace tarnwick::fuzz
