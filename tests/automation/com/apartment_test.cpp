#include <gtest/gtest.h>

#include "automation/com/class_objects.h"
#include "platform/unattended_message_box.h"
#include "platform/windows/host.h"
#include "tests/automation/com/connected_client.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::automation::com {
namespace {

class ServerOfThisProcess : public ::testing::Test {
 protected:
  test_support::ComThread com_;
  platform::UnattendedMessageBox box_{platform::WhenLocked{}, [](TextView) {}};
  platform::WindowsHost host_{box_};
  SharedState state_{host_, {}};
  const TypeLibrary types_{platform::executable_file_name()};
  ProcessLife life_{GetCurrentThreadId()};
  const Events events_{[](const Event&) {}};
  Apartment apartment_{state_, types_, life_, events_};
  const ComPtr<IClassFactory> factory_ = new_class_object(apartment_, class_table().front());
};

TEST_F(ServerOfThisProcess, IsKeptAsOftenAsAClassObjectIsLocked) {
  EXPECT_EQ(factory_->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory_->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory_->LockServer(FALSE), S_OK);
  EXPECT_FALSE(life_.idle());
  EXPECT_EQ(factory_->LockServer(FALSE), S_OK);
  EXPECT_TRUE(life_.idle());
}

// Otherwise a client that unlocks too often would end the process under all others.
TEST_F(ServerOfThisProcess, IsNotUnlockedMoreOftenThanItWasLocked) {
  ComPtr<IUnknown> held;
  ASSERT_EQ(factory_->CreateInstance(nullptr, IID_PPV_ARGS(&held)), S_OK);
  EXPECT_EQ(factory_->LockServer(FALSE), E_UNEXPECTED);
  EXPECT_FALSE(life_.idle());
  EXPECT_EQ(factory_->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory_->LockServer(FALSE), S_OK);
  EXPECT_EQ(factory_->LockServer(FALSE), E_UNEXPECTED);
  EXPECT_FALSE(life_.idle());
  held.Reset();
  EXPECT_TRUE(life_.idle());
}

TEST_F(ServerOfThisProcess, MakesNoPartsOfOtherObjects) {
  ComPtr<IUnknown> outer;
  ASSERT_EQ(factory_->CreateInstance(nullptr, IID_PPV_ARGS(&outer)), S_OK);
  void* made = outer.Get();
  EXPECT_EQ(factory_->CreateInstance(outer.Get(), IID_IUnknown, &made), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(factory_->CreateInstance(nullptr, IID_IStream, &made), E_NOINTERFACE);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(factory_->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

// Another object may stand there next.
TEST_F(ServerOfThisProcess, KnowsAReferenceUntilItIsGivenUp) {
  const Object report = class_of(ClassId::kReport).create(state_);
  ComPtr<IUnknown> held = apartment_.reference_to(report);
  const IUnknown* const place = held.Get();
  EXPECT_EQ(apartment_.object_behind(place), report);
  EXPECT_EQ(apartment_.object_behind(nullptr), Object{});
  held.Reset();
  EXPECT_EQ(test_support::error_number_of([&] { return apartment_.object_behind(place); }),
            static_cast<std::int32_t>(ErrorNumber::kTypeMismatch));
}

}  // namespace
}  // namespace tarnwick::automation::com
