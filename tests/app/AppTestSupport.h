// The application object for the app tests (offscreen windows) and small helpers.
#pragma once

#include <QString>

#include <functional>
#include <string>

class GrabDVDController;
class QWidget;

namespace tavelo_app_test {

// Lets queued calls (events from the service's thread, queued actions) run.
void ProcessEvents();

// Runs fn on the modal dialog (alert, panel) as soon as one shows; the caller then starts it.
void WhenModal(std::function<void(QWidget*)> fn);

// Opens path as the window does, then lets the event loop run until the open has come back:
// whether the disc opened. False at once when the open is refused without starting.
bool OpenMedia(GrabDVDController* controller, QString const& path, bool isVolume);
// Lets the event loop run until no open is in flight (a drop, a panel, a recent item started
// one); false when one is still running at the time limit.
bool WaitForOpen(GrabDVDController* controller);

// A new folder, and a plain file in it.
QString NewFolder(char const* tag);
QString NewPlainFile(char const* tag);

}  // namespace tavelo_app_test
