#include "gui/menu/menu_bar_glyph.hpp"

#include <cmath>
#include <numbers>

#include <QPainter>
#include <QPainterPath>

namespace pivra {

namespace {

// An arrowhead at `tip`, pointing along the angle (degrees, 0 = right, y down).
void arrowhead(QPainterPath& path, QPointF tip, double degrees, double length = 3.2) {
    const double radians = degrees * std::numbers::pi / 180.0;
    const double spread = 0.6;
    path.moveTo(tip.x() - length * std::cos(radians - spread), tip.y() - length * std::sin(radians - spread));
    path.lineTo(tip);
    path.lineTo(tip.x() - length * std::cos(radians + spread), tip.y() - length * std::sin(radians + spread));
}

// Each glyph on a 16 × 16 grid, stroked with a 1.5 pen unless filled.
void drawGlyph(QPainter& p, MenuBarIcon icon, const QColor& color) {
    QPen pen(color, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    QPainterPath path;
    switch (icon) {
        case MenuBarIcon::pivra:
            drawPivraMark(p, color);
            return;
        case MenuBarIcon::arrows:
            path.moveTo(2, 4.5);
            path.cubicTo(7, 4.5, 9, 11.5, 14, 11.5);
            path.moveTo(2, 11.5);
            path.cubicTo(7, 11.5, 9, 4.5, 14, 4.5);
            arrowhead(path, {14, 4.5}, 0);
            arrowhead(path, {14, 11.5}, 0);
            break;
        case MenuBarIcon::split:
            path.moveTo(8, 14.5);
            path.lineTo(8, 9);
            path.lineTo(3.5, 3);
            path.moveTo(8, 9);
            path.lineTo(12.5, 3);
            arrowhead(path, {3.5, 3}, -127);
            arrowhead(path, {12.5, 3}, -53);
            break;
        case MenuBarIcon::signpost:
            path.moveTo(7, 15);
            path.lineTo(7, 1.5);
            path.moveTo(3, 4);
            path.lineTo(11.5, 4);
            path.lineTo(14, 6.25);
            path.lineTo(11.5, 8.5);
            path.lineTo(3, 8.5);
            path.closeSubpath();
            break;
        case MenuBarIcon::branch:
            path.moveTo(5, 15);
            path.lineTo(5, 1.5);
            path.moveTo(5, 10);
            path.cubicTo(5, 7, 12, 7.5, 12, 3);
            arrowhead(path, {5, 1.5}, -90);
            arrowhead(path, {12, 2.5}, -90);
            break;
        case MenuBarIcon::compass: {
            p.drawEllipse(QPointF(8, 8), 6.5, 6.5);
            p.setPen(Qt::NoPen);
            p.setBrush(color);
            QPainterPath needle;
            needle.moveTo(11.5, 4.5);
            needle.lineTo(9, 9);
            needle.lineTo(4.5, 11.5);
            needle.lineTo(7, 7);
            needle.closeSubpath();
            p.drawPath(needle);
            return;
        }
        case MenuBarIcon::link:
            // Two links of a chain at 45 degrees.
            p.translate(8, 8);
            p.rotate(-45);
            p.drawRoundedRect(QRectF(-7, -2.6, 8, 5.2), 2.6, 2.6);
            p.drawRoundedRect(QRectF(-1, -2.6, 8, 5.2), 2.6, 2.6);
            return;
        case MenuBarIcon::globe:
            p.drawEllipse(QPointF(8, 8), 6.5, 6.5);
            p.drawEllipse(QPointF(8, 8), 2.8, 6.5);
            path.moveTo(1.5, 8);
            path.lineTo(14.5, 8);
            path.moveTo(2.6, 4.5);
            path.lineTo(13.4, 4.5);
            path.moveTo(2.6, 11.5);
            path.lineTo(13.4, 11.5);
            break;
        case MenuBarIcon::dot:
            p.setPen(Qt::NoPen);
            p.setBrush(color);
            p.drawEllipse(QPointF(8, 8), 5, 5);
            return;
    }
    p.drawPath(path);
}

}  // namespace

void drawPivraMark(QPainter& p, const QColor& color, qreal penWidth) {
    // One link in from the left, handed on to one of three places. The dots
    // grow with the pen, so a bolder mark keeps its proportions.
    const qreal dot = penWidth / 1.5;
    p.setPen(QPen(color, penWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    QPainterPath path;
    path.moveTo(2, 8);
    path.lineTo(6.5, 8);
    path.moveTo(6.5, 8);
    path.cubicTo(9, 8, 9, 3.5, 12.5, 3.5);
    path.moveTo(6.5, 8);
    path.lineTo(12.5, 8);
    path.moveTo(6.5, 8);
    path.cubicTo(9, 8, 9, 12.5, 12.5, 12.5);
    p.drawPath(path);
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.drawEllipse(QPointF(6.5, 8), 2.1 * dot, 2.1 * dot);
    for (const qreal y : {3.5, 8.0, 12.5}) p.drawEllipse(QPointF(13.4, y), 1.4 * dot, 1.4 * dot);
}

QPixmap menuBarGlyph(MenuBarIcon icon, int size, const QColor& color, bool problemDot, qreal devicePixelRatio) {
    QPixmap pixmap(QSize(size, size) * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 16.0, size / 16.0);
    painter.save();
    drawGlyph(painter, icon, color);
    painter.restore();
    if (problemDot) {
        // The dot, cut out of the glyph with a clear ring so it reads on any glyph.
        const QPointF centre(13, 3);
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(centre, 3.6, 3.6);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.setBrush(color);
        painter.drawEllipse(centre, 2.4, 2.4);
    }
    return pixmap;
}

QIcon menuBarIcon(MenuBarIcon icon, const QColor& color, bool problemDot) {
    QIcon result;
    for (const int size : {16, 22, 24, 32, 48, 64}) result.addPixmap(menuBarGlyph(icon, size, color, problemDot));
    result.setIsMask(true);
    return result;
}

}  // namespace pivra
