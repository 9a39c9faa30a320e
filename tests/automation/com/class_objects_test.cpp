#include "automation/com/class_objects.h"

#include <gtest/gtest.h>

#include "platform/unattended_message_box.h"
#include "platform/windows/host.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick::automation::com {
namespace {

class ClassObjectOfTheServer : public ::testing::Test {
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

TEST_F(ClassObjectOfTheServer, KeepsTheProcessAsOftenAsItIsLocked) {
  EXPECT_EQ(factory_->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory_->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory_->LockServer(FALSE), S_OK);
  EXPECT_FALSE(life_.idle());
  EXPECT_EQ(factory_->LockServer(FALSE), S_OK);
  EXPECT_TRUE(life_.idle());
}

// Otherwise a client that unlocks too often would end the process under all others.
TEST_F(ClassObjectOfTheServer, IsNotUnlockedMoreOftenThanItWasLocked) {
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

TEST_F(ClassObjectOfTheServer, MakesNoPartsOfOtherObjects) {
  ComPtr<IUnknown> outer;
  ASSERT_EQ(factory_->CreateInstance(nullptr, IID_PPV_ARGS(&outer)), S_OK);
  void* made = outer.Get();
  EXPECT_EQ(factory_->CreateInstance(outer.Get(), IID_IUnknown, &made), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(factory_->CreateInstance(nullptr, IID_IStream, &made), E_NOINTERFACE);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(factory_->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

}  // namespace
}  // namespace tarnwick::automation::com
