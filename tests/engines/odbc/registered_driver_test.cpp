#include "engines/odbc/registered_driver.h"

#include <gtest/gtest.h>

#include <vector>

#include "ado/error.h"

namespace tarnwick::odbc {
namespace {

const std::vector<Text> kDrivers{u"FreeTDS", u"SQLite3"};
const std::vector<DataSource> kSources{
    {u"warehouse", u"FreeTDS"}, {u"by file", u"/usr/lib/libtdsodbc.so"}, {u"bare", u""}};

void require(TextView string) {
  require_registered_driver(ado::ConnectionString::parse(string), kDrivers, kSources);
}

/// The item that the refusal of `string` names; a test failure when it is not refused.
Text refused_item(TextView string) {
  try {
    require(string);
    ADD_FAILURE() << to_utf8(string) << " is not refused";
  } catch (const ado::AdoError& error) {
    const Text& text = error.description();
    const std::size_t begin = text.find(u'"') + 1;
    return text.substr(begin, text.find(u'"', begin) - begin);
  }
  return {};
}

TEST(RegisteredDriver, IsServedByItsName) {
  EXPECT_NO_THROW(require(u"Provider=MSDASQL;Driver={FreeTDS};Server=h"));
  EXPECT_NO_THROW(require(u"Provider=MSDASQL;Driver=sqlite3;Database=/srv/dw.db"));
  EXPECT_NO_THROW(require(u"Provider=MSDASQL;DSN=Warehouse"));
  EXPECT_NO_THROW(require(u"Provider=MSDASQL;Data Source=warehouse;User ID=u;Password=p"));
  EXPECT_NO_THROW(require(u"Provider=MSOLEDBSQL;Data Source=h;User ID=u;Password=\"a;b}c\""));
}

TEST(RegisteredDriver, IsAllThatServesADriverThatIsNamed) {
  for (const TextView driver : {u"/tmp/driver.so", u"{/tmp/driver.so}", u"driver.so", u" /x ",
                                u"FreeTDS.so", u"../FreeTDS", u""}) {
    EXPECT_EQ(refused_item(join({u"Provider=MSDASQL;Driver=", driver})), u"Driver");
  }
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;Extended Properties=\"DRIVER=/tmp/driver.so\""),
            u"DRIVER");
}

TEST(RegisteredDriver, ServesADataSource) {
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;DSN=by file"), u"DSN");
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;DSN=bare"), u"DSN");
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;DSN=/tmp/source"), u"DSN");
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;Data Source=elsewhere"), u"Data Source");
  // The driver manager would look for a default one.
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;Server=h"), u"Driver");
}

TEST(RegisteredDriver, IsNotFoundInFiles) {
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;FileDSN=/tmp/x.dsn;Driver=FreeTDS"), u"FileDSN");
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;Driver=FreeTDS;SaveFile=/tmp/x.dsn"), u"SaveFile");
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;Driver=SQLite3;LoadExt=/tmp/x.so"), u"LoadExt");
}

TEST(RegisteredDriver, CannotBeReplacedByAValueThatIsReadAsItems) {
  EXPECT_EQ(refused_item(u"Provider=MSDASQL;Driver=FreeTDS;Database={a}};Driver=/tmp/x.so;b}"),
            u"Database");
  EXPECT_EQ(refused_item(u"Provider=MSOLEDBSQL;Data Source=h;User ID=u;"
                         u"Password=\"a};Driver=/tmp/x.so;b\""),
            u"Password");
  EXPECT_EQ(refused_item(u"Provider=MSOLEDBSQL;Data Source=h;User ID=u;"
                         u"Application Name=\"a;dsn=other\""),
            u"Application Name");
}

}  // namespace
}  // namespace tarnwick::odbc
