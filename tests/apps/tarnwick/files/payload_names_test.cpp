#include "apps/tarnwick/files/payload_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;

std::string name_of(TextView report) { return payload_names({Text(report)}).front(); }

TEST(PayloadNames, AreTheWordsOfPlainNames) {
  EXPECT_THAT(payload_names({u"Sales by Region", u"Q4", u"2024 Budget"}),
              ElementsAre("sales-by-region", "q4", "2024-budget"));
}

TEST(PayloadNames, AreNotTakenForDevicesThatThereAreNot) {
  EXPECT_THAT(payload_names({u"Comx", u"Lpt A", u"Com10", u"Lptz"}),
              ElementsAre("comx", "lpt-a", "com10", "lptz"));
}

TEST(PayloadNames, AreSafeOnEveryFileSystem) {
  std::set<std::string> names;
  for (const TextView report : {u"../../etc/passwd",
                                u"/",
                                u".",
                                u"..",
                                u"",
                                u" ",
                                u"a/b",
                                u"a\\b",
                                u"a:b",
                                u"a*b?",
                                u"CON",
                                u"nul",
                                u"Com1",
                                u"LPT9",
                                u"a.",
                                u"a ",
                                u"Größe",
                                u"日本語",
                                u"\xD800",
                                u"a\nb",
                                u"-a-",
                                u"O'Brien",
                                u"tab\t",
                                u"a-b"}) {
    const std::string name = name_of(report);
    EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"), std::string::npos)
        << name;
    EXPECT_GE(name.size(), 10u) << "a number stands behind it";
    EXPECT_FALSE(name.starts_with('-'));
    EXPECT_TRUE(names.insert(name).second) << name;
  }
}

TEST(PayloadNames, AreNotTooLongForAFileSystem) {
  const Text report(500, u'x');
  EXPECT_LE(name_of(report).size(), 80u);
  EXPECT_NE(name_of(report), name_of(report + u"y"));
}

TEST(PayloadNames, AreTheSameWhateverOtherReportsThereAre) {
  const std::vector<std::string> both = payload_names({u"A B", u"A  B", u"A.B"});
  EXPECT_EQ(both[0], "a-b");
  EXPECT_EQ(both[1], name_of(u"A  B"));
  EXPECT_EQ(both[2], name_of(u"A.B"));
  EXPECT_NE(both[1], both[2]);
  // The same on every machine.
  EXPECT_EQ(name_of(u"O'Brien"), "o-brien-60ac0587");
}

TEST(PayloadNames, TellTwoReportsApartWhoseNamesWouldBeTheSame) {
  const auto names = payload_names({u"O'Brien", u"o brien 60ac0587"});
  EXPECT_EQ(names[0], "o-brien-60ac0587");
  EXPECT_EQ(names[1], names[0] + "-2");
}

}  // namespace
}  // namespace tarnwick::cli
