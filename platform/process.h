#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace tarnwick::platform {

/// To be called first of all by a program with a command line, before there is a second thread or
/// an open file.
///
/// Text goes in and out as UTF-8, whatever the terminal's own character set is. Standard streams
/// that are closed are taken up, so that no file that is opened later takes their place: reading
/// and writing there fails, but complaints go nowhere. A write that nobody takes (a closed pipe, a
/// file beyond its limit) fails too, instead of ending the process. When the process is made to end
/// (by a signal; by a key, or with its console), `clean_up` runs first, on a thread of its own.
void set_up_process(std::function<void()> clean_up);

/// The arguments of the process behind the program's name, in UTF-8.
[[nodiscard]] std::vector<std::string> arguments(int count, char** words);

/// Of the program that runs. Throws std::filesystem::filesystem_error.
[[nodiscard]] std::filesystem::path executable_file();

/// The name of the user; nothing where there is none.
[[nodiscard]] std::optional<std::string> user_name();

/// Ends the process in so long, in order and without another word, unless it has ended by then.
void end_in(std::chrono::milliseconds time);

/// Makes a folder whose name begins so and that nobody had before; only its user may look into it.
/// Throws std::system_error.
[[nodiscard]] std::filesystem::path make_unique_folder(const std::filesystem::path& beginning);

/// Whether a file was not removed since somebody has it open, where the system minds that.
[[nodiscard]] bool is_in_use(const std::error_code& error);

/// Returns when these files, which stand in `folder`, are on the disk. Throws std::system_error.
void reach_disk(const std::filesystem::path& folder,
                const std::vector<std::filesystem::path>& files);

}  // namespace tarnwick::platform
