#include "StillSheet.h"

#include <QFont>
#include <QPainter>


namespace {

constexpr int kHeaderLine = 24;

}  // namespace

int StillSheet::HeaderHeight(QStringList const& header) {
  return kMargin + int(header.size()) * kHeaderLine + kMargin / 2;
}

QSize StillSheet::TileSize(QImage const& picture, int cols, int width) {
  if (cols < 1) return QSize();
  int const tileW = (width - 2 * kMargin - (cols - 1) * kGap) / cols;
  if (tileW < 16) return QSize();
  int const tileH = picture.isNull() ? tileW * 3 / 4
                                     : int((int64_t(tileW) * picture.height() + picture.width() / 2) /
                                           picture.width());
  return QSize(tileW, tileH);
}

QImage StillSheet::Compose(QStringList const& header, std::vector<StillSheetTile> const& tiles,
                           int cols, int width) {
  if (tiles.empty()) return QImage();
  // Every tile at the first picture's shape: one title, one shape.
  QSize const tile = TileSize(tiles.front().picture, cols, width);
  if (tile.isEmpty()) return QImage();
  int const tileW = tile.width();
  int const tileH = tile.height();
  int const rows = int((tiles.size() + size_t(cols) - 1) / size_t(cols));
  int const top = HeaderHeight(header);
  int const height = top + rows * (tileH + kCaption) + (rows - 1) * kGap + kMargin;
  // The bitmaps stills are written from hold RGBX: drawn in it, the sheet is not converted.
  QImage sheet(width, height, QImage::Format_RGBX8888);
  if (sheet.isNull()) return sheet;
  sheet.fill(QColor::fromRgb(kBackground));
  QPainter painter(&sheet);
  painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
  painter.setRenderHint(QPainter::TextAntialiasing, true);
  QFont font = painter.font();
  font.setPixelSize(16);
  painter.setFont(font);
  painter.setPen(QColor(0xe8, 0xe8, 0xe8));
  for (qsizetype i = 0; i < header.size(); ++i) {
    painter.drawText(QRect(kMargin, kMargin + int(i) * kHeaderLine, width - 2 * kMargin, kHeaderLine),
                     Qt::AlignLeft | Qt::AlignVCenter, header[i]);
  }
  font.setPixelSize(14);
  painter.setFont(font);
  for (size_t i = 0; i < tiles.size(); ++i) {
    int const x = kMargin + int(i % size_t(cols)) * (tileW + kGap);
    int const y = top + int(i / size_t(cols)) * (tileH + kCaption + kGap);
    QRect const cell(x, y, tileW, tileH);
    if (tiles[i].picture.isNull()) {
      painter.fillRect(cell, QColor(0x40, 0x40, 0x40));
    } else {
      painter.drawImage(cell, tiles[i].picture);
    }
    painter.drawText(QRect(x, y + tileH, tileW, kCaption), Qt::AlignCenter, tiles[i].caption);
  }
  return sheet;
}
