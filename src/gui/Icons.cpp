#include "Icons.h"

#include <QPainter>
#include <QPixmap>

namespace quillet {
namespace {

struct IconLook {
    QColor colour;
    const char* glyph;
};

IconLook LookFor(int imageIndex) {
    switch (imageIndex) {
        case 1: return {QColor(0x3B, 0x6E, 0xA5), "P"};   // the patch
        case 10: return {QColor(0x3C, 0x8D, 0x2F), "M"};  // map
        case 11: return {QColor(0x8A, 0x5A, 0x2B), "S"};  // statics
        case 12: return {QColor(0xB0, 0x3A, 0x2E), "A"};  // art
        case 13: return {QColor(0x7B, 0x3F, 0x9E), "N"};  // animations
        case 14: return {QColor(0x1F, 0x8A, 0x8A), "W"};  // sounds
        case 15: return {QColor(0x5C, 0x7A, 0x29), "T"};  // texture maps
        case 16: return {QColor(0xC2, 0x7C, 0x0E), "G"};  // gumps
        case 17: return {QColor(0x4A, 0x55, 0x68), "U"};  // multis
        case 18: return {QColor(0x2E, 0x5E, 0xAA), "K"};  // skills
        case 19: return {QColor(0x6D, 0x4C, 0x41), "D"};  // tile data
        case 20: return {QColor(0x9E, 0x2A, 0x6B), "I"};  // animation data
        case 21: return {QColor(0x55, 0x55, 0x55), "H"};  // hues, light, radar colours
        default: return {QColor(0x80, 0x80, 0x80), ""};
    }
}

}  // namespace

QIcon MulIcon(int imageIndex) {
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const IconLook look = LookFor(imageIndex);
    painter.setPen(look.colour.darker(140));
    painter.setBrush(look.colour);
    painter.drawRoundedRect(QRectF(0.5, 0.5, 15, 15), 3, 3);
    QFont font = painter.font();
    font.setPixelSize(11);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRect(0, 0, 16, 16), Qt::AlignCenter, look.glyph);
    return QIcon(pixmap);
}

}  // namespace quillet
