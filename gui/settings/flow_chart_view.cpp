#include "gui/settings/flow_chart_view.hpp"

#include <algorithm>

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include "gui/settings/page_support.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

constexpr double kRowHeight = 26;
constexpr double kBoxHeight = 22;
constexpr double kMargin = 10;
constexpr double kRadius = 6;
constexpr double kEndWidthShare = 0.26;   // each side column, of the width
constexpr double kStepWidthShare = 0.32;  // the middle column

// Boxes of `count` ends spread over the height of `rows` rule rows, centred.
std::vector<QRectF> spread(std::size_t count, std::size_t rows, double x, double width) {
    std::vector<QRectF> boxes;
    const double total = static_cast<double>(rows) * kRowHeight;
    const double used = static_cast<double>(count) * kRowHeight;
    const double top = kMargin + std::max(0.0, (total - used) / 2);
    for (std::size_t i = 0; i < count; ++i) {
        boxes.emplace_back(x, top + static_cast<double>(i) * kRowHeight + (kRowHeight - kBoxHeight) / 2, width, kBoxHeight);
    }
    return boxes;
}

bool isFaint(const FlowChart::Step& step) { return !step.enabled || step.shadowedBy.has_value(); }

}  // namespace

FlowChartView::FlowChartView(QWidget* parent) : QWidget(parent) {
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void FlowChartView::setChart(FlowChart::Chart chart) {
    chart_ = std::move(chart);
    updateGeometry();
    update();
}

void FlowChartView::setSelectedRule(std::optional<int> index) {
    selected_ = index;
    update();
}

QSize FlowChartView::sizeHint() const {
    const std::size_t rows = std::max({chart_.steps.size(), chart_.sources.size(), chart_.targets.size(), std::size_t{1}});
    return QSize(720, static_cast<int>(static_cast<double>(rows) * kRowHeight + 2 * kMargin));
}

QSize FlowChartView::minimumSizeHint() const { return QSize(420, sizeHint().height()); }

FlowChartView::Geometry FlowChartView::geometry(int width) const {
    const std::size_t rows = std::max({chart_.steps.size(), chart_.sources.size(), chart_.targets.size()});
    const double inner = width - 2 * kMargin;
    const double endWidth = inner * kEndWidthShare;
    const double stepWidth = inner * kStepWidthShare;
    Geometry geometry;
    geometry.sources = spread(chart_.sources.size(), rows, kMargin, endWidth);
    geometry.steps = spread(chart_.steps.size(), rows, kMargin + (inner - stepWidth) / 2, stepWidth);
    geometry.targets = spread(chart_.targets.size(), rows, width - kMargin - endWidth, endWidth);
    return geometry;
}

void FlowChartView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Geometry geo = geometry(width());
    const QPalette& pal = palette();
    const QColor accent = pal.color(QPalette::Highlight);
    const QColor text = pal.color(QPalette::Text);
    const QColor secondary = pal.color(QPalette::PlaceholderText);
    const QColor boxFill = pal.color(QPalette::Window);
    const QColor outline = pal.color(QPalette::Mid);

    // The lines first, under the boxes.
    const auto curve = [&](const QRectF& from, const QRectF& to, double lineWidth, QColor color, bool dashed) {
        const QPointF a(from.right(), from.center().y());
        const QPointF b(to.left(), to.center().y());
        const double bend = (b.x() - a.x()) / 2;
        QPainterPath path(a);
        path.cubicTo(a + QPointF(bend, 0), b - QPointF(bend, 0), b);
        QPen pen(color, lineWidth, dashed ? Qt::DashLine : Qt::SolidLine, Qt::FlatCap);
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(path);
    };
    for (std::size_t i = 0; i < chart_.steps.size(); ++i) {
        const auto& step = chart_.steps[i];
        const double width = FlowChart::lineWidth(step.links, chart_.maxLinks);
        QColor color = accent;
        const bool isSelected = step.index && step.index == selected_;
        color.setAlpha(isFaint(step) ? 60 : (isSelected ? 230 : (step.links > 0 ? 150 : 90)));
        curve(geo.sources[static_cast<std::size_t>(step.source)], geo.steps[i], width, color, isFaint(step));
        curve(geo.steps[i], geo.targets[static_cast<std::size_t>(step.target)], width, color, isFaint(step));
    }

    const QFont body = font();
    QFont small = font();
    small.setPointSizeF(std::max(6.0, body.pointSizeF() * 0.86));
    const QFontMetricsF bodyMetrics(body);
    const QFontMetricsF smallMetrics(small);

    const auto endBox = [&](const QRectF& box, const FlowChart::End& end) {
        painter.setPen(QPen(outline, 1));
        painter.setBrush(pal.color(QPalette::Base));
        painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
        const QString count = end.links > 0 ? QString::number(end.links) : QString();
        const double countWidth = count.isEmpty() ? 0 : smallMetrics.horizontalAdvance(count) + 8;
        const QRectF textRect = box.adjusted(8, 0, -8 - countWidth, 0);
        painter.setFont(body);
        painter.setPen(text);
        painter.drawText(textRect, Qt::AlignVCenter | Qt::AlignLeft,
                         bodyMetrics.elidedText(qstr(end.title), Qt::ElideRight, textRect.width()));
        if (!count.isEmpty()) {
            painter.setFont(small);
            painter.setPen(secondary);
            painter.drawText(box.adjusted(0, 0, -8, 0), Qt::AlignVCenter | Qt::AlignRight, count);
        }
    };
    for (std::size_t i = 0; i < chart_.sources.size(); ++i) endBox(geo.sources[i], chart_.sources[i]);
    for (std::size_t i = 0; i < chart_.targets.size(); ++i) endBox(geo.targets[i], chart_.targets[i]);

    for (std::size_t i = 0; i < chart_.steps.size(); ++i) {
        const auto& step = chart_.steps[i];
        const QRectF box = geo.steps[i];
        const bool isSelected = step.index && step.index == selected_;
        const bool isFallback = !step.index;
        painter.setPen(isSelected ? QPen(accent, 2) : QPen(outline, 1));
        painter.setBrush(isSelected ? pal.color(QPalette::Base) : (isFallback ? boxFill : pal.color(QPalette::Base)));
        painter.drawRoundedRect(box.adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);

        // "3" in a small badge, or the fallback's title.
        double x = box.left() + 6;
        if (step.index) {
            const QString number = QString::number(*step.index + 1);
            const double badge = std::max(16.0, smallMetrics.horizontalAdvance(number) + 8);
            const QRectF badgeRect(x, box.center().y() - 8, badge, 16);
            painter.setPen(Qt::NoPen);
            QColor badgeFill = isFaint(step) ? secondary : accent;
            painter.setBrush(badgeFill);
            painter.drawRoundedRect(badgeRect, 8, 8);
            painter.setFont(small);
            painter.setPen(pal.color(QPalette::HighlightedText));
            painter.drawText(badgeRect, Qt::AlignCenter, number);
            x += badge + 6;
        }
        const QString count = step.links > 0 ? QString::number(step.links) : QString();
        const double countWidth = count.isEmpty() ? 0 : smallMetrics.horizontalAdvance(count) + 8;
        const QString warning = step.shadowedBy ? QStringLiteral("⚠") : QString();
        const double warningWidth = warning.isEmpty() ? 0 : bodyMetrics.horizontalAdvance(warning) + 6;
        const QRectF textRect(x, box.top(), box.right() - 8 - countWidth - warningWidth - x, box.height());
        const QString label = isFallback ? qstr(step.title) + QStringLiteral(" · ") + qstr(step.condition)
                                         : qstr(step.condition);
        painter.setFont(isFallback ? small : body);
        painter.setPen(isFaint(step) || isFallback ? secondary : text);
        painter.drawText(textRect, Qt::AlignVCenter | Qt::AlignLeft,
                         (isFallback ? smallMetrics : bodyMetrics).elidedText(label, Qt::ElideRight, textRect.width()));
        if (!warning.isEmpty()) {
            painter.setFont(body);
            painter.setPen(QColor(0xe0, 0x8a, 0x00));
            painter.drawText(QRectF(textRect.right() + 4, box.top(), warningWidth, box.height()), Qt::AlignVCenter | Qt::AlignLeft,
                             warning);
        }
        if (!count.isEmpty()) {
            painter.setFont(small);
            painter.setPen(secondary);
            painter.drawText(box.adjusted(0, 0, -8, 0), Qt::AlignVCenter | Qt::AlignRight, count);
        }
    }
}

std::optional<int> FlowChartView::stepAt(const QPointF& point) const {
    const Geometry geo = geometry(width());
    for (std::size_t i = 0; i < geo.steps.size(); ++i) {
        if (geo.steps[i].contains(point)) return static_cast<int>(i);
    }
    return std::nullopt;
}

void FlowChartView::mousePressEvent(QMouseEvent* event) {
    const auto step = stepAt(event->position());
    if (step && chart_.steps[static_cast<std::size_t>(*step)].index) {
        emit ruleClicked(*chart_.steps[static_cast<std::size_t>(*step)].index);
    }
    QWidget::mousePressEvent(event);
}

bool FlowChartView::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        const auto step = stepAt(help->pos());
        if (!step) {
            QToolTip::hideText();
            event->ignore();
            return true;
        }
        const auto& s = chart_.steps[static_cast<std::size_t>(*step)];
        QString tip = qstr(s.title) + QStringLiteral(" · ") + qstr(s.condition);
        if (s.shadowedBy) tip += QStringLiteral("\n") + qstr(FlowChart::neverRunsText(*s.shadowedBy));
        QToolTip::showText(help->globalPos(), tip, this);
        return true;
    }
    return QWidget::event(event);
}

}  // namespace pivra
