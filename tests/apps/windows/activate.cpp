// A client for the tests of activation. Says on standard error what failed.
//   once                 makes a Server and uses it
//   hold READY GO        makes a Server, raises the semaphore READY, and holds the Server until the
//   event
//                        GO is set; then writes the last error's number to standard output
//   hold-row READY       loads, locks the first component of the list, raises the semaphore READY,
//   and holds
//                        the row until it is ended
//   new-components       makes a Components object, which empties the list of the process

#include <cstdio>
#include <string_view>

#include "automation/com/com.h"

namespace {

using tarnwick::automation::com::ComPtr;

bool done(HRESULT result) {
  if (FAILED(result)) std::fprintf(stderr, "%08lx\n", static_cast<unsigned long>(result));
  return SUCCEEDED(result);
}

ComPtr<_Server> make_server() {
  ComPtr<_Server> server;
  done(
      CoCreateInstance(__uuidof(Server), nullptr, CLSCTX_LOCAL_SERVER, __uuidof(_Server), &server));
  return server;
}

bool use_server() {
  const ComPtr<_Server> server = make_server();
  VARIANT_BOOL initialized = VARIANT_TRUE;
  return server && done(server->get_Initialized(&initialized));
}

bool hold_server(const wchar_t* ready, const wchar_t* go) {
  const HANDLE is_ready = OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, FALSE, ready);
  const HANDLE may_go = OpenEventW(SYNCHRONIZE, FALSE, go);
  const ComPtr<_Server> server = make_server();
  // Whatever came of it: the others wait for this one.
  ReleaseSemaphore(is_ready, 1, nullptr);
  WaitForSingleObject(may_go, INFINITE);
  long number = 0;
  if (!server || !done(server->get_LastErrorNumber(&number))) return false;
  std::printf("%ld", number);
  return true;
}

bool hold_row(const wchar_t* ready) {
  const HANDLE is_ready = OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, FALSE, ready);
  const ComPtr<_Server> server = make_server();
  ComPtr<_Components> components;
  ComPtr<_Component> component;
  VARIANT first;
  VariantInit(&first);
  first.vt = VT_I4;
  first.lVal = 1;
  VARIANT_BOOL loaded = VARIANT_FALSE;
  VARIANT_BOOL locked = VARIANT_FALSE;
  const bool held = server && done(server->Refresh(&loaded)) &&
                    done(server->get_Components(&components)) &&
                    done(components->get_Item(first, &component)) && component &&
                    done(component->LockRecord(&locked)) && locked != VARIANT_FALSE;
  ReleaseSemaphore(is_ready, 1, nullptr);
  if (held) Sleep(INFINITE);
  return false;
}

bool make_components() {
  ComPtr<_Components> components;
  return SUCCEEDED(CoCreateInstance(__uuidof(Components), nullptr, CLSCTX_LOCAL_SERVER,
                                    __uuidof(_Components), &components));
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) return 2;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  const std::wstring_view wish = argv[1];
  bool succeeded = false;
  if (wish == L"once") succeeded = use_server();
  if (wish == L"hold" && argc == 4) succeeded = hold_server(argv[2], argv[3]);
  if (wish == L"hold-row" && argc == 3) succeeded = hold_row(argv[2]);
  if (wish == L"new-components") succeeded = make_components();
  CoUninitialize();
  return succeeded ? 0 : 1;
}
