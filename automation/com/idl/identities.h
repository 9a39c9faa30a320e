#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "automation/model.h"

namespace tarnwick::automation::com {

// What COM knows of the object model beyond its tables. Clients were built against the identifiers.

struct EnumerationIdentity {
  std::string_view uuid;
  std::string_view help;
};

[[nodiscard]] constexpr EnumerationIdentity identity_of(EnumerationId id) {
  constexpr std::array<EnumerationIdentity, 6> kAll{{
      {"5EFBC1AD-20E7-4DA2-862C-B98392AA0EA7", "The result of every Update."},
      {"6D6D3BB8-9591-4F28-BC8A-8771DE4BB2F3",
       "Which kind of record maintenance a record stands for."},
      {"557F4C4E-3AA8-43BA-8882-5AB08CDF964F", "What kind of report a component produces."},
      {"8820F802-6DF8-4DA6-8C7A-8410B5B5C670", "What kind of report a report is."},
      {"DDE155CD-123E-412C-81A9-A8F2BE79FC0E", "What kind of failure it was."},
      {"EB244863-C7CE-4011-82ED-85CFC7A6E43C", "What a look at the row of a record found."},
  }};
  return kAll[static_cast<std::size_t>(id)];
}

/// Of a dual interface and the class that has it.
struct ClassIdentity {
  std::string_view interface_uuid;
  std::string_view class_uuid;  // empty where clients cannot create objects
  std::string_view help;
};

[[nodiscard]] constexpr ClassIdentity identity_of(ClassId id) {
  constexpr std::array<ClassIdentity, kClassCount> kAll{{
      {"27B2313B-90E0-43C7-8AE7-32D192631471", "FB2623F0-5168-46F1-A88D-A9939A1C8993",
       "The root object: the connection and the three collections."},
      {"DD5BFDBA-54E0-428F-9FC3-B9454BE73CC3", "3327D6F3-7DBF-45D5-BC0C-8C433999880C",
       "All components."},
      {"8FA0202D-B50D-44D4-A7DC-F6DB17F3E264", "50F4F985-D61D-4948-A187-2E1EFDDE6FD6",
       "One entry in the tree of components."},
      {"BD9D9E74-47AE-48A7-8A1A-3B6478C76435", "D6E6B339-A8B8-4D75-973D-FD18D7CECD91",
       "The register of all PCs."},
      {"73B48E25-B46A-414A-86F5-50CE1EF90EFF", "920CEA3B-BF65-42F7-9DBE-0508E0408FB7",
       "A PC as it uses one component."},
      {"A4E07552-81E7-4831-BA0E-7F78422F0011", "C25D739F-166B-4F6D-920B-D0726D5294EC",
       "The catalog of all reports."},
      {"E64A90AB-D14E-4736-9460-AC76A192E3D0", "A17920E8-0853-47D9-9B76-EF20617FD119",
       "A report of the catalog."},
  }};
  return kAll[static_cast<std::size_t>(id)];
}

inline constexpr ClassIdentity kCollectionIdentity{
    "320B3851-C2AA-46E4-9C21-0F3AEC346046", "",
    "Objects under their keys, as a member returned them."};

inline constexpr ClassIdentity kLastCauseIdentity{
    "A50B127C-4079-423E-A819-E92406846498", "8C89569A-CE89-4ABD-8055-B45C9B8A5D77",
    "Why the calling thread's last call that failed did so."};

inline constexpr ClassIdentity kRowsIdentity{"10AD1CC0-6290-4D1D-8222-F82D7E595CD4",
                                             "C8397B62-6A51-4374-AD33-99BFD3651FA4",
                                             "Rows in one go, and what asks the tables directly."};

}  // namespace tarnwick::automation::com
