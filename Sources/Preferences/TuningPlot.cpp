// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/TuningPlot.h"

#include "Platform/Desktop/Editors/QtText.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Preferences/TuningDrawing.h"

#include <QLocale>
#include <QPainter>
#include <string>
#include <utility>

namespace zelvane {

namespace {

std::string number(double cents) {
    // What is no more than rounding has no sign.
    const double shown = std::abs(cents) < 0.05 ? 0 : cents;
    return QLocale().toString(shown, 'f', 1).toStdString();
}

QColor between(const QColor& a, const QColor& b, double share) {
    const auto mixed = [share](double from, double to) { return static_cast<float>(from + (to - from) * share); };
    return QColor::fromRgbF(mixed(a.redF(), b.redF()), mixed(a.greenF(), b.greenF()), mixed(a.blueF(), b.blueF()));
}

}  // namespace

TuningPlot::TuningPlot(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void TuningPlot::setPicture(TuningPicture picture, const QString& description) {
    _picture = std::move(picture);
    _description = description;
    const QString words = inWords();
    setToolTip(words);
    setAccessibleDescription(words);
    update();
}

QString TuningPlot::inWords() const {
    const auto count = _picture.degrees.size();
    std::string words = _description.isEmpty() ? "" : _description.toStdString() + "\n";
    words += formatted(count == 1 ? localizedString("One degree in a period of %@ cents.")
                                  : localizedString("%@ degrees in a period of %@ cents."),
                       count == 1 ? std::vector{number(_picture.period)}
                                  : std::vector{std::to_string(count), number(_picture.period)});
    if (_picture.hasMoreDegrees) words += " " + localizedString("The scale has more degrees than are shown.");
    words += "\n";
    if (const auto range = _picture.range())
        words += formatted(localizedString("The keys differ from equal temperament by %@ to %@ cents."),
                           {number(range->first), number(range->second)});
    else
        words += localizedString("This tuning and keyboard mapping don't go together: the keys keep their pitches.");
    return QString::fromStdString(words);
}

QSize TuningPlot::minimumSizeHint() const {
    return fontMetrics().height() * QSize(24, 13);
}

QSize TuningPlot::sizeHint() const {
    return fontMetrics().height() * QSize(28, 15);
}

void TuningPlot::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor ink = palette().color(QPalette::Text), paper = palette().color(QPalette::Base);
    const QColor pencil = between(paper, ink, 0.2);
    painter.setPen(QPen(pencil, 1));
    painter.setBrush(paper);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 3, 3);

    const double line = painter.fontMetrics().height(), margin = line / 2;
    QRectF inner = QRectF(rect()).adjusted(margin, margin, -margin, -margin);
    painter.setPen(ink);
    if (!_description.isEmpty()) {
        const QString title = painter.fontMetrics().elidedText(_description.simplified(), Qt::ElideRight,
                                                               static_cast<int>(inner.width()));
        painter.drawText(QRectF(inner.topLeft(), QSizeF(inner.width(), line)), Qt::AlignLeft, title);
        inner.setTop(inner.top() + line * 1.3);
    }
    const QRectF left(inner.topLeft(), QSizeF(inner.width() * 0.4, inner.height()));
    const QRectF right(QPointF(left.right() + margin, inner.top()), inner.bottomRight());
    const QSizeF heading(0, line * 1.3);
    painter.drawText(QRectF(left.topLeft(), QSizeF(left.width(), line)), Qt::AlignCenter,
                     localizedText("Scale in cents"));
    painter.drawText(QRectF(right.topLeft(), QSizeF(right.width(), line)), Qt::AlignCenter,
                     localizedText("Keys against equal temperament"));
    TuningDrawing drawing(painter, _picture, {ink, pencil, palette().color(QPalette::Highlight)});
    drawing.drawCircle(left.adjusted(0, heading.height(), 0, 0));
    drawing.drawKeys(right.adjusted(0, heading.height(), 0, 0));
}

}  // namespace zelvane
