#include "automation/com/type_library.h"

#include "automation/com/errors.h"

namespace tarnwick::automation::com {

TypeLibrary::TypeLibrary(const std::filesystem::path& executable) {
  require(LoadTypeLibEx(executable.c_str(), REGKIND_NONE, &library_),
          u"The type library cannot be loaded");
}

ComPtr<ITypeInfo> TypeLibrary::type_info(const GUID& guid) const {
  ComPtr<ITypeInfo> info;
  require(library_->GetTypeInfoOfGuid(guid, &info), u"The type library lacks an interface");
  return info;
}

}  // namespace tarnwick::automation::com
