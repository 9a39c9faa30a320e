#include "automation/com/server_process.h"

#include <cguid.h>

#include <thread>

#include "automation/com/class_objects.h"
#include "automation/com/errors.h"
#include "automation/com/registration.h"

namespace tarnwick::automation::com {
namespace {

/// For the first client to arrive.
constexpr UINT kFirstClientMilliseconds = 20'000;
/// After the last client has gone: spares the next one a start, and an end that races with it.
constexpr UINT kLingerMilliseconds = 3'000;
/// For calls that were under way while the class objects were revoked.
constexpr UINT kDrainMilliseconds = 500;
/// How long a second process waits for the first one's end. COM calls a client back with an error
/// when the process that was started for it ends before any serves.
constexpr DWORD kSecondProcessMilliseconds = 15'000;
/// For a desktop that is being made.
constexpr ULONGLONG kDesktopMilliseconds = 10'000;
constexpr DWORD kBetweenLooksMilliseconds = 20;

/// On a new thread: one that met a half-made desktop never gets such a window again.
bool new_thread_gets_message_window() {
  HWND window = nullptr;
  std::thread([&] {
    window = CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                             GetModuleHandleW(nullptr), nullptr);
    if (window != nullptr) DestroyWindow(window);
  }).join();
  return window != nullptr;
}

bool is_elevated() {
  HANDLE token = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == 0) return false;
  TOKEN_ELEVATION elevation{};
  DWORD size = 0;
  const bool known =
      GetTokenInformation(token, TokenElevation, &elevation, sizeof elevation, &size) != 0;
  CloseHandle(token);
  return known && elevation.TokenIsElevated != 0;
}

/// What the one serving process of a user holds. Some systems start a server for every client that
/// asks before the first one serves.
class ServingRight {
 public:
  ServingRight() {
    // COM keeps elevated servers apart from others.
    handle_ = CreateMutexW(
        nullptr, FALSE,
        is_elevated() ? L"Local\\Tarnwick.Server.Elevated" : L"Local\\Tarnwick.Server");
    if (handle_ == nullptr) return;  // another user's: COM keeps these apart too
    DWORD result = WaitForSingleObject(handle_, 0);
    waited_ = result == WAIT_TIMEOUT;
    if (waited_) result = WaitForSingleObject(handle_, kSecondProcessMilliseconds);
    held_ = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
  }
  ~ServingRight() {
    if (handle_ == nullptr) return;
    if (held_) ReleaseMutex(handle_);
    CloseHandle(handle_);
  }
  ServingRight(const ServingRight&) = delete;
  ServingRight& operator=(const ServingRight&) = delete;

  [[nodiscard]] bool granted() const { return handle_ == nullptr || held_; }
  /// Whether another process served meanwhile, and with it, most likely, the client to come.
  [[nodiscard]] bool waited() const { return waited_; }

 private:
  HANDLE handle_ = nullptr;
  bool held_ = false;
  bool waited_ = false;
};

/// Has COM give up what a client of this machine holds as soon as its process has ended, where it
/// can: otherwise that takes minutes. What the registry says of security stays as it is; COM wants
/// it settled first.
void hasten_end_of_ended_clients() {
  GUID app_id = kAppId;
  CoInitializeSecurity(&app_id, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                       RPC_C_IMP_LEVEL_IDENTIFY, nullptr, EOAC_APPID, nullptr);
  ComPtr<IGlobalOptions> options;
  if (SUCCEEDED(CoCreateInstance(CLSID_GlobalOptions, nullptr, CLSCTX_INPROC_SERVER,
                                 IID_PPV_ARGS(&options)))) {
    options->Set(COMGLB_RO_SETTINGS, COMGLB_FAST_RUNDOWN);
  }
}

/// Waits until nothing was held for `milliseconds`. Clients' calls come on other threads.
void run_until_idle(Apartment& apartment, UINT milliseconds) {
  const ProcessLife& life = apartment.life();
  UINT_PTR timer = SetTimer(nullptr, 0, milliseconds, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (message.hwnd == nullptr && message.message == WM_TIMER && message.wParam == timer) {
      KillTimer(nullptr, timer);
      timer = 0;
      if (life.idle()) return;
    } else if (message.hwnd == nullptr && message.message == ProcessLife::kIdle) {
      if (timer != 0) KillTimer(nullptr, timer);
      timer = SetTimer(nullptr, 0, kLingerMilliseconds, nullptr);
    } else if (message.hwnd == nullptr && message.message == ProcessLife::kClientEnded) {
      apartment.release_rows_of_ended_clients();
    } else {
      DispatchMessageW(&message);
    }
  }
}

/// Takes the messages that arrive within `milliseconds`; false when a client has come meanwhile.
bool stays_idle(const ProcessLife& life, DWORD milliseconds) {
  const ULONGLONG end = GetTickCount64() + milliseconds;
  for (ULONGLONG now = GetTickCount64(); now < end && life.idle(); now = GetTickCount64()) {
    MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) DispatchMessageW(&message);
  }
  return life.idle();
}

}  // namespace

void wait_for_desktop() {
  const ULONGLONG end = GetTickCount64() + kDesktopMilliseconds;
  while (!new_thread_gets_message_window()) {
    if (GetTickCount64() >= end) {
      throw Error(E_FAIL, u"No window can be made that clients' calls could come by.");
    }
    Sleep(kBetweenLooksMilliseconds);
  }
}

void serve(Apartment& apartment) {
  const ServingRight right;
  if (!right.granted()) return;
  hasten_end_of_ended_clients();
  apartment.events().started();
  ProcessLife& life = apartment.life();
  UINT patience = right.waited() ? kLingerMilliseconds : kFirstClientMilliseconds;
  do {
    // One reference of the process's own: as long as it lingers, COM must not take it for ended.
    CoAddRefServerProcess();
    const ClassObjects class_objects(apartment);
    do {
      run_until_idle(apartment, patience);
      patience = kLingerMilliseconds;
      if (CoReleaseServerProcess() == 0) break;
      CoAddRefServerProcess();  // a client's activation is under way
    } while (true);
  } while (!stays_idle(life, kDrainMilliseconds));
  apartment.events().ended();
}

}  // namespace tarnwick::automation::com
