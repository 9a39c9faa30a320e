#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tarnwick::server_app {

enum class Severity { kInfo, kWarning, kCritical };

/// One thing known of an event beside its sentence; names are those of the journal, in capitals.
struct LogField {
  std::string_view name;
  std::string value;
};

/// Where the log goes: the journal, with the fields of each line, where standard error is the
/// journal's (as systemd tells the programs that it starts); else standard error, sentences alone.
class Log {
 public:
  Log();

  /// `event`: what kind of line this is, for programs that filter.
  void write(Severity severity, std::string_view event, std::string_view text,
             std::initializer_list<LogField> fields = {}) const;

 private:
  bool journal_;
};

}  // namespace tarnwick::server_app
