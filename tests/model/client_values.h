#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "client/transport.h"
#include "tests/model/reference_model.h"

namespace tarnwick::model {

// What the words of a step are to a client.

[[nodiscard]] Text text_of(std::string_view utf8);
/// The arguments of Add of the collection that holds records of the kind.
[[nodiscard]] std::vector<client::Value> arguments_of_add(const Step& step, Kind kind);
[[nodiscard]] client::Value value_to_let(const client::Member& member, const Setting& setting,
                                         int value);
/// The key of an entry in the collection.
[[nodiscard]] std::string key_text(Kind kind, int number);

}  // namespace tarnwick::model
