// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/PropertyList.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace zelvane {

class KeyedArchiver;
class KeyedUnarchiver;

/// What can be kept in an archive and made again from it.
class Archivable {
  public:
    virtual ~Archivable() = default;
    /// By which the archive knows what to make again.
    virtual std::string archivedClassName() const = 0;
    virtual void encodeWithCoder(KeyedArchiver& coder) const = 0;
};

/// May put another object in the place of one that is about to be archived.
class KeyedArchiverDelegate {
  public:
    virtual ~KeyedArchiverDelegate() = default;
    virtual std::shared_ptr<const Archivable> willEncodeObject(std::shared_ptr<const Archivable> object) = 0;
};

/// May put another object in the place of one that was just made.
class KeyedUnarchiverDelegate {
  public:
    virtual ~KeyedUnarchiverDelegate() = default;
    virtual std::shared_ptr<Archivable> didDecodeObject(std::shared_ptr<Archivable> object) = 0;
};

/// Collects what an object keeps, each value under a key of its own. Any thread, one at a time.
class KeyedArchiver {
  public:
    /// An object with all it holds, as bytes.
    static PropertyList::Data archivedData(std::shared_ptr<const Archivable> root,
                                           KeyedArchiverDelegate* delegate = nullptr);

    void encodeObject(const std::string& text, const std::string& key) { _values[key] = {text}; }
    void encodeObject(std::shared_ptr<const Archivable> object, const std::string& key);
    void encodeInt32(std::int32_t number, const std::string& key) { _values[key] = {std::int64_t{number}}; }

  private:
    explicit KeyedArchiver(KeyedArchiverDelegate* delegate) : _delegate(delegate) {}
    static PropertyList encoded(std::shared_ptr<const Archivable> object, KeyedArchiverDelegate* delegate);

    KeyedArchiverDelegate* _delegate;
    PropertyList::Dictionary _values;
};

/// Gives back what one archived object keeps. Any thread, one at a time.
class KeyedUnarchiver {
  public:
    /// How each class that may stand in an archive is made from it; null when that fails.
    using Classes = std::map<std::string, std::function<std::shared_ptr<Archivable>(const KeyedUnarchiver&)>>;

    /// The archived object; null when the bytes are no archive or hold a class that is not among those given.
    static std::shared_ptr<Archivable> unarchivedObject(const PropertyList::Data& data, const Classes& classes,
                                                        KeyedUnarchiverDelegate* delegate = nullptr);

    std::optional<std::string> decodeString(const std::string& key) const;
    /// 0 when there is none.
    std::int32_t decodeInt32(const std::string& key) const;
    std::shared_ptr<Archivable> decodeObject(const std::string& key) const;

  private:
    KeyedUnarchiver(const PropertyList::Dictionary& values, const Classes& classes, KeyedUnarchiverDelegate* delegate)
        : _values(values), _classes(classes), _delegate(delegate) {}
    static std::shared_ptr<Archivable> decoded(const PropertyList& value, const Classes& classes,
                                               KeyedUnarchiverDelegate* delegate);
    const PropertyList* find(const std::string& key) const;

    const PropertyList::Dictionary& _values;
    const Classes& _classes;
    KeyedUnarchiverDelegate* _delegate;
};

}  // namespace zelvane
