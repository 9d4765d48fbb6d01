// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCMessage.h"

#include "Platform/Foundation/Text.h"

#include <array>
#include <charconv>
#include <concepts>
#include <type_traits>

namespace zelvane {

namespace {

template <typename T>
concept Number = std::integral<T> || std::floating_point<T>;

/// The value cut toward zero fits in 32 bits. Every number of a message fits a double well enough to decide that.
bool fitsInteger(double value) {
    return value > -2147483649.0 && value < 2147483648.0;
}

template <typename Result>
std::optional<Result> numberAs(const OSCArgument::Value& value) {
    return std::visit(
        [](const auto& held) -> std::optional<Result> {
            if constexpr (Number<std::decay_t<decltype(held)>>) {
                if (fitsInteger(static_cast<double>(held))) return static_cast<Result>(held);
            }
            return std::nullopt;
        },
        value);
}

std::string opaqueDescription(char typeTag) {
    switch (typeTag) {
        case 'T':
            return "true";
        case 'F':
            return "false";
        case 'N':
            return "nil";
        case 'I':
            return "infinitum";
        case 'b':
            return "blob";
        case 't':
            return "time tag";
        case 'c':
            return "character";
        case 'r':
            return "colour";
        case 'm':
            return "MIDI message";
        default:
            return printable(std::string(1, typeTag));
    }
}

/// The shortest digits that give the number back, the same in every locale.
template <Number T>
std::string digits(T value) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

}  // namespace

bool OSCArgument::isNumber() const {
    return !isString() && !std::holds_alternative<OSCOpaque>(_value);
}

bool OSCArgument::isString() const {
    return std::holds_alternative<std::string>(_value);
}

std::optional<std::int32_t> OSCArgument::intValue() const {
    return numberAs<std::int32_t>(_value);
}

std::optional<float> OSCArgument::floatValue() const {
    return numberAs<float>(_value);
}

std::optional<double> OSCArgument::doubleValue() const {
    return numberAs<double>(_value);
}

const std::string& OSCArgument::stringValue() const {
    static const std::string none;
    const auto* text = std::get_if<std::string>(&_value);
    return text != nullptr ? *text : none;
}

std::string OSCArgument::description() const {
    return std::visit(
        [](const auto& held) -> std::string {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (Number<Held>) {
                return digits(held);
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return '"' + printable(held) + '"';
            } else {
                return opaqueDescription(held.typeTag);
            }
        },
        _value);
}

std::string OSCMessage::argumentsDescription() const {
    std::string list = "(";
    for (const auto& argument : arguments) {
        if (list.size() > 1) list += ", ";
        list += argument.description();
    }
    return list + ")";
}

}  // namespace zelvane
