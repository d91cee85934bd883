#include "DVDComparison.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>

#include "BatchGrabDialog.h"
#include "CoreMachDebugLog.h"
#include "DVDCompareView.h"
#include "DVDVideoView.h"
#include "StillNames.h"

namespace {


// The first line of a child's complaint, without the program's name.
QString Complaint(QProcess& process) {
  QString const err = QString::fromUtf8(process.readAllStandardError()).trimmed();
  QStringList const lines = err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
  for (QString const& line : lines) {
    // tavelo-grab's own messages, not its progress.
    if (line.startsWith(QLatin1String("tavelo-grab: "))) return line.mid(13);
  }
  return lines.isEmpty() ? QString() : lines.last();
}

}  // namespace

bool DVDCompareAlignment::Construct(QByteArray const& json) {
  QJsonParseError error{};
  QJsonObject const root = QJsonDocument::fromJson(json, &error).object();
  if (error.error != QJsonParseError::NoError || !root.contains(QStringLiteral("offset")) ||
      !root.value(QStringLiteral("pieces")).isArray()) {
    return false;
  }
  offset = root.value(QStringLiteral("offset")).toInt();
  confidence = root.value(QStringLiteral("confidence")).toDouble(1.0);
  otherFrames = uint32_t(root.value(QStringLiteral("b")).toObject().value(QStringLiteral("frames")).toInteger());
  pieces.clear();
  for (QJsonValue const& v : root.value(QStringLiteral("pieces")).toArray()) {
    QJsonObject const piece = v.toObject();
    qint64 const first = piece.value(QStringLiteral("firstFrame")).toInteger(-1);
    // In order, each after the one before.
    if (first < 0 || (!pieces.empty() && first <= qint64(pieces.back().firstFrame))) return false;
    pieces.push_back({uint32_t(first), piece.value(QStringLiteral("offset")).toInt()});
  }
  return true;
}

DVDComparison::DVDComparison(QObject* parent) : QObject(parent) {
  connect(&mFollow, &QProcess::readyReadStandardOutput, this, &DVDComparison::readFollow);
  connect(&mFollow, &QProcess::finished, this, &DVDComparison::followEnded);
  connect(&mFollow, &QProcess::errorOccurred, this, [this](QProcess::ProcessError e) {
    if (e == QProcess::FailedToStart) followEnded();
  });
  connect(&mAlign, &QProcess::finished, this, &DVDComparison::alignmentEnded);
  connect(&mAlign, &QProcess::errorOccurred, this, [this](QProcess::ProcessError e) {
    if (e == QProcess::FailedToStart) alignmentEnded(-1, QProcess::CrashExit);
  });
}

DVDComparison::~DVDComparison() {
  mEnding = true;
  // The follower ends at the end of its input, after the frame it is taking; the alignment
  // is only reading and can stop at once.
  if (mAlign.state() != QProcess::NotRunning) {
    mAlign.kill();
    mAlign.waitForFinished(2000);
  }
  if (mFollow.state() != QProcess::NotRunning) {
    mFollow.closeWriteChannel();
    if (!mFollow.waitForFinished(2000)) {
      mFollow.kill();
      mFollow.waitForFinished(2000);
    }
  }
  delete mView.data();
}

bool DVDComparison::Construct(Setup const& setup, QWidget* videoWindow,
                              DVDWindowDelegate* delegate) {
  mSetup = setup;
  QString const program = BatchGrabDialog::GrabProgram();
  bool const grabProgram = !program.isEmpty();
  if (!CoreVerify(grabProgram) || !CoreVerify(mFrames.isValid())) return false;
  mView = new DVDCompareView(videoWindow, delegate, StillNames::DiscName(setup.other));
  connect(mView, &DVDCompareView::closed, this, &DVDComparison::ended);
  mView->place();
  mView->show();

  QStringList follow{QStringLiteral("--follow"), mFrames.path()};
  follow << setup.stillArguments << setup.other;
  mFollow.start(program, follow);
  QStringList align{QStringLiteral("-q"), QStringLiteral("--compare"), setup.other, QStringLiteral("--json")};
  if (setup.firstTitle > 0) align << QStringLiteral("--title") << QString::number(setup.firstTitle);
  align << setup.first;
  mAlign.start(program, align);
  emit status(tr("Lining up…"), 0);
  if (auto* const view = videoWindow->findChild<DVDVideoView*>()) {
    connect(view, &DVDVideoView::framePresented, this, &DVDComparison::look);
  }
  videoWindow->installEventFilter(this);
  look();
  return true;
}

void DVDComparison::Flip() {
  if (mView) mView->setOver(!mView->over());
}

bool DVDComparison::Match(uint32_t frame, uint32_t* other) const {
  if (mOtherFrames == 0) return false;
  return StillAlign::MapByPieces(mAlignment.pieces, mAlignment.offset, frame, mOtherFrames, other);
}

void DVDComparison::TakeOther(uint32_t frame, std::function<void(QImage const&)> done) {
  mTakes.emplace_back(frame, std::move(done));
  deliver();
  ask();
}

bool DVDComparison::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::WindowStateChange:
      if (mView) mView->place();
      break;
    default:
      break;
  }
  return QObject::eventFilter(watched, event);
}

void DVDComparison::look() {
  DVDPresentedFrameInfo info{};
  UInt32 size = 0;
  if (DVDCopyPresentedFrame(&info, nullptr, &size) != noErr) return;
  // Only the title compared: a menu or another title leaves the other side as it is.
  if (info.frameInTitle == kDVDNoFrame || (mSetup.firstTitle > 0 && info.title != mSetup.firstTitle)) return;
  if (info.frameInTitle == mWanted) return;
  mWanted = info.frameInTitle;
  ask();
}

void DVDComparison::ask() {
  if (!mReady || mAsked != kDVDNoFrame || mWanted == kDVDNoFrame || mWanted == mShownFor) return;
  uint32_t other = kDVDNoFrame;
  if (!Match(mWanted, &other)) {
    show(mWanted, kDVDNoFrame, QImage());
    return;
  }
  if (other == mShown) {
    mShownFor = mWanted;
    deliver();
    return;
  }
  mAskedFor = mWanted;
  mAsked = other;
  mFollow.write(QByteArray::number(other) + '\n');
}

void DVDComparison::show(uint32_t frame, uint32_t other, QImage const& picture) {
  mShownFor = frame;
  mShown = other;
  if (mView) mView->setPicture(picture);
  deliver();
}

void DVDComparison::deliver() {
  for (size_t i = 0; i < mTakes.size();) {
    if (mTakes[i].first != mShownFor) {
      ++i;
      continue;
    }
    auto const done = std::move(mTakes[i].second);
    mTakes.erase(mTakes.begin() + std::ptrdiff_t(i));
    done(mShown == kDVDNoFrame || !mView ? QImage() : mView->picture());
  }
}

void DVDComparison::readFollow() {
  mPending += mFollow.readAllStandardOutput();
  for (qsizetype nl; (nl = mPending.indexOf('\n')) >= 0;) {
    QString const line = QString::fromUtf8(mPending.left(nl));
    mPending.remove(0, nl + 1);
    answered(line);
  }
  ask();
}

void DVDComparison::answered(QString const& line) {
  QStringList const words = line.split(QLatin1Char(' '));
  if (words.size() >= 3 && words[0] == QLatin1String("ready")) {
    mReady = true;
    mOtherFrames = words[2].toUInt();
    return;
  }
  if (words.size() < 3 || words[0] != QLatin1String("frame")) {
    CoreMachDebugLog("compare: the follower says \"%s\"\n", line.toUtf8().constData());
    return;
  }
  uint32_t const other = words[1].toUInt();
  QString const path = line.section(QLatin1Char(' '), 2);
  QImage picture;
  if (path != QLatin1String("none")) {
    picture = QImage(path);
    bool const pictureRead = !picture.isNull();
    CoreMachDebugVerify(pictureRead);
    QFile::remove(path);
  }
  // Answers come in the order asked, one at a time.
  if (other != mAsked) return;
  uint32_t const frame = mAskedFor;
  mAsked = kDVDNoFrame;
  mAskedFor = kDVDNoFrame;
  show(frame, picture.isNull() ? kDVDNoFrame : other, picture);
}

void DVDComparison::followEnded() {
  if (mEnding) return;
  QString const why = Complaint(mFollow);
  CoreMachDebugLog("compare: the other disc's follower ended: %s\n", why.toUtf8().constData());
  emit status(tr("The other disc cannot be shown: %1").arg(why.isEmpty() ? tr("tavelo-grab stopped") : why), 10000);
  mEnding = true;
  emit ended();
}

void DVDComparison::alignmentEnded(int exitCode, QProcess::ExitStatus exitStatus) {
  if (mEnding) return;
  DVDCompareAlignment alignment;
  bool const read = exitStatus == QProcess::NormalExit && exitCode == 0 &&
                    alignment.Construct(mAlign.readAllStandardOutput());
  if (!read) {
    QString const why = Complaint(mAlign);
    CoreMachDebugLog("compare: the titles were not lined up: %s\n", why.toUtf8().constData());
    emit status(tr("Not lined up (%1): the frames shown have the same numbers").arg(why), 10000);
    return;
  }
  mAlignment = alignment;
  mLinedUp = true;
  if (alignment.otherFrames > 0) mOtherFrames = alignment.otherFrames;
  CoreMachDebugLog("compare: B = A %c %d frames, confidence %.2f, %zu piece(s)\n",
                   alignment.offset < 0 ? '-' : '+', std::abs(alignment.offset),
                   alignment.confidence, alignment.pieces.size());
  emit status(tr("Lined up: B = A %1 %2 frames").arg(alignment.offset < 0 ? QLatin1Char('-') : QLatin1Char('+'))
                  .arg(std::abs(alignment.offset)), 10000);
  // What is shown was matched by offset 0.
  mShownFor = kDVDNoFrame;
  ask();
}
