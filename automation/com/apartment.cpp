#include "automation/com/apartment.h"

#include "automation/com/component_object.h"
#include "automation/com/components_object.h"
#include "automation/com/registered_pc_object.h"
#include "automation/com/registered_pcs_object.h"
#include "automation/com/report_object.h"
#include "automation/com/reports_object.h"
#include "automation/com/server_object.h"

namespace tarnwick::automation::com {
namespace {

/// A new COM object with one reference.
IUnknown* make(Apartment& apartment, const Object& object) {
  switch (object.class_id) {
    case ClassId::kServer:
      return (new ServerObject(apartment, object))->identity();
    case ClassId::kComponents:
      return (new ComponentsObject(apartment, object))->identity();
    case ClassId::kComponent:
      return (new ComponentObject(apartment, object))->identity();
    case ClassId::kRegisteredPCs:
      return (new RegisteredPCsObject(apartment, object))->identity();
    case ClassId::kRegisteredPC:
      return (new RegisteredPCObject(apartment, object))->identity();
    case ClassId::kReports:
      return (new ReportsObject(apartment, object))->identity();
    case ClassId::kReport:
      return (new ReportObject(apartment, object))->identity();
  }
  throw Error(ErrorNumber::kInternalError);
}

}  // namespace

Apartment::Apartment(SharedState& state, const TypeLibrary& types, ProcessLife& life)
    : state_(state), types_(types), life_(life) {}

ComPtr<IUnknown> Apartment::reference_to(const Object& object) {
  const auto [entry, is_new] = living_.try_emplace(object.instance.get(), nullptr);
  if (!is_new) return entry->second;
  ComPtr<IUnknown> reference;
  try {
    reference = adopt(make(*this, object));
  } catch (...) {
    living_.erase(entry);
    throw;
  }
  entry->second = reference.Get();
  return reference;
}

}  // namespace tarnwick::automation::com
