// Counts a login of every PC of a component, by the dual interfaces.
//   count_logins CONNECTSTRING ROLE PASSWORD COMPONENT-ID USER
//
// Needs the header and the identifiers that widl (or midl) makes of automation/com/tarnwick.idl.

#include <tarnwick_com.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdio>
#include <cwchar>

namespace {

using Microsoft::WRL::ComPtr;

/// A text argument or result.
class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(const wchar_t* text) : text_(SysAllocString(text)) {}
  ~Bstr() { SysFreeString(text_); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  [[nodiscard]] BSTR get() const { return text_; }
  [[nodiscard]] BSTR* out() { return &text_; }

 private:
  BSTR text_ = nullptr;
};

int fail(_Server& server) {
  Bstr message;
  server.get_LastErrorMsg(message.out());
  std::fwprintf(stderr, L"%ls\n", message.get());
  return 1;
}

int count_logins(wchar_t** arguments) {
  ComPtr<_Server> server;
  if (FAILED(CoCreateInstance(__uuidof(Server), nullptr, CLSCTX_LOCAL_SERVER, __uuidof(_Server),
                              &server))) {
    std::fwprintf(stderr, L"Tarnwick is not registered here.\n");
    return 1;
  }
  VARIANT_BOOL done = VARIANT_FALSE;
  server->SetConnection(Bstr(arguments[1]).get(), Bstr(arguments[2]).get(),
                        Bstr(arguments[3]).get(), &done);
  if (done == VARIANT_FALSE) return fail(*server.Get());
  server->Refresh(&done);
  if (done == VARIANT_FALSE) return fail(*server.Get());

  const auto component_id = static_cast<short>(std::wcstol(arguments[4], nullptr, 10));
  ComPtr<_RegisteredPCs> pcs;
  long count = 0;
  server->get_RegisteredPCs(&pcs);
  pcs->get_Count(&count);
  int counted = 0;
  for (long position = 1; position <= count; ++position) {
    VARIANT key;
    VariantInit(&key);
    key.vt = VT_I4;
    key.lVal = position;
    ComPtr<_RegisteredPC> pc;
    short id = 0;
    if (FAILED(pcs->get_Item(key, &pc)) || FAILED(pc->get_CompID(&id)) || id != component_id) {
      continue;
    }
    long logins = 0;
    pc->get_TotalLogins(&logins);
    pc->put_TotalLogins(logins + 1);
    pc->put_LastUser(Bstr(arguments[5]).get());
    UpdateErrorEnum result = Error_ue;
    pc->Update(&result);
    if (result != OK_ue) return fail(*server.Get());
    ++counted;
  }
  std::wprintf(L"%d PCs\n", counted);
  return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 6) {
    std::fwprintf(stderr, L"usage: count_logins CONNECTSTRING ROLE PASSWORD COMPONENT-ID USER\n");
    return 2;
  }
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const int result = count_logins(argv);
  CoUninitialize();
  return result;
}
