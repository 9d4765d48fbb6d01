// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/SoundFontEditor.h"

#include "Platform/Audio/Instruments/SoundFont/FileURL.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontFile.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontProperties.h"
#include "Platform/Audio/Instruments/SoundFont/SoundFontSynth.h"
#include "Platform/Desktop/Editors/ChannelPresets.h"
#include "Platform/Desktop/Editors/NumberProperty.h"
#include "Platform/Desktop/Editors/ParameterList.h"
#include "Platform/Desktop/Editors/QtText.h"
#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/Text.h"

#include <QApplication>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <numeric>
#include <span>
#include <utility>

namespace zelvane {

namespace {

constexpr int kBankNameWidth = 200;
constexpr int kLeastNameWidth = 130, kControlWidth = 270;

QPushButton* makeButton(const char* name, const char* title) {
    auto* button = new QPushButton(localizedText(title));
    button->setObjectName(QLatin1String(name));
    return button;
}

QBoxLayout* addBox(QBoxLayout& column, const char* title) {
    auto* box = new QGroupBox(localizedText(title));
    column.addWidget(box);
    return new QVBoxLayout(box);
}

/// Wide enough for all names in the user's language.
int nameWidth(const QFontMetrics& metrics, std::span<const UnitParameter> parameters) {
    int width = kLeastNameWidth;
    for (const UnitParameter& parameter : parameters)
        width = std::max(width, metrics.horizontalAdvance(qtText(parameter.name)) + 1);
    return width;
}

UnitParameter renderQuality() {
    UnitParameter quality{.symbol = "render-quality", .name = localizedString("Render Quality")};
    quality.maximum = 127;
    quality.isInteger = true;
    return quality;
}

// Every change makes the units anew, which a slider would ask for all the way.
UnitParameter polyphony() {
    UnitParameter polyphony{.symbol = "polyphony", .name = localizedString("Polyphony")};
    for (int voices = SoundFontSynth::kLeastPolyphony; voices <= SoundFontSynth::kMostPolyphony; voices *= 2)
        polyphony.valueNames.emplace_back(static_cast<float>(voices), std::to_string(voices));
    return polyphony;
}

/// The cursor says that it takes a moment.
class WaitCursor {
  public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

}  // namespace

SoundFontEditor::SoundFontEditor(std::shared_ptr<AVAudioUnit> node, QWidget* parent)
    : EditorWidget(parent), _unit(std::move(node)), _channels(new ChannelPresets(_unit)) {
    setObjectName(QStringLiteral("soundFontEditor"));
    auto* columns = new QHBoxLayout(this);
    auto* left = new QVBoxLayout;
    auto* right = new QVBoxLayout;
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);
    addBank(*left);
    addBox(*left, "Sounds of the channels")->addWidget(_channels);
    left->addStretch(1);
    addParameters(*right);
    showBank();
}

SoundFontEditor::~SoundFontEditor() = default;

void SoundFontEditor::addBank(QBoxLayout& column) {
    auto* line = new QHBoxLayout;
    addBox(column, "Sound bank")->addLayout(line);
    _bankName = new QLabel;
    _bankName->setObjectName(QStringLiteral("bankName"));
    _bankName->setTextFormat(Qt::PlainText);
    _bankName->setMinimumWidth(kBankNameWidth);
    auto* choose = makeButton("chooseBank", "Choose…");
    auto* reset = makeButton("resetBank", "Reset");
    connect(choose, &QPushButton::clicked, this, [this] { askForBank(); });
    connect(reset, &QPushButton::clicked, this, [this] { resetBank(); });
    line->addWidget(_bankName, 1);
    line->addWidget(choose);
    line->addWidget(reset);
}

void SoundFontEditor::addParameters(QBoxLayout& column) {
    QBoxLayout* box = addBox(column, "Sound");
    std::vector<std::size_t> places(_unit.parameters().size());
    std::iota(places.begin(), places.end(), std::size_t{0});
    _quality = new NumberProperty(_unit, kAudioUnitProperty_RenderQuality, renderQuality());
    _polyphony = new NumberProperty(_unit, kSoundFontProperty_Polyphony, polyphony());
    const int names = nameWidth(fontMetrics(), _unit.parameters());
    _parameters = new ParameterList(_unit, places, names);
    _parameters->insertRow(0, localizedText("Render Quality"), _quality);
    _parameters->insertRow(1, localizedText("Polyphony"), _polyphony);
    _parameters->setMinimumWidth(names + kControlWidth);
    box->addWidget(_parameters);
    column.addStretch(1);
}

void SoundFontEditor::askForBank() {
    auto* panel = new QFileDialog(this, localizedText("Choose Sound Bank"), qtText(_bank.parent_path().string()),
                                  localizedText("Sound banks (*.sf2 *.sf3 *.SF2 *.SF3)"));
    panel->setObjectName(QStringLiteral("bankPanel"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::ExistingFile);
    connect(panel, &QFileDialog::fileSelected, this,
            [this](const QString& file) { openBank(std::filesystem::path(file.toStdString())); });
    panel->open();
}

void SoundFontEditor::openBank(const std::filesystem::path& file) {
    const WaitCursor cursor;
    const bool isTaken = _unit.setObject(kMusicDeviceProperty_SoundBankURL, {fileURL(file)});
    showBank();
    if (!isTaken) tellOfFailure(file);
}

void SoundFontEditor::resetBank() {
    if (const auto file = findSoundFont(dataFolders())) openBank(*file);
}

void SoundFontEditor::tellOfFailure(const std::filesystem::path& file) {
    auto* alert = new QMessageBox(
        QMessageBox::Warning, QString(),
        qtText(formatted(localizedString("Sorry, %@ is not a sound bank."), {file.filename().string()})),
        QMessageBox::Ok, this);
    alert->setObjectName(QStringLiteral("bankAlert"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->open();
}

void SoundFontEditor::showBank() {
    const auto object = _unit.object(kMusicDeviceProperty_SoundBankURL);
    const auto* url = object ? std::get_if<std::string>(&object->value) : nullptr;
    const std::filesystem::path file = url != nullptr ? pathFromFileURL(*url) : std::filesystem::path();
    if (file == _bank) return;
    _bank = file;
    const QString name = qtText(file.filename().string());
    _bankName->setText(_bankName->fontMetrics().elidedText(name, Qt::ElideMiddle, kBankNameWidth));
    _bankName->setToolTip(qtText(file.string()));
    _channels->readBank();
}

void SoundFontEditor::follow() {
    showBank();
    _channels->follow();
    _quality->follow();
    _polyphony->follow();
    _unit.look([this](std::size_t place, float value) { _parameters->showValue(place, value); });
}

}  // namespace zelvane
