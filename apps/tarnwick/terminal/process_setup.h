#pragma once

#include <functional>
#include <string>

namespace tarnwick::cli {

/// To be called first of all, before there is a second thread or an open file.
///
/// Standard descriptors that are closed are taken up, so that no file that is opened later bears
/// the number of one: reading and writing there fails, but complaints go nowhere. A write that
/// nobody takes (a closed pipe, a file beyond its limit) fails too, instead of ending the process.
/// A signal that ends the process ends the pager, gives the terminal back and removes the scratch
/// folders first.
void set_up_process();

/// Runs `step`, which cleans up behind itself: a signal that ends the process waits for its end.
void finish_first(const std::function<void()>& step);

/// To be called in a child process, before it becomes another program: takes back what
/// set_up_process did to signals. Makes system calls only.
void restore_signals() noexcept;

/// Writes a line to standard error, as far as that is possible.
void tell_error(const std::string& line) noexcept;

}  // namespace tarnwick::cli
