// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/TuningDrawing.h"

#include "Platform/Desktop/Editors/QtText.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zelvane {

namespace {

constexpr double kLastKey = 127;
constexpr double kGap = 3;
constexpr double kMostSemitones = 60;  // closer marks would be a grey ring

QString rounded(double cents) {
    return QString::number(std::round(cents), 'f', 0);
}

/// 1, 2 or 5 times a power of ten.
double niceStep(double roughly) {
    const double power = std::pow(10.0, std::floor(std::log10(roughly)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= roughly) return factor * power;
    }
    return 10 * power;
}

}  // namespace

std::vector<double> axisMarks(double low, double high) {
    constexpr double kLeast = 10;  // cents, so that equal temperament doesn't show the rounding of its numbers
    low = std::min(low, -kLeast);
    high = std::max(high, kLeast);
    const double step = niceStep((high - low) / 5);
    std::vector<double> marks;
    for (double mark = std::floor(low / step); mark <= std::ceil(high / step); ++mark) marks.push_back(mark * step);
    return marks;
}

QPointF TuningDrawing::onCircle(const QPointF& centre, double radius, double cents) const {
    const double angle = 2 * std::numbers::pi * cents / _picture.period;
    return centre + radius * QPointF(std::sin(angle), -std::cos(angle));
}

void TuningDrawing::drawCircle(const QRectF& place) {
    const QFontMetricsF metrics(_painter.font());
    double widest = 0;
    for (const double cents : _picture.degrees) widest = std::max(widest, metrics.horizontalAdvance(rounded(cents)));
    const double radius = std::min(place.width() / 2 - widest, place.height() / 2 - metrics.height()) - 2 * kGap;
    if (radius <= 0) return;
    _painter.setPen(QPen(_colours.accent, 1.5));
    _painter.setBrush(Qt::NoBrush);
    _painter.drawEllipse(place.center(), radius, radius);
    drawSemitones(place.center(), radius);
    drawDegrees(place.center(), radius);
}

void TuningDrawing::drawSemitones(const QPointF& centre, double radius) {
    if (_picture.period > 100 * kMostSemitones) return;
    _painter.setPen(QPen(_colours.accent, 1));
    for (double cents = 0; cents < _picture.period; cents += 100)
        _painter.drawLine(onCircle(centre, radius, cents), onCircle(centre, radius * 0.9, cents));
}

/// A label that would touch another is left out; the first degree always has one.
void TuningDrawing::drawDegrees(const QPointF& centre, double radius) {
    const QFontMetricsF metrics(_painter.font());
    const double dot = std::clamp(radius / 25, 2.0, 4.0);
    std::vector<QRectF> labels;
    for (const double cents : _picture.degrees) {
        _painter.setPen(QPen(_colours.ink, 1));
        _painter.setBrush(_colours.ink);
        _painter.drawLine(onCircle(centre, radius * 0.35, cents), onCircle(centre, radius, cents));
        _painter.drawEllipse(onCircle(centre, radius, cents), dot, dot);
        const QString text = rounded(cents);
        QRectF label(0, 0, metrics.horizontalAdvance(text), metrics.height());
        const QPointF direction = onCircle({}, 1, cents);
        label.moveCenter(centre + direction * (radius + 2 * kGap) +
                         QPointF(direction.x() * label.width(), direction.y() * label.height()) / 2);
        const auto touches = [&](const QRectF& other) { return other.intersects(label); };
        if (std::any_of(labels.begin(), labels.end(), touches)) continue;
        labels.push_back(label);
        _painter.drawText(label, Qt::AlignCenter, text);
    }
}

void TuningDrawing::drawKeys(const QRectF& place) {
    const auto range = _picture.range();
    if (!range) {
        _painter.setPen(_colours.ink);
        _painter.drawText(
            place, Qt::AlignCenter | Qt::TextWordWrap,
            localizedText("This tuning and keyboard mapping don't go together: the keys keep their pitches."));
        return;
    }
    const QFontMetricsF metrics(_painter.font());
    const auto marks = axisMarks(range->first, range->second);
    double width = 0;
    for (const double mark : marks) width = std::max(width, metrics.horizontalAdvance(rounded(mark)));
    const QRectF axes = place.adjusted(width + 8, metrics.height() / 2,
                                       -metrics.horizontalAdvance(QStringLiteral("127")) / 2, -metrics.height() * 1.4);
    drawScaleOfCents(axes, marks);
    drawScaleOfKeys(axes);
    _painter.setPen(Qt::NoPen);
    _painter.setBrush(_colours.ink);
    for (std::size_t key = 0; key < _picture.deviations.size(); ++key) {
        const double x = axes.left() + axes.width() * static_cast<double>(key) / kLastKey;
        const double share = (_picture.deviations[key] - marks.front()) / (marks.back() - marks.front());
        _painter.drawEllipse(QPointF(x, axes.bottom() - axes.height() * share), 1.7, 1.7);
    }
}

void TuningDrawing::drawScaleOfCents(const QRectF& axes, const std::vector<double>& marks) {
    const double height = QFontMetricsF(_painter.font()).height();
    for (const double mark : marks) {
        const double y = axes.bottom() - axes.height() * (mark - marks.front()) / (marks.back() - marks.front());
        const bool isEqualTemperament = mark == 0;
        _painter.setPen(isEqualTemperament ? QPen(_colours.accent, 1.5) : QPen(_colours.pencil, 1));
        _painter.drawLine(QPointF(axes.left(), y), QPointF(axes.right(), y));
        _painter.setPen(_colours.ink);
        _painter.drawText(QRectF(axes.left() - 204, y - height / 2, 200, height), Qt::AlignRight | Qt::AlignVCenter,
                          rounded(mark));
    }
}

/// Every C, as many of them with their number as there is room for.
void TuningDrawing::drawScaleOfKeys(const QRectF& axes) {
    const QFontMetricsF metrics(_painter.font());
    const double octave = axes.width() * 12 / kLastKey;
    const int stride = octave > metrics.horizontalAdvance(QStringLiteral("000 ")) ? 12 : 24;
    for (int key = 0; key < kLastKey; key += 12) {
        const double x = axes.left() + axes.width() * key / kLastKey;
        _painter.setPen(QPen(_colours.pencil, 1));
        _painter.drawLine(QPointF(x, axes.top()), QPointF(x, axes.bottom()));
        if (key % stride != 0) continue;
        _painter.setPen(_colours.ink);
        _painter.drawText(QRectF(x - 40, axes.bottom() + metrics.height() * 0.2, 80, metrics.height()), Qt::AlignCenter,
                          QString::number(key));
    }
}

}  // namespace zelvane
