// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTranslator>

class QCoreApplication;

namespace zelvane {

/// Looks the texts of interface files up where all other texts are. Any thread.
class CatalogueTranslator : public QTranslator {
  public:
    using QTranslator::QTranslator;

    QString translate(const char* context, const char* sourceText, const char* disambiguation, int n) const override;
    bool isEmpty() const override { return false; }
};

/// Has interface files, and the toolkit's own windows where it brings their texts, speak the user's language; numbers
/// keep the C locale. Main thread, right after the application is made.
void installTranslators(QCoreApplication& application);

}  // namespace zelvane
