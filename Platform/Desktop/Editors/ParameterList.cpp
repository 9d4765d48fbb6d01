// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/ParameterList.h"

#include "Platform/Desktop/Editors/QtText.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>
#include <string>

namespace zelvane {

namespace {

constexpr std::size_t kFirstRows = 24;  // more than a window shows at first
constexpr std::size_t kRowsAtATime = 8;

/// Groups in the order in which they first appear, and each in one piece.
std::vector<std::size_t> byGroup(std::span<const UnitParameter> parameters, std::vector<std::size_t> places) {
    std::map<std::string, std::size_t> ranks;
    for (const std::size_t place : places) ranks.emplace(parameters[place].group, ranks.size());
    std::stable_sort(places.begin(), places.end(), [&](std::size_t a, std::size_t b) {
        return ranks[parameters[a].group] < ranks[parameters[b].group];
    });
    return places;
}

QLabel* makeName(const QString& name, int width) {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setFixedWidth(width);
    label->setText(label->fontMetrics().elidedText(name, Qt::ElideRight, width));
    if (label->text() != name) label->setToolTip(name);
    return label;
}

}  // namespace

ParameterList::ParameterList(EditedUnit& unit, const std::vector<std::size_t>& places, int nameWidth)
    : _unit(unit), _nameWidth(nameWidth), _plan(byGroup(unit.parameters(), places)), _column(new QVBoxLayout(this)) {
    _column->setSpacing(4);
    _column->setContentsMargins(0, 0, 0, 0);
    _column->addStretch(1);
    _maker.setInterval(0);
    connect(&_maker, &QTimer::timeout, this, [this] { makeSomeRows(kRowsAtATime); });
    makeSomeRows(kFirstRows);
}

void ParameterList::makeSomeRows(std::size_t most) {
    const std::size_t end = std::min(_plan.size(), _made + most);
    for (; _made < end; ++_made) makeRow(_plan[_made]);
    if (isComplete()) {
        _maker.stop();
    } else if (!_maker.isActive()) {
        _maker.start();
    }
}

void ParameterList::makeRow(std::size_t place) {
    const UnitParameter& parameter = _unit.parameters()[place];
    if (!parameter.group.empty() && !_headers.contains(parameter.group)) {
        QLabel* header = _headers[parameter.group] = makeHeader(qtText(parameter.group));
        _column->insertWidget(_column->count() - 1, header);
        header->setVisible(isWanted(parameter));
    }
    const auto edited = [this, place](float value) { _unit.edit(place, value); };
    ParameterControl* control = ParameterControl::make(parameter, edited).release();
    control->showValue(_unit.value(place));
    QWidget* line = makeLine(qtText(parameter.name), control);
    _column->insertWidget(_column->count() - 1, line);
    line->setVisible(isWanted(parameter));
    _rows[place] = {line, control};
}

QWidget* ParameterList::makeLine(const QString& name, QWidget* control) {
    auto* line = new QWidget(this);
    auto* row = new QHBoxLayout(line);
    row->setContentsMargins(0, 0, 0, 0);
    QLabel* label = makeName(name, _nameWidth);
    label->setBuddy(control);
    row->addWidget(label);
    row->addWidget(control, 1);
    return line;
}

void ParameterList::insertRow(int index, const QString& name, QWidget* control) {
    _column->insertWidget(index, makeLine(name, control));
}

QLabel* ParameterList::makeHeader(const QString& group) {
    auto* header = new QLabel(group, this);
    QFont font = header->font();
    font.setBold(true);
    header->setFont(font);
    header->setTextFormat(Qt::PlainText);
    header->setContentsMargins(0, 10, 0, 2);
    return header;
}

void ParameterList::setFilter(const QString& words) {
    _words = words.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    applyFilter();
}

void ParameterList::applyFilter() {
    setUpdatesEnabled(false);
    std::map<std::string, bool> groupsWanted;
    for (const auto& [place, row] : _rows) {
        const UnitParameter& parameter = _unit.parameters()[place];
        const bool wanted = isWanted(parameter);
        row.row->setVisible(wanted);
        groupsWanted[parameter.group] |= wanted;
    }
    for (const auto& [group, header] : _headers) header->setVisible(groupsWanted[group]);
    setUpdatesEnabled(true);
}

bool ParameterList::isWanted(const UnitParameter& parameter) const {
    const QString text = qtText(parameter.group + ' ' + parameter.name);
    return std::all_of(_words.begin(), _words.end(),
                       [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
}

void ParameterList::showValue(std::size_t place, float value) {
    const auto row = _rows.find(place);
    if (row != _rows.end()) row->second.control->showValue(value);
}

}  // namespace zelvane
