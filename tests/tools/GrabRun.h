// tavelo-grab run as a user runs it, and the frame numbers read back from its pictures.
#pragma once

#include <QImage>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "DVDBarcode.h"

namespace tavelo_test {

inline QString Disc(char const* name) { return QStringLiteral(TAVELO_TEST_DISCS "/") + QLatin1String(name); }

struct Result {
  int exit = -1;
  QStringList lines;  // standard output
  QString err;
};

inline Result Grab(QStringList const& args) {
  QProcess p;
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  // As on a machine without a display or a sound server.
  env.remove(QStringLiteral("DISPLAY"));
  env.remove(QStringLiteral("WAYLAND_DISPLAY"));
  env.insert(QStringLiteral("PULSE_SERVER"), QStringLiteral("unix:/nonexistent"));
  p.setProcessEnvironment(env);
  p.start(QStringLiteral(TAVELO_GRAB), args);
  Result r;
  if (!p.waitForFinished(120000)) {
    p.kill();
    p.waitForFinished();
    return r;
  }
  r.exit = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
  r.lines = QString::fromUtf8(p.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
  r.err = QString::fromUtf8(p.readAllStandardError());
  return r;
}

// The frame number burnt into a picture drawn into rect of image (the picture's stored
// width spans rect's width).
inline int Barcode(QImage const& image, QRect rect = QRect()) {
  if (rect.isNull()) rect = image.rect();
  int const y = rect.top() + int(std::lround((kBarcodeRow + 0.5) * rect.height() / 480.0));
  int value = 0;
  for (int i = 0; i < kBarcodeBlocks; ++i) {
    int const x = rect.left() + int((i * kBarcodeBlockWidth + kBarcodeBlockWidth / 2) * double(rect.width()) / 720.0);
    int const level = qGreen(image.pixel(x, y));
    if (level > 64 && level < 192) return -1;
    value = value * 2 + (level >= 192 ? 1 : 0);
  }
  return value;
}

// The one still taken at seconds, at its stored size, with the options given (null when
// none was written).
inline QImage StoredStillAt(QString const& seconds, QStringList args, QString const& folder,
                            QString const& disc) {
  args << QStringLiteral("--at") << seconds << QStringLiteral("--size") << QStringLiteral("stored")
       << QStringLiteral("--format") << QStringLiteral("png") << QStringLiteral("-o") << folder
       << disc;
  Result const r = Grab(args);
  EXPECT_EQ(0, r.exit) << args.join(QLatin1Char(' ')).toStdString() << ": " << r.err.toStdString();
  EXPECT_EQ(1, r.lines.size());
  return r.lines.isEmpty() ? QImage() : QImage(r.lines[0]);
}

// A white subtitle box drawn over the picture at x, y.
inline bool WhiteAt(QImage const& still, int x, int y) {
  QRgb const p = still.pixel(x, y);
  return qRed(p) > 220 && qGreen(p) > 220 && qBlue(p) > 220;
}

inline std::vector<int> Barcodes(QStringList const& files) {
  std::vector<int> frames;
  for (QString const& f : files) frames.push_back(Barcode(QImage(f)));
  return frames;
}

}  // namespace tavelo_test
