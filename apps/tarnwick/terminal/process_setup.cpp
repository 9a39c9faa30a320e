#include "apps/tarnwick/terminal/process_setup.h"

#include <mutex>

#include "apps/tarnwick/service/scratch_folder.h"
#include "apps/tarnwick/session/service_session.h"
#include "platform/process.h"
#include "platform/reading_program.h"
#include "platform/terminal.h"

namespace tarnwick::cli {
namespace {

// Held while a step runs that is to come to its end. Never destroyed: the thread that waits for the
// end lives as long as the process.
std::mutex& ending() {
  static auto* const mutex = new std::mutex;
  return *mutex;
}

}  // namespace

void set_up_process() {
  platform::set_up_process([] {
    ending().lock();
    platform::TerminalMode::restore_for_good();
    platform::end_showing_for_good();
    release_service_for_good();
    ScratchFolder::remove_all_for_good();
  });
}

void finish_first(const std::function<void()>& step) {
  const std::scoped_lock lock(ending());
  step();
}

}  // namespace tarnwick::cli
