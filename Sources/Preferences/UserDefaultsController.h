// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/UserDefaults.h"

#include <map>
#include <optional>
#include <string>

namespace zelvane {

/// The user's settings while they are edited: what is set is held back until it is saved or thrown away. One thread.
class UserDefaultsController {
  public:
    /// The defaults must outlive this object.
    explicit UserDefaultsController(UserDefaults& defaults) : _defaults(defaults) {}

    /// Whether values are stored as soon as they are set, as they are at first.
    void setAppliesImmediately(bool appliesImmediately) { _appliesImmediately = appliesImmediately; }

    /// The pending value, else the one in the defaults; likewise as a text or a number.
    std::optional<PropertyList> value(const std::string& key) const;
    std::optional<std::string> string(const std::string& key) const;
    std::int64_t integer(const std::string& key) const;
    /// None takes the user's value away, so that the registered one holds.
    void setValue(const std::string& key, std::optional<PropertyList> value);

    /// Stores the values that differ from those in the defaults. One that equals the registered value is not kept by
    /// the user: texts among those follow the language of later runs.
    void save();
    void revert() { _pending.clear(); }

  private:
    void store(const std::string& key, const std::optional<PropertyList>& value);

    UserDefaults& _defaults;
    std::map<std::string, std::optional<PropertyList>> _pending;
    bool _appliesImmediately = true;
};

}  // namespace zelvane
