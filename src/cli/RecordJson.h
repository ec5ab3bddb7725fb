#pragma once
// A game record as JSON, its keys named as the record's fields; texts converted from the code
// page to UTF-8.

#include <nlohmann/json.hpp>

#include "recipes/GameRecord.h"

namespace optera::cli {

nlohmann::ordered_json RecordJson(const recipes::GameRecord& game);

}  // namespace optera::cli
