#include "apps/tarnwick/output/values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/failure.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string complaint(std::string_view text, const FieldValue& like) {
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
  EXPECT_EQ(parse("", "", Text()), FieldValue(Text()));
  EXPECT_EQ(parse("", "-32768", std::int16_t{}), FieldValue(std::int16_t{-32768}));
  EXPECT_EQ(parse("", "2147483647", std::int32_t{}), FieldValue(std::int32_t{2147483647}));
  EXPECT_EQ(parse("", "YES", false), FieldValue(true));
  EXPECT_EQ(parse("", "0", true), FieldValue(false));
  EXPECT_EQ(parse("", "2023-12-24", Date{}), FieldValue(Date{45284.0}));
  EXPECT_EQ(parse("", "serverreg", NotDefined_mt), FieldValue(ServerReg_mt));
  EXPECT_EQ(parse("", "none", PCs_rc), FieldValue(None_rc));
  EXPECT_EQ(parse("", "", CrystalReport_rt), FieldValue(None_rt));
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
  const FieldValue values[] = {Text(u"a\nb"), std::int16_t{3}, std::int32_t{-70000}, true,
                               Date{45284.5}, Date{},          ComponentWithPCs_mt,  None_rc};
  for (const FieldValue& value : values) {
    // Read by the type alone, not by the value that is there.
    const FieldValue like = std::visit(
        []<class T>(const T&) -> FieldValue {
          if constexpr (std::is_same_v<T, MaintTypeEnum>) return Report_mt;
          if constexpr (std::is_same_v<T, ReportCodeEnum>) return PCs_rc;
          return T();
        },
        value);
    EXPECT_EQ(from_json("it", to_json(value), like), value) << to_json(value);
  }
}

TEST(FieldValues, OutOfTheOrdinarySurviveAnEditThatLeavesThem) {
  EXPECT_EQ(from_json("it", Json(42), MaintTypeEnum{42}), FieldValue(MaintTypeEnum{42}));
  EXPECT_EQ(from_json("it", Json("1000000000"), Date{1e9}), FieldValue(Date{1e9}));
}

TEST(Fields, OfARowAreAllItsProperties) {
  EXPECT_EQ(fields_of(ComponentRow()).size(), 13u);
  EXPECT_EQ(fields_of(PcRow()).size(), 16u);
  EXPECT_EQ(fields_of(ReportRow()).size(), 15u);
}

TEST(Fields, AreReadAndWrittenInTheRow) {
  PcRow row;
  for (const auto& field : fields_of(row)) {
    if (field.name == "TotalLogins") set(row, field, FieldValue(std::int32_t{17}));
    if (field.name == "LastUser") set(row, field, FieldValue(Text(u"eva")));
  }
  EXPECT_EQ(row.total_logins, 17);
  EXPECT_EQ(row_to_json(row)["LastUser"], "eva");
}

}  // namespace
}  // namespace tarnwick::cli
