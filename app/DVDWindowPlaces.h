// Where the video window and the controller were, kept between runs in the user defaults.
// Restored only onto a screen that shows them, and never with the controller over the
// picture: it then goes below the video window.
#pragma once

class QWidget;

class DVDWindowPlaces {
 public:
  static void Save(QWidget const* video, QWidget const* controller);
  // False when nothing was saved (the windows keep their first places).
  static bool Restore(QWidget* video, QWidget* controller);
  // The controller below the video window (or above its top when the screen's bottom is
  // too near), off the picture; only a window as big as the screen has it over the picture's
  // bottom.
  static void PlaceControllerBelow(QWidget const* video, QWidget* controller);
  // From now on, when the video window grows over the controller (a size command, a disc of
  // another shape) the controller goes below it again; a place away from the picture is kept.
  static void KeepControllerOffVideo(QWidget* video, QWidget* controller);
};
