#include "forms/PropertyValue.h"

#include <cmath>

#include "text/Number.h"

namespace optera::forms {

namespace {

std::optional<double> AsNumber(const PropertyValue& value) {
    if (auto b = std::get_if<bool>(&value)) return *b ? -1.0 : 0.0;
    if (auto i = std::get_if<std::int32_t>(&value)) return static_cast<double>(*i);
    if (auto d = std::get_if<double>(&value)) return *d;
    return text::LeadingNumber(std::get<std::string>(value));
}

std::string AsText(const PropertyValue& value) {
    if (auto b = std::get_if<bool>(&value)) return *b ? "True" : "False";
    if (auto i = std::get_if<std::int32_t>(&value)) return std::to_string(*i);
    if (auto d = std::get_if<double>(&value)) {
        std::string s = std::to_string(*d);
        s.erase(s.find_last_not_of('0') + 1);
        if (s.back() == '.') s.pop_back();
        return s;
    }
    return std::get<std::string>(value);
}

}  // namespace

std::optional<PropertyValue> ConvertLike(const PropertyValue& value, const PropertyValue& like) {
    if (value.index() == like.index()) return value;
    if (std::holds_alternative<std::string>(like)) return PropertyValue(AsText(value));
    std::optional<double> number = AsNumber(value);
    if (!number) return std::nullopt;
    if (std::holds_alternative<bool>(like)) return PropertyValue(*number != 0);
    if (std::holds_alternative<double>(like)) return PropertyValue(*number);
    auto rounded = text::RoundToInt32(*number);
    if (!rounded) return std::nullopt;
    return PropertyValue(*rounded);
}

}  // namespace optera::forms
