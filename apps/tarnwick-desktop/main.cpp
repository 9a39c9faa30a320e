#include <FL/Fl.H>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "apps/tarnwick-desktop/input.h"
#include "apps/tarnwick-desktop/question.h"
#include "apps/tarnwick-desktop/wait_window.h"

// The windows of the service, in a program of their own: the service needs no toolkit where there
// is no screen, and does not end with a screen that goes away.

namespace {

using namespace tarnwick;

constexpr char kUsage[] =
    "usage: tarnwick-desktop retry-or-cancel TITLE TEXT   asks; prints retry or cancel\n"
    "       tarnwick-desktop inform TITLE TEXT            shows a text\n"
    "       tarnwick-desktop wait                         shows the lock-wait dialog; reads\n"
    "           show-cancel on, show-cancel off and unload; prints cancelled or unloaded\n";

[[noreturn]] void no_display(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fputc('\n', stderr);
  // The toolkit's own way out would run what an unfinished start cannot stand.
  _exit(EXIT_FAILURE);
}

int wait() {
  desktop::WaitWindow window;
  const desktop::InputWatch input(
      [&](const std::string& line) {
        if (line == "show-cancel on") window.set_show_cancel(true);
        if (line == "show-cancel off") window.set_show_cancel(false);
        if (line == "unload") window.unload();
      },
      [&] { window.unload(); });
  window.show();
  Fl::run();
  std::puts(window.dialog().cancelled() ? "cancelled" : "unloaded");
  return EXIT_SUCCESS;
}

int run(int argc, char** argv) {
  const std::string_view command = argc > 1 ? argv[1] : "";
  if (command == "retry-or-cancel" && argc == 4) {
    const auto answer = desktop::ask_retry_or_cancel(argv[2], argv[3]);
    std::puts(answer == platform::Answer::kRetry ? "retry" : "cancel");
    return EXIT_SUCCESS;
  }
  if (command == "inform" && argc == 4) {
    desktop::inform(argv[2], argv[3]);
    return EXIT_SUCCESS;
  }
  if (command == "wait" && argc == 2) return wait();
  std::fputs(kUsage, stderr);
  return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  Fl::fatal = no_display;
  Fl::scheme("gtk+");
  return run(argc, argv);
}
