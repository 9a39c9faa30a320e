#include "tests/automation/com/variant_player.h"

#include <dispex.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>

#include "automation/com/class_table.h"
#include "automation/com/errors.h"
#include "automation/com/other_interfaces.h"
#include "automation/com/own_variant.h"
#include "automation/com/values.h"
#include "automation/rows.h"
#include "engines/sqlite/engine.h"
#include "platform/unattended_message_box.h"
#include "platform/windows/host.h"
#include "tests/automation/com/made_up_variants.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::test_support {
namespace {

using automation::ClassId;
using automation::Kind;
using automation::Member;
using automation::com::ComPtr;
using automation::com::OwnVariant;

using Members = std::span<const Member>;

Members members_of_collections() {
  static const std::vector<Member> all = automation::members_of<automation::Collection>();
  return all;
}

/// The members of the class in that place of the class table.
Members members_of_entry(std::size_t place) {
  static const std::vector<Member> causes = automation::members_of<FailureCause>();
  static const std::vector<Member> rows = automation::members_of<automation::Rows>();
  if (place < automation::kClassCount) {
    return automation::class_of(static_cast<ClassId>(place)).members;
  }
  return place == automation::kClassCount ? causes : rows;
}

VARTYPE type_of_result(const Member& member) {
  switch (member.result.kind) {
    case Kind::kNothing:
    case Kind::kEmpty:
      return VT_EMPTY;
    case Kind::kText:
      return VT_BSTR;
    case Kind::kBoolean:
      return VT_BOOL;
    case Kind::kInt16:
      return VT_I2;
    case Kind::kDate:
      return VT_DATE;
    case Kind::kEnumerator:
      return VT_UNKNOWN;
    case Kind::kValues:
      return VT_ARRAY | VT_VARIANT;
    case Kind::kObject:
    case Kind::kCollection:
    case Kind::kAnyObject:
      return VT_DISPATCH;
    default:
      return VT_I4;
  }
}

/// Whether a caller of Invoke knows this answer.
bool is_known(HRESULT answer) {
  static const std::set<HRESULT> kAll{S_OK,
                                      DISP_E_MEMBERNOTFOUND,
                                      DISP_E_BADPARAMCOUNT,
                                      DISP_E_PARAMNOTFOUND,
                                      DISP_E_PARAMNOTOPTIONAL,
                                      DISP_E_TYPEMISMATCH,
                                      DISP_E_OVERFLOW,
                                      DISP_E_BADVARTYPE,
                                      DISP_E_EXCEPTION,
                                      DISP_E_UNKNOWNNAME,
                                      DISP_E_NOTACOLLECTION,
                                      E_POINTER,
                                      E_INVALIDARG};
  return kAll.contains(answer);
}

/// Whether COM itself refused to carry an argument: the server never met it.
bool was_not_carried(HRESULT answer) {
  return answer == HRESULT_FROM_WIN32(RPC_S_INVALID_TAG) ||
         answer == HRESULT_FROM_WIN32(RPC_X_BAD_STUB_DATA) ||
         answer == HRESULT_FROM_WIN32(RPC_X_NULL_REF_POINTER);
}

/// Whether there is nothing in the variant that would have to be given up.
bool owns_nothing(const VARIANT& variant) {
  const bool owns = variant.vt == VT_BSTR || variant.vt == VT_DISPATCH ||
                    variant.vt == VT_UNKNOWN || (variant.vt & VT_ARRAY) != 0;
  return !owns || variant.byref == nullptr;
}

class Failure : public std::exception {};

/// Makes calls up, and looks at their answers.
class Player {
 public:
  Player(std::uint32_t seed, bool crossing) : variants_(seed, crossing), crossing_(crossing) {}

  void add(ComPtr<IDispatch> object, Members members) {
    if (objects_.size() == kMostObjects) {
      const auto place = static_cast<std::ptrdiff_t>(variants_.below(kMostObjects));
      objects_.erase(objects_.begin() + place);
      members_.erase(members_.begin() + place);
    }
    objects_.push_back(std::move(object));
    members_.push_back(members);
  }

  void play(std::size_t calls) {
    for (call_ = 0; call_ < calls; ++call_) {
      const std::uint32_t place = variants_.below(static_cast<std::uint32_t>(objects_.size()));
      switch (variants_.below(20)) {
        case 0:
          ask_names(*objects_[place].Get());
          break;
        case 1:
          walk();
          break;
        default:
          invoke(objects_[place], members_[place]);
      }
      check(variants_.forget(), "an object of the client's is held, or was given up twice");
    }
    for (const ComPtr<IDispatch>& each : objects_) {
      UINT count = 0;
      check(each->GetTypeInfoCount(&count) == S_OK && count == 1, "an object does not answer");
    }
  }

  [[nodiscard]] std::string found() const { return found_; }
  void check(bool holds, const char* what, HRESULT answer = S_OK, const char* member = "") {
    if (holds) return;
    std::ostringstream text;
    text << "call " << call_ << " of " << member << ": " << what << " (" << std::hex
         << static_cast<unsigned long>(answer) << ")";
    found_ = text.str();
    throw Failure();
  }

 private:
  static constexpr std::uint32_t kMostObjects = 40;

  void ask_names(IDispatch& object) {
    std::vector<VARIANT> held;
    std::vector<LPOLESTR> names;
    for (std::uint32_t i = variants_.below(4); i > 0; --i) {
      held.push_back(variants_.any({}, 3));
      wchar_t name[] = L"Item";
      static wchar_t kept[5];
      std::memcpy(kept, name, sizeof name);
      names.push_back(held.back().vt == VT_BSTR ? held.back().bstrVal : kept);
    }
    std::vector<DISPID> ids(names.size() + 1);
    // No names at all are for callers in this process: Wine does not carry them.
    if (names.empty() && crossing_) return;
    const HRESULT answer = object.GetIDsOfNames(IID_NULL, names.data(),
                                                static_cast<UINT>(names.size()), 0, ids.data());
    check(is_known(answer), "the names", answer);
  }

  void walk() {
    if (!walk_) return;
    if (variants_.once_in(8)) {
      ComPtr<IEnumVARIANT> clone;
      check(walk_->Clone(&clone) == S_OK, "a clone");
      walk_ = clone;
    }
    if (variants_.once_in(4)) check(SUCCEEDED(walk_->Skip(variants_.below(1000))), "to skip");
    if (variants_.once_in(4)) check(walk_->Reset() == S_OK, "to begin again");
    const ULONG wanted = variants_.below(6);
    std::vector<VARIANT> values(wanted + 1);
    // What stood there before is nobody's in a call by place.
    if (!crossing_)
      std::memset(static_cast<void*>(values.data()), 0xFF, values.size() * sizeof(VARIANT));
    ULONG fetched = 99;
    const HRESULT answer = walk_->Next(wanted, values.data(), &fetched);
    check((answer == S_OK && fetched == wanted) || (answer == S_FALSE && fetched < wanted),
          "the next ones", answer);
    for (ULONG i = 0; i < wanted; ++i) {
      check(values[i].vt == (i < fetched ? VT_DISPATCH : VT_EMPTY), "one of the next ones");
      VariantClear(&values[i]);
    }
  }

  [[nodiscard]] WORD flags() {
    constexpr std::array<WORD, 6> kUsual{1, 2, 3, 3, 4, 8};
    if (variants_.once_in(20)) return static_cast<WORD>(variants_.below(65536));
    return kUsual[variants_.below(kUsual.size())];
  }

  void invoke(const ComPtr<IDispatch>& object, Members members) {
    const Member& member = members[variants_.below(static_cast<std::uint32_t>(members.size()))];
    DISPID id = member.id;
    if (variants_.once_in(30)) id = static_cast<DISPID>(variants_.below(40)) - 8;
    WORD flags = this->flags();
    const bool sets = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;

    std::vector<VARIANTARG> arguments;
    if (variants_.once_in(6)) {
      for (std::uint32_t i = variants_.below(17); i > 0; --i) {
        arguments.push_back(variants_.any(objects_));
      }
    } else if (sets) {
      arguments.push_back(variants_.fitting(member.result, objects_));
    } else {
      for (std::size_t i = member.arguments.size(); i-- > 0;) {
        arguments.push_back(variants_.fitting(member.arguments[i].type, objects_));
      }
    }
    std::vector<DISPID> names;
    if (sets) names.push_back(DISPID_PROPERTYPUT);
    if (variants_.once_in(10)) {
      names.assign(variants_.below(4), 0);
      for (DISPID& each : names) each = static_cast<DISPID>(variants_.below(16)) - 1;
      if (!names.empty() && variants_.once_in(4)) names[0] = DISPID_THIS;
    }
    DISPPARAMS parameters{arguments.data(), names.data(), static_cast<UINT>(arguments.size()),
                          static_cast<UINT>(names.size())};
    if (variants_.once_in(100)) parameters.rgdispidNamedArgs = nullptr;
    if (!crossing_ && variants_.once_in(100)) parameters.rgvarg = nullptr;
    call(object, member, id, flags, parameters, arguments);
  }

  void call(const ComPtr<IDispatch>& object, const Member& member, DISPID id, WORD flags,
            DISPPARAMS& parameters, const std::vector<VARIANTARG>& arguments) {
    const std::vector<VARIANTARG> before = arguments;
    const std::string name(member.name);
    OwnVariant result;
    EXCEPINFO exception{};
    UINT culprit = 0;
    HRESULT answer = S_OK;
    const bool wants_result = crossing_ || !variants_.once_in(10);
    const ComPtr<IDispatch> held = object;
    if (variants_.once_in(12)) {
      ComPtr<IDispatchEx> extended;
      check(held->QueryInterface(__uuidof(IDispatchEx),
                                 reinterpret_cast<void**>(extended.GetAddressOf())) == S_OK,
            "the interface for scripts");
      answer = extended->InvokeEx(id, 0, flags, &parameters, wants_result ? result.get() : nullptr,
                                  &exception, nullptr);
    } else {
      answer =
          held->Invoke(id, IID_NULL, static_cast<LCID>(variants_.below(3) * 0x407), flags,
                       &parameters, wants_result ? result.get() : nullptr, &exception, &culprit);
    }
    if (crossing_ && was_not_carried(answer)) return;
    check(is_known(answer), "an answer that nobody knows", answer, name.c_str());
    check(before.empty() ||
              std::memcmp(before.data(), arguments.data(), before.size() * sizeof(VARIANTARG)) == 0,
          "an argument was changed", answer, name.c_str());
    if (answer == DISP_E_EXCEPTION) {
      check(FAILED(exception.scode) && SysStringLen(exception.bstrSource) > 0 &&
                SysStringLen(exception.bstrDescription) > 0,
            "an exception that says nothing", exception.scode, name.c_str());
      SysFreeString(exception.bstrSource);
      SysFreeString(exception.bstrDescription);
      SysFreeString(exception.bstrHelpFile);
    }
    if (FAILED(answer)) {
      check(owns_nothing(*result.get()), "a result of what failed", result->vt, name.c_str());
      return;
    }
    if (id == member.id && wants_result) take(member, *result.get(), flags, parameters.cArgs);
  }

  void take(const Member& member, VARIANT& result, WORD flags, UINT given) {
    const bool sets = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    const bool hands_on = member.arguments.empty() && given > 0;
    if (sets || hands_on) return;
    VARTYPE wanted = type_of_result(member);
    // What the plain collections hold, and Empty for an unreadable record.
    if (member.result.kind == Kind::kEmpty && result.vt == VT_DISPATCH) wanted = VT_DISPATCH;
    check(result.vt == wanted, "a result of another type", result.vt,
          std::string(member.name).c_str());
    if (result.vt == VT_UNKNOWN && result.punkVal != nullptr) {
      check(SUCCEEDED(result.punkVal->QueryInterface(IID_PPV_ARGS(&walk_))), "an enumerator");
    }
    if (result.vt != VT_DISPATCH || result.pdispVal == nullptr) return;
    if (member.result.kind == Kind::kCollection) add(result.pdispVal, members_of_collections());
    if (member.result.kind == Kind::kObject) {
      add(result.pdispVal, automation::class_of(member.result.class_id).members);
    }
  }

  MadeUpVariants variants_;
  bool crossing_;
  std::vector<ComPtr<IDispatch>> objects_;
  std::vector<Members> members_;
  ComPtr<IEnumVARIANT> walk_;
  std::size_t call_ = 0;
  std::string found_;
};

/// Connects `server`, so that calls have something to read and to write.
void connect(Player& player, IDispatch& server, const EmbeddedDatabase& database) {
  ComPtr<::_Server> early;
  player.check(SUCCEEDED(server.QueryInterface(IID_PPV_ARGS(&early))), "a Server");
  BSTR texts[3]{automation::com::to_bstr(database.connection_string()),
                automation::com::to_bstr(EmbeddedDatabase::kRole),
                automation::com::to_bstr(EmbeddedDatabase::kPassword)};
  VARIANT_BOOL connected = VARIANT_FALSE;
  VARIANT_BOOL loaded = VARIANT_FALSE;
  early->SetConnection(texts[0], texts[1], texts[2], &connected);
  early->Refresh(&loaded);
  for (BSTR each : texts) SysFreeString(each);
  player.check(connected != VARIANT_FALSE && loaded != VARIANT_FALSE, "to connect");
}

/// A database with a row of each kind.
void fill(const EmbeddedDatabase& database) {
  database.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  database.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
      "VALUES ('MAC', 'PC-1', 1, 5, 1, 1)");
  database.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
}

/// The folder where texts that are taken for names of files lead, as long as this lives.
class WorkingFolder {
 public:
  WorkingFolder() { std::filesystem::current_path(folder_.path()); }
  ~WorkingFolder() { std::filesystem::current_path(before_); }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;
  [[nodiscard]] const std::filesystem::path& path() const { return folder_.path(); }

 private:
  std::filesystem::path before_ = std::filesystem::current_path();
  TemporaryFolder folder_;
};

}  // namespace

std::string play_variants(std::uint32_t seed, std::size_t calls) {
  const WorkingFolder folder;
  EmbeddedDatabase database;
  fill(database);
  platform::UnattendedMessageBox box{platform::WhenLocked{platform::WhenLocked::Kind::kCancel},
                                     [](TextView) {}};
  platform::WindowsHost host{box, folder.path()};
  sqlite::SqliteEngine engine;
  SharedState state{host, {&engine}};
  const automation::com::TypeLibrary types(platform::executable_file_name());
  automation::com::ProcessLife life(GetCurrentThreadId());
  const automation::Events events([](const automation::Event&) {});
  automation::com::Apartment apartment(state, types, life, events);
  std::string found;
  {
    Player player(seed, false);
    try {
      const auto table = automation::com::class_table();
      for (std::size_t i = 0; i < table.size(); ++i) {
        ComPtr<IDispatch> object;
        player.check(SUCCEEDED(table[i].create(apartment).As(&object)), "an object");
        player.add(object, members_of_entry(i));
        if (i == 0) connect(player, *object.Get(), database);
      }
      player.play(calls);
    } catch (const Failure&) {
      return player.found();
    }
  }
  // No client is left.
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
  }
  if (!life.idle()) found = "objects are left";
  return found;
}

std::string play_variants_across(std::uint32_t seed, std::size_t calls) {
  EmbeddedDatabase database;
  fill(database);
  Player player(seed, true);
  try {
    const auto table = automation::com::class_table();
    for (std::size_t i = 0; i < table.size(); ++i) {
      ComPtr<IDispatch> object;
      player.check(SUCCEEDED(CoCreateInstance(table[i].clsid, nullptr, CLSCTX_LOCAL_SERVER,
                                              IID_PPV_ARGS(&object))),
                   "an object");
      player.add(object, members_of_entry(i));
      if (i == 0) connect(player, *object.Get(), database);
    }
    player.play(calls);
  } catch (const Failure&) {
    return player.found();
  }
  return {};
}

}  // namespace tarnwick::test_support
