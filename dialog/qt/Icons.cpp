// The toolbar images and the program icon, drawn with QPainter on a 16-unit
// square so that every image is our own and scales.
#include "dialog/qt/Icons.h"

#include <QPainter>
#include <QPainterPath>
#include <functional>

#include "dialog/LoadCalResources.h"

namespace loadcal {
namespace {

const QColor kInk(40, 40, 40);

QPixmap Draw(int size, const std::function<void(QPainter&)>& paint)
{
    QPixmap image(size, size);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(size / 16.0, size / 16.0);
    paint(p);
    return image;
}

void Page(QPainter& p)
{
    QPainterPath page;
    page.moveTo(3.5, 1.5);
    page.lineTo(10.0, 1.5);
    page.lineTo(13.5, 5.0);
    page.lineTo(13.5, 14.5);
    page.lineTo(3.5, 14.5);
    page.closeSubpath();
    p.setPen(QPen(kInk, 1.0));
    p.setBrush(Qt::white);
    p.drawPath(page);
    QPainterPath corner;
    corner.moveTo(10.0, 1.5);
    corner.lineTo(10.0, 5.0);
    corner.lineTo(13.5, 5.0);
    p.setBrush(QColor(220, 220, 220));
    p.drawPath(corner);
}

void Folder(QPainter& p)
{
    p.setPen(QPen(QColor(150, 110, 20), 1.0));
    p.setBrush(QColor(240, 200, 80));
    QPainterPath back;
    back.moveTo(1.5, 3.5);
    back.lineTo(6.0, 3.5);
    back.lineTo(7.5, 5.0);
    back.lineTo(13.5, 5.0);
    back.lineTo(13.5, 13.5);
    back.lineTo(1.5, 13.5);
    back.closeSubpath();
    p.drawPath(back);
    p.setBrush(QColor(250, 225, 120));
    QPainterPath flap;
    flap.moveTo(3.5, 7.5);
    flap.lineTo(15.0, 7.5);
    flap.lineTo(13.5, 13.5);
    flap.lineTo(1.5, 13.5);
    flap.closeSubpath();
    p.drawPath(flap);
}

void Disk(QPainter& p, const QRectF& box)
{
    const qreal u = box.width() / 13.0;
    p.setPen(QPen(QColor(20, 50, 110), 1.0));
    p.setBrush(QColor(50, 100, 190));
    p.drawRoundedRect(box, u, u);
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawRect(QRectF(box.left() + 2.5 * u, box.top() + 0.5 * u, 8 * u, 4.5 * u));
    p.setBrush(QColor(200, 200, 200));
    p.drawRect(QRectF(box.left() + 3 * u, box.top() + 8 * u, 7 * u, 4.5 * u));
    p.setBrush(QColor(20, 50, 110));
    p.drawRect(QRectF(box.left() + 7.5 * u, box.top() + 9 * u, 1.5 * u, 2.5 * u));
}

void Pencil(QPainter& p)
{
    p.save();
    p.translate(12.0, 12.0);
    p.rotate(45.0);
    p.setPen(QPen(QColor(90, 60, 10), 0.8));
    p.setBrush(QColor(250, 190, 40));
    p.drawRect(QRectF(-1.4, -6.0, 2.8, 7.5));
    QPainterPath tip;
    tip.moveTo(-1.4, 1.5);
    tip.lineTo(1.4, 1.5);
    tip.lineTo(0.0, 4.0);
    tip.closeSubpath();
    p.setBrush(QColor(240, 210, 170));
    p.drawPath(tip);
    p.restore();
}

void Table(QPainter& p, const QColor& frame, const QColor& fill)
{
    p.setPen(QPen(frame, 1.0));
    p.setBrush(fill);
    p.drawRect(QRectF(1.5, 2.5, 13.0, 11.0));
    p.drawLine(QPointF(1.5, 6.0), QPointF(14.5, 6.0));
    p.drawLine(QPointF(1.5, 9.75), QPointF(14.5, 9.75));
    p.drawLine(QPointF(6.0, 2.5), QPointF(6.0, 13.5));
    p.drawLine(QPointF(10.25, 2.5), QPointF(10.25, 13.5));
}

void DrawIntoDrawing(QPainter& p)
{
    Table(p, kInk, Qt::white);
    p.setPen(QPen(QColor(200, 30, 30), 1.6));
    p.drawLine(QPointF(2.5, 4.2), QPointF(5.0, 4.2));
    p.drawLine(QPointF(7.0, 7.9), QPointF(9.5, 7.9));
    p.drawLine(QPointF(11.3, 11.6), QPointF(13.5, 11.6));
}

void Spreadsheet(QPainter& p)
{
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(30, 120, 70));
    p.drawRoundedRect(QRectF(1.0, 1.0, 14.0, 14.0), 1.5, 1.5);
    p.setPen(QPen(Qt::white, 1.0));
    for (qreal y : {5.0, 8.5, 12.0}) {
        p.drawLine(QPointF(3.0, y), QPointF(13.0, y));
    }
    for (qreal x : {6.5, 10.0}) {
        p.drawLine(QPointF(x, 3.0), QPointF(x, 13.0));
    }
}

void CalculationBook(QPainter& p)
{
    // A bound book of text lines with a red review stamp.
    p.setPen(QPen(kInk, 1.0));
    p.setBrush(QColor(250, 250, 245));
    p.drawRect(QRectF(3.5, 1.5, 10.0, 13.0));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(40, 80, 160));
    p.drawRect(QRectF(2.0, 1.5, 2.0, 13.0));
    p.setPen(QPen(QColor(110, 110, 110), 0.8));
    for (qreal y : {4.0, 6.0, 8.0}) {
        p.drawLine(QPointF(5.5, y), QPointF(12.0, y));
    }
    p.setPen(QPen(QColor(200, 30, 30), 1.0));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QRectF(8.0, 9.5, 4.5, 4.5));
}

void Phases(QPainter& p)
{
    // L1 yellow, L2 green, L3 red: three even bars under one level line.
    const QColor colours[3] = {QColor(230, 190, 0), QColor(30, 150, 60), QColor(210, 40, 40)};
    p.setPen(Qt::NoPen);
    for (int i = 0; i < 3; ++i) {
        p.setBrush(colours[i]);
        p.drawRect(QRectF(2.0 + 4.5 * i, 6.0, 3.0, 8.5));
    }
    p.setPen(QPen(kInk, 1.0, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(1.0, 4.5), QPointF(15.0, 4.5));
    p.drawLine(QPointF(1.0, 14.5), QPointF(15.0, 14.5));
}

void About(QPainter& p)
{
    p.setPen(QPen(QColor(20, 60, 140), 1.0));
    p.setBrush(QColor(60, 120, 210));
    p.drawEllipse(QRectF(1.5, 1.5, 13.0, 13.0));
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawEllipse(QRectF(7.0, 3.5, 2.0, 2.0));
    p.drawRoundedRect(QRectF(7.0, 6.5, 2.0, 6.0), 0.6, 0.6);
}

void Bolt(QPainter& p)
{
    QPainterPath bolt;
    bolt.moveTo(9.5, 1.0);
    bolt.lineTo(4.5, 9.0);
    bolt.lineTo(7.8, 9.0);
    bolt.lineTo(6.0, 15.0);
    bolt.lineTo(12.0, 6.5);
    bolt.lineTo(8.7, 6.5);
    bolt.closeSubpath();
    p.setPen(QPen(QColor(150, 90, 0), 0.6));
    p.setBrush(QColor(255, 200, 0));
    p.drawPath(bolt);
}

std::function<void(QPainter&)> PainterOf(unsigned id)
{
    switch (id) {
        case res::ID_FILE_NEW:
            return Page;
        case res::ID_FILE_OPEN:
            return Folder;
        case res::ID_FILE_SAVE:
            return [](QPainter& p) {
                Disk(p, QRectF(1.5, 1.5, 13.0, 13.0));
            };
        case res::ID_FILE_SAVE_AS:
            return [](QPainter& p) {
                Disk(p, QRectF(0.5, 0.5, 11.0, 11.0));
                Pencil(p);
            };
        case res::ID_OUTPUT_DRAWING:
            return DrawIntoDrawing;
        case res::ID_OUTPUT_EXCEL:
            return Spreadsheet;
        case res::ID_CALCULATION_BOOK:
            return CalculationBook;
        case res::ID_ADJUST_PHASES:
            return Phases;
        case res::ID_ABOUT:
            return About;
        default:
            return {};
    }
}

}  // namespace

QPixmap DisabledImage(const QPixmap& image)
{
    QImage grey = image.toImage().convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < grey.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(grey.scanLine(y));
        for (int x = 0; x < grey.width(); ++x) {
            const int level = 128 + qGray(line[x]) / 2;
            line[x] = qRgba(level, level, level, qAlpha(line[x]) * 2 / 3);
        }
    }
    return QPixmap::fromImage(grey);
}

QIcon ToolbarIcon(unsigned commandId)
{
    const std::function<void(QPainter&)> paint = PainterOf(commandId);
    if (!paint) {
        return {};
    }
    const QPixmap image = Draw(kToolbarImageSize, paint);
    QIcon icon;
    icon.addPixmap(image, QIcon::Normal);
    icon.addPixmap(DisabledImage(image), QIcon::Disabled);
    return icon;
}

QPixmap ApplicationIcon(int size)
{
    return Draw(size, [](QPainter& p) {
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(40, 90, 170));
        p.drawRoundedRect(QRectF(0.5, 0.5, 15.0, 15.0), 2.5, 2.5);
        p.setPen(QPen(QColor(255, 255, 255, 170), 0.5));
        for (qreal y : {4.5, 8.0, 11.5}) {
            p.drawLine(QPointF(2.0, y), QPointF(14.0, y));
        }
        p.drawLine(QPointF(6.0, 2.0), QPointF(6.0, 14.0));
        Bolt(p);
    });
}

}  // namespace loadcal
