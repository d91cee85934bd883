// A contact sheet: a header (disc, title, duration, stored size and aspect, the program's
// name) over the stills in a grid, each at its true shape with its time under it.
#pragma once

#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

#include <vector>

struct StillSheetTile {
  QImage picture;
  QString caption;
};

class StillSheet {
 public:
  // Layout, in pixels: the tiles' cells start below the header at kMargin from the left,
  // kGap apart, each a picture over a caption line.
  static constexpr int kMargin = 16;
  static constexpr int kGap = 12;
  static constexpr int kCaption = 22;
  static QRgb const kBackground = 0xff202020;

  // width pixels wide; tiles in reading order, cols to a row. A null image when it cannot
  // be laid out (no columns, or too narrow for them).
  static QImage Compose(QStringList const& header, std::vector<StillSheetTile> const& tiles,
                        int cols, int width);
  static int HeaderHeight(QStringList const& header);
  // A tile's cell for pictures shaped like `picture`; empty when the columns do not fit.
  static QSize TileSize(QImage const& picture, int cols, int width);
};
