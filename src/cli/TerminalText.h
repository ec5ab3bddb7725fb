#pragma once
// The one boundary between the program's 8-bit text (the Windows-1252 code page, as recipes,
// Optera.ini and Windows paths hold it) and the terminal, whose text is UTF-8. Everything the
// command line prints or writes as JSON passes through here, and every argument it is given.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace optera::cli {

// Program text for the terminal.
std::string Utf8(std::string_view text);

// A terminal argument as program text. Text that is not UTF-8 is taken as it stands, so that
// a name typed in the code page's own bytes still finds its game.
std::string FromTerminal(std::string_view text);

// A JSON document whose strings and keys are program text, written as UTF-8. JSON built from
// raw program text would abort on its first 8-bit byte.
std::string JsonText(const nlohmann::ordered_json& document, int indent = 2);

}  // namespace optera::cli
