// A client for tests with several prefixes of Wine: connects, loads, then does what it is told.
//   record_client CONNECTSTRING ROLE PASSWORD
// Each line of the standard input is a command, each line of the standard output its result:
//   lock N       component N is locked, or was not to be had: True, False
//   release N    the same of releasing it
//   quit         gives everything up and ends

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include "automation/com/com.h"

namespace {

using tarnwick::automation::com::ComPtr;

void require(HRESULT result, const char* what) {
  if (SUCCEEDED(result)) return;
  std::cout << what << ": " << std::hex << static_cast<unsigned long>(result) << std::endl;
  std::exit(1);
}

class Client {
 public:
  explicit Client(wchar_t** connection) {
    require(CoCreateInstance(__uuidof(Server), nullptr, CLSCTX_LOCAL_SERVER, __uuidof(_Server),
                             &server_),
            "starting the server");
    BSTR arguments[3];
    for (int i = 0; i < 3; ++i) arguments[i] = SysAllocString(connection[i]);
    VARIANT_BOOL connected = VARIANT_FALSE;
    VARIANT_BOOL loaded = VARIANT_FALSE;
    require(server_->SetConnection(arguments[0], arguments[1], arguments[2], &connected),
            "connecting");
    for (BSTR argument : arguments) SysFreeString(argument);
    require(server_->Refresh(&loaded), "loading");
    require(server_->get_Components(&components_), "the components");
    std::cout << "connected " << yes(connected) << " loaded " << yes(loaded) << std::endl;
  }

  const char* lock(long id) {
    VARIANT_BOOL done = VARIANT_FALSE;
    require(component(id)->LockRecord(&done), "locking");
    return yes(done);
  }
  const char* release(long id) {
    VARIANT_BOOL done = VARIANT_FALSE;
    require(component(id)->ReleaseRecord(&done), "releasing");
    return yes(done);
  }

 private:
  static const char* yes(VARIANT_BOOL value) { return value == VARIANT_FALSE ? "False" : "True"; }

  ComPtr<_Component> component(long position) {
    VARIANT key;
    VariantInit(&key);
    key.vt = VT_I4;
    key.lVal = position;
    ComPtr<_Component> found;
    require(components_->get_Item(key, &found), "finding a component");
    if (!found) require(E_FAIL, "there is no such component");
    return found;
  }

  ComPtr<_Server> server_;
  ComPtr<_Components> components_;
};

void serve(wchar_t** connection) {
  Client client(connection);
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string command;
    long id = 0;
    words >> command >> id;
    if (command == "quit") return;
    std::cout << (command == "lock" ? client.lock(id) : client.release(id)) << std::endl;
  }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 4) return 2;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  serve(argv + 1);
  CoUninitialize();
  return 0;
}
