#include "ado/connection_string.h"

#include <gtest/gtest.h>

#include "tests/support/thrown_error.h"

namespace tarnwick::ado {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;

std::string items_of(TextView text) {
  std::string result;
  const ConnectionString string = ConnectionString::parse(text);
  for (const auto& item : string.items()) {
    result += "[" + to_utf8(item.name) + "|" + to_utf8(item.value) + "]";
  }
  return result;
}

TEST(ConnectionStringTest, ItemsAreNamesAndValues) {
  EXPECT_EQ(items_of(u"Provider=Fake;Data Source=host\\one,1433"),
            "[Provider|Fake][Data Source|host\\one,1433]");
  EXPECT_EQ(items_of(u""), "");
  EXPECT_EQ(items_of(u"A="), "[A|]");
}

TEST(ConnectionStringTest, BlanksAroundNamesAndValuesAndEmptyItemsAreLeftOut) {
  EXPECT_EQ(items_of(u"  A b =  c d  ; ;; E=f;  "), "[A b|c d][E|f]");
}

TEST(ConnectionStringTest, AQuotedValueHoldsAnyCharacter) {
  EXPECT_EQ(items_of(u"A=\"x;y='z' \" ; B='p;\"q\"=';C=\"\""), "[A|x;y='z' ][B|p;\"q\"=][C|]");
}

TEST(ConnectionStringTest, ADoubledQuoteStandsForOneInsideItsOwnQuotes) {
  EXPECT_EQ(items_of(u"A=\"x\"\"y\";B='x''y';C='x\"\"y'"), "[A|x\"y][B|x'y][C|x\"\"y]");
}

TEST(ConnectionStringTest, AQuoteInsideAPlainValueIsPartOfIt) {
  EXPECT_EQ(items_of(u"A=it's;B=x=y"), "[A|it's][B|x=y]");
}

TEST(ConnectionStringTest, BracesHoldAnyCharacterBehindTheProviderForOdbcAlone) {
  EXPECT_EQ(items_of(u"Provider=MSDASQL.1;Driver={A B};PWD={a;b}}c='d'} ; UID=e"),
            "[Provider|MSDASQL.1][Driver|{A B}][PWD|{a;b}}c='d'}][UID|e]");
  EXPECT_EQ(items_of(u"Provider=MSDASQL;A={x;B=y;C={p}q;D={}"),
            "[Provider|MSDASQL][A|{x][B|y][C|{p}q][D|{}]");
  EXPECT_EQ(items_of(u"Provider=Fake;A={x;B=y}"), "[Provider|Fake][A|{x][B|y}]");
}

TEST(ConnectionStringTest, ADoubledEqualSignIsPartOfTheName) {
  EXPECT_EQ(items_of(u"A==B=c"), "[A=B|c]");
}

TEST(ConnectionStringTest, OfANameGivenTwiceTheLastCounts) {
  EXPECT_EQ(items_of(u"A=1;B=2;a=3"), "[A|3][B|2]");
}

TEST(ConnectionStringTest, NamesAreFoundInAnyLetterCase) {
  const auto string = ConnectionString::parse(u"Data Source=here");
  EXPECT_EQ(string.find(u"DATA source"), u"here");
  EXPECT_FALSE(string.find(u"Source").has_value());
}

TEST(ConnectionStringTest, AnItemIsSetOrAdded) {
  auto string = ConnectionString::parse(u"A=1");
  string.set(u"a", u"2");
  string.set(u"B", u"3");
  EXPECT_EQ(string.find(u"A"), u"2");
  EXPECT_EQ(string.find(u"b"), u"3");
  EXPECT_EQ(string.items().size(), 2u);
}

TEST(ConnectionStringTest, AMalformedItemIsToldByItsNumberWithoutItsText) {
  const auto parse = [](TextView text) { return [text] { (void)ConnectionString::parse(text); }; };
  EXPECT_EQ(error_number_of(parse(u"A=1;secret")), 3001);
  EXPECT_EQ(error_description_of(parse(u"A=1;secret")),
            u"The connection string cannot be read: item 2 has no \"=\".");
  EXPECT_EQ(error_description_of(parse(u"secret;A=1")),
            u"The connection string cannot be read: item 1 has no \"=\".");
  EXPECT_EQ(error_description_of(parse(u";; =secret")),
            u"The connection string cannot be read: item 1 has no name.");
  EXPECT_EQ(error_description_of(parse(u"A=1;B=\"secret;C=2")),
            u"The connection string cannot be read: item 2 has a quote that is not closed.");
  EXPECT_EQ(error_description_of(parse(u"A='secret'more;B=2")),
            u"The connection string cannot be read: item 1 has text behind its closing quote.");
}

std::string blanked(TextView text) { return to_utf8(ConnectionString::without_passwords(text)); }

TEST(ConnectionStringTest, PasswordsAreBlankedAndAllElseStands) {
  EXPECT_EQ(blanked(u"Provider=Fake; Password = secret ;User ID=me"),
            "Provider=Fake; Password = *** ;User ID=me");
  EXPECT_EQ(blanked(u"pwd=\"se;c'ret\";A=1"), "pwd=***;A=1");
  EXPECT_EQ(blanked(u"A=1;PASSWORD='se''cret'"), "A=1;PASSWORD=***");
  EXPECT_EQ(blanked(u"Password="), "Password=***");
  EXPECT_EQ(blanked(u"A=1"), "A=1");
}

TEST(ConnectionStringTest, APasswordInBracesIsBlankedToItsLastBrace) {
  EXPECT_EQ(ConnectionString::without_passwords(u"Provider=MSDASQL;PWD={a;b=c}}d};UID=u"),
            u"Provider=MSDASQL;PWD=***;UID=u");
}

TEST(ConnectionStringTest, APasswordInsideAnotherItemIsBlankedWithIt) {
  EXPECT_EQ(blanked(u"Extended Properties=\"DSN=x;PWD=secret\";New Password=secret;A=1"),
            "Extended Properties=***;New Password=***;A=1");
}

// What is shown then cannot be read any more: only the provider tells what braces hold together.
TEST(ConnectionStringTest, AProviderThatSpeaksOfAPasswordIsBlankedToo) {
  EXPECT_EQ(blanked(u"Provider=MSDASQL PWD=secret;Database={a;};UID=u"),
            "Provider=***;Database={a;};UID=u");
}

TEST(ConnectionStringTest, OfAMalformedStringNothingIsShownFromTheMalformedItemOn) {
  EXPECT_EQ(blanked(u"A=1;Password=sec;ret;B=2"), "A=1;Password=***;***");
  EXPECT_EQ(blanked(u"A=1;B='x;Password=secret"), "A=1;***");
  EXPECT_EQ(blanked(u"Password='sec'ret"), "***");
}

}  // namespace
}  // namespace tarnwick::ado
