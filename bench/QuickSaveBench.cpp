// Quick save of a 720 x 480 grab, from the command to the file on disk: the grab
// controller's quick-grab action on a 720 x 480 view of an X11 window on a private Xvfb
// screen (read, reorder, flip, crop, JPEG / PNG / TIFF encode, atomic write, type and
// creator), reported in milliseconds.
#include "GrabWindowController.h"
#include "NSBitmapImageRep.h"
#include "XvfbServer.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QWidget>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

// A view that draws something that compresses like a frame: gradients and blocks.
class FrameView : public QWidget {
 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    QLinearGradient gradient(0, 0, width(), height());
    gradient.setColorAt(0, QColor(20, 90, 200));
    gradient.setColorAt(1, QColor(230, 160, 40));
    painter.fillRect(rect(), gradient);
    for (int i = 0; i < 12; ++i)
      painter.fillRect(40 + i * 52, 60 + (i % 4) * 90, 40, 70, QColor(i * 20, 255 - i * 20, 128));
  }
};

QWidget* sWindow = nullptr;
QString sFolder;

void QuickSave(benchmark::State& state) {
  auto const type = static_cast<QuikSaveImageType>(state.range(0));
  GrabWindowController controller;
  controller.setGrabWindow(sWindow);
  controller.setDefaultGrabImageType(type);
  for (auto _ : state) {
    controller.grabQuickSave(nullptr);
    state.PauseTiming();
    QStringList const written = QDir(sFolder).entryList(QDir::Files);
    if (written.size() != 1) {
      state.SkipWithError("the quick save wrote no file");
      break;
    }
    // Each save is a first free name again, so every iteration does the same work.
    for (QString const& name : written) QFile::remove(sFolder + "/" + name);
    state.ResumeTiming();
  }
  if (!controller.hasGrabbedImage() || controller.grabbedBitmapImageRep()->pixelsWide() != 720 ||
      controller.grabbedBitmapImageRep()->pixelsHigh() != 480) {
    state.SkipWithError("the grab is not the 720x480 view");
  }
}
BENCHMARK(QuickSave)->Arg(QuikSaveImageType_JPEG)->Arg(QuikSaveImageType_PNG)->Arg(QuikSaveImageType_TIFF)
    ->ArgName("type")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  tavelo_test::XvfbServer server;
  if (!server.Start(1920, 1080)) {
    std::fprintf(stderr, "Xvfb could not be started\n");
    return 1;
  }
  ::setenv("DISPLAY", server.Name().c_str(), 1);
  ::setenv("QT_QPA_PLATFORM", "xcb", 1);
  QApplication app(argc, argv);
  FrameView window;
  window.setFixedSize(720, 480);
  window.move(100, 100);
  window.show();
  for (int i = 0; i < 20; ++i) QApplication::processEvents(QEventLoop::AllEvents, 20);
  sWindow = &window;

  char pattern[] = "/tmp/tavelo-quicksave-XXXXXX";
  if (!::mkdtemp(pattern)) return 1;
  sFolder = QString::fromLocal8Bit(pattern);
  if (!NSBitmapImageRep::setQuickSaveFolderUnixPath(sFolder)) return 1;

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  QDir(sFolder).removeRecursively();
  return 0;
}
