// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/DefaultsBindings.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QVariant>
#include <algorithm>
#include <optional>
#include <utility>

namespace zelvane {

namespace {

std::string keyOf(const QWidget& widget) {
    return widget.property("defaultsKey").toString().toStdString();
}

/// Digits alone, blanks around them let pass.
std::optional<std::int64_t> wholeNumber(const QString& text) {
    const QString digits = text.trimmed();
    const auto isDigit = [](QChar character) { return character >= u'0' && character <= u'9'; };
    bool isNumber = false;
    const qlonglong number = digits.toLongLong(&isNumber);
    return isNumber && std::all_of(digits.begin(), digits.end(), isDigit) ? std::optional(number) : std::nullopt;
}

/// Red that can be read on the window.
QPalette alarming(QPalette palette) {
    const bool isDark = palette.color(QPalette::Window).lightness() < 128;
    palette.setColor(QPalette::WindowText, isDark ? QColor(255, 138, 128) : QColor(176, 0, 32));
    return palette;
}

}  // namespace

DefaultsBindings::DefaultsBindings(QWidget& root, UserDefaultsController& values,
                                   std::function<void(bool)> validityChanged)
    : _root(root), _values(values), _validityChanged(std::move(validityChanged)) {
    for (auto* box : root.findChildren<QCheckBox*>()) {
        if (const auto key = keyOf(*box); !key.empty()) bindCheckBox(*box, key);
    }
    for (auto* line : root.findChildren<QLineEdit*>()) {
        if (const auto key = keyOf(*line); !key.empty()) bindNumber(*line, key);
    }
}

void DefaultsBindings::showValues() {
    for (auto* box : _root.findChildren<QCheckBox*>()) {
        if (const auto key = keyOf(*box); !key.empty()) box->setChecked(_values.integer(key) == 1);
    }
    for (auto* line : _root.findChildren<QLineEdit*>()) {
        if (const auto key = keyOf(*line); !key.empty()) line->setText(QString::number(_values.integer(key)));
    }
}

void DefaultsBindings::bindCheckBox(QCheckBox& box, const std::string& key) {
    QObject::connect(&box, &QCheckBox::clicked, &box, [this, key](bool isChecked) {
        _values.setValue(key, PropertyList{std::int64_t{isChecked ? 1 : 0}});
    });
}

void DefaultsBindings::bindNumber(QLineEdit& line, const std::string& key) {
    line.setFixedWidth(line.fontMetrics().horizontalAdvance(QStringLiteral("0000000")) +
                       2 * line.fontMetrics().height());
    QObject::connect(&line, &QLineEdit::textChanged, &line, [this, &line, key] { take(line, key); });
}

void DefaultsBindings::take(QLineEdit& line, const std::string& key) {
    const auto lowest = line.property("lowest").toLongLong(), highest = line.property("highest").toLongLong();
    const auto number = wholeNumber(line.text());
    const bool isValid = number && *number >= lowest && *number <= highest;
    if (isValid && *number != _values.integer(key)) _values.setValue(key, PropertyList{*number});
    const auto complaint =
        formatted(localizedString("Must be %d to %d."), {std::to_string(lowest), std::to_string(highest)});
    tellOf(line, isValid ? QString() : QString::fromStdString(complaint));
    isValid ? static_cast<void>(_invalid.erase(&line)) : static_cast<void>(_invalid.insert(&line));
    _validityChanged(_invalid.empty());
}

void DefaultsBindings::tellOf(QLineEdit& line, const QString& complaint) {
    line.setAccessibleDescription(complaint);
    auto* label = _root.findChild<QLabel*>(line.objectName() + QStringLiteral("Error"));
    if (label == nullptr) return;
    label->setPalette(alarming(_root.palette()));
    label->setText(complaint);
}

}  // namespace zelvane
