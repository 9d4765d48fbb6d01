// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/DesktopShell/SavePanel.h"

#include <QFileDialog>
#include <QStandardPaths>

namespace zelvane {

std::optional<std::filesystem::path> runSavePanel(const std::string& title, const std::string& nameLabel,
                                                  const std::string& name,
                                                  const std::vector<std::string>& allowedTypes) {
    QFileDialog panel;
    panel.setObjectName(QStringLiteral("savePanel"));
    panel.setAcceptMode(QFileDialog::AcceptSave);
    panel.setWindowTitle(QString::fromStdString(title));
    panel.setLabelText(QFileDialog::FileName, QString::fromStdString(nameLabel));
    panel.setDirectory(QStandardPaths::writableLocation(QStandardPaths::MusicLocation));
    QStringList filters;
    for (const auto& type : allowedTypes) filters << QStringLiteral("*.%1").arg(QString::fromStdString(type));
    panel.setNameFilters(filters);
    if (!allowedTypes.empty()) panel.setDefaultSuffix(QString::fromStdString(allowedTypes.front()));
    panel.selectFile(QString::fromStdString(name));
    if (panel.exec() == 0 || panel.selectedFiles().isEmpty()) return std::nullopt;
    return std::filesystem::path(panel.selectedFiles().front().toStdString());
}

}  // namespace zelvane
