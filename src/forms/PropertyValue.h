#pragma once
// The value of a control's property: a Boolean, a 32-bit integer (colours, styles, indexes), a
// number (lengths in twips, font sizes) or a text (captions, texts, picture and font names).

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace optera::forms {

// A colour as the platform holds it: red in the low byte, then green, then blue.
using Colour = std::uint32_t;

using PropertyValue = std::variant<bool, std::int32_t, double, std::string>;

// The value converted to the type of `like`, as the toolkit converts on assignment: numbers and
// Booleans into each other (True is -1), numbers into text and text into numbers by the number
// rule. nullopt when a number does not fit a 32-bit integer.
std::optional<PropertyValue> ConvertLike(const PropertyValue& value, const PropertyValue& like);

}  // namespace optera::forms
