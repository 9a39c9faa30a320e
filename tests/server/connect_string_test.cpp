#include "server/connect_string.h"

#include <gtest/gtest.h>

namespace tarnwick {
namespace {

TEST(ConnectString, GetsTheItemBehindTheFirstSemicolon) {
  EXPECT_EQ(without_ole_db_services(u"Provider=P;Data Source=D"),
            u"Provider=P;OLE DB Services=-2;Data Source=D");
  EXPECT_EQ(without_ole_db_services(u"Provider=P;Data Source=D;User ID=U"),
            u"Provider=P;OLE DB Services=-2;Data Source=D;User ID=U");
}

TEST(ConnectString, WithoutASemicolonGetsTheItemAtItsEnd) {
  EXPECT_EQ(without_ole_db_services(u"Provider=P"), u"Provider=P;OLE DB Services=-2");
}

TEST(ConnectString, EndingWithTheFirstSemicolonGetsTheItemBehindIt) {
  EXPECT_EQ(without_ole_db_services(u"Provider=P;"), u"Provider=P;OLE DB Services=-2;");
}

TEST(ConnectString, LosesAnOldItemOfAnyValue) {
  EXPECT_EQ(without_ole_db_services(u"Provider=P;OLE DB Services=-1;Data Source=D"),
            u"Provider=P;OLE DB Services=-2;Data Source=D");
  EXPECT_EQ(without_ole_db_services(u"Provider=P;OLE DB Services=EnableAll;Data Source=D"),
            u"Provider=P;OLE DB Services=-2;Data Source=D");
  EXPECT_EQ(without_ole_db_services(u"Provider=P;OLE DB Services = -4 ;Data Source=D"),
            u"Provider=P;OLE DB Services=-2;Data Source=D");
}

TEST(ConnectString, LosesAnOldItemOfAnyLetterCase) {
  EXPECT_EQ(without_ole_db_services(u"Provider=P;ole db services=-1;Data Source=D"),
            u"Provider=P;OLE DB Services=-2;Data Source=D");
  EXPECT_EQ(without_ole_db_services(u"Provider=P;Data Source=D;OLE dB sErViCeS=0"),
            u"Provider=P;OLE DB Services=-2;Data Source=D");
}

TEST(ConnectString, LosesAnOldItemAtItsEndOrStart) {
  EXPECT_EQ(without_ole_db_services(u"Provider=P;Data Source=D;OLE DB Services=-1"),
            u"Provider=P;OLE DB Services=-2;Data Source=D");
  EXPECT_EQ(without_ole_db_services(u"Provider=P;Data Source=D;OLE DB Services=-1;"),
            u"Provider=P;OLE DB Services=-2;Data Source=D;");
  EXPECT_EQ(without_ole_db_services(u"OLE DB Services=-1;Provider=P"),
            u";OLE DB Services=-2;Provider=P");
  EXPECT_EQ(without_ole_db_services(u"OLE DB Services=-1"), u";OLE DB Services=-2");
}

TEST(ConnectString, LosesTheBlanksAndOneSemicolonBeforeAnOldItem) {
  EXPECT_EQ(without_ole_db_services(u"Provider=P;   OLE DB Services=-1;Data Source=D"),
            u"Provider=P;OLE DB Services=-2;Data Source=D");
  EXPECT_EQ(without_ole_db_services(u"Provider=P;; OLE DB Services=-1;Data Source=D"),
            u"Provider=P;OLE DB Services=-2;;Data Source=D");
}

TEST(ConnectString, LosesEveryOldItem) {
  EXPECT_EQ(
      without_ole_db_services(
          u"Provider=P;OLE DB Services=-1;Data Source=D;OLE DB SERVICES=0;ole db services=-4"),
      u"Provider=P;OLE DB Services=-2;Data Source=D");
}

TEST(ConnectString, ThatIsNormalisedStaysAsItIs) {
  const Text once = without_ole_db_services(u"Provider=P;Data Source=D");
  EXPECT_EQ(without_ole_db_services(once), once);
}

TEST(ConnectString, CutsTheNameWhereverItStands) {
  EXPECT_EQ(without_ole_db_services(u"Provider=P;Data Source=a OLE DB Services b;User ID=U"),
            u"Provider=P;OLE DB Services=-2;Data Source=a;User ID=U");
}

}  // namespace
}  // namespace tarnwick
