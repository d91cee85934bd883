// The video window's content: black, with the picture the DVD playback service presented
// drawn over the whole view at its display aspect. The decoded planes are converted and
// scaled on the GPU (OpenGL) where there is OpenGL, or in software straight to the size drawn.
#pragma once

#include <QImage>

#include <atomic>
#include <cstdint>
#include <vector>

#include "DVDPlayback.h"
#include "NSUIColorContentView.h"

class DVDVideoGLWindow;
struct SwsContext;

class DVDVideoView : public NSUIOpaqueBlackView {
  Q_OBJECT

 public:
  enum class Output { Software, GPU };

  explicit DVDVideoView(QWidget* parent = nullptr);
  ~DVDVideoView() override;

  // TAVELO_VIDEO_OUTPUT ("gpu" or "software"), else the VideoOutput preference, else the GPU;
  // the GPU only where OpenGL with shaders works.
  static Output ChosenOutput();
  Output output() const { return mGL ? Output::GPU : Output::Software; }

  // Starts drawing what the service presents (once its session has begun).
  void startPresenting();
  // Copies the service's presented picture; false when it has none yet.
  bool copyPresentedFrame();
  // The view as it shows the picture (subpicture and highlight over it, black around it),
  // at the view's size, whichever output draws it; null before the first picture.
  QImage composedImage();

  // The service's presentation thread: hand on to the main thread, at most one pending.
  static void FrameReadyCallBack(UInt32 frameNumber, void* refCon);

 signals:
  // A new picture from the service is in the view (on the UI thread).
  void framePresented();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  // Where the picture goes in the view: all of it, or its display aspect fitted in black.
  QRect pictureRect() const;
  void useSoftware();
  // mScaled made from the planes at that size, with the overlay; false when it cannot be.
  bool convertTo(QSize size);

  DVDPresentedPlanesInfo mInfo{};
  std::vector<std::uint8_t> mPlanes;
  std::vector<std::uint8_t> mOverlay;
  bool mHavePicture = false;
  // The picture converted at the size it is drawn, and whether it is the one presented.
  QImage mScaled;
  bool mScaledCurrent = false;
  SwsContext* mScaler = nullptr;
  DVDColorMatrix mScalerMatrix = kDVDColorMatrixBT601;
  bool mScalerFullRange = false;
  // The GPU output: a window of its own over the whole view (null: software).
  DVDVideoGLWindow* mGL = nullptr;
  QWidget* mGLContainer = nullptr;
  std::atomic<bool> mFramePending{false};
  bool mPresenting = false;
  // Pictures drawn in software, told in the diagnostic log at the end (benchmarks read it).
  unsigned mPicturesDrawn = 0;
};
