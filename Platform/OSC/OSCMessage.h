// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace zelvane {

/// An argument that is neither a number nor a string: its type tag alone is kept.
struct OSCOpaque {
    char typeTag;
    bool operator==(const OSCOpaque&) const = default;
};

/// One argument of a message. Numbers are the type tags i, h, f and d; strings are s and S.
class OSCArgument {
  public:
    using Value = std::variant<std::int32_t, std::int64_t, float, double, std::string, OSCOpaque>;

    // A value is an argument: nothing is lost or hidden by the conversion.
    OSCArgument(Value value) : _value(std::move(value)) {}  // NOLINT(google-explicit-constructor)

    const Value& value() const { return _value; }
    bool isNumber() const;
    bool isString() const;

    /// The whole number, a fraction cut toward zero; none for what 32 bits cannot hold (NaN and infinity among it) and
    /// for what is no number.
    std::optional<std::int32_t> intValue() const;
    /// As single and double precision; none under the same conditions as `intValue`.
    std::optional<float> floatValue() const;
    std::optional<double> doubleValue() const;
    /// The text; empty for what is no string.
    const std::string& stringValue() const;

    /// As it stands in a log line: strings in quotes and in one line.
    std::string description() const;

    bool operator==(const OSCArgument&) const = default;

  private:
    Value _value;
};

/// An address and its arguments.
struct OSCMessage {
    std::string address;
    std::vector<OSCArgument> arguments;

    /// All arguments in one line: (6050, 100, "text").
    std::string argumentsDescription() const;

    bool operator==(const OSCMessage&) const = default;
};

}  // namespace zelvane
