#pragma once

#include "runtime/text.h"

namespace tarnwick::sqlite {

/// Decides, while a client's statement is prepared, what it may touch: SQLite's authorizer.
struct ClientRules {
  /// Off, everything is allowed: the engine's own statements, and later preparations of a client's
  /// statement that has passed.
  bool active = false;
  /// Why the last statement was refused.
  Text refusal;

  /// To be registered with the ClientRules as context.
  static int authorize(void* rules, int action, const char* first, const char* second,
                       const char* schema, const char* trigger);

 private:
  int decide(int action, const char* first, const char* second, const char* trigger);
  int refuse(Text why);
};

}  // namespace tarnwick::sqlite
