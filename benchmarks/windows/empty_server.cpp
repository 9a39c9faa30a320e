// The floor of the measurements of COM calls: an object without any state behind the same kind of
// interface. /RegServer and /UnregServer as everywhere; otherwise it serves until it is ended.

#include <tarnwick_empty.h>
#include <windows.h>
#include <wrl/client.h>

#include <cwchar>
#include <string>

namespace {

using Microsoft::WRL::ComPtr;

constexpr const wchar_t* kClassKey =
    L"Software\\Classes\\CLSID\\{0B5D1F2C-6B0C-4A53-9F63-6A0C1C8E5E11}";

std::wstring executable() {
  wchar_t name[MAX_PATH];
  GetModuleFileNameW(nullptr, name, MAX_PATH);
  return name;
}

class EmptyObject final : public _Empty {
 public:
  explicit EmptyObject(ComPtr<ITypeInfo> info) : info_(std::move(info)) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (iid != IID_IUnknown && iid != IID_IDispatch && iid != __uuidof(_Empty)) {
      return E_NOINTERFACE;
    }
    AddRef();
    *out = static_cast<_Empty*>(this);
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override {
    return static_cast<ULONG>(InterlockedIncrement(&references_));
  }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override { return info_.CopyTo(info); }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    return info_->GetIDsOfNames(names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO* exception, UINT* culprit) override {
    return info_->Invoke(static_cast<_Empty*>(this), id, flags, parameters, result, exception,
                         culprit);
  }
  STDMETHODIMP get_Name(BSTR* value) override {
    *value = SysAllocString(L"Ledger");
    return S_OK;
  }
  STDMETHODIMP Exists(BSTR, VARIANT_BOOL* value) override {
    *value = VARIANT_TRUE;
    return S_OK;
  }

 private:
  volatile LONG references_ = 1;
  ComPtr<ITypeInfo> info_;
};

class EmptyFactory final : public IClassFactory {
 public:
  explicit EmptyFactory(ComPtr<ITypeInfo> info) : info_(std::move(info)) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
    *out = static_cast<IClassFactory*>(this);
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }  // lives as long as the process
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** out) override {
    auto* object = new EmptyObject(info_);
    const HRESULT result = object->QueryInterface(iid, out);
    object->Release();
    return result;
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }

 private:
  ComPtr<ITypeInfo> info_;
};

int write_registration(ITypeLib& library) {
  std::wstring command = executable();
  const std::wstring key = std::wstring(kClassKey) + L"\\LocalServer32";
  const auto size = static_cast<DWORD>((command.size() + 1) * sizeof(wchar_t));
  if (RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, REG_SZ, command.c_str(), size) !=
      ERROR_SUCCESS) {
    return 1;
  }
  return FAILED(RegisterTypeLib(&library, command.data(), nullptr));
}

int remove_registration() {
  UnRegisterTypeLib(LIBID_TarnwickEmpty, 1, 0, 0, SYS_WIN64);
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kClassKey);
  return 0;
}

int serve(ITypeLib& library) {
  ComPtr<ITypeInfo> info;
  if (FAILED(library.GetTypeInfoOfGuid(__uuidof(_Empty), &info))) return 1;
  static EmptyFactory factory(info);
  DWORD cookie = 0;
  if (FAILED(CoRegisterClassObject(__uuidof(Empty), &factory, CLSCTX_LOCAL_SERVER,
                                   REGCLS_MULTIPLEUSE, &cookie))) {
    return 1;
  }
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
  return 0;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t* switches, int) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);  // as the server that is measured
  ComPtr<ITypeLib> library;
  if (FAILED(LoadTypeLibEx(executable().c_str(), REGKIND_NONE, &library))) return 1;
  if (std::wcscmp(switches, L"/RegServer") == 0) return write_registration(*library.Get());
  if (std::wcscmp(switches, L"/UnregServer") == 0) return remove_registration();
  return serve(*library.Get());
}
