#pragma once
// The rule list: one row per rule with its number, where its links come
// from and go, and marks for a rule that is off or never runs. Rows move by
// drag and drop or with Alt+Up and Alt+Down; Delete removes, Space turns a
// rule on or off. The list only asks: the page makes the change through
// the model and the list is filled again from it.

#include <QListWidget>

namespace pivra {

class RuleList : public QListWidget {
    Q_OBJECT
public:
    // Item data roles of a row.
    enum Role {
        idRole = Qt::UserRole,   // the rule's id
        titleRole,               // "Slack → Google Chrome · Work"
        conditionRole,           // "figma.com, notion.so"
        offRole,                 // bool
        neverRunsRole,           // the text when the rule never runs, else empty
        linksRole,               // links in the chart's period
    };

    explicit RuleList(QWidget* parent = nullptr);

    // What an empty list says in its middle.
    void setEmptyText(const QString& text);

signals:
    // The rule at `from` is to go to position `to` (both zero-based).
    void moveRequested(int from, int to);
    void deleteRequested(int row);
    void toggleRequested(int row);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString emptyText_;
};

}  // namespace pivra
