#include "gui/icon/app_icon.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include <QBuffer>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QRadialGradient>

#include "gui/icon/icns_file.hpp"
#include "gui/menu/menu_bar_glyph.hpp"
#include "gui/style/theme.hpp"

namespace pivra {
namespace {

constexpr int kMaxPixels = 4096;
// The Mac's app icon grid, on a 1024 canvas.
constexpr qreal kCanvas = 1024;
constexpr qreal kBody = 824;
constexpr qreal kCornerRadius = 185;
// A continuous corner starts bending further along the edge than a circular
// one of the same radius, and meets it at the diagonal: a quarter
// superellipse of this reach and exponent does both.
constexpr qreal kCornerReach = 1.528 * kCornerRadius;
constexpr qreal kCornerExponent = 3.2;
constexpr int kCornerSteps = 48;

// The square `box` with continuous corners reaching `reach` along each edge.
QPainterPath continuousSquare(const QRectF& box, qreal reach) {
    const qreal a = std::min(reach, box.width() / 2);
    const struct {
        QPointF centre;
        qreal from;  // radians, y down: -π/2 is up, 0 right
    } corners[] = {
        {{box.right() - a, box.top() + a}, -std::numbers::pi / 2},
        {{box.right() - a, box.bottom() - a}, 0},
        {{box.left() + a, box.bottom() - a}, std::numbers::pi / 2},
        {{box.left() + a, box.top() + a}, std::numbers::pi},
    };
    const auto power = [](qreal v) { return std::copysign(std::pow(std::abs(v), 2 / kCornerExponent), v); };
    QPainterPath path;
    for (const auto& corner : corners) {
        for (int step = 0; step <= kCornerSteps; ++step) {
            const qreal t = corner.from + std::numbers::pi / 2 * step / kCornerSteps;
            const QPointF point = corner.centre + QPointF(a * power(std::cos(t)), a * power(std::sin(t)));
            if (path.elementCount() == 0) {
                path.moveTo(point);
            } else {
                path.lineTo(point);
            }
        }
    }
    path.closeSubpath();
    return path;
}

// Blurs the alpha of `image` (premultiplied, black wherever it is not
// clear) in place: three box passes each way, close to a Gaussian of `sigma`
// pixels. Outside the image counts as clear.
void blurShadow(QImage& image, qreal sigma) {
    const int radius = static_cast<int>(std::lround((std::sqrt(4 * sigma * sigma + 1) - 1) / 2));
    if (radius < 1) return;
    const int width = image.width(), height = image.height();
    std::vector<float> alpha(static_cast<std::size_t>(width) * height);
    for (int y = 0; y < height; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < width; ++x) alpha[static_cast<std::size_t>(y) * width + x] = static_cast<float>(qAlpha(line[x]));
    }
    // One pass along `count` lines of `length` values, `step` apart within a line.
    std::vector<float> buffer(static_cast<std::size_t>(std::max(width, height)));
    const auto pass = [&](int count, int length, std::size_t lineStep, std::size_t step) {
        const float scale = 1.0f / static_cast<float>(2 * radius + 1);
        for (int line = 0; line < count; ++line) {
            float* start = alpha.data() + line * lineStep;
            for (int i = 0; i < length; ++i) buffer[i] = start[i * step];
            float sum = 0;
            for (int i = 0; i <= std::min(radius, length - 1); ++i) sum += buffer[i];
            for (int i = 0; i < length; ++i) {
                start[i * step] = sum * scale;
                if (i + radius + 1 < length) sum += buffer[i + radius + 1];
                if (i - radius >= 0) sum -= buffer[i - radius];
            }
        }
    };
    for (int round = 0; round < 3; ++round) {
        pass(height, width, static_cast<std::size_t>(width), 1);
        pass(width, height, 1, static_cast<std::size_t>(width));
    }
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int a = std::clamp(static_cast<int>(std::lround(alpha[static_cast<std::size_t>(y) * width + x])), 0, 255);
            line[x] = qRgba(0, 0, 0, a);
        }
    }
}

// `path`, filled in black at `opacity`, moved down by `drop` and blurred by `sigma`, drawn under what follows.
void drawShadow(QPainter& painter, QSize size, const QPainterPath& path, qreal drop, qreal sigma, qreal opacity) {
    QImage shadow(size, QImage::Format_ARGB32_Premultiplied);
    shadow.fill(Qt::transparent);
    {
        QPainter p(&shadow);
        p.setRenderHint(QPainter::Antialiasing);
        p.translate(0, drop);
        p.fillPath(path, QColor(0, 0, 0, static_cast<int>(std::lround(255 * opacity))));
    }
    blurShadow(shadow, sigma);
    painter.drawImage(0, 0, shadow);
}

}  // namespace

QImage appIcon(int pixels) {
    if (pixels < 1 || pixels > kMaxPixels) return {};
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const qreal s = pixels / kCanvas;
    // The square on whole pixels, so that small sizes keep crisp edges.
    const qreal side = std::max<qreal>(1, std::round(kBody * s));
    const qreal inset = std::round((pixels - side) / 2);
    const QRectF box(inset, inset, side, side);
    const QPainterPath body = continuousSquare(box, kCornerReach * s);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // A wide soft shadow and a tight one where the square meets the ground;
    // both stay inside the margin.
    drawShadow(painter, image.size(), body, 12 * s, 14 * s, 0.30);
    drawShadow(painter, image.size(), body, 2 * s, 2 * s, 0.18);

    // The accent a new install has, from lighter and a little toward cyan at
    // the top to deeper at the bottom, lit from above.
    const QColor accent = accentColor(QStringLiteral("Blue"));
    const qreal hue = accent.hsvHueF(), saturation = accent.hsvSaturationF(), value = accent.valueF();
    QLinearGradient fill(box.topLeft(), box.bottomLeft());
    fill.setColorAt(0, QColor::fromHsvF(std::fmod(hue - 10.0 / 360 + 1, 1), saturation * 0.68, 1.0));
    fill.setColorAt(0.55, QColor::fromHsvF(hue, saturation * 0.95, std::min(1.0, value * 1.02)));
    fill.setColorAt(1, QColor::fromHsvF(std::fmod(hue + 6.0 / 360, 1), 1.0, value * 0.74));
    painter.fillPath(body, fill);
    QRadialGradient sheen(QPointF(box.center().x(), box.top()), side * 0.75);
    sheen.setColorAt(0, QColor(255, 255, 255, 56));
    sheen.setColorAt(1, QColor(255, 255, 255, 0));
    painter.fillPath(body, sheen);
    // A hairline a shade darker than the fill, so the edge holds on white.
    painter.setPen(QPen(QColor::fromHsvF(hue, 1.0, value * 0.55, 0.35), std::max(1.0, 3 * s)));
    painter.setBrush(Qt::NoBrush);
    painter.setClipPath(body);
    painter.drawPath(body);
    painter.setClipping(false);

    // The mark. Below 128 pixels it is larger, and scaled so that its three
    // branches are whole pixels apart and its strokes whole pixels wide and
    // on the pixel grid, which keeps them apart and crisp down to 16.
    const bool small = pixels < 128;
    const qreal share = pixels <= 32 ? 0.74 : small ? 0.68 : 0.60;
    constexpr qreal kBranchGap = 4.5, kMarkWidth = 13.55;  // grid units
    qreal pen = 1.45, scale = side * share / kMarkWidth;
    QPointF centre = box.center();
    if (small) {
        const qreal gap = std::max<qreal>(2, std::round(scale * kBranchGap));
        scale = gap / kBranchGap;
        const qreal stroke = std::max<qreal>(1, std::round(scale * 1.5));
        pen = stroke / scale;
        const bool odd = static_cast<int>(stroke) % 2 == 1;
        centre.setY(odd ? std::floor(centre.y()) + 0.5 : std::round(centre.y()));
    }
    const qreal dot = pen / 1.5;
    const QRectF mark(QPointF(2 - pen / 2, 3.5 - 1.4 * dot), QPointF(13.4 + 1.4 * dot, 12.5 + 1.4 * dot));
    const auto placeMark = [&](QPainter& p, qreal drop) {
        p.translate(centre.x() - mark.center().x() * scale, centre.y() - mark.center().y() * scale + drop);
        p.scale(scale, scale);
    };
    if (!small) {
        // The mark lifts off the square a little.
        QImage lift(image.size(), QImage::Format_ARGB32_Premultiplied);
        lift.fill(Qt::transparent);
        {
            QPainter p(&lift);
            p.setRenderHint(QPainter::Antialiasing);
            placeMark(p, 10 * s);
            drawPivraMark(p, Qt::black, pen);
        }
        blurShadow(lift, 12 * s);
        painter.save();
        painter.setClipPath(body);
        painter.setOpacity(0.22);
        painter.drawImage(0, 0, lift);
        painter.restore();
    }
    if (small) {
        painter.save();
        placeMark(painter, 0);
        drawPivraMark(painter, Qt::white, pen);
        painter.restore();
    } else {
        // White, cooling to a faint tint of the accent at its foot, as if lit from above.
        QImage layer(image.size(), QImage::Format_ARGB32_Premultiplied);
        layer.fill(Qt::transparent);
        QPainter p(&layer);
        p.setRenderHint(QPainter::Antialiasing);
        p.save();
        placeMark(p, 0);
        drawPivraMark(p, Qt::white, pen);
        p.restore();
        p.setCompositionMode(QPainter::CompositionMode_SourceIn);
        QLinearGradient tint(box.topLeft(), box.bottomLeft());
        tint.setColorAt(0.25, Qt::white);
        tint.setColorAt(0.8, QColor::fromHsvF(hue, 0.10, 1.0));
        p.fillRect(layer.rect(), tint);
        p.end();
        painter.drawImage(0, 0, layer);
    }
    painter.end();
    return image;
}

std::optional<std::string> appIconPng(int pixels) {
    const QImage image = appIcon(pixels);
    if (image.isNull()) return std::nullopt;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG")) return std::nullopt;
    return bytes.toStdString();
}

std::expected<std::string, std::string> appIconIcns() {
    std::vector<IcnsImage> images;
    for (const auto& slot : kAppIconSlots) {
        auto png = appIconPng(slot.pixels);
        if (!png) return std::unexpected("can’t draw the icon at " + std::to_string(slot.pixels) + " pixels");
        images.push_back({slot.type, std::move(*png)});
    }
    return icnsFile(images);
}

QIcon appIconSet() {
    QIcon icon;
    for (const int pixels : {16, 24, 32, 48, 64, 128, 256, 512}) icon.addPixmap(QPixmap::fromImage(appIcon(pixels)));
    return icon;
}

}  // namespace pivra
