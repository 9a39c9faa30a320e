#include "automation/com/type_library.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "automation/com/class_table.h"
#include "automation/com/errors.h"
#include "automation/com/values.h"
#include "automation/model.h"
#include "platform/windows/host.h"
#include "platform/windows/wide.h"

namespace tarnwick::automation::com {
namespace {

constexpr UINT kDispatchMethods = 7;  // of IUnknown and IDispatch

std::string take(BSTR string) {
  const std::string text = to_utf8(com::text_of(string));
  SysFreeString(string);
  return text;
}

std::string name_of(ITypeInfo& info) {
  BSTR name = nullptr;
  EXPECT_EQ(info.GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr), S_OK);
  return take(name);
}

/// A type as interface descriptions spell it: "BSTR", "_Component*", "MaintTypeEnum".
std::string spelling(ITypeInfo& info, const TYPEDESC& type) {
  switch (type.vt) {
    case VT_BSTR:
      return "BSTR";
    case VT_BOOL:
      return "VARIANT_BOOL";
    case VT_I2:
      return "short";
    case VT_I4:
      return "long";
    case VT_DATE:
      return "DATE";
    case VT_VARIANT:
      return "VARIANT";
    case VT_UNKNOWN:
      return "IUnknown*";
    case VT_DISPATCH:
      return "IDispatch*";
    case VT_PTR:
      return spelling(info, *type.lptdesc) + "*";
    case VT_USERDEFINED: {
      ComPtr<ITypeInfo> other;
      EXPECT_EQ(info.GetRefTypeInfo(type.hreftype, &other), S_OK);
      return name_of(*other.Get());
    }
    default:
      return "type " + std::to_string(type.vt);
  }
}

std::string expected_spelling(const Type& type) {
  switch (type.kind) {
    case Kind::kText:
      return "BSTR";
    case Kind::kBoolean:
      return "VARIANT_BOOL";
    case Kind::kInt16:
      return "short";
    case Kind::kInt32:
      return "long";
    case Kind::kEnumeration:
      return std::string(enumeration_of(type.enumeration).name);
    case Kind::kDate:
      return "DATE";
    case Kind::kObject:
      return "_" + std::string(class_of(type.class_id).name) + "*";
    case Kind::kKeyOrPosition:
    case Kind::kEmpty:
    case Kind::kValues:
      return "VARIANT";
    case Kind::kCollection:
      return "_Collection*";
    case Kind::kEnumerator:
      return "IUnknown*";
    case Kind::kAnyObject:
      return "IDispatch*";
    case Kind::kNothing:
      break;
  }
  return {};
}

/// One line per slot of a dual interface behind IDispatch.
std::vector<std::string> slots_in_library(const TypeLibrary& library, const IID& iid) {
  const ComPtr<ITypeInfo> dispatch = library.type_info(iid);
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
  EXPECT_EQ(dispatch->GetRefTypeInfo(reference, &info), S_OK);
  TYPEATTR* attributes = nullptr;
  EXPECT_EQ(info->GetTypeAttr(&attributes), S_OK);
  constexpr int kDual = TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION;
  EXPECT_EQ(attributes->wTypeFlags & kDual, kDual);
  std::vector<std::string> slots;
  for (UINT i = 0; i < attributes->cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    EXPECT_EQ(info->GetFuncDesc(i, &function), S_OK);
    EXPECT_EQ(function->oVft, static_cast<SHORT>((kDispatchMethods + i) * sizeof(void*)));
    std::vector<BSTR> names(static_cast<std::size_t>(function->cParams) + 1);
    UINT named = 0;
    EXPECT_EQ(
        info->GetNames(function->memid, names.data(), static_cast<UINT>(names.size()), &named),
        S_OK);
    std::string line = function->invkind == INVOKE_PROPERTYGET   ? "get "
                       : function->invkind == INVOKE_PROPERTYPUT ? "let "
                                                                 : "";
    line += std::to_string(function->memid) + " " + take(names[0]) + "(";
    for (SHORT p = 0; p < function->cParams; ++p) {
      const ELEMDESC& parameter = function->lprgelemdescParam[p];
      const USHORT flags = parameter.paramdesc.wParamFlags;
      if ((flags & PARAMFLAG_FRETVAL) != 0) {
        line += ") " + spelling(*info.Get(), *parameter.tdesc.lptdesc);
        continue;
      }
      if (p > 0) line += ", ";
      line += spelling(*info.Get(), parameter.tdesc);
      if (function->invkind != INVOKE_PROPERTYPUT) {
        line += " " + take(names[static_cast<std::size_t>(p) + 1]);
      }
      if ((flags & PARAMFLAG_FOPT) != 0) line += " optional";
      if ((flags & PARAMFLAG_FHASDEFAULT) != 0) {
        const VARIANT& value = parameter.paramdesc.pparamdescex->varDefaultValue;
        line += "=" + (value.vt == VT_BSTR ? "\"" + to_utf8(com::text_of(value.bstrVal)) + "\""
                       : value.vt == VT_I4 ? std::to_string(value.lVal)
                                           : std::to_string(value.iVal));
      }
    }
    if (function->invkind == INVOKE_PROPERTYPUT) line += ")";
    if ((function->wFuncFlags & FUNCFLAG_FRESTRICTED) != 0) line += " restricted";
    if ((function->wFuncFlags & FUNCFLAG_FHIDDEN) != 0) line += " hidden";
    slots.push_back(line);
    info->ReleaseFuncDesc(function);
  }
  info->ReleaseTypeAttr(attributes);
  return slots;
}

std::string spelled_default(const Value& value) {
  return std::visit(
      []<class T>(const T& held) -> std::string {
        if constexpr (std::same_as<T, Text>) {
          return "=\"" + to_utf8(held) + "\"";
        } else if constexpr (std::same_as<T, bool>) {
          return held ? "=-1" : "=0";
        } else if constexpr (std::same_as<T, std::int16_t> || std::same_as<T, std::int32_t>) {
          return "=" + std::to_string(held);
        } else {
          // The compiler of interface descriptions cannot write a date; leaving it out means zero.
          return "";
        }
      },
      value);
}

std::vector<std::string> slots_in_table(const Class& of) {
  std::vector<std::string> slots;
  int position = 0;
  for (const Member& member : of.members) {
    ++position;
    const bool is_enumerator = member.result.kind == Kind::kEnumerator;
    const int id = member.is_default ? DISPID_VALUE : is_enumerator ? DISPID_NEWENUM : position;
    const std::string name = std::to_string(id) + " " + std::string(member.name) + "(";
    std::string line = (member.access == Member::Access::kMethod ? "" : "get ") + name;
    for (const Argument& argument : member.arguments) {
      if (&argument != member.arguments.data()) line += ", ";
      line += expected_spelling(argument.type) + " " + std::string(argument.name);
      if (argument.default_value) line += " optional" + spelled_default(*argument.default_value);
    }
    line += ") " + expected_spelling(member.result);
    if (is_enumerator) line += " restricted hidden";
    slots.push_back(line);
    if (member.access == Member::Access::kGetLet) {
      slots.push_back("let " + name + expected_spelling(member.result) + ")");
    }
  }
  return slots;
}

class TypeLibraryTest : public ::testing::Test {
 protected:
  TypeLibrary library_{platform::executable_file_name()};
};

TEST_F(TypeLibraryTest, HasTheMembersOfEveryClassInTheOrderOfItsTable) {
  for (std::size_t i = 0; i < kClassCount; ++i) {
    const Class& expected = class_of(static_cast<ClassId>(i));
    SCOPED_TRACE(expected.name);
    EXPECT_EQ(slots_in_library(library_, class_table()[i].interface_id), slots_in_table(expected));
  }
}

TEST_F(TypeLibraryTest, NamesTheClassesOfTheTablesAndTheOthersBehindThem) {
  ASSERT_EQ(class_table().size(), kClassCount + 2);
  for (std::size_t i = 0; i < kClassCount; ++i) {
    EXPECT_EQ(class_table()[i].name,
              platform::to_wide(from_utf8(class_of(static_cast<ClassId>(i)).name)));
  }
  EXPECT_STREQ(class_table()[kClassCount].name, L"LastCause");
  EXPECT_STREQ(class_table()[kClassCount + 1].name, L"Rows");
}

TEST_F(TypeLibraryTest, HasACreatableClassWithItsDefaultInterfaceForEveryClass) {
  for (const ClassEntry& entry : class_table()) {
    const ComPtr<ITypeInfo> info = library_.type_info(entry.clsid);
    const std::string name = to_utf8(platform::from_wide(entry.name));
    EXPECT_EQ(name_of(*info.Get()), name);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
    EXPECT_NE(attributes->wTypeFlags & TYPEFLAG_FCANCREATE, 0);
    info->ReleaseTypeAttr(attributes);
    int flags = 0;
    ASSERT_EQ(info->GetImplTypeFlags(0, &flags), S_OK);
    EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> implemented;
    ASSERT_EQ(info->GetRefTypeOfImplType(0, &reference), S_OK);
    ASSERT_EQ(info->GetRefTypeInfo(reference, &implemented), S_OK);
    EXPECT_EQ(name_of(*implemented.Get()), "_" + name);
  }
}

/// The names and values of an enumeration of the library, in order.
std::vector<std::pair<std::string, int>> enumeration_in_library(const TypeLibrary& library,
                                                                std::string_view name) {
  std::vector<std::pair<std::string, int>> members;
  std::wstring wide = platform::to_wide(from_utf8(name));
  ComPtr<ITypeInfo> info;
  MEMBERID member = 0;
  USHORT found = 1;
  EXPECT_EQ(library.library().FindName(wide.data(), 0, &info, &member, &found), S_OK);
  if (found != 1) return members;
  TYPEATTR* attributes = nullptr;
  EXPECT_EQ(info->GetTypeAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->typekind, TKIND_ENUM);
  for (UINT i = 0; i < attributes->cVars; ++i) {
    VARDESC* variable = nullptr;
    EXPECT_EQ(info->GetVarDesc(i, &variable), S_OK);
    BSTR variable_name = nullptr;
    UINT count = 0;
    EXPECT_EQ(info->GetNames(variable->memid, &variable_name, 1, &count), S_OK);
    members.emplace_back(take(variable_name), variable->lpvarValue->lVal);
    info->ReleaseVarDesc(variable);
  }
  info->ReleaseTypeAttr(attributes);
  return members;
}

TEST_F(TypeLibraryTest, HasTheEnumerationsWithTheirNamesAndValues) {
  for (const EnumerationId id : {EnumerationId::kUpdateError, EnumerationId::kMaintType,
                                 EnumerationId::kReportCode, EnumerationId::kReportTypes}) {
    std::vector<std::pair<std::string, int>> expected;
    for (const Enumerand& member : enumeration_of(id).members) {
      expected.emplace_back(member.name, member.value);
    }
    EXPECT_EQ(enumeration_in_library(library_, enumeration_of(id).name), expected);
  }
}

TEST_F(TypeLibraryTest, DescribesTheLastCause) {
  const std::vector<std::string> expected{
      "get 1 Kind() FailureKindEnum",        "get 2 Number() long",
      "get 3 NativeNumber() long",           "get 4 NativeText() BSTR",
      "get 5 OutcomeUnknown() VARIANT_BOOL", "6 Clear("};
  EXPECT_EQ(slots_in_library(library_, __uuidof(::_LastCause)), expected);
  const std::vector<std::pair<std::string, int>> kinds{
      {"None_fk", 0},     {"Other_fk", 1},          {"LockTimeout_fk", 2},
      {"Deadlock_fk", 3}, {"ConnectionLost_fk", 4}, {"DiskFull_fk", 5},
      {"Timeout_fk", 6},  {"Changed_fk", 7},        {"Refused_fk", 8}};
  EXPECT_EQ(enumeration_in_library(library_, "FailureKindEnum"), kinds);
}

TEST_F(TypeLibraryTest, DescribesTheRows) {
  const std::vector<std::string> expected{
      "1 Insert(IDispatch* oRecord, BSTR sFullReportName optional=\"\") UpdateErrorEnum",
      "2 Look(IDispatch* oRecord) VARIANT",
      "3 FindPCs(BSTR sComputerOrMACNumber) VARIANT",
      "4 ReportFiles() VARIANT",
      "5 Properties(IDispatch* oRecordOrCollection) VARIANT",
      "6 Read(IDispatch* oRecord) VARIANT",
      "7 GetRows(IDispatch* oCollection, long lFirst, long lCount) VARIANT"};
  EXPECT_EQ(slots_in_library(library_, __uuidof(::_Rows)), expected);
  const std::vector<std::pair<std::string, int>> outcomes{
      {"Missing_lo", 0}, {"Loaded_lo", 1}, {"Held_lo", 2}, {"Failed_lo", 3}};
  EXPECT_EQ(enumeration_in_library(library_, "LookOutcomeEnum"), outcomes);
}

TEST_F(TypeLibraryTest, DescribesThePlainCollection) {
  const std::vector<std::string> expected{"get 0 Item(VARIANT vntIndexKey) VARIANT",
                                          "get 2 Count() long",
                                          "get -4 NewEnum() IUnknown* restricted hidden"};
  EXPECT_EQ(slots_in_library(library_, __uuidof(::_Collection)), expected);
}

TEST(TypeLibrary, OfAnExecutableWithoutOneCannotBeLoaded) {
  EXPECT_THROW(TypeLibrary("C:\\windows\\system32\\kernel32.dll"), Error);
}

}  // namespace
}  // namespace tarnwick::automation::com
