#include "tests/model/client_values.h"

#include "runtime/text.h"

namespace tarnwick::model {

Text text_of(std::string_view utf8) { return from_utf8(utf8); }

std::vector<client::Value> arguments_of_add(const Step& step, Kind kind) {
  const Text text = text_of(chosen(kTexts, step.value));
  const std::int16_t number = chosen(kSmallNumbers, step.value);
  const Date date{chosen(kDates, step.value)};
  const bool truth = step.value % 2 == 1;
  switch (kind) {
    case kComponents:
      return {chosen(kComponentIds, step.key),
              text,
              number,
              number,
              number,
              truth,
              std::int16_t{2},
              std::int32_t{step.value % 4},
              text,
              text,
              text_of(chosen(kMetaIds, step.value)),
              text};
    case kPcs: {
      const PcName& name = chosen(kPcNames, step.key);
      return {text_of(name.mac),
              name.component,
              text_of(name.computer),
              text,
              date,
              truth,
              std::int32_t{5},
              number,
              text,
              date,
              std::int32_t{number},
              text,
              date,
              Text(),
              text};
    }
    case kReports:
      break;
  }
  return {text_of(chosen(kReportNames, step.key)),
          text,
          text,
          date,
          text,
          text,
          number,
          text,
          text_of(chosen(kTtxTexts, step.value)),
          std::int32_t{step.value % 2},
          text,
          std::int16_t{4},
          text_of("00AB"),
          text};
}

client::Value value_to_let(const client::Member& member, const Setting& setting, int value) {
  using automation::Kind;
  const std::int16_t number = std::string_view(setting.property) == "CompID"
                                  ? chosen(kComponentIds, value)
                                  : chosen(kSmallNumbers, value);
  switch (member.result.kind) {
    case Kind::kText:
      return text_of(chosen(setting.texts, value));
    case Kind::kBoolean:
      return value % 2 == 1;
    case Kind::kDate:
      return Date{chosen(kDates, value)};
    case Kind::kEnumeration:
      return std::int32_t{value % 2};
    case Kind::kInt32:
      return std::int32_t{number};
    default:
      return number;
  }
}

std::string key_text(Kind kind, int number) {
  if (kind == kReports) return chosen(kReportNames, number);
  if (kind == kPcs) {
    const PcName& name = chosen(kPcNames, number);
    return pc_key(name.mac, name.computer, name.component);
  }
  const std::int16_t id = chosen(kComponentIds, number);
  return id < 0 ? "" : "c" + std::to_string(id);
}

}  // namespace tarnwick::model
