#include "BatchGrabDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QStandardPaths>
#include <QVBoxLayout>

#include <vector>

#include "DVDPlayback.h"
#include "StillPlan.h"
#include "StillTitleInfo.h"

namespace {

// The what-to-take choices, in the combo box's order, and their option.
struct What {
  char const* text;
  char const* option;  // the value (if any) follows it
  char const* value;   // the value field's default; null: no value
};
What const kWhat[] = {
    {"The first frame of each chapter", "--chapters", nullptr},
    {"One every so many seconds", "--every", "10"},
    {"A number spread over the title", "--count", "16"},
    {"At times (83.5, m:ss, h:mm:ss, f2500)", "--at", "0:10"},
};

}  // namespace

BatchGrabDialog::BatchGrabDialog(Mode mode, QString const& discPath, int title,
                                 QString const& folder, QWidget* parent)
    : QDialog(parent), mMode(mode), mDisc(discPath), mTitle(title) {
  setObjectName(mode == kSheet ? QStringLiteral("contactSheetDialog")
                               : QStringLiteral("batchGrabDialog"));
  setWindowTitle(mode == kSheet ? tr("Contact Sheet") : tr("Batch Grab"));
  auto* form = new QFormLayout;
  if (mode == kFiles) {
    mWhat = new QComboBox(this);
    for (What const& w : kWhat) mWhat->addItem(tr(w.text));
    mValue = new QLineEdit(this);
    mValue->setEnabled(false);
    connect(mWhat, &QComboBox::currentIndexChanged, this, [this](int i) {
      mValue->setEnabled(kWhat[i].value != nullptr);
      mValue->setText(kWhat[i].value ? QString::fromLatin1(kWhat[i].value) : QString());
    });
    form->addRow(tr("Take:"), mWhat);
    form->addRow(tr("Value:"), mValue);
  } else {
    mColumns = new QSpinBox(this);
    mColumns->setRange(1, 12);
    mColumns->setValue(4);
    mRows = new QSpinBox(this);
    mRows->setRange(1, 20);
    mRows->setValue(4);
    mSheetWidth = new QSpinBox(this);
    mSheetWidth->setRange(400, 8000);
    mSheetWidth->setValue(1600);
    auto* grid = new QHBoxLayout;
    grid->addWidget(mColumns);
    grid->addWidget(new QLabel(QStringLiteral("x"), this));
    grid->addWidget(mRows);
    form->addRow(tr("Columns x rows:"), grid);
    form->addRow(tr("Width:"), mSheetWidth);
  }
  mFormat = new QComboBox(this);
  mFormat->addItems({QStringLiteral("JPEG"), QStringLiteral("PNG"), QStringLiteral("TIFF")});
  form->addRow(tr("Format:"), mFormat);
  mSize = new QComboBox(this);
  mSize->addItems({tr("Square Pixels"), tr("Square Pixels (ITU)"), tr("As Stored")});
  form->addRow(tr("Picture Size:"), mSize);
  mDeinterlace = new QComboBox(this);
  mDeinterlace->addItems({tr("Auto"), tr("Off"), tr("Blend"), tr("Adaptive")});
  form->addRow(tr("Deinterlace:"), mDeinterlace);
  mSubtitles = new QCheckBox(tr("Include Subtitles"), this);
  mCrop = new QCheckBox(tr("Crop Black Borders"), this);
  mSkipBlank = new QCheckBox(tr("Skip Blank Pictures"), this);
  mSkipBlank->setToolTip(tr("A nearly uniform picture gives way to the first within 2 s that is not"));
  form->addRow(QString(), mSubtitles);
  form->addRow(QString(), mCrop);
  form->addRow(QString(), mSkipBlank);
  mFolder = new QLineEdit(folder, this);
  mFolder->setObjectName(QStringLiteral("folder"));
  auto* choose = new QPushButton(tr("Choose..."), this);
  connect(choose, &QPushButton::clicked, this, &BatchGrabDialog::chooseFolder);
  auto* folderRow = new QHBoxLayout;
  folderRow->addWidget(mFolder, 1);
  folderRow->addWidget(choose);
  form->addRow(tr("Folder:"), folderRow);

  mProgress = new QProgressBar(this);
  mProgress->setRange(0, 1);
  mProgress->setValue(0);
  mStatus = new QLabel(this);
  mWritten = new QListWidget(this);
  mWritten->setViewMode(QListView::IconMode);
  mWritten->setIconSize(QSize(96, 72));
  mWritten->setMinimumHeight(110);
  mStart = new QPushButton(tr("Start"), this);
  mStart->setDefault(true);
  mCancel = new QPushButton(tr("Cancel"), this);
  connect(mStart, &QPushButton::clicked, this, &BatchGrabDialog::start);
  connect(mCancel, &QPushButton::clicked, this, &BatchGrabDialog::cancel);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(mCancel);
  buttons->addWidget(mStart);

  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(mProgress);
  layout->addWidget(mStatus);
  layout->addWidget(mWritten, 1);
  layout->addLayout(buttons);

  connect(&mProcess, &QProcess::readyReadStandardOutput, this, &BatchGrabDialog::readWritten);
  connect(&mProcess, &QProcess::finished, this,
          [this](int code, QProcess::ExitStatus status) {
            finish(status == QProcess::NormalExit ? code : -1);
          });
  connect(&mProcess, &QProcess::errorOccurred, this, [this](QProcess::ProcessError e) {
    if (e == QProcess::FailedToStart) finish(-1);
  });
}

BatchGrabDialog::~BatchGrabDialog() {
  // A batch still running stops between two stills; its files stay whole.
  if (mProcess.state() != QProcess::NotRunning) {
    mProcess.terminate();
    if (!mProcess.waitForFinished(5000)) mProcess.kill();
  }
}

QString BatchGrabDialog::GrabProgram() {
  QString const dir = QCoreApplication::applicationDirPath();
  for (QString const& candidate : {dir + QStringLiteral("/tavelo-grab"),
                                   dir + QStringLiteral("/../tools/tavelo-grab")}) {
    if (QFileInfo(candidate).isExecutable()) return QFileInfo(candidate).canonicalFilePath();
  }
  return QStandardPaths::findExecutable(QStringLiteral("tavelo-grab"));
}

QStringList BatchGrabDialog::Arguments() const {
  static char const* const kFormats[] = {"jpg", "png", "tif"};
  static char const* const kSizes[] = {"square", "itu", "stored"};
  static char const* const kDeinterlace[] = {"auto", "off", "blend", "adaptive"};
  QStringList args{QStringLiteral("-q")};
  if (mTitle > 0) args << QStringLiteral("--title") << QString::number(mTitle);
  if (mMode == kFiles) {
    What const& w = kWhat[mWhat->currentIndex()];
    args << QString::fromLatin1(w.option);
    if (w.value) args << mValue->text().trimmed();
  } else {
    args << QStringLiteral("--sheet")
         << QStringLiteral("%1x%2").arg(mColumns->value()).arg(mRows->value())
         << QStringLiteral("--sheet-width") << QString::number(mSheetWidth->value());
  }
  args << QStringLiteral("--format") << QString::fromLatin1(kFormats[mFormat->currentIndex()])
       << QStringLiteral("--size") << QString::fromLatin1(kSizes[mSize->currentIndex()])
       << QStringLiteral("--deinterlace")
       << QString::fromLatin1(kDeinterlace[mDeinterlace->currentIndex()])
       << (mSubtitles->isChecked() ? QStringLiteral("--subtitles") : QStringLiteral("--no-subtitles"));
  if (mCrop->isChecked()) args << QStringLiteral("--crop");
  if (mSkipBlank->isChecked()) args << QStringLiteral("--skip-blank");
  args << QStringLiteral("-o") << mFolder->text() << mDisc;
  return args;
}

int BatchGrabDialog::Planned() const {
  if (mMode == kSheet) return mColumns->value() * mRows->value();
  // The playback service knows the open disc's titles: the same plan tavelo-grab makes.
  UInt16 const title = mTitle != 0 ? UInt16(mTitle) : StillTitleInfo::Longest(StillTitleInfo::ReadAll());
  StillTitleInfo info;
  if (title == 0 || !StillTitleInfo::Read(title, &info)) return 0;
  bool const pal = info.PAL();
  StillTitle const planned = info.Planned();
  What const& w = kWhat[mWhat->currentIndex()];
  std::string const value = mValue->text().trimmed().toStdString();
  StillPlan plan;
  std::vector<uint32_t> at;
  uint64_t every = 0;
  int count = 0;
  StillPlan::Kind kind = StillPlan::kChapters;
  if (w.option == std::string("--every")) {
    kind = StillPlan::kEvery;
    if (!StillPlan::ParseSeconds(value, &every)) return 0;
  } else if (w.option == std::string("--count")) {
    kind = StillPlan::kCount;
    count = QString::fromStdString(value).toInt();
  } else if (w.option == std::string("--at")) {
    kind = StillPlan::kAt;
    if (!StillPlan::ParseTimes(value, pal, &at, nullptr)) return 0;
  }
  if (!plan.Construct(planned, kind, at, every, count)) return 0;
  return int(plan.Entries().size());
}

bool BatchGrabDialog::Running() const { return mProcess.state() != QProcess::NotRunning; }

void BatchGrabDialog::start() {
  if (Running()) return;
  QString const program = GrabProgram();
  if (program.isEmpty()) {
    mStatus->setText(tr("tavelo-grab is not installed beside Tavelo."));
    return;
  }
  mCount = 0;
  mCancelled = false;
  mPending.clear();
  mWritten->clear();
  int const planned = Planned();
  mProgress->setRange(0, planned > 0 ? planned : 0);
  mProgress->setValue(0);
  mStatus->setText(tr("Taking stills..."));
  mStart->setEnabled(false);
  mProcess.start(program, Arguments());
}

void BatchGrabDialog::reject() {
  if (Running()) {
    cancel();
    return;
  }
  QDialog::reject();
}

void BatchGrabDialog::cancel() {
  if (!Running()) {
    QDialog::reject();
    return;
  }
  mCancelled = true;
  mStatus->setText(tr("Stopping..."));
  // tavelo-grab stops between two stills on this signal.
  mProcess.terminate();
}

void BatchGrabDialog::readWritten() {
  mPending += mProcess.readAllStandardOutput();
  for (qsizetype nl; (nl = mPending.indexOf('\n')) >= 0;) {
    QString const path = QString::fromUtf8(mPending.left(nl));
    mPending.remove(0, nl + 1);
    if (path.isEmpty()) continue;
    ++mCount;
    if (mProgress->maximum() > 0) mProgress->setValue(std::min(mCount, mProgress->maximum()));
    QImageReader reader(path);
    reader.setScaledSize(QSize(96, 72));
    auto* item = new QListWidgetItem(QIcon(QPixmap::fromImage(reader.read())),
                                     QFileInfo(path).fileName(), mWritten);
    item->setToolTip(path);
    mWritten->scrollToItem(item);
  }
}

void BatchGrabDialog::finish(int exitCode) {
  readWritten();
  mStart->setEnabled(true);
  QString const errors = QString::fromUtf8(mProcess.readAllStandardError()).trimmed();
  if (mCancelled) {
    mStatus->setText(tr("Stopped: %n picture(s) written.", nullptr, mCount));
  } else if (exitCode == 0) {
    if (mProgress->maximum() == 0) mProgress->setRange(0, 1);
    mProgress->setValue(mProgress->maximum());
    mStatus->setText(tr("Done: %n picture(s) written.", nullptr, mCount));
  } else {
    QString const why = errors.section(QLatin1Char('\n'), 0, 0).remove(QStringLiteral("tavelo-grab: "));
    mStatus->setText(tr("%n picture(s) written; ", nullptr, mCount) +
                     (why.isEmpty() ? tr("tavelo-grab could not run.") : why));
  }
}

void BatchGrabDialog::chooseFolder() {
  QString const chosen = QFileDialog::getExistingDirectory(this, tr("Folder"), mFolder->text(),
                                                           QFileDialog::DontUseNativeDialog);
  if (!chosen.isEmpty()) mFolder->setText(chosen);
}
