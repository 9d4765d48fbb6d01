// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Preferences/TuningPicture.h"

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <vector>

namespace zelvane {

/// The colours of a drawing, from the user's palette.
struct DrawingColours {
    QColor ink;     ///< what is told
    QColor pencil;  ///< lines to measure it by
    QColor accent;  ///< equal temperament
};

/// Draws the parts of a tuning's picture.
class TuningDrawing {
  public:
    TuningDrawing(QPainter& painter, const TuningPicture& picture, const DrawingColours& colours)
        : _painter(painter), _picture(picture), _colours(colours) {}

    /// The degrees, as cents, on a circle; short marks stand where equal semitones would be.
    void drawCircle(const QRectF& place);
    /// Key by key the deviations from equal temperament in cents, or why there are none.
    void drawKeys(const QRectF& place);

  private:
    void drawSemitones(const QPointF& centre, double radius);
    void drawDegrees(const QPointF& centre, double radius);
    void drawScaleOfCents(const QRectF& axes, const std::vector<double>& marks);
    void drawScaleOfKeys(const QRectF& axes);
    QPointF onCircle(const QPointF& centre, double radius, double cents) const;

    QPainter& _painter;
    const TuningPicture& _picture;
    const DrawingColours _colours;
};

/// Round numbers, 0 among them, that enclose a range and are easy to read: at most about six.
std::vector<double> axisMarks(double low, double high);

}  // namespace zelvane
