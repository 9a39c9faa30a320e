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
constexpr LONG kRowsAtOnce = 2000;

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

// A call by a dual interface; what failed is told as for one by a dispatch interface.
void require_call(HRESULT result) {
  ComPtr<IErrorInfo> info;
  if (FAILED(result) && GetErrorInfo(0, &info) == S_OK) {
    BSTR description = nullptr;
    info->GetDescription(&description);
    const Text text = com::text_of(description);
    SysFreeString(description);
    if (!text.empty()) refuse(result, text);
  }
  require(result);
}

// A text as an argument.
class OwnBstr {
 public:
  explicit OwnBstr(TextView text) : string_(com::to_bstr(text)) {}
  ~OwnBstr() { SysFreeString(string_); }
  OwnBstr(const OwnBstr&) = delete;
  OwnBstr& operator=(const OwnBstr&) = delete;

  [[nodiscard]] BSTR get() const { return string_; }

 private:
  BSTR string_;
};

// The values of a list, or of rows one after the other, as long as this lives.
class ArrayInside {
 public:
  explicit ArrayInside(const VARIANT& variant) {
    if (variant.vt != (VT_ARRAY | VT_VARIANT)) require(DISP_E_TYPEMISMATCH);
    const UINT dimensions = SafeArrayGetDim(variant.parray);
    rows_ = dimensions == 2 ? length(variant.parray, 1) : 1;
    columns_ = length(variant.parray, dimensions);
    require(SafeArrayAccessData(variant.parray, reinterpret_cast<void**>(&values_)));
    array_ = variant.parray;
  }
  ~ArrayInside() { SafeArrayUnaccessData(array_); }
  ArrayInside(const ArrayInside&) = delete;
  ArrayInside& operator=(const ArrayInside&) = delete;

  [[nodiscard]] std::size_t rows() const { return rows_; }
  [[nodiscard]] std::size_t columns() const { return columns_; }
  [[nodiscard]] const VARIANT& at(std::size_t row, std::size_t column) const {
    if (row >= rows_ || column >= columns_) require(DISP_E_BADINDEX);
    return values_[row + column * rows_];
  }

 private:
  static std::size_t length(SAFEARRAY* array, UINT dimension) {
    LONG first = 0;
    LONG last = -1;
    require(SafeArrayGetLBound(array, dimension, &first));
    require(SafeArrayGetUBound(array, dimension, &last));
    return static_cast<std::size_t>(last - first + 1);
  }

  SAFEARRAY* array_ = nullptr;
  VARIANT* values_ = nullptr;
  std::size_t rows_ = 0;
  std::size_t columns_ = 0;
};

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

  Row read(const Object& record) override;
  std::vector<Row> rows(const Object& collection) override;

  UpdateErrorEnum insert(const Object& record, TextView report_file) override;
  std::vector<PcKey> find_pcs(TextView name) override;
  Look look(const Object& record) override;
  std::vector<StoredReportFile> stored_report_files() override;

  FailureCause last_cause() override;
  void clear_last_cause() override { require_call(cause()->Clear()); }

 private:
  void invoke(const Object& object, const Member& member, WORD flags,
              const std::vector<Value>& arguments, VARIANT* result);
  DISPID id_of(IDispatch* object, const Member& member);
  /// The attributes at their places among the values of a record; null for what is no attribute.
  const std::vector<const Attribute*>& places(const Object& record_or_collection,
                                              ClassId record_class);
  ::_LastCause* cause() { return made(CLSID_LastCause, cause_); }
  ::_Rows* tables() { return made(CLSID_Rows, tables_); }

  template <class Interface>
  Interface* made(const CLSID& clsid, ComPtr<Interface>& kept) {
    if (kept == nullptr) {
      require(CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, __uuidof(Interface),
                               reinterpret_cast<void**>(kept.GetAddressOf())));
    }
    return kept.Get();
  }

  std::map<const Member*, DISPID> ids_;
  std::map<ClassId, std::vector<const Attribute*>> places_;
  ComPtr<::_LastCause> cause_;
  ComPtr<::_Rows> tables_;
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

const std::vector<const Attribute*>& ComTransport::places(const Object& record_or_collection,
                                                          ClassId record_class) {
  std::vector<const Attribute*>& places = places_[record_class];
  if (!places.empty()) return places;
  OwnVariant names;
  require_call(tables()->Properties(dispatch_of(record_or_collection), names.get()));
  const ArrayInside inside(*names.get());
  for (std::size_t i = 0; i < inside.columns(); ++i) {
    const Text name = com::text_of(inside.at(0, i).bstrVal);
    places.push_back(find_attribute(record_class, to_utf8(name)));
  }
  return places;
}

Row read_row(const ArrayInside& inside, std::size_t row,
             const std::vector<const Attribute*>& places, ClassId record_class) {
  Row result(record_class);
  for (std::size_t i = 0; i < places.size(); ++i) {
    const Attribute* attribute = places[i];
    const VARIANT& value = inside.at(row, i);
    if (attribute == nullptr || value.vt == VT_EMPTY) continue;
    result.set(*attribute,
               from_member_value(*attribute, value_of(attribute->member->result, value)));
  }
  return result;
}

Row ComTransport::read(const Object& record) {
  const auto& properties = places(record, record.class_id);
  OwnVariant values;
  require_call(tables()->Read(dispatch_of(record), values.get()));
  return read_row(ArrayInside(*values.get()), 0, properties, record.class_id);
}

std::vector<Row> ComTransport::rows(const Object& collection) {
  const ClassId record_class =
      automation::find_member(automation::class_of(collection.class_id), "Item")->result.class_id;
  const auto& properties = places(collection, record_class);
  std::vector<Row> rows;
  for (;;) {
    OwnVariant values;
    require_call(tables()->GetRows(dispatch_of(collection), static_cast<LONG>(rows.size()) + 1,
                                   kRowsAtOnce, values.get()));
    const ArrayInside inside(*values.get());
    if (inside.rows() == 0) return rows;
    for (std::size_t row = 0; row < inside.rows(); ++row) {
      rows.push_back(read_row(inside, row, properties, record_class));
    }
  }
}

UpdateErrorEnum ComTransport::insert(const Object& record, TextView report_file) {
  const OwnBstr file(report_file);
  ::UpdateErrorEnum result{};
  require_call(tables()->Insert(dispatch_of(record), file.get(), &result));
  return static_cast<UpdateErrorEnum>(result);
}

std::vector<PcKey> ComTransport::find_pcs(TextView name) {
  const OwnBstr wanted(name);
  OwnVariant values;
  require_call(tables()->FindPCs(wanted.get(), values.get()));
  const ArrayInside inside(*values.get());
  std::vector<PcKey> keys;
  for (std::size_t row = 0; row < inside.rows(); ++row) {
    keys.push_back({com::text_of(inside.at(row, 0).bstrVal),
                    com::text_of(inside.at(row, 1).bstrVal), inside.at(row, 2).iVal});
  }
  return keys;
}

Look ComTransport::look(const Object& record) {
  OwnVariant values;
  require_call(tables()->Look(dispatch_of(record), values.get()));
  const ArrayInside inside(*values.get());
  Look look{.outcome = LookOutcome{static_cast<std::int32_t>(inside.at(0, 0).lVal)},
            .held = inside.at(0, 1).boolVal != VARIANT_FALSE,
            .stamp = com::text_of(inside.at(0, 2).bstrVal),
            .process_id = {}};
  const auto process = static_cast<std::int64_t>(inside.at(0, 3).dblVal);
  if (process != 0) look.process_id = process;
  return look;
}

std::vector<StoredReportFile> ComTransport::stored_report_files() {
  OwnVariant values;
  require_call(tables()->ReportFiles(values.get()));
  const ArrayInside inside(*values.get());
  std::vector<StoredReportFile> files;
  for (std::size_t row = 0; row < inside.rows(); ++row) {
    files.push_back({com::text_of(inside.at(row, 0).bstrVal),
                     static_cast<std::int64_t>(inside.at(row, 1).dblVal)});
  }
  return files;
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
