// Renders the program's SVG icon at the sizes a desktop's icon theme asks for:
//   tavelo-render-icon ICON.svg OUT-DIR SIZE...   (writes OUT-DIR/SIZExSIZE/apps/tavelo.png)
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  if (argc < 4) {
    std::fprintf(stderr, "usage: tavelo-render-icon ICON.svg OUT-DIR SIZE...\n");
    return 2;
  }
  QSvgRenderer svg(QString::fromLocal8Bit(argv[1]));
  if (!svg.isValid()) {
    std::fprintf(stderr, "tavelo-render-icon: %s is not a usable SVG\n", argv[1]);
    return 1;
  }
  for (int i = 3; i < argc; ++i) {
    int const size = QByteArray(argv[i]).toInt();
    if (size <= 0) return 2;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
      QPainter painter(&image);
      painter.setRenderHint(QPainter::Antialiasing, true);
      svg.render(&painter);
    }
    QString const folder = QStringLiteral("%1/%2x%2/apps").arg(QString::fromLocal8Bit(argv[2])).arg(size);
    if (!QDir().mkpath(folder) || !image.save(folder + QStringLiteral("/tavelo.png"))) return 1;
  }
  return 0;
}
