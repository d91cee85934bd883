// Names of stills: the disc's name, a picture's place as text, and file names made from a
// template with the fields {disc} {title} {chapter} {time} {frame} {n}.
#pragma once

#include <QString>

#include <cstdint>

struct StillPlace {
  QString disc;
  int title = 0;
  int chapter = 0;
  uint64_t ms = 0;  // the picture's start in its title
  uint32_t frame = 0;
  int n = 0;
};

class StillNames {
 public:
  // A disc's name: an image's or a device's volume label when it has one, else the folder
  // holding VIDEO_TS, the mount point or the image file without its extension; characters
  // no file name should hold replaced. "DVD" when nothing is left.
  static QString DiscName(QString const& mediaPath);
  // "hh-mm-ss.mmm".
  static QString TimeText(uint64_t ms);
  // The same for reading: "hh:mm:ss.mmm".
  static QString DurationText(uint64_t ms);
  // As a clock reads: "0:45", "12:34" or "1:02:03".
  static QString ClockText(uint64_t ms);
  // The template with its fields filled in; false (naming the field in *bad) for a field it
  // does not know or a template naming a folder.
  static bool Expand(QString const& nameTemplate, StillPlace const& place, QString* name,
                     QString* bad);
  static QString Safe(QString name);
};
