#include "runtime/error.h"

#include <gtest/gtest.h>

namespace tarnwick {
namespace {

TEST(DescriptionOf, IsThatOfTheAutomationRunTime) {
  EXPECT_EQ(description_of(ErrorNumber::kInvalidProcedureCall),
            u"Invalid procedure call or argument");
  EXPECT_EQ(description_of(ErrorNumber::kOverflow), u"Overflow");
  EXPECT_EQ(description_of(ErrorNumber::kOutOfMemory), u"Out of memory");
  EXPECT_EQ(description_of(ErrorNumber::kSubscriptOutOfRange), u"Subscript out of range");
  EXPECT_EQ(description_of(ErrorNumber::kTypeMismatch), u"Type mismatch");
  EXPECT_EQ(description_of(ErrorNumber::kInternalError), u"Internal error");
  EXPECT_EQ(description_of(ErrorNumber::kObjectNotSet),
            u"Object variable or With block variable not set");
  EXPECT_EQ(description_of(ErrorNumber::kInvalidUseOfNull), u"Invalid use of Null");
  EXPECT_EQ(description_of(ErrorNumber::kKeyAlreadyAssociated),
            u"This key is already associated with an element of this collection");
}

TEST(DescriptionOf, IsEmptyForANumberWithoutOne) {
  EXPECT_EQ(description_of(ErrorNumber::kUserDefined), u"");
  EXPECT_EQ(description_of(static_cast<ErrorNumber>(12345)), u"");
}

TEST(Error, CarriesTheStandardDescriptionOfItsNumber) {
  const Error error(ErrorNumber::kTypeMismatch);
  EXPECT_EQ(error.number(), 13);
  EXPECT_EQ(error.description(), u"Type mismatch");
  EXPECT_STREQ(error.what(), "Type mismatch");
}

TEST(Error, CarriesADescriptionOfItsOwn) {
  const Error error(static_cast<std::int32_t>(ErrorNumber::kUserDefined), u"Gr\u00F6\u00DFe\xD800");
  EXPECT_EQ(error.number(), -2147221504);
  EXPECT_EQ(error.description(), u"Gr\u00F6\u00DFe\xD800");
  EXPECT_STREQ(error.what(), "Gr\u00F6\u00DFe\uFFFD");
}

}  // namespace
}  // namespace tarnwick
