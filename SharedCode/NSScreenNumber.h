// A display's number: the index of the window's screen among the application's screens.
#pragma once

class QWidget;

// 0 when the window has no screen (or there is none).
int NSScreenNumber(QWidget const* window);
