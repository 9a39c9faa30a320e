#pragma once

#include <optional>
#include <span>
#include <string>

namespace CLI {
class App;
}

namespace tarnwick::cli {

struct CommandLine;

/// The command that prints what a shell needs; `line` must outlive it.
void add_completion_command(CLI::App& app, CommandLine& line);

/// Answers a shell that asks what may follow, by the descriptions of `app`; nothing if
/// `words` are no such question. It is put in one of three ways:
///
///     complete -- WORD...                     the last one is being typed
///     complete bash LINE TYPE BREAKS          up to the cursor; COMP_TYPE, COMP_WORDBREAKS
///     complete powershell                     the words are the lines of the standard input
///
/// The first line of the answer is "files", "folders" or "words"; each word follows on a line of
/// its own, the first form with a tab and a description behind it where there is one, the second
/// one quoted and cut so that bash can put it where it is. Never waits for long, asks nothing,
/// changes nothing and never complains. Returns what to exit with.
[[nodiscard]] std::optional<int> answer_shell(CLI::App& app, std::span<const std::string> words);

}  // namespace tarnwick::cli
