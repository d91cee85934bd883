// The video window's content: black, with the picture the DVD playback service presented
// drawn over the whole view.
#pragma once

#include <QImage>

#include <atomic>

#include "DVDPlayback.h"
#include "NSUIColorContentView.h"

class DVDVideoView : public NSUIOpaqueBlackView {
  Q_OBJECT

 public:
  explicit DVDVideoView(QWidget* parent = nullptr);
  ~DVDVideoView() override;

  // Starts drawing what the service presents (once its session has begun).
  void startPresenting();
  // Copies the service's presented picture; false when it has none yet.
  bool copyPresentedFrame();
  QImage const& presentedImage() const { return mPresentedImage; }

  // The service's presentation thread: hand on to the main thread, at most one pending.
  static void FrameReadyCallBack(UInt32 frameNumber, void* refCon);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QImage mPresentedImage;
  // The picture's width at its display aspect (its height is the image's).
  int mDisplayWidth = 0;
  std::atomic<bool> mFramePending{false};
  bool mPresenting = false;
};
