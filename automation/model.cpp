#include "automation/model.h"

#include <algorithm>
#include <array>
#include <string>

#include "ado/error.h"
#include "automation/members.h"
#include "runtime/case_mapping.h"
#include "runtime/error.h"
#include "state/enums.h"

namespace tarnwick::automation {
namespace {

template <class T>
Object create(SharedState& state) {
  return {kClassOf<T>, std::make_shared<T>(state)};
}

template <class T>
UpdateErrorEnum insert_row(void* instance, TextView full_report_name) {
  T& record = *static_cast<T*>(instance);
  if constexpr (std::same_as<T, Report>) {
    return record.insert(full_report_name);
  } else {
    if (!full_report_name.empty()) throw Error(ErrorNumber::kInvalidProcedureCall);
    return record.insert();
  }
}

template <class T>
Look look_at(void* instance) {
  return static_cast<T*>(instance)->look();
}

template <class T>
Class make_class() {
  Class made{kClassOf<T>, MembersOf<T>::kName, members_of<T>(), create<T>};
  if constexpr (std::derived_from<T, RecordObject>) {
    made.insert = insert_row<T>;
    made.look = look_at<T>;
  }
  return made;
}

constexpr std::array kUpdateErrors{
    Enumerand{"OK_ue", OK_ue},
    Enumerand{"Error_ue", Error_ue},
    Enumerand{"MissRequiredField_ue", MissRequiredField_ue},
    Enumerand{"MissReportFile_ue", MissReportFile_ue},
    Enumerand{"Locked_ue", Locked_ue},
    Enumerand{"RecordChanged_ue", RecordChanged_ue},
};
constexpr std::array kMaintTypes{
    Enumerand{"NotDefined_mt", NotDefined_mt},
    Enumerand{"ServerReg_mt", ServerReg_mt},
    Enumerand{"Component_mt", Component_mt},
    Enumerand{"ComponentWithPCs_mt", ComponentWithPCs_mt},
    Enumerand{"Report_mt", Report_mt},
    Enumerand{"PCReg_mt", PCReg_mt},
};
constexpr std::array kReportCodes{
    Enumerand{"None_rc", None_rc},
    Enumerand{"PCs_rc", PCs_rc},
    Enumerand{"PCAll_rc", PCAll_rc},
    Enumerand{"CrystalRpts_rc", CrystalRpts_rc},
};
constexpr std::array kReportTypes{
    Enumerand{"None_rt", None_rt},
    Enumerand{"CrystalReport_rt", CrystalReport_rt},
};
constexpr Enumerand failure_kind(std::string_view name, ado::FailureKind kind) {
  return {name, static_cast<std::int32_t>(kind)};
}
constexpr std::array kFailureKinds{
    failure_kind("None_fk", ado::FailureKind::kNone),
    failure_kind("Other_fk", ado::FailureKind::kOther),
    failure_kind("LockTimeout_fk", ado::FailureKind::kLockTimeout),
    failure_kind("Deadlock_fk", ado::FailureKind::kDeadlock),
    failure_kind("ConnectionLost_fk", ado::FailureKind::kConnectionLost),
    failure_kind("DiskFull_fk", ado::FailureKind::kDiskFull),
    failure_kind("Timeout_fk", ado::FailureKind::kTimeout),
    failure_kind("Changed_fk", ado::FailureKind::kChanged),
    failure_kind("Refused_fk", ado::FailureKind::kRefused),
};
constexpr std::array kLookOutcomes{
    Enumerand{"Missing_lo", static_cast<std::int32_t>(LookOutcome::kMissing)},
    Enumerand{"Loaded_lo", static_cast<std::int32_t>(LookOutcome::kLoaded)},
    Enumerand{"Held_lo", static_cast<std::int32_t>(LookOutcome::kHeld)},
    Enumerand{"Failed_lo", static_cast<std::int32_t>(LookOutcome::kFailed)},
};
constexpr std::array kEnumerations{
    Enumeration{EnumerationId::kUpdateError, "UpdateErrorEnum", kUpdateErrors},
    Enumeration{EnumerationId::kMaintType, "MaintTypeEnum", kMaintTypes},
    Enumeration{EnumerationId::kReportCode, "ReportCodeEnum", kReportCodes},
    Enumeration{EnumerationId::kReportTypes, "ReportTypesEnum", kReportTypes},
    Enumeration{EnumerationId::kFailureKind, "FailureKindEnum", kFailureKinds},
    Enumeration{EnumerationId::kLookOutcome, "LookOutcomeEnum", kLookOutcomes},
};

constexpr std::int32_t kArgumentNotOptional = 449;
constexpr std::int32_t kWrongNumberOfArguments = 450;

Value run(Member::Call function, const Object& object, std::span<const Value> arguments) {
  try {
    return function(object.instance.get(), arguments);
  } catch (const std::bad_variant_access&) {
    throw Error(ErrorNumber::kTypeMismatch);
  }
}

}  // namespace

std::span<const Class> classes() {
  static const auto all = []<class... T>(std::type_identity<std::tuple<T...>>) {
    return std::array{make_class<T>()...};
  }(std::type_identity<ClassTypes>());
  return all;
}

const Class& class_of(ClassId id) { return classes()[static_cast<std::size_t>(id)]; }

const Class* find_class(TextView name) {
  constexpr TextView kLibrary = u"Tarnwick.";
  if (equals_ignoring_case(name.substr(0, kLibrary.size()), kLibrary)) {
    name.remove_prefix(kLibrary.size());
  }
  const auto found = std::ranges::find_if(classes(), [&](const Class& candidate) {
    return equals_ignoring_case(name, from_utf8(candidate.name));
  });
  return found == classes().end() ? nullptr : &*found;
}

const Member* find_member(const Class& of, std::string_view name) {
  const auto found = std::ranges::find(of.members, name, &Member::name);
  return found == of.members.end() ? nullptr : &*found;
}

bool is_property(const Member& member) {
  return member.access != Member::Access::kMethod && member.arguments.empty() &&
         member.result.kind != Kind::kCollection && member.result.kind != Kind::kEnumerator;
}

const Enumeration& enumeration_of(EnumerationId id) {
  return kEnumerations[static_cast<std::size_t>(id)];
}

std::vector<Value> with_defaults(const Member& member, std::span<const Value> arguments) {
  const std::size_t wanted = member.arguments.size();
  if (arguments.size() > wanted) {
    throw Error(kWrongNumberOfArguments,
                u"Wrong number of arguments or invalid property assignment");
  }
  std::vector<Value> all(arguments.begin(), arguments.end());
  while (all.size() < wanted) {
    const Argument& argument = member.arguments[all.size()];
    if (!argument.default_value) throw Error(kArgumentNotOptional, u"Argument not optional");
    all.push_back(*argument.default_value);
  }
  return all;
}

Value call(const Object& object, const Member& member, std::span<const Value> arguments) {
  if (arguments.size() == member.arguments.size()) return run(member.call, object, arguments);
  return run(member.call, object, with_defaults(member, arguments));
}

void let(const Object& object, const Member& member, const Value& value) {
  if (member.let == nullptr) throw Error(ErrorNumber::kInvalidProcedureCall);
  run(member.let, object, {&value, 1});
}

UpdateErrorEnum insert(const Object& record, TextView full_report_name) {
  return class_of(record.class_id).insert(record.instance.get(), full_report_name);
}

Look look(const Object& record) { return class_of(record.class_id).look(record.instance.get()); }

}  // namespace tarnwick::automation
