// tavelo-grab: stills from a DVD without a display (see GrabCommand).
#include <QGuiApplication>

#include <atomic>
#include <signal.h>
#include <cstdio>
#include <cstring>
#include <memory>

#include "CoreMachDebugLog.h"
#include "GrabCommand.h"

namespace {

std::atomic<bool> sCancel{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

void Cancel(int) { sCancel = true; }

// Standard error is the user's: what Qt has to say goes to the diagnostic log.
void ToLog(QtMsgType, QMessageLogContext const&, QString const& message) {
  CoreMachDebugLogString(("Qt: " + message.toUtf8()).constData());
}

}  // namespace

int main(int argc, char** argv) {
  // Pictures and sheets are drawn off screen; no display is needed or used.
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler(ToLog);
  // Only a sheet's text needs fonts: the rest starts without the GUI's set-up.
  bool sheet = false;
  for (int i = 1; i < argc; ++i) {
    sheet = sheet || std::strcmp(argv[i], "--sheet") == 0 || std::strncmp(argv[i], "--sheet=", 8) == 0;
  }
  std::unique_ptr<QCoreApplication> const app =
      sheet ? std::make_unique<QGuiApplication>(argc, argv)
            : std::make_unique<QCoreApplication>(argc, argv);
  QStringList args = QCoreApplication::arguments();
  args.removeFirst();
  // Interrupted or terminated, the batch ends after the still it is writing: no file is
  // left half-written.
  struct sigaction action {};
  action.sa_handler = Cancel;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  return GrabCommand::Run(args, stdout, stderr, &sCancel);
}
