// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/PropertyList.h"

#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace zelvane {

/// The user's settings in three domains, looked up in this order: arguments of this run, which are never stored; the
/// user's file; the values registered at launch. Any thread but the audio thread.
class UserDefaults {
  public:
    /// Reads the file. A damaged one is set aside under a name of its own and a log line tells so.
    explicit UserDefaults(std::filesystem::path file);

    void registerDefaults(const PropertyList::Dictionary& defaults);
    void setArgument(const std::string& key, PropertyList value);

    std::optional<PropertyList> object(const std::string& key) const;
    /// The value registered for the key, whatever the user stored.
    std::optional<PropertyList> registeredObject(const std::string& key) const;
    /// A text, or none: numbers (true and false being 1 and 0) are given as text, other kinds are none.
    std::optional<std::string> string(const std::string& key) const;
    /// A whole number: fractions are cut, texts are read up to the first character that is no digit; 0 when there is
    /// none.
    std::int64_t integer(const std::string& key) const;

    /// Stores in the user's domain; the file follows through the save handler, or at once without one.
    void set(const std::string& key, PropertyList value);
    void remove(const std::string& key);

    /// `handler` is called on the thread that stores, when there is something to save; it has `save` called soon.
    void setSaveHandler(std::function<void()> handler);
    /// Writes the file if anything changed; a failure is logged and the change kept for the next try. True when the
    /// file holds all that was stored.
    bool save();
    /// Writes the file also when nothing has changed, so that it is there.
    bool saveAnyway();

  private:
    void changed(std::unique_lock<std::mutex> lock);

    const std::filesystem::path _file;
    mutable std::mutex _mutex;
    std::mutex _saving;
    PropertyList::Dictionary _arguments, _user, _registered;
    std::function<void()> _saveHandler;
    bool _isDirty = false;
    bool _mayWrite = true;  // not over a damaged file that could not be set aside
};

}  // namespace zelvane
