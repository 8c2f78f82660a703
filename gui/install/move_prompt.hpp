#pragma once
// The window that offers to move the app into Applications, or to switch to
// the copy already there: the app's icon, the title, the text and a note,
// the last failure in red, and two buttons. The default one moves (or opens
// that copy); "Not Now", Escape and closing the window dismiss it. While a
// move runs the buttons are disabled and a busy bar shows.
//
// It shows the flow's state and nothing else: it re-reads the state after
// every change and closes itself once the flow has closed the prompt. Used
// by the Mac app only.

#include <QWidget>

#include "app/install/move_to_applications.hpp"

class QLabel;
class QProgressBar;
class QPushButton;

namespace pivra {

struct Theme;

class MovePromptWindow : public QWidget {
    Q_OBJECT
public:
    // Shows `flow`'s prompt, which the owner opens with showPrompt() first.
    // The owner decides the window's lifetime (WA_DeleteOnClose will do).
    MovePromptWindow(MoveToApplications& flow, const Theme& theme, QWidget* parent = nullptr);
    ~MovePromptWindow() override;

    QLabel* titleLabel() const { return title_; }
    QLabel* textLabel() const { return text_; }
    QLabel* noteLabel() const { return note_; }
    QLabel* errorLabel() const { return error_; }
    QLabel* busyLabel() const { return busyText_; }
    QProgressBar* busyBar() const { return busy_; }
    QPushButton* primaryButton() const { return primary_; }
    QPushButton* secondaryButton() const { return secondary_; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void refresh();
    void primaryClicked();
    void colourError();

    MoveToApplications& flow_;
    QLabel* title_;
    QLabel* text_;
    QLabel* note_;
    QLabel* error_;
    QProgressBar* busy_;
    QLabel* busyText_;
    QPushButton* secondary_;
    QPushButton* primary_;
    ObserverId observer_ = 0;
};

}  // namespace pivra
