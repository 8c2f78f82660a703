#include "hosts/linux/qt_pasteboard.hpp"

#include <QClipboard>
#include <QGuiApplication>

namespace pivra {

void QtPasteboard::putText(std::string_view text) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard) return;
    const QString value = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    clipboard->clear();
    clipboard->setText(value);
    if (clipboard->supportsSelection()) clipboard->setText(value, QClipboard::Selection);
}

}  // namespace pivra
