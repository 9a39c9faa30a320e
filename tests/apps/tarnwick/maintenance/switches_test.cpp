#include "apps/tarnwick/maintenance/switches.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> switches_of(automation::ClassId record_class) {
  std::vector<std::string> switches;
  for (const Attribute& attribute : client::attributes_of(record_class)) {
    if (const std::string name = switch_of(attribute); !name.empty()) switches.push_back(name);
  }
  return switches;
}

TEST(Switches, OfAComponentAreMadeOfItsPropertiesNames) {
  EXPECT_THAT(switches_of(automation::ClassId::kComponent),
              ElementsAre("--name", "--parent", "--priority", "--image", "--force-display",
                          "--maintenance-type", "--security-group", "--report-code", "--server"));
}

TEST(Switches, OfAPcAreMadeOfItsPropertiesNames) {
  EXPECT_THAT(switches_of(automation::ClassId::kRegisteredPC),
              ElementsAre("--maintenance-type", "--active", "--image", "--last-user",
                          "--last-login", "--total-logins", "--activated-by", "--activate-date",
                          "--deactivated-by", "--deactivated-date", "--software-version"));
}

TEST(Switches, OfAReportAreMadeOfItsPropertiesNames) {
  EXPECT_THAT(
      switches_of(automation::ClassId::kReport),
      ElementsAre("--title", "--author", "--created", "--report-version", "--group", "--image",
                  "--sql", "--type", "--description", "--maintenance-type", "--definition"));
}

}  // namespace
}  // namespace tarnwick::cli
