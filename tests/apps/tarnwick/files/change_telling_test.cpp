#include "apps/tarnwick/files/change_telling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarnwick::cli {
namespace {

using Action = Change::Action;
using automation::ClassId;
using Json = nlohmann::ordered_json;

const FileField& field(ClassId record_class, std::string_view name) {
  const auto fields = file_fields(record_class);
  const auto found = std::ranges::find(fields, name, &FileField::name);
  if (found == fields.end()) throw std::logic_error("no field " + std::string(name));
  return *found;
}

Change change_of(Action action, std::vector<Difference> differences) {
  Row row = Row::of<Component>();
  row.set<Component, "CompID">(std::int16_t{7});
  return {action, std::move(row), nullptr, std::move(differences)};
}

Change renamed(const std::string& stored, const std::string& wanted) {
  return change_of(Action::kChange,
                   {{&field(ClassId::kComponent, "CompName"), Json(stored), Json(wanted), true}});
}

std::string letters(int count, const std::string& letter) {
  std::string text;
  for (int i = 0; i < count; ++i) text += letter;
  return text;
}

TEST(ChangedFields, AreShownWithWhatTheyWereAndBecome) {
  EXPECT_EQ(lines_of_fields(renamed("Sales", "Orders")), "  CompName: 'Sales' -> 'Orders'\n");
}

TEST(ChangedFields, AreCutToSixtyCharactersOfTheirBeginning) {
  EXPECT_EQ(lines_of_fields(renamed(letters(60, "a"), letters(61, "b"))),
            "  CompName: '" + letters(60, "a") + "' -> '" + letters(60, "b") + "…'\n");
}

TEST(ChangedFields, ThatDifferFarBehindAreShownFromThereOn) {
  EXPECT_EQ(lines_of_fields(renamed(letters(100, "a") + "x", letters(100, "a") + "y")),
            "  CompName: '…" + letters(20, "a") + "x' -> '…" + letters(20, "a") + "y'\n");
}

TEST(ChangedFields, AreCutBetweenCharacters) {
  // Twenty bytes before the difference is in the midst of a character of two, sixty of three is
  // not.
  EXPECT_EQ(lines_of_fields(renamed(letters(40, "ä") + "ax", letters(40, "ä") + "ay")),
            "  CompName: '…" + letters(10, "ä") + "ax' -> '…" + letters(10, "ä") + "ay'\n");
  EXPECT_EQ(lines_of_fields(renamed("", "a" + letters(30, "日"))),
            "  CompName: '' -> 'a" + letters(19, "日") + "…'\n");
}

TEST(ChangedFields, ThatAreNotWrittenSaySo) {
  EXPECT_EQ(lines_of_fields(change_of(Action::kChange, {{&field(ClassId::kComponent, "CompName"),
                                                         Json("Sales"), Json(nullptr), false}})),
            "  CompName: 'Sales' -> '' (not written)\n");
}

TEST(ChangedFields, OfANewRecordAreShownWithoutItsKey) {
  EXPECT_EQ(lines_of_fields(change_of(
                Action::kAdd,
                {{&field(ClassId::kComponent, "CompID"), Json(nullptr), Json(7), true},
                 {&field(ClassId::kComponent, "CompName"), Json(nullptr), Json("Sales"), true}})),
            "  CompName: 'Sales'\n");
}

TEST(Changes, TellMachinesWhatBecameOfThem) {
  const Change change = renamed("Sales", "Orders");
  EXPECT_EQ(to_json(change, Outcome::kPlanned)["Outcome"], "planned");
  EXPECT_EQ(to_json(change, Outcome::kDone)["Outcome"], "done");
  EXPECT_EQ(to_json(change, Outcome::kChanged)["Outcome"], "changed by someone else");
  EXPECT_EQ(to_json(change, Outcome::kHeld)["Outcome"], "held by another process");
}

}  // namespace
}  // namespace tarnwick::cli
