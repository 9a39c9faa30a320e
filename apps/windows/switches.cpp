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
      switches.when_locked_text = arguments[++i];
      const auto when_locked = platform::WhenLocked::parse(
          to_display_utf8(platform::from_wide(switches.when_locked_text)));
      if (!when_locked) {
        complaint = L"--when-locked takes ask, cancel or retry:N, not '" +
                    switches.when_locked_text + L"'.";
        return std::nullopt;
      }
      switches.when_locked = *when_locked;
    } else {
      complaint = L"The switch '" + arguments[i] + L"' is not known, or lacks its value.";
      return std::nullopt;
    }
  }
  return switches;
}

}  // namespace tarnwick::apps
