// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Preferences/TuningPicture.h"

#include <QWidget>

namespace zelvane {

/// Draws a tuning: the scale's degrees on a circle that is its period, and how far each of the 128 keys is from equal
/// temperament. The same stands in words in its tool tip and its accessible description.
class TuningPlot : public QWidget {
  public:
    explicit TuningPlot(QWidget* parent = nullptr);

    /// `description` is what the scale's file says of it; it may be empty.
    void setPicture(TuningPicture picture, const QString& description);
    const TuningPicture& picture() const { return _picture; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString inWords() const;

    TuningPicture _picture;
    QString _description;
};

}  // namespace zelvane
