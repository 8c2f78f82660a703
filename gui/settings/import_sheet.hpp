#pragma once
// The sheet that takes over an imported rules file: what it holds, each gap
// with a choice of what this Mac has in its place, and Import or Cancel.

#include <vector>

#include <QDialog>

#include "app/model/app_model.hpp"

class QComboBox;
class QLabel;
class QPushButton;

namespace pivra {

class ImportSheet : public QDialog {
    Q_OBJECT
public:
    // Shows the model's pending import, which must be set.
    explicit ImportSheet(AppModel& model, QWidget* parent = nullptr);

    // One replacement chooser per gap, in the gaps' order.
    const std::vector<QComboBox*>& choosers() const { return choosers_; }
    QPushButton* importButton() const { return import_; }
    QLabel* messageLabel() const { return message_; }

    // Writes the file with the chosen replacements; stays open, saying why, when refused.
    void takeOver();

private:
    AppModel& model_;
    PendingImport pending_;
    std::vector<QComboBox*> choosers_;
    QPushButton* import_;
    QLabel* message_;
};

}  // namespace pivra
