#include "apps/tarnwick/output/values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/failure.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string complaint(std::string_view text, const AttributeValue& like) {
  try {
    static_cast<void>(parse("--it", text, like));
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), ExitCode::kUsage);
    return failure.what();
  }
  return "none";
}

TEST(FieldValues, AreShownToPeople) {
  EXPECT_EQ(display(Text(u"Größe")), "Größe");
  EXPECT_EQ(display(std::int16_t{-7}), "-7");
  EXPECT_EQ(display(true), "yes");
  EXPECT_EQ(display(false), "no");
  EXPECT_EQ(display(Date{45284.5}), "2023-12-24 12:00:00");
  EXPECT_EQ(display(Date{}), "");
  EXPECT_EQ(display(PCReg_mt), "PCReg");
  EXPECT_EQ(display(None_rc), "");
  EXPECT_EQ(display(CrystalReport_rt), "CRY");
}

TEST(FieldValues, OutOfTheOrdinaryAreShownAsTheyAre) {
  EXPECT_EQ(display(MaintTypeEnum{42}), "42");
  EXPECT_EQ(display(MaintTypeEnum{-1}), "-1");
  EXPECT_EQ(display(Date{1e9}), "1000000000");
  EXPECT_EQ(display(Text(u"a\xD800")), "a\uFFFD");
}

TEST(FieldValues, HaveAFormForMachines) {
  EXPECT_EQ(to_json(std::int32_t{70000}), Json(70000));
  EXPECT_EQ(to_json(true), Json(true));
  EXPECT_EQ(to_json(Date{}), Json(nullptr));
  EXPECT_EQ(to_json(Date{45284.0}), Json("2023-12-24 00:00:00"));
  EXPECT_EQ(to_json(Report_mt), Json("Report"));
  EXPECT_EQ(to_json(MaintTypeEnum{42}), Json(42));
}

TEST(FieldValues, AreReadByTheirType) {
  EXPECT_EQ(parse("", "", Text()), AttributeValue(Text()));
  EXPECT_EQ(parse("", "-32768", std::int16_t{}), AttributeValue(std::int16_t{-32768}));
  EXPECT_EQ(parse("", "2147483647", std::int32_t{}), AttributeValue(std::int32_t{2147483647}));
  EXPECT_EQ(parse("", "YES", false), AttributeValue(true));
  EXPECT_EQ(parse("", "0", true), AttributeValue(false));
  EXPECT_EQ(parse("", "2023-12-24", Date{}), AttributeValue(Date{45284.0}));
  EXPECT_EQ(parse("", "serverreg", NotDefined_mt), AttributeValue(ServerReg_mt));
  EXPECT_EQ(parse("", "none", PCs_rc), AttributeValue(None_rc));
  EXPECT_EQ(parse("", "", CrystalReport_rt), AttributeValue(None_rt));
}

TEST(FieldValues, ThatCannotBeReadAreRefusedWithWhatIsWanted) {
  EXPECT_EQ(complaint("", std::int16_t{}), "--it: '' is not a whole number from -32768 to 32767.");
  EXPECT_EQ(complaint("1.5", std::int32_t{}),
            "--it: '1.5' is not a whole number from -2147483648 to 2147483647.");
  EXPECT_EQ(complaint("", Date{}),
            "--it: '' is not a date of the form yyyy-mm-dd or yyyy-mm-dd hh:mm:ss.");
  EXPECT_EQ(complaint("2023-02-29", Date{}),
            "--it: '2023-02-29' is not a date of the form yyyy-mm-dd or yyyy-mm-dd hh:mm:ss.");
  EXPECT_EQ(complaint("Boss", NotDefined_mt),
            "--it: 'Boss' is not one of NotDefined, ServerReg, Component, ComponentWithPCs, "
            "Report, PCReg.");
  EXPECT_EQ(complaint("\xc3\x28", Text()), "--it: the text is not UTF-8.");
}

TEST(FieldValues, ComeBackFromTheirFormForMachines) {
  const AttributeValue values[] = {Text(u"a\nb"), std::int16_t{3}, std::int32_t{-70000}, true,
                                   Date{45284.5}, Date{},          ComponentWithPCs_mt,  None_rc};
  for (const AttributeValue& value : values) {
    // Read by the type alone, not by the value that is there.
    const AttributeValue like = std::visit(
        []<class T>(const T&) -> AttributeValue {
          if constexpr (std::is_same_v<T, MaintTypeEnum>) return Report_mt;
          if constexpr (std::is_same_v<T, ReportCodeEnum>) return PCs_rc;
          return T();
        },
        value);
    EXPECT_EQ(from_json("it", to_json(value), like), value) << to_json(value);
  }
}

TEST(FieldValues, OutOfTheOrdinarySurviveAnEditThatLeavesThem) {
  EXPECT_EQ(from_json("it", Json(42), MaintTypeEnum{42}), AttributeValue(MaintTypeEnum{42}));
  EXPECT_EQ(from_json("it", Json("1000000000"), Date{1e9}), AttributeValue(Date{1e9}));
}

TEST(FieldValues, OfDatesAloneMayBeNullForMachines) {
  EXPECT_EQ(from_json("it", Json(nullptr), Date{45284.5}), AttributeValue(Date{}));
  EXPECT_THROW((void)from_json("it", Json(nullptr), std::int16_t{3}), Failure);
  EXPECT_THROW((void)from_json("it", Json(nullptr), Text(u"a")), Failure);
}

TEST(FieldValues, TellWhatMayBeWrittenForThem) {
  EXPECT_EQ(choices(false), "yes or no");
  EXPECT_EQ(choices(Date{}), "yyyy-mm-dd [hh:mm:ss]");
  EXPECT_EQ(choices(NotDefined_mt),
            "NotDefined, ServerReg, Component, ComponentWithPCs, Report or PCReg");
  EXPECT_EQ(choices(None_rc), "PC, PCA, CRY or none");
  EXPECT_EQ(choices(Text()), "");
  EXPECT_EQ(choices(std::int16_t{}), "");
}

TEST(Fields, OfARowAreAllItsProperties) {
  EXPECT_EQ(to_json(Row::of<Component>()).size(), 13u);
  EXPECT_EQ(to_json(Row::of<RegisteredPC>()).size(), 16u);
  EXPECT_EQ(to_json(Row::of<Report>()).size(), 15u);
}

TEST(Fields, AreReadAndWrittenInTheRow) {
  Row row = Row::of<RegisteredPC>();
  for (const Attribute& attribute : row.attributes()) {
    if (attribute.name() == "TotalLogins") row.set(attribute, std::int32_t{17});
    if (attribute.name() == "LastUser") row.set(attribute, Text(u"eva"));
  }
  EXPECT_EQ((row.get<RegisteredPC, "TotalLogins">()), 17);
  EXPECT_EQ(to_json(row)["LastUser"], "eva");
}

}  // namespace
}  // namespace tarnwick::cli
