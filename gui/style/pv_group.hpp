#pragma once
// PVGroup: a header over a rounded box of rows, with hairlines between the rows and an optional footnote below.

#include <QString>
#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace pivra {

class PVRow;

class PVGroup : public QWidget {
    Q_OBJECT
public:
    // An empty header shows none.
    explicit PVGroup(const QString& header = {}, QWidget* parent = nullptr);

    // Adds a row (or any widget) at the bottom of the box, taking it over.
    PVRow* addRow(PVRow* row);
    QWidget* addWidget(QWidget* widget);
    int count() const;
    QWidget* widgetAt(int index) const;
    // Removes and deletes every row.
    void clear();

    void setHeader(const QString& header);
    // Small secondary text under the box; empty hides it.
    void setFootnote(const QString& footnote);

    // The rounded box that holds the rows.
    QWidget* box() const;

private:
    class Box;
    QLabel* header_;
    Box* box_;
    QVBoxLayout* rows_;
    QLabel* footnote_;
};

}  // namespace pivra
