#include "automation/com/class_table.h"

#include <array>

namespace tarnwick::automation::com {
namespace {

template <ClassId kClass>
ClassEntry entry() {
  using C = ComClass<kClass>;
  return {kClass, C::clsid(), __uuidof(typename C::Interface),
          C::kProgId + std::wstring_view(L"Tarnwick.").size(), C::kProgId};
}

}  // namespace

std::span<const ClassEntry> class_table() {
  static const std::array<ClassEntry, kClassCount> all{
      entry<ClassId::kServer>(),       entry<ClassId::kComponents>(),
      entry<ClassId::kComponent>(),    entry<ClassId::kRegisteredPCs>(),
      entry<ClassId::kRegisteredPC>(), entry<ClassId::kReports>(),
      entry<ClassId::kReport>()};
  return all;
}

}  // namespace tarnwick::automation::com
