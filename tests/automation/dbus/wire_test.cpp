#include "automation/dbus/wire.h"

#include <gtest/gtest.h>

#include <string>

#include "automation/dbus/error.h"
#include "automation/dbus/handles.h"

namespace tarnwick::automation::dbus {
namespace {

class NoPaths final : public Paths {
 public:
  Object resolve(const char*) override { return {}; }
  std::string hand_out(const Object&) override { return {}; }
  std::vector<std::string> hand_out_all(const std::vector<Object>&) override { return {}; }
};

// The error's name and text, or nothing where the text can go over the bus.
std::string refusal_of(Text text) {
  NoPaths paths;
  try {
    const Outgoing outgoing(Type{Kind::kText, {}, {}}, std::move(text), paths);
    return {};
  } catch (const WireError& error) {
    return error.name() + ": " + error.what();
  }
}

std::string refused_for(const std::string& what) {
  return "org.tarnwick.Security1.Error.NotRepresentable: The text holds " + what +
         ", which cannot go over the bus";
}

TEST(OutgoingText, IsRefusedWhereItIsNoUtf16) {
  const std::string refused = refused_for("an unpaired surrogate");
  EXPECT_EQ(refusal_of(u"\xD83D"), refused);
  EXPECT_EQ(refusal_of(u"a\xDE00z"), refused);
  EXPECT_EQ(refusal_of(u"\xD83D\xD83D\xDE00"), refused);
  EXPECT_EQ(refusal_of(u"\xD83D\xDE00\xDE00"), refused);
  EXPECT_EQ(refusal_of(u"\xD83Dz"), refused);
  EXPECT_EQ(refusal_of(u"\xDE00\xD83D"), refused);
}

TEST(OutgoingText, IsRefusedWhereTheBusLibraryRefusesIt) {
  EXPECT_EQ(refusal_of(Text(u"a\0b", 3)), refused_for("a character U+0000"));
  const std::string refused = refused_for("a code point that is no character");
  for (const char16_t* text : {u"\xFDD0", u"\xFDEF", u"a\xFFFE", u"\xFFFF", u"\xD83F\xDFFE",
                               u"\xD83F\xDFFFz", u"\xDBFF\xDFFF"}) {
    EXPECT_EQ(refusal_of(text), refused);
  }
}

TEST(ErrorsOnTheBus, HaveTheNameFailedWhereTheirNumberHasNone) {
  ErrorHandle error;
  EXPECT_EQ(error.name(), "");
  EXPECT_STREQ(error.message(), "");
  try {
    throw Error(static_cast<ErrorNumber>(12345));
  } catch (...) {
    fill_error(error.get());
  }
  EXPECT_EQ(error.name(), "org.tarnwick.Security1.Error.Failed");
  EXPECT_STRNE(error.message(), "");
}

TEST(OutgoingText, IsTakenOtherwise) {
  for (const char16_t* text :
       {u"", u"a\u00e4", u"\xD7FF\xE000", u"\xFDCF\xFDF0\xFFFD", u"\xD800\xDC00", u"\xD83D\xDFFE",
        u"\xD83F\xDFFD", u"\xDBFF\xDFFD"}) {
    EXPECT_EQ(refusal_of(text), "");
  }
}

TEST(Readable, PutsReplacementCharactersWhereTheBusCannotFollow) {
  EXPECT_EQ(readable(Text(u"a\0b", 3)),
            u"a\xFFFD"
            u"b");
  EXPECT_EQ(readable(u"\xD83D\xD83D\xDE00\xDE00"), u"\xFFFD\xD83D\xDE00\xFFFD");
  EXPECT_EQ(readable(u"\xD83F\xDFFE\xFFFE"), u"\xFFFD\xFFFD\xFFFD");
  EXPECT_EQ(readable(u"as it \x00E4s"), u"as it \x00E4s");
  EXPECT_EQ(readable(u""), u"");
}

}  // namespace
}  // namespace tarnwick::automation::dbus
