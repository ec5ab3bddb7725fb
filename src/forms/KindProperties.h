#pragma once
// The properties each kind of control has, with the value a new control starts with.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "forms/PropertyValue.h"

namespace optera::forms {

using PropertyList = std::vector<std::pair<std::string, PropertyValue>>;

// The properties of a kind and their initial values; an unknown kind has the common ones.
PropertyList PropertiesOfKind(std::string_view kind);

// The canonical name of a property written another way ("Font.Size" -> "FontSize").
std::string_view CanonicalProperty(std::string_view name);

}  // namespace optera::forms
