// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/PresetMenu.h"

#include "Platform/Audio/Units/AUPreset.h"
#include "Platform/Desktop/Editors/QtText.h"

#include <QAbstractItemView>

namespace zelvane {

namespace {

constexpr const char* kNumber = "number";
constexpr const char* kName = "name";

void append(std::vector<FactoryPreset>& presets, const PropertyList& entry) {
    const auto* dictionary = std::get_if<PropertyList::Dictionary>(&entry.value);
    if (dictionary == nullptr || !dictionary->contains(kNumber) || !dictionary->contains(kName)) return;
    const auto* number = std::get_if<std::int64_t>(&dictionary->at(kNumber).value);
    const auto* name = std::get_if<std::string>(&dictionary->at(kName).value);
    if (number != nullptr && name != nullptr) presets.push_back({static_cast<std::int32_t>(*number), *name});
}

}  // namespace

std::vector<FactoryPreset> factoryPresets(const EditedUnit& unit) {
    std::vector<FactoryPreset> presets;
    const auto list = unit.object(kAudioUnitProperty_FactoryPresets);
    const auto* entries = list ? std::get_if<PropertyList::Array>(&list->value) : nullptr;
    if (entries == nullptr) return presets;
    for (const PropertyList& entry : *entries) append(presets, entry);
    return presets;
}

PresetMenu::PresetMenu(EditedUnit& unit) : _unit(unit) {
    setObjectName(QStringLiteral("presets"));
    setAccessibleName(localizedText("Preset"));
    setPlaceholderText(localizedText("Choose a preset"));
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(18);
    for (const FactoryPreset& preset : factoryPresets(unit)) addItem(qtText(preset.name), preset.number);
    connect(this, &QComboBox::activated, this, [this](int place) {
        const AUPreset preset{.presetNumber = itemData(place).toInt()};
        _unit.setProperty(kAudioUnitProperty_PresentPreset, preset);
        follow();
    });
    follow();
}

void PresetMenu::follow() {
    if (count() == 0 || view()->isVisible()) return;
    const auto present = _unit.property<AUPreset>(kAudioUnitProperty_PresentPreset);
    const int place = present ? findData(present->presetNumber) : -1;
    if (place != currentIndex()) setCurrentIndex(place);
}

}  // namespace zelvane
