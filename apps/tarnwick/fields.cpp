#include "apps/tarnwick/fields.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "apps/tarnwick/failure.h"
#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

constexpr std::array kComponentFields{
    Field<ComponentRow>{"CompID", &ComponentRow::comp_id, "", "", true},
    Field<ComponentRow>{"Name", &ComponentRow::name, "--name", "what the tree shows"},
    Field<ComponentRow>{"ParentID", &ComponentRow::parent_id, "--parent",
                        "id of the component above, 0 at the top"},
    Field<ComponentRow>{"Priority", &ComponentRow::priority, "--priority",
                        "order among the siblings"},
    Field<ComponentRow>{"ImageIndex", &ComponentRow::image_index, "--image",
                        "picture in the tree; 0 is written as 1"},
    Field<ComponentRow>{"ForceDisplay", &ComponentRow::force_display, "--force-display",
                        "show it even where it would be hidden: yes or no"},
    Field<ComponentRow>{"MaintenanceType", &ComponentRow::maintenance_type, "--maintenance-type",
                        "NotDefined, ServerReg, Component, ComponentWithPCs, Report or PCReg"},
    Field<ComponentRow>{"SecurityGroup", &ComponentRow::security_group, "--security-group",
                        "the group that may use it"},
    Field<ComponentRow>{"ReportCode", &ComponentRow::report_code, "--report-code",
                        "PC, PCA, CRY or none"},
    Field<ComponentRow>{"ServerName", &ComponentRow::server_name, "--server",
                        "the server that it runs against"},
    Field<ComponentRow>{"MetaID", &ComponentRow::meta_id, ""},
    Field<ComponentRow>{"AuthorizedRole", &ComponentRow::authorized_role, ""},
    Field<ComponentRow>{"RowVersion", &ComponentRow::row_version, ""},
};

constexpr std::array kPcFields{
    Field<PcRow>{"MACNumber", &PcRow::mac_number, "", "", true},
    Field<PcRow>{"ComputerID", &PcRow::computer_id, "", "", true},
    Field<PcRow>{"CompID", &PcRow::comp_id, "", "", true},
    Field<PcRow>{"MaintenanceType", &PcRow::maintenance_type, "--maintenance-type",
                 "NotDefined, ServerReg, Component, ComponentWithPCs, Report or PCReg"},
    Field<PcRow>{"Active", &PcRow::active, "--active", "yes or no"},
    Field<PcRow>{"ImageIndex", &PcRow::image_index, "--image", "picture; 0 is written as 10"},
    Field<PcRow>{"LastUser", &PcRow::last_user, "--last-user", "who logged in last"},
    Field<PcRow>{"LastLogin", &PcRow::last_login, "--last-login", "when: yyyy-mm-dd [hh:mm:ss]"},
    Field<PcRow>{"TotalLogins", &PcRow::total_logins, "--total-logins", "how often"},
    Field<PcRow>{"ActivatedBy", &PcRow::activated_by, "--activated-by", "who let it in"},
    Field<PcRow>{"ActivateDate", &PcRow::activate_date, "--activate-date",
                 "when: yyyy-mm-dd [hh:mm:ss]"},
    Field<PcRow>{"DeActivatedBy", &PcRow::deactivated_by, "--deactivated-by", "who shut it out"},
    Field<PcRow>{"DeActivatedDate", &PcRow::deactivated_date, "--deactivated-date",
                 "when: yyyy-mm-dd [hh:mm:ss]"},
    Field<PcRow>{"SoftwareVersion", &PcRow::software_version, "--software-version",
                 "the version that it last ran"},
    Field<PcRow>{"SoftLock", &PcRow::soft_lock, ""},
    Field<PcRow>{"RowVersion", &PcRow::row_version, ""},
};

constexpr std::array kReportFields{
    Field<ReportRow>{"Name", &ReportRow::name, "", "", true},
    Field<ReportRow>{"Title", &ReportRow::title, "--title", "its heading"},
    Field<ReportRow>{"Author", &ReportRow::author, "--author", "who made it"},
    Field<ReportRow>{"Created", &ReportRow::created, "--created",
                     "when: yyyy-mm-dd [hh:mm:ss]; the present for a new report"},
    Field<ReportRow>{"Version", &ReportRow::version, "--report-version",
                     "its version; 1.0.0 for a new report"},
    Field<ReportRow>{"ReportGroupID", &ReportRow::report_group_id, "--group",
                     "the group that it is listed in"},
    Field<ReportRow>{"ImageIndex", &ReportRow::image_index, "--image", "picture in the catalog"},
    Field<ReportRow>{"SQL", &ReportRow::sql, "--sql", "the statement behind it"},
    Field<ReportRow>{"TTX", &ReportRow::ttx, ""},
    Field<ReportRow>{"ReportType", &ReportRow::report_type, "--type", "CRY or none"},
    Field<ReportRow>{"Description", &ReportRow::description, "--description", "what it tells"},
    Field<ReportRow>{"MaintenanceType", &ReportRow::maintenance_type, "--maintenance-type",
                     "NotDefined, ServerReg, Component, ComponentWithPCs, Report or PCReg"},
    Field<ReportRow>{"Definition", &ReportRow::definition, "--definition", "its definition"},
    Field<ReportRow>{"SoftLock", &ReportRow::soft_lock, ""},
    Field<ReportRow>{"RowVersion", &ReportRow::row_version, ""},
};

// The names of an enumeration's values; the value is the position.
template <class Enum>
constexpr std::array<std::string_view, 0> kNames{};
template <>
constexpr std::array<std::string_view, 6> kNames<MaintTypeEnum>{
    "NotDefined", "ServerReg", "Component", "ComponentWithPCs", "Report", "PCReg"};
template <>
constexpr std::array<std::string_view, 4> kNames<ReportCodeEnum>{"", "PC", "PCA", "CRY"};
template <>
constexpr std::array<std::string_view, 2> kNames<ReportTypesEnum>{"", "CRY"};

template <class Enum>
constexpr bool kIsEnum = std::is_enum_v<Enum>;

// A value that no name stands for is shown as its number.
template <class Enum>
std::optional<std::string_view> name_of(Enum value) {
  const auto index = static_cast<std::size_t>(value);
  if (value < 0 || index >= kNames<Enum>.size()) return std::nullopt;
  return kNames<Enum>[index];
}

bool same_word(std::string_view a, std::string_view b) {
  return equals_ignoring_case(from_stored_utf8(a), from_stored_utf8(b));
}

[[noreturn]] void refuse(std::string_view name, std::string_view text, std::string_view wanted) {
  throw Failure(ExitCode::kUsage, fmt::format("{}: '{}' is not {}.", name, text, wanted));
}

template <class Number>
Number parse_number(std::string_view name, std::string_view text) {
  Number number = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) {
    refuse(name, text,
           fmt::format("a whole number from {} to {}", std::numeric_limits<Number>::min(),
                       std::numeric_limits<Number>::max()));
  }
  return number;
}

template <class Enum>
Enum parse_enum(std::string_view name, std::string_view text) {
  const auto& names = kNames<Enum>;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (same_word(text, names[i]) || (names[i].empty() && same_word(text, "none"))) {
      return static_cast<Enum>(i);
    }
  }
  std::string wanted;
  for (const std::string_view known : names) {
    wanted += fmt::format("{}{}", wanted.empty() ? "one of " : ", ",
                          known.empty() ? std::string_view("none") : known);
  }
  refuse(name, text, wanted);
}

bool parse_bool(std::string_view name, std::string_view text) {
  for (const std::string_view word : {"yes", "true", "1"}) {
    if (same_word(text, word)) return true;
  }
  for (const std::string_view word : {"no", "false", "0"}) {
    if (same_word(text, word)) return false;
  }
  refuse(name, text, "yes or no");
}

Text parse_text(std::string_view name, std::string_view text) {
  try {
    return from_utf8(text);
  } catch (const Error&) {
    throw Failure(ExitCode::kUsage, fmt::format("{}: the text is not UTF-8.", name));
  }
}

Date parse_date(std::string_view name, std::string_view text) {
  try {
    return date_from_iso_text(from_stored_utf8(text));
  } catch (const Error&) {
    refuse(name, text, "a date of the form yyyy-mm-dd or yyyy-mm-dd hh:mm:ss");
  }
}

}  // namespace

std::span<const Field<ComponentRow>> fields_of(const ComponentRow&) { return kComponentFields; }
std::span<const Field<PcRow>> fields_of(const PcRow&) { return kPcFields; }
std::span<const Field<ReportRow>> fields_of(const ReportRow&) { return kReportFields; }

std::string display(const FieldValue& value) {
  return std::visit(
      []<class T>(const T& held) -> std::string {
        if constexpr (std::is_same_v<T, Text>) {
          return to_display_utf8(held);
        } else if constexpr (std::is_same_v<T, bool>) {
          return held ? "yes" : "no";
        } else if constexpr (std::is_same_v<T, Date>) {
          // A stored number may lie outside the calendar; it is shown as it is.
          return is_in_calendar(held) ? to_utf8(to_iso_text(held)) : fmt::format("{}", held.days);
        } else if constexpr (kIsEnum<T>) {
          const auto name = name_of(held);
          return name ? std::string(*name) : fmt::format("{}", static_cast<std::int32_t>(held));
        } else {
          return fmt::format("{}", held);
        }
      },
      value);
}

nlohmann::ordered_json to_json(const FieldValue& value) {
  return std::visit(
      [&]<class T>(const T& held) -> nlohmann::ordered_json {
        if constexpr (std::is_same_v<T, Date>) {
          if (held.is_zero()) return nullptr;
          return display(value);
        } else if constexpr (std::is_same_v<T, Text>) {
          return display(value);
        } else if constexpr (kIsEnum<T>) {
          if (name_of(held)) return display(value);
          return static_cast<std::int32_t>(held);
        } else {
          return held;
        }
      },
      value);
}

FieldValue parse(std::string_view name, std::string_view text, const FieldValue& like) {
  return std::visit(
      [&]<class T>(const T&) -> FieldValue {
        if constexpr (std::is_same_v<T, Text>) {
          return parse_text(name, text);
        } else if constexpr (std::is_same_v<T, bool>) {
          return parse_bool(name, text);
        } else if constexpr (std::is_same_v<T, Date>) {
          return parse_date(name, text);
        } else if constexpr (kIsEnum<T>) {
          return parse_enum<T>(name, text);
        } else {
          return parse_number<T>(name, text);
        }
      },
      like);
}

FieldValue from_json(std::string_view name, const nlohmann::ordered_json& json,
                     const FieldValue& like) {
  if (json == to_json(like)) return like;
  if (json.is_null() && std::holds_alternative<Date>(like)) return Date{};
  if (!json.is_string() && std::holds_alternative<Text>(like)) refuse(name, json.dump(), "a text");
  if (json.is_string()) return parse(name, json.get_ref<const std::string&>(), like);
  return parse(name, json.dump(), like);
}

template <class Row>
nlohmann::ordered_json row_to_json(const Row& row) {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  for (const auto& field : fields_of(row)) json[std::string(field.name)] = to_json(get(row, field));
  return json;
}

template nlohmann::ordered_json row_to_json(const ComponentRow&);
template nlohmann::ordered_json row_to_json(const PcRow&);
template nlohmann::ordered_json row_to_json(const ReportRow&);

}  // namespace tarnwick::cli
