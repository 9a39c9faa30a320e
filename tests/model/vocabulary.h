#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::model {

// What the numbers of a step choose from. Both the reference model and the system are given these
// words; neither makes them up. Few, so that steps meet on the same rows.

inline constexpr int kProcesses = 2;
inline constexpr int kServers = 2;  // of a process
inline constexpr int kPlaces = 3;   // for records, of a process
inline constexpr int kKinds = 3;

template <class List>
[[nodiscard]] constexpr const auto& chosen(const List& list, int number) {
  return list[static_cast<std::size_t>(number) % list.size()];
}

struct PcName {
  const char* mac;
  const char* computer;
  std::int16_t component;
};

inline constexpr std::array<std::int16_t, 4> kComponentIds{1, 2, 3, -4};
inline constexpr std::array<PcName, 6> kPcNames{{{"02-A", "DESK", 1},
                                                 {"02-a", "desk", 1},
                                                 {"02-B", "DESK", 2},
                                                 {"02-A", "LAP", 1},
                                                 {"", "DESK", 1},
                                                 {"02-A", "Joe's", 1}}};
inline constexpr std::array<const char*, 8> kReportNames{
    "Orders", "ORDERS", "Sales", "Stock", "", "Joe's", "Übersicht", "übersicht"};
inline constexpr std::array<const char*, 4> kTexts{"", "one", "One", "zwölf"};
inline constexpr std::array<const char*, 4> kMetaIds{"abc", "ABC", "", "xyz"};
inline constexpr std::array<const char*, 4> kTtxTexts{"", "a\tString\r\n", "Größe", "Łódź"};
inline constexpr std::array<std::int16_t, 4> kSmallNumbers{0, 1, 7, -3};
inline constexpr std::array<double, 3> kDates{0.0, 45284.5, 2.25};

/// The stamp of a row that is maintained, and the present.
inline constexpr std::string_view kStamp = "DESK-1 - 12/24/2023 6:05:09 PM";
inline constexpr double kNow = 45284.0 + 65109.0 / 86400.0;

/// Files that both sides find in the folder of payloads; the last two are not there, the last one
/// has no folder either.
struct File {
  const char* name;
  const char* bytes;  // null: not there
};
inline constexpr std::array<File, 5> kFiles{{{"", nullptr},
                                             {"fields.txt", "x\xE9y\tNumber\r\n"},
                                             {"report.rpt", "\x01\x02\xFF report"},
                                             {"missing.rpt", nullptr},
                                             {"nowhere/missing.rpt", nullptr}}};

/// The properties that clients set, with what they are set to: the words of `values`, or of another
/// list where that is null.
struct Setting {
  const char* property;
  std::array<const char*, 4> texts;  // of a text; all null for the other types
};
inline constexpr std::array<const char*, 4> kNoTexts{};
inline constexpr std::array<Setting, 9> kPcSettings{{{"MACNumber", {"02-A", "02-a", "02-B", ""}},
                                                     {"ComputerID", {"DESK", "desk", "LAP", ""}},
                                                     {"CompID", kNoTexts},
                                                     {"Active", kNoTexts},
                                                     {"ImageIndex", kNoTexts},
                                                     {"LastUser", kTexts},
                                                     {"LastLogin", kNoTexts},
                                                     {"TotalLogins", kNoTexts},
                                                     {"DeActivatedBy", kTexts}}};
inline constexpr std::array<Setting, 8> kReportSettings{
    {{"Name", {"Orders", "ORDERS", "übersicht", ""}},
     {"Title", kTexts},
     {"Created", kNoTexts},
     {"Version", kTexts},
     {"ImageIndex", kNoTexts},
     {"ReportType", kNoTexts},
     {"TTX", kTtxTexts},
     {"Definition", kTexts}}};

/// The number of the error of a text that ISO-8859-1 does not have.
inline constexpr std::int32_t kUnstorableNumber = 3421;

/// What a column is spoilt with, as SQL.
struct Spoiling {
  const char* column;
  const char* sql;
};
inline constexpr std::array<std::array<Spoiling, 4>, kKinds> kSpoilings{{
    {{{"ImageIndex", "'oops'"},
      {"ParentID", "NULL"},
      {"Priority", "99999"},
      {"ForceDisplay", "'oops'"}}},
    {{{"ImageIndex", "'oops'"},
      {"LastLogin", "NULL"},
      {"TotalLogins", "'oops'"},
      {"ActiveStatus", "'oops'"}}},
    {{{"ImageIndex", "99999"}, {"Author", "NULL"}, {"Created", "'oops'"}, {"TTX_Binary", "NULL"}}},
}};

}  // namespace tarnwick::model
