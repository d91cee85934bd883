#include "DVDVideoGLWindow.h"

#include <QByteArray>
#include <QGenericMatrix>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLShaderProgram>
#include <QVector2D>
#include <QVector3D>

#include <memory>

#include "CoreMachDebugLog.h"

namespace {

// GLSL that builds on desktop OpenGL 2.1 and OpenGL ES 2 alike (Qt defines the precision
// words away on the desktop).
char const kVertexShader[] = R"(
attribute highp vec2 position;
attribute highp vec2 texcoord;
varying highp vec2 v_texcoord;
void main() {
  v_texcoord = texcoord;
  gl_Position = vec4(position, 0.0, 1.0);
}
)";

char const kFragmentShader[] = R"(
uniform sampler2D planeY;
uniform sampler2D planeCb;
uniform sampler2D planeCr;
uniform sampler2D overlay;
uniform highp mat3 toRGB;
uniform highp vec3 offset;
uniform highp vec2 chromaShift;
varying highp vec2 v_texcoord;
void main() {
  highp vec3 ycc = vec3(texture2D(planeY, v_texcoord).r,
                        texture2D(planeCb, v_texcoord + chromaShift).r,
                        texture2D(planeCr, v_texcoord + chromaShift).r);
  highp vec3 rgb = clamp(toRGB * ycc - offset, 0.0, 1.0);
#ifdef OVERLAY
  highp vec4 over = texture2D(overlay, v_texcoord);
  rgb = mix(rgb, over.rgb, over.a);
#endif
  gl_FragColor = vec4(rgb, 1.0);
}
)";

// Y'CbCr samples (as 0..1 texture values) to R'G'B': the matrix and the offset it subtracts,
// for the stream's matrix and range, as the stills convert them.
void ConversionFor(DVDColorMatrix matrix, bool fullRange, QMatrix3x3* outMatrix,
                   QVector3D* outOffset) {
  double kr = 0.299, kb = 0.114;
  if (matrix == kDVDColorMatrixBT709) {
    kr = 0.2126;
    kb = 0.0722;
  } else if (matrix == kDVDColorMatrixSMPTE240M) {
    kr = 0.212;
    kb = 0.087;
  }
  double const kg = 1.0 - kr - kb;
  double const ys = fullRange ? 1.0 : 255.0 / 219.0;
  double const cs = fullRange ? 1.0 : 255.0 / 224.0;
  double const y0 = fullRange ? 0.0 : 16.0 / 255.0;
  double const c0 = 128.0 / 255.0;
  double const rows[3][3] = {
      {ys, 0.0, cs * 2.0 * (1.0 - kr)},
      {ys, -cs * 2.0 * kb * (1.0 - kb) / kg, -cs * 2.0 * kr * (1.0 - kr) / kg},
      {ys, cs * 2.0 * (1.0 - kb), 0.0},
  };
  float values[9];
  float offset[3];
  for (int r = 0; r < 3; ++r) {
    offset[r] = float(rows[r][0] * y0 + (rows[r][1] + rows[r][2]) * c0);
    for (int c = 0; c < 3; ++c) values[r * 3 + c] = float(rows[r][c]);
  }
  *outMatrix = QMatrix3x3(values);
  *outOffset = QVector3D(offset[0], offset[1], offset[2]);
}

}  // namespace

DVDVideoGLWindow::DVDVideoGLWindow() : QOpenGLWindow(QOpenGLWindow::NoPartialUpdate) {
  // The view under it takes the mouse: clicks and moves reach the disc menu from there.
  setFlag(Qt::WindowTransparentForInput, true);
  // Not the video window's own name, which tools look the window up by.
  setTitle(QStringLiteral("Tavelo Video"));
}

DVDVideoGLWindow::~DVDVideoGLWindow() {
  if (!context()) return;
  makeCurrent();
  releaseGL();
  doneCurrent();
}

bool DVDVideoGLWindow::Available() {
  static int const available = [] {
    QOpenGLContext context;
    if (!context.create()) return 0;
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!surface.isValid() || !context.makeCurrent(&surface)) return 0;
    bool const shaders = QOpenGLShaderProgram::hasOpenGLShaderPrograms(&context);
    context.doneCurrent();
    return shaders ? 1 : 0;
  }();
  return available != 0;
}

void DVDVideoGLWindow::setPicture(DVDPresentedPlanesInfo const& info, std::uint8_t const* planes,
                                  std::uint8_t const* overlay) {
  mInfo = info;
  mPlanes = planes;
  mOverlay = info.hasOverlay ? overlay : nullptr;
  mUploadPending = true;
  update();
}

void DVDVideoGLWindow::setPictureRect(QRect const& rect) {
  if (rect == mPictureRect) return;
  mPictureRect = rect;
  update();
}

void DVDVideoGLWindow::initializeGL() {
  initializeOpenGLFunctions();
  // One program with the overlay and one without: most pictures have nothing over them, and
  // a texture read less a pixel counts where OpenGL runs on the CPU (llvmpipe).
  for (size_t i = 0; i < mPrograms.size(); ++i) {
    auto program = std::make_unique<QOpenGLShaderProgram>();
    QByteArray const fragment = (i == 1 ? QByteArray("#define OVERLAY 1\n") : QByteArray()) +
                                QByteArray(kFragmentShader);
    bool const built =
        CoreVerify(program->addShaderFromSourceCode(QOpenGLShader::Vertex, kVertexShader)) &&
        CoreVerify(program->addShaderFromSourceCode(QOpenGLShader::Fragment, fragment)) &&
        CoreVerify(program->link());
    if (!built) {
      CoreMachDebugLog("video on the GPU: %s\n", qPrintable(program->log()));
      releaseGL();
      emit failed();
      return;
    }
    mPrograms[i] = program.release();
  }
  CoreMachDebugLog("video on the GPU: OpenGL renderer %s\n",
                   reinterpret_cast<char const*>(glGetString(GL_RENDERER)));
  glGenTextures(int(mTextures.size()), mTextures.data());
  for (unsigned texture : mTextures) {
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  }
}

void DVDVideoGLWindow::releaseGL() {
  if (mTextures[0]) glDeleteTextures(int(mTextures.size()), mTextures.data());
  mTextures = {};
  mTextureWidth = mTextureHeight = 0;
  for (QOpenGLShaderProgram*& program : mPrograms) {
    delete program;
    program = nullptr;
  }
}

void DVDVideoGLWindow::upload() {
  int const width = mInfo.frame.width;
  int const height = mInfo.frame.height;
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  bool const remake = width != mTextureWidth || height != mTextureHeight;
  std::uint8_t const* plane = mPlanes;
  for (int i = 0; i < 3; ++i) {
    int const w = i == 0 ? width : width / 2;
    int const h = i == 0 ? height : height / 2;
    glBindTexture(GL_TEXTURE_2D, mTextures[size_t(i)]);
    if (remake) {
      glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE, w, h, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, plane);
    } else {
      glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, w, h, GL_LUMINANCE, GL_UNSIGNED_BYTE, plane);
    }
    plane += std::ptrdiff_t(w) * h;
  }
  if (mOverlay) {
    glBindTexture(GL_TEXTURE_2D, mTextures[3]);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, mOverlay);
  }
  mTextureWidth = width;
  mTextureHeight = height;
}

void DVDVideoGLWindow::paintGL() {
  qreal const ratio = devicePixelRatio();
  QOpenGLShaderProgram* const program = mPrograms[mOverlay ? 1 : 0];
  bool const drawn = program && mPlanes && !mPictureRect.isEmpty();
  // Black only where the picture leaves some of the window.
  if (!drawn || mPictureRect != QRect(QPoint(0, 0), size())) {
    glViewport(0, 0, int(width() * ratio), int(height() * ratio));
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  if (!drawn) return;
  if (mUploadPending) {
    upload();
    mUploadPending = false;
    ++mPicturesDrawn;
  }
  if (mTextureWidth == 0) return;
  // GL counts rows from the bottom.
  glViewport(int(mPictureRect.x() * ratio), int((height() - mPictureRect.bottom() - 1) * ratio),
             int(mPictureRect.width() * ratio), int(mPictureRect.height() * ratio));
  static GLfloat const kPositions[] = {-1, -1, 1, -1, -1, 1, 1, 1};
  // The picture's first row at the top.
  static GLfloat const kTexcoords[] = {0, 1, 1, 1, 0, 0, 1, 0};
  program->bind();
  for (int i = 0; i < (mOverlay ? 4 : 3); ++i) {
    glActiveTexture(GLenum(GL_TEXTURE0 + i));
    glBindTexture(GL_TEXTURE_2D, mTextures[size_t(i)]);
  }
  glActiveTexture(GL_TEXTURE0);
  program->setUniformValue("planeY", 0);
  program->setUniformValue("planeCb", 1);
  program->setUniformValue("planeCr", 2);
  if (mOverlay) program->setUniformValue("overlay", 3);
  QMatrix3x3 toRGB;
  QVector3D offset;
  ConversionFor(mInfo.matrix, mInfo.fullRange, &toRGB, &offset);
  program->setUniformValue("toRGB", toRGB);
  program->setUniformValue("offset", offset);
  // MPEG-2 chroma sits with the even luma columns, not between two: half a luma sample over.
  program->setUniformValue("chromaShift", QVector2D(0.5f / float(mTextureWidth), 0.0f));
  int const position = program->attributeLocation("position");
  int const texcoord = program->attributeLocation("texcoord");
  program->enableAttributeArray(position);
  program->enableAttributeArray(texcoord);
  program->setAttributeArray(position, GL_FLOAT, kPositions, 2);
  program->setAttributeArray(texcoord, GL_FLOAT, kTexcoords, 2);
  glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
  program->disableAttributeArray(position);
  program->disableAttributeArray(texcoord);
  program->release();
}
