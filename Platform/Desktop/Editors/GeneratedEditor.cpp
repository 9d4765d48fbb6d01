// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/GeneratedEditor.h"

#include "Platform/Desktop/Editors/ParameterList.h"
#include "Platform/Desktop/Editors/PresetMenu.h"
#include "Platform/Desktop/Editors/QtText.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>
#include <numeric>
#include <utility>

namespace zelvane {

namespace {

constexpr std::size_t kLongList = 10;  // needs a filter
constexpr int kGapToScrollBar = 8;
constexpr int kNameWidth = 190;
constexpr int kWidth = 560;
constexpr int kLeastHeight = 120, kMostHeight = 480;

QWidget* makeScrollArea(ParameterList* list) {
    auto* area = new QScrollArea;
    area->setObjectName(QStringLiteral("parameters"));
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidgetResizable(true);
    list->layout()->setContentsMargins(0, 0, kGapToScrollBar, 0);
    area->setWidget(list);
    area->setMinimumHeight(60);
    return area;
}

QLabel* makeEmptyNote() {
    auto* note = new QLabel(localizedText("This instrument has no parameters."));
    note->setObjectName(QStringLiteral("emptyNote"));
    note->setAlignment(Qt::AlignCenter);
    return note;
}

}  // namespace

GeneratedEditor::GeneratedEditor(std::shared_ptr<AVAudioUnit> node, QWidget* parent)
    : EditorWidget(parent), _unit(std::move(node)) {
    setObjectName(QStringLiteral("generatedEditor"));
    std::vector<std::size_t> places(_unit.parameters().size());
    std::iota(places.begin(), places.end(), std::size_t{0});
    _list = new ParameterList(_unit, places, kNameWidth);
    auto* column = new QVBoxLayout(this);
    column->addLayout(makeBar());
    column->addWidget(makeScrollArea(_list), 1);
    if (places.empty()) column->insertWidget(1, makeEmptyNote());
}

void GeneratedEditor::tellOfFailedEditor(std::function<void()> tryAgain) {
    auto* note =
        new QLabel(localizedText("The player did not survive this instrument's own editor. These are the instrument's "
                                 "parameters instead."));
    note->setObjectName(QStringLiteral("failureNote"));
    note->setWordWrap(true);
    auto* button = new QPushButton(localizedText("Try Again"));
    button->setObjectName(QStringLiteral("tryAgain"));
    connect(button, &QPushButton::clicked, this, [tryAgain = std::move(tryAgain)] { tryAgain(); });
    auto* line = new QHBoxLayout;
    line->addWidget(note, 1);
    line->addWidget(button);
    static_cast<QVBoxLayout*>(layout())->insertLayout(0, line);
}

QHBoxLayout* GeneratedEditor::makeBar() {
    auto* bar = new QHBoxLayout;
    auto presets = std::make_unique<PresetMenu>(_unit);
    if (presets->count() > 0) {
        _presets = presets.release();
        bar->addWidget(_presets);
    }
    if (_unit.parameters().size() < kLongList) return bar;
    _filter = new QLineEdit;
    _filter->setObjectName(QStringLiteral("filter"));
    _filter->setPlaceholderText(localizedText("Filter by name"));
    _filter->setAccessibleName(localizedText("Filter by name"));
    _filter->setClearButtonEnabled(true);
    connect(_filter, &QLineEdit::textChanged, _list, &ParameterList::setFilter);
    bar->addWidget(_filter, 1);
    return bar;
}

QSize GeneratedEditor::sizeHint() const {
    const int wanted = QWidget::sizeHint().height() - 60 + _list->sizeHint().height();
    return {kWidth, std::clamp(wanted, kLeastHeight, kMostHeight)};
}

void GeneratedEditor::follow() {
    _unit.look([this](std::size_t place, float value) { _list->showValue(place, value); });
    if (_presets != nullptr) _presets->follow();
}

}  // namespace zelvane
