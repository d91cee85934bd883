// The application object for the app tests (offscreen windows) and small helpers.
#pragma once

#include <QString>

#include <functional>
#include <string>

class QWidget;

namespace tavelo_app_test {

// Lets queued calls (events from the service's thread, queued actions) run.
void ProcessEvents();

// Runs fn on the modal dialog (alert, panel) as soon as one shows; the caller then starts it.
void WhenModal(std::function<void(QWidget*)> fn);

// A new folder, and a plain file in it.
QString NewFolder(char const* tag);
QString NewPlainFile(char const* tag);

}  // namespace tavelo_app_test
