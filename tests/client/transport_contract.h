#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "client/proxy.h"
#include "client/record.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::client {

/// An open way to an object model of one's own.
class Reach {
 public:
  virtual ~Reach() = default;
  [[nodiscard]] virtual Transport& transport() = 0;
};

/// A kind of transport, for the cases that all of them pass.
struct Way {
  std::string name;
  std::unique_ptr<Reach> (*open)();
};

inline std::string name_of(const ::testing::TestParamInfo<Way>& way) { return way.param.name; }

template <class T>
std::unique_ptr<Reach> open() {
  return std::make_unique<T>();
}

/// A client of an object model that is connected to a fresh database.
class TransportContract : public ::testing::TestWithParam<Way> {
 protected:
  void SetUp() override;

  [[nodiscard]] Transport& transport() const { return reach_->transport(); }
  [[nodiscard]] Text message() const { return server_->get<"LastErrorMsg">(); }
  /// A PC that bears this much, in memory.
  [[nodiscard]] Record pc(TextView mac_number, std::int16_t comp_id = 7) const;
  /// The same, in the table.
  [[nodiscard]] Record stored_pc(TextView mac_number, std::int16_t comp_id = 7) const;

  test_support::EmbeddedDatabase database_;
  std::unique_ptr<Reach> reach_;
  std::unique_ptr<Proxy<Server>> server_;
};

}  // namespace tarnwick::client
