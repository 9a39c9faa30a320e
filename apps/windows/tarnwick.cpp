#include <string>
#include <vector>

#include "apps/common/engines.h"
#include "apps/windows/event_log.h"
#include "apps/windows/output.h"
#include "apps/windows/switches.h"
#include "automation/com/errors.h"
#include "automation/com/registration.h"
#include "automation/com/server_process.h"
#include "platform/windows/api.h"
#include "platform/windows/desktop_message_box.h"
#include "platform/windows/host.h"
#include "platform/windows/payload_folder.h"
#include "platform/windows/wide.h"

#include <shellapi.h>  // behind windows.h

namespace tarnwick::apps {
namespace {

using automation::com::Scope;

enum ExitCode { kDone = 0, kFailed = 1, kMisused = 2 };

constexpr const wchar_t* kIntroduction =
    L"Tarnwick is an automation server: programs start it through COM (Tarnwick.Server).\r\n"
    L"\r\n"
    L"  /RegServer            register it for all users of this machine\r\n"
    L"  /UnregServer          remove that registration\r\n"
    L"  /RegServerPerUser     register it for the present user\r\n"
    L"  /UnregServerPerUser   remove that registration\r\n"
    L"  --when-locked ask|cancel|retry:N\r\n"
    L"                        with a registration: what the server does about a row that "
    L"another\r\n"
    L"                        process maintains: ask on the screen (cancel where there is "
    L"none),\r\n"
    L"                        cancel, or retry N times, without asking\r\n"
    L"  --folder DIR          with a registration: where the server puts TTX.bin; otherwise into "
    L"the\r\n"
    L"                        folder of the program, or, where that is none for users' files, "
    L"into\r\n"
    L"                        %LOCALAPPDATA%\\Tarnwick";

std::vector<std::wstring> arguments() {
  int count = 0;
  wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::wstring> result(words + 1, words + count);
  LocalFree(words);
  return result;
}

void introduce() {
  if (print(kIntroduction)) return;
  MessageBoxW(nullptr, kIntroduction, L"Tarnwick", MB_OK | MB_ICONINFORMATION);
}

Text description_of(const std::exception& failure) {
  const auto* error = dynamic_cast<const Error*>(&failure);
  return error != nullptr ? error->description() : from_stored_utf8(failure.what());
}

/// COM for this process, in the apartment of many threads, as long as this lives.
class ComLibrary {
 public:
  ComLibrary() {
    automation::com::require(CoInitializeEx(nullptr, COINIT_MULTITHREADED), u"COM cannot be used");
  }
  ~ComLibrary() { CoUninitialize(); }
  ComLibrary(const ComLibrary&) = delete;
  ComLibrary& operator=(const ComLibrary&) = delete;
};

void serve(const Switches& switches, const automation::Events& events) {
  automation::com::wait_for_desktop();
  const ComLibrary library;
  platform::UnattendedMessageBox unattended(switches.when_locked,
                                            [&](TextView text) { events.unanswered(text); });
  platform::DesktopMessageBox desktop(unattended);
  const bool asks = switches.when_locked.kind == platform::WhenLocked::Kind::kAsk;
  const platform::PayloadFolder folder(switches.folder);
  platform::WindowsHost host(asks ? static_cast<platform::MessageBox&>(desktop) : unattended,
                             folder.path());
  ProgramEngines engines;
  SharedState state(host, engines.list());
  const automation::com::TypeLibrary types(platform::executable_file_name());
  automation::com::ProcessLife life(GetCurrentThreadId());
  automation::com::Apartment apartment(state, types, life, events);
  automation::com::serve(apartment);
}

void serve(const Switches& switches) {
  const EventLog log;
  const automation::Events events([&](const automation::Event& event) { log.write(event); });
  try {
    serve(switches, events);
  } catch (const std::exception& failure) {
    events.broken(description_of(failure));
    throw;
  }
}

void carry_out(const Switches& switches) {
  using Action = Switches::Action;
  const auto installation = [&] {
    return automation::com::Installation{platform::executable_file_name(), switches.passed_on};
  };
  switch (switches.action) {
    case Action::kIntroduce:
      return introduce();
    case Action::kServe:
      return serve(switches);
    case Action::kRegister:
      return register_server(Scope::kMachine, installation());
    case Action::kUnregister:
      return unregister_server(Scope::kMachine);
    case Action::kRegisterPerUser:
      return register_server(Scope::kUser, installation());
    case Action::kUnregisterPerUser:
      return unregister_server(Scope::kUser);
  }
}

int run() {
  std::wstring complaint;
  const std::vector<std::wstring> given = arguments();
  const auto switches = Switches::parse(given, complaint);
  if (!switches) {
    print_error(L"Tarnwick: " + complaint + L"\r\n\r\n" + kIntroduction);
    return kMisused;
  }
  try {
    carry_out(*switches);
    return kDone;
  } catch (const std::exception& failure) {
    print_error(L"Tarnwick: " + platform::to_wide(description_of(failure)));
  }
  return kFailed;
}

}  // namespace
}  // namespace tarnwick::apps

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int) { return tarnwick::apps::run(); }
