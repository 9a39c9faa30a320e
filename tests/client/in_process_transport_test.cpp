#include "tests/client/transport_contract.h"
#include "tests/support/object_model.h"

namespace tarnwick::client {
namespace {

class InThisProcess final : public Reach {
 public:
  Transport& transport() override { return *transport_; }

 private:
  test_support::EmbeddedDatabase unused_;
  test_support::ServerProcess process_{unused_};
  std::unique_ptr<Transport> transport_ = make_in_process_transport(process_.state);
};

INSTANTIATE_TEST_SUITE_P(InProcess, TransportContract,
                         ::testing::Values(Way{"InProcess", &open<InThisProcess>}), name_of);

}  // namespace
}  // namespace tarnwick::client
