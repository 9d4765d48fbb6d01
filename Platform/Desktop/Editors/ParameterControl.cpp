// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/ParameterControl.h"

#include "Platform/Desktop/Editors/QtText.h"
#include "Platform/Desktop/Editors/ValueScale.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QSlider>
#include <algorithm>
#include <cmath>
#include <utility>

namespace zelvane {

namespace {

constexpr int kValueWidth = 112;
constexpr int kRoomAround = 9;  // in height; rows of all kinds are the same

QHBoxLayout* makeRow(QWidget& parent) {
    auto* row = new QHBoxLayout(&parent);
    row->setContentsMargins(0, 0, 0, 0);
    parent.setMinimumHeight(parent.fontMetrics().height() + kRoomAround);
    return row;
}

class SliderControl final : public ParameterControl {
  public:
    SliderControl(const UnitParameter& parameter, Edited edited)
        : _scale(parameter),
          _edited(std::move(edited)),
          _slider(new QSlider(Qt::Horizontal)),
          _value(new QDoubleSpinBox) {
        setUpSlider(parameter);
        setUpValue(parameter);
        QHBoxLayout* row = makeRow(*this);
        row->addWidget(_slider, 1);
        row->addWidget(_value);
        setFocusProxy(_slider);
        showValue(parameter.defaultValue);
    }

    void showValue(float value) override {
        const QSignalBlocker quietSlider(_slider), quietValue(_value);
        _slider->setValue(_scale.positionOf(value));
        _value->setValue(static_cast<double>(value));
    }

  private:
    void setUpSlider(const UnitParameter& parameter) {
        adopt(*_slider, parameter, "slider");
        _slider->setRange(0, _scale.lastPosition());
        _slider->setSingleStep(std::max(1, _scale.lastPosition() / 100));
        _slider->setPageStep(std::max(1, _scale.lastPosition() / 10));
        connect(_slider, &QSlider::valueChanged, this, [this](int position) {
            const float value = _scale.valueAt(position);
            const QSignalBlocker quiet(_value);
            _value->setValue(static_cast<double>(value));
            _edited(value);
        });
    }

    void setUpValue(const UnitParameter& parameter) {
        adopt(*_value, parameter, "value");
        _value->setDecimals(_scale.decimals());
        _value->setRange(static_cast<double>(parameter.minimum), static_cast<double>(parameter.maximum));
        _value->setSingleStep(std::pow(10.0, -_scale.decimals()));
        if (!parameter.unit.empty()) _value->setSuffix(QLatin1Char(' ') + qtText(parameter.unit));
        _value->setAlignment(Qt::AlignRight);
        _value->setFixedWidth(kValueWidth);
        _value->setKeyboardTracking(false);
        connect(_value, &QDoubleSpinBox::valueChanged, this, [this](double value) {
            const QSignalBlocker quiet(_slider);
            _slider->setValue(_scale.positionOf(static_cast<float>(value)));
            _edited(static_cast<float>(value));
        });
    }

    const ValueScale _scale;
    const Edited _edited;
    QSlider* const _slider;
    QDoubleSpinBox* const _value;
};

class SwitchControl final : public ParameterControl {
  public:
    SwitchControl(const UnitParameter& parameter, Edited edited)
        : _off(parameter.minimum), _on(parameter.maximum), _switch(new QCheckBox) {
        adopt(*_switch, parameter, "switch");
        makeRow(*this)->addWidget(_switch);
        setFocusProxy(_switch);
        showValue(parameter.defaultValue);
        connect(_switch, &QCheckBox::toggled, this,
                [this, edited = std::move(edited)](bool isOn) { edited(isOn ? _on : _off); });
    }

    void showValue(float value) override {
        const QSignalBlocker quiet(_switch);
        _switch->setChecked(value > (_off + _on) / 2);
    }

  private:
    const float _off, _on;
    QCheckBox* const _switch;
};

class ChoiceControl final : public ParameterControl {
  public:
    ChoiceControl(const UnitParameter& parameter, Edited edited)
        : _choices(parameter.valueNames), _choice(new QComboBox) {
        adopt(*_choice, parameter, "choice");
        for (const auto& [value, name] : _choices) _choice->addItem(qtText(name));
        makeRow(*this)->addWidget(_choice);
        setFocusProxy(_choice);
        showValue(parameter.defaultValue);
        connect(_choice, &QComboBox::activated, this, [this, edited = std::move(edited)](int place) {
            edited(_choices[static_cast<std::size_t>(place)].first);
        });
    }

    void showValue(float value) override {
        const auto isNearer = [value](const auto& a, const auto& b) {
            return std::abs(a.first - value) < std::abs(b.first - value);
        };
        const auto nearest = std::min_element(_choices.begin(), _choices.end(), isNearer);
        _choice->setCurrentIndex(static_cast<int>(nearest - _choices.begin()));
    }

  private:
    const std::vector<std::pair<float, std::string>> _choices;
    QComboBox* const _choice;
};

}  // namespace

std::unique_ptr<ParameterControl> ParameterControl::make(const UnitParameter& parameter, Edited edited) {
    if (!parameter.valueNames.empty()) return std::make_unique<ChoiceControl>(parameter, std::move(edited));
    if (parameter.isToggled) return std::make_unique<SwitchControl>(parameter, std::move(edited));
    return std::make_unique<SliderControl>(parameter, std::move(edited));
}

void ParameterControl::adopt(QWidget& part, const UnitParameter& parameter, const char* kind) {
    part.setObjectName(qtText(kind + std::string("-") + parameter.symbol));
    part.setAccessibleName(qtText(parameter.name));
    part.setFocusPolicy(Qt::StrongFocus);
    part.setEnabled(parameter.isWritable);
    part.installEventFilter(this);
}

bool ParameterControl::eventFilter(QObject* watched, QEvent* event) {
    const auto* part = qobject_cast<QWidget*>(watched);
    if (event->type() != QEvent::Wheel || part == nullptr || part->hasFocus()) return false;
    event->ignore();
    return true;
}

}  // namespace zelvane
