#include <map>
#include <memory>
#include <string>

#include "automation/com/com.h"
#include "automation/com/errors.h"
#include "automation/com/own_variant.h"
#include "automation/com/values.h"
#include "client/transport.h"
#include "platform/windows/wide.h"

namespace tarnwick::client {
namespace {

namespace com = automation::com;
using automation::Kind;
using automation::Type;
using com::ComPtr;
using com::OwnVariant;

// The numbers of run-time errors on COM.
constexpr std::uint32_t kFirstRunTimeError = 0x800A0000;

std::int32_t number_of(HRESULT result) {
  const auto code = static_cast<std::uint32_t>(result);
  return (code & 0xFFFF0000) == kFirstRunTimeError ? static_cast<std::int32_t>(code & 0xFFFF)
                                                   : static_cast<std::int32_t>(result);
}

[[noreturn]] void refuse(HRESULT result, TextView description) {
  // The server went while it carried out the call.
  const bool cut = result == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED) || result == RPC_E_SERVER_DIED ||
                   result == RPC_E_SERVER_DIED_DNE;
  throw CallError(cut ? CallError::Reason::kNotAnswered : CallError::Reason::kRefused,
                  to_display_utf8(description), number_of(result));
}

void require(HRESULT result) {
  if (FAILED(result)) refuse(result, com::system_message(static_cast<DWORD>(result)));
}

CallError not_offered(const std::string& what) {
  return {CallError::Reason::kNotOffered, "The COM server does not offer " + what + "."};
}

IDispatch* dispatch_of(const Object& object) {
  return static_cast<IDispatch*>(object.instance.get());
}

Object object_of(ClassId class_id, IUnknown* reference) {
  if (reference == nullptr) return {class_id, nullptr};
  IDispatch* dispatch = nullptr;
  require(reference->QueryInterface(IID_PPV_ARGS(&dispatch)));
  return {class_id, std::shared_ptr<IDispatch>(dispatch, [](IDispatch* held) { held->Release(); })};
}

IUnknown* reference_in(const VARIANT& variant) {
  return variant.vt == VT_DISPATCH ? variant.pdispVal
                                   : (variant.vt == VT_UNKNOWN ? variant.punkVal : nullptr);
}

void put_argument(VARIANT& variant, const Type& type, const Value& value) {
  if (type.kind != Kind::kObject) return com::put(variant, value);
  variant.vt = VT_DISPATCH;
  variant.pdispVal = dispatch_of(std::get<Object>(value));
  if (variant.pdispVal != nullptr) variant.pdispVal->AddRef();
}

// A result, which has the type of the table.
Value value_of(const Type& type, const VARIANT& variant) {
  OwnVariant converted;
  const auto as = [&](VARTYPE wanted) -> const VARIANT& {
    require(VariantChangeType(converted.get(), const_cast<VARIANT*>(&variant), 0, wanted));
    return *converted.get();
  };
  switch (type.kind) {
    case Kind::kText:
      return com::text_of(as(VT_BSTR).bstrVal);
    case Kind::kBoolean:
      return as(VT_BOOL).boolVal != VARIANT_FALSE;
    case Kind::kInt16:
      return std::int16_t{as(VT_I2).iVal};
    case Kind::kInt32:
    case Kind::kEnumeration:
      return static_cast<std::int32_t>(as(VT_I4).lVal);
    case Kind::kDate:
      return Date{as(VT_DATE).date};
    case Kind::kObject:
      return object_of(type.class_id, reference_in(variant));
    default:
      return Empty{};
  }
}

class ComTransport final : public Transport {
 public:
  Object create(const Class& of) override {
    const std::wstring prog_id = L"Tarnwick." + platform::to_wide(from_utf8(of.name));
    CLSID clsid{};
    require(CLSIDFromProgID(prog_id.c_str(), &clsid));
    ComPtr<IDispatch> made;
    require(CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, IID_PPV_ARGS(&made)));
    return object_of(of.id, made.Get());
  }

  Value call(const Object& object, const Member& member,
             const std::vector<Value>& arguments) override {
    OwnVariant result;
    invoke(object, member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments, result.get());
    return value_of(member.result, *result.get());
  }

  std::vector<Object> call_for_all(const Object& object, const Member& member,
                                   const std::vector<Value>& arguments) override;

  void let(const Object& object, const Member& member, const Value& value) override {
    invoke(object, member, DISPATCH_PROPERTYPUT, {value}, nullptr);
  }

  UpdateErrorEnum insert(const Object&, TextView) override { throw not_offered("Insert"); }
  std::vector<PcKey> find_pcs(TextView) override { throw not_offered("FindPCs"); }
  Look look(const Object&) override { throw not_offered("Look"); }
  std::vector<StoredReportFile> stored_report_files() override { throw not_offered("ReportFiles"); }

  FailureCause last_cause() override;
  void clear_last_cause() override { require(cause()->Clear()); }

 private:
  void invoke(const Object& object, const Member& member, WORD flags,
              const std::vector<Value>& arguments, VARIANT* result);
  DISPID id_of(IDispatch* object, const Member& member);
  ::_LastCause* cause();

  std::map<const Member*, DISPID> ids_;
  ComPtr<::_LastCause> cause_;
};

DISPID ComTransport::id_of(IDispatch* object, const Member& member) {
  const auto known = ids_.find(&member);
  if (known != ids_.end()) return known->second;
  std::wstring name = platform::to_wide(from_utf8(member.name));
  wchar_t* names = name.data();
  DISPID id = 0;
  require(object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id));
  return ids_[&member] = id;
}

void ComTransport::invoke(const Object& object, const Member& member, WORD flags,
                          const std::vector<Value>& arguments, VARIANT* result) {
  IDispatch* const dispatch = dispatch_of(object);
  const DISPID id = id_of(dispatch, member);
  const bool puts = flags == DISPATCH_PROPERTYPUT;
  // The last one first.
  std::vector<OwnVariant> owned(arguments.size());
  std::vector<VARIANTARG> given(arguments.size());
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Type& type = puts ? member.result : member.arguments[i].type;
    put_argument(*owned[i].get(), type, arguments[i]);
    given[arguments.size() - 1 - i] = *owned[i].get();
  }
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{given.data(), puts ? &put : nullptr, static_cast<UINT>(given.size()),
                        puts ? 1u : 0u};
  EXCEPINFO exception{};
  const HRESULT answer = dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                          result, &exception, nullptr);
  const Text description = com::text_of(exception.bstrDescription);
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrHelpFile);
  if (answer == DISP_E_EXCEPTION) refuse(exception.scode, description);
  require(answer);
}

std::vector<Object> ComTransport::call_for_all(const Object& object, const Member& member,
                                               const std::vector<Value>& arguments) {
  OwnVariant result;
  invoke(object, member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments, result.get());
  OwnVariant walk_of_collection;
  VARIANT* walked = result.get();
  if (member.result.kind == Kind::kCollection) {
    DISPPARAMS none{};
    walked = walk_of_collection.get();
    require(result->pdispVal->Invoke(DISPID_NEWENUM, IID_NULL, LOCALE_USER_DEFAULT,
                                     DISPATCH_METHOD | DISPATCH_PROPERTYGET, &none, walked, nullptr,
                                     nullptr));
  }
  ComPtr<IEnumVARIANT> walk;
  require(reference_in(*walked)->QueryInterface(IID_PPV_ARGS(&walk)));
  std::vector<Object> entries;
  for (;;) {
    OwnVariant entry;
    ULONG fetched = 0;
    const HRESULT next = walk->Next(1, entry.get(), &fetched);
    require(next);
    if (next != S_OK || fetched != 1) return entries;
    entries.push_back(object_of(member.result.class_id, reference_in(*entry.get())));
  }
}

::_LastCause* ComTransport::cause() {
  if (cause_ == nullptr) {
    require(CoCreateInstance(CLSID_LastCause, nullptr, CLSCTX_LOCAL_SERVER, IID__LastCause,
                             reinterpret_cast<void**>(cause_.GetAddressOf())));
  }
  return cause_.Get();
}

FailureCause ComTransport::last_cause() {
  ::FailureKindEnum kind{};
  long number = 0;
  long native = 0;
  BSTR text = nullptr;
  VARIANT_BOOL unknown = VARIANT_FALSE;
  require(cause()->get_Kind(&kind));
  require(cause()->get_Number(&number));
  require(cause()->get_NativeNumber(&native));
  require(cause()->get_OutcomeUnknown(&unknown));
  require(cause()->get_NativeText(&text));
  FailureCause found{.kind = static_cast<ado::FailureKind>(kind),
                     .number = static_cast<std::int32_t>(number),
                     .native = static_cast<std::int32_t>(native),
                     .text = com::text_of(text),
                     .outcome_unknown = unknown != VARIANT_FALSE};
  SysFreeString(text);
  return found;
}

}  // namespace

std::unique_ptr<Transport> make_com_transport() { return std::make_unique<ComTransport>(); }

}  // namespace tarnwick::client
