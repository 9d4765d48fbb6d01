// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/ChannelPresets.h"

#include "Platform/Audio/Instruments/SoundFont/SoundFontProperties.h"
#include "Platform/Desktop/Editors/PresetMenu.h"
#include "Platform/Desktop/Editors/QtText.h"
#include "Platform/Foundation/Text.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>

namespace zelvane {

namespace {

constexpr std::size_t kDrumChannel = 9;
constexpr std::int32_t kFirstDrumKit = 128 * 128;
constexpr std::size_t kRows = 8;

AudioUnitPropertyID propertyOf(std::size_t channel) {
    return kSoundFontProperty_FirstChannelPreset + static_cast<AudioUnitPropertyID>(channel);
}

/// Numbers count from 1, as on instruments; of variations the bank is told.
QString titleOf(const FactoryPreset& preset) {
    const std::int32_t bank = preset.number / 128;
    const QString program = QString::number(preset.number % 128 + 1) + QLatin1Char(' ') + qtText(preset.name);
    return bank == 0 || preset.number >= kFirstDrumKit ? program : program + QStringLiteral(" (%1)").arg(bank);
}

}  // namespace

ChannelPresets::ChannelPresets(EditedUnit& unit) : _unit(unit) {
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setVerticalSpacing(4);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    for (std::size_t channel = 0; channel < kChannels; ++channel) addChannel(channel);
    readBank();
}

void ChannelPresets::addChannel(std::size_t channel) {
    const std::string number = std::to_string(channel + 1);
    auto* choice = new QComboBox;
    choice->setObjectName(qtText("channel-" + number));
    choice->setAccessibleName(qtText(formatted(localizedString("Sound of channel %@"), {number})));
    choice->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    choice->setMinimumContentsLength(16);
    choice->setFocusPolicy(Qt::StrongFocus);
    choice->setModel(channel == kDrumChannel ? &_drumKits : &_melodic);
    connect(choice, &QComboBox::activated, this, [this, channel, choice](int place) {
        _unit.setProperty(propertyOf(channel), std::int32_t{choice->itemData(place).toInt()});
    });
    auto* label = new QLabel(qtText(number));
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setBuddy(choice);
    auto* grid = static_cast<QGridLayout*>(layout());
    const int row = static_cast<int>(channel % kRows);
    const int column = static_cast<int>(channel / kRows) * 2;
    grid->addWidget(label, row, column);
    grid->addWidget(choice, row, column + 1);
    _choices[channel] = choice;
}

void ChannelPresets::readBank() {
    _melodic.clear();
    _drumKits.clear();
    for (const FactoryPreset& preset : factoryPresets(_unit)) {
        auto* item = new QStandardItem(titleOf(preset));
        item->setData(preset.number, Qt::UserRole);
        (preset.number >= kFirstDrumKit ? _drumKits : _melodic).appendRow(item);
    }
    follow();
}

void ChannelPresets::follow() {
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
        QComboBox& choice = *_choices[channel];
        if (choice.view()->isVisible()) continue;
        const auto present = _unit.property<std::int32_t>(propertyOf(channel));
        const bool isShown = present && choice.currentIndex() >= 0 && choice.currentData().toInt() == *present;
        if (!isShown) choice.setCurrentIndex(present ? choice.findData(*present) : -1);
    }
}

}  // namespace zelvane
