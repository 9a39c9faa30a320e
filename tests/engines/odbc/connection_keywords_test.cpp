#include "engines/odbc/connection_keywords.h"

#include <gtest/gtest.h>

#include <vector>

#include "ado/error.h"

namespace tarnwick::odbc {
namespace {

const std::vector<Text> kFreeTds{u"SQLite3", u"FreeTDS"};
const std::vector<Text> kMicrosoft18{u"FreeTDS", u"ODBC Driver 17 for SQL Server", u"SQL Server",
                                     u"ODBC Driver 18 for SQL Server"};
const std::vector<Text> kMicrosoft17{u"SQL Server", u"ODBC Driver 17 for SQL Server"};
const std::vector<Text> kMicrosoftOld{u"FreeTDS", u"SQL Server"};

OdbcConnect connect(TextView string, const std::vector<Text>& drivers) {
  return odbc_connect(ado::ConnectionString::parse(string), drivers);
}

Text text(TextView string, const std::vector<Text>& drivers) {
  return connect(string, drivers).text;
}

/// The description of the refusal of `string`; a test failure when it is not refused.
Text refusal(TextView string, const std::vector<Text>& drivers) {
  try {
    ADD_FAILURE() << to_utf8(text(string, drivers));
  } catch (const ado::AdoError& error) {
    return error.description();
  }
  return {};
}

TEST(ConnectionKeywords, OfEveryItemReachMicrosoftsDriver) {
  EXPECT_EQ(
      text(u"Provider=MSOLEDBSQL;OLE DB Services=-2;Data Source=dbhost,1533;"
           u"Initial Catalog=Velmar_Sec;User ID=ann;Password=secret;Application Name=Tarnwick;"
           u"Use Encryption for Data=True;Trust Server Certificate=True;Connect Timeout=15",
           kMicrosoft18),
      u"Driver={ODBC Driver 18 for SQL Server};Server=tcp:dbhost,1533;Database=Velmar_Sec;"
      u"UID=ann;PWD=secret;APP=Tarnwick;Encrypt=yes;TrustServerCertificate=yes;");
}

TEST(ConnectionKeywords, OfEveryItemReachFreeTdsInItsOwnWords) {
  EXPECT_EQ(text(u"Provider=SQLOLEDB;Data Source=dbhost,1533;Initial Catalog=Velmar_Sec;"
                 u"User ID=ann;Password=secret;Application Name=Tarnwick;Encrypt=yes;"
                 u"Trust Server Certificate=yes",
                 kFreeTds),
            u"Driver={FreeTDS};Server=dbhost;Port=1533;TDS_Version=7.4;Database=Velmar_Sec;UID=ann;"
            u"PWD=secret;APP=Tarnwick;Encryption=require;");
}

TEST(ConnectionKeywords, GoToTheNewestMicrosoftDriverBeforeAnyOther) {
  const TextView string = u"Provider=SQLOLEDB;Data Source=h;User ID=u";
  EXPECT_TRUE(text(string, kMicrosoft18).starts_with(u"Driver={ODBC Driver 18 for SQL Server};"));
  EXPECT_TRUE(text(string, kMicrosoft17).starts_with(u"Driver={ODBC Driver 17 for SQL Server};"));
  EXPECT_TRUE(text(string, kMicrosoftOld).starts_with(u"Driver={SQL Server};"));
  EXPECT_TRUE(text(string, kFreeTds).starts_with(u"Driver={FreeTDS};"));
}

TEST(ConnectionKeywords, WithoutADriverSayWhichOnesWouldDo) {
  try {
    (void)connect(u"Provider=SQLOLEDB;Data Source=h", {u"SQLite3"});
    FAIL();
  } catch (const ado::AdoError& error) {
    EXPECT_EQ(error.number(), 3706);
    EXPECT_EQ(error.description(),
              u"No ODBC driver for SQL Server is installed; known are \"ODBC Driver 18 for SQL "
              u"Server\", \"ODBC Driver 17 for SQL Server\", \"SQL Server\" and \"FreeTDS\".");
  }
}

TEST(ConnectionKeywords, KnowEveryFormOfAServersName) {
  const auto server = [](TextView name, const std::vector<Text>& drivers) {
    const Text all = text(join({u"Provider=SQLOLEDB;User ID=u;Data Source=", name}), drivers);
    const std::size_t begin = all.find(u"Server=");
    return all.substr(begin, all.find(u";UID") - begin);
  };
  EXPECT_EQ(server(u"h", kMicrosoft18), u"Server=h");
  EXPECT_EQ(server(u"h, 1444", kMicrosoft18), u"Server=tcp:h,1444");
  EXPECT_EQ(server(u"tcp:h,1444", kMicrosoft18), u"Server=tcp:h,1444");
  EXPECT_EQ(server(u"h\\INST", kMicrosoft18), u"Server=h\\INST");
  EXPECT_EQ(server(u"h\\INST,1444", kMicrosoft18), u"Server=tcp:h,1444");
  EXPECT_EQ(server(u"(local)", kMicrosoft18), u"Server=localhost");
  EXPECT_EQ(server(u"h", kFreeTds), u"Server=h;Port=1433;TDS_Version=7.4");
  EXPECT_EQ(server(u"TCP:h,1444", kFreeTds), u"Server=h;Port=1444;TDS_Version=7.4");
  EXPECT_EQ(server(u"h\\INST", kFreeTds), u"Server=h\\INST;TDS_Version=7.4");
  EXPECT_EQ(server(u"h\\INST,1444", kFreeTds), u"Server=h;Port=1444;TDS_Version=7.4");
  EXPECT_EQ(server(u".", kFreeTds), u"Server=localhost;Port=1433;TDS_Version=7.4");
}

TEST(ConnectionKeywords, RefuseAServerThatCannotBeReachedByTcp) {
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=h,port", kFreeTds),
            u"The connection string item \"Data Source\" has no valid port behind its comma.");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=h,65536", kFreeTds),
            u"The connection string item \"Data Source\" has no valid port behind its comma.");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=h,0", kMicrosoft18),
            u"The connection string item \"Data Source\" has no valid port behind its comma.");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=NP:\\\\h\\pipe", kMicrosoft18),
            u"The connection string item \"Data Source\" names no server to reach by TCP/IP.");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=lpc:h", kMicrosoft18),
            u"The connection string item \"Data Source\" names no server to reach by TCP/IP.");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;User ID=u", kMicrosoft18),
            u"The connection string item \"Data Source\" is missing.");
}

TEST(ConnectionKeywords, OfWindowsSecurityTakeThePlaceOfALogin) {
  for (const TextView value : {u"SSPI", u"sspi", u"yes"}) {
    EXPECT_EQ(
        text(join({u"Provider=SQLOLEDB;Data Source=h;Integrated Security=", value}), kMicrosoft17),
        u"Driver={ODBC Driver 17 for SQL Server};Server=h;Trusted_Connection=yes;"
        u"Encrypt=no;");
  }
  EXPECT_EQ(text(u"Provider=SQLOLEDB;Data Source=h;User ID=u;Integrated Security=no", kMicrosoft17),
            u"Driver={ODBC Driver 17 for SQL Server};Server=h;UID=u;PWD=;Encrypt=no;");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=h;Integrated Security=Kerberos", kMicrosoft17),
            u"The connection string item \"Integrated Security\" has a value that is not known.");
}

TEST(ConnectionKeywords, WithoutAWordOnEncryptionKeepTheProvidersDefault) {
  const auto encryption = [](TextView provider, const std::vector<Text>& drivers) {
    const Text all = text(join({u"Provider=", provider, u";Data Source=h;User ID=u"}), drivers);
    return all.substr(all.find(u"Encrypt"));
  };
  for (const TextView provider : {u"SQLOLEDB", u"SQLNCLI11", u"MSOLEDBSQL"}) {
    EXPECT_EQ(encryption(provider, kMicrosoft18), u"Encrypt=no;");
    EXPECT_EQ(encryption(provider, kFreeTds), u"Encryption=request;");
  }
  EXPECT_EQ(encryption(u"MSOLEDBSQL19", kMicrosoft18), u"Encrypt=yes;");
  EXPECT_EQ(encryption(u"MSOLEDBSQL19.1", kFreeTds), u"Encryption=require;");
}

TEST(ConnectionKeywords, KnowTheWordsOfEveryProviderForEncryption) {
  const auto encryption = [](TextView item) {
    const Text all =
        text(join({u"Provider=SQLOLEDB;Data Source=h;User ID=u;", item}), kMicrosoft18);
    return all.substr(all.find(u"Encrypt"));
  };
  EXPECT_EQ(encryption(u"Encrypt=Optional"), u"Encrypt=no;");
  EXPECT_EQ(encryption(u"encrypt=FALSE"), u"Encrypt=no;");
  EXPECT_EQ(encryption(u"Use Encryption for Data=Mandatory"), u"Encrypt=yes;");
  EXPECT_EQ(encryption(u"Encrypt=Strict"), u"Encrypt=strict;");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=h;Encrypt=maybe", kMicrosoft18),
            u"The connection string item \"Encrypt\" has a value that is not known.");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=h;Encrypt=yes;Use Encryption for Data=no",
                    kMicrosoft18),
            u"The connection string item \"Use Encryption for Data\" is given twice under two "
            u"names.");
}

TEST(ConnectionKeywords, RefuseADemandThatTheDriverWouldDropWithoutAWord) {
  const TextView strict = u"Provider=SQLOLEDB;Data Source=h;Encrypt=Strict";
  for (const auto& drivers : {kFreeTds, kMicrosoft17, kMicrosoftOld}) {
    EXPECT_EQ(refusal(strict, drivers),
              u"The connection string item \"Encrypt\" asks for what the installed ODBC driver "
              u"cannot do.");
  }
  // FreeTDS takes any certificate.
  EXPECT_EQ(
      refusal(u"Provider=SQLOLEDB;Data Source=h;Encrypt=yes;Trust Server Certificate=no", kFreeTds),
      u"The connection string item \"Trust Server Certificate\" asks for what the installed "
      u"ODBC driver cannot do.");
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=h;Trust Server Certificate=yes", kMicrosoftOld),
            u"The connection string item \"Trust Server Certificate\" asks for what the installed "
            u"ODBC driver cannot do.");
}

TEST(ConnectionKeywords, NameAnItemThatTheyDoNotKnowAndNeverItsValue) {
  for (const TextView item : {u"Old Password", u"Server", u"Driver", u"Colour"}) {
    const Text why =
        refusal(join({u"Provider=SQLOLEDB;Data Source=h;", item, u"=seekrit"}), kMicrosoft18);
    EXPECT_EQ(why, join({u"The connection string item \"", item, u"\" is not known."}));
  }
}

TEST(ConnectionKeywords, PassOverWhatOnlyTheOleDbRunTimeOrAnotherEngineMinds) {
  const TextView plain = u"Provider=SQLOLEDB.1;Data Source=h;User ID=u";
  const TextView dialogs =
      u";Persist Security Info=False;Prompt=4;Window Handle=0;Locale Identifier=1033;"
      u"Auto Translate=True;Use Procedure for Prepare=1;Tag with column collation when possible="
      u"False;DataTypeCompatibility=0;MARS Connection=False;MultipleActiveResultSets=True;"
      u"Mode=ReadWrite;Extended Properties=\"\";Initial File Name=\"\";Network Library=DBMSSOCN;"
      u"Failover Partner=\"\";Server SPN=\"\";Workstation ID=\"\";Current Language=\"\";"
      u"Packet Size=0;Application Intent=READWRITE;MultiSubnetFailover=False;"
      u"Replication server name connect option=\"\"";
  for (const auto& drivers : {kFreeTds, kMicrosoft18, kMicrosoft17, kMicrosoftOld}) {
    EXPECT_EQ(text(join({plain, dialogs}), drivers), text(plain, drivers));
  }
}

TEST(ConnectionKeywords, UseWhatTheDriverHasAWordFor) {
  const TextView string =
      u"Provider=SQLNCLI11;Data Source=h;User ID=u;Workstation ID=DESK-1;Current Language=Deutsch;"
      u"Packet Size=8192;Application Intent=ReadOnly;MultiSubnetFailover=True;"
      u"Initial File Name=C:\\dw.mdf";
  EXPECT_EQ(
      text(string, kMicrosoft18),
      u"Driver={ODBC Driver 18 for SQL Server};Server=h;AttachDBFileName=C:\\dw.mdf;UID=u;PWD=;"
      u"WSID=DESK-1;Language=Deutsch;ApplicationIntent=ReadOnly;MultiSubnetFailover=Yes;"
      u"Encrypt=no;");
  EXPECT_EQ(connect(string, kMicrosoft18).packet_size, 8192u);
  EXPECT_EQ(
      text(string, kFreeTds),
      u"Driver={FreeTDS};Server=h;Port=1433;TDS_Version=7.4;AttachDbFilename=C:\\dw.mdf;UID=u;"
      u"PWD=;WSID=DESK-1;Language=Deutsch;ApplicationIntent=ReadOnly;PacketSize=8192;"
      u"Encryption=request;");
  EXPECT_EQ(connect(string, kFreeTds).packet_size, std::nullopt);
  EXPECT_EQ(refusal(string, kMicrosoftOld),
            u"The connection string item \"Application Intent\" asks for what the installed ODBC "
            u"driver cannot do.");
}

TEST(ConnectionKeywords, LetNoValueSmuggleAnotherWordIn) {
  for (const TextView item :
       {u"Workstation ID", u"Current Language", u"Initial File Name", u"Application Name"}) {
    const Text string =
        join({u"Provider=SQLOLEDB;Data Source=h;User ID=u;", item, u"=\"a;Server=evil;x={b\""});
    EXPECT_NE(text(string, kMicrosoft18).find(u"={a;Server=evil;x={b};"), Text::npos);
    EXPECT_NE(text(string, kFreeTds).find(u"={a;Server=evil;x={b};"), Text::npos);
    const Text closing =
        join({u"Provider=SQLOLEDB;Data Source=h;User ID=u;", item, u"=\"a};Server=evil\""});
    EXPECT_NE(text(closing, kMicrosoft18).find(u"={a}};Server=evil};"), Text::npos);
    EXPECT_EQ(refusal(closing, kFreeTds),
              join({u"The connection string item \"", item,
                    u"\" holds \"};\", which the installed ODBC driver cannot be given."}));
  }
  for (const TextView value : {u"8192;Server=evil", u"-1", u"511", u"32768", u"", u"8k"}) {
    EXPECT_EQ(refusal(join({u"Provider=SQLOLEDB;Data Source=h;Packet Size=\"", value, u"\""}),
                      kMicrosoft18),
              u"The connection string item \"Packet Size\" is no size from 512 to 32767.");
  }
  EXPECT_EQ(
      refusal(u"Provider=SQLOLEDB;Data Source=h;Application Intent=\"ReadOnly;x=y\"", kFreeTds),
      u"The connection string item \"Application Intent\" has a value that is not known.");
}

TEST(ConnectionKeywords, RefuseADemandThatIsNotServed) {
  for (const TextView item : {u"Extended Properties", u"Failover Partner", u"Server SPN",
                              u"Network Address", u"Authentication"}) {
    EXPECT_EQ(
        refusal(join({u"Provider=SQLOLEDB;Data Source=h;", item, u"=seekrit"}), kMicrosoft18),
        join({u"The connection string item \"", item, u"\" asks for what is not supported."}));
  }
  EXPECT_EQ(refusal(u"Provider=SQLOLEDB;Data Source=h;Network Library=DBNMPNTW", kMicrosoft18),
            u"The connection string item \"Network Library\" asks for another protocol than "
            u"TCP/IP.");
}

TEST(ConnectionKeywords, OfOdbcMayStandInTheDialogsExtendedProperties) {
  const OdbcConnect target = connect(
      u"Provider=MSDASQL.1;Persist Security Info=False;User ID=ann;Extended Properties=\"Driver="
      u"{FreeTDS};Server=h;UID=bob;PWD={a;b};\"",
      {});
  EXPECT_EQ(target.text, u"UID=ann;Driver={FreeTDS};Server=h;PWD={a;b};");
  EXPECT_EQ(target.password, u"a;b");
  EXPECT_TRUE(target.for_free_tds);
}

TEST(ConnectionKeywords, TellFreeTdsItsTimeLimitInFrontOfOdbcsOwnItems) {
  const OdbcConnect target =
      connect(u"Provider=MSDASQL;Driver={FreeTDS};Server=h;Timeout=9;General Timeout=7", {});
  EXPECT_EQ(target.text, u"Driver={FreeTDS};Server=h;Timeout=9;");
  EXPECT_EQ(target.general_timeout, 7u);
  EXPECT_EQ(with_free_tds_timeout(target.text, 7),
            u"Timeout=7;Driver={FreeTDS};Server=h;Timeout=9;");
}

TEST(ConnectionKeywords, TakeATimeoutInSeconds) {
  const auto timeout = [](TextView value) {
    return connect(join({u"Provider=SQLOLEDB;Data Source=h;Connect Timeout=", value}), kFreeTds)
        .connect_timeout;
  };
  EXPECT_EQ(timeout(u"0"), 0u);
  EXPECT_EQ(timeout(u"15"), 15u);
  EXPECT_EQ(connect(u"Provider=SQLOLEDB;Data Source=h", kFreeTds).connect_timeout, std::nullopt);
  for (const TextView value : {u"-1", u"soon", u"32768", u""}) {
    EXPECT_EQ(refusal(join({u"Provider=SQLOLEDB;Data Source=h;Connect Timeout=", value}), kFreeTds),
              u"The connection string item \"Connect Timeout\" is no number of seconds.");
  }
}

TEST(ConnectionKeywords, PutValuesInBracesWhereOdbcNeedsThem) {
  EXPECT_EQ(odbc_value(u"plain-value_1.2,3"), u"plain-value_1.2,3");
  EXPECT_EQ(odbc_value(u"a;b"), u"{a;b}");
  EXPECT_EQ(odbc_value(u"a}b"), u"{a}}b}");
  EXPECT_EQ(odbc_value(u"}"), u"{}}}");
  EXPECT_EQ(odbc_value(u"{a}"), u"{{a}}}");
  EXPECT_EQ(odbc_value(u" a"), u"{ a}");
  EXPECT_EQ(odbc_value(u"a "), u"{a }");
  EXPECT_EQ(odbc_value(u"a=b"), u"{a=b}");
  EXPECT_EQ(odbc_value(u""), u"");
}

TEST(ConnectionKeywords, CarryAPasswordOfAnyCharacters) {
  const TextView string = u"Provider=SQLOLEDB;Data Source=h;User ID=u;Password=\"a;b}c{d\"\"e'f\"";
  EXPECT_NE(text(string, kMicrosoft18).find(u"PWD={a;b}}c{d\"e'f};"), Text::npos);
  EXPECT_EQ(connect(string, kMicrosoft18).password, u"a;b}c{d\"e'f");
  // FreeTDS takes a doubled brace for two.
  EXPECT_NE(text(string, kFreeTds).find(u"PWD={a;b}c{d\"e'f};"), Text::npos);
  EXPECT_EQ(connect(string, kFreeTds).password, u"a;b}c{d\"e'f");
}

TEST(ConnectionKeywords, UseBracesForFreeTdsOnlyWhereNothingElseHelps) {
  const auto password = [](TextView value) {
    const Text all = text(
        join({u"Provider=SQLOLEDB;Data Source=h;User ID=u;Password=\"", value, u"\""}), kFreeTds);
    const std::size_t begin = all.find(u"PWD=") + 4;
    return all.substr(begin, all.rfind(u";Encryption") - begin);
  };
  EXPECT_EQ(password(u"a}b"), u"a}b");
  EXPECT_EQ(password(u"a}"), u"a}");
  EXPECT_EQ(password(u"a=b@c!"), u"a=b@c!");
  EXPECT_EQ(password(u"{a"), u"{{a}");
  EXPECT_EQ(password(u"a;b}"), u"{a;b}}");
  EXPECT_EQ(password(u" a"), u"{ a}");
  EXPECT_EQ(password(u"a "), u"{a }");
  EXPECT_EQ(
      refusal(u"Provider=SQLOLEDB;Data Source=h;User ID=u;Password=\"a};b\"", kFreeTds),
      u"The connection string item \"Password\" holds \"};\", which the installed ODBC driver "
      u"cannot be given.");
}

TEST(ConnectionKeywords, OfOdbcAreWrittenAsFreeTdsReadsThem) {
  for (const TextView driver : {u"{FreeTDS}", u"freetds", u"/usr/lib/odbc/libtdsodbc.so"}) {
    const Text start = join({u"Provider=MSDASQL;Driver=", driver, u";"});
    const Text begin = join({u"Driver=", driver, u";"});
    EXPECT_EQ(text(join({start, u"PWD={a;b}}c}"}), {}), join({begin, u"PWD={a;b}c};"}));
    EXPECT_EQ(text(join({start, u"PWD={a}}c}"}), {}), join({begin, u"PWD=a}c;"}));
    EXPECT_EQ(text(join({start, u"PWD={a;b}"}), {}), join({begin, u"PWD={a;b};"}));
    EXPECT_EQ(text(join({start, u"PWD=\"a;b}c\""}), {}), join({begin, u"PWD={a;b}c};"}));
  }
}

TEST(ConnectionKeywords, RefuseANulWhichWouldCutTheStringOff) {
  ado::ConnectionString string =
      ado::ConnectionString::parse(u"Provider=SQLOLEDB;Data Source=h;User ID=u");
  string.set(u"Password", Text(u"a\0b", 3));
  EXPECT_THROW((void)odbc_connect(string, kFreeTds), ado::AdoError);
}

TEST(ConnectionKeywords, OfOdbcHaveNoNameThatCouldBeTakenForMore) {
  ado::ConnectionString string = ado::ConnectionString::parse(u"Provider=MSDASQL;DSN=tarnwick");
  string.set(u"x;PWD", u"y");
  EXPECT_THROW((void)odbc_connect(string, {}), ado::AdoError);
}

TEST(ConnectionKeywords, OfOdbcPassAsTheyStand) {
  EXPECT_EQ(text(u"Provider=MSDASQL;OLE DB Services=-2;Driver={FreeTDS};Server=h;Port=1433;"
                 u"Encryption=require;Anything At All=x",
                 {}),
            u"Driver={FreeTDS};Server=h;Port=1433;Encryption=require;Anything At All=x;");
  EXPECT_EQ(text(u"Provider=msdasql.1;DSN=tarnwick", {}), u"DSN=tarnwick;");
}

TEST(ConnectionKeywords, OfOleDbHaveAnotherNameInOdbc) {
  const OdbcConnect target = connect(
      u"Provider=MSDASQL;Data Source=tarnwick;User ID=ann;Password=secret;Initial "
      u"Catalog=Velmar_Sec;"
      u"Connect Timeout=7",
      {});
  EXPECT_EQ(target.text, u"DSN=tarnwick;UID=ann;PWD=secret;Database=Velmar_Sec;");
  EXPECT_EQ(target.password, u"secret");
  EXPECT_EQ(target.connect_timeout, 7u);
}

TEST(ConnectionKeywords, OfOdbcKeepTheirBracesAndGetThemWhereQuotesStoodForThem) {
  EXPECT_EQ(text(u"Provider=MSDASQL;PWD={a}}b}", {}), u"PWD={a}}b};");
  EXPECT_EQ(text(u"Provider=MSDASQL;PWD=\"a;b\"", {}), u"PWD={a;b};");
  EXPECT_EQ(text(u"Provider=MSDASQL;PWD=\"{a;b}\"", {}), u"PWD={a;b};");
  EXPECT_EQ(text(u"Provider=MSDASQL;PWD=\"{a;b\"", {}), u"PWD={{a;b};");
  EXPECT_EQ(text(u"Provider=MSDASQL;PWD=\"{ab\"", {}), u"PWD={{ab};");
  EXPECT_EQ(text(u"Provider=MSDASQL;PWD=\"{a}b}\"", {}), u"PWD={{a}}b}}};");
  EXPECT_EQ(text(u"Provider=MSDASQL;PWD=\"{a}}\"", {}), u"PWD={{a}}}}};");
  EXPECT_EQ(text(u"Provider=MSDASQL;PWD={a;b=c}}d};UID=u", {}), u"PWD={a;b=c}}d};UID=u;");
  EXPECT_EQ(connect(u"Provider=MSDASQL;PWD={a}}b}", {}).password, u"a}b");
}

}  // namespace
}  // namespace tarnwick::odbc
