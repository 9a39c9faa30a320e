// A client that is to be ended by force in the midst of what it does.
//   stranger calls|texts|locks READY
// raises the semaphore READY when it is at it, and goes on until it is ended:
//   calls   makes objects, reads them, and gives none of them up
//   texts   sets and reads a text of a megabyte
//   locks   locks and releases the first component, the last time for good

#include <string>
#include <string_view>
#include <vector>

#include "automation/com/com.h"

namespace {

using tarnwick::automation::com::ComPtr;

template <class Interface>
ComPtr<Interface> make(REFCLSID clsid) {
  ComPtr<Interface> made;
  CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(Interface), &made);
  return made;
}

void call() {
  static std::vector<ComPtr<_Report>> held;
  if (held.size() < 20) held.push_back(make<_Report>(__uuidof(Report)));
  BSTR name = nullptr;
  if (held.back() && SUCCEEDED(held.back()->get_Name(&name))) SysFreeString(name);
}

void set_text() {
  static const ComPtr<_Report> report = make<_Report>(__uuidof(Report));
  static const BSTR text = SysAllocString(std::wstring(1u << 19, L'x').c_str());
  BSTR back = nullptr;
  if (!report || FAILED(report->put_Definition(text))) return;
  if (SUCCEEDED(report->get_Definition(&back))) SysFreeString(back);
}

void lock_row() {
  static const ComPtr<_Server> server = make<_Server>(__uuidof(Server));
  static int times = 0;
  ComPtr<_Components> components;
  ComPtr<_Component> component;
  VARIANT first;
  VariantInit(&first);
  first.vt = VT_I4;
  first.lVal = 1;
  VARIANT_BOOL done = VARIANT_FALSE;
  if (server && times == 0) server->Refresh(&done);
  if (!server || FAILED(server->get_Components(&components)) ||
      FAILED(components->get_Item(first, &component)) || !component) {
    return;
  }
  component->LockRecord(&done);
  if (++times < 20) component->ReleaseRecord(&done);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return 2;
  const std::wstring_view wish = argv[1];
  const auto act = wish == L"calls" ? &call : wish == L"texts" ? &set_text : &lock_row;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  const HANDLE is_ready = OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, FALSE, argv[2]);
  for (int times = 0;; ++times) {
    act();
    if (times == 20) ReleaseSemaphore(is_ready, 1, nullptr);
  }
}
