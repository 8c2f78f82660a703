#pragma once
// The rules page's flow chart: the apps links come from on the left, the
// numbered rules in the middle and the browsers on the right, joined by
// lines as wide as their links. A click on a rule selects it.

#include <optional>
#include <vector>

#include <QRectF>
#include <QWidget>

#include "gui/settings/flow_chart_model.hpp"

namespace pivra {

class FlowChartView : public QWidget {
    Q_OBJECT
public:
    explicit FlowChartView(QWidget* parent = nullptr);

    void setChart(FlowChart::Chart chart);
    const FlowChart::Chart& chart() const { return chart_; }
    // The rule drawn as selected (a position in the rules), or none.
    void setSelectedRule(std::optional<int> index);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    // Where each column's boxes are, for a width; the view lays out with its own.
    struct Geometry {
        std::vector<QRectF> sources, steps, targets;
    };
    Geometry geometry(int width) const;

signals:
    void ruleClicked(int index);

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

private:
    std::optional<int> stepAt(const QPointF& point) const;

    FlowChart::Chart chart_;
    std::optional<int> selected_;
};

}  // namespace pivra
