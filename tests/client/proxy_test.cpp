#include "client/proxy.h"

namespace tarnwick::client {
namespace {

// A name that no table knows, and a member that is of another kind, are refused when a program is
// built.
static_assert(HasMethod<RegisteredPC, "Update">);
static_assert(!HasMethod<RegisteredPC, "Updat">);
static_assert(!HasMethod<RegisteredPC, "ImportTTX">);
static_assert(!HasMethod<RegisteredPC, "LastUser">);
static_assert(HasMethod<Components, "Item">);
static_assert(HasProperty<RegisteredPC, "LastUser">);
static_assert(!HasProperty<RegisteredPC, "Update">);
static_assert(HasSetter<RegisteredPC, "LastUser">);
static_assert(!HasSetter<RegisteredPC, "RowVersion">);
static_assert(!HasSetter<Component, "Name">);

template <class T, Name kName>
concept CanCall = requires(const Proxy<T>& proxy) {
  proxy.template call<kName>();
};
template <class T, Name kName>
concept CanGet = requires(const Proxy<T>& proxy) {
  proxy.template get<kName>();
};

static_assert(CanCall<Server, "Refresh">);
static_assert(!CanCall<Server, "refresh">);
static_assert(CanGet<Server, "Components">);
static_assert(!CanGet<Server, "Component">);

// What comes back is what the table says.
template <class T, Name kName>
using Got = decltype(std::declval<const Proxy<T>&>().template get<kName>());
static_assert(std::is_same_v<Got<Server, "Components">, Proxy<Components>>);
static_assert(std::is_same_v<Got<Component, "PCs">, std::vector<Proxy<RegisteredPC>>>);
static_assert(std::is_same_v<Got<Report, "Created">, Date>);
static_assert(std::is_same_v<Got<Component, "ReportCode">, ReportCodeEnum>);

}  // namespace
}  // namespace tarnwick::client
