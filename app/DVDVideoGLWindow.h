// The video view's picture on the GPU: the decoded Y'CbCr planes are uploaded as they are and
// converted (the stream's matrix and range), scaled and blended with the subpicture and
// highlight layer in one shader pass, straight into the window.
#pragma once

#include <QOpenGLFunctions>
#include <QOpenGLWindow>

#include <array>
#include <cstdint>

#include "DVDPlayback.h"

class QOpenGLShaderProgram;

class DVDVideoGLWindow : public QOpenGLWindow, protected QOpenGLFunctions {
  Q_OBJECT

 public:
  DVDVideoGLWindow();
  ~DVDVideoGLWindow() override;

  // True when OpenGL with shaders can be used on this display.
  static bool Available();

  // The picture to draw next: its planes and (when info says there is one) its overlay,
  // which stay the caller's and unchanged until the next call.
  void setPicture(DVDPresentedPlanesInfo const& info, std::uint8_t const* planes,
                  std::uint8_t const* overlay);
  // Where the picture goes, in the window's coordinates; the rest is black.
  void setPictureRect(QRect const& rect);
  // Pictures uploaded and drawn so far.
  unsigned picturesDrawn() const { return mPicturesDrawn; }

 signals:
  // The window cannot draw (a shader that would not build): the view draws instead.
  void failed();

 protected:
  void initializeGL() override;
  void paintGL() override;

 private:
  void upload();
  void releaseGL();

  // Without and with the overlay.
  std::array<QOpenGLShaderProgram*, 2> mPrograms{};
  // Y', Cb, Cr and the overlay.
  std::array<unsigned, 4> mTextures{};
  int mTextureWidth = 0;
  int mTextureHeight = 0;

  DVDPresentedPlanesInfo mInfo{};
  std::uint8_t const* mPlanes = nullptr;
  std::uint8_t const* mOverlay = nullptr;
  bool mUploadPending = false;
  unsigned mPicturesDrawn = 0;
  QRect mPictureRect;
};
