#include "automation/com/class_table.h"

#include <array>

#include "automation/com/other_objects.h"

namespace tarnwick::automation::com {
namespace {

template <ClassId kClass>
ComPtr<IUnknown> create(Apartment& apartment) {
  ComPtr<IUnknown> created;
  apartment.carry_out(
      [&] { created = apartment.reference_to(class_of(kClass).create(apartment.state())); });
  return created;
}

template <class C>
ClassEntry entry(ComPtr<IUnknown> (*create)(Apartment&)) {
  return {C::clsid(), __uuidof(typename C::Interface),
          C::kProgId + std::wstring_view(L"Tarnwick.").size(), C::kProgId, create};
}

template <ClassId kClass>
ClassEntry entry() {
  return entry<ComClass<kClass>>(create<kClass>);
}

}  // namespace

std::span<const ClassEntry> class_table() {
  static const std::array<ClassEntry, kComClassCount> all{
      entry<ClassId::kServer>(),       entry<ClassId::kComponents>(),
      entry<ClassId::kComponent>(),    entry<ClassId::kRegisteredPCs>(),
      entry<ClassId::kRegisteredPC>(), entry<ClassId::kReports>(),
      entry<ClassId::kReport>(),       entry<LastCauseClass>(new_last_cause),
      entry<RowsClass>(new_rows)};
  return all;
}

}  // namespace tarnwick::automation::com
