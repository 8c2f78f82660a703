// The desktop's file panels: each completion runs once, with the file chosen
// or with nothing, and the panel does not hold up the loop while it is open.

#include <gtest/gtest.h>

#include <QApplication>
#include <QFileDialog>
#include <QTest>

#include "hosts/linux/qt_dialogs.hpp"
#include "tests/support/temp_folder.hpp"

namespace pivra {
namespace {

QFileDialog* openPanel() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* panel = qobject_cast<QFileDialog*>(widget); panel && panel->isVisible()) return panel;
    }
    return nullptr;
}

TEST(QtDialogs, APanelAnswersOnceWithTheChoiceOrNothing) {
    QtDialogs dialogs;
    testing_support::TempFolder temp;
    // An existing file to open; a new one to save, which no overwrite question holds up.
    const std::filesystem::path existing = temp.write("chosen.json", "{}"), fresh = temp.path() / "new.json";
    struct Case {
        const char* name;
        bool save;
        bool accept;
    };
    for (const Case c : {Case{"save", true, true}, Case{"save cancelled", true, false}, Case{"open", false, true},
                         Case{"open cancelled", false, false}}) {
        SCOPED_TRACE(c.name);
        int calls = 0;
        std::optional<std::filesystem::path> chosen;
        const auto done = [&](std::optional<std::filesystem::path> file) {
            ++calls;
            chosen = std::move(file);
        };
        if (c.save) {
            dialogs.chooseSaveLocation(SavePanelRequest{"pivra-rules.json", "json"}, done);
        } else {
            dialogs.chooseFileToOpen(OpenPanelRequest{"json"}, done);
        }
        EXPECT_EQ(calls, 0) << "the panel is still up";
        QFileDialog* panel = openPanel();
        ASSERT_NE(panel, nullptr);
        EXPECT_EQ(panel->acceptMode(), c.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
        const auto chosenFile = c.save ? fresh : existing;
        if (c.accept) {
            panel->selectFile(QString::fromStdString(chosenFile.string()));
            static_cast<QDialog*>(panel)->accept();
        } else {
            panel->reject();
        }
        QTRY_COMPARE(calls, 1);
        QApplication::processEvents();
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(chosen.has_value(), c.accept);
        EXPECT_EQ(chosen, c.accept ? std::optional(chosenFile) : std::nullopt);
    }
}

}  // namespace
}  // namespace pivra
