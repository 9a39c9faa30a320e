#include "ado/error.h"

#include <gtest/gtest.h>

namespace tarnwick::ado {
namespace {

struct Known {
  std::int32_t number;
  TextView description;
};

// As clients of the public ADO and OLE DB interfaces know them.
constexpr Known kKnown[] = {
    {3001,
     u"Arguments are of the wrong type, are out of acceptable range, or are in conflict with one "
     u"another."},
    {3002, u"File could not be opened."},
    {3003, u"File could not be read."},
    {3004, u"Write to file failed."},
    {3021,
     u"Either BOF or EOF is True, or the current record has been deleted. Requested operation "
     u"requires a current record."},
    {3219, u"Operation is not allowed in this context."},
    {3246, u"Connection object cannot be explicitly closed while in a transaction."},
    {3251, u"Object or provider is not able to perform requested operation."},
    {3265,
     u"Item cannot be found in the collection that corresponds to the requested name or ordinal."},
    {3421, u"Application uses a value of the wrong type for the current operation."},
    {3704, u"Operation is not allowed when the object is closed."},
    {3705, u"Operation is not allowed when the object is open."},
    {3706, u"Provider cannot be found. It may not be properly installed."},
    {3709,
     u"The connection cannot be used to perform this operation. It is either closed or invalid in "
     u"this context."},
    {-2147467259, u""},
    {-2147217911, u"Permission denied."},
    {-2147217900, u""},
    {-2147217873, u"A specified value violated the integrity constraints for a column or table."},
    {-2147217864,
     u"Row cannot be located for updating. Some values may have been changed since it was last "
     u"read."},
    {-2147217843, u"Authentication failed."},
    {-2147168242, u"No transaction is active."},
    {-2147168237, u"Only one transaction can be active on this session."},
};

TEST(AdoErrorTest, EveryNumberHasItsPublicDescription) {
  for (const Known& known : kKnown) {
    const AdoError error(static_cast<AdoErrorNumber>(known.number));
    EXPECT_EQ(error.number(), known.number);
    EXPECT_EQ(error.description(), known.description) << known.number;
    EXPECT_EQ(error.native(), 0);
    EXPECT_EQ(error.sqlstate(), "");
  }
}

TEST(AdoErrorTest, AnEngineGivesItsOwnTextAndCodes) {
  const AdoError error(AdoErrorNumber::kCommandError, u"near \"Selct\"", 102, "42000");
  EXPECT_EQ(error.number(), -2147217900);
  EXPECT_EQ(error.description(), u"near \"Selct\"");
  EXPECT_EQ(error.native(), 102);
  EXPECT_EQ(error.sqlstate(), "42000");
  EXPECT_STREQ(error.what(), "near \"Selct\"");
}

TEST(AdoErrorTest, ALockTimeoutIsUnspecifiedWithItsNativeNumber) {
  const AdoError error = lock_timeout();
  EXPECT_EQ(error.number(), -2147467259);
  EXPECT_EQ(error.native(), 1222);
  EXPECT_EQ(error.description(), u"Lock request time out period exceeded.");
}

}  // namespace
}  // namespace tarnwick::ado
