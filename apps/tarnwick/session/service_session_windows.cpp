#include "platform/windows/api.h"
// after windows.h
#include <objbase.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/session/message_box.h"
#include "apps/tarnwick/session/released_at_end.h"
#include "apps/tarnwick/session/service_session.h"
#include "platform/terminal.h"

namespace tarnwick::cli {
namespace {

using client::CallError;
using client::Object;
using client::Transport;

// How long to wait for a row before anybody is asked, and between two looks at it.
constexpr std::chrono::seconds kPatience{2};
constexpr std::chrono::milliseconds kPollTime{50};

// An apartment in which every thread may use every object: that in which the process is made to end
// gives them up.
class Apartment final {
 public:
  Apartment() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
  ~Apartment() { CoUninitialize(); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
};

// A look that failed tells nothing: the lock itself will tell why.
bool is_held(Transport& transport, const Object& record) {
  try {
    return transport.look(record).held;
  } catch (const CallError&) {
    return false;
  }
}

bool is_held_all_the_time(Transport& transport, const Object& record) {
  const auto until = std::chrono::steady_clock::now() + kPatience;
  while (is_held(transport, record)) {
    if (std::chrono::steady_clock::now() > until) return true;
    std::this_thread::sleep_for(kPollTime);
  }
  return false;
}

// The server would ask on its own screen: here it is asked where the command was typed.
void ask_while_held(platform::MessageBox& box, Transport& transport, const Object& record) {
  for (std::uint32_t retried = 0; is_held_all_the_time(transport, record); ++retried) {
    if (box.retry_or_cancel(u"Record is currently being updated by another process!",
                            u"Record Lock Encountered", retried) != platform::Answer::kRetry) {
      throw Failure(ExitCode::kLocked,
                    describe(transport.read(record)) + " is being maintained by another process.");
    }
  }
}

// What a transport over COM stands on.
struct Service {
  explicit Service(const Options& options)
      : message_box(make_message_box(options, platform::line_comes_until)) {}

  Apartment apartment;
  SharedBox message_box;
};

}  // namespace

std::unique_ptr<Session> open_service_session(const Options& options, TextView) {
  if (!options.trace_file.empty()) {
    throw Failure(ExitCode::kUsage,
                  "--trace needs --in-process: the COM server writes no trace for a client.");
  }
  if (options.system_bus || !options.address.empty()) {
    throw Failure(ExitCode::kUsage, "There is no D-Bus here: leave out --system and --address.");
  }
  const auto service = std::make_shared<Service>(options);
  try {
    return std::make_unique<Session>(
        service,
        released_at_end(client::make_com_transport(),
                        [box = service->message_box](Transport& transport, const Object& record) {
                          ask_while_held(*box, transport, record);
                        }));
  } catch (const CallError& error) {
    throw Failure(ExitCode::kFailed, std::string("The COM server cannot be reached: ") +
                                         error.what() + " With --in-process it is not needed.");
  }
}

void release_service_for_good() {
  const Apartment apartment;  // of the thread that ends the process
  release_all_for_good();
}

std::string service_help() {
  return "Commands talk to the COM server Tarnwick.exe, which COM starts once it is registered, "
         "and "
         "which all\nprograms of a user share: they share its connection, too.";
}

}  // namespace tarnwick::cli
