// A 32-bit client of the registered server, late and early bound: reads, sets, calls, walks, is
// told errors and takes arrays. Tells what it found; fails with the line of the first thing that is
// not as it should be.

#include <tarnwick_com.h>
#include <windows.h>
#include <wrl/client.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>

namespace {

using Microsoft::WRL::ComPtr;

static_assert(sizeof(void*) == 4);

void require(bool holds, int line) {
  if (holds) return;
  std::fprintf(stderr, "client.cpp:%d\n", line);
  std::exit(1);
}
#define REQUIRE(condition) require((condition), __LINE__)

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
  [[nodiscard]] bool is(const wchar_t* text) const {
    return std::wcscmp(text_ == nullptr ? L"" : text_, text) == 0;
  }

 private:
  BSTR text_ = nullptr;
};

/// A variant that is cleared in the end.
class Var {
 public:
  Var() { VariantInit(&variant_); }
  explicit Var(const wchar_t* text) : Var() {
    variant_.vt = VT_BSTR;
    variant_.bstrVal = SysAllocString(text);
  }
  explicit Var(double date) : Var() {
    variant_.vt = VT_DATE;
    variant_.date = date;
  }
  ~Var() { VariantClear(&variant_); }
  Var(const Var&) = delete;
  Var& operator=(const Var&) = delete;
  [[nodiscard]] VARIANT* get() { return &variant_; }
  const VARIANT* operator->() const { return &variant_; }

 private:
  VARIANT variant_;
};

/// Carries out a late-bound call with up to one argument; `exception` may be null.
HRESULT invoke(IDispatch& object, const wchar_t* member, WORD flags, Var* argument, Var& result,
               EXCEPINFO* exception) {
  DISPID id = 0;
  auto* name = const_cast<wchar_t*>(member);
  const HRESULT known = object.GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
  if (FAILED(known)) return known;
  DISPID put = DISPID_PROPERTYPUT;
  const bool puts = flags == DISPATCH_PROPERTYPUT;
  DISPPARAMS parameters{argument == nullptr ? nullptr : argument->get(), puts ? &put : nullptr,
                        argument == nullptr ? 0u : 1u, puts ? 1u : 0u};
  return object.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                       puts ? nullptr : result.get(), exception, nullptr);
}

template <class Interface>
ComPtr<Interface> make(const wchar_t* prog_id) {
  CLSID clsid{};
  REQUIRE(CLSIDFromProgID(prog_id, &clsid) == S_OK);
  ComPtr<Interface> made;
  REQUIRE(CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(Interface),
                           reinterpret_cast<void**>(made.GetAddressOf())) == S_OK);
  return made;
}

void be_early_bound() {
  const auto pc = make<_RegisteredPC>(L"Tarnwick.RegisteredPC");
  Bstr text;
  REQUIRE(pc->put_LastUser(Bstr(L"Gr\u00f6\u00dfe \u65e5\u672c").get()) == S_OK);
  REQUIRE(pc->get_LastUser(text.out()) == S_OK && text.is(L"Gr\u00f6\u00dfe \u65e5\u672c"));
  short number = 0;
  REQUIRE(pc->put_CompID(-32768) == S_OK && pc->get_CompID(&number) == S_OK && number == -32768);
  long logins = 0;
  REQUIRE(pc->put_TotalLogins(2147483647) == S_OK && pc->get_TotalLogins(&logins) == S_OK &&
          logins == 2147483647);
  DATE login = 0;
  REQUIRE(pc->put_LastLogin(45284.5) == S_OK && pc->get_LastLogin(&login) == S_OK &&
          login == 45284.5);
  VARIANT_BOOL active = VARIANT_FALSE;
  REQUIRE(pc->put_Active(VARIANT_TRUE) == S_OK && pc->get_Active(&active) == S_OK &&
          active == VARIANT_TRUE);

  const auto components = make<_Components>(L"Tarnwick.Components");
  const Bstr name(L"Sales");
  const Bstr empty(L"");
  ComPtr<_Component> component;
  REQUIRE(components->Add(7, name.get(), 0, 1, 1, VARIANT_TRUE, 2, PCs_rc, empty.get(), empty.get(),
                          empty.get(), empty.get(), &component) == S_OK);
  ComPtr<_Component> found;
  REQUIRE(components->get_Item(*Var(L"C7").get(), &found) == S_OK && found == component);
  ComPtr<IUnknown> walk;
  ComPtr<IEnumVARIANT> each;
  Var entry;
  REQUIRE(components->get_NewEnum(&walk) == S_OK && walk.As(&each) == S_OK);
  REQUIRE(each->Next(1, entry.get(), nullptr) == S_OK && entry->vt == VT_DISPATCH);

  const auto rows = make<_Rows>(L"Tarnwick.Rows");
  Var table;
  REQUIRE(rows->GetRows(components.Get(), 1, 10, table.get()) == S_OK);
  REQUIRE(table->vt == (VT_ARRAY | VT_VARIANT) && SafeArrayGetDim(table->parray) == 2);
  LONG place[] = {0, 1};
  Var cell;
  REQUIRE(SafeArrayGetElement(table->parray, place, cell.get()) == S_OK);
  REQUIRE(cell->vt == VT_BSTR && std::wcscmp(cell->bstrVal, L"Sales") == 0);
  std::puts("early bound: done");
}

void be_late_bound() {
  const auto pcs = make<IDispatch>(L"Tarnwick.RegisteredPCs");
  const auto pc = make<IDispatch>(L"Tarnwick.RegisteredPC.1");
  Var nothing;
  Var user(L"eva");
  Var date(45284.5);
  REQUIRE(invoke(*pc.Get(), L"lastuser", DISPATCH_PROPERTYPUT, &user, nothing, nullptr) == S_OK);
  REQUIRE(invoke(*pc.Get(), L"LastLogin", DISPATCH_PROPERTYPUT, &date, nothing, nullptr) == S_OK);
  Var text;
  REQUIRE(invoke(*pc.Get(), L"LastUser", DISPATCH_PROPERTYGET, nullptr, text, nullptr) == S_OK);
  REQUIRE(text->vt == VT_BSTR && std::wcscmp(text->bstrVal, L"eva") == 0);
  Var login;
  REQUIRE(invoke(*pc.Get(), L"LastLogin", DISPATCH_PROPERTYGET, nullptr, login, nullptr) == S_OK);
  REQUIRE(login->vt == VT_DATE && login->date == 45284.5);

  Var key(L"nobody");
  Var none;
  EXCEPINFO exception{};
  REQUIRE(invoke(*pcs.Get(), L"Item", DISPATCH_PROPERTYGET, &key, none, &exception) ==
          DISP_E_EXCEPTION);
  REQUIRE(static_cast<unsigned long>(exception.scode) == 0x800A0005);
  REQUIRE(std::wcscmp(exception.bstrDescription, L"Invalid procedure call or argument") == 0);
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrHelpFile);

  UINT count = 0;
  ComPtr<ITypeInfo> info;
  REQUIRE(pc->GetTypeInfoCount(&count) == S_OK && count == 1);
  REQUIRE(pc->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info) == S_OK);
  std::puts("late bound: done");
}

}  // namespace

int main() {
  if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 1;
  be_early_bound();
  be_late_bound();
  CoUninitialize();
  return 0;
}
