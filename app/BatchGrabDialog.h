// Grab -> Batch Grab... and Contact Sheet...: what to take and how, as tavelo-grab offers
// it; run by tavelo-grab, a process of its own that reads the disc beside playback, so the
// video goes on undisturbed. Each picture shows as it is written; Cancel stops the batch
// between two stills, so only whole files are left.
#pragma once

#include <QDialog>
#include <QPointer>
#include <QProcess>
#include <QString>
#include <QStringList>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QSpinBox;

class BatchGrabDialog : public QDialog {
  Q_OBJECT

 public:
  enum Mode { kFiles, kSheet };
  // title: the title to take from (0: the longest).
  BatchGrabDialog(Mode mode, QString const& discPath, int title, QString const& folder,
                  QWidget* parent = nullptr);
  ~BatchGrabDialog() override;

  // tavelo-grab beside this program (installed), or in the build tree.
  static QString GrabProgram();
  // The command line the choices make.
  QStringList Arguments() const;
  // How many stills the batch plans (0 when it cannot tell).
  int Planned() const;
  bool Running() const;

  QPointer<QComboBox> mWhat;
  QPointer<QLineEdit> mValue;
  QPointer<QSpinBox> mColumns;
  QPointer<QSpinBox> mRows;
  QPointer<QSpinBox> mSheetWidth;
  QPointer<QComboBox> mFormat;
  QPointer<QComboBox> mSize;
  QPointer<QComboBox> mDeinterlace;
  QPointer<QCheckBox> mSubtitles;
  QPointer<QCheckBox> mCrop;
  QPointer<QCheckBox> mSkipBlank;
  QPointer<QLineEdit> mFolder;
  QPointer<QProgressBar> mProgress;
  QPointer<QLabel> mStatus;
  QPointer<QListWidget> mWritten;
  QPointer<QPushButton> mStart;
  QPointer<QPushButton> mCancel;

 public slots:
  void start();
  // Stops a running batch (between two stills); closes the dialog otherwise.
  void cancel();
  // Escape: as Cancel.
  void reject() override;

 private:
  void readWritten();
  void finish(int exitCode);
  void chooseFolder();

  Mode mMode;
  QString mDisc;
  int mTitle;
  QProcess mProcess;
  QByteArray mPending;
  int mCount = 0;
  bool mCancelled = false;
};
