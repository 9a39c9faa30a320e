#include "state/error_state.h"

#include <gtest/gtest.h>

namespace tarnwick {
namespace {

constexpr Procedure kRefresh{u"Server", u"Refresh"};

TEST(ErrorState, StartsEmptyWithNumberZero) {
  const ErrorState errors;
  EXPECT_EQ(errors.message(), u"");
  EXPECT_EQ(errors.number(), 0);
}

TEST(ErrorState, RecordsAnErrorAsAnAccountOfThreeLines) {
  ErrorState errors;
  errors.record(kRefresh,
                Error(-2147221504, u"Connection object has not been set, unable to refresh!"));
  EXPECT_EQ(errors.message(),
            u"\r\nError in Component: 'Server', Proceedure: 'Refresh'."
            u"\r\nError #:    \t-2147221504"
            u"\r\nDescription:\tConnection object has not been set, unable to refresh!");
  EXPECT_EQ(errors.number(), -2147221504);
}

TEST(ErrorState, PutsTheAccountBehindThePendingMessage) {
  ErrorState errors;
  errors.set_message(u"Unable to create an ADODB.Recordset!");
  errors.record({u"General", u"UpdateRead"}, Error(ErrorNumber::kOutOfMemory));
  EXPECT_EQ(errors.message(),
            u"Unable to create an ADODB.Recordset!"
            u"\r\nError in Component: 'General', Proceedure: 'UpdateRead'."
            u"\r\nError #:    \t7"
            u"\r\nDescription:\tOut of memory");
}

TEST(ErrorState, KeepsTwoAccountsInOrderAndTheFirstNumber) {
  ErrorState errors;
  errors.record({u"General", u"GetRecordset"}, Error(3704, u"first"));
  errors.record({u"Component", u"Refresh"}, Error(91, u"second"));
  EXPECT_EQ(errors.message(),
            u"\r\nError in Component: 'General', Proceedure: 'GetRecordset'."
            u"\r\nError #:    \t3704"
            u"\r\nDescription:\tfirst"
            u"\r\nError in Component: 'Component', Proceedure: 'Refresh'."
            u"\r\nError #:    \t91"
            u"\r\nDescription:\tsecond");
  EXPECT_EQ(errors.number(), 3704);
}

TEST(ErrorState, KeepsTheFirstNumberWhenTheMessageIsCleared) {
  ErrorState errors;
  errors.record(kRefresh, Error(13, u"Type mismatch"));
  errors.set_message({});
  errors.record(kRefresh, Error(94, u"Invalid use of Null"));
  EXPECT_EQ(errors.number(), 13);
}

TEST(ErrorState, TakesTheNumberOfTheNextErrorWhileItIsZero) {
  ErrorState errors;
  errors.record(kRefresh, Error(0, u"an error without a number"));
  EXPECT_EQ(errors.number(), 0);
  errors.record(kRefresh, Error(9, u"Subscript out of range"));
  EXPECT_EQ(errors.number(), 9);
}

TEST(ErrorState, WritesAnEmptyDescriptionAsATabWithNothingBehindIt) {
  ErrorState errors;
  errors.record(kRefresh, Error(5, u""));
  EXPECT_EQ(errors.message(),
            u"\r\nError in Component: 'Server', Proceedure: 'Refresh'."
            u"\r\nError #:    \t5"
            u"\r\nDescription:\t");
}

TEST(ErrorState, WritesNumbersInDecimalWithoutALeadingBlank) {
  ErrorState errors;
  errors.record(kRefresh, Error(2147483647, u"x"));
  EXPECT_NE(errors.message().find(u"Error #:    \t2147483647\r\n"), Text::npos);
  errors.set_message({});
  errors.record(kRefresh, Error(-2147483647 - 1, u"x"));
  EXPECT_NE(errors.message().find(u"Error #:    \t-2147483648\r\n"), Text::npos);
}

TEST(ErrorState, PutsExtraLinesBetweenProcedureAndNumber) {
  ErrorState errors;
  errors.record({u"RegisteredPCs", u"Refresh"}, Error(457, u"d"), u"Field :     \tx\r\n");
  EXPECT_EQ(errors.message(),
            u"\r\nError in Component: 'RegisteredPCs', Proceedure: 'Refresh'."
            u"\r\nField :     \tx"
            u"\r\nError #:    \t457"
            u"\r\nDescription:\td");
}

TEST(ErrorState, PrefixesAndAppendsLines) {
  ErrorState errors;
  errors.set_message(u"middle");
  errors.prefix(u"first");
  errors.append_line(u"last");
  EXPECT_EQ(errors.message(), u"first\r\nmiddle\r\nlast");
}

TEST(ErrorState, KeepsEmbeddedNulCharacters) {
  using namespace std::string_view_literals;
  ErrorState errors;
  errors.record(kRefresh, Error(1, Text(u"a\0b"sv)));
  EXPECT_TRUE(errors.message().ends_with(u"Description:\ta\0b"sv));
}

}  // namespace
}  // namespace tarnwick
