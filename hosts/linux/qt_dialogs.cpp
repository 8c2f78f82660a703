#include "hosts/linux/qt_dialogs.hpp"

#include <memory>
#include <utility>

#include <QDir>
#include <QFileDialog>
#include <QObject>

namespace pivra {
namespace {

QString filterFor(const std::string& extension) {
    if (extension.empty()) return {};
    const QString suffix = QString::fromStdString(extension);
    return suffix.toUpper() + QStringLiteral(" files (*.") + suffix + QStringLiteral(")");
}

// Opens the panel without a nested event loop; the completion runs once,
// with the chosen file or nothing, and the panel deletes itself.
void present(QFileDialog* panel, Dialogs::Completion completion) {
    auto shared = std::make_shared<Dialogs::Completion>(std::move(completion));
    QObject::connect(panel, &QFileDialog::fileSelected, panel, [shared](const QString& file) {
        if (auto done = std::exchange(*shared, nullptr)) done(std::filesystem::path(file.toStdString()));
    });
    QObject::connect(panel, &QDialog::finished, panel, [shared, panel](int) {
        if (auto done = std::exchange(*shared, nullptr)) done(std::nullopt);
        panel->deleteLater();
    });
    panel->setAttribute(Qt::WA_DeleteOnClose, false);
    panel->show();
    panel->raise();
    panel->activateWindow();
}

}  // namespace

void QtDialogs::chooseSaveLocation(const SavePanelRequest& request, Completion completion) {
    auto* panel = new QFileDialog(nullptr, QString(), QDir::home().filePath(QString::fromStdString(request.suggestedName)),
                                  filterFor(request.fileExtension));
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setFileMode(QFileDialog::AnyFile);
    if (!request.fileExtension.empty()) panel->setDefaultSuffix(QString::fromStdString(request.fileExtension));
    present(panel, std::move(completion));
}

void QtDialogs::chooseFileToOpen(const OpenPanelRequest& request, Completion completion) {
    auto* panel = new QFileDialog(nullptr, QString(), QDir::homePath(), filterFor(request.fileExtension));
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setFileMode(QFileDialog::ExistingFile);
    present(panel, std::move(completion));
}

}  // namespace pivra
