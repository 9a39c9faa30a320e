#include "apps/windows/switches.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/windows/wide.h"
#include "runtime/case_mapping.h"

namespace tarnwick::apps {
namespace {

using Action = Switches::Action;

constexpr std::array kActions{
    std::pair{TextView(u"Embedding"), Action::kServe},
    std::pair{TextView(u"RegServer"), Action::kRegister},
    std::pair{TextView(u"UnregServer"), Action::kUnregister},
    std::pair{TextView(u"RegServerPerUser"), Action::kRegisterPerUser},
    std::pair{TextView(u"UnregServerPerUser"), Action::kUnregisterPerUser},
};

std::optional<Action> action_of(std::wstring_view argument) {
  if (argument.empty() || (argument[0] != L'/' && argument[0] != L'-')) return std::nullopt;
  const Text name = platform::from_wide(argument.substr(1));
  const auto found = std::ranges::find_if(
      kActions, [&](const auto& action) { return equals_ignoring_case(name, action.first); });
  return found == kActions.end() ? std::nullopt : std::optional(found->second);
}

void pass_on(Switches& switches, const std::wstring& text) {
  if (!switches.passed_on.empty()) switches.passed_on += L' ';
  switches.passed_on += text;
}

bool is_folder(const std::filesystem::path& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

// A separator in front of the closing quote would be taken for its escape.
std::wstring quoted(const std::wstring& path) {
  return L"\"" + path + (path.back() == L'\\' ? L"\\\"" : L"\"");
}

}  // namespace

std::optional<Switches> Switches::parse(std::span<const std::wstring> arguments,
                                        std::wstring& complaint) {
  Switches switches;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (const auto action = action_of(arguments[i])) {
      if (switches.action != Action::kIntroduce) {
        complaint = L"Only one of the switches can be given, not '" + arguments[i] + L"' too.";
        return std::nullopt;
      }
      switches.action = *action;
    } else if (arguments[i] == L"--when-locked" && i + 1 < arguments.size()) {
      const std::wstring& text = arguments[++i];
      const auto when_locked =
          platform::WhenLocked::parse(to_display_utf8(platform::from_wide(text)));
      if (!when_locked) {
        complaint = L"--when-locked takes ask, cancel or retry:N, not '" + text + L"'.";
        return std::nullopt;
      }
      switches.when_locked = *when_locked;
      pass_on(switches, L"--when-locked " + text);
    } else if (arguments[i] == L"--folder" && i + 1 < arguments.size()) {
      const std::wstring& text = arguments[++i];
      // A relative one means nothing to whoever lets COM start the server.
      const auto folder = std::filesystem::path(text).lexically_normal();
      if (!folder.is_absolute() || !is_folder(folder)) {
        complaint = L"--folder takes the whole name of a folder that exists, not '" + text + L"'.";
        return std::nullopt;
      }
      switches.folder = folder;
      pass_on(switches, L"--folder " + quoted(folder.wstring()));
    } else {
      complaint = L"The switch '" + arguments[i] + L"' is not known, or lacks its value.";
      return std::nullopt;
    }
  }
  return switches;
}

}  // namespace tarnwick::apps
