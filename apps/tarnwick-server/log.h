#pragma once

#include "automation/events.h"

namespace tarnwick::server_app {

/// Where the log goes: the journal, with fields for programs that filter, where standard error is
/// the journal's (as systemd tells the programs that it starts); else standard error, sentences
/// alone.
class Log {
 public:
  Log();

  void write(const automation::Event& event) const;

 private:
  bool journal_;
};

}  // namespace tarnwick::server_app
