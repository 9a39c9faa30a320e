#include "automation/com/com.h"
#include "tests/client/transport_contract.h"

namespace tarnwick::client {
namespace {

// The registered server.
class OverCom final : public Reach {
 public:
  OverCom() { EXPECT_GE(CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0); }
  ~OverCom() override {
    transport_.reset();
    CoUninitialize();
  }
  Transport& transport() override { return *transport_; }

 private:
  std::unique_ptr<Transport> transport_ = make_com_transport();
};

INSTANTIATE_TEST_SUITE_P(COM, TransportContract, ::testing::Values(Way{"COM", &open<OverCom>}),
                         name_of);

}  // namespace
}  // namespace tarnwick::client
