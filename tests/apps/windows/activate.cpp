// A client for the tests of activation. Says on standard error what failed.
//   once             makes a Server and uses it
//   again            makes and releases Servers before and after the server has ended
//   new-components   makes a Components object, which empties the list of the process

#include <cstdio>
#include <cwchar>
#include <iterator>

#include "automation/com/com.h"

namespace {

using tarnwick::automation::com::ComPtr;

bool use_server() {
  ComPtr<_Server> server;
  HRESULT result =
      CoCreateInstance(__uuidof(Server), nullptr, CLSCTX_LOCAL_SERVER, __uuidof(_Server), &server);
  VARIANT_BOOL initialized = VARIANT_TRUE;
  if (SUCCEEDED(result)) result = server->get_Initialized(&initialized);
  if (FAILED(result)) std::fprintf(stderr, "%08lx ", static_cast<unsigned long>(result));
  return SUCCEEDED(result);
}

bool use_servers_around_their_end() {
  // The server lingers for three seconds.
  constexpr DWORD kPauses[] = {1000, 3200, 5000};
  for (const DWORD pause : kPauses) {
    if (!use_server()) {
      std::fprintf(stderr, "before a pause of %lu ms\n", pause);
      return false;
    }
    Sleep(pause);
  }
  return use_server();
}

bool make_components() {
  ComPtr<_Components> components;
  return SUCCEEDED(CoCreateInstance(__uuidof(Components), nullptr, CLSCTX_LOCAL_SERVER,
                                    __uuidof(_Components), &components));
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) return 2;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  bool done = false;
  if (std::wcscmp(argv[1], L"once") == 0) done = use_server();
  if (std::wcscmp(argv[1], L"again") == 0) done = use_servers_around_their_end();
  if (std::wcscmp(argv[1], L"new-components") == 0) done = make_components();
  CoUninitialize();
  return done ? 0 : 1;
}
