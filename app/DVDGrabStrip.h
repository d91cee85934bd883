// The controller's strip of the last grabs: up to eight small pictures, newest on the right.
// A click shows one larger in a window of its own; dragging one into another program gives
// its file (a quick save's) or, for a grab not saved, the picture itself.
#pragma once

#include <QImage>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <vector>

class QHBoxLayout;
class QLabel;

class DVDGrabStrip : public QWidget {
  Q_OBJECT

 public:
  static constexpr int kMost = 8;
  static constexpr int kThumbWidth = 36;

  explicit DVDGrabStrip(QWidget* parent = nullptr);

  // A new grab; path is its file when it was saved (else empty).
  void add(QImage const& picture, QString const& path = QString());
  // The newest grab was written to path.
  void setNewestPath(QString const& path);

  int count() const { return int(mGrabs.size()); }
  QString pathAt(int i) const { return mGrabs[size_t(i)].path; }
  // Shows grab i larger; the window shown (for tests).
  QWidget* showLarger(int i);
  // What a drag of grab i carries.
  class QMimeData* mimeDataAt(int i) const;

  QSize sizeHint() const override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Grab {
    QImage picture;
    QString path;
    QPointer<QWidget> thumb;  // a QLabel; held as a widget, looked at while it goes too
  };
  int indexOf(QObject const* thumb) const;

  std::vector<Grab> mGrabs;
  QHBoxLayout* mLayout = nullptr;
  QPointer<QLabel> mLarger;
  QPoint mPressAt;
  int mPressed = -1;
};
