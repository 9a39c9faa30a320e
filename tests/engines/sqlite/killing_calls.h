#pragma once

namespace tarnwick::sqlite {

/// From now on this process kills itself at the `count`-th call of the system that SQLite makes
/// through its table of calls to open, write, extend or remove a file.
void kill_after(int count);

}  // namespace tarnwick::sqlite
