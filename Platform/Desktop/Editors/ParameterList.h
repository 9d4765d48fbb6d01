// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Editors/EditedUnit.h"
#include "Platform/Desktop/Editors/ParameterControl.h"

#include <QTimer>
#include <QWidget>
#include <cstddef>
#include <map>
#include <vector>

class QLabel;
class QVBoxLayout;

namespace zelvane {

/// Rows of a parameter's name and what it is set by, under the names of their groups. The rows of a long list are made
/// a few at a time, so that the window is there at once. Main thread.
class ParameterList final : public QWidget {
  public:
    /// The parameters at those places.
    ParameterList(EditedUnit& unit, const std::vector<std::size_t>& places, int nameWidth);

    /// Shows only what has all these words in its name or its group's.
    void setFilter(const QString& words);
    void showValue(std::size_t place, float value);
    /// Puts a row of another kind before the one at that index. It is always shown.
    void insertRow(int index, const QString& name, QWidget* control);
    bool isComplete() const { return _made == _plan.size(); }

  private:
    struct Row {
        QWidget* row = nullptr;
        ParameterControl* control = nullptr;
    };

    void makeSomeRows(std::size_t most);
    void makeRow(std::size_t place);
    QWidget* makeLine(const QString& name, QWidget* control);
    QLabel* makeHeader(const QString& group);
    void applyFilter();
    bool isWanted(const UnitParameter& parameter) const;

    EditedUnit& _unit;
    const int _nameWidth;
    std::vector<std::size_t> _plan;  // places, group by group
    std::size_t _made = 0;           // so many of them have their rows
    std::map<std::size_t, Row> _rows;
    std::map<std::string, QLabel*> _headers;
    QStringList _words;
    QVBoxLayout* const _column;
    QTimer _maker;
};

}  // namespace zelvane
