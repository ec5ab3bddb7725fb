#pragma once
// A game record as JSON, its keys named as the record's fields; texts as the program holds them
// (write it out through JsonText).

#include <nlohmann/json.hpp>

#include "recipes/GameRecord.h"

namespace optera::cli {

nlohmann::ordered_json RecordJson(const recipes::GameRecord& game);

}  // namespace optera::cli
