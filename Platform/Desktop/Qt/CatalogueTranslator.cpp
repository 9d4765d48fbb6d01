// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/CatalogueTranslator.h"

#include "Platform/Foundation/LocalizedString.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <clocale>
#include <memory>
#include <string>

namespace zelvane {

QString CatalogueTranslator::translate(const char* /*context*/, const char* sourceText, const char* /*disambiguation*/,
                                       int /*n*/) const {
    const std::string text = localizedString(sourceText);
    // A text of the toolkit's, most likely, which another translator may know.
    if (sourceText == nullptr || text == sourceText) return {};
    return QString::fromStdString(text);
}

void installTranslators(QCoreApplication& application) {
    // The making of the application has taken up the user's whole locale; libraries read and write numbers with a
    // point.
    std::setlocale(LC_NUMERIC, "C");
    auto toolkit = std::make_unique<QTranslator>();
    for (const auto& language : userLanguages()) {
        const auto name = QStringLiteral("qtbase_") + QString::fromStdString(language);
        if (!toolkit->load(name, QLibraryInfo::path(QLibraryInfo::TranslationsPath))) continue;
        toolkit->setParent(&application);
        QCoreApplication::installTranslator(toolkit.release());
        break;
    }
    // The one that was added last is asked first.
    QCoreApplication::installTranslator(std::make_unique<CatalogueTranslator>(&application).release());
}

}  // namespace zelvane
