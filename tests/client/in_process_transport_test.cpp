#include "client/in_process_transport.h"

#include "tests/client/transport_contract.h"
#include "tests/support/object_model.h"

namespace tarnwick::client {
namespace {

class InThisProcess final : public Reach {
 public:
  Transport& transport() override { return transport_; }

 private:
  test_support::EmbeddedDatabase unused_;
  test_support::ServerProcess process_{unused_};
  InProcessTransport transport_{process_.state};
};

INSTANTIATE_TEST_SUITE_P(InProcess, TransportContract,
                         ::testing::Values(Way{"InProcess", &open<InThisProcess>}), name_of);

}  // namespace
}  // namespace tarnwick::client
